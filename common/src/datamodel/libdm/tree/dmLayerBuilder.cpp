#include "dmLayerBuilder.h"

#include "dmCutNode.h"
#include "dmElementImp.h"
#include "dmGapNode.h"

#include "envVar.h"
#include "zrPost.h"

#include <cmath>

namespace
{

ZR_ENV_VAR(bool, logSteps, "ZR_DEBUG_DM_LAYER_BUILDER", false);

/// Times that differ by less meet: sums of frame counts do not always come out even.
constexpr double tolerance = 1e-5;

/// The least length of a kind: a segment of less than half a frame is no frame long.
double leastLength(const DmSegmentNode& segment)
{
    return segment.whatIs() == DM_GAP_NODE ? 0.0 : 0.5;
}
double leastLength(const DmTransitionNode& /*transition*/)
{
    return 0.0;
}

} // namespace

DmLayerBuilder::DmLayerBuilder(int layerNum, eDmTreeMediaType mediaType, double start, int stereoOutputChannel,
                               bool isResultLayer)
    : _layer(DmLayerNode::create(layerNum, mediaType, stereoOutputChannel, isResultLayer))
    , _start(start)
    , _end(start)
{
}

eDmErrorId DmLayerBuilder::append(const CoSharedPtr<DmTreeNode>& element)
{
    return dmWithElement(element.get(), [this](auto& node) { return put(node, _end); });
}

eDmErrorId DmLayerBuilder::place(const CoSharedPtr<DmTreeNode>& element)
{
    return dmWithElement(element.get(), [this](auto& node) { return put(node, node.getRecIn()); });
}

template <class Element>
eDmErrorId DmLayerBuilder::put(Element& element, double recIn)
{
    const bool isCut = element.whatIs() == DM_CUT_NODE;
    const double length = isCut ? 0.0 : element.getRecLength();
    if (!_layer || element.getMediaType() != _layer->getMediaType() || !std::isfinite(length) ||
        length < leastLength(element) || !std::isfinite(recIn) || recIn < _end - tolerance)
        return DM_BAD_VALUE;

    eDmErrorId status = isCut ? element.setRecLength(0.0) : DM_NO_ERROR;
    if (status == DM_NO_ERROR)
        status = element.setRecIn(recIn);
    if (status == DM_NO_ERROR)
        status = fillTo(recIn);
    constexpr bool isTransition = std::is_same_v<Element, DmTransitionNode>;
    if (status == DM_NO_ERROR && isTransition != endsInSegment())
        status = isTransition ? addGap(0.0) : addCut();
    return status == DM_NO_ERROR ? add(CoSharedPtr<DmTreeNode>(&element), recIn, length) : status;
}

eDmErrorId DmLayerBuilder::fillTo(double time)
{
    if (!_layer || !std::isfinite(time))
        return DM_BAD_VALUE;
    if (time <= _end + tolerance)
        return DM_NO_ERROR;
    const eDmErrorId status = endsInSegment() ? addCut() : DM_NO_ERROR;
    return status == DM_NO_ERROR ? addGap(time - _end) : status;
}

CoSharedPtr<DmLayerNode> DmLayerBuilder::finish()
{
    const bool lacksSegment = _layer && _layer->getNbChildren() > 0 && !endsInSegment();
    if (!_layer || (lacksSegment && addGap(0.0) != DM_NO_ERROR) || _layer->setLayerStartTC(_start) != DM_NO_ERROR ||
        _layer->setLayerLength(_end - _start) != DM_NO_ERROR)
        return {};
    return _layer;
}

bool DmLayerBuilder::endsInSegment() const
{
    return dmSegment(_layer->getChild(_layer->getNbChildren() - 1)) != nullptr;
}

eDmErrorId DmLayerBuilder::addCut()
{
    return add(DmCutNode::create(_layer->getMediaType(), _end), _end, 0.0);
}

eDmErrorId DmLayerBuilder::addGap(double length)
{
    return add(DmGapNode::create(_layer->getMediaType(), _end, length), _end, length);
}

eDmErrorId DmLayerBuilder::add(const CoSharedPtr<DmTreeNode>& element, double recIn, double recLength)
{
    const int before = _layer->getNbChildren();
    if (_layer->addChild(element) == before) // no memory for a gap or a cut; a layer that its owner froze
        return DM_BAD_VALUE;
    _end = recIn + recLength;
    // At notice level: who sets the variable wants to see the lines without turning every other debug message on.
    if (logSteps().getValue())
        ZR_POST_NOTICE("DmLayerBuilder: layer %d, element %d: %ls \"%ls\" from %f to %f", _layer->getLayerNum(), before,
                       element->getPSetName().c_str(), element->getName().c_str(), recIn, _end);
    return DM_NO_ERROR;
}
