/// The vector and map operations of a property set. Each checks property and type. What changes something has made what
/// it stores before it goes through the one door (dmSetAccessImp.h), where it looks for the element or the key, and
/// lets go of what it takes out afterwards. What only reads goes through no door.
#include "dmPropertySet.h"

#include "dmSetAccessImp.h"
#include "dmStepImp.h"

#include <algorithm>

namespace
{

template <class List>
using ElementOf = typename List::value_type;

// Strings change places by swapping: one that holds text must not be move-assigned onto, which would lose its buffer.
// All else moves.

template <class List>
void insertAt(List& list, std::size_t index, ElementOf<List>& value)
{
    const auto place = list.begin() + static_cast<std::ptrdiff_t>(index);
    if constexpr (!std::same_as<ElementOf<List>, DmString>)
        list.insert(place, std::move(value));
    else
    {
        list.push_back(std::move(value));
        std::rotate(list.begin() + static_cast<std::ptrdiff_t>(index), list.end() - 1, list.end());
    }
}

template <class List>
void eraseAt(List& list, std::size_t index, ElementOf<List>& old)
{
    using std::swap;
    const auto place = list.begin() + static_cast<std::ptrdiff_t>(index);
    swap(*place, old);
    if constexpr (!std::same_as<ElementOf<List>, DmString>)
        list.erase(place);
    else
    {
        std::rotate(place, place + 1, list.end());
        list.pop_back();
    }
}

bool isIn(int element, std::size_t size)
{
    return element >= 0 && static_cast<std::size_t>(element) < size;
}

/// Whether the copy of an element may go into a list of `set`; DM_BAD_VALUE for a string that memory was short for.
template <class Element>
eDmErrorId check(const DmPropertySet& set, const DmPropertyDef& def, const Element& copy, const Element& from,
                 bool isAsked)
{
    if constexpr (std::same_as<Element, DmString>)
        return copy.length() == from.length() ? DM_NO_ERROR : DM_BAD_VALUE;
    else if constexpr (std::same_as<Element, DmPropertySetPtr>)
        return DmSetAccess::checkSlot(set, def, copy.get(), isAsked ? DmStore::Announced : DmStore::Fresh);
    else
        return DM_NO_ERROR;
}

eDmErrorId checkEntry(const DmPropertySet& set, DmStore policy, const DmPropertyDef& def, const DmString& key,
                      const DmPropertySetPtr& entry)
{
    if (set.isFrozen())
        return DM_CANNOT_LOCK;
    const eDmErrorId status = DmSetAccess::checkKey(key);
    return status == DM_NO_ERROR ? DmSetAccess::checkSlot(set, def, entry.get(), policy) : status;
}

/// A map of one entry, whose node moves into another without asking for memory.
eDmErrorId makeEntry(const DmPropertySet& set, DmStore policy, const DmPropertyDef& def, const DmString& key,
                     const DmPropertySetPtr& entry, DmPropertySetMap::node_type& node)
{
    if (const eDmErrorId status = checkEntry(set, policy, def, key, entry); status != DM_NO_ERROR)
        return status;
    return dmWithMemory(
        [&]
        {
            DmPropertySetMap made;
            made.emplace(key, entry);
            node = made.extract(made.begin());
            return DM_NO_ERROR;
        });
}

} // namespace

// Lists

/// Calls `visitor(def, index, list)` with the vector of a list property, to be read: it may be one that objects share.
template <class Visitor>
eDmErrorId DmPropertySet::atList(DmPropertyRef property, eDmPropType type, Visitor&& visitor) const
{
    const DmPropertyDef* def = nullptr;
    int index = -1;
    if (const eDmErrorId status = find(property, type, def, index); status != DM_NO_ERROR)
        return status;
    void* const field = const_cast<void*>(fieldOf(index, *def));
    return dmVisitStorage(type,
                          [&]<class T>(std::type_identity<T>) -> eDmErrorId
                          {
                              if constexpr (dmIsVector<T>)
                                  return visitor(*def, index, *static_cast<T*>(field));
                              else
                                  return DM_TYPE_NOT_IMPLEMENTED;
                          });
}

