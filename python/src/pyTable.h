/// A tree as a table: a row a segment.
#pragma once

#include "pyError.h"

namespace zrpy
{

void addTables(py::module_& module);

} // namespace zrpy
