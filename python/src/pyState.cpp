#include "pyState.h"

#include "pyDraft.h"
#include "pySet.h"
#include "pyValue.h"

#include "dmSetTools.h"
#include "dmUtf8.h"

#include <unordered_map>
#include <vector>

namespace zrpy
{
namespace
{

void check(eDmErrorId status, const DmPropertySet& set, const DmPropertyDef& def)
{
    if (status != DM_NO_ERROR)
        raiseStatus(status, nameOf(set, def));
}

/// Positions of sets in the order in which they are met.
class Numbering
{
public:
    explicit Numbering(DmPropertySet& first) { number(first); }

    py::object operator()(const DmPropertySetPtr& set) { return set ? py::object(py::int_(number(*set))) : py::none(); }
    std::size_t size() const { return _sets.size(); }
    DmPropertySet& at(std::size_t i) const { return *_sets[i]; }

private:
    std::size_t number(DmPropertySet& set)
    {
        const auto [found, isNew] = _numbers.try_emplace(&set, _sets.size());
        if (isNew)
            _sets.push_back(&set);
        return found->second;
    }

    std::unordered_map<const DmPropertySet*, std::size_t> _numbers;
    std::vector<DmPropertySet*> _sets;
};

py::object valueOf(DmPropertySet& set, int index, Numbering& number)
{
    const DmPropertyDef& def = *set.classData().at(index);
    const Slot slot{set, def};
    return dmVisitStorage(def._type,
                          [&]<class T>(std::type_identity<T>) -> py::object
                          {
                              if constexpr (std::same_as<T, DmPropertySetPtr>)
                                  return number(*static_cast<const T*>(set.fieldOf(index)));
                              else if constexpr (std::same_as<T, DmPropertySetMap>)
                              {
                                  py::dict entries;
                                  DmStringArray keys;
                                  check(set.getKeysFromPropertyMap(index, def._type, keys), set, def);
                                  for (const DmString& key : keys)
                                  {
                                      DmPropertySetPtr entry;
                                      check(set.getValueFromPropertyMap(index, def._type, key, &entry), set, def);
                                      entries[fromText(key)] = number(entry);
                                  }
                                  return entries;
                              }
                              else if constexpr (dmIsVector<T>)
                              {
                                  py::list elements;
                                  int size = 0;
                                  check(set.getListSize(index, def._type, size), set, def);
                                  for (int i = 0; i < size; ++i)
                                  {
                                      typename T::value_type value{};
                                      check(set.getValueFromPropertyList(index, def._type, i, &value), set, def);
                                      if constexpr (std::same_as<typename T::value_type, DmPropertySetPtr>)
                                          elements.append(number(value));
                                      else
                                          elements.append(toPython(value, slot));
                                  }
                                  return elements;
                              }
                              else if constexpr (std::is_arithmetic_v<T>)
                                  return py::cast(*static_cast<const T*>(set.fieldOf(index)));
                              else if constexpr (DmAtomicStorage<T>)
                                  return toPython(*static_cast<const T*>(set.fieldOf(index)), slot);
                              else
                                  raiseStatus(DM_TYPE_NOT_IMPLEMENTED, slot.name());
                          });
}

void setFrom(DmPropertySet& set, int index, py::handle value, const std::vector<DmPropertySetPtr>& sets)
{
    const DmPropertyDef& def = *set.classData().at(index);
    const auto at = [&](py::handle position)
    { return position.is_none() ? DmPropertySetPtr() : sets.at(py::cast<std::size_t>(position)); };
    dmVisitStorage(def._type,
                   [&]<class T>(std::type_identity<T>)
                   {
                       if constexpr (std::same_as<T, DmPropertySetPtr>)
                       {
                           const DmPropertySetPtr held = at(value);
                           check(set.setPropertyValue(index, def._type, &held), set, def);
                       }
                       else if constexpr (std::same_as<T, DmPropertySetMap>)
                       {
                           check(set.clearMap(index, def._type), set, def);
                           for (const auto& [key, position] : py::reinterpret_borrow<py::dict>(value))
                           {
                               const DmPropertySetPtr entry = at(position);
                               check(set.setValueFromPropertyMap(index, def._type, toText(key, "a key"), &entry), set,
                                     def);
                           }
                       }
                       else if constexpr (std::same_as<T, DmPropertySetVector>)
                       {
                           check(set.clearList(index, def._type), set, def);
                           for (const py::handle position : value)
                           {
                               const DmPropertySetPtr element = at(position);
                               check(set.addValueInPropertyList(index, def._type, &element), set, def);
                           }
                       }
                       else
                           setValue(set, index, value);
                   });
}

} // namespace

py::list stateOf(DmPropertySet& set)
{
    if (dmForEachHeld(set, [&](const DmPropertySetPtr& held) { return !holds(*held, set); }) == false)
        raiseValue("an object that stands below itself cannot be pickled");
    py::list state;
    Numbering number(set);
    for (std::size_t i = 0; i < number.size(); ++i)
    {
        DmPropertySet& each = number.at(i);
        const DmPropertySetData& data = each.classData();
        py::dict values;
        for (int index = 0; index < data.size(); ++index)
            if (!data.at(index)->_constant && each.isPropertyRelevant(index))
                values[data.at(index)->_utf8Name.c_str()] = valueOf(each, index, number);
        py::list marks;
        for (const DmPropertySetPtr& mark : marksOf(each))
            marks.append(number(mark));
        state.append(py::make_tuple(dmUtf8(each.getPSetName()), values, marks));
    }
    return state;
}

py::object restore(const py::list& state)
{
    std::vector<DmPropertySetPtr> sets;
    for (const py::handle entry : state)
    {
        const auto className = py::cast<std::string>(py::reinterpret_borrow<py::tuple>(entry)[0]);
        DmString name;
        if (!dmFromUtf8(className, name) || !sets.emplace_back(createSet(name)))
            raiseDmError(DM_PROPERTY_NOT_FOUND, "there is no class " + className);
    }
    if (sets.empty())
        raiseValue("an empty state");
    // Plain values first: what an object may hold depends on them.
    for (std::size_t step = 0; step < 2 * sets.size(); ++step)
        for (const auto& [name, value] :
             py::reinterpret_borrow<py::dict>(py::reinterpret_borrow<py::tuple>(state[step % sets.size()])[1]))
        {
            const std::size_t i = step % sets.size();
            const int index = sets[i]->classData().find(toText(name, "a property's name").view());
            if (index < 0)
                raiseDmError(DM_PROPERTY_NOT_FOUND,
                             dmUtf8(sets[i]->getPSetName()) + " has no property " + std::string(py::str(name)));
            if (holdsObjects(sets[i]->classData().at(index)->_type) == (step >= sets.size()))
                setFrom(*sets[i], index, value, sets);
        }
    for (std::size_t i = 0; i < sets.size(); ++i)
    {
        DmPropertySetVector marks;
        for (const py::handle position : py::list(py::reinterpret_borrow<py::tuple>(state[i])[2]))
            marks.push_back(sets.at(py::cast<std::size_t>(position)));
        if (!marks.empty())
            storeMarks(*sets[i], marks);
    }
    return wrap(sets.front());
}

} // namespace zrpy
