#include "dmMediaNode.h"

#include "dmDeclare.h"

DmMediaNode::DmMediaNode(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmMediaNode>::data())
{
}

eDmErrorId DmMediaNode::createList()
{
    return declare(*this)
        .optional<Name>(L"name", _name, "The name of the media.")
        .optional<Path>(L"path", _path, "The path of the file.")
        .mandatory<MediaType>(L"mediaType", _mediaType, "Its medium.", dmMediaTypes)
        .mandatory<FileList>(L"fileList", _fileList, "The paths of the files, where there are several.")
        .status();
}

DmString DmMediaNode::getFile(int index) const
{
    return static_cast<std::size_t>(index) < _fileList.size() ? _fileList[static_cast<std::size_t>(index)] : DmString();
}
