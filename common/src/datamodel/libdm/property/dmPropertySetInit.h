/// Registers a model class with the factory and owns its table of properties. One static object a class, in its source:
///
///     static const DmPropertySetInit<DmCueMark> registration;
///
/// The class supplies `className`, a constructor from `const DmNodeId&` that hands `DmPropertySetInit<T>::data()` to
/// its base, and createList(). DmConcrete writes the rest.
#pragma once

#include "dmPropertyFactory.h"
#include "dmPropertySet.h"

#include "zrAssert.h"

#include <mutex>

template <class T>
class DmPropertySetInit
{
public:
    DmPropertySetInit()
    {
        data(); // constructed before this object, so destroyed after it
        [[maybe_unused]] const eDmErrorId status =
            DmPropertyFactory::getInstance().registerCreator(DmString(T::className), createInstance);
        ZR_ASSERT_HARD(status == DM_NO_ERROR);
    }

    /// The class's table; null until the first instance is built.
    static CoSharedPtr<DmPropertySetData>& data()
    {
        static CoSharedPtr<DmPropertySetData> table;
        return table;
    }
    CoSharedPtr<DmPropertySetData> getData() const { return data(); }

    /// Creations of one class wait for each other; its table is built by the first of them.
    static eDmErrorId createInstance(const DmNodeId& id, DmPropertySet*& out, bool createAttributes)
    {
        static std::recursive_mutex mutex;
        static bool listCreated = false;
        const std::lock_guard guard(mutex);
        T* const object = new T(id);
        out = object;
        eDmErrorId result = DM_NO_ERROR;
        if (!listCreated)
        {
            listCreated = true;
            object->nameClass();
            result = object->createList();
        }
        if (result == DM_NO_ERROR && createAttributes)
            result = object->createAttributes();
        return result;
    }
};

/// An object of a class through the factory, with the factory's flag for default attributes; null when it fails.
template <class T>
CoSharedPtr<T> dmCreate()
{
    const DmPropertyFactory& factory = DmPropertyFactory::getInstance();
    const DmPropertyCreator creator = factory.findCreator(T::className);
    DmPropertySet* set = nullptr;
    const eDmErrorId status = creator ? factory.create(creator, DmNodeId(), 0, set) : DM_PROPERTY_NOT_FOUND;
    CoSharedPtr<T> object(static_cast<T*>(set));
    return status == DM_NO_ERROR ? object : CoSharedPtr<T>();
}

/// What every class that can be created supplies, written once: `class DmCueMark : public DmConcrete<DmCueMark>`.
template <class T, class Base = DmPropertySet>
class ZR_DM_API DmConcrete : public Base
{
public:
    DmString getPSetName() const override { return DmString(T::className); }
    [[nodiscard]] CoSharedPtr<DmPropertySet> clone() const override
    {
        return CoSharedPtr<DmPropertySet>(new T(static_cast<const T&>(*this)));
    }
    static CoSharedPtr<T> create() { return dmCreate<T>(); }

protected:
    using Base::Base;
};
