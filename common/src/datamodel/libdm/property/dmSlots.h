/// Members that hold other property sets and know of which class: what a model class declares as nested-set, vector and
/// map properties. The property layer stores them as their untyped bases and keeps objects of other classes out, so the
/// casts here always hold. A copy of the object shares what they hold; where it has clones: dmOwned.h, dmOwnedRecord.h.
///
///     DmNested<DmFrameResolution> _resolution;      // one, or null
///     DmSetList<DmCueMark> _cueMarks;               // in order; an element may be null
///     DmSetMap<DmAnimationChannel> _channels;       // by name, in key order
#pragma once

#include "dmPropertySet.h"

#include <atomic>
#include <new>
#include <type_traits>
#include <typeinfo>

/// Whether an object is of the class, or of one that derives from it. Where others may derive, the two classes that
/// were found to do so last are known: segments and cuts take turns on a layer. (dynamic_cast asks from base to base,
/// which took 5 % of making a document from a cut list.)
template <class T>
bool dmIsOf(const DmPropertySet& set)
{
    const std::type_info& type = typeid(set);
    if constexpr (std::is_final_v<T>)
        return type == typeid(T);
    else
    {
        static constinit std::atomic<const std::type_info*> known{nullptr};
        static constinit std::atomic<const std::type_info*> knownBefore{nullptr};
        if (known.load(std::memory_order_relaxed) == &type || knownBefore.load(std::memory_order_relaxed) == &type)
            return true;
        if (!dynamic_cast<const T*>(&set))
            return false;
        knownBefore.store(known.load(std::memory_order_relaxed), std::memory_order_relaxed);
        known.store(&type, std::memory_order_relaxed);
        return true;
    }
}

/// Tells the property layer which class a slot holds. Needs the class to be complete.
template <class T>
const DmHeldClass* dmHeldClassOf()
{
    static constexpr DmHeldClass held{T::className, dmIsOf<T>};
    return &held;
}

/// A clone, null of null. Only for the copy constructors of what clone() copies: throws where a clone fails for lack of
/// memory, and the clone around it then fails too.
inline DmPropertySetPtr dmCloneOf(const DmPropertySetPtr& set)
{
    DmPropertySetPtr copy = set ? set->clone() : DmPropertySetPtr();
    if (set && !copy)
        throw std::bad_alloc();
    return copy;
}

template <class T>
class DmNested : public DmPropertySetPtr
{
public:
    using Held = T;

    DmNested() = default;
    DmNested(const CoSharedPtr<T>& set)
        : DmPropertySetPtr(set)
    {
    }

    T* get() const { return static_cast<T*>(DmPropertySetPtr::get()); }
    T* operator->() const { return get(); }
    T& operator*() const { return *get(); }
    CoSharedPtr<T> share() const { return CoSharedPtr<T>(get()); }

    /// The object to change, of the owner's property `index`, which this is: a constant is first replaced by a copy, as
    /// a change of that property; one that a setter shared stays shared. Null where there is none, when the owner is a
    /// constant, and where memory runs out.
    T* own(DmPropertySet& owner, int index) const
    {
        if (!*this || owner.isFrozen())
            return nullptr;
        if (!get()->isFrozen())
            return get();
        const DmPropertySetPtr copy = get()->clone();
        if (!copy || owner.setPropertyValue(index, DM_PROPERTY_SET, &copy) != DM_NO_ERROR)
            return nullptr;
        return static_cast<T*>(copy.get()); // not get(): this may lie in a block that the owner shared until now
    }
};

template <class T>
class DmSetList : public DmPropertySetVector
{
public:
    using Held = T;

    /// Null when there is no such element, or when it is null.
    T* at(int index) const
    {
        return static_cast<std::size_t>(index) < size() ? static_cast<T*>(data()[static_cast<std::size_t>(index)].get())
                                                        : nullptr;
    }
    int count() const { return static_cast<int>(size()); }

    /// A list of clones.
    DmSetList cloned() const
    {
        DmSetList copies;
        copies.reserve(size());
        for (const DmPropertySetPtr& element : *this)
            copies.push_back(dmCloneOf(element));
        return copies;
    }
};

template <class T>
class DmSetMap : public DmPropertySetMap
{
public:
    using Held = T;

    /// Null when there is no such key, or when its entry is null.
    T* at(const DmString& key) const
    {
        const auto found = find(key);
        return found == end() ? nullptr : static_cast<T*>(found->second.get());
    }

    /// A map of clones.
    DmSetMap cloned() const
    {
        DmSetMap copies;
        for (const auto& [key, entry] : *this)
            copies.emplace_hint(copies.end(), key, dmCloneOf(entry));
        return copies;
    }
};
