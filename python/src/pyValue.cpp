#include "pyValue.h"

#include "pyEnums.h"
#include "pyList.h"
#include "pyMap.h"
#include "pySet.h"

#include "dmUtf8.h"

#include <cmath>
#include <limits>

namespace zrpy
{
namespace
{

std::string typeName(py::handle value)
{
    return value.is_none() ? "None" : Py_TYPE(value.ptr())->tp_name;
}

/// Numbers and what calls itself one; texts do not.
double toDouble(py::handle value, const Slot& slot)
{
    if (PyFloat_CheckExact(value.ptr()))
        return PyFloat_AS_DOUBLE(value.ptr());
    if (!PyNumber_Check(value.ptr()) || PyComplex_Check(value.ptr()))
        raiseType(slot.name() + " is a number, not " + typeName(value));
    const double number = PyFloat_AsDouble(value.ptr());
    if (number == -1.0 && PyErr_Occurred())
    {
        if (!PyErr_ExceptionMatches(PyExc_OverflowError))
            throw py::error_already_set();
        PyErr_Clear();
        raiseValue(slot.name() + " cannot hold a number of that size");
    }
    return number;
}

py::object toIndex(py::handle value, const Slot& slot)
{
    if (!PyIndex_Check(value.ptr()))
        raiseType(slot.name() + " is a whole number, not " + typeName(value));
    PyObject* const index = PyNumber_Index(value.ptr());
    if (!index)
        throw py::error_already_set();
    return py::reinterpret_steal<py::object>(index);
}

} // namespace

std::string Slot::name() const
{
    return nameOf(owner.set(), def);
}

py::object fromText(const DmString& text)
{
    PyObject* const object = PyUnicode_FromKindAndData(PyUnicode_4BYTE_KIND, text.c_str(), text.length());
    if (!object)
        throw py::error_already_set();
    return py::reinterpret_steal<py::object>(object);
}

DmString toText(py::handle value, const std::string& what)
{
    if (!PyUnicode_Check(value.ptr()))
        raiseType(what + " is a text, not " + typeName(value));
    Py_ssize_t size = 0;
    const char* const utf8 = PyUnicode_AsUTF8AndSize(value.ptr(), &size);
    if (!utf8)
    {
        if (!PyErr_ExceptionMatches(PyExc_UnicodeEncodeError))
            throw py::error_already_set();
        PyErr_Clear();
        raiseValue(what + " cannot hold a lone surrogate, which no document can");
    }
    DmString text;
    if (!dmFromUtf8({utf8, static_cast<std::size_t>(size)}, text) ||
        static_cast<Py_ssize_t>(text.length()) != PyUnicode_GET_LENGTH(value.ptr()))
        raiseValue(what + " cannot hold this text");
    return text;
}

// To Python

py::object toPython(std::int32_t value, const Slot& slot)
{
    return slot.def._type == DM_ENUM ? enumValue(slot.def, value) : py::int_(value);
}

py::object toPython(const DmString& value, const Slot& /*slot*/)
{
    return fromText(value);
}

py::object toPython(const DmPropertySetPtr& value, const Slot& slot)
{
    return slot.owner.held(value.get(), slot.def, slot.element);
}

py::object getValue(const Reached& owner, int index)
{
    DmPropertySet& set = owner.read();
    const DmPropertyDef& def = *set.classData().at(index);
    return dmVisitStorage(def._type,
                          [&]<class T>(std::type_identity<T>) -> py::object
                          {
                              if constexpr (dmIsVector<T>)
                                  return listView(owner, index);
                              else if constexpr (std::same_as<T, DmPropertySetMap>)
                                  return mapView(owner, index);
                              else if constexpr (DmAtomicStorage<T>)
                                  return toPython(*static_cast<const T*>(set.fieldOf(index)), Slot{owner, def});
                              else
                                  raiseStatus(DM_TYPE_NOT_IMPLEMENTED, nameOf(set, def));
                          });
}

// From Python

std::int64_t toInteger(py::handle value, std::int64_t least, std::int64_t most, const Slot& slot)
{
    const py::object index = toIndex(value, slot);
    int overflow = 0;
    const long long number = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
    if (number == -1 && PyErr_Occurred())
        throw py::error_already_set();
    if (overflow != 0 || number < least || number > most)
        raiseValue(slot.name() + " holds whole numbers from " + std::to_string(least) + " to " + std::to_string(most) +
                   ", not " + std::string(py::str(index)).substr(0, 40));
    return number;
}

std::uint64_t toUnsigned64(py::handle value, const Slot& slot)
{
    const py::object index = toIndex(value, slot);
    const unsigned long long number = PyLong_AsUnsignedLongLong(index.ptr());
    if (number == std::numeric_limits<unsigned long long>::max() && PyErr_Occurred())
    {
        if (!PyErr_ExceptionMatches(PyExc_OverflowError))
            throw py::error_already_set();
        PyErr_Clear();
        raiseValue(slot.name() + " holds whole numbers from 0 to 18446744073709551615, not " +
                   std::string(py::str(index)).substr(0, 40));
    }
    return number;
}

void fromPython(py::handle value, bool& out, const Slot& slot)
{
    // numpy has a bool of its own.
    if (!PyBool_Check(value.ptr()) && typeName(value) != "numpy.bool_")
        raiseType(slot.name() + " is True or False, not " + typeName(value));
    out = value.ptr() == Py_True || (value.ptr() != Py_False && PyObject_IsTrue(value.ptr()) == 1);
}

void fromPython(py::handle value, double& out, const Slot& slot)
{
    out = toDouble(value, slot);
    if (!std::isfinite(out))
        raiseValue(slot.name() + " cannot hold a number that is not finite: no document can");
}

void fromPython(py::handle value, float& out, const Slot& slot)
{
    double number = 0.0;
    fromPython(value, number, slot);
    if (std::abs(number) > static_cast<double>(std::numeric_limits<float>::max()))
        raiseValue(slot.name() + " cannot hold a number of that size");
    out = static_cast<float>(number);
}

void fromPython(py::handle value, DmString& out, const Slot& slot)
{
    toText(value, slot.name()).swap(out);
}

void fromPython(py::handle value, DmPropertySetPtr& out, const Slot& slot)
{
    if (value.is_none())
    {
        out.reset();
        return;
    }
    // In a session, sets are known by the constant ones.
    const std::optional<Reached> given = reachedBy(value);
    const bool isOfSession = given && (given->draft() == slot.owner.draft() || !given->set().isFrozen());
    DmPropertySet* const set = !given ? nullptr : isOfSession ? &given->set() : &given->settled();
    if (!set || (slot.def._held && !slot.def._held->accepts(*set)))
        raiseType(slot.name() + " holds " + (slot.def._held ? dmUtf8(slot.def._held->name) : "a property set") +
                  ", not " + typeName(value));
    if (holds(*set, slot.owner.set()))
        raiseValue(slot.name() + ": an object cannot stand below itself");
    out = DmPropertySetPtr(set);
    if (!set->isFrozen() && slot.owner.draft())
        static_cast<void>(Reached(*set, slot.owner.draft()).object()); // from now on the session's
}

void setValue(const Reached& owner, int index, py::handle value)
{
    const DmPropertyDef& def = *owner.set().classData().at(index);
    const Slot slot{owner, def};
    const eDmErrorId status =
        dmVisitStorage(def._type,
                       [&]<class T>(std::type_identity<T>) -> eDmErrorId
                       {
                           if constexpr (dmIsVector<T>)
                           {
                               replaceList(owner, index, value);
                               return DM_NO_ERROR;
                           }
                           else if constexpr (std::same_as<T, DmPropertySetMap>)
                           {
                               replaceMap(owner, index, value);
                               return DM_NO_ERROR;
                           }
                           else if constexpr (DmAtomicStorage<T>)
                           {
                               T converted{};
                               fromPython(value, converted, slot);
                               return owner.write().setPropertyValue(index, def._type, &converted);
                           }
                           else
                               return DM_TYPE_NOT_IMPLEMENTED;
                       });
    if (status != DM_NO_ERROR)
        raiseStatus(status, slot.name());
}

} // namespace zrpy
