/// The text form of property values: what getStrFromPropertyValue and setPropertyValueFromStr stand on, and what shows
/// a class's defaults to people.
#pragma once

#include "dmPropertyDef.h"

class DmPropertySet;

/// How a conversion reaches a value: single values through the first function, a vector's elements through the second.
template <class Function>
struct PSetFuncPair
{
    Function atomic;
    Function inList;

    Function of(eDmPropType type) const { return dmIsVectorOfValues(type) ? inList : atomic; }
};
using DmGetValue = eDmErrorId (*)(const DmPropertySet& set, int index, eDmPropType type, void* value);
using DmSetValue = eDmErrorId (*)(DmPropertySet& set, int index, eDmPropType type, const void* value);

namespace DmPropertySet_Str_Utils
{

/// getAtomicValue and getValueInList (dmSetTools.h): the text of a vector is that of its first element.
ZR_DM_API PSetFuncPair<DmGetValue> getters();
/// setAtomicValue and setValueInList: a text is added to a vector.
ZR_DM_API PSetFuncPair<DmSetValue> setters();

/// The text of the value at `value`, of the definition's storage type (for a vector: of its element type). Through the
/// class's serializer if it brings one. DM_TYPE_NOT_IMPLEMENTED for nested sets and maps.
ZR_DM_API eDmErrorId textOfValue(const DmPropertyDef& def, const void* value, DmString& text);

} // namespace DmPropertySet_Str_Utils
