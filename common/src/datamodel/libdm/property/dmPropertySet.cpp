#include "dmPropertySet.h"

#include "dmNesting.h"
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
    , _dirty(other.isDirty())
    , _data(other._data)
    , _id(other._id)
{
}

DmPropertySet::~DmPropertySet() = default;

eDmErrorId DmPropertySet::createAttributes()
{
    return DM_NO_ERROR;
}

const void* DmPropertySet::getBase(int /*index*/) const
{
    return this;
}

// Declaration

eDmErrorId DmPropertySet::addProperty(const DmString& name, eDmPropType type, void* fieldAddress, int index,
                                      bool skipIfDefault, const void* defaultValue, DmSerializer serializer,
                                      DmUnserializer unserializer)
{
    if (name == DmVersion::getKey())
    {
        ZR_POST_ERROR("%s is a reserved name\n", dmUtf8(DmVersion::getKey()).c_str());
        ZR_ASSERT_SOFT(!"Reserved property name");
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
    def->_offset = static_cast<const char*>(fieldAddress) - static_cast<const char*>(getBase(index));
    def->_skipIfDefault = skipIfDefault;
    def->_default = defaultValue;
    def->_serializer = serializer;
    def->_unserializer = unserializer;
    def->_utf8Name = dmUtf8(name);
    if (_data->_className.empty())
        nameClass(); // of a class that only a function of its own makes
    _data->_indices.add(def->_name.view(), index);
    _data->_defs.push_back(std::move(def));
    return DM_NO_ERROR;
}

DmPropertyDef* DmPropertySet::lastAdded(int expectedIndex)
{
    return expectedIndex >= 0 && _data->size() == expectedIndex + 1 ? _data->_defs.back().get() : nullptr;
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
    name = def->_name;
    return DM_NO_ERROR;
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
    def = *found;
    return DM_NO_ERROR;
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
        return !static_cast<const DmPropertySetVector*>(fieldOf(index))->empty();
    return !DmPropertySet_Atomic_Utils::compareAtomicManip(*this, index, def->_default);
}

const void* DmPropertySet::fieldOf(int index) const
{
    const DmPropertyDef* const def = _data->at(index);
    return def ? fieldOf(index, *def) : nullptr;
}

void* DmPropertySet::fieldOf(int index, const DmPropertyDef& def) const
{
    return const_cast<char*>(static_cast<const char*>(getBase(index))) + def._offset;
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

eDmErrorId DmPropertySet::setPropertyValue(DmPropertyRef property, eDmPropType type, const void* in)
{
    const int index = property.indexIn(*_data);
    const DmPropertyDef* const def = _data->at(index);
    if (!def)
        return DM_PROPERTY_NOT_FOUND;
    return def->_type == type ? store(*def, index, in) : DM_BAD_PROPERTY_TYPE;
}

eDmErrorId DmPropertySet::setPropertyValue(const DmString& name, const void* in)
{
    const int index = _data->find(name.view());
    const DmPropertyDef* const def = _data->at(index);
    return def ? store(*def, index, in) : DM_PROPERTY_NOT_FOUND;
}

/// From a typed setter, which knows how a value is stored but not whether it is an Int or an Enum, a String or CDATA.
eDmErrorId DmPropertySet::setStored(int index, eDmPropType storedAs, const void* in)
{
    const DmPropertyDef* const def = _data->at(index);
    if (!def)
        return DM_PROPERTY_NOT_FOUND;
    const auto plain = [](eDmPropType type) { return type == DM_ENUM ? DM_INT : type == DM_CDATA ? DM_STRING : type; };
    return plain(def->_type) == plain(storedAs) ? store(*def, index, in) : DM_BAD_PROPERTY_TYPE;
}

eDmErrorId DmPropertySet::setWhole(int index, int value)
{
    const DmPropertyDef* const def = _data->at(index);
    const eDmPropType type = def ? def->_type : DM_NB_TYPES;
    return dmVisitStorage(type,
                          [&]<class T>(std::type_identity<T>) -> eDmErrorId
                          {
                              if constexpr (std::same_as<T, bool> || std::same_as<T, signed char> ||
                                            std::same_as<T, unsigned char> || !DmNumberStorage<T>)
                                  return setStored(index, DM_INT, &value);
                              else
                              {
                                  if constexpr (std::integral<T>)
                                      if (!std::in_range<T>(value))
                                          return DM_BAD_VALUE;
                                  const T number = static_cast<T>(value);
                                  return setStored(index, dmTypeOf<T>, &number);
                              }
                          });
}

eDmErrorId DmPropertySet::checkSlot(const DmPropertyDef& def, const DmPropertySet* set) const
{
    return !set || !def._held || def._held->accepts(*set) ? DM_NO_ERROR : DM_BAD_PROPERTY_TYPE;
}

eDmErrorId DmPropertySet::store(const DmPropertyDef& def, int index, const void* in)
{
    if (isFrozen())
        return DM_CANNOT_LOCK;
    void* const field = fieldOf(index, def);
    const eDmErrorId status =
        dmVisitStorage(def._type,
                       [&]<class T>(std::type_identity<T>) -> eDmErrorId
                       {
                           if constexpr (DmNumberStorage<T>)
                           {
                               if (def._constant && std::memcmp(field, in, sizeof(T)) != 0)
                                   return DM_BAD_VALUE;
                               const DM::CoMutexGuard guard(_lock);
                               std::memcpy(field, in, sizeof(T));
                           }
                           else if constexpr (DmAtomicStorage<T>)
                           {
                               T value(*static_cast<const T*>(in)); // the old value is released after the mutex
                               if constexpr (std::same_as<T, DmString>)
                               {
                                   if (value.length() != static_cast<const T*>(in)->length())
                                       return DM_BAD_VALUE; // no memory for the copy: the property keeps what it holds
                               }
                               else if (const eDmErrorId slot = checkSlot(def, value.get()); slot != DM_NO_ERROR)
                                   return slot;
                               const DM::CoMutexGuard guard(_lock);
                               static_cast<T*>(field)->swap(value);
                           }
                           else
                           {
                               ZR_ASSERT_SOFT(!"Type not implemented!");
                               return DM_TYPE_NOT_IMPLEMENTED;
                           }
                           return DM_NO_ERROR;
                       });
    // A type that cannot be set here is announced as a change all the same; a value that is refused is not.
    if (status == DM_NO_ERROR || status == DM_TYPE_NOT_IMPLEMENTED)
        changed(def);
    return status;
}

// Listeners

/// A listener may drop the last reference to this object; one that nobody counts yet must not be deleted by that.
CoSharedPtr<DmPropertySet> DmPropertySet::heldByUs()
{
    return CoSharedPtr<DmPropertySet>(refCount() > 0 ? this : nullptr);
}

void DmPropertySet::changed(const DmPropertyDef& def)
{
    if (!_listeners)
    {
        _dirty.store(true, std::memory_order_relaxed);
        return;
    }
    const CoSharedPtr<DmPropertySet> alive = heldByUs();
    notify(_id, def._type, def._name);
    _dirty.store(true, std::memory_order_relaxed);
}

eDmErrorId DmPropertySet::registerListener(DmPropertyListener* listener)
{
    if (!listener)
        return DM_LISTENER_IS_NULL;
    if (!_listeners)
        _listeners = std::make_unique<std::vector<DmPropertyListener*>>();
    else if (std::find(_listeners->begin(), _listeners->end(), listener) != _listeners->end())
        return DM_LISTENER_ALREADY_REGISTERED;
    _listeners->push_back(listener);
    return DM_NO_ERROR;
}

eDmErrorId DmPropertySet::unregisterListener(DmPropertyListener* listener)
{
    if (!_listeners)
        return DM_LISTENER_NOT_FOUND;
    const auto found = std::find(_listeners->begin(), _listeners->end(), listener);
    if (found == _listeners->end())
        return DM_LISTENER_NOT_FOUND;
    _listeners->erase(found);
    if (_listeners->empty())
        _listeners.reset();
    return DM_NO_ERROR;
}

void DmPropertySet::notify(const DmNodeId& id, eDmPropType type, const DmString& propertyName)
{
    if (!_listeners)
        return;
    const CoSharedPtr<DmPropertySet> alive = heldByUs();
    const std::vector<DmPropertyListener*> snapshot = *_listeners;
    for (DmPropertyListener* const listener : snapshot)
        if (_listeners && std::find(_listeners->begin(), _listeners->end(), listener) != _listeners->end())
            listener->onPropertyChanged(DmNodeId(id), type, propertyName);
}

// State

eDmErrorId DmPropertySet::lockPropertySet(bool lock)
{
    if (lock)
        return _lock.tryLock() ? DM_NO_ERROR : DM_CANNOT_LOCK;
    _lock.unlock();
    return DM_NO_ERROR;
}

eDmErrorId DmPropertySet::unlockPropertySet()
{
    _lock.unlock();
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
    for (const DmPropertySetPtr& element : *static_cast<const DmPropertySetVector*>(set.fieldOf(index)))
        if (element)
            if (const eDmErrorId status = findByNodeId(*element, path, depth + 1, out); status != DM_NOT_ME)
                return status;
    return DM_NOT_ME;
}

} // namespace

eDmErrorId DmPropertySet::getPropertySetFromNodeId(const DmNodeId& id, DmPropertySet*& out)
{
    return findByNodeId(*this, id, 0, out);
}

void DmPropertySet::freeze()
{
    if (_frozen.exchange(true))
        return;
    dmForEachHeld(*this,
                  [](const DmPropertySetPtr& held)
                  {
                      held->freeze();
                      return true;
                  });
}
