/// A document as a cut list: the primary video track of its first composition, and the audio tracks.
///
/// A document that edlToTree made gives its list back, event for event: positions, numbers and whatever else the model
/// has no property for come from the blobs that travel with the nodes; all that has a property is taken from it, so
/// that edits show. Once events are new, or moved out of their order, the list is put in record order and numbered
/// afresh. What is the same on several tracks becomes one event of several channels.
///
/// What a list cannot say is reported as a warning, once a kind, with how many there were and what was done.
#pragma once

#include "icEdlList.h"
#include "icReport.h"

#include "dmRoot.h"

#include <optional>

namespace interchange
{

/// `fcm` is the mode of a composition that names none. None, with an error, for a root without composition, and where
/// no mode is known.
[[nodiscard]] std::optional<EdlList> treeToEdl(const DmRoot& root, DM::FrameCodeModes fcm, Report& report);

} // namespace interchange
