#include "dmReelNode.h"

static const DmPropertySetInit<DmReelNode> registration;

DmReelNode::DmReelNode(const DmNodeId& id)
    : DmNode(DM_REEL_NODE, id, DmPropertySetInit<DmReelNode>::data())
{
}
