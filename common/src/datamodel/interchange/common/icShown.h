/// What of a segment is seen or heard: where it plays, and in the transitions beside it.
#pragma once

#include "dmMaterial.h"
#include "dmSegmentNode.h"
#include "tuFcm.h"

namespace interchange
{

/// Of what stands on a layer: the lengths of the transitions beside it. Of what travels with a transition, all of that
/// is behind it.
DmPlayedBeside playedBeside(const DmTreeNode& layer, int index);

/// From the first frame to the one after the last, in positions of the material. Of keyed speeds what plays between
/// the transitions.
struct Shown
{
    double begin;
    double end;
};
Shown shownOf(const DmSegmentNode& segment, DM::FrameCodeModes compositionFcm, DmPlayedBeside beside);

} // namespace interchange
