#include "dmTimeline.h"

#include "dmContainerNode.h"
#include "dmNesting.h"
#include "dmSetAccessImp.h"
#include "dmSetTools.h"
#include "dmTimelineImp.h"
#include "dmTreeTool.h"

#include <atomic>
#include <unordered_map>

// DmTimelineValue

const DmTimelineValue::Layer* DmTimelineValue::layer(const DmLayerPlace& place) const
{
    if (std::size_t(place.track) >= tracks.size())
        return nullptr;
    const Track& track = tracks[std::size_t(place.track)];
    if (std::size_t(place.layer) >= track.layers.size() || !track.layers[std::size_t(place.layer)].bare)
        return nullptr;
    return &track.layers[std::size_t(place.layer)];
}

namespace
{

const DmSegmentNode* identified(const DmTreeNode* node)
{
    const DmSegmentNode* const segment = dmSegment(const_cast<DmTreeNode*>(node));
    return segment && !segment->getSegmentId().empty() ? segment : nullptr;
}

DmPlaces::Place placeIn(const DmTimelineValue::Layer& layer, const DmSegmentNode& segment, std::uint64_t key)
{
    return {DmPlaces::hashOf(segment.getSegmentId()), key, layer.number};
}

/// Without its children.
template <class Node>
CoSharedPtr<Node> bareCopy(const Node& node)
{
    const CoSharedPtr<Node> bare = dmEditCopy(node);
    if (bare)
        static_cast<void>(bare->clearList(DmCollectionNode::Children, DM_VECTOR_PROPERTY_SET)); // fresh: cannot fail
    return bare;
}

template <class Node>
void addUnchecked(DmCollectionNode& parent, const CoSharedPtr<Node>& child)
{
    // As it stands in the document: what classes take is no concern of a copy.
    const DmPropertyDef& def = *parent.classData().at(DmCollectionNode::Children);
    static_cast<void>(
        DmSetAccess::append(parent, DmStore::Fresh, DmCollectionNode::Children, def, DmPropertySetPtr(child)));
}

/// Likewise, in place of a child of a copy.
void replaceUnchecked(DmTreeNode& parent, int index, const CoSharedPtr<DmTreeNode>& child)
{
    const DmPropertyDef& def = *parent.classData().at(DmCollectionNode::Children);
    DmPropertySetPtr element(child);
    static_cast<void>(DmSetAccess::replace(parent, DmStore::Fresh, DmCollectionNode::Children, def, index, element));
}

} // namespace

void DmTimelineValue::splice(Layer& layer, int first, int last, std::span<const DmRuns::Node> nodes, double shiftBehind)
{
    layer.runs.forEach(first, last,
                       [&](const DmRuns::Element& element)
                       {
                           if (const DmSegmentNode* const segment = identified(element.node))
                               places.remove(placeIn(layer, *segment, element.key));
                       });
    for (const DmRuns::Node& node : nodes)
        node->freeze();
    // An element that gets another key was entered with the one that it has in the runs as they are.
    const DmRuns before = layer.runs;
    std::unordered_map<const DmTreeNode*, std::uint64_t> oldKeys;
    std::vector<std::pair<const DmTreeNode*, std::uint64_t>> rekeyed;
    layer.runs = before.spliced(first, last, nodes, shiftBehind,
                                [&](const DmTreeNode& node, std::uint64_t key) { rekeyed.emplace_back(&node, key); });
    if (rekeyed.size() > nodes.size())
        before.forEach(0, before.count(),
                       [&, number = 0](const DmRuns::Element& element) mutable
                       {
                           if (number < first || number >= last)
                               oldKeys.emplace(element.node, element.key);
                           ++number;
                       });
    for (const auto& [node, key] : rekeyed)
        if (const DmSegmentNode* const segment = identified(node))
        {
            if (const auto old = oldKeys.find(node); old != oldKeys.end())
                places.remove(placeIn(layer, *segment, old->second));
            places.add(placeIn(layer, *segment, key));
        }
}

