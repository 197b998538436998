/// Walks over trees, and their tables.
#pragma once

#include "pyError.h"

namespace zrpy
{

void addTrees(py::module_& module);

} // namespace zrpy
