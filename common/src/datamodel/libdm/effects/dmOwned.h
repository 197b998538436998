/// Lists and maps that belong to their object alone: copying one clones what it holds, so a class whose members they
/// are is copied deeply by the copy constructor that the compiler writes.
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