void DmTimelineValue::enter(const Layer& layer)
{
    layer.runs.forEach(0, layer.runs.count(),
                       [&](const DmRuns::Element& element)
                       {
                           if (const DmSegmentNode* const segment = identified(element.node))
                               places.add(placeIn(layer, *segment, element.key));
                       });
}

void DmTimelineValue::leave(const Layer& layer)
{
    layer.runs.forEach(0, layer.runs.count(),
                       [&](const DmRuns::Element& element)
                       {
                           if (const DmSegmentNode* const segment = identified(element.node))
                               places.remove(placeIn(layer, *segment, element.key));
                       });
}

template <class Visit>
void DmTimelineValue::forEachOfHash(std::uint64_t hash, Visit&& visit) const
{
    places.forEach(hash,
                   [&](const DmPlaces::Place& place)
                   {
                       for (std::size_t t = 0; t < tracks.size(); ++t)
                           for (std::size_t l = 0; l < tracks[t].layers.size(); ++l)
                           {
                               const Layer& layer = tracks[t].layers[l];
                               if (!layer.bare || layer.number != place.layer)
                                   continue;
                               const int index = layer.runs.indexOf(place.key);
                               if (const DmSegmentNode* const segment = identified(layer.runs.at(index).node))
                                   return visit(*segment, DmElementPlace{int(t), int(l), index});
                           }
                       return true;
                   });
}

std::optional<DmElementPlace> DmTimelineValue::find(const DmString& id) const
{
    std::optional<DmElementPlace> found;
    forEachOfHash(DmPlaces::hashOf(id),
                  [&](const DmSegmentNode& segment, const DmElementPlace& place)
                  {
                      if (segment.getSegmentId() == id)
                          found = place;
                      return !found;
                  });
    return found;
}

std::vector<DmElementPlace> DmTimelineValue::group(const DmString& id) const
{
    std::vector<DmElementPlace> places_;
    const std::wstring_view group = dmLinkGroupOf(id);
    forEachOfHash(DmPlaces::hashOf(id),
                  [&](const DmSegmentNode& segment, const DmElementPlace& place)
                  {
                      if (group.empty() ? segment.getSegmentId() == id : dmLinkGroupOf(segment.getSegmentId()) == group)
                          places_.push_back(place);
                      return true;
                  });
    return places_;
}

namespace
{

double recOutOf(const DmRuns::Element& element)
{
    auto* const node = const_cast<DmTreeNode*>(element.node);
    if (const DmSegmentNode* const segment = dmSegment(node))
        return element.recIn() + segment->getRecLength();
    if (const DmTransitionNode* const transition = dmTransition(node))
        return element.recIn() + transition->getRecLength();
    return element.recIn();
}

} // namespace

int DmTimelineValue::indexAt(const DmRuns& runs, double time)
{
    for (int index = runs.lastBeginningBy(time); index >= 0; --index)
    {
        const DmRuns::Element element = runs.at(index);
        const double out = recOutOf(element);
        if (time < out)
            return index;
        // Cuts and gaps of no length stand at the out-time of what is in front of them.
        if (out > element.recIn())
            break;
    }
    return -1;
}

// DmTimeline

