#include "dmGapNode.h"

DmGapNode::DmGapNode(const DmNodeId& id)
    : DmNode(DM_GAP_NODE, id, DmPropertySetInit<DmGapNode>::data())
{
}

CoSharedPtr<DmGapNode> DmGapNode::create(eDmTreeMediaType mediaType, double recIn, double recLength)
{
    return placed(create(), mediaType, recIn, recLength, 0.0);
}
