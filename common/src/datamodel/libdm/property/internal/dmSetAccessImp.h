/// The one door through which a value enters a field, whoever brings it: typed setters, lists, maps, texts, documents,
/// copies, and the classes that store behind the backs of their listeners.
///
/// Each operation has the value ready before it (a copy, a map's node), goes through, and lets go of what it replaced
/// after it. What holds for all: a constant object takes nothing, a constant property no other value, a slot no object
/// of another class, a map no empty key and none with a zero; without memory nothing is stored. What differs is the
/// policy:
///
///     Announced   inside the object's mutex; then listeners are told, and the object is dirty
///     Silent      inside the mutex
///     Fresh       neither: an object that nobody else sees yet
#pragma once

#include "dmMemoryImp.h"
#include "dmPropertySet.h"

#include <algorithm>
#include <cstring>
#include <utility>

enum class DmStore
{
    Announced,
    Silent,
    Fresh
};

class DmSetAccess
{
public:
    /// The field of a property that is stored as that, to be written inside the mutex.
    template <class Storage>
    static Storage& field(DmPropertySet& set, int index, const DmPropertyDef& def)
    {
        return *static_cast<Storage*>(set.fieldForChange(index, def));
    }
    /// Whether the field lies in a block that the object shares with others.
    static bool isShared(const DmPropertySet& set, const DmPropertyDef& def)
    {
        return def._rare && !def._rare->isOwn(set.rareOf(def));
    }
    /// Whether objects share the field, and it holds that value already: then the object needs no block of its own.
    template <class T>
    static bool isSharedValue(const DmPropertySet& set, int index, const DmPropertyDef& def, const T& value)
    {
        if (!isShared(set, def))
            return false;
        const void* const shared = set.fieldOf(index, def);
        if constexpr (DmNumberStorage<T>)
            return std::memcmp(shared, &value, sizeof(T)) == 0;
        else if constexpr (DmAtomicStorage<T>)
            return *static_cast<const T*>(shared) == value;
        else
            return static_cast<const T*>(shared)->empty() && value.empty();
    }

    /// Whether a field holds a value of its storage type, as relevance sees it (compareAtomicManip).
    static bool equals(const DmPropertyDef& def, const void* field, const void* value);

    /// Whether an object may stand in a slot: DM_BAD_PROPERTY_TYPE when it is of another class than the slot holds.
    /// Edits, not documents, also ask the owner.
    static eDmErrorId checkSlot(const DmPropertySet& set, const DmPropertyDef& def, const DmPropertySet* held,
                                DmStore policy = DmStore::Fresh)
    {
        if (!held)
            return DM_NO_ERROR;
        if (def._held && !def._held->accepts(*held))
            return DM_BAD_PROPERTY_TYPE;
        return def._mayHold && policy != DmStore::Fresh ? def._mayHold(set, *held) : DM_NO_ERROR;
    }

    static eDmErrorId checkKey(const DmString& key)
    {
        if (key.empty())
            return DM_EMPTY_ID;
        return key.view().find(L'\0') == std::wstring_view::npos ? DM_NO_ERROR : DM_BAD_VALUE;
    }

    /// Goes through the door: `store` looks for the element or the key, and stores.
    template <class Store>
    static eDmErrorId change(DmPropertySet& set, DmStore policy, const DmPropertyDef& def, Store&& store);

    // What to store has been checked, and has been copied with success; what was stored before is in its place after.

