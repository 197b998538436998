/// Whether a value of a document has reached its property as it stands.
#pragma once

#include "dmJsonParsedImp.h"
#include "dmPropertyDef.h"

#include <algorithm>

namespace dmJson
{

/// Of a single value; `stored` is of the property's storage type.
bool isKept(const DmPropertyDef& def, const Value& value, const void* stored);

/// Of an element of a vector of values, or of a line; `stored` is the element, null for a line.
bool isElementKept(const DmPropertyDef& def, const Value& value, const void* stored);

// Whether a value stands in the table that its declaration gives, if it gives one. A range is no such table: what is
// outside of it is unusual, not another value.

template <DmNumberStorage T>
bool isMeant(const DmPropertyDef& def, T value)
{
    if constexpr (std::same_as<T, std::int32_t>)
        return def._values.empty() || std::ranges::find(def._values, value, &DmNamedValue::code) != def._values.end();
    return true;
}
inline bool isMeant(const DmPropertyDef& def, const DmString& text)
{
    return !def._texts || !def._texts->isComplete || def._texts->contains(text.view());
}

/// The value that is stored, as people write it: strings in quotes.
std::string shownValue(const DmPropertyDef& def, const void* stored);

} // namespace dmJson
