/// diff(), patch() and merge(), and what they answer with.
#pragma once

#include "pyError.h"

namespace zrpy
{

void addComparisons(py::module_& module);

} // namespace zrpy
