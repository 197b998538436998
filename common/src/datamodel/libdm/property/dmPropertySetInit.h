/// Makes a model class known to the factory, under its own name. `class DmCueMark final : public DmConcrete<DmCueMark>`
/// has its name, clone() and create() from there; what it says itself is createList(), and a constructor from
/// `const DmNodeId&` that hands `DmPropertySetInit<DmCueMark>::data()` to its base. A class that comes from
/// DmPropertySet by itself says `static constexpr const wchar_t* className`, getPSetName() and clone(), too.
///
/// Asking for data() is what registers a class, before the factory is first asked for one: no class has a table and no
/// creator. A source may also say it itself, and be sure of its place among the program's first statements:
///
///     static const DmPropertySetInit<HostNote> registration;
#pragma once

#include "dmClassName.h"
#include "dmPropertyFactory.h"
#include "dmPropertySet.h"

#include <atomic>
#include <mutex>
#include <typeinfo>

/// What a process has once of every model class: its table of properties, its shared default, its registration. It is
/// found by the class's name, in the library, so that all code of a process finds the same one, however many libraries
/// and programs the class's templates were compiled into.
struct ZR_DM_API DmClassRecord
{
    enum Registered
    {
        Not,
        ByItself,  ///< because the class exists
        ByAnObject ///< by a DmPropertySetInit that somebody wrote
    };

    /// Made by the first call and never destroyed. Stops the process when another class has the name.
    static DmClassRecord& of(const wchar_t* className, const std::type_info& type);

    /// Registers with the factory, once by the class itself and once by an object; a name that is taken stops the
    /// process.
    void registerCreator(DmPropertyCreator creator, Registered how);

    /// The creator of a class by its name. Among a program's first statements the class may not have registered itself
    /// yet: it is then. Null without memory for that.
    static DmPropertyCreator creatorOf(const wchar_t* className, const std::type_info& type, DmPropertyCreator creator);

    /// A new object, with its default attributes when asked. The class's table is built by the first creation, for
    /// which the others wait; where the class's constructor or getPSetName() is another class's, that stops the
    /// process. Creations of a class that is registered by an object wait for each other ever after;
    /// those of a class that registers itself run side by side. Without memory for all of it: null and DM_BAD_VALUE.
    using Constructor = DmPropertySet* (*)(const DmNodeId& id);
    eDmErrorId create(Constructor constructor, const DmNodeId& id, DmPropertySet*& out, bool attributes);

    /// The frozen object that stands for all untouched ones (dmOwnedRecord.h): `make` is called for the first time
    /// only, and again while it gives null.
    const DmPropertySetPtr& sharedDefault(DmPropertySetPtr (*make)());

    CoSharedPtr<DmPropertySetData> table;
    std::recursive_mutex mutex; ///< held while the table is built, and while an object is made one after the other
    bool listCreated = false;

private:
    explicit DmClassRecord(const wchar_t* name, const std::type_info& type)
        : _className(name)
        , _type(type)
    {
    }

    void checkClass(const DmPropertySet& object) const;

    const DmString _className;
    const std::type_info& _type;
    std::atomic<bool> _isDeclared{false}; ///< the table is built
    Registered _registered = Not;
    DmPropertySetPtr _sharedDefault;
};

/// A name and what creates a class, as it lies in the library that has the class. The factory learns of it when it is
/// first asked for something: a program that links a library of many classes and creates nothing pays for none of them
/// (startBench: a sixth of what such a program paid at its start).
class ZR_DM_API DmClassEntry
{
public:
    /// `className` is kept, not copied. Without a type it is another name of a class
    /// (DmPropertyFactory::registerAlias).
    DmClassEntry(const wchar_t* className, const std::type_info* type, DmPropertyCreator creator);
    DmClassEntry(const DmClassEntry&) = delete;
    DmClassEntry& operator=(const DmClassEntry&) = delete;

    /// What was made so far is known to the factory. Those that memory runs out for are tried again the next time.
    static void registerAll();

private:
    void add() const;

    const wchar_t* const _className;
    const std::type_info* const _type;
    const DmPropertyCreator _creator;
    const DmClassEntry* _next; ///< the one that was made before
};

template <class T>
class DmPropertySetInit
{
public:
    /// Stops the process when the name is taken.
    DmPropertySetInit() { record().registerCreator(createInstance, DmClassRecord::ByAnObject); }

    /// The class's table, one in the process; null until the first instance is built.
    static CoSharedPtr<DmPropertySetData>& data()
    {
        static_cast<void>(&registered); // makes the member exist wherever a constructor asks for the table
        return record().table;
    }
    CoSharedPtr<DmPropertySetData> getData() const { return data(); }

    static eDmErrorId createInstance(const DmNodeId& id, DmPropertySet*& out, bool createAttributes)
    {
        return record().create([](const DmNodeId& own) -> DmPropertySet* { return new T(own); }, id, out,
                               createAttributes);
    }

    static DmClassRecord& record()
    {
        static DmClassRecord& found = DmClassRecord::of(T::className, typeid(T));
        return found;
    }

private:
    /// One in the process: that of the library or program that has the class.
    ZR_DM_API static const DmClassEntry registered;
};

template <class T>
const DmClassEntry DmPropertySetInit<T>::registered(T::className, &typeid(T), createInstance);

/// An object of a class through the factory, with the factory's flag for default attributes; null when it fails. The
/// creator is looked up until there is one: what is registered stays. (Looking it up each time took a thirtieth of
/// making a document from a cut list.)
template <class T>
CoSharedPtr<T> dmCreate()
{
    static constinit std::atomic<DmPropertyCreator> known{nullptr};
    static_cast<void>(&DmPropertySetInit<T>::data); // registers a class template that is made nowhere else
    const DmPropertyFactory& factory = DmPropertyFactory::getInstance();
    DmPropertyCreator creator = known.load(std::memory_order_acquire);
    if (!creator)
    {
        creator = DmClassRecord::creatorOf(T::className, typeid(T), DmPropertySetInit<T>::createInstance);
        known.store(creator, std::memory_order_release);
    }
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
    /// The class's name: its key in the factory and in documents.
    static constexpr const wchar_t* className = dmClassName<T>;
    /// The first of the enumerators that the class adds to its base's.
    static constexpr int FirstOwn = Base::PropertyCount;

    DmString getPSetName() const override { return DmString(T::className); }
    [[nodiscard]] CoSharedPtr<DmPropertySet> clone() const override
    {
        return this->cloneAs(static_cast<const T&>(*this));
    }
    static CoSharedPtr<T> create() { return dmCreate<T>(); }

protected:
    using Base::Base;
};
