/// Data that the library carries and does not look into, under a type that tells its owner what it is.
#pragma once

#include "dmLeafNode.h"

class ZR_DM_API DmBlobNode final : public DmNode<DmBlobNode, DmLeafNode, &DmTreeVisitor::visitBlobNode>
{
public:
    enum Property : int
    {
        BlobType = FirstOwn,
        Data,
        PropertyCount
    };

    explicit DmBlobNode(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmNode::create;
    static CoSharedPtr<DmBlobNode> create(const DmString& blobType, const DmString& data);

    const DmString& getBlobType() const { return _blobType; }
    eDmErrorId setBlobType(const DmString& type) { return set(BlobType, type); }
    const DmString& getData() const { return _data; }
    eDmErrorId setData(const DmString& data) { return set(Data, data); }

private:
    DmString _blobType;
    DmString _data;
};
