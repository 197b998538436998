#include "dmFrameNode.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmFrameNode> registration;

DmFrameNode::DmFrameNode(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmFrameNode>::data())
{
}

eDmErrorId DmFrameNode::createList()
{
    return declare(*this).mandatory(L"frame", _frame).optional(L"path", _path).optional(L"frameId", _frameId).status();
}

CoSharedPtr<DmFrameNode> DmFrameNode::create(int frame, const DmString& path)
{
    CoSharedPtr<DmFrameNode> node = create();
    if (node && (node->setFrame(frame) != DM_NO_ERROR || node->setPath(path) != DM_NO_ERROR))
        node.reset();
    return node;
}
