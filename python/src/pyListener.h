/// Callables of Python as listeners of property sets.
#pragma once

#include "pySet.h"

namespace zrpy
{

/// Calls `callable(object, name)` after each change, from whatever thread, until the subscription is closed or dropped.
py::object subscribe(const Reached& subject, py::handle callable);

void addListeners(py::module_& module);

} // namespace zrpy
