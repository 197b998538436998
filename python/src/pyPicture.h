/// picture(): a still of a cut.
#pragma once

#include "pyError.h"

namespace zrpy
{

void addPictures(py::module_& module);

} // namespace zrpy
