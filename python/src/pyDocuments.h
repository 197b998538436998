/// Opening and saving documents.
#pragma once

#include "pyError.h"

namespace zrpy
{

void addDocuments(py::module_& module);

} // namespace zrpy
