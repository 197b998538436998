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

/// A copy that holds `instead(held)` in the place of all that the set holds.
template <class Instead>
DmPropertySetPtr copyWith(const DmPropertySet& set, const Instead& instead)
{
    // A clone has its own of some of what the set holds, and leaves a comment behind.
    DmPropertySetPtr copy = set.clone();
    if (!copy)
        throw std::bad_alloc();
    const DmPropertySetData& data = set.classData();
    for (int i = 0; i < data.size(); ++i)
        dmVisitStorage(data.at(i)->_type,
                       [&]<class T>(std::type_identity<T>)
                       {
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
    explicit Reading(const Draft& draft)
        : _draft(draft)
    {
    }

    DmPropertySetPtr operator()(const DmPropertySetPtr& set, int depth = 0)
    {
        if (!set)
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

private:
    /// Whether a set, with what stands in the place of what it holds, is another than the constant one. One that is no
    /// constant is somebody's own, and always copied.
    template <class Instead>
    static bool isChanged(const DmPropertySet& now, const DmPropertySet& was, const Instead& instead)
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
    std::unordered_map<const DmPropertySet*, DmPropertySetPtr> _read;
};

using Layers = std::unordered_map<const DmPropertySet*, DmLayerPlace>;

Layers layersOf(const DmTimeline& timeline)
{
    Layers layers;
    const CoSharedPtr<DmCompositionNode> composition = timeline.composition();
    for (int t = 0; t < timeline.trackCount(); ++t)
        for (int l = 0; l < timeline.layerCount(t); ++l)
            if (const auto* const layer = dynamic_cast<const DmLayerNode*>(composition->getChild(t)->getChild(l)))
                layers[layer] = {t, l};
    return layers;
}

/// What holds any of some sets; of layers, their elements are not looked at.
template <class Wanted>
class Search
{
public:
    Search(Wanted wanted, const Layers& layers)
        : _wanted(std::move(wanted))
        , _layers(layers)
    {
    }

    bool operator()(const DmPropertySet& set)
    {
        if (_wanted(set))
            return true;
        if (_layers.contains(&set))
            return false;
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
    const Wanted _wanted;
    const Layers& _layers;
    std::unordered_map<const DmPropertySet*, bool> _met;
};

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
{
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
    if (&set == _timeline.tree().get())
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
    std::vector<DmElementPlace> places;
    int elements = 0;
    for (int t = 0; t < _timeline.trackCount(); ++t)
        for (int l = 0; l < _timeline.layerCount(t); ++l)
            elements += _timeline.elementCount({t, l});
    // Many places, one by one, take longer than the tree.
    if (findElements(places) && places.size() < 8 + static_cast<std::size_t>(elements) / 16)
    {
        Reading reading(*this);
        std::vector<DmPlacedElement> changed;
        for (const DmElementPlace& place : places)
        {
            const CoSharedPtr<DmTreeNode> was = _timeline.element(place);
            if (const auto is = DM::staticPointerCast<DmTreeNode>(reading(was)); is != was)
                changed.push_back({place, is});
        }
        return changed.empty() ? _timeline : _timeline.withElements(changed);
    }
    CoSharedPtr<DmTreeNode> tree = DM::staticPointerCast<DmTreeNode>(Reading(*this)(_timeline.tree()));
    if (tree == _timeline.tree())
        return _timeline;
    DmStatus status;
    DmTimeline made = DmTimeline::takeOver(std::move(tree), 0, &status);
    if (status.failed())
        raiseDmError(status.reason(), dmUtf8(status.info()));
    return made;
}

bool Draft::findElements(std::vector<DmElementPlace>& places) const
{
    const Layers layers = layersOf(_timeline);
    bool isShared = false;
    for (const auto& [original, copied] : _copies)
    {
        // Up to the element. A set on the way is held by its owner, and perhaps by the owner's copy; the rest is ours.
        const DmPropertySet* top = original;
        auto way = _ways.find(top);
        for (; way != _ways.end() && !layers.contains(way->second.owner); way = _ways.find(top))
        {
            const int ours = 1 + (_copies.contains(top) ? 1 : 0) + (_objects.contains(top) ? 1 : 0);
            const int owners = 1 + (_copies.contains(way->second.owner) ? 1 : 0);
            isShared = isShared || top->refCount() > ours + owners;
            top = way->second.owner;
        }
        if (way == _ways.end())
            return false;
        const DmLayerPlace& layer = layers.at(way->second.owner);
        const DmElementPlace place{layer.track, layer.layer, way->second.element};
        if (_timeline.element(place).get() != top)
            return false;
        places.push_back(place);
    }
    if (isShared)
    {
        Search holdsCopied([this](const DmPropertySet& set) { return _copies.contains(&set); }, layers);
        if (holdsCopied(*_timeline.tree()))
            return false;
        for (const auto& [layer, at] : layers)
        {
            const auto elements = layer->elementsOf(DmLayerNode::Children);
            for (int i = 0; i < elements.count(); ++i)
                if (elements.at(i) && holdsCopied(*elements.at(i)))
                    places.push_back({at.track, at.layer, i});
        }
    }
    const auto order = [](const DmElementPlace& place) { return std::tie(place.track, place.layer, place.index); };
    std::ranges::sort(places, {}, order);
    places.erase(std::unique(places.begin(), places.end()), places.end());
    return true;
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
