#include "dmLayerBuilder.h"

#include "dmCutNode.h"
#include "dmElementImp.h"
#include "dmGapNode.h"
#include "dmMemoryImp.h"

#include "envVar.h"
#include "zrPost.h"

#include <algorithm>
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

DmLayerBuilder::DmLayerBuilder(const CoSharedPtr<DmLayerNode>& layer)
    : _layer(layer)
    , _start(layer ? layer->getLayerStartTC() : 0.0)
    , _end(_start)
{
    for (int i = 0; layer && i < layer->getNbChildren(); ++i)
    {
        DmTreeNode* const child = layer->getChild(i);
        static_cast<void>(dmWithElement(child,
                                        [this](const auto& element)
                                        {
                                            _end = std::max(_end, element.getRecOut());
                                            return DM_NO_ERROR;
                                        })); // what is no element takes no time
        if (child && keep(child) != DM_NO_ERROR)
            _layer = {};
    }
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
        length < leastLength(element) || !std::isfinite(recIn) || recIn < _end - tolerance || holds(&element))
        return DM_BAD_VALUE;

    eDmErrorId status = isCut ? element.setRecLength(0.0) : DM_NO_ERROR;
    if (status == DM_NO_ERROR)
        status = element.setRecIn(recIn);
    constexpr bool isTransition = std::is_same_v<Element, DmTransitionNode>;
    if (status == DM_NO_ERROR && !isTransition)
        status = removeSpareGap();
    if (status == DM_NO_ERROR)
        status = fillTo(recIn);
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
    eDmErrorId status = removeSpareGap();
    if (status == DM_NO_ERROR && endsInSegment())
        status = addCut();
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

/// A gap of no length that only closes the layer behind a transition, and that nobody has attached anything to.
bool DmLayerBuilder::endsInSpareGap() const
{
    const int count = _layer->getNbChildren();
    DmSegmentNode* const last = count > 1 ? dmSegment(_layer->getChild(count - 1)) : nullptr;
    return last && last->whatIs() == DM_GAP_NODE && last->getRecLength() == 0.0 && !last->getBaseBlob() &&
           dmTransition(_layer->getChild(count - 2)) && _layer->getChild(count - 2)->whatIs() != DM_CUT_NODE;
}

eDmErrorId DmLayerBuilder::removeSpareGap()
{
    if (!endsInSpareGap())
        return DM_NO_ERROR;
    const int last = _layer->getNbChildren() - 1;
    _held.erase(_layer->getChild(last));
    return _layer->removeChild(last) == last ? DM_NO_ERROR : DM_CANNOT_LOCK;
}

eDmErrorId DmLayerBuilder::keep(const DmTreeNode* element)
{
    return dmWithMemory(
        [&]
        {
            _held.insert(element);
            return DM_NO_ERROR;
        });
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
    if (!element || keep(element.get()) != DM_NO_ERROR) // no memory for a gap or a cut
        return DM_BAD_VALUE;
    if (_layer->addChild(element) == before) // a layer that its owner froze
    {
        _held.erase(element.get());
        return DM_BAD_VALUE;
    }
    _end = recIn + recLength;
    // At notice level: who sets the variable wants to see the lines without turning every other debug message on.
    if (logSteps().getValue())
        ZR_POST_NOTICE("DmLayerBuilder: layer %d, element %d: %ls \"%ls\" from %f to %f", _layer->getLayerNum(), before,
                       element->getPSetName().c_str(), element->getName().c_str(), recIn, _end);
    return DM_NO_ERROR;
}
