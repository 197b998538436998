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
    DmOwnedList& operator=(const DmOwnedList& other)
    {
        other.cloned().swap(*this);
        return *this;
    }
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
    DmOwnedMap& operator=(const DmOwnedMap& other)
    {
        other.cloned().swap(*this);
        return *this;
    }
};
