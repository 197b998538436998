/// The text form of property values: what getStrFromPropertyValue and setPropertyValueFromStr stand on, and what shows
/// a class's defaults to people.
#pragma once

#include "dmPropertyDef.h"

class DmPropertySet;

/// How text reaches a value: single values by index, a vector's elements one by one.
struct PSetFuncPair
{
    eDmErrorId (*get)(const DmPropertySet& set, int index, eDmPropType type, void* value);
    eDmErrorId (*set)(DmPropertySet& set, int index, eDmPropType type, const void* value);
};

namespace DmPropertySet_Str_Utils
{

/// getAtomicValue and setAtomicValue, or for vectors getValueInList and setValueInList (dmSetTools.h).
ZR_DM_API PSetFuncPair accessOf(eDmPropType type);

/// The text of the value at `value`, of the definition's storage type (for a vector: of its element type). Through the
/// class's serializer if it brings one. DM_TYPE_NOT_IMPLEMENTED for nested sets and maps.
ZR_DM_API eDmErrorId textOfValue(const DmPropertyDef& def, const void* value, DmString& text);

} // namespace DmPropertySet_Str_Utils
