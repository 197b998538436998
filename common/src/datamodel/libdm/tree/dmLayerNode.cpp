#include "dmLayerNode.h"

#include "dmDeclare.h"
#include "dmSegmentNode.h"
#include "dmTransitionNode.h"

#include "zrAssert.h"

DmLayerNode::DmLayerNode(const DmNodeId& id)
    : DmNode(DM_LAYER_NODE, id, DmPropertySetInit<DmLayerNode>::data())
{
}

eDmErrorId DmLayerNode::createList()
{
    return declare(*this, DmCollectionNode::createList())
        .mandatory<LayerNum>(L"layerNum", _layerNum, "The number of the layer within its track.")
        .mandatory<MediaType>(L"mediaType", _mediaType, "The medium of the layer's elements.", dmMediaTypes)
        .mandatory<LayerStartTC>(L"layerStartTC", _layerStartTC, "The record time at which the layer starts.", dmFrames)
        .mandatory<LayerLength>(L"layerLength", _layerLength, "The length of the layer.", dmFrames)
        .mandatory<LayerStereoOutputChannel>(L"layerStereoOutputChannel", _stereoOutputChannel,
                                             "The stereo output channel.")
        .mandatory<IsResultLayer>(L"isResultLayer", _isResultLayer,
                                  "The layer holds what its track's layers amount to.")
        .status();
}

CoSharedPtr<DmLayerNode> DmLayerNode::create(int layerNum, eDmTreeMediaType mediaType, int stereoOutputChannel,
                                             bool isResultLayer)
{
    CoSharedPtr<DmLayerNode> node = create();
    if (node && (node->setLayerNum(layerNum) != DM_NO_ERROR || node->setMediaType(mediaType) != DM_NO_ERROR ||
                 node->setStereoOutputChannel(stereoOutputChannel) != DM_NO_ERROR ||
                 node->setIsResultLayer(isResultLayer) != DM_NO_ERROR))
        node.reset();
    return node;
}

eDmErrorId DmLayerNode::addCueMark(const CoSharedPtr<DmCueMark>& mark)
{
    if (!mark)
        return DM_BAD_VALUE;
    if (isFrozen())
        return DM_CANNOT_LOCK;
    _cueMarks.push_back(mark);
    return DM_NO_ERROR;
}

void DmLayerNode::checkChild(const DmTreeNode* node) const
{
    if (node->isTransition())
    {
        if (const auto* const transitionNode = dynamic_cast<const DmTransitionNode*>(node))
            ZR_ASSERT_CONTAINMENT(transitionNode->getMediaType() == getMediaType());
    }
    else if (node->isSegment())
    {
        if (const auto* const segmentNode = dynamic_cast<const DmSegmentNode*>(node))
            ZR_ASSERT_CONTAINMENT(segmentNode->getMediaType() == getMediaType());
    }
    else // NOLINTNEXTLINE(modernize-use-nullptr): printed as it stands
        ZR_ASSERT_CONTAINMENT("A layer only contains transition or segment nodes" == 0);
}
