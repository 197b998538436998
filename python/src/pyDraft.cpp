#include "pyDraft.h"

#include "dmLayerNode.h"
#include "dmNesting.h"
#include "dmSetTools.h"
#include "dmUtf8.h"

#include <algorithm>
#include <new>
#include <unordered_set>
#include <utility>

namespace zrpy
{
namespace
{

void check(eDmErrorId status, const DmPropertySet& set)
{
    if (status != DM_NO_ERROR)
        raiseStatus(status, "copying " + dmUtf8(set.getPSetName()));
}

std::vector<DmPropertySet*> heldBy(const DmPropertySet& set)
{
    std::vector<DmPropertySet*> held;
    dmForEachHeld(set,
                  [&](const DmPropertySetPtr& each)
                  {
                      held.push_back(each.get());
                      return true;
                  });
    return held;
}

/// The marks of a layer, of which a deep copy has none.
void copyMarks(const DmPropertySet& from, DmPropertySet& to)
{
    DmPropertySetVector marks = marksOf(from);
    for (DmPropertySetPtr& mark : marks)
        mark = mark->clone();
    if (!marks.empty())
        storeMarks(to, marks);
}

/// Calls `visit(original, copy)` for both of all sets that an equal copy has of its own, each once.
template <class Visit>
void forEachPair(const DmPropertySet& original, DmPropertySet& copy, Visit&& visit)
{
    std::vector<std::pair<const DmPropertySet*, DmPropertySet*>> open{{&original, &copy}};
    while (!open.empty())
    {
        const auto [from, to] = open.back();
        open.pop_back();
        if (from == to || !visit(*from, *to))
            continue;
        const std::vector<DmPropertySet*> below = heldBy(*from);
        const std::vector<DmPropertySet*> copied = heldBy(*to);
        for (std::size_t i = 0; i < below.size() && i < copied.size(); ++i)
            open.emplace_back(below[i], copied[i]);
    }
}

template <class T>
constexpr bool holdsSets =
    std::same_as<T, DmPropertySetPtr> || std::same_as<T, DmPropertySetVector> || std::same_as<T, DmPropertySetMap>;

/// What a property holds, with `instead(held)` in the place of each.
template <class T, class Instead>
T heldIn(const DmPropertySet& set, int index, const Instead& instead)
{
    T made{};
    if constexpr (std::same_as<T, DmPropertySetVector>)
    {
        const DmListWindow<DmPropertySet> elements = set.elementsOf(index);
        made.reserve(static_cast<std::size_t>(elements.size()));
        for (DmPropertySet* const each : elements)
            made.push_back(instead(DmPropertySetPtr(each)));
    }
    else if constexpr (std::same_as<T, DmPropertySetPtr>)
        made = instead(*static_cast<const T*>(set.fieldOf(index)));
    else
    {
        made = *static_cast<const T*>(set.fieldOf(index));
        for (auto& [key, entry] : made)
            entry = instead(entry);
    }
    return made;
}

void store(DmPropertySet& copy, int index, const DmPropertySetPtr& value)
{
    check(copy.setPropertyValue(index, DM_PROPERTY_SET, &value), copy);
}
void store(DmPropertySet& copy, int index, const DmPropertySetVector& value)
{
    check(copy.setPropertyList(index, DM_VECTOR_PROPERTY_SET, &value), copy);
}
void store(DmPropertySet& copy, int index, const DmPropertySetMap& value)
{
    check(copy.clearMap(index, DM_MAP_PROPERTY_SET), copy);
    for (const auto& [key, entry] : value)
        check(copy.setValueFromPropertyMap(index, DM_MAP_PROPERTY_SET, key, &entry), copy);
}

/// A property that is left alone.
constexpr int none = -1;

/// A copy that holds `instead(held)` in the place of all that the set holds, and nothing in one property.
template <class Instead>
DmPropertySetPtr copyWith(const DmPropertySet& set, const Instead& instead, int without = none)
{
    // A clone has its own of some of what the set holds, and leaves a comment behind.
    DmPropertySetPtr copy = set.clone();
    if (!copy)
        throw std::bad_alloc();
    const DmPropertySetData& data = set.classData();
    if (without != none)
        check(copy->clearList(without, data.at(without)->_type), set);
    for (int i = 0; i < data.size(); ++i)
        dmVisitStorage(data.at(i)->_type,
                       [&]<class T>(std::type_identity<T>)
                       {
                           if (i == without)
                               return;
                           if constexpr (holdsSets<T>)
                           {
                               if (!data.at(i)->_constant)
                                   store(*copy, i, heldIn<T>(set, i, instead));
                           }
                           else if constexpr (std::same_as<T, DmString>)
                               if (!DmPropertySet_Atomic_Utils::compareAtomicManip(*copy, i, set.fieldOf(i)))
                                   check(copy->setPropertyValue(i, data.at(i)->_type, set.fieldOf(i)), set);
                       });
    if (DmPropertySetVector marks = marksOf(set); !marks.empty())
    {
        for (DmPropertySetPtr& mark : marks)
            mark = instead(mark);
        storeMarks(*copy, marks);
    }
    return copy;
}

/// What came of a draft, set by set.
class Reading
{
public:
    using Kept = std::unordered_set<const DmPropertySet*>;

