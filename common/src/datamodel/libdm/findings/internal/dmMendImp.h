/// How rules mend a layer: what stands where is asked when it is mended, as others may have been there before.
#pragma once

#include "dmLayerNode.h"
#include "dmSourceNode.h"
#include "dmTransitionNode.h"

/// Puts a node in front of a child, wherever that stands by now; behind the last for null.
eDmErrorId dmInsertBefore(DmLayerNode& layer, const DmTreeNode* child, const CoSharedPtr<DmTreeNode>& node);
/// Takes a child out.
eDmErrorId dmRemove(DmCollectionNode& parent, const DmTreeNode* child);
/// Puts a gap where a segment stands.
eDmErrorId dmMakeGap(DmLayerNode& layer, const DmSegmentNode& segment);
/// Moves a transition and gives it a length.
eDmErrorId dmPlace(DmTransitionNode& transition, double in, double length);
/// Lets a source play from another frame; what its input says of its length is raised to what plays.
eDmErrorId dmPlayFrom(DmSourceNode& source, double relIn);
