#include "dmCutNode.h"

DmCutNode::DmCutNode(const DmNodeId& id)
    : DmNode(DM_CUT_NODE, id, DmPropertySetInit<DmCutNode>::data())
{
}

CoSharedPtr<DmCutNode> DmCutNode::create(eDmTreeMediaType mediaType, double recIn)
{
    CoSharedPtr<DmCutNode> node = create();
    if (node && (node->setMediaType(mediaType) != DM_NO_ERROR || node->setRecIn(recIn) != DM_NO_ERROR))
        node.reset();
    return node;
}
