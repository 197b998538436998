#include "dmPropertySetInit.h"

#include "zrAssert.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>

DmClassRecord& DmClassRecord::of(const wchar_t* className, const std::type_info& type)
{
    // Never destroyed: objects of static storage may be released after everything here.
    static auto& mutex = *new std::mutex;
    static auto& records = *new std::map<std::wstring, std::unique_ptr<DmClassRecord>, std::less<>>;
    const std::lock_guard guard(mutex);
    std::unique_ptr<DmClassRecord>& record = records[className];
    if (!record)
        record.reset(new DmClassRecord(className, type));
    [[maybe_unused]] const eDmErrorId status = record->_type == type ? DM_NO_ERROR : DM_PROPERTYSET_ALREADY_EXIST;
    ZR_ASSERT_HARD(status == DM_NO_ERROR);
    return *record;
}

void DmClassRecord::registerCreator(DmPropertyCreator creator, Registered how)
{
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
