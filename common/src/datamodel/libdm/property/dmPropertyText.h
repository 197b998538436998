/// The text form of property values: what getStrFromPropertyValue and setPropertyValueFromStr stand on, and what shows
/// a class's defaults to people.
#pragma once

#include "dmPropertyDef.h"

namespace DmPropertySet_Str_Utils
{

/// The text of the value at `value`, of the definition's storage type (for a vector: of its element type). Through the
/// class's serializer if it brings one. DM_TYPE_NOT_IMPLEMENTED for nested sets and maps.
ZR_DM_API eDmErrorId textOfValue(const DmPropertyDef& def, const void* value, DmString& text);

} // namespace DmPropertySet_Str_Utils
