#include "dmBatchFxNode.h"

#include "dmDeclare.h"

DmBatchFxNode::DmBatchFxNode(const DmNodeId& id)
    : DmNode(DM_BATCH_FX_NODE, id, DmPropertySetInit<DmBatchFxNode>::data())
{
}

eDmErrorId DmBatchFxNode::createList()
{
    return declare(*this, DmSegmentNode::createList())
        .optional<SetupFileName>(L"setupFileName", _setupFileName, "The file of the batch's setup.")
        .mandatoryCdata<Setup>(L"setup", _setup, "The batch's setup itself.")
        .status();
}