class DmTimeline::State
{
public:
    State(std::shared_ptr<const DmTimelineValue> theValue, const State* before)
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
    ~State()
    {
        drop(_tree.load());
        for (const std::atomic<DmLayerNode*>& layer : _layers)
            drop(layer.load());
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    CoSharedPtr<DmTreeNode> tree()
    {
        return once(_tree, [this] { return makeTree(); });
    }
    CoSharedPtr<DmLayerNode> layerNode(const DmLayerPlace& place)
    {
        std::size_t number = std::size_t(place.layer);
        for (int i = 0; i < place.track; ++i)
            number += value->tracks[std::size_t(i)].layers.size();
        return once(_layers[number], [this, &place] { return makeLayer(*value->layer(place)); });
    }

    const std::shared_ptr<const DmTimelineValue> value;

private:
    template <class Node>
    static void drop(Node* node)
    {
        if (node && node->unref())
            delete node;
    }

    /// What several threads ask for at once several make, and the first one's stays: nobody waits.
    template <class Node, class Make>
    static CoSharedPtr<Node> once(std::atomic<Node*>& place, const Make& make)
    {
        if (Node* const made = place.load(std::memory_order_acquire))
            return CoSharedPtr<Node>(made);
        CoSharedPtr<Node> fresh = make();
        Node* expected = nullptr;
        if (!place.compare_exchange_strong(expected, fresh.get(), std::memory_order_acq_rel))
            return CoSharedPtr<Node>(expected);
        fresh->ref(); // the place's own
        return fresh;
    }

    static CoSharedPtr<DmLayerNode> makeLayer(const DmTimelineValue::Layer& layer);
    CoSharedPtr<DmTreeNode> makeTree();

    std::atomic<DmTreeNode*> _tree{nullptr};
    std::vector<std::atomic<DmLayerNode*>> _layers;
};

namespace
{

/// The element at its time: the stored node where nothing shifted it, else a copy.
DmRuns::Node placed(const DmRuns::Run& run, int entry, double shift)
{
    const double by = run.shifts[std::size_t(entry)] + shift;
    const double stored = dmStoredRecIn(run.node(entry));
    if (by == 0.0 || !dmIsTime(stored))
        return DmRuns::Node(const_cast<DmTreeNode*>(run.node(entry)));
    DmRuns::Node copy = dmEditCopy(*run.node(entry));
    static_cast<void>(dmWithElement(copy.get(), [&](auto& node) { return node.setRecIn(stored + by); }));
    copy->freeze();
    return copy;
}

} // namespace

CoSharedPtr<DmLayerNode> DmTimeline::State::makeLayer(const DmTimelineValue::Layer& layer)
{
    CoSharedPtr<DmLayerNode> node = dmEditCopy(*layer.bare);
    for (const DmRuns::PlacedRun& run : layer.runs.placedRuns())
        for (int entry = 0; entry < run.run->count(); ++entry)
            addUnchecked(*node, placed(*run.run, entry, run.shift));
    node->freeze();
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
            addUnchecked(*composition, track.other);
            continue;
        }
        const CoSharedPtr<DmTrackNode> node = dmEditCopy(*track.bare);
        for (std::size_t l = 0; l < track.layers.size(); ++l)
        {
            if (track.layers[l].bare)
                addUnchecked(*node, layerNode({int(t), int(l)}));
            else
                addUnchecked(*node, track.layers[l].other);
        }
        addUnchecked(*composition, node);
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
        replaceUnchecked(*copy, value->path[i], tree);
        copy->freeze();
        tree = copy;
    }
    return tree;
}

DmTimeline::DmTimeline(std::shared_ptr<const DmTimelineValue> value, const DmTimeline& before)
    : _state(std::make_shared<State>(std::move(value), before._state.get()))
{
}

const DmTimelineValue* DmTimeline::value() const
{
    return _state ? _state->value.get() : nullptr;
}

std::shared_ptr<const DmTimelineValue> DmTimeline::shareValue() const
{
    return _state ? _state->value : nullptr;
}

