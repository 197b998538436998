/// Whether a value of a document has reached its property as it stands.
#pragma once

#include "dmJsonParsedImp.h"
#include "dmPropertyDef.h"

namespace dmJson
{

/// Of a single value; `stored` is of the property's storage type.
bool isKept(const DmPropertyDef& def, const Value& value, const void* stored);

/// Of an element of a vector of values, or of a line; `stored` is the element, null for a line.
bool isElementKept(const DmPropertyDef& def, const Value& value, const void* stored);

/// The value that is stored, as people write it: strings in quotes.
std::string shownValue(const DmPropertyDef& def, const void* stored);

} // namespace dmJson