namespace
{

constexpr int atEnd = -1;

template <class List>
eDmErrorId insert(DmPropertySet& set, int index, const DmPropertyDef& def, int element, const ElementOf<List>& value,
                  bool isAsked = true)
{
    if (set.isFrozen())
        return DM_CANNOT_LOCK;
    ElementOf<List> copy(value);
    if (const eDmErrorId status = check(set, def, copy, value, isAsked); status != DM_NO_ERROR)
        return status;
    return DmSetAccess::change(set, DmStore::Announced, def,
                               [&]() -> eDmErrorId
                               {
                                   auto& list = DmSetAccess::field<List>(set, index, def);
                                   if (element == atEnd)
                                       list.push_back(std::move(copy));
                                   else if (static_cast<std::size_t>(element) <= list.size())
                                       insertAt(list, static_cast<std::size_t>(element), copy);
                                   else
                                       return DM_BAD_INDEX;
                                   return DM_NO_ERROR;
                               });
}

/// In place of what the list holds.
template <class List>
eDmErrorId replaceList(DmPropertySet& set, int index, const DmPropertyDef& def, const List& from)
{
    if (set.isFrozen())
        return DM_CANNOT_LOCK;
    List copy;
    const eDmErrorId status = dmWithMemory(
        [&]
        {
            copy = from;
            return DM_NO_ERROR;
        });
    if (status != DM_NO_ERROR)
        return status;
    for (std::size_t i = 0; i < copy.size(); ++i)
        if (const eDmErrorId element = check(set, def, copy[i], from[i], true); element != DM_NO_ERROR)
            return element;
    return DmSetAccess::swapValue(set, DmStore::Announced, index, def, copy);
}

} // namespace

eDmErrorId DmPropertySet::addValueInPropertyList(DmPropertyRef property, eDmPropType type, const void* value)
{
    return atList(property, type,
                  [&]<class List>(const DmPropertyDef& def, int index, List&)
                  { return insert<List>(*this, index, def, atEnd, *static_cast<const ElementOf<List>*>(value)); });
}

eDmErrorId DmPropertySet::insertValueInPropertyList(DmPropertyRef property, eDmPropType type, int element,
                                                    const void* value)
{
    return atList(property, type,
                  [&]<class List>(const DmPropertyDef& def, int index, List&) -> eDmErrorId
                  {
                      if (element < 0)
                          return isFrozen() ? DM_CANNOT_LOCK : DM_BAD_INDEX;
                      return insert<List>(*this, index, def, element, *static_cast<const ElementOf<List>*>(value));
                  });
}

eDmErrorId DmPropertySet::insertUnasked(int list, int element, const DmPropertySetPtr& value)
{
    if (element < 0)
        return DM_BAD_INDEX;
    return atList(list, DM_VECTOR_PROPERTY_SET,
                  [&]<class List>(const DmPropertyDef& def, int index, List&) -> eDmErrorId
                  {
                      if constexpr (std::same_as<List, DmPropertySetVector>)
                          return insert<List>(*this, index, def, element, value, false);
                      else
                          return DM_TYPE_NOT_IMPLEMENTED;
                  });
}

eDmErrorId DmPropertySet::spliceUnasked(int list, int first, int count, std::span<const DmPropertySetPtr> elements)
{
    DmPropertySetVector copies;
    const auto copy = [&]
    {
        copies.assign(elements.begin(), elements.end());
        return DM_NO_ERROR;
    };
    const eDmErrorId copied = dmWithMemory(copy);
    DmStep step;
    step.splice(*this, list, first, count, std::move(copies));
    return copied == DM_NO_ERROR ? step.take() : copied;
}

eDmErrorId DmPropertySet::getListSize(DmPropertyRef property, eDmPropType type, int& size) const
{
    return atList(property, type,
                  [&]<class List>(const DmPropertyDef&, int index, List& list)
                  {
                      if constexpr (std::same_as<List, DmPropertySetVector>)
                          size = elementsOf(index).count();
                      else
                          size = static_cast<int>(list.size());
                      return DM_NO_ERROR;
                  });
}

eDmErrorId DmPropertySet::clearList(DmPropertyRef property, eDmPropType type)
{
    return atList(property, type,
                  [&]<class List>(const DmPropertyDef& def, int index, List&)
                  {
                      List old;
                      return DmSetAccess::swapValue(*this, DmStore::Announced, index, def, old);
                  });
}

eDmErrorId DmPropertySet::removeValueFromPropertyList(DmPropertyRef property, eDmPropType type, int element)
{
    return atList(property, type,
                  [&]<class List>(const DmPropertyDef& def, int index, List&)
                  {
                      ElementOf<List> old{};
                      return DmSetAccess::change(*this, DmStore::Announced, def,
                                                 [&]() -> eDmErrorId
                                                 {
                                                     auto& list = DmSetAccess::field<List>(*this, index, def);
                                                     if (!isIn(element, list.size()))
                                                         return DM_BAD_INDEX;
                                                     eraseAt(list, static_cast<std::size_t>(element), old);
                                                     return DM_NO_ERROR;
                                                 });
                  });
}

