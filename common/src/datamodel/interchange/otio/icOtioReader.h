/// OpenTimelineIO JSON as a document.
///
/// | In the file                           | In the document                                                        |
/// |---------------------------------------|------------------------------------------------------------------------|
/// | Timeline, or a bare Stack, Track, Clip| a composition; "startTC" is the global start time                      |
/// | SerializableCollection                | a reel of compositions; one of collections is the root                 |
/// | Track                                 | a track with one layer; with a source range that leaves some of it out,|
/// |                                       | a container on a track                                                 |
/// | Clip                                  | a source; available range -> "srcIn", "srcLength"; source range ->     |
/// |                                       | "relIn", "recLength"; reel of the metadata "cmx_3600" -> "reelName"    |
/// | external, sequence, missing reference | a media input; a generator is a generated one                          |
/// | Gap, and schemas that nobody knows    | a gap                                                                  |
/// | Transition                            | a dissolve or a wipe over in and out offset ("relIn" is the in offset):|
/// |                                       | what stands beside it is that much shorter                             |
/// | Stack or Track among clips            | a container                                                            |
/// | markers                               | cue marks of the segment, or of the composition for the outermost stack|
/// | LinearTimeWarp, FreezeFrame           | a timewarp                                                             |
///
/// Every object's members travel with its node in a blob of the type "otio", so that writing gives them back: among
/// them what the model has no property for, as other effects, further media references, and a track's markers. Times in
/// other rates are converted to the composition's mode, to the nearest frame, which a warning tells. What plays
/// otherwise than the file says (transitions that are no dissolves, generators and schemas of unknown kinds) is a
/// warning, once a kind.
#pragma once

#include "icReport.h"

#include "dmRoot.h"
#include "tuFcm.h"

#include <string>

namespace interchange
{

/// Null with errors in the report. Without a mode, each composition's is that of its global start time, or else of the
/// first range there is; a rate that no mode has is then an error.
[[nodiscard]] CoSharedPtr<DmRoot> readOtio(std::string bytes, DM::FrameCodeModes fcm, Report& report);

} // namespace interchange
