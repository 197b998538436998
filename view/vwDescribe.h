/// The words of a picture: what stands in a box and what is said of it.
#pragma once

#include "vwScene.h"

#include <string>
#include <string_view>
#include <utility>

namespace view
{

/// With its own direction, whatever stands around it.
std::string isolated(std::string_view name);
/// At most so many characters, "…" for the rest.
std::string shortened(std::string_view utf8, std::size_t characters);

/// "25 fps · 10:00:00:00 - 10:00:30:03 · 3 tracks, 12 segments"
std::string summaryOf(const Scene& scene, const Composition& composition);
/// "A001C002 · 10:00:41:22": reel and the label of the first frame that plays.
std::string sourceLine(const Scene& scene, const Composition& composition, std::uint32_t segment);
/// "fx", "50 %", "freeze": what an editor wants to see at once.
std::string badgeOf(const Scene& scene, const Composition& composition, std::uint32_t segment);
std::string describe(const Scene& scene, const Composition& composition, std::uint32_t segment);
std::string describeTransition(const Scene& scene, const Composition& composition, const Transition& transition);
/// The styles of what a transition leads from and to.
std::pair<std::string, std::string> tintsBeside(const Composition& composition, const Row& row,
                                                const Transition& transition);

} // namespace view
