/// A cut list as a document: what the programs of the model can open, check and edit.
///
/// | In the list                      | In the document                                                               |
/// |----------------------------------|-------------------------------------------------------------------------------|
/// | the list                         | a composition of its name and mode; "startTC" is the first record in-time     |
/// | a channel (V, V2, A, A2, ...)    | a track of its own; "trackChannel" is the channel's number                    |
/// | an event, on each of its channels| a source with a media input: in-time, reel and length are the event's         |
/// | black and bars reels             | a source with a generated input                                               |
/// | time between two events          | a gap                                                                         |
/// | a dissolve or a wipe             | a transition effect of that length; its source begins behind it, with "relIn" |
/// | the zero-length line before it   | a source, attached to the transition as "baseBlob"                            |
/// | an event that its transition     | a gap of no length, with the source attached as "baseBlob"                    |
/// | leaves nothing of                |                                                                               |
/// | a key                            | a source on a further layer of its track, over its background                 |
/// | M2                               | a timewarp: a speed of 0 freezes, a negative one plays backwards              |
/// | ASC_SOP, ASC_SAT                 | a look                                                                        |
/// | LOC                              | a cue mark of the first of the event's sources; its time counts from the      |
/// |                                  | material's begin                                                              |
/// | clip name, source file and path  | name of the source; name and path of its source info                          |
/// | all the rest                     | a blob (icEdlKept.h) on the source or the composition                         |
///
/// Record times are the list's own, absolute ones. Every timeline that comes out passes validation with all options.
#pragma once

#include "icEdlList.h"
#include "icReport.h"

#include "dmRoot.h"

namespace interchange
{

/// A document with one composition; null when memory ran out, which the report says. What of a list makes no sense in
/// the model is reported as a warning, once a kind: events without a channel, and colours of sound.
[[nodiscard]] CoSharedPtr<DmRoot> edlToTree(const EdlList& list, Report& report);

} // namespace interchange
