/// A map property as a mutable mapping: a live view, in the order of the keys.
#pragma once

#include "pySet.h"

namespace zrpy
{

py::object mapView(const Reached& owner, int index);
/// In place of what the map holds; nothing changes when an entry does not fit.
void replaceMap(const Reached& owner, int index, py::handle entries);

void addMaps(py::module_& module);

} // namespace zrpy
