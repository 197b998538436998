/// The vector and map operations of a property set: each checks, then locks, stores, notifies and sets dirty, the last
/// three after success only.
#include "dmPropertySet.h"

#include <algorithm>

namespace
{

template <class List>
using ElementOf = typename List::value_type;

/// Swapping moves an element without ever move-assigning onto a string that holds text, which would lose its buffer.
template <class List>
void insertAt(List& list, std::size_t index, ElementOf<List>&& value)
{
    list.push_back(std::move(value));
    std::rotate(list.begin() + static_cast<std::ptrdiff_t>(index), list.end() - 1, list.end());
}

template <class List>
void eraseAt(List& list, std::size_t index)
{
    const auto place = list.begin() + static_cast<std::ptrdiff_t>(index);
    std::rotate(place, place + 1, list.end());
    list.pop_back();
}

template <class T>
bool copied(const T& /*copy*/, const void* /*value*/)
{
    return true;
}

/// A string that could not be copied for lack of memory is empty.
bool copied(const DmString& copy, const void* value)
{
    return copy.length() == static_cast<const DmString*>(value)->length();
}

eDmErrorId checkKey(const DmString& key)
{
    if (key.empty())
        return DM_EMPTY_ID;
    return key.view().find(L'\0') == std::wstring_view::npos ? DM_NO_ERROR : DM_BAD_VALUE;
}

} // namespace

template <class Visitor>
eDmErrorId DmPropertySet::readList(DmPropertyRef property, eDmPropType type, Visitor&& visitor) const
{
    const DmPropertyDef* def = nullptr;
    int index = -1;
    if (const eDmErrorId status = find(property, type, def, index); status != DM_NO_ERROR)
        return status;
    void* const field = fieldOf(index, *def);
    return dmVisitStorage(type,
                          [&]<class T>(std::type_identity<T>) -> eDmErrorId
                          {
                              if constexpr (dmIsVector<T>)
                                  return visitor(*def, *static_cast<T*>(field));
                              else
                                  return DM_TYPE_NOT_IMPLEMENTED;
                          });
}

/// `visitor(list, change)` checks and then calls `change(store)` with what is to happen under the mutex.
template <class Visitor>
eDmErrorId DmPropertySet::changeList(DmPropertyRef property, eDmPropType type, Visitor&& visitor)
{
    return readList(property, type,
                    [&](const DmPropertyDef& def, auto& list) -> eDmErrorId
                    {
                        if (isFrozen())
                            return DM_CANNOT_LOCK;
                        return visitor(list, def,
                                       [&](auto&& storeIt)
                                       {
                                           {
                                               const DM::CoMutexGuard guard(_lock);
                                               storeIt();
                                           }
                                           changed(def);
                                           return DM_NO_ERROR;
                                       });
                    });
}

eDmErrorId DmPropertySet::addValueInPropertyList(DmPropertyRef property, eDmPropType type, const void* value)
{
    int size = 0;
    if (const eDmErrorId status = getListSize(property, type, size); status != DM_NO_ERROR)
        return status;
    return insertValueInPropertyList(property, type, size, value);
}

eDmErrorId DmPropertySet::insertValueInPropertyList(DmPropertyRef property, eDmPropType type, int element,
                                                    const void* value)
{
    return changeList(property, type,
                      [&](auto& list, const DmPropertyDef& def, auto change) -> eDmErrorId
                      {
                          using Element = ElementOf<std::remove_reference_t<decltype(list)>>;
                          if (element < 0 || static_cast<std::size_t>(element) > list.size())
                              return DM_BAD_INDEX;
                          Element copy(*static_cast<const Element*>(value));
                          if (!copied(copy, value))
                              return DM_BAD_VALUE;
                          if constexpr (std::same_as<Element, DmPropertySetPtr>)
                              if (const eDmErrorId status = checkSlot(def, copy.get()); status != DM_NO_ERROR)
                                  return status;
                          return change([&] { insertAt(list, static_cast<std::size_t>(element), std::move(copy)); });
                      });
}

eDmErrorId DmPropertySet::getListSize(DmPropertyRef property, eDmPropType type, int& size) const
{
    return readList(property, type,
                    [&](const DmPropertyDef&, const auto& list)
                    {
                        size = static_cast<int>(list.size());
                        return DM_NO_ERROR;
                    });
}

