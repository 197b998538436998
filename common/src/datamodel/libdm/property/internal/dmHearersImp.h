/// Who is to be told of a change: written down before it, inside the mutex, so that telling needs no memory.
#pragma once

#include "dmSetAccessImp.h"

#include <algorithm>
#include <vector>

class DmSetAccess::Hearers
{
public:
    static bool areThere(const DmPropertySet& set) { return set._listeners != nullptr; }

    /// DM_BAD_VALUE: there is no memory to write them down.
    eDmErrorId take(DmPropertySet& set, const DmNodeId& id)
    {
        if (!areThere(set))
            return DM_NO_ERROR;
        return dmWithMemory(
            [&]
            {
                _id = id;
                if (set._listeners->size() > few)
                    _many = *set._listeners;
                else
                    std::copy(set._listeners->begin(), set._listeners->end(), _few);
                _count = set._listeners->size();
                return DM_NO_ERROR;
            });
    }

    /// A listener may drop the last reference to the object; one that nobody counts yet must not be deleted by that.
    /// `isLater`: somebody has been told of a change made together with this one, and may have taken listeners away.
    void notifyAll(DmPropertySet& set, eDmPropType type, const DmString& name, CoSharedPtr<DmPropertySet>& alive,
                   bool isLater = false) const
    {
        alive.reset(set.refCount() > 0 ? &set : nullptr);
        DmPropertyListener* const* const all = _many.empty() ? _few : _many.data();
        for (std::size_t i = 0; i < _count; ++i)
            if ((i == 0 && !isLater) || isStillRegistered(set, all[i]))
            {
                if (i + 1 < _count)
                    notify(*all[i], type, name);
                else
                    all[i]->onPropertyChanged(_id, type, name); // nobody else sees that copy any more
            }
    }

    static bool isRegistered(const DmPropertySet& set, const DmPropertyListener* listener)
    {
        return areThere(set) &&
               std::find(set._listeners->begin(), set._listeners->end(), listener) != set._listeners->end();
    }

private:
    /// Listeners come and go beside a notification, in this thread and in others.
    static bool isStillRegistered(DmPropertySet& set, const DmPropertyListener* listener)
    {
        const DM::CoLockWordGuard guard(set._state);
        return isRegistered(set, listener);
    }
    /// With a copy of the id; where there is no memory for it, ours.
    void notify(DmPropertyListener& listener, eDmPropType type, const DmString& name) const
    {
        DmNodeId copy;
        const bool copied = dmWithMemory(
                                [&]
                                {
                                    copy = _id;
                                    return DM_NO_ERROR;
                                }) == DM_NO_ERROR;
        listener.onPropertyChanged(copied ? copy : _id, type, name);
    }

    static constexpr std::size_t few = 6;
    DmPropertyListener* _few[few];
    std::vector<DmPropertyListener*> _many; ///< when there are more
    std::size_t _count = 0;
    DmNodeId _id;
};
