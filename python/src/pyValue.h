/// Values of properties to and from Python. What a slot cannot hold raises and nothing is stored; what it can hold is
/// stored as it is.
#pragma once

#include "pySet.h"

#include <optional>

namespace zrpy
{

/// The value of a property: a number, a text, an object, a view of a list or of a map.
py::object getValue(const Reached& owner, int index);
/// Of a list or a map: replaces what it holds.
void setValue(const Reached& owner, int index, py::handle value);

constexpr bool holdsObjects(eDmPropType type)
{
    return type == DM_PROPERTY_SET || type == DM_VECTOR_PROPERTY_SET || type == DM_MAP_PROPERTY_SET;
}

py::object fromText(const DmString& text);
/// `what` heads the words of what is wrong.
DmString toText(py::handle value, const std::string& what);

/// One value of a storage type; `slot` is the property that it comes from or is meant for.
struct Slot
{
    Reached owner;
    const DmPropertyDef& def;
    int element = -1; ///< of a list

    std::string name() const;
};

py::object toPython(std::int32_t value, const Slot& slot);
template <class T>
requires(std::is_arithmetic_v<T> && !std::same_as<T, std::int32_t>) py::object toPython(T value, const Slot& /*slot*/)
{
    return py::cast(value);
}
inline py::object toPython(signed char value, const Slot& /*slot*/)
{
    return py::int_(static_cast<int>(value));
}
inline py::object toPython(unsigned char value, const Slot& /*slot*/)
{
    return py::int_(static_cast<int>(value));
}
py::object toPython(const DmString& value, const Slot& slot);
py::object toPython(const DmPropertySetPtr& value, const Slot& slot);

void fromPython(py::handle value, bool& out, const Slot& slot);
void fromPython(py::handle value, float& out, const Slot& slot);
void fromPython(py::handle value, double& out, const Slot& slot);
void fromPython(py::handle value, DmString& out, const Slot& slot);
void fromPython(py::handle value, DmPropertySetPtr& out, const Slot& slot);

/// A whole number of [least, most].
std::int64_t toInteger(py::handle value, std::int64_t least, std::int64_t most, const Slot& slot);
std::uint64_t toUnsigned64(py::handle value, const Slot& slot);

template <std::integral T>
requires(!std::same_as<T, bool>) void fromPython(py::handle value, T& out, const Slot& slot)
{
    if constexpr (std::same_as<T, std::uint64_t>)
        out = toUnsigned64(value, slot);
    else
        out = static_cast<T>(toInteger(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), slot));
}

} // namespace zrpy
