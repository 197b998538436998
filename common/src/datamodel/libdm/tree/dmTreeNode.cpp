#include "dmTreeNode.h"

#include "dmDeclare.h"

namespace
{

constexpr DmNamedValue nodeKinds[] = {{DM_COMPOSITION_NODE, "DM_COMPOSITION_NODE", "composition"},
                                      {DM_TRACK_NODE, "DM_TRACK_NODE", "track"},
                                      {DM_LAYER_NODE, "DM_LAYER_NODE", "layer"},
                                      {DM_SOURCE_NODE, "DM_SOURCE_NODE", "source"},
                                      {DM_CONTAINER_NODE, "DM_CONTAINER_NODE", "container"},
                                      {DM_GAP_NODE, "DM_GAP_NODE", "gap"},
                                      {DM_CUT_NODE, "DM_CUT_NODE", "cut"},
                                      {DM_TRX_EFFECT_NODE, "DM_TRX_EFFECT_NODE", "transition effect"},
                                      {DM_BLOB_NODE, "DM_BLOB_NODE", "blob"},
                                      {DM_REEL_NODE, "DM_REEL_NODE", "reel"},
                                      {DM_ROOT_NODE, "DM_ROOT_NODE", "root"},
                                      {DM_BATCH_FX_NODE, "DM_BATCH_FX_NODE", "batch effect"}};

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