    template <class T>
    static eDmErrorId swapValue(DmPropertySet& set, DmStore policy, int index, const DmPropertyDef& def, T& value)
    {
        return change(set, policy, def,
                      [&]() -> eDmErrorId
                      {
                          if (isSharedValue(set, index, def, value))
                              return DM_NO_ERROR;
                          void* const at = set.fieldForChange(index, def);
                          if constexpr (std::same_as<T, DmString>)
                              if (const auto& text = *static_cast<const DmString*>(at); text.isKept() && text == value)
                                  return DM_NO_ERROR; // a default text goes on taking no memory
                          if constexpr (DmNumberStorage<T>)
                          {
                              // An enumeration is no object of type T.
                              if (def._constant && std::memcmp(at, &value, sizeof(T)) != 0)
                                  return DM_BAD_VALUE;
                              std::memcpy(at, &value, sizeof(T));
                          }
                          else
                              static_cast<T*>(at)->swap(value);
                          return DM_NO_ERROR;
                      });
    }

    template <class T>
    static eDmErrorId append(DmPropertySet& set, DmStore policy, int index, const DmPropertyDef& def, T&& element)
    {
        return change(
            set, policy, def,
            [&]
            {
                field<std::vector<std::remove_cvref_t<T>>>(set, index, def).push_back(std::forward<T>(element));
                return DM_NO_ERROR;
            });
    }

    /// DM_BAD_INDEX for an element that is not there.
    template <class T>
    static eDmErrorId replace(DmPropertySet& set, DmStore policy, int index, const DmPropertyDef& def, int element,
                              T& value)
    {
        return change(set, policy, def,
                      [&]() -> eDmErrorId
                      {
                          using std::swap;
                          auto& list = field<std::vector<T>>(set, index, def);
                          if (element < 0 || static_cast<std::size_t>(element) >= list.size())
                              return DM_BAD_INDEX;
                          swap(list[static_cast<std::size_t>(element)], value);
                          return DM_NO_ERROR;
                      });
    }

    /// Inserts or replaces in a map; `entry` is what stood under the key before.
    static eDmErrorId put(DmPropertySet& set, DmStore policy, int index, const DmPropertyDef& def, const DmString& key,
                          DmPropertySetPtr& entry);

    /// Inserts or replaces what `entries` holds; what stood under its keys before is in it after.
    static eDmErrorId putAll(DmPropertySet& set, DmStore policy, int index, const DmPropertyDef& def,
                             DmPropertySetMap& entries);

    /// An object that was filled as a fresh one, and that documents leave dirty.
    static void touch(DmPropertySet& set) { set._state.set(DmPropertySet::dirtyFlag); }

private:
    class Hearers; ///< dmHearersImp.h
    friend class DmPropertySet;
    friend class DmStep;

    static DM::CoLockWord& lockWord(DmPropertySet& set) { return set._state; }

    /// A type that cannot be set whole is announced as a change all the same; what is refused is not.
    static bool isAnnounced(eDmErrorId status) { return status == DM_NO_ERROR || status == DM_TYPE_NOT_IMPLEMENTED; }
    static eDmErrorId changeHeard(DmPropertySet& set, const DmPropertyDef& def, eDmErrorId (*store)(void*),
                                  void* argument);
    template <class Store>
    static eDmErrorId attempt(Store& store)
    {
        try
        {
            return store();
        }
        catch (const std::bad_alloc&)
        {
            return DM_BAD_VALUE;
        }
        catch (const std::length_error&)
        {
            return DM_BAD_VALUE;
        }
    }
};

template <class Store>
eDmErrorId DmSetAccess::change(DmPropertySet& set, DmStore policy, const DmPropertyDef& def, Store&& store)
{
    if (policy == DmStore::Fresh)
        return set.isFrozen() ? DM_CANNOT_LOCK : attempt(store);
    {
        DM::CoLockWordGuard guard(set._state);
        if (set.isFrozen())
            return DM_CANNOT_LOCK;
        if (policy == DmStore::Silent || !set._listeners)
        {
            const eDmErrorId status = attempt(store);
            if (policy == DmStore::Announced && isAnnounced(status))
                guard.set(DmPropertySet::dirtyFlag);
            return status;
        }
    }
    return changeHeard(
        set, def, [](void* argument) { return attempt(*static_cast<std::remove_reference_t<Store>*>(argument)); },
        &store);
}
