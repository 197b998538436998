/// The types of Python that stand for the classes of the model, made from their definitions when they are first met.
#pragma once

#include "pyError.h"

#include "dmPropertySet.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace zrpy
{

/// How an attribute finds its property.
struct PropertyAccess
{
    const DmPropertySetData* data; ///< of the class whose attribute it is; null for that of an abstract class
    const DmPropertyDef* def;
    int index;
    std::string doc;
};

struct ClassType
{
    std::string name;
    DmString className;
    DmPropertySetPtr prototype; ///< null for an abstract class
    const DmHeldClass* held{};  ///< null for a class that no slot names
    PyTypeObject* type{};       ///< null until it is needed
    std::string qualifiedName;  ///< what the type's own name points at
    std::deque<PropertyAccess> access;
    std::vector<PyGetSetDef> attributes;

    bool isConcrete() const { return static_cast<bool>(prototype); }
    bool accepts(const DmPropertySet& set) const;
};

void setBaseType(PyTypeObject* type);
/// The type for a set's class.
PyTypeObject* typeOf(const DmPropertySet& set);
/// Null for a type that is none of these.
const ClassType* classTypeOf(const PyTypeObject* type);

void addTypes(py::module_& module);

} // namespace zrpy
