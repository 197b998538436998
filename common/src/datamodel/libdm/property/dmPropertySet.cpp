#include "dmPropertySet.h"

#include "dmHearersImp.h"
#include "dmMemoryImp.h"
#include "dmNesting.h"
#include "dmSetAccessImp.h"
#include "dmSetTools.h"
#include "dmUtf8.h"
#include "dmVersion.h"

#include "zrAssert.h"
#include "zrPost.h"

#include <algorithm>
#include <cstring>
#include <utility>

DmPropertySet::DmPropertySet(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : _id(id)
{
    if (!classData)
        classData = CoSharedPtr<DmPropertySetData>(new DmPropertySetData);
    _data = classData;
}

DmPropertySet::DmPropertySet(const DmPropertySet& other)
    : CoRefCountedMT(other)
    , _state(other.isDirty() ? dirtyFlag : 0)
    , _data(other._data)
    , _id(other._id)
{
}

DmPropertySet::~DmPropertySet() = default;

void* DmPropertySet::operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    try
    {
        return dmBlocks::take(size);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

eDmErrorId DmPropertySet::createAttributes()
{
    return DM_NO_ERROR;
}

const void* DmPropertySet::getBase(int index) const
{
    const DmPropertyDef* const def = _data->at(index);
    return def && def->_rare ? def->_rare->read(rareOf(*def)) : this;
}

// Declaration

eDmErrorId DmPropertySet::addProperty(const DmString& name, eDmPropType type, void* fieldAddress, int index,
                                      bool skipIfDefault, const void* defaultValue, DmSerializer serializer,
                                      DmUnserializer unserializer)
{
    if (name == DmVersion::getKey())
    {
        ZR_POST_ERROR("%s is a reserved name\n", dmUtf8(DmVersion::getKey()).c_str());
        ZR_ASSERT_SOFT_AS("! \"Reserved property name\"", false);
        return DM_PROPERTY_ALREADY_EXIST;
    }
    // A class that declares twice, or out of order, is told so and keeps its first declaration: the answer stays
    // success.
    eDmErrorId outcome = DM_NO_ERROR;
    const char* complaint = nullptr;
    if (_data->find(name.view()) >= 0)
    {
        outcome = DM_PROPERTY_ALREADY_EXIST;
        complaint = "In PropertySet %ls. Property \"%ls\" already exist";
    }
    else if (index != _data->size())
    {
        outcome = DM_BAD_INDEX;
        complaint = "In PropertySet %ls. Property \"%ls\" has bad index";
    }
    if (complaint)
    {
        ZR_POST_ERROR(complaint, getPSetName().c_str(), name.c_str());
        ZR_ASSERT_SOFT(outcome == DM_NO_ERROR);
        return DM_NO_ERROR;
    }

    ZR_ASSERT_SOFT(!serializer == !unserializer);
    auto def = std::make_unique<DmPropertyDef>();
    def->_name = name;
    def->_type = type;
    const void* const base = getBase(index);
    def->_offset = static_cast<const char*>(fieldAddress) - static_cast<const char*>(base);
    def->_isInside = base == this;
    def->_skipIfDefault = skipIfDefault;
    def->_default = defaultValue;
    def->_serializer = serializer;
    def->_unserializer = unserializer;
    def->_utf8Name = dmUtf8(name);
    if (_data->_className.empty())
        nameClass(); // of a class that only a function of its own makes
    if (type == DM_PROPERTY_SET && defaultValue)
    {
        const DmPropertySet* const held = static_cast<const DmPropertySetPtr*>(defaultValue)->get();
        if (held && held->isFrozen())
            def->_defaultEqualsItself = DmPropertySet_Atomic_Utils::equalsItself(*held);
    }
    _data->_indices.add(def->_name.view(), index);
    _data->_defs.push_back(std::move(def));
    return DM_NO_ERROR;
}

DmPropertyDef* DmPropertySet::lastAdded(int expectedIndex)
{
    return expectedIndex >= 0 && _data->size() == expectedIndex + 1 ? _data->_defs.back().get() : nullptr;
}

void DmPropertySet::askBeforeHolding(int index, DmMayHold mayHold)
{
    if (index >= 0 && index < _data->size())
        _data->_defs[static_cast<std::size_t>(index)]->_mayHold = mayHold;
}

void DmPropertySet::mayKeepElsewhere(int list, DmFormOf form)
{
    if (list >= 0 && list < _data->size())
        _data->_defs[static_cast<std::size_t>(list)]->_form = form;
}

void DmPropertySet::holdsBesideProperties(DmHeldBeside beside)
{
    _data->_heldBeside = beside;
}

const void* DmPropertySet::keepDefault(std::shared_ptr<const void> value)
{
    return _data->_defaults.emplace_back(std::move(value)).get();
}

void DmPropertySet::nameClass()
{
    _data->_className = getPSetName();
    _data->_utf8ClassName = dmUtf8(_data->_className);
}

void DmPropertySet::forgetClass()
{
    _data->_indices.clear();
    _data->_defs.clear();
    _data->_defaults.clear();
    _data->_heldBeside = nullptr;
    _data->_className.clear();
    _data->_utf8ClassName.clear();
}

// Introspection

eDmErrorId DmPropertySet::getNumberOfProps(int& count) const
{
    count = _data->size();
    return DM_NO_ERROR;
}

eDmErrorId DmPropertySet::getPropertyName(int index, DmString& name) const
{
    const DmPropertyDef* const def = _data->at(index);
    if (!def)
        return DM_PROPERTY_NOT_FOUND;
    return dmWithMemory(
        [&]
        {
            name = def->_name;
            return DM_NO_ERROR;
        });
}

eDmErrorId DmPropertySet::getPropertyIndex(const DmString& name, int& index) const
{
    const int found = _data->find(name.view());
    if (found < 0)
        return DM_PROPERTY_NOT_FOUND;
    index = found;
    return DM_NO_ERROR;
}

eDmErrorId DmPropertySet::getPropertyDef(int index, DmPropertyDef& def) const
{
    const DmPropertyDef* const found = _data->at(index);
    if (!found)
        return DM_PROPERTY_NOT_FOUND;
    return dmWithMemory(
        [&]
        {
            DmPropertyDef copy(*found);
            std::swap(def, copy);
            return DM_NO_ERROR;
        });
}

eDmErrorId DmPropertySet::getPropertyType(DmPropertyRef property, eDmPropType& type) const
{
    const DmPropertyDef* const def = _data->at(property.indexIn(*_data));
    if (!def)
        return DM_PROPERTY_NOT_FOUND;
    type = def->_type;
    return DM_NO_ERROR;
}

bool DmPropertySet::isPropertyRelevant(int index) const
{
    const DmPropertyDef* const def = _data->at(index);
    if (!def || !def->_skipIfDefault)
        return true;
    if (def->_type == DM_VECTOR_PROPERTY_SET)
        return !elementsOf(index).empty();
    return !DmSetAccess::equals(*def, fieldOf(index, *def), def->_default);
}

const void* DmPropertySet::fieldOf(int index) const
{
    const DmPropertyDef* const def = _data->at(index);
    return def ? fieldOf(index, *def) : nullptr;
}

const void* DmPropertySet::fieldOutside(int index, const DmPropertyDef& def) const
{
    const void* const base = def._rare ? def._rare->read(rareOf(def)) : getBase(index);
    return static_cast<const char*>(base) + def._offset;
}

void* DmPropertySet::fieldForChange(int index, const DmPropertyDef& def)
{
    if (def._rare)
        return static_cast<char*>(def._rare->own(const_cast<void*>(rareOf(def)))) + def._offset;
    return const_cast<void*>(fieldOf(index, def));
}

// Single values

eDmErrorId DmPropertySet::find(DmPropertyRef property, eDmPropType type, const DmPropertyDef*& def, int& index) const
{
    index = property.indexIn(*_data);
    def = _data->at(index);
    if (!def)
        return DM_PROPERTY_NOT_FOUND;
    return def->_type == type ? DM_NO_ERROR : DM_BAD_PROPERTY_TYPE;
}

eDmErrorId DmPropertySet::getPropertyValue(DmPropertyRef property, eDmPropType type, void* out) const
{
    const DmPropertyDef* def = nullptr;
    int index = -1;
    if (const eDmErrorId status = find(property, type, def, index); status != DM_NO_ERROR)
        return status;
    const void* const field = fieldOf(index, *def);
    return dmVisitStorage(type,
                          [&]<class T>(std::type_identity<T>) -> eDmErrorId
                          {
                              if constexpr (DmNumberStorage<T>)
                                  std::memcpy(out, field, sizeof(T));
                              else if constexpr (std::same_as<T, DmString>)
                              {
                                  const auto& text = *static_cast<const DmString*>(field);
                                  DmString copy(text);
                                  if (copy.length() != text.length())
                                      return DM_BAD_VALUE;
                                  static_cast<DmString*>(out)->swap(copy);
                              }
                              else if constexpr (DmAtomicStorage<T>)
                                  *static_cast<T*>(out) = *static_cast<const T*>(field);
                              else
                              {
                                  ZR_ASSERT_SOFT(!"Type not implemented!");
                                  return DM_TYPE_NOT_IMPLEMENTED;
                              }
                              return DM_NO_ERROR;
                          });
}

namespace
{

eDmErrorId store(DmPropertySet& set, DmStore policy, int index, const DmPropertyDef& def, const void* in)
{
    return dmVisitStorage(def._type,
                          [&]<class T>(std::type_identity<T>) -> eDmErrorId
                          {
                              if constexpr (DmNumberStorage<T>)
                              {
                                  T value;
                                  std::memcpy(&value, in, sizeof(T));
                                  return DmSetAccess::swapValue(set, policy, index, def, value);
                              }
                              else if constexpr (DmAtomicStorage<T>)
                              {
                                  if (set.isFrozen())
                                      return DM_CANNOT_LOCK;
                                  T value(*static_cast<const T*>(in));
                                  if constexpr (std::same_as<T, DmString>)
                                  {
                                      if (value.length() != static_cast<const T*>(in)->length())
                                          return DM_BAD_VALUE;
                                  }
                                  else if (const eDmErrorId slot =
                                               DmSetAccess::checkSlot(set, def, value.get(), policy);
                                           slot != DM_NO_ERROR)
                                      return slot;
                                  return DmSetAccess::swapValue(set, policy, index, def, value);
                              }
                              else
                              {
                                  ZR_ASSERT_SOFT(!"Type not implemented!");
                                  return DmSetAccess::change(set, policy, def, [] { return DM_TYPE_NOT_IMPLEMENTED; });
                              }
                          });
}

} // namespace

eDmErrorId DmPropertySet::setPropertyValue(DmPropertyRef property, eDmPropType type, const void* in)
{
    const int index = property.indexIn(*_data);
    const DmPropertyDef* const def = _data->at(index);
    if (!def)
        return DM_PROPERTY_NOT_FOUND;
    return def->_type == type ? store(*this, DmStore::Announced, index, *def, in) : DM_BAD_PROPERTY_TYPE;
}

eDmErrorId DmPropertySet::setPropertyValue(const DmString& name, const void* in)
{
    const int index = _data->find(name.view());
    const DmPropertyDef* const def = _data->at(index);
    return def ? store(*this, DmStore::Announced, index, *def, in) : DM_PROPERTY_NOT_FOUND;
}

/// From a typed setter, which knows how a value is stored but not whether it is an Int or an Enum, a String or CDATA.
eDmErrorId DmPropertySet::setStored(int index, eDmPropType storedAs, const void* in, bool silently)
{
    const DmPropertyDef* const def = _data->at(index);
    if (!def)
        return DM_PROPERTY_NOT_FOUND;
    const auto stored = [](eDmPropType type) { return type == DM_ENUM ? DM_INT : type == DM_CDATA ? DM_STRING : type; };
    if (stored(def->_type) != stored(storedAs))
        return DM_BAD_PROPERTY_TYPE;
    return store(*this, silently ? DmStore::Silent : DmStore::Announced, index, *def, in);
}

eDmErrorId DmPropertySet::setWhole(int index, int value, bool silently)
{
    const DmPropertyDef* const def = _data->at(index);
    const eDmPropType type = def ? def->_type : DM_NB_TYPES;
    return dmVisitStorage(type,
                          [&]<class T>(std::type_identity<T>) -> eDmErrorId
                          {
                              if constexpr (std::same_as<T, bool> || std::same_as<T, signed char> ||
                                            std::same_as<T, unsigned char> || !DmNumberStorage<T>)
                                  return setStored(index, DM_INT, &value, silently);
                              else
                              {
                                  if constexpr (std::integral<T>)
                                      if (!std::in_range<T>(value))
                                          return DM_BAD_VALUE;
                                  const T number = static_cast<T>(value);
                                  return setStored(index, dmTypeOf<T>, &number, silently);
                              }
                          });
}

// Listeners

eDmErrorId DmSetAccess::changeHeard(DmPropertySet& set, const DmPropertyDef& def, eDmErrorId (*store)(void*),
                                    void* argument)
{
    Hearers hearers;
    eDmErrorId status = DM_NO_ERROR;
    {
        const DM::CoLockWordGuard guard(set._state);
        if (set.isFrozen())
            return DM_CANNOT_LOCK;
        if (status = hearers.take(set, set._id); status != DM_NO_ERROR)
            return status;
        status = store(argument);
    }
    if (isAnnounced(status))
    {
        CoSharedPtr<DmPropertySet> alive;
        hearers.notifyAll(set, def._type, def._name, alive);
        set._state.set(DmPropertySet::dirtyFlag);
    }
    return status;
}

eDmErrorId DmPropertySet::registerListener(DmPropertyListener* listener)
{
    if (!listener)
        return DM_LISTENER_IS_NULL;
    const DM::CoLockWordGuard guard(_state);
    if (isFrozen())
        return DM_CANNOT_LOCK;
    if (DmSetAccess::Hearers::isRegistered(*this, listener))
        return DM_LISTENER_ALREADY_REGISTERED;
    return dmWithMemory(
        [&]
        {
            if (_listeners)
                _listeners->push_back(listener);
            else
                _listeners = std::make_unique<std::vector<DmPropertyListener*>>(1, listener);
            return DM_NO_ERROR;
        });
}

eDmErrorId DmPropertySet::unregisterListener(DmPropertyListener* listener)
{
    const DM::CoLockWordGuard guard(_state);
    if (!DmSetAccess::Hearers::isRegistered(*this, listener))
        return DM_LISTENER_NOT_FOUND;
    _listeners->erase(std::find(_listeners->begin(), _listeners->end(), listener));
    if (_listeners->empty())
        _listeners.reset();
    return DM_NO_ERROR;
}

void DmPropertySet::notify(const DmNodeId& id, eDmPropType type, const DmString& propertyName)
{
    DmSetAccess::Hearers hearers;
    eDmErrorId status = DM_NO_ERROR;
    {
        const DM::CoLockWordGuard guard(_state);
        status = hearers.take(*this, id);
    }
    CoSharedPtr<DmPropertySet> alive;
    if (status == DM_NO_ERROR)
        hearers.notifyAll(*this, type, propertyName, alive);
}

// State

void DmPropertySet::cleanDirty()
{
    const DM::CoLockWordGuard guard(_state);
    if (!isFrozen())
        _state.clear(dirtyFlag);
}

eDmErrorId DmPropertySet::lockPropertySet(bool lock)
{
    if (lock)
        return _state.tryLock() ? DM_NO_ERROR : DM_CANNOT_LOCK;
    _state.unlock();
    return DM_NO_ERROR;
}

eDmErrorId DmPropertySet::unlockPropertySet()
{
    _state.unlock();
    return DM_CANNOT_UNLOCK;
}

namespace
{

eDmErrorId findByNodeId(DmPropertySet& set, DmNodeId path, int depth, DmPropertySet*& out)
{
    std::uint64_t own = 0;
    std::uint64_t first = 0;
    int index = DmNodeId::self;
    if (const eDmErrorId status = path.pop_front(first, index); status != DM_NO_ERROR)
        return status;
    if (set.getNodeId().back(own) != DM_NO_ERROR || own != first)
        return DM_NOT_ME;
    if (index == DmNodeId::self)
    {
        out = &set;
        return DM_NO_ERROR;
    }
    if (depth >= dmMaxNesting)
        return DM_BAD_VALUE;
    eDmPropType type = DM_NB_TYPES;
    if (const eDmErrorId status = set.getPropertyType(index, type); status != DM_NO_ERROR)
        return status;
    if (type != DM_VECTOR_PROPERTY_SET)
        return DM_BAD_PROPERTY_TYPE;
    for (DmPropertySet* const element : set.elementsOf(index))
        if (element)
            if (const eDmErrorId status = findByNodeId(*element, path, depth + 1, out); status != DM_NOT_ME)
                return status;
    return DM_NOT_ME;
}

} // namespace

eDmErrorId DmPropertySet::getPropertySetFromNodeId(const DmNodeId& id, DmPropertySet*& out)
{
    return dmWithMemory([&] { return findByNodeId(*this, id, 0, out); });
}

/// The sets that a freeze is inside of, so that one that holds itself ends.
struct DmPropertySet::FreezeLevel
{
    const FreezeLevel* above;
    const DmPropertySet* set;
};

void DmPropertySet::freeze(DM::CoLockWord::Flags flags, const FreezeLevel* above)
{
    if (_state.has(flags | frozenThroughoutFlag))
        return;
    for (const FreezeLevel* level = above; level; level = level->above)
        if (level->set == this)
            return;
    {
        const DM::CoLockWordGuard guard(_state);
        _state.set(flags);
    }
    // A constant holds what it holds: from here on it is read without the mutex.
    struct
    {
        FreezeLevel level;
        DM::CoLockWord::Flags flags;
    } below{{above, this}, flags};
    dmForEachHeld(*this,
                  [&below](const DmPropertySetPtr& held)
                  {
                      held->freeze(below.flags, &below.level);
                      return true;
                  });
    if (const DmHeldBeside beside = _data->heldBeside())
        beside(
            *this,
            [](DmPropertySet& held, void* data)
            {
                const auto& from = *static_cast<decltype(below)*>(data);
                held.freeze(from.flags, &from.level);
            },
            &below);
    _state.set(frozenThroughoutFlag);
}
