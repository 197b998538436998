#include "dmBlobNode.h"

#include "dmDeclare.h"

DmBlobNode::DmBlobNode(const DmNodeId& id)
    : DmNode(DM_BLOB_NODE, id, DmPropertySetInit<DmBlobNode>::data())
{
}

eDmErrorId DmBlobNode::createList()
{
    return declare(*this, DmLeafNode::createList())
        .optional<BlobType>(L"blobType", _blobType, "What the data are, in the application's words.")
        .mandatoryCdata<Data>(L"data", _data, "The data, as text.")
        .status();
}

CoSharedPtr<DmBlobNode> DmBlobNode::create(const DmString& blobType, const DmString& data)
{
    CoSharedPtr<DmBlobNode> node = create();
    if (node && (node->setBlobType(blobType) != DM_NO_ERROR || node->setData(data) != DM_NO_ERROR))
        node.reset();
    return node;
}
