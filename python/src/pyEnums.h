/// Enumerations as enum.IntEnum, from the tables that definitions carry.
#pragma once

#include "pyError.h"

#include "dmPropertyDef.h"

#include <string>

namespace zrpy
{

/// The member of a value; a plain number where the definition has no name for it.
py::object enumValue(const DmPropertyDef& def, int value);

/// Gives the table of a definition a type: called for all of a class at a time, in the order of classes, so that names
/// do not depend on what a script does first. The name is the property's, "MediaType", or, where that is another
/// table's, the class's too.
void registerEnum(const DmPropertyDef& def, const std::string& className);
/// Of a definition; null when it has no table.
py::object enumOf(const DmPropertyDef& def);

void addEnums(py::module_& module);

} // namespace zrpy
