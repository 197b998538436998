#include "dmMendImp.h"

#include "dmGapNode.h"
#include "dmSourceInput.h"

namespace
{

int positionIn(const DmTreeNode& parent, const DmTreeNode* child)
{
    for (int i = 0; i < parent.getNbChildren(); ++i)
        if (parent.getChild(i) == child)
            return i;
    return -1;
}

} // namespace

eDmErrorId dmInsertBefore(DmLayerNode& layer, const DmTreeNode* child, const CoSharedPtr<DmTreeNode>& node)
{
    const int before = layer.getNbChildren();
    const int at = child ? positionIn(layer, child) : before;
    return at >= 0 && node && layer.insertChild(node, at) == before + 1 ? DM_NO_ERROR : DM_CANNOT_LOCK;
}

eDmErrorId dmRemove(DmCollectionNode& parent, const DmTreeNode* child)
{
    const int at = positionIn(parent, child);
    const int before = parent.getNbChildren();
    return at >= 0 && parent.removeChild(at) == before - 1 ? DM_NO_ERROR : DM_CANNOT_LOCK;
}

eDmErrorId dmMakeGap(DmLayerNode& layer, const DmSegmentNode& segment)
{
    const eDmErrorId status = dmInsertBefore(
        layer, &segment, DmGapNode::create(layer.getMediaType(), segment.getRecIn(), segment.getRecLength()));
    return status == DM_NO_ERROR ? dmRemove(layer, &segment) : status;
}

eDmErrorId dmPlace(DmTransitionNode& transition, double in, double length)
{
    const eDmErrorId status = transition.setRecIn(in);
    return status == DM_NO_ERROR ? transition.setRecLength(length) : status;
}

eDmErrorId dmPlayFrom(DmSourceNode& source, double relIn)
{
    const eDmErrorId status = source.setRelIn(relIn);
    const double end = relIn + source.getRecLength();
    DmSourceNode::Input* const input = source.getSrcInput();
    return status == DM_NO_ERROR && input && input->getSrcLength() < end ? input->setSrcLength(end) : status;
}