eDmErrorId DmPropertySet::clearList(DmPropertyRef property, eDmPropType type)
{
    return changeList(property, type,
                      [&](auto& list, const DmPropertyDef&, auto change)
                      {
                          std::remove_reference_t<decltype(list)> old; // released after the mutex
                          return change([&] { list.swap(old); });
                      });
}

eDmErrorId DmPropertySet::removeValueFromPropertyList(DmPropertyRef property, eDmPropType type, int element)
{
    return changeList(property, type,
                      [&](auto& list, const DmPropertyDef&, auto change) -> eDmErrorId
                      {
                          if (static_cast<std::size_t>(element) >= list.size())
                              return DM_BAD_INDEX;
                          return change([&] { eraseAt(list, static_cast<std::size_t>(element)); });
                      });
}

eDmErrorId DmPropertySet::getValueFromPropertyList(DmPropertyRef property, eDmPropType type, int element,
                                                   void* value) const
{
    return readList(property, type,
                    [&](const DmPropertyDef&, const auto& list) -> eDmErrorId
                    {
                        if (static_cast<std::size_t>(element) >= list.size())
                            return DM_BAD_INDEX;
                        *static_cast<ElementOf<std::remove_cvref_t<decltype(list)>>*>(value) =
                            list[static_cast<std::size_t>(element)];
                        return DM_NO_ERROR;
                    });
}

eDmErrorId DmPropertySet::setValueFromPropertyList(DmPropertyRef property, eDmPropType type, int element,
                                                   const void* value)
{
    return changeList(property, type,
                      [&](auto& list, const DmPropertyDef& def, auto change) -> eDmErrorId
                      {
                          using std::swap;
                          using Element = ElementOf<std::remove_reference_t<decltype(list)>>;
                          if (static_cast<std::size_t>(element) >= list.size())
                              return DM_BAD_INDEX;
                          Element copy(*static_cast<const Element*>(value));
                          if (!copied(copy, value))
                              return DM_BAD_VALUE;
                          if constexpr (std::same_as<Element, DmPropertySetPtr>)
                              if (const eDmErrorId status = checkSlot(def, copy.get()); status != DM_NO_ERROR)
                                  return status;
                          return change([&] { swap(list[static_cast<std::size_t>(element)], copy); });
                      });
}

// Lists, typed

eDmErrorId DmPropertySet::addTo(int list, const DmPropertySetPtr& element)
{
    return element ? addValueInPropertyList(list, DM_VECTOR_PROPERTY_SET, &element) : DM_BAD_VALUE;
}

eDmErrorId DmPropertySet::addTo(int list, const DmString& element)
{
    return addValueInPropertyList(list, DM_VECTOR_STRING, &element);
}

eDmErrorId DmPropertySet::removeFrom(int list, int element)
{
    const DmPropertyDef* const def = _data->at(list);
    return def ? removeValueFromPropertyList(list, def->_type, element) : DM_PROPERTY_NOT_FOUND;
}

eDmErrorId DmPropertySet::setStrings(int list, const std::vector<DmString>& strings)
{
    // They may be the list's own.
    const std::vector<DmString> copy(strings); // NOLINT(performance-unnecessary-copy-initialization)
    eDmErrorId status = clearList(list, DM_VECTOR_STRING);
    for (auto text = copy.begin(); text != copy.end() && status == DM_NO_ERROR; ++text)
        status = addTo(list, *text);
    return status;
}

// Maps

eDmErrorId DmPropertySet::findMap(DmPropertyRef property, eDmPropType type, const DmPropertyDef*& def, int& index) const
{
    const eDmErrorId status = find(property, type, def, index);
    return status == DM_NO_ERROR && type != DM_MAP_PROPERTY_SET ? DM_TYPE_NOT_IMPLEMENTED : status;
}

template <class Visitor>
eDmErrorId DmPropertySet::changeMap(DmPropertyRef property, eDmPropType type, Visitor&& visitor)
{
    const DmPropertyDef* def = nullptr;
    int index = -1;
    if (const eDmErrorId status = findMap(property, type, def, index); status != DM_NO_ERROR)
        return status;
    if (isFrozen())
        return DM_CANNOT_LOCK;
    return visitor(*static_cast<DmPropertySetMap*>(fieldOf(index, *def)), *def,
                   [&](auto&& storeIt)
                   {
                       {
                           const DM::CoMutexGuard guard(_lock);
                           storeIt();
                       }
                       changed(*def);
                       return DM_NO_ERROR;
                   });
}

