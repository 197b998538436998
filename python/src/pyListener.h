/// Callables of Python as listeners of property sets.
#pragma once

#include "pyError.h"

#include "dmPropertySet.h"

namespace zrpy
{

/// Calls `callable(object, name)` after each change, from whatever thread, until the subscription is closed or dropped.
py::object subscribe(DmPropertySet& set, py::handle callable);

void addListeners(py::module_& module);

} // namespace zrpy