    /// `kept`: what stands as it is, with all that it holds.
    explicit Reading(const Draft& draft, const Kept& kept = {})
        : _draft(draft)
        , _kept(kept)
    {
    }

    DmPropertySetPtr operator()(const DmPropertySetPtr& set, int depth = 0)
    {
        if (!set || _kept.contains(set.get()))
            return set;
        if (const auto known = _read.find(set.get()); known != _read.end())
            return known->second;
        if (depth >= dmMaxNesting)
            raiseValue("the tree holds itself, or is nested too deep");
        const auto instead = [this, depth](const DmPropertySetPtr& held) { return (*this)(held, depth + 1); };
        const DmPropertySet& now = _draft.current(*set);
        DmPropertySetPtr made = isChanged(now, *set, instead) ? copyWith(now, instead) : set;
        if (made != set || set->refCount() > 1) // what one holds is met once
            _read.emplace(set.get(), made);
        return made;
    }

    /// A node by what it holds beside its elements; null where that is what it was.
    DmPropertySetPtr beside(DmTreeNode& node)
    {
        const auto instead = [this](const DmPropertySetPtr& held) { return (*this)(held); };
        const DmPropertySet& now = _draft.current(node);
        const int without = node.whatIs() == DM_LAYER_NODE ? int(DmLayerNode::Children) : none;
        return isChanged(now, node, instead, without) ? copyWith(now, instead, without) : DmPropertySetPtr();
    }

private:
    /// Whether a set, with what stands in the place of what it holds, is another than the constant one. One that is no
    /// constant is somebody's own, and always copied.
    template <class Instead>
    static bool isChanged(const DmPropertySet& now, const DmPropertySet& was, const Instead& instead,
                          int without = none)
    {
        const DmPropertySetData& data = now.classData();
        DmPropertySetVector marks = marksOf(now);
        for (DmPropertySetPtr& mark : marks)
            mark = instead(mark);
        bool changed = !was.isFrozen() || marks != marksOf(was);
        for (int i = 0; i < data.size() && !changed; ++i)
            dmVisitStorage(data.at(i)->_type,
                           [&]<class T>(std::type_identity<T>)
                           {
                               if (i == without)
                                   return;
                               if constexpr (std::same_as<T, DmPropertySetVector>)
                               {
                                   const auto before = was.elementsOf(i);
                                   const auto elements = now.elementsOf(i);
                                   changed = !std::equal(elements.begin(), elements.end(), before.begin(), before.end(),
                                                         [&](DmPropertySet* is, DmPropertySet* each)
                                                         { return instead(DmPropertySetPtr(is)).get() == each; });
                               }
                               else if constexpr (holdsSets<T>)
                                   changed = heldIn<T>(now, i, instead) != *static_cast<const T*>(was.fieldOf(i));
                               else if constexpr (!std::is_void_v<T>)
                                   changed = &now != &was && !(*static_cast<const T*>(now.fieldOf(i)) ==
                                                               *static_cast<const T*>(was.fieldOf(i)));
                           });
        return changed;
    }

    const Draft& _draft;
    const Kept _kept;
    std::unordered_map<const DmPropertySet*, DmPropertySetPtr> _read;
};

/// Whether a set is one of some, or holds one.
class Search
{
public:
    Search(std::function<bool(const DmPropertySet&)> wanted)
        : _wanted(std::move(wanted))
    {
    }