eDmErrorId DmPropertySet::getValueFromPropertyList(DmPropertyRef property, eDmPropType type, int element,
                                                   void* value) const
{
    return atList(property, type,
                  [&]<class List>(const DmPropertyDef&, int index, const List& list) -> eDmErrorId
                  {
                      auto& out = *static_cast<ElementOf<List>*>(value);
                      if constexpr (std::same_as<List, DmPropertySetVector>)
                      {
                          const DmListWindow<DmPropertySet> window = elementsOf(index);
                          if (!isIn(element, window.size()))
                              return DM_BAD_INDEX;
                          out.reset(window.at(element));
                      }
                      else if (!isIn(element, list.size()))
                          return DM_BAD_INDEX;
                      else
                      {
                          using std::swap;
                          const ElementOf<List>& stored = list[static_cast<std::size_t>(element)];
                          ElementOf<List> copy(stored);
                          if constexpr (std::same_as<List, std::vector<DmString>>)
                              if (copy.length() != stored.length())
                                  return DM_BAD_VALUE;
                          swap(out, copy);
                      }
                      return DM_NO_ERROR;
                  });
}

eDmErrorId DmPropertySet::setValueFromPropertyList(DmPropertyRef property, eDmPropType type, int element,
                                                   const void* value)
{
    return atList(property, type,
                  [&]<class List>(const DmPropertyDef& def, int index, List&) -> eDmErrorId
                  {
                      if (isFrozen())
                          return DM_CANNOT_LOCK;
                      const auto& from = *static_cast<const ElementOf<List>*>(value);
                      ElementOf<List> copy(from);
                      if (const eDmErrorId status = check(*this, def, copy, from, true); status != DM_NO_ERROR)
                          return status;
                      return DmSetAccess::replace(*this, DmStore::Announced, index, def, element, copy);
                  });
}

eDmErrorId DmPropertySet::setPropertyList(DmPropertyRef property, eDmPropType type, const void* list)
{
    return atList(property, type,
                  [&]<class List>(const DmPropertyDef& def, int index, List&)
                  { return replaceList(*this, index, def, *static_cast<const List*>(list)); });
}

DmListWindow<DmPropertySet> DmPropertySet::elementsOf(int index) const
{
    const DmPropertyDef* const def = _data->at(index);
    if (!def || def->_type != DM_VECTOR_PROPERTY_SET)
        return {};
    if (keepsElsewhere(*def))
        if (const DmListForm* const form = def->_form(*this))
            return DmListWindow<DmPropertySet>(*form);
    return {*static_cast<const DmPropertySetVector*>(fieldOf(index, *def))};
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
    return setPropertyList(list, DM_VECTOR_STRING, &strings);
}

// Maps

eDmErrorId DmPropertySet::findMap(DmPropertyRef property, eDmPropType type, const DmPropertyDef*& def, int& index) const
{
    const eDmErrorId status = find(property, type, def, index);
    return status == DM_NO_ERROR && type != DM_MAP_PROPERTY_SET ? DM_TYPE_NOT_IMPLEMENTED : status;
}

