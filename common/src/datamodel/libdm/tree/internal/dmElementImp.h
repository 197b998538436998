/// What stands in a layer, told by class.
#pragma once

#include "dmSegmentNode.h"
#include "dmTransitionNode.h"

/// The node as something that a layer plays, else null: a batch effect is a segment, but none that a layer takes.
inline DmSegmentNode* dmSegment(DmTreeNode* node)
{
    return node && node->isSegment() ? node->asSegment() : nullptr;
}

inline DmTransitionNode* dmTransition(DmTreeNode* node)
{
    return node && node->isTransition() ? node->asTransition() : nullptr;
}

/// Calls `use` with the node as the segment or the transition that it is; DM_BAD_VALUE when it is neither.
template <class Use>
eDmErrorId dmWithElement(DmTreeNode* node, const Use& use)
{
    if (DmSegmentNode* const segment = dmSegment(node))
        return use(*segment);
    if (DmTransitionNode* const transition = dmTransition(node))
        return use(*transition);
    return DM_BAD_VALUE;
}
