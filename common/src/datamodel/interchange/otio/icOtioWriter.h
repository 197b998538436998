/// A document as OpenTimelineIO JSON.
///
/// Each node is written in full, in the schemas Timeline.1, Stack.1, Track.1, Clip.2, Gap.1, Transition.1, Marker.2,
/// LinearTimeWarp.1 and FreezeFrame.1, with times at the rate of the composition's mode; several compositions, and
/// reels, in a SerializableCollection.1. Time that nothing fills is a gap; of segments that overlap, the later one
/// covers the end of the earlier. The base track of a track is the layer that plays (the result layer, else the first);
/// the others are tracks above it, disabled beside a result layer.
///
/// What came from such a file goes out as it came in, member for member, except what was edited since
/// (icOtioPatch.h). What the schemas have no words for stands under our own key among the metadata and is read back
/// (icOtioOwn.h).
#pragma once

#include "icFormat.h"

#include "dmRoot.h"
#include "tuFcm.h"

#include <optional>
#include <string>

namespace interchange
{

/// Writes object by object, without a second copy of the document. False with errors in the report: a document that
/// holds nothing, or a composition that names no mode where `fcm` is none either. What other programs do not see as it
/// plays here is a warning.
[[nodiscard]] bool writeOtio(const DmRoot& root, DM::FrameCodeModes fcm, Sink& sink, Report& report);
/// The same as a text.
[[nodiscard]] std::optional<std::string> writeOtio(const DmRoot& root, DM::FrameCodeModes fcm, Report& report);

} // namespace interchange
