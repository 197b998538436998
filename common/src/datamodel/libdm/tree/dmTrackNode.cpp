#include "dmTrackNode.h"

#include "dmDeclare.h"
#include "dmLayerNode.h"

#include "zrAssert.h"

DmTrackNode::DmTrackNode(const DmNodeId& id)
    : DmNode(DM_TRACK_NODE, id, DmPropertySetInit<DmTrackNode>::data())
{
}

eDmErrorId DmTrackNode::createList()
{
    return declare(*this, DmCollectionNode::createList())
        .mandatory<TrackNum>(L"trackNum", _trackNum, "The number of the track.")
        .mandatory<TrackChannel>(L"trackChannel", _trackChannel, "The output channel of the track.")
        .mandatory<MediaType>(L"mediaType", _mediaType, "The medium of everything in the track.", dmMediaTypes)
        .mandatory<HasStereoFx>(L"hasStereoFx", _hasStereoFx, "The track carries stereo effects.")
        .status();
}

CoSharedPtr<DmTrackNode> DmTrackNode::create(int trackNum, eDmTreeMediaType mediaType)
{
    CoSharedPtr<DmTrackNode> node = create();
    if (node && (node->setTrackNum(trackNum) != DM_NO_ERROR || node->setMediaType(mediaType) != DM_NO_ERROR))
        node.reset();
    return node;
}

eDmErrorId DmTrackNode::mayHold(const DmTreeNode* node) const
{
    if (!node)
        return DM_BAD_VALUE;
    const auto* const layer = dynamic_cast<const DmLayerNode*>(node);
    if (!layer)
        return DM_BAD_PROPERTY_TYPE;
    return layer->getMediaType() == getMediaType() ? DM_NO_ERROR : DM_BAD_VALUE;
}

void DmTrackNode::checkChild(const DmTreeNode* node) const
{
    ZR_ASSERT_CONTAINMENT(node->whatIs() == DM_LAYER_NODE);
    if (const auto* const layerNode = dynamic_cast<const DmLayerNode*>(node))
        ZR_ASSERT_CONTAINMENT(layerNode->getMediaType() == getMediaType());
}