namespace
{

void fail(DmStatus* status, const char* text)
{
    if (status)
        status->fail(DM_BAD_VALUE, "%s", text);
}

/// The way to a composition, counted in the order of a walk; compositions that containers hold are not counted.
bool findComposition(const DmTreeNode* node, int& left, std::vector<int>& path)
{
    if (!node)
        return false;
    if (node->whatIs() == DM_COMPOSITION_NODE)
        return left-- == 0;
    if (node->whatIs() != DM_ROOT_NODE && node->whatIs() != DM_REEL_NODE)
        return false;
    for (int i = 0; i < node->getNbChildren(); ++i)
    {
        path.push_back(i);
        if (int(path.size()) < dmMaxNesting && findComposition(node->getChild(i), left, path))
            return true;
        path.pop_back();
    }
    return false;
}

/// A copy leaves the marks of layers behind, which are no property.
void copyLayerMarks(const DmTreeNode* from, DmTreeNode* to)
{
    if (!from || !to || from == to)
        return;
    if (const auto* const layer = dynamic_cast<const DmLayerNode*>(from))
    {
        for (int i = 0; i < layer->getCueMarks().count(); ++i)
            if (const DmCueMark* const mark = layer->getCueMarks().at(i))
                static_cast<void>(
                    static_cast<DmLayerNode*>(to)->addCueMark(DM::staticPointerCast<DmCueMark>(mark->clone())));
        return;
    }
    for (int i = 0; i < from->getNbChildren(); ++i)
        copyLayerMarks(from->getChild(i), to->getChild(i));
}

/// Asks for each set that a set holds itself whether another is to stand in its place: `replace` changes the pointer
/// and says so. False when a setter refused one.
template <class Replace>
bool replaceHeld(DmPropertySet& owner, Replace&& replace)
{
    const DmPropertySetData& data = owner.classData();
    for (int i = 0; i < data.size(); ++i)
    {
        DmPropertySetPtr held;
        if (data.at(i)->_type == DM_PROPERTY_SET)
        {
            if (owner.getPropertyValue(i, DM_PROPERTY_SET, &held) == DM_NO_ERROR && held && replace(held) &&
                owner.setPropertyValue(i, DM_PROPERTY_SET, &held) != DM_NO_ERROR)
                return false;
        }
        else if (data.at(i)->_type == DM_VECTOR_PROPERTY_SET)
        {
            int size = 0;
            static_cast<void>(owner.getListSize(i, DM_VECTOR_PROPERTY_SET, size));
            for (int element = 0; element < size; ++element)
                if (owner.getValueFromPropertyList(i, DM_VECTOR_PROPERTY_SET, element, &held) == DM_NO_ERROR && held &&
                    replace(held) &&
                    DmSetAccess::replace(owner, DmStore::Announced, i, *data.at(i), element, held) != DM_NO_ERROR)
                    return false;
        }
        else if (data.at(i)->_type == DM_MAP_PROPERTY_SET)
        {
            DmStringArray keys;
            static_cast<void>(owner.getKeysFromPropertyMap(i, DM_MAP_PROPERTY_SET, keys));
            for (const DmString& key : keys)
                if (owner.getValueFromPropertyMap(i, DM_MAP_PROPERTY_SET, key, &held) == DM_NO_ERROR && held &&
                    replace(held) && owner.setValueFromPropertyMap(i, DM_MAP_PROPERTY_SET, key, &held) != DM_NO_ERROR)
                    return false;
        }
    }
    return true;
}

/// Who holds what of a tree that is handed over.
class HandOver
{
public:
    explicit HandOver(DmTreeNode& tree)
        : _met{{&tree, 1}}
    {
        count(tree);
    }

    /// Replaces what others hold too by copies. False when one cannot be made.
    bool separate(DmPropertySet& owner)
    {
        return replaceHeld(owner, [this](DmPropertySetPtr& held) { return isChanged(held); }) && !_failed;
    }

    /// Whether anything is held by others.
    bool isShared() const
    {
        for (const auto& [set, count] : _met)
            if (set->refCount() > count)
                return true;
        return false;
    }

private:
    void count(const DmPropertySet& set)
    {
        dmForEachHeld(set,
                      [this](const DmPropertySetPtr& held)
                      {
                          if (!held->isFrozen() && ++_met[held.get()] == 1)
                              count(*held);
                          return true;
                      });
    }