eDmErrorId DmPropertySet::addValueInPropertyMap(DmPropertyRef property, eDmPropType type, const DmString& key,
                                                const void* value)
{
    return changeMap(property, type,
                     [&](DmPropertySetMap& map, const DmPropertyDef& def, auto change) -> eDmErrorId
                     {
                         const auto& entry = *static_cast<const DmPropertySetPtr*>(value);
                         if (const eDmErrorId status = checkKey(key); status != DM_NO_ERROR)
                             return status;
                         if (const eDmErrorId status = checkSlot(def, entry.get()); status != DM_NO_ERROR)
                             return status;
                         if (map.contains(key))
                             return DM_PROPERTY_ALREADY_EXIST;
                         return change([&] { map.emplace(key, entry); });
                     });
}

eDmErrorId DmPropertySet::getMapSize(DmPropertyRef property, eDmPropType type, int& size) const
{
    const DmPropertyDef* def = nullptr;
    int index = -1;
    if (const eDmErrorId status = findMap(property, type, def, index); status != DM_NO_ERROR)
        return status;
    size = static_cast<int>(static_cast<const DmPropertySetMap*>(fieldOf(index, *def))->size());
    return DM_NO_ERROR;
}

eDmErrorId DmPropertySet::clearMap(DmPropertyRef property, eDmPropType type)
{
    return changeMap(property, type,
                     [&](DmPropertySetMap& map, const DmPropertyDef&, auto change)
                     {
                         DmPropertySetMap old; // released after the mutex
                         return change([&] { map.swap(old); });
                     });
}

eDmErrorId DmPropertySet::removeValueFromPropertyMap(DmPropertyRef property, eDmPropType type, const DmString& key)
{
    return changeMap(property, type,
                     [&](DmPropertySetMap& map, const DmPropertyDef&, auto change) -> eDmErrorId
                     {
                         const auto found = map.find(key);
                         if (found == map.end())
                             return DM_BAD_INDEX;
                         DmPropertySetMap::node_type old; // released after the mutex
                         return change([&] { old = map.extract(found); });
                     });
}

eDmErrorId DmPropertySet::getValueFromPropertyMap(DmPropertyRef property, eDmPropType type, const DmString& key,
                                                  void* value) const
{
    const DmPropertyDef* def = nullptr;
    int index = -1;
    if (const eDmErrorId status = findMap(property, type, def, index); status != DM_NO_ERROR)
        return status;
    const auto& map = *static_cast<const DmPropertySetMap*>(fieldOf(index, *def));
    const auto found = map.find(key);
    *static_cast<DmPropertySetPtr*>(value) = found == map.end() ? DmPropertySetPtr() : found->second;
    return DM_NO_ERROR;
}

eDmErrorId DmPropertySet::setValueFromPropertyMap(DmPropertyRef property, eDmPropType type, const DmString& key,
                                                  const void* value)
{
    return changeMap(property, type,
                     [&](DmPropertySetMap& map, const DmPropertyDef& def, auto change) -> eDmErrorId
                     {
                         DmPropertySetPtr entry(*static_cast<const DmPropertySetPtr*>(value));
                         if (const eDmErrorId status = checkKey(key); status != DM_NO_ERROR)
                             return status;
                         if (const eDmErrorId status = checkSlot(def, entry.get()); status != DM_NO_ERROR)
                             return status;
                         return change([&] { map.try_emplace(key).first->second.swap(entry); });
                     });
}

eDmErrorId DmPropertySet::getKeysFromPropertyMap(int index, eDmPropType type, DmStringArray& keys) const
{
    const DmPropertyDef* def = nullptr;
    int found = -1;
    if (const eDmErrorId status = findMap(index, type, def, found); status != DM_NO_ERROR)
        return status;
    const auto& map = *static_cast<const DmPropertySetMap*>(fieldOf(found, *def));
    if (map.empty())
        return DM_NO_ERROR;
    keys.resize(static_cast<unsigned>(map.size()));
    unsigned i = 0;
    for (const auto& entry : map)
        keys[i++] = entry.first;
    return DM_NO_ERROR;
}
