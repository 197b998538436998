/// A property set as an object of Python: one type for each class, made of its definitions when it is first met, its
/// properties attributes. An object of Python holds one reference; while it lives, the same set is the same object.
#pragma once

#include "pyError.h"

#include "dmPropertySet.h"

namespace zrpy
{

/// None for null.
py::object wrap(DmPropertySet* set);
inline py::object wrap(const DmPropertySetPtr& set)
{
    return wrap(set.get());
}

/// The set of an object; null when it is something else.
DmPropertySet* unwrap(py::handle object);
/// Raises TypeError for what is no property set; `what` says whose argument it is.
DmPropertySet& requireSet(py::handle object, const char* what);

/// A new object of a class, without default attributes; null for a name that no class has.
DmPropertySetPtr createSet(const DmString& className);

/// "DmSourceNode.recIn"
std::string nameOf(const DmPropertySet& set, const DmPropertyDef& def);

/// Whether `set` is `inside`, or holds it on whatever way.
bool holds(const DmPropertySet& set, const DmPropertySet& inside);

/// The type of a class, or of an abstract class that slots hold; null for a name that is neither.
py::object typeOfClass(const std::string& name);
/// Every class that has a type: of the factory, and those that slots hold.
py::list typeNames();

void addSets(py::module_& module);

} // namespace zrpy