    /// Whether the pointer points to another object now.
    bool isChanged(DmPropertySetPtr& held)
    {
        if (held->isFrozen())
            return false;
        const auto known = _copies.find(held.get());
        if (known != _copies.end())
        {
            if (known->second == held)
                return false;
            held = known->second;
            return true;
        }
        // One more is the caller's pointer.
        if (held->refCount() - 1 <= _met[held.get()])
        {
            _copies[held.get()] = held;
            _failed = _failed || !separate(*held);
            return false;
        }
        DmPropertySetPtr copy;
        if (dmDeepCopy(*held, copy) != DM_NO_ERROR)
        {
            _failed = true;
            return false;
        }
        if (const auto* const node = dynamic_cast<const DmTreeNode*>(held.get()))
            copyLayerMarks(node, static_cast<DmTreeNode*>(copy.get()));
        _copies[held.get()] = copy;
        held = copy;
        return true;
    }

    std::unordered_map<const DmPropertySet*, int> _met; ///< how often each is held inside the tree
    std::unordered_map<const DmPropertySet*, DmPropertySetPtr> _copies;
    bool _failed = false;
};

/// The value of a tree that is constant.
std::shared_ptr<DmTimelineValue> valueOf(const CoSharedPtr<DmTreeNode>& tree, int number)
{
    auto value = std::make_shared<DmTimelineValue>();
    value->number = number;
    if (!findComposition(tree.get(), number, value->path))
        return nullptr;
    const DmTreeNode* node = tree.get();
    for (const int step : value->path)
        node = node->getChild(step);
    const auto* const composition = dynamic_cast<const DmCompositionNode*>(node);
    if (!composition)
        return nullptr;

    value->bare = bareCopy(*composition);
    value->bare->freeze();
    for (int t = 0; t < composition->getNbChildren(); ++t)
    {
        DmTimelineValue::Track& track = value->tracks.emplace_back();
        const auto* const trackNode = dynamic_cast<const DmTrackNode*>(composition->getChild(t));
        if (!trackNode)
        {
            track.other = CoSharedPtr<DmTreeNode>(composition->getChild(t));
            continue;
        }
        track.bare = bareCopy(*trackNode);
        track.bare->freeze();
        for (int l = 0; l < trackNode->getNbChildren(); ++l)
        {
            DmTimelineValue::Layer& layer = track.layers.emplace_back();
            layer.number = value->nextLayer++;
            const auto* const layerNode = dynamic_cast<const DmLayerNode*>(trackNode->getChild(l));
            if (!layerNode)
            {
                layer.other = CoSharedPtr<DmTreeNode>(trackNode->getChild(l));
                continue;
            }
            std::vector<DmRuns::Node> nodes;
            nodes.reserve(std::size_t(layerNode->getNbChildren()));
            for (int i = 0; i < layerNode->getNbChildren(); ++i)
                nodes.emplace_back(layerNode->getChild(i));
            layer.bare = bareCopy(*layerNode);
            layer.bare->freeze();
            layer.runs = DmRuns(std::move(nodes));
            value->enter(layer);
        }
    }

    // What stands above keeps the composition's place, not the composition: its elements are the runs'.
    CoSharedPtr<DmTreeNode> below = value->bare;
    std::vector<const DmTreeNode*> above;
    for (const DmTreeNode* each = tree.get(); above.size() < value->path.size();
         each = each->getChild(value->path[above.size() - 1]))
        above.push_back(each);
    for (std::size_t i = above.size(); i-- > 0;)
    {
        const CoSharedPtr<DmTreeNode> copy = dmEditCopy(*above[i]);
        replaceUnchecked(*copy, value->path[i], below);
        copy->freeze();
        below = copy;
    }
    value->top = below;
    return value;
}

} // namespace

