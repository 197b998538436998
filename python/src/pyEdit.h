/// Timelines as values: publishing, edit sessions, history.
#pragma once

#include "pyError.h"

namespace zrpy
{

void addEdits(py::module_& module);

} // namespace zrpy
