#include "pyDraft.h"

#include "dmLayerNode.h"
#include "dmNesting.h"
#include "dmSetTools.h"
#include "dmUtf8.h"

#include <new>
#include <unordered_set>
#include <utility>
#include <vector>

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
    const auto* const layer = dynamic_cast<const DmLayerNode*>(&from);
    for (int i = 0; layer && i < layer->getCueMarks().count(); ++i)
        if (const DmCueMark* const mark = layer->getCueMarks().at(i))
            check(static_cast<DmLayerNode&>(to).addCueMark(DM::staticPointerCast<DmCueMark>(mark->clone())), from);
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

DmPropertySetPtr bareDeepCopy(const DmPropertySet& set)
{
    DmPropertySetPtr copy;
    check(dmDeepCopy(set, copy), set);
    return copy;
}

/// What came of a draft, set by set.
class Reading
{
public:
    explicit Reading(const std::unordered_map<const DmPropertySet*, const DmPropertySet*>& originals)
        : _originals(originals)
    {
    }

    DmPropertySetPtr operator()(const DmPropertySetPtr& set, int depth)
    {
        if (!set || set->isFrozen())
            return set;
        if (const auto known = _read.find(set.get()); known != _read.end())
            return known->second;
        if (depth >= dmMaxNesting)
            raiseValue("the tree holds itself, or is nested too deep");
        return _read[set.get()] = read(*set, depth);
    }

private:
    template <class T>
    static constexpr bool holdsSets =
        std::same_as<T, DmPropertySetPtr> || std::same_as<T, DmPropertySetVector> || std::same_as<T, DmPropertySetMap>;

    template <class T>
    static const T& field(const DmPropertySet& set, int index)
    {
        return *static_cast<const T*>(set.fieldOf(index));
    }

    /// What is to be held in the place of what a property holds; false where the original holds the same.
    template <class T>
    bool held(const DmPropertySet& set, const DmPropertySet* original, int index, int depth, T& made)
    {
        if constexpr (std::same_as<T, DmPropertySetPtr>)
        {
            made = (*this)(field<T>(set, index), depth + 1);
            return !original || field<T>(*original, index) != made;
        }
        else if constexpr (std::same_as<T, DmPropertySetMap>)
        {
            made = field<T>(set, index);
            for (auto& [key, entry] : made)
                entry = (*this)(entry, depth + 1);
            return !original || field<T>(*original, index) != made;
        }
        else
        {
            const DmListWindow<DmPropertySet> elements = set.elementsOf(index);
            made.reserve(static_cast<std::size_t>(elements.size()));
            for (DmPropertySet* const each : elements)
                made.push_back((*this)(DmPropertySetPtr(each), depth + 1));
            if (!original || original->elementsOf(index).size() != elements.size())
                return true;
            auto was = made.begin();
            for (DmPropertySet* const each : original->elementsOf(index))
                if ((was++)->get() != each)
                    return true;
            return false;
        }
    }

    static void store(DmPropertySet& copy, int index, const DmPropertySetPtr& value)
    {
        check(copy.setPropertyValue(index, DM_PROPERTY_SET, &value), copy);
    }
    static void store(DmPropertySet& copy, int index, const DmPropertySetVector& value)
    {
        check(copy.setPropertyList(index, DM_VECTOR_PROPERTY_SET, &value), copy);
    }
    static void store(DmPropertySet& copy, int index, const DmPropertySetMap& value)
    {
        check(copy.clearMap(index, DM_MAP_PROPERTY_SET), copy);
        for (const auto& [key, entry] : value)
            check(copy.setValueFromPropertyMap(index, DM_MAP_PROPERTY_SET, key, &entry), copy);
    }

    DmPropertySetPtr read(DmPropertySet& set, int depth)
    {
        const auto found = _originals.find(&set);
        const DmPropertySet* const original = found == _originals.end() ? nullptr : found->second;
        const DmPropertySetData& data = set.classData();
        bool isChanged = !original;
        for (int i = 0; i < data.size(); ++i)
            dmVisitStorage(data.at(i)->_type,
                           [&]<class T>(std::type_identity<T>)
                           {
                               if constexpr (holdsSets<T>)
                               {
                                   T made{};
                                   isChanged |= held(set, original, i, depth, made);
                               }
                               else if constexpr (!std::is_void_v<T>)
                                   isChanged |= !original || !(field<T>(set, i) == field<T>(*original, i));
                           });
        if (!isChanged)
            return DmPropertySetPtr(const_cast<DmPropertySet*>(original));

        // A clone has its own of some of what the set holds, and leaves a comment behind.
        const DmPropertySetPtr copy = set.clone();
        if (!copy)
            throw std::bad_alloc();
        for (int i = 0; i < data.size(); ++i)
            dmVisitStorage(data.at(i)->_type,
                           [&]<class T>(std::type_identity<T>)
                           {
                               if constexpr (holdsSets<T>)
                               {
                                   T made{};
                                   if (held(set, nullptr, i, depth, made) && !data.at(i)->_constant)
                                       store(*copy, i, made);
                               }
                               else if constexpr (std::same_as<T, DmString>)
                                   if (!(field<T>(*copy, i) == field<T>(set, i)))
                                       check(copy->setPropertyValue(i, data.at(i)->_type, set.fieldOf(i)), set);
                           });
        return copy;
    }

    const std::unordered_map<const DmPropertySet*, const DmPropertySet*>& _originals;
    std::unordered_map<const DmPropertySet*, DmPropertySetPtr> _read;
};

} // namespace

Draft::Draft(CoSharedPtr<DmTreeNode> original)
    : _original(std::move(original))
    , _tree(DM::staticPointerCast<DmTreeNode>(bareDeepCopy(*_original)))
{
    forEachPair(*_original, *_tree,
                [this](const DmPropertySet& from, DmPropertySet& to)
                {
                    if (!_originals.try_emplace(&to, &from).second)
                        return false;
                    copyMarks(from, to);
                    return true;
                });
}

CoSharedPtr<DmTreeNode> Draft::read() const
{
    return DM::staticPointerCast<DmTreeNode>(Reading(_originals)(_tree, 0));
}

DmPropertySetPtr deepCopyOf(const DmPropertySet& set)
{
    DmPropertySetPtr copy = bareDeepCopy(set);
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
