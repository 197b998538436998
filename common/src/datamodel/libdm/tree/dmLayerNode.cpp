#include "dmLayerNode.h"

#include "dmDeclare.h"
#include "dmSegmentNode.h"
#include "dmTransitionNode.h"

#include "zrAssert.h"

static const DmPropertySetInit<DmLayerNode> registration;

DmLayerNode::DmLayerNode(const DmNodeId& id)
    : DmNode(DM_LAYER_NODE, id, DmPropertySetInit<DmLayerNode>::data())
{
}

eDmErrorId DmLayerNode::createList()
{
    return declare(*this, DmCollectionNode::createList())
        .mandatory(L"layerNum", _layerNum)
        .mandatory(L"mediaType", _mediaType)
        .mandatory(L"layerStartTC", _layerStartTC)
        .mandatory(L"layerLength", _layerLength)
        .mandatory(L"layerStereoOutputChannel", _stereoOutputChannel)
        .mandatory(L"isResultLayer", _isResultLayer)
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
