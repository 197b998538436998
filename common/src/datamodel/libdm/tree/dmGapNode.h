/// A stretch of a layer where nothing plays.
#pragma once

#include "dmSegmentNode.h"

class ZR_DM_API DmGapNode final : public DmNode<DmGapNode, DmSegmentNode, &DmTreeVisitor::visitGapNode>
{
public:
    explicit DmGapNode(const DmNodeId& id);

    using DmNode::create;
    static CoSharedPtr<DmGapNode> create(eDmTreeMediaType mediaType, double recIn, double recLength);
};
