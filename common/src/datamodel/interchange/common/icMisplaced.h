/// Nodes that a document holds where no cut list has a place for them.
#pragma once

#include "icReport.h"

#include "dmTreeNode.h"
#include "dmTrxEffectNode.h"

namespace interchange
{

/// Names them as left out. Of a root: what is neither a composition nor a reel of such. Of a composition: what stands
/// beside its tracks, their layers, and the segments and transitions in those. A place that holds nothing has nothing
/// to lose.
void tellMisplaced(const DmTreeNode& node, Report& report);

/// A transition ends where the segment behind it begins. Of one that says otherwise a copy that takes the time between
/// the segments beside it, unless that is a hole longer than a transition can be. Null where it is right.
CoSharedPtr<DmTrxEffectNode> mendedMix(const DmTrxEffectNode& mix, const DmTreeNode* before, const DmTreeNode* behind);

} // namespace interchange
