#include "dmLayerBuilder.h"

#include "dmCutNode.h"
#include "dmElementImp.h"
#include "dmGapNode.h"
#include "dmMemoryImp.h"
#include "dmStepImp.h"

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
class DmLayerBuilder::Batch
{
public:
    explicit Batch(DmLayerBuilder& builder)
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

    /// Adds to a step what it changes in the layer.
    eDmErrorId prepare(DmStep& step)
    {
        if (_count == 0)
            return DM_NO_ERROR;
        DmLayerNode& layer = *_builder._layer;
        const int dropped = _dropsSpareGap ? 1 : 0;
        _first = layer.getNbChildren() - dropped;
        _spareGap.reset(dropped > 0 ? layer.getChild(_first) : nullptr);
        const auto list = [&]
        {
            DmPropertySetVector elements;
            elements.reserve(static_cast<std::size_t>(_count));
            for (; _known < _count; ++_known)
            {
                if (!_pieces[_known].element)
                    return DM_BAD_VALUE;
                elements.emplace_back(_pieces[_known].element);
                _builder._held.insert(_pieces[_known].element.get());
            }
            step.splice(layer, DmLayerNode::Children, _first, dropped, std::move(elements));
            return DM_NO_ERROR;
        };
        return dmWithMemory(list);
    }
    /// Once the step has been stored, or could not be: before anybody hears of it, who may ask, and add more.
    void end(eDmErrorId status)
    {
        if (status != DM_NO_ERROR)
        {
            while (_known-- > 0)
                _builder._held.erase(_pieces[_known].element.get());
            return;
        }
        _builder._end = _end;
        _builder._held.erase(_spareGap.get());
        // At notice level: who sets the variable wants to see the lines without turning every other debug message on.
        for (int i = 0; logSteps().getValue() && i < _count; ++i)
        {
            const DmTreeNode& element = *_pieces[i].element;
            ZR_POST_NOTICE("DmLayerBuilder: layer %d, element %d: %ls \"%ls\" from %f to %f",
                           _builder._layer->getLayerNum(), _first + i, element.getPSetName().c_str(),
                           element.getName().c_str(), _pieces[i].recIn, i + 1 < _count ? _pieces[i + 1].recIn : _end);
        }
    }
    /// With what else the step changes.
    eDmErrorId take(DmStep& step)
    {
        eDmErrorId status = prepare(step);
        if (status == DM_NO_ERROR)
            status = step.store();
        end(status);
        if (status == DM_NO_ERROR)
            step.announce();
        return status;
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
    int _known = 0; ///< to the builder
    int _first = 0;
    CoSharedPtr<DmTreeNode> _spareGap;
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

    DmStep step;
    if (isCut)
        step.set(element, Element::RecLength, 0.0);
    step.set(element, Element::RecIn, recIn);

    constexpr bool isTransition = std::is_same_v<Element, DmTransitionNode>;
    Batch batch(*this);
    if (!isTransition)
        batch.dropSpareGap();
    batch.fillTo(recIn);
    if (isTransition != batch.endsInSegment())
        isTransition ? batch.addGap(0.0) : batch.addCut();
    batch.add(CoSharedPtr<DmTreeNode>(&element), recIn, length);
    return batch.take(step);
}

eDmErrorId DmLayerBuilder::fillTo(double time)
{
    if (!_layer || !std::isfinite(time))
        return DM_BAD_VALUE;
    DmStep step;
    Batch batch(*this);
    batch.fillTo(time);
    return batch.take(step);
}

CoSharedPtr<DmLayerNode> DmLayerBuilder::finish()
{
    DmStep step;
    return finishAll({this, 1}, step) == DM_NO_ERROR ? _layer : CoSharedPtr<DmLayerNode>();
}

eDmErrorId DmLayerBuilder::finishAll(std::span<DmLayerBuilder> builders, DmStep& step)
{
    std::vector<Batch> closings;
    const auto prepare = [&]
    {
        closings.reserve(builders.size());
        for (DmLayerBuilder& builder : builders)
        {
            if (!builder._layer)
                return DM_BAD_VALUE;
            Batch& closing = closings.emplace_back(builder);
            if (builder._layer->getNbChildren() > 0 && !closing.endsInSegment())
                closing.addGap(0.0);
            if (const eDmErrorId status = closing.prepare(step); status != DM_NO_ERROR)
                return status;
            step.set(*builder._layer, DmLayerNode::LayerStartTC, builder._start);
            step.set(*builder._layer, DmLayerNode::LayerLength, builder._end - builder._start);
        }
        return DM_NO_ERROR;
    };
    eDmErrorId status = dmWithMemory(prepare);
    if (status == DM_NO_ERROR)
        status = step.store();
    for (Batch& closing : closings)
        closing.end(status);
    if (status == DM_NO_ERROR)
        step.announce();
    return status;
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
