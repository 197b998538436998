#include "dmPropertySetInit.h"

#include "dmUtf8.h"
#include "zrAssert.h"

#include <map>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace
{

/// Entries that the factory has not heard of, the last one first.
constinit std::atomic<const DmClassEntry*> waiting{nullptr};

} // namespace

DmClassEntry::DmClassEntry(const wchar_t* className, const std::type_info* type, DmPropertyCreator creator)
    : _className(className)
    , _type(type)
    , _creator(creator)
    , _next(waiting.load(std::memory_order_relaxed))
{
    while (!waiting.compare_exchange_weak(_next, this, std::memory_order_release, std::memory_order_relaxed))
        ;
}

void DmClassEntry::add() const
{
    if (_type)
        return DmClassRecord::of(_className, *_type).registerCreator(_creator, DmClassRecord::ByItself);
    const DmString alias(_className);
    if (alias.empty())
        throw std::bad_alloc();
    static_cast<void>(DmPropertyFactory::getInstance().registerAlias(alias, _creator));
}

/// The list is emptied when all of it is registered: who finds it empty needs no lock.
void DmClassEntry::registerAll()
{
    if (!waiting.load(std::memory_order_acquire))
        return;
    static auto& mutex = *new std::recursive_mutex; // of the factory, which the entries ask to register them
    static bool isRegistering = false;
    const std::lock_guard guard(mutex);
    if (std::exchange(isRegistering, true))
        return;
    try
    {
        const DmClassEntry* done = nullptr;
        const DmClassEntry* first = waiting.load(std::memory_order_acquire);
        do
        {
            for (const DmClassEntry* entry = first; entry != done; entry = entry->_next)
                entry->add();
            done = first;
            // A library that is being loaded meanwhile puts its own in front.
        } while (!waiting.compare_exchange_strong(first, nullptr, std::memory_order_acq_rel));
    }
    catch (const std::bad_alloc&)
    {
    }
    isRegistering = false;
}

DmClassRecord& DmClassRecord::of(const wchar_t* className, const std::type_info& type)
{
    // Never destroyed: objects of static storage may be released after everything here.
    static auto& mutex = *new std::mutex;
    static auto& records = *new std::map<std::wstring, std::unique_ptr<DmClassRecord>, std::less<>>;
    const std::lock_guard guard(mutex);
    std::unique_ptr<DmClassRecord>& record = records[className];
    if (!record)
    {
        std::unique_ptr<DmClassRecord> made(new DmClassRecord(className, type));
        if (made->_className.empty())
            throw std::bad_alloc();
        record = std::move(made);
    }
    [[maybe_unused]] const eDmErrorId status = record->_type == type ? DM_NO_ERROR : DM_PROPERTYSET_ALREADY_EXIST;
    ZR_ASSERT_HARD(status == DM_NO_ERROR);
    return *record;
}

void DmClassRecord::registerCreator(DmPropertyCreator creator, Registered how)
{
    DmClassEntry::registerAll(); // which this class may be among
    if (_registered == Not || how == ByAnObject)
    {
        // The class itself may have been first: its object comes after it, and only a second object is one too many.
        const bool isFirst = _registered == Not;
        const bool isKnown = _registered == ByItself;
        const eDmErrorId added = isFirst ? DmPropertyFactory::getInstance().registerCreator(_className, creator)
                                         : DM_PROPERTYSET_ALREADY_EXIST;
        [[maybe_unused]] const eDmErrorId status = isKnown ? DM_NO_ERROR : added;
        ZR_ASSERT_HARD(status == DM_NO_ERROR);
        _registered = how;
    }
}

DmPropertyCreator DmClassRecord::creatorOf(const wchar_t* className, const std::type_info& type,
                                           DmPropertyCreator creator)
{
    try
    {
        of(className, type).registerCreator(creator, ByItself);
        return DmPropertyFactory::getInstance().findCreator(className);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

/// Later it would be another class's table that is damaged, or a document that nobody can read.
void DmClassRecord::checkClass(const DmPropertySet& object) const
{
    const unsigned lost = DmString::lost();
    const DmString said = object.getPSetName();
    const std::string name = dmUtf8(_className);
    std::string rule;
    if (&object.classData() != table.get())
        rule = "the constructor of " + name + " hands DmPropertySetInit<" + name + ">::data() to its base";
    else if (said != _className && lost == DmString::lost())
        rule = name + "::getPSetName() returns its className, not \"" + dmUtf8(said) + '"';
    if (rule.empty())
        return;
    zrAssertLogFlush();
    zrAssertDetail::fail(rule.c_str(), ZR_SOURCE_FILE, __LINE__, __PRETTY_FUNCTION__);
}

eDmErrorId DmClassRecord::create(Constructor constructor, const DmNodeId& id, DmPropertySet*& out, bool attributes)
{
    std::unique_lock guard(mutex, std::defer_lock);
    if (_registered != ByItself || !_isDeclared.load(std::memory_order_acquire))
        guard.lock();
    const unsigned lost = DmString::lost();
    DmPropertySet* object = nullptr;
    bool isDeclaring = false;
    try
    {
        object = constructor(id);
        eDmErrorId result = DM_NO_ERROR;
        if (guard.owns_lock() && !listCreated)
        {
            checkClass(*object);
            isDeclaring = listCreated = true;
            object->nameClass();
            result = object->createList();
        }
        bool isWhole = true;
        if (result == DM_NO_ERROR && attributes)
        {
            result = object->createAttributes();
            isWhole = result != DM_BAD_VALUE; // what it makes answers so where memory runs out
        }
        if (isWhole && lost == DmString::lost())
        {
            if (isDeclaring)
            {
                table->liveForever();
                _isDeclared.store(true, std::memory_order_release);
            }
            out = object;
            return result;
        }
    }
    catch (const std::bad_alloc&)
    {
        // as when a string is lost
    }
    if (isDeclaring) // the next object declares the class anew
    {
        listCreated = false;
        if (object)
            object->forgetClass();
    }
    const DmPropertySetPtr lastReference(object);
    out = nullptr;
    return DM_BAD_VALUE;
}

const DmPropertySetPtr& DmClassRecord::sharedDefault(DmPropertySetPtr (*make)())
{
    const std::lock_guard guard(mutex);
    if (!_sharedDefault)
    {
        _sharedDefault = make();
        if (_sharedDefault)
        {
            _sharedDefault->freezeAsSharedDefault();
            _sharedDefault->liveForever();
        }
    }
    return _sharedDefault;
}
