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
    holdsBesideProperties(
        [](const DmPropertySet& owner, void (*visit)(DmPropertySet & held, void* data), void* data)
        {
            for (const DmPropertySetPtr& mark : static_cast<const DmLayerNode&>(owner)._cueMarks)
                visit(*mark, data);
        });
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
    return changeSilently([&] { _cueMarks.push_back(mark); });
}

eDmErrorId DmLayerNode::removeCueMark(int index)
{
    DmPropertySetPtr removed; // released behind the mutex
    const eDmErrorId status = changeSilently(
        [&]
        {
            if (static_cast<std::size_t>(index) >= _cueMarks.size())
                return;
            removed.swap(_cueMarks[static_cast<std::size_t>(index)]);
            _cueMarks.erase(_cueMarks.begin() + index);
        });
    return status != DM_NO_ERROR || removed ? status : DM_BAD_INDEX;
}

eDmErrorId DmLayerNode::mayHold(const DmTreeNode* node) const
{
    if (!node)
        return DM_BAD_VALUE;
    // By kind: a batch effect is a segment by class, and none that a layer takes.
    const DmSegmentNode* const segment = node->isSegment() ? node->asSegment() : nullptr;
    const DmTransitionNode* const transition = node->isTransition() ? node->asTransition() : nullptr;
    if (!segment && !transition)
        return DM_BAD_PROPERTY_TYPE;
    const eDmTreeMediaType mediaType = segment ? segment->getMediaType() : transition->getMediaType();
    return mediaType == getMediaType() ? DM_NO_ERROR : DM_BAD_VALUE;
}

void DmLayerNode::checkChild(const DmTreeNode* node) const
{
    if (node->isTransition())
    {
        if (const auto* const transition = dynamic_cast<const DmTransitionNode*>(node))
            ZR_ASSERT_CONTAINMENT_AS("transitionNode->getMediaType() == getMediaType()",
                                     transition->getMediaType() == getMediaType());
    }
    else if (node->isSegment())
    {
        if (const auto* const segment = dynamic_cast<const DmSegmentNode*>(node))
            ZR_ASSERT_CONTAINMENT_AS("segmentNode->getMediaType() == getMediaType()",
                                     segment->getMediaType() == getMediaType());
    }
    else
        ZR_ASSERT_CONTAINMENT_AS("\"A layer only contains transition or segment nodes\" == 0", false);
}
