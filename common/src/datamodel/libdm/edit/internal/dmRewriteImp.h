/// Changes to single sets of a constant tree, wherever they are held: what holds one that changed is copied on the way
/// up, all else stays shared. What is held twice is changed once.
#pragma once

#include "dmSetAccessImp.h"

#include <functional>
#include <unordered_map>

/// Puts another set in the place of each that a set holds itself, as `other(held)` says, which may answer the same one:
/// what classes take is no concern of a copy. `holds`: the set whose things are asked about, by default the owner.
/// False where memory ran out.
template <class Other>
bool dmReplaceHeld(DmPropertySet& owner, Other&& other, const DmPropertySet* holds = nullptr)
{
    const DmPropertySet& from = holds ? *holds : owner;
    const DmPropertySetData& data = owner.classData();
    const auto isDone = [](eDmErrorId status) { return status == DM_NO_ERROR; };
    for (int i = 0; i < data.size(); ++i)
    {
        const DmPropertyDef& def = *data.at(i);
        DmPropertySetPtr held;
        if (def._type == DM_PROPERTY_SET)
        {
            if (!isDone(from.getPropertyValue(i, DM_PROPERTY_SET, &held)) || !held)
                continue;
            DmPropertySetPtr now = other(held);
            if (!now || ((&from != &owner || now != held) &&
                         !isDone(DmSetAccess::swapValue(owner, DmStore::Fresh, i, def, now))))
                return false;
        }
        else if (def._type == DM_VECTOR_PROPERTY_SET)
        {
            const int size = from.elementsOf(i).count();
            for (int element = 0; element < size; ++element)
            {
                held = DmPropertySetPtr(from.elementsOf(i).at(element));
                if (!held)
                    continue;
                DmPropertySetPtr now = other(held);
                if (!now || ((&from != &owner || now != held) &&
                             !isDone(DmSetAccess::replace(owner, DmStore::Fresh, i, def, element, now))))
                    return false;
            }
        }
        else if (def._type == DM_MAP_PROPERTY_SET)
        {
            DmStringArray keys;
            static_cast<void>(from.getKeysFromPropertyMap(i, DM_MAP_PROPERTY_SET, keys));
            for (const DmString& key : keys)
            {
                if (!isDone(from.getValueFromPropertyMap(i, DM_MAP_PROPERTY_SET, key, &held)) || !held)
                    continue;
                DmPropertySetPtr now = other(held);
                if (!now || ((&from != &owner || now != held) &&
                             !isDone(DmSetAccess::put(owner, DmStore::Fresh, i, def, key, now))))
                    return false;
            }
        }
    }
    return true;
}

class DmRewrite
{
public:
    using Asks = std::function<bool(const DmPropertySet& set)>;
    /// Gets a copy of a set, that holds what its things have become, and says whether it changed it.
    using Change = std::function<bool(DmPropertySet& copy)>;

    /// `wants`: the sets that `change` gets. `enters`: those whose things are looked at; null: all.
    DmRewrite(Asks wants, Change change, Asks enters = {});
    /// Another set stands in the place of this one, wherever it is held.
    void replace(const DmPropertySet& set, const DmPropertySetPtr& by) { _done[&set] = by; }

    /// What stands in the place of a constant set: a constant too, and the same one where nothing changed. Refuses a
    /// tree that holds itself.
    DmPropertySetPtr operator()(const DmPropertySetPtr& set);

private:
    Asks _wants;
    Change _change;
    Asks _enters;
    std::unordered_map<const DmPropertySet*, DmPropertySetPtr> _done;
    int _level = 0;
};
