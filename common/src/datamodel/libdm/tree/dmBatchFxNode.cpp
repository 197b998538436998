#include "dmBatchFxNode.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmBatchFxNode> registration;

DmBatchFxNode::DmBatchFxNode(const DmNodeId& id)
    : DmNode(DM_BATCH_FX_NODE, id, DmPropertySetInit<DmBatchFxNode>::data())
{
}

eDmErrorId DmBatchFxNode::createList()
{
    return declare(*this, DmSegmentNode::createList())
        .optional(L"setupFileName", _setupFileName)
        .mandatoryCdata(L"setup", _setup)
        .status();
}