    bool operator()(const DmPropertySet& set)
    {
        if (_wanted(set))
            return true;
        const bool isShared = set.refCount() > 1;
        if (isShared)
            if (const auto met = _met.find(&set); met != _met.end())
                return met->second;
        const bool found = !dmForEachHeld(set, [this](const DmPropertySetPtr& held) { return !(*this)(*held); });
        if (isShared)
            _met.emplace(&set, found);
        return found;
    }

private:
    const std::function<bool(const DmPropertySet&)> _wanted;
    std::unordered_map<const DmPropertySet*, bool> _met;
};

/// Whether a node is the composition of a cut, one of its tracks or a layer: what stands below it are no properties.
bool isOfCut(const DmTreeNode& node)
{
    const eDmTreeNodeClassId kind = node.whatIs();
    return kind == DM_COMPOSITION_NODE || kind == DM_TRACK_NODE || kind == DM_LAYER_NODE;
}

bool isChildOfCut(const DmTreeNode& node, const DmPropertySet* held)
{
    for (int i = 0; isOfCut(node) && node.whatIs() != DM_LAYER_NODE && i < node.getNbChildren(); ++i)
        if (node.getChild(i) == held)
            return true;
    return false;
}

/// What a node holds, without a layer's elements.
DmPropertySetVector heldBeside(const DmTreeNode& node)
{
    DmPropertySetVector all = marksOf(node);
    const DmPropertySetData& data = node.classData();
    for (int i = 0; i < data.size(); ++i)
        if (node.whatIs() != DM_LAYER_NODE || i != DmLayerNode::Children)
            dmVisitStorage(data.at(i)->_type,
                           [&]<class T>(std::type_identity<T>)
                           {
                               const auto add = [&all](const DmPropertySetPtr& held)
                               {
                                   if (held)
                                       all.push_back(held);
                                   return held;
                               };
                               if constexpr (std::same_as<T, DmPropertySetMap>)
                                   for (const auto& [key, entry] : *static_cast<const T*>(node.fieldOf(i)))
                                       add(entry);
                               else if constexpr (holdsSets<T>)
                                   static_cast<void>(heldIn<T>(node, i, add));
                           });
    return all;
}

/// The nodes from one down to a composition.
bool findWay(DmTreeNode& node, const DmCompositionNode& composition, std::vector<DmTreeNode*>& way)
{
    way.push_back(&node);
    if (&node == &composition)
        return true;
    for (int i = 0; node.whatIs() != DM_COMPOSITION_NODE && i < node.getNbChildren(); ++i)
        if (DmTreeNode* const child = node.getChild(i); child && findWay(*child, composition, way))
            return true;
    way.pop_back();
    return false;
}

CoSharedPtr<DmCompositionNode> firstComposition(const Draft& draft, DmPropertySet* set)
{
    auto* const node = dynamic_cast<DmTreeNode*>(set);
    if (!node || node->whatIs() == DM_COMPOSITION_NODE)
        return CoSharedPtr<DmCompositionNode>(static_cast<DmCompositionNode*>(node));
    const auto& now = static_cast<const DmTreeNode&>(draft.current(*node));
    for (int i = 0; i < now.getNbChildren(); ++i)
        if (CoSharedPtr<DmCompositionNode> found = firstComposition(draft, now.getChild(i)))
            return found;
    return {};
}

} // namespace

Draft::Draft(DmTimeline timeline)
    : _timeline(std::move(timeline))
    , _tree(_timeline.tree())
{
    const CoSharedPtr<DmCompositionNode> composition = _timeline.composition();
    if (!composition || !findWay(*_tree, *composition, _frame))
        return;
    for (int t = 0; t < composition->getNbChildren(); ++t)
    {
        auto* const track = dynamic_cast<DmTrackNode*>(composition->getChild(t));
        if (track)
            _frame.push_back(track);
        for (int l = 0; track && l < track->getNbChildren(); ++l)
            if (auto* const layer = dynamic_cast<DmLayerNode*>(track->getChild(l)))
            {
                _frame.push_back(layer);
                _layers[layer] = {t, l};
            }
    }
}

DmPropertySet& Draft::current(DmPropertySet& set) const
{
    const auto copied = _copies.find(&set);
    return copied == _copies.end() ? set : *copied->second.copy;
}

DmPropertySet& Draft::own(DmPropertySet& set)
{
    if (!set.isFrozen())
        return set;
    if (!_isOpen)
        raiseStatus(DM_CANNOT_LOCK, dmUtf8(set.getPSetName()));
    if (const auto copied = _copies.find(&set); copied != _copies.end())
        return *copied->second.copy;
    const DmPropertySetPtr copy = copyWith(set, [](const DmPropertySetPtr& held) { return held; });
    _copies[&set] = {DmPropertySetPtr(&set), copy};
    return *copy;
}

void Draft::reach(DmPropertySet& held, const DmPropertySet& owner, int element)
{
    if (const auto [way, isNew] = _ways.try_emplace(&held); isNew)
        way->second = {DmPropertySetPtr(&held), &owner, element};
}

DmPropertySet& Draft::settled(DmPropertySet& set)
{
    if (_copies.empty() || (!_isOpen && !set.isFrozen()))
        return set;
    DmPropertySetPtr made;
    if (&set == _tree.get())
        made = read().tree();
    else if (&set == _timeline.composition().get())
        made = read().composition();
    else
    {
        made = Reading(*this)(DmPropertySetPtr(&set));
        made->freeze();
    }
    _settled[&set] = made;
    return *made;
}

DmTimeline Draft::read() const
{
    if (_copies.empty())
        return _timeline;
    std::size_t elements = 0;
    for (const auto& [layer, place] : _layers)
        elements += static_cast<std::size_t>(_timeline.elementCount(place));
    // Many places, one by one, take longer than the tree.
    if (const std::optional<Touched> found = touched(); found && found->elements.size() < 8 + elements / 16)
    {
        Reading reading(*this, found->kept);
        std::vector<DmRenewedNode> nodes;
        for (DmTreeNode* const node : found->nodes)
            if (const DmPropertySetPtr is = reading.beside(*node))
                nodes.push_back({node, DM::staticPointerCast<DmTreeNode>(is)});
        std::vector<DmPlacedElement> changed;
        for (const DmElementPlace& place : found->elements)
        {
            const CoSharedPtr<DmTreeNode> was = _timeline.element(place);
            if (const auto is = DM::staticPointerCast<DmTreeNode>(reading(was)); is != was)
                changed.push_back({place, is});
        }
        DmTimeline made = nodes.empty() ? _timeline : _timeline.withNodes(nodes);
        if (!changed.empty())
            made = made.withElements(changed);
        if (made)
            return made;
    }
    CoSharedPtr<DmTreeNode> tree = DM::staticPointerCast<DmTreeNode>(Reading(*this)(_tree));
    if (tree == _tree)
        return _timeline;
    DmStatus status;
    DmTimeline made = DmTimeline::takeOver(std::move(tree), 0, &status);
    if (status.failed())
        raiseDmError(status.reason(), dmUtf8(status.info()));
    return made;
}

std::optional<Draft::Touched> Draft::touched() const
{
    Touched found;
    found.kept.insert(_frame.begin(), _frame.end());
    const auto isFrame = [kept = found.kept](const DmPropertySet* set) { return kept.contains(set); };
    // A set on the way is held by its owner, and perhaps by the owner's copy; the rest is ours.
    const auto isHeldByOthers = [this](const DmPropertySet& set, const DmPropertySet* owner)
    {
        const int ours = 1 + (_copies.contains(&set) ? 1 : 0) + (_objects.contains(&set) ? 1 : 0);
        const int owners = 1 + (_copies.contains(owner) ? 1 : 0);
        return set.refCount() > ours + owners;
    };
    std::unordered_set<const DmPropertySet*> beside;
    std::vector<const DmPropertySet*> below;
    bool isShared = false;
    for (const auto& [original, copied] : _copies)
    {
        if (isFrame(original))
        {
            if (!keepsChildren(*original))
                return {};
            found.nodes.insert(static_cast<DmTreeNode*>(copied.original.get()));
            continue;
        }
        below.push_back(original);
        const DmPropertySet* top = original;
        auto way = _ways.find(top);
        for (; way != _ways.end() && !isFrame(way->second.owner); way = _ways.find(top))
        {
            isShared = isShared || isHeldByOthers(*top, way->second.owner);
            top = way->second.owner;
        }
        if (way == _ways.end())
            return {};
        const auto& [held, owner, element] = way->second;
        auto* const node = static_cast<DmTreeNode*>(const_cast<DmPropertySet*>(owner));
        if (const auto layer = _layers.find(owner); layer != _layers.end() && element >= 0)
        {
            found.elements.push_back({layer->second.track, layer->second.layer, element});
            if (_timeline.element(found.elements.back()).get() != top)
                return {};
            continue;
        }
        if (isChildOfCut(*node, top))
            return {};
        isShared = isShared || isHeldByOthers(*top, owner);
        found.nodes.insert(node);
        beside.insert(top);
    }
    if (isShared)
    {
        for (const DmElementPlace& place : _timeline.holdersOf(below))
            found.elements.push_back(place);
        Search isTouched([this](const DmPropertySet& set) { return _copies.contains(&set); });
        for (DmTreeNode* const node : _frame)
            for (const DmPropertySetPtr& held : heldBeside(*node))
                if (!isFrame(held.get()) && isTouched(*held))
                {
                    if (isChildOfCut(*node, held.get()))
                        return {};
                    found.nodes.insert(node);
                    beside.insert(held.get());
                }
    }
    for (const DmTreeNode* const node : _frame)
        for (int i = 0; !isOfCut(*node) && i < node->getNbChildren(); ++i)
            if (const DmTreeNode* const child = node->getChild(i); !beside.contains(child))
                found.kept.insert(child);
    const auto order = [](const DmElementPlace& place) { return std::tie(place.track, place.layer, place.index); };
    std::ranges::sort(found.elements, {}, order);
    found.elements.erase(std::unique(found.elements.begin(), found.elements.end()), found.elements.end());
    return found;
}

bool Draft::keepsChildren(const DmPropertySet& node) const
{
    const auto was = node.elementsOf(DmCollectionNode::Children);
    const auto is = current(const_cast<DmPropertySet&>(node)).elementsOf(DmCollectionNode::Children);
    return std::equal(was.begin(), was.end(), is.begin(), is.end());
}

CoSharedPtr<DmCompositionNode> Draft::composition() const
{
    return firstComposition(*this, _timeline.tree().get());
}

void Draft::forEachLayer(const std::function<bool(DmTrackNode&, DmLayerNode&, const DmLayerPlace&)>& visit) const
{
    const CoSharedPtr<DmCompositionNode> top = composition();
    const DmTreeNode* const now = top ? &current(*top) : nullptr;
    for (int t = 0; now && t < now->getNbChildren(); ++t)
    {
        auto* const track = dynamic_cast<DmTrackNode*>(now->getChild(t));
        const DmTrackNode* const trackNow = track ? &current(*track) : nullptr;
        for (int l = 0; trackNow && l < trackNow->getNbChildren(); ++l)
            if (auto* const layer = dynamic_cast<DmLayerNode*>(trackNow->getChild(l)))
                if (!visit(*track, *layer, {t, l}))
                    return;
    }
}

std::optional<DmElementPlace> Draft::placeOf(const DmPropertySet& element) const
{
    const auto way = _ways.find(&element);
    std::optional<DmElementPlace> place;
    // Where it was reached first; it may have gone elsewhere since.
    for (const bool everywhere : {false, true})
        if (!place)
            forEachLayer(
                [&](const DmTrackNode& /*track*/, DmLayerNode& layer, const DmLayerPlace& at)
                {
                    const auto elements = current(layer).getChildren();
                    const bool isWay = way != _ways.end() && way->second.owner == &layer;
                    for (int i = everywhere ? 0
                                 : isWay    ? way->second.element
                                            : elements.count();
                         i < elements.count() && !place; ++i)
                        if (elements.at(i) == &element)
                            place = {at.track, at.layer, i};
                        else if (!everywhere)
                            break;
                    return !place;
                });
    return place;
}

DmPropertySetVector marksOf(const DmPropertySet& set)
{
    DmPropertySetVector marks;
    const auto* const layer = dynamic_cast<const DmLayerNode*>(&set);
    for (int i = 0; layer && i < layer->getCueMarks().count(); ++i)
        if (DmCueMark* const mark = layer->getCueMarks().at(i))
            marks.emplace_back(mark);
    return marks;
}

void storeMarks(DmPropertySet& layer, const DmPropertySetVector& marks)
{
    auto& node = dynamic_cast<DmLayerNode&>(layer);
    if (node.isFrozen())
        raiseStatus(DM_CANNOT_LOCK, "marks of a layer");
    while (node.getCueMarks().count() > 0)
        check(node.removeCueMark(0), layer);
    for (const DmPropertySetPtr& mark : marks)
        check(node.addCueMark(DM::staticPointerCast<DmCueMark>(mark)), layer);
}

DmPropertySetPtr deepCopyOf(const DmPropertySet& set)
{
    DmPropertySetPtr copy;
    check(dmDeepCopy(set, copy), set);
    std::unordered_set<const DmPropertySet*> met;
    if (dynamic_cast<const DmTreeNode*>(&set))
        forEachPair(set, *copy,
                    [&](const DmPropertySet& from, DmPropertySet& to)
                    {
                        if (!dynamic_cast<const DmTreeNode*>(&from) || !met.insert(&to).second)
                            return false;
                        copyMarks(from, to);
                        return true;
                    });
    return copy;
}

} // namespace zrpy
