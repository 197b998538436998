/// A scene as a still: one SVG that needs nothing beside it, in light or dark as its reader likes it.
#pragma once

#include "vwLayout.h"

#include <optional>

namespace view
{

struct SvgOptions
{
    double width = 1200.0;                ///< pixels, of the whole picture
    std::size_t composition = 0;          ///< of those in the scene
    std::optional<Window> range = {};     ///< record times; without it, everything. Its width is not looked at
    std::vector<std::string> tracks = {}; ///< "V1", "A2": only these; empty: all
};

/// Empty where the scene has no such composition.
ZR_DM_API std::string svgOf(const Scene& scene, const SvgOptions& options);

/// Whether a composition has a track, as `tracks` names it.
ZR_DM_API bool hasTrack(const Scene& scene, const Composition& composition, const std::string& track);

/// The window that svgOf draws for the options.
ZR_DM_API Window windowOf(const Composition& composition, const SvgOptions& options);

} // namespace view
