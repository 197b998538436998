/// A cut: the seam between two segments. It has no length.
#pragma once

#include "dmTransitionNode.h"

class ZR_DM_API DmCutNode final : public DmNode<DmCutNode, DmTransitionNode, &DmTreeVisitor::visitCutNode>
{
public:
    explicit DmCutNode(const DmNodeId& id);

    using DmNode::create;
    static CoSharedPtr<DmCutNode> create(eDmTreeMediaType mediaType, double recIn);
};
