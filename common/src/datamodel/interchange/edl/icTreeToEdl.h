/// A document as a cut list: all tracks of its first composition, each on the channel of its "trackNum".
///
/// A document that edlToTree made gives its list back, event for event: positions, numbers and whatever else the model
/// has no property for come from the blobs that travel with the nodes; all that has a property is taken from it, so
/// that edits show. Once events are new, or moved out of their order, the list is put in record order and numbered
/// afresh. One clip on several tracks (medium, source and record range and speed) becomes one event of several
/// channels.
///
/// What a list cannot say is reported as a warning, with its clip and its record time, and what was done.
#pragma once

#include "icEdlList.h"
#include "icFormat.h"
#include "icReport.h"

#include "dmRoot.h"

#include <optional>

namespace interchange
{

/// The options' mode is that of a composition that names none; their "reel-length" is the most that a reel's name may
/// have. None, with an error, for a root without composition, and where no mode is known.
[[nodiscard]] std::optional<EdlList> treeToEdl(const DmRoot& root, const Options& options, Report& report);

} // namespace interchange
