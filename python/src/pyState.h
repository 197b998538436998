/// What pickle keeps of an object: everything that it holds, as a flat list of plain values.
#pragma once

#include "pyError.h"

#include "dmPropertySet.h"

namespace zrpy
{

/// A list of (class, {property: value}), the object first; in it, objects are positions in the list. What is held
/// twice stands once.
py::list stateOf(DmPropertySet& set);
/// The object that a state was made of, anew.
py::object restore(const py::list& state);

} // namespace zrpy
