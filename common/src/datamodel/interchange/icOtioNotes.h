/// What cut lists say beside their events, as it stands among the metadata of OpenTimelineIO objects.
#pragma once

#include "icEdlKept.h"

#include <vector>

namespace interchange
{

/// The comments of cut lists that the members of a node have which came from OpenTimelineIO.
std::vector<EdlKept::Note> otioNotesOf(const DmTreeNode& node);

} // namespace interchange
