// Which elements of a timeline hold given sets.
#include "dmTimelineImp.h"

#include <algorithm>
#include <unordered_map>

namespace
{

/// Goes by the few properties of a class that hold sets; what is held twice is looked at once.
class HolderSearch
{
public:
    explicit HolderSearch(std::span<const DmPropertySet* const> sets)
        : _wanted(sets.begin(), sets.end())
    {
        std::ranges::sort(_wanted);
    }

    bool holds(const DmPropertySet& set)
    {
        return std::ranges::any_of(slotsOf(set.classData()), [&](const Slot& slot) { return holdsIn(set, slot); });
    }

private:
    struct Slot
    {
        int index;
        eDmPropType type;
    };

    const std::vector<Slot>& slotsOf(const DmPropertySetData& data)
    {
        const auto [known, isNew] = _slots.try_emplace(&data);
        for (int i = 0; isNew && i < data.size(); ++i)
            if (const eDmPropType type = data.at(i)->_type;
                type == DM_PROPERTY_SET || type == DM_VECTOR_PROPERTY_SET || type == DM_MAP_PROPERTY_SET)
                known->second.push_back({i, type});
        return known->second;
    }

    bool holdsIn(const DmPropertySet& set, const Slot& slot)
    {
        if (slot.type == DM_PROPERTY_SET)
            return isOrHolds(static_cast<const DmPropertySetPtr*>(set.fieldOf(slot.index))->get());
        if (slot.type == DM_VECTOR_PROPERTY_SET)
        {
            const DmListWindow<DmPropertySet> elements = set.elementsOf(slot.index);
            return std::any_of(elements.begin(), elements.end(),
                               [this](DmPropertySet* held) { return isOrHolds(held); });
        }
        return std::ranges::any_of(*static_cast<const DmPropertySetMap*>(set.fieldOf(slot.index)),
                                   [this](const auto& entry) { return isOrHolds(entry.second.get()); });
    }

    bool isOrHolds(const DmPropertySet* set)
    {
        if (!set)
            return false;
        if (std::ranges::binary_search(_wanted, set))
            return true;
        if (slotsOf(set->classData()).empty())
            return false;
        if (set->refCount() == 1)
            return holds(*set);
        if (const auto met = _met.find(set); met != _met.end())
            return met->second;
        const bool found = holds(*set);
        _met.emplace(set, found);
        return found;
    }

    std::vector<const DmPropertySet*> _wanted;
    std::unordered_map<const DmPropertySetData*, std::vector<Slot>> _slots;
    std::unordered_map<const DmPropertySet*, bool> _met;
};

} // namespace

std::vector<DmElementPlace> DmTimeline::holdersOf(std::span<const DmPropertySet* const> sets) const
{
    std::vector<DmElementPlace> places;
    HolderSearch search(sets);
    for (int t = 0; t < trackCount(); ++t)
        for (int l = 0; l < layerCount(t); ++l)
            if (const DmTimelineValue::Layer* const layer = value()->layer({t, l}))
            {
                int index = 0;
                layer->runs.forEach(0, layer->runs.count(),
                                    [&](const DmRuns::Element& element)
                                    {
                                        if (element.node && search.holds(*element.node))
                                            places.push_back({t, l, index});
                                        ++index;
                                    });
            }
    return places;
}
