/// A record of an object, of which a copy of the object has a clone. Until a setter gives it another, it is what it was
/// made as: null, or the frozen default of its class, which all such objects share, and which own() replaces by a copy
/// that can be changed. Lists and maps of this kind: dmOwned.h. What copies of an object share: dmSlots.h.
///
///     DmOwnedRecord<DmFrameResolution> _resolution{dmSharedDefault<DmFrameResolution>()};
///
///     const DmFrameResolution* getResolution() const { return _resolution.get(); }
///     DmFrameResolution* ownResolution() { return _resolution.own(*this, Resolution); }
#pragma once

#include "dmPropertySetInit.h"
#include "dmSlots.h"

/// The default of a record's class, one object in the process: made on the first call and kept as long as the process
/// lives. Its setters answer DM_CANNOT_LOCK. For constructors: throws while there is no memory to make it.
template <class T>
const CoSharedPtr<T>& dmSharedDefault()
{
    static const auto& shared = *[]
    {
        const DmPropertySetPtr& made =
            DmPropertySetInit<T>::record().sharedDefault([] { return DmPropertySetPtr(T::create()); });
        return made ? new CoSharedPtr<T>(static_cast<T*>(made.get())) : throw std::bad_alloc();
    }();
    return shared;
}

template <class T>
class DmOwnedRecord : public DmNested<T>
{
public:
    using DmNested<T>::DmNested;

    DmOwnedRecord(const DmOwnedRecord& other)
        : DmNested<T>(other)
    {
        if (*this && !this->get()->isSharedDefault())
            DmPropertySetPtr::operator=(dmCloneOf(other));
    }
    DmOwnedRecord& operator=(const DmOwnedRecord&) = delete;
};
