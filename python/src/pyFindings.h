/// Findings as objects, and checking a tree.
#pragma once

#include "pyError.h"

#include "dmFinding.h"

#include <vector>

namespace zrpy
{

py::list toPython(std::vector<DmFinding>&& findings);

void addFindings(py::module_& module);

} // namespace zrpy
