#include "dmLayerBuilder.h"

#include "dmCutNode.h"
#include "dmElementImp.h"
#include "dmGapNode.h"
#include "dmMemoryImp.h"

#include "envVar.h"
#include "zrPost.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

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

/// What goes into the layer at once.
class DmLayerBuilder::Step
{
public:
    explicit Step(DmLayerBuilder& builder)
        : _builder(builder)
        , _end(builder._end)
        , _endsInSegment(builder.endsInSegment())
    {
    }

    bool endsInSegment() const { return _endsInSegment; }
    void dropSpareGap()
    {
        _dropsSpareGap = _builder.endsInSpareGap();
        _endsInSegment = _endsInSegment && !_dropsSpareGap;
    }
    void fillTo(double time)
    {
        if (time <= _end + tolerance)
            return;
        dropSpareGap();
        if (_endsInSegment)
            addCut();
        addGap(time - _end);
    }
    void addCut() { add(DmCutNode::create(mediaType(), _end), _end, 0.0); }
    void addGap(double length) { add(DmGapNode::create(mediaType(), _end, length), _end, length); }
    void add(const CoSharedPtr<DmTreeNode>& element, double recIn, double recLength)
    {
        _pieces[_count++] = {element, recIn};
        _end = recIn + recLength;
        _endsInSegment = dmSegment(element.get()) != nullptr;
    }

    eDmErrorId take()
    {
        if (_count == 0)
            return DM_NO_ERROR;
        DmLayerNode& layer = *_builder._layer;
        const int dropped = _dropsSpareGap ? 1 : 0;
        const int first = layer.getNbChildren() - dropped;
        const CoSharedPtr<DmTreeNode> spareGap(dropped > 0 ? layer.getChild(first) : nullptr);
        std::vector<CoSharedPtr<DmTreeNode>> elements;
        int known = 0;
        eDmErrorId status = dmWithMemory(
            [&]
            {
                for (; known < _count; ++known)
                {
                    elements.push_back(_pieces[known].element);
                    _builder._held.insert(elements.back().get());
                }
                return DM_NO_ERROR;
            });
        const double end = std::exchange(_builder._end, _end); // who hears of the change may ask, and add more
        if (status == DM_NO_ERROR)
            status = layer.replaceChildren(first, dropped, elements);
        if (status != DM_NO_ERROR)
        {
            _builder._end = end;
            while (known-- > 0)
                _builder._held.erase(_pieces[known].element.get());
            return status;
        }
        _builder._held.erase(spareGap.get());
        // At notice level: who sets the variable wants to see the lines without turning every other debug message on.
        for (int i = 0; logSteps().getValue() && i < _count; ++i)
        {
            const DmTreeNode& element = *_pieces[i].element;
            ZR_POST_NOTICE("DmLayerBuilder: layer %d, element %d: %ls \"%ls\" from %f to %f", layer.getLayerNum(),
                           first + i, element.getPSetName().c_str(), element.getName().c_str(), _pieces[i].recIn,
                           i + 1 < _count ? _pieces[i + 1].recIn : _end);
        }
        return DM_NO_ERROR;
    }

private:
    struct Piece
    {
        CoSharedPtr<DmTreeNode> element; ///< null where there was no memory for it
        double recIn = 0.0;
    };

    eDmTreeMediaType mediaType() const { return _builder._layer->getMediaType(); }

    DmLayerBuilder& _builder;
    Piece _pieces[4]; ///< a cut and a gap up to the element, a cut or a gap at its edge, itself
    int _count = 0;
    double _end;
    bool _endsInSegment;
    bool _dropsSpareGap = false;
};

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
        const auto keep = [&]
        {
            _held.insert(child);
            return DM_NO_ERROR;
        };
        if (child && dmWithMemory(keep) != DM_NO_ERROR)
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

    const double oldRecIn = element.getRecIn();
    const double oldLength = element.getRecLength();
    eDmErrorId status = isCut ? element.setRecLength(0.0) : DM_NO_ERROR;
    if (status == DM_NO_ERROR)
        status = element.setRecIn(recIn);
    if (status == DM_NO_ERROR)
    {
        constexpr bool isTransition = std::is_same_v<Element, DmTransitionNode>;
        Step step(*this);
        if (!isTransition)
            step.dropSpareGap();
        step.fillTo(recIn);
        if (isTransition != step.endsInSegment())
            isTransition ? step.addGap(0.0) : step.addCut();
        step.add(CoSharedPtr<DmTreeNode>(&element), recIn, length);
        status = step.take();
    }
    if (status != DM_NO_ERROR && element.setRecIn(oldRecIn) == DM_NO_ERROR)
        static_cast<void>(element.setRecLength(oldLength)); // a constant has kept both
    return status;
}

eDmErrorId DmLayerBuilder::fillTo(double time)
{
    if (!_layer || !std::isfinite(time))
        return DM_BAD_VALUE;
    Step step(*this);
    step.fillTo(time);
    return step.take();
}

CoSharedPtr<DmLayerNode> DmLayerBuilder::finish()
{
    const bool lacksSegment = _layer && _layer->getNbChildren() > 0 && !endsInSegment();
    const auto close = [this]
    {
        Step step(*this);
        step.addGap(0.0);
        return step.take();
    };
    if (!_layer || (lacksSegment && close() != DM_NO_ERROR) || _layer->setLayerStartTC(_start) != DM_NO_ERROR ||
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
