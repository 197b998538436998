/// A list property as a mutable sequence: a live view that does what a list of Python does.
#pragma once

#include "pySet.h"

namespace zrpy
{

py::object listView(const Reached& owner, int index);
/// In place of what the list holds; nothing changes when an element does not fit.
void replaceList(const Reached& owner, int index, py::handle elements);

void addLists(py::module_& module);

} // namespace zrpy
