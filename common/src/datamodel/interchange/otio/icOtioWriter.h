/// A document as OpenTimelineIO JSON.
///
/// What came from such a file goes out as it came in, member for member, except what was edited since: names, times,
/// media, reels, transitions, markers, speeds and mutes are the model's. Without members of its own, a node is written
/// in the schemas Timeline.1, Track.1, Clip.2, Gap.1, Transition.1 and Stack.1, with ranges at the rate of the
/// composition's mode; several compositions, and reels, in a SerializableCollection.1. A wipe's pattern stands among
/// the metadata "cmx_3600", as "transition": "W012".
#pragma once

#include "icReport.h"

#include "dmRoot.h"
#include "tuFcm.h"

#include <optional>
#include <string>

namespace interchange
{

/// None with errors in the report: a document that holds nothing, or a composition that names no mode where `fcm` is
/// none either. What the form cannot say (effects other than one speed and one look, layers beyond the first, colours
/// of marks that have no name) is a warning, once a kind.
[[nodiscard]] std::optional<std::string> writeOtio(const DmRoot& root, DM::FrameCodeModes fcm, Report& report);

} // namespace interchange
