#include "dmTreeNode.h"

#include "dmDeclare.h"

namespace
{

constexpr DmNamedValue nodeKinds[] = {
#define ZR_KIND(name, number, text, role) {name, #name, text},
    ZR_TREE_NODE_KINDS(ZR_KIND)
#undef ZR_KIND
};

} // namespace

DmTreeNode::DmTreeNode(eDmTreeNodeClassId kind, const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : DmPropertySet(id, classData)
    , _classId(kind)
{
}

DmTreeNode::DmTreeNode(const DmTreeNode& other)
    : DmPropertySet(other)
    , _name(other._name)
    , _classId(other._classId)
    , _baseBlob(other._baseBlob)
    , _rares(other._rares)
{
    if (_rares.isOwn<Rare>())
        _rares.own<Rare>().comment.clear();
}

eDmErrorId DmTreeNode::createList()
{
    return declare(*this)
        .constant<ClassId>(L"classId", _classId, "The kind of node: fixed by its class.", nodeKinds)
        .mandatory<Name>(L"name", _name, "The name that people see.")
        .mandatory<Comment>(L"comment", rare()->comment, rare(), "Free text.")
        .mandatory<BaseBlob>(L"baseBlob", _baseBlob, "A set of any class that goes along with the node.")
        .status();
}

DmTreeNode* DmTreeNode::getChild(int /*index*/) const
{
    return nullptr;
}

void DmTreeNode::postProcess(DmTreeVisitor& /*visitor*/) {}
