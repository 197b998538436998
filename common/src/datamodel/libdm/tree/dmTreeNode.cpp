#include "dmTreeNode.h"

#include "dmDeclare.h"

DmTreeNode::DmTreeNode(eDmTreeNodeClassId kind, const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : DmPropertySet(id, classData)
    , _classId(kind)
{
}

DmTreeNode::DmTreeNode(const DmTreeNode& other)
    : DmPropertySet(other)
    , _classId(other._classId)
    , _name(other._name)
    , _baseBlob(other._baseBlob)
{
}

eDmErrorId DmTreeNode::createList()
{
    return declare(*this)
        .constant(L"classId", _classId)
        .mandatory(L"name", _name)
        .mandatory(L"comment", _comment)
        .mandatory(L"baseBlob", _baseBlob)
        .status();
}

DmTreeNode* DmTreeNode::getChild(int /*index*/) const
{
    return nullptr;
}

void DmTreeNode::postProcess(DmTreeVisitor& /*visitor*/) {}
