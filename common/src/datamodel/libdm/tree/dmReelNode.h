/// A reel: compositions that belong together.
#pragma once

#include "dmCollectionNode.h"

class ZR_DM_API DmReelNode final
    : public DmNode<DmReelNode, DmCollectionNode, &DmTreeVisitor::visitReelNode, &DmTreeVisitor::postProcessReelNode>
{
public:
    explicit DmReelNode(const DmNodeId& id);
};
