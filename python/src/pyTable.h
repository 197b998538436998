/// A tree as a table: one row for each segment.
#pragma once

#include "pyError.h"

namespace zrpy
{

void addTables(py::module_& module);

} // namespace zrpy
