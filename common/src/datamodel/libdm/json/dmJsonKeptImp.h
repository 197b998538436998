/// Whether a value of a document has reached its property as it stands.
#pragma once

#include "dmJsonParsedImp.h"
#include "dmPropertyDef.h"

#include <algorithm>
#include <cstring>

namespace dmJson
{

/// Of a single value; `stored` is of the property's storage type.
bool isKept(const DmPropertyDef& def, const Value& value, const void* stored);

/// Of an element of a vector of values, or of a line; `stored` is the element, null for a line.
bool isElementKept(const DmPropertyDef& def, const Value& value, const void* stored);

/// A number where it is stored: an enumeration is no object of type T.
template <class T>
T numberAt(const void* stored)
{
    T value;
    std::memcpy(&value, stored, sizeof(T));
    return value;
}

// Whether a value is one of those that its declaration names, where it names all that there are.

inline bool isMeant(const DmPropertyDef& def, std::int32_t code)
{
    return def._values.empty() || std::ranges::find(def._values, code, &DmNamedValue::code) != def._values.end();
}
inline bool isMeant(const DmPropertyDef& def, const DmString& text)
{
    return !def._texts || !def._texts->isComplete || def._texts->contains(text.view());
}

/// The value that is stored, as people write it: strings in quotes.
std::string shownValue(const DmPropertyDef& def, const void* stored);

} // namespace dmJson
