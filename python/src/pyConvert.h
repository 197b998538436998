/// Reading and writing every format of documents and cut lists.
#pragma once

#include "pyError.h"

namespace zrpy
{

void addConversions(py::module_& module);

} // namespace zrpy
