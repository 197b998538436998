/// Lists and maps of which a copy of their object has clones: a class with such members is copied deeply by the copy
/// constructor that the compiler writes. A single set of this kind: dmOwnedRecord.h. What copies share: dmSlots.h.
///
///     DmOwnedList<DmKeyFrame> _keyFrames;
///     DmOwnedMap<DmAnimationChannel> _channels;
#pragma once

#include "dmSlots.h"

template <class T>
class DmOwnedList : public DmSetList<T>
{
public:
    DmOwnedList() = default;
    DmOwnedList(const DmOwnedList& other)
        : DmSetList<T>(other.cloned())
    {
    }
    DmOwnedList(DmOwnedList&&) noexcept = default;
    DmOwnedList& operator=(const DmOwnedList& other)
    {
        other.cloned().swap(*this);
        return *this;
    }
    DmOwnedList& operator=(DmOwnedList&&) noexcept = default;
    ~DmOwnedList() = default;
};

template <class T>
class DmOwnedMap : public DmSetMap<T>
{
public:
    DmOwnedMap() = default;
    DmOwnedMap(const DmOwnedMap& other)
        : DmSetMap<T>(other.cloned())
    {
    }
    DmOwnedMap(DmOwnedMap&&) noexcept = default;
    DmOwnedMap& operator=(const DmOwnedMap& other)
    {
        other.cloned().swap(*this);
        return *this;
    }
    DmOwnedMap& operator=(DmOwnedMap&&) noexcept = default;
    ~DmOwnedMap() = default;
};