namespace
{

/// Copies of constants to change in place: what is held twice is held twice again.
class Thaw
{
public:
    DmPropertySetPtr operator()(const DmPropertySet& set)
    {
        DmPropertySetPtr& copy = _copies[&set];
        if (copy)
            return copy;
        if (const auto* const node = dynamic_cast<const DmTreeNode*>(&set))
            copy = dmEditCopy(*node);
        else
            copy = set.clone();
        const DmPropertySetPtr own = copy; // the map may move
        return thawHeld(*own) ? own : DmPropertySetPtr();
    }

private:
    bool thawHeld(DmPropertySet& owner)
    {
        bool done = true;
        const bool replaced = replaceHeld(owner,
                                          [&](DmPropertySetPtr& held)
                                          {
                                              // A clone's own things are fresh already; what they hold may not be.
                                              if (!held->isFrozen())
                                              {
                                                  done = thawHeld(*held) && done;
                                                  return false;
                                              }
                                              held = (*this)(*held);
                                              done = held && done;
                                              return bool(held);
                                          });
        return replaced && done;
    }

    std::unordered_map<const DmPropertySet*, DmPropertySetPtr> _copies;
};

} // namespace

CoSharedPtr<DmTreeNode> dmThawed(const DmTreeNode& tree)
{
    return DM::staticPointerCast<DmTreeNode>(Thaw()(tree));
}

DmTimeline DmTimeline::publish(const DmTreeNode* tree, int composition, DmStatus* status)
{
    if (!tree)
    {
        fail(status, "There is no tree to publish.");
        return {};
    }
    if (tree->isFrozen())
    {
        const std::shared_ptr<DmTimelineValue> value =
            valueOf(CoSharedPtr<DmTreeNode>(const_cast<DmTreeNode*>(tree)), composition);
        if (!value)
            fail(status, "The tree has no such composition.");
        return value ? DmTimeline(value) : DmTimeline();
    }
    CoSharedPtr<DmTreeNode> copy = DmTreeTool::deepClone(tree);
    if (!copy)
    {
        fail(status, "The tree holds itself, or is nested too deep.");
        return {};
    }
    copyLayerMarks(tree, copy.get());
    return takeOver(std::move(copy), composition, status);
}

DmTimeline DmTimeline::takeOver(CoSharedPtr<DmTreeNode>&& tree, int composition, DmStatus* status)
{
    CoSharedPtr<DmTreeNode> own = std::move(tree);
    if (!own)
    {
        fail(status, "There is no tree to publish.");
        return {};
    }
    if (!own->isFrozen())
    {
        if (own->refCount() > 1)
            return publish(own.get(), composition, status);
        HandOver handOver(*own);
        if (handOver.isShared() && !handOver.separate(*own))
        {
            fail(status, "A part of the tree that others hold too could not be copied.");
            return {};
        }
        own->freeze();
    }
    const std::shared_ptr<DmTimelineValue> value = valueOf(own, composition);
    if (!value)
        fail(status, "The tree has no such composition.");
    return value ? DmTimeline(value) : DmTimeline();
}

bool DmTimeline::operator==(const DmTimeline& other) const
{
    return value() == other.value();
}

CoSharedPtr<DmTreeNode> DmTimeline::tree() const
{
    return _state ? _state->tree() : CoSharedPtr<DmTreeNode>();
}

CoSharedPtr<DmRoot> DmTimeline::root() const
{
    return DM::dynamicPointerCast<DmRoot>(tree());
}

CoSharedPtr<DmCompositionNode> DmTimeline::composition() const
{
    CoSharedPtr<DmTreeNode> node = tree();
    if (node)
        for (const int step : value()->path)
            node = CoSharedPtr<DmTreeNode>(node->getChild(step));
    return DM::dynamicPointerCast<DmCompositionNode>(node);
}

int DmTimeline::trackCount() const
{
    return _state ? int(value()->tracks.size()) : 0;
}

