#include "dmReelNode.h"

DmReelNode::DmReelNode(const DmNodeId& id)
    : DmNode(DM_REEL_NODE, id, DmPropertySetInit<DmReelNode>::data())
{
}
