/// OpenTimelineIO JSON as a document.
///
/// | In the file                           | In the document                                                        |
/// |---------------------------------------|------------------------------------------------------------------------|
/// | Timeline, or a bare Stack, Track, Clip| a composition; "startTC" is the global start time                      |
/// | SerializableCollection                | a reel of compositions                                                 |
/// | Track                                 | a track with one layer                                                 |
/// | Clip                                  | a source; available range -> "srcIn", "srcLength"; source range ->     |
/// |                                       | "relIn", "recLength"                                                   |
/// | external, sequence, missing reference | a media input; a generator is a generated one                          |
/// | Gap, and schemas that nobody knows    | a gap                                                                  |
/// | Transition                            | a dissolve over in and out offset ("relIn" is the in offset): what     |
/// |                                       | stands beside it is that much shorter                                  |
/// | Stack or Track among clips            | a container                                                            |
/// | markers                               | cue marks of the segment, or of the composition for the outermost stack|
/// | LinearTimeWarp, FreezeFrame           | a timewarp                                                             |
///
/// Every object's members travel with its node in a blob of the type "otio", so that writing gives them back. Times in
/// other rates are converted to the composition's mode, to the nearest frame, which a warning tells.
#pragma once

#include "icReport.h"

#include "dmRoot.h"
#include "tuFcm.h"

#include <string>

namespace interchange
{

/// Null with errors in the report. Without a mode, the composition's is that of the global start time, or else of the
/// first range there is; a rate that no mode has is then an error.
[[nodiscard]] CoSharedPtr<DmRoot> readOtio(const std::string& bytes, DM::FrameCodeModes fcm, Report& report);

} // namespace interchange