int DmTimeline::layerCount(int track) const
{
    return _state && std::size_t(track) < value()->tracks.size()
               ? int(value()->tracks[std::size_t(track)].layers.size())
               : 0;
}

int DmTimeline::elementCount(const DmLayerPlace& layer) const
{
    const DmTimelineValue::Layer* const found = _state ? value()->layer(layer) : nullptr;
    return found ? found->runs.count() : 0;
}

const DmTrackNode* DmTimeline::track(int index) const
{
    return _state && std::size_t(index) < value()->tracks.size() ? value()->tracks[std::size_t(index)].bare.get()
                                                                 : nullptr;
}

const DmLayerNode* DmTimeline::layer(const DmLayerPlace& place) const
{
    const DmTimelineValue::Layer* const found = _state ? value()->layer(place) : nullptr;
    return found ? found->bare.get() : nullptr;
}

CoSharedPtr<DmTreeNode> DmTimeline::element(const DmElementPlace& place) const
{
    if (!_state || !value()->layer(place.inLayer()))
        return {};
    return CoSharedPtr<DmTreeNode>(_state->layerNode(place.inLayer())->getChild(place.index));
}

const DmTreeNode* DmTimeline::storedElement(const DmElementPlace& place) const
{
    const DmTimelineValue::Layer* const layer = _state ? value()->layer(place.inLayer()) : nullptr;
    return layer ? layer->runs.at(place.index).node : nullptr;
}

double DmTimeline::recIn(const DmElementPlace& place) const
{
    const DmTimelineValue::Layer* const layer = _state ? value()->layer(place.inLayer()) : nullptr;
    return layer ? layer->runs.at(place.index).recIn() : dmNoTime;
}

double DmTimeline::recOut(const DmElementPlace& place) const
{
    const DmTimelineValue::Layer* const layer = _state ? value()->layer(place.inLayer()) : nullptr;
    return layer ? recOutOf(layer->runs.at(place.index)) : dmNoTime;
}

std::optional<DmElementPlace> DmTimeline::find(const DmString& segmentId) const
{
    return _state && !segmentId.empty() ? value()->find(segmentId) : std::nullopt;
}

std::optional<DmElementPlace> DmTimeline::placeOf(const DmSegmentNode& segment) const
{
    if (!_state)
        return {};
    if (!segment.getSegmentId().empty())
        return find(segment.getSegmentId());
    for (int t = 0; t < trackCount(); ++t)
        for (int l = 0; l < layerCount(t); ++l)
            if (const DmTimelineValue::Layer* const layer = value()->layer({t, l}))
                for (int i = layer->runs.lastBeginningBy(segment.getRecIn()); i >= 0; --i)
                {
                    const DmElementPlace place{t, l, i};
                    if (layer->runs.at(i).recIn() < segment.getRecIn())
                        break;
                    if (layer->runs.at(i).node == &segment || element(place).get() == &segment)
                        return place;
                }
    return {};
}

std::optional<DmElementPlace> DmTimeline::at(const DmLayerPlace& layer, double time) const
{
    const DmTimelineValue::Layer* const found = _state ? value()->layer(layer) : nullptr;
    const int index = found ? DmTimelineValue::indexAt(found->runs, time) : -1;
    return index >= 0 ? std::optional(DmElementPlace{layer.track, layer.layer, index}) : std::nullopt;
}

std::vector<DmElementPlace> DmTimeline::linkedWith(const DmString& segmentId) const
{
    return _state && !segmentId.empty() ? value()->group(segmentId) : std::vector<DmElementPlace>();
}

bool DmTimeline::sharesLayer(const DmTimeline& other, const DmLayerPlace& layer) const
{
    const DmTimelineValue::Layer* const ours = _state ? value()->layer(layer) : nullptr;
    const DmTimelineValue::Layer* const theirs = other._state ? other.value()->layer(layer) : nullptr;
    return ours && theirs && ours->bare == theirs->bare && ours->runs == theirs->runs;
}
