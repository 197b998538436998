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
/// What an object says and its node does not travels with the node (icOtioPatch.h), so that writing gives it back:
/// other effects, further media references, a track's markers, metadata. What stands under our own key among the
/// metadata is given back to the node, unless the file says otherwise by now (icOtioOwn.h). Times in other rates are
/// converted to the composition's mode, to the nearest frame, sound to a thousandth of one, which a warning tells. What
/// plays otherwise than the file says (transitions that are no dissolves, generators and schemas of unknown kinds) is a
/// warning.
#pragma once

#include "icReport.h"

#include "dmRoot.h"
#include "tuFcm.h"

#include <string>

namespace interchange
{

/// Null with errors in the report. Without a mode, each composition's is that of the rate at which most of its picture
/// plays, among rates that have a mode; of two the one of the global start time. `places`: the report learns where each
/// node came from.
[[nodiscard]] CoSharedPtr<DmRoot> readOtio(std::string bytes, DM::FrameCodeModes fcm, Report& report,
                                           bool places = false);

} // namespace interchange