eDmErrorId DmPropertySet::addValueInPropertyMap(DmPropertyRef property, eDmPropType type, const DmString& key,
                                                const void* value)
{
    const DmPropertyDef* def = nullptr;
    int index = -1;
    if (const eDmErrorId status = findMap(property, type, def, index); status != DM_NO_ERROR)
        return status;
    DmPropertySetMap::node_type node;
    if (const eDmErrorId status =
            makeEntry(*this, DmStore::Announced, *def, key, *static_cast<const DmPropertySetPtr*>(value), node);
        status != DM_NO_ERROR)
        return status;
    return DmSetAccess::change(*this, DmStore::Announced, *def,
                               [&]() -> eDmErrorId
                               {
                                   auto& map = DmSetAccess::field<DmPropertySetMap>(*this, index, *def);
                                   auto inserted = map.insert(std::move(node));
                                   node = std::move(inserted.node);
                                   return inserted.inserted ? DM_NO_ERROR : DM_PROPERTY_ALREADY_EXIST;
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
    const DmPropertyDef* def = nullptr;
    int index = -1;
    if (const eDmErrorId status = findMap(property, type, def, index); status != DM_NO_ERROR)
        return status;
    DmPropertySetMap old;
    return DmSetAccess::swapValue(*this, DmStore::Announced, index, *def, old);
}

eDmErrorId DmPropertySet::removeValueFromPropertyMap(DmPropertyRef property, eDmPropType type, const DmString& key)
{
    const DmPropertyDef* def = nullptr;
    int index = -1;
    if (const eDmErrorId status = findMap(property, type, def, index); status != DM_NO_ERROR)
        return status;
    DmPropertySetMap::node_type old;
    return DmSetAccess::change(*this, DmStore::Announced, *def,
                               [&]() -> eDmErrorId
                               {
                                   old = DmSetAccess::field<DmPropertySetMap>(*this, index, *def).extract(key);
                                   return old ? DM_NO_ERROR : DM_BAD_INDEX;
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

eDmErrorId DmSetAccess::put(DmPropertySet& set, DmStore policy, int index, const DmPropertyDef& def,
                            const DmString& key, DmPropertySetPtr& entry)
{
    if (policy != DmStore::Fresh) // most keys that an edit names are there: nothing has to be made for them
    {
        eDmErrorId status = checkEntry(set, policy, def, key, entry);
        if (status == DM_NO_ERROR)
            status = change(set, policy, def,
                            [&]
                            {
                                auto& map = field<DmPropertySetMap>(set, index, def);
                                const auto found = map.find(key);
                                if (found == map.end())
                                    return DM_BAD_INDEX;
                                found->second.swap(entry);
                                return DM_NO_ERROR;
                            });
        if (status != DM_BAD_INDEX)
            return status;
    }
    DmPropertySetMap::node_type node;
    if (const eDmErrorId status = makeEntry(set, policy, def, key, entry, node); status != DM_NO_ERROR)
        return status;
    return change(set, policy, def,
                  [&]
                  {
                      // A document's entries come in order.
                      auto& map = field<DmPropertySetMap>(set, index, def);
                      const auto place = map.insert(map.end(), std::move(node));
                      if (node)
                      {
                          place->second.swap(entry);
                          return DM_NO_ERROR;
                      }
                      entry.reset();
                      return DM_NO_ERROR;
                  });
}

eDmErrorId DmSetAccess::putAll(DmPropertySet& set, DmStore policy, int index, const DmPropertyDef& def,
                               DmPropertySetMap& entries)
{
    for (const auto& [key, entry] : entries)
        if (const eDmErrorId status = checkKey(key); status != DM_NO_ERROR)
            return status;
    return change(set, policy, def,
                  [&]
                  {
                      if (entries.empty())
                          return DM_NO_ERROR;
                      auto& map = field<DmPropertySetMap>(set, index, def);
                      if (map.empty())
                          map.swap(entries);
                      map.merge(entries); // leaves those whose keys were there
                      for (auto& [key, entry] : entries)
                          map.find(key)->second.swap(entry);
                      return DM_NO_ERROR;
                  });
}

eDmErrorId DmPropertySet::setValueFromPropertyMap(DmPropertyRef property, eDmPropType type, const DmString& key,
                                                  const void* value)
{
    const DmPropertyDef* def = nullptr;
    int index = -1;
    if (const eDmErrorId status = findMap(property, type, def, index); status != DM_NO_ERROR)
        return status;
    DmPropertySetPtr entry(*static_cast<const DmPropertySetPtr*>(value));
    return DmSetAccess::put(*this, DmStore::Announced, index, *def, key, entry);
}

eDmErrorId DmPropertySet::putSilently(int map, const DmString& key, const DmPropertySetPtr& entry)
{
    const DmPropertyDef* const def = _data->at(map);
    if (!def)
        return DM_PROPERTY_NOT_FOUND;
    if (def->_type != DM_MAP_PROPERTY_SET)
        return DM_BAD_PROPERTY_TYPE;
    DmPropertySetPtr stored(entry);
    return DmSetAccess::put(*this, DmStore::Silent, map, *def, key, stored);
}

eDmErrorId DmPropertySet::putIfAbsentSilently(int map, const DmString& key, DmPropertySetPtr& entry)
{
    const DmPropertyDef* const def = _data->at(map);
    if (!def)
        return DM_PROPERTY_NOT_FOUND;
    if (def->_type != DM_MAP_PROPERTY_SET)
        return DM_BAD_PROPERTY_TYPE;
    DmPropertySetMap::node_type node;
    if (const eDmErrorId status = makeEntry(*this, DmStore::Silent, *def, key, entry, node); status != DM_NO_ERROR)
        return status;
    return DmSetAccess::change(*this, DmStore::Silent, *def,
                               [&]
                               {
                                   auto& entries = DmSetAccess::field<DmPropertySetMap>(*this, map, *def);
                                   const auto inserted = entries.insert(std::move(node));
                                   if (inserted.position->second)
                                       entry = inserted.position->second;
                                   else
                                       inserted.position->second = entry;
                                   return DM_NO_ERROR;
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
    DmStringArray copy;
    const eDmErrorId status = dmWithMemory(
        [&]
        {
            copy.resize(static_cast<unsigned>(map.size()));
            unsigned i = 0;
            for (const auto& entry : map)
                copy[i++] = entry.first;
            return DM_NO_ERROR;
        });
    if (status == DM_NO_ERROR)
        keys = std::move(copy);
    return status;
}
