#include "dmMediaNode.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmMediaNode> registration;

DmMediaNode::DmMediaNode(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmMediaNode>::data())
{
}

eDmErrorId DmMediaNode::createList()
{
    return declare(*this)
        .optional(L"name", _name)
        .optional(L"path", _path)
        .mandatory(L"mediaType", _mediaType)
        .mandatory(L"fileList", _fileList)
        .status();
}

DmString DmMediaNode::getFile(int index) const
{
    return static_cast<std::size_t>(index) < _fileList.size() ? _fileList[static_cast<std::size_t>(index)] : DmString();
}
