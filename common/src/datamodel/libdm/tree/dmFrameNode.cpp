#include "dmFrameNode.h"

#include "dmDeclare.h"

DmFrameNode::DmFrameNode(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmFrameNode>::data())
{
}

eDmErrorId DmFrameNode::createList()
{
    return declare(*this)
        .mandatory<Frame>(L"frame", _frame, "The number of the frame.")
        .optional<Path>(L"path", _path, "The path of its file.")
        .optional<FrameId>(L"frameId", _frameId, "The identifier of the frame.")
        .status();
}

CoSharedPtr<DmFrameNode> DmFrameNode::create(int frame, const DmString& path)
{
    CoSharedPtr<DmFrameNode> node = create();
    if (node && (node->setFrame(frame) != DM_NO_ERROR || node->setPath(path) != DM_NO_ERROR))
        node.reset();
    return node;
}
