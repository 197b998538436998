#include "dmBlobNode.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmBlobNode> registration;

DmBlobNode::DmBlobNode(const DmNodeId& id)
    : DmNode(DM_BLOB_NODE, id, DmPropertySetInit<DmBlobNode>::data())
{
}

eDmErrorId DmBlobNode::createList()
{
    return declare(*this, DmLeafNode::createList())
        .optional(L"blobType", _blobType)
        .mandatoryCdata(L"data", _data)
        .status();
}

CoSharedPtr<DmBlobNode> DmBlobNode::create(const DmString& blobType, const DmString& data)
{
    CoSharedPtr<DmBlobNode> node = create();
    if (node && (node->setBlobType(blobType) != DM_NO_ERROR || node->setData(data) != DM_NO_ERROR))
        node.reset();
    return node;
}
