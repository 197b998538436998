#include "dmTimelineTreeImp.h"

#include <map>
#include <new>

// DmPlacedRuns

DmPlacedRuns::DmPlacedRuns(const DmRuns& runs)
    : _runs(runs)
    , _size(runs.count())
    , _placed(runs.placedRuns())
    , _slots(_placed.size() + 1)
{
    _runOfBlock.reserve(std::size_t(_size) / blockSize + 1);
    for (std::size_t run = 0; run < _placed.size(); ++run)
    {
        _slots[run].first = _placed[run].first;
        _slots[run + 1].first = _placed[run].first + _placed[run].count;
        while (_runOfBlock.size() * blockSize < std::size_t(_slots[run + 1].first))
            _runOfBlock.push_back(int(run));
    }
}

DmPlacedRuns::~DmPlacedRuns()
{
    for (std::size_t run = 0; run < _placed.size(); ++run)
        if (const DmPropertySetPtr* const made = _slots[run].elements.load(std::memory_order_relaxed);
            made && made != _placed[run].run->nodes.data())
            delete[] made;
}

/// Throws where memory runs out.
std::unique_ptr<const DmPropertySetPtr[]> DmPlacedRuns::make(const DmRuns::PlacedRun& placed)
{
    const DmRuns::Run& run = *placed.run;
    auto elements = std::make_unique<DmPropertySetPtr[]>(run.nodes.size());
    for (std::size_t i = 0; i < run.nodes.size(); ++i)
    {
        const double by = run.shifts[i] + placed.shift;
        const DmTreeNode* const node = run.node(int(i));
        const double stored = dmStoredRecIn(node);
        if (by == 0.0 || !dmIsTime(stored))
        {
            elements[i] = run.nodes[i];
            continue;
        }
        const DmRuns::Node copy = dmEditCopy(*node);
        if (!copy)
            throw std::bad_alloc();
        dmStandAt(*copy, stored + by);
        copy->freeze();
        elements[i] = copy;
    }
    return elements;
}

