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

// Whether a value is one of those that its declaration gives.

enum class Meant
{
    Yes,
    NotInTable,
    NotInRange
};

template <DmNumberStorage T>
Meant meantBy(const DmPropertyDef& def, T value)
{
    if constexpr (std::same_as<T, std::int32_t>)
        if (!def._values.empty() && std::ranges::find(def._values, value, &DmNamedValue::code) == def._values.end())
            return Meant::NotInTable;
    const auto number = static_cast<double>(value);
    return !def._range || (number >= def._range->least && number <= def._range->most) ? Meant::Yes : Meant::NotInRange;
}
inline Meant meantBy(const DmPropertyDef& def, const DmString& text)
{
    const bool isName = !def._texts || !def._texts->isComplete || def._texts->contains(text.view());
    return isName ? Meant::Yes : Meant::NotInTable;
}
template <class T>
bool isMeant(const DmPropertyDef& def, const T& value)
{
    return meantBy(def, value) == Meant::Yes;
}

/// The value that is stored, as people write it: strings in quotes.
std::string shownValue(const DmPropertyDef& def, const void* stored);

} // namespace dmJson
