#include "dmTrackNode.h"

#include "dmDeclare.h"
#include "dmLayerNode.h"

#include "zrAssert.h"

static const DmPropertySetInit<DmTrackNode> registration;

DmTrackNode::DmTrackNode(const DmNodeId& id)
    : DmNode(DM_TRACK_NODE, id, DmPropertySetInit<DmTrackNode>::data())
{
}

eDmErrorId DmTrackNode::createList()
{
    return declare(*this, DmCollectionNode::createList())
        .mandatory(L"trackNum", _trackNum)
        .mandatory(L"trackChannel", _trackChannel)
        .mandatory(L"mediaType", _mediaType)
        .mandatory(L"hasStereoFx", _hasStereoFx)
        .status();
}

CoSharedPtr<DmTrackNode> DmTrackNode::create(int trackNum, eDmTreeMediaType mediaType)
{
    CoSharedPtr<DmTrackNode> node = create();
    if (node && (node->setTrackNum(trackNum) != DM_NO_ERROR || node->setMediaType(mediaType) != DM_NO_ERROR))
        node.reset();
    return node;
}

void DmTrackNode::checkChild(const DmTreeNode* node) const
{
    ZR_ASSERT_CONTAINMENT(node->whatIs() == DM_LAYER_NODE);
    if (const auto* const layerNode = dynamic_cast<const DmLayerNode*>(node))
        ZR_ASSERT_CONTAINMENT(layerNode->getMediaType() == getMediaType());
}