const DmPropertySetPtr* DmPlacedRuns::elementsOf(std::size_t run) const
{
    try
    {
        const DmRuns::PlacedRun& placed = _placed[run];
        std::unique_ptr<const DmPropertySetPtr[]> fresh;
        const DmPropertySetPtr* elements = placed.run->nodes.data();
        if (!placed.run->standsAsStored(placed.shift))
            elements = (fresh = make(placed)).get();
        const DmPropertySetPtr* others = nullptr;
        if (!_slots[run].elements.compare_exchange_strong(others, elements, std::memory_order_acq_rel))
            return others;
        static_cast<void>(fresh.release());
        return elements;
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

DmListRun DmPlacedRuns::runAt(int element) const
{
    auto run = std::size_t(_runOfBlock[std::size_t(element) / blockSize]);
    while (element >= _slots[run + 1].first)
        ++run;
    const DmPropertySetPtr* elements = _slots[run].elements.load(std::memory_order_acquire);
    if (!elements) [[unlikely]]
        elements = elementsOf(run);
    return {elements, _slots[run].first, _slots[run + 1].first - _slots[run].first};
}

// DmTimeline::State

namespace
{

template <class Node>
void drop(Node* node)
{
    if (node && node->unref())
        delete node;
}

/// What several threads ask for at once several make, and the first one's stays: nobody waits.
template <class Node, class Make>
CoSharedPtr<Node> once(std::atomic<Node*>& place, const Make& make)
{
    if (Node* const made = place.load(std::memory_order_acquire))
        return CoSharedPtr<Node>(made);
    CoSharedPtr<Node> fresh = make();
    Node* expected = nullptr;
    if (!fresh)
        return fresh;
    if (!place.compare_exchange_strong(expected, fresh.get(), std::memory_order_acq_rel))
        return CoSharedPtr<Node>(expected);
    fresh->ref(); // the place's own
    return fresh;
}

} // namespace

DmTimeline::State::State(std::shared_ptr<const DmTimelineValue> theValue, const State* before)
    : value(std::move(theValue))
{
    std::size_t count = 0;
    for (const DmTimelineValue::Track& track : value->tracks)
        count += track.layers.size();
    _layers = std::vector<std::atomic<DmLayerNode*>>(count);
    if (!before)
        return;
    // Layers that did not change keep their nodes, where these were made.
    std::map<int, std::pair<const DmTimelineValue::Layer*, DmLayerNode*>> made;
    std::size_t number = 0;
    for (const DmTimelineValue::Track& track : before->value->tracks)
        for (const DmTimelineValue::Layer& layer : track.layers)
            if (DmLayerNode* const node = before->_layers[number++].load(std::memory_order_acquire))
                made[layer.number] = {&layer, node};
    number = 0;
    for (const DmTimelineValue::Track& track : value->tracks)
        for (const DmTimelineValue::Layer& layer : track.layers)
        {
            const auto found = made.find(layer.number);
            if (found != made.end() && layer.bare && found->second.first->bare == layer.bare &&
                found->second.first->runs == layer.runs)
            {
                found->second.second->ref();
                _layers[number].store(found->second.second, std::memory_order_relaxed);
            }
            ++number;
        }
}

DmTimeline::State::~State()
{
    drop(_tree.load());
    for (const std::atomic<DmLayerNode*>& layer : _layers)
        drop(layer.load());
}

CoSharedPtr<DmTreeNode> DmTimeline::State::tree()
{
    return once(_tree, [this] { return makeTree(); });
}

CoSharedPtr<DmLayerNode> DmTimeline::State::layerNode(const DmLayerPlace& place)
{
    std::size_t number = std::size_t(place.layer);
    for (int i = 0; i < place.track; ++i)
        number += value->tracks[std::size_t(i)].layers.size();
    return once(_layers[number], [this, &place] { return makeLayer(*value->layer(place)); });
}

CoSharedPtr<DmLayerNode> DmTimeline::State::makeLayer(const DmTimelineValue::Layer& layer)
{
    CoSharedPtr<DmLayerNode> node = dmEditCopy(*layer.bare);
    if (!node)
        return node;
    auto form = std::make_unique<DmPlacedRuns>(layer.runs);
    node->freeze();
    node->keepChildren(std::move(form));
    return node;
}

CoSharedPtr<DmTreeNode> DmTimeline::State::makeTree()
{
    const CoSharedPtr<DmCompositionNode> composition = dmEditCopy(*value->bare);
    for (std::size_t t = 0; t < value->tracks.size(); ++t)
    {
        const DmTimelineValue::Track& track = value->tracks[t];
        if (!track.bare)
        {
            dmAddUnchecked(*composition, track.other);
            continue;
        }
        const CoSharedPtr<DmTrackNode> node = dmEditCopy(*track.bare);
        for (std::size_t l = 0; l < track.layers.size(); ++l)
        {
            if (track.layers[l].bare)
                dmAddUnchecked(*node, layerNode({int(t), int(l)}));
            else
                dmAddUnchecked(*node, track.layers[l].other);
        }
        dmAddUnchecked(*composition, node);
    }
    composition->freeze();
    // From the composition up: each node of the path with the one below it in its place.
    std::vector<const DmTreeNode*> above;
    for (const DmTreeNode* node = value->top.get(); above.size() < value->path.size();
         node = node->getChild(value->path[above.size() - 1]))
        above.push_back(node);
    CoSharedPtr<DmTreeNode> tree = composition;
    for (std::size_t i = above.size(); i-- > 0;)
    {
        const CoSharedPtr<DmTreeNode> copy = dmEditCopy(*above[i]);
        dmReplaceUnchecked(*copy, value->path[i], tree);
        copy->freeze();
        tree = copy;
    }
    return tree;
}
