/// The types that a property can have, and the C++ type in which each is stored.
#pragma once

#include "CoSharedPtr.h"
#include "dmString.h"

#include <concepts>
#include <cstdint>
#include <map>
#include <type_traits>
#include <vector>

class DmPropertySet;
using DM::CoSharedPtr;

/// The numbers and the text names (DmPSetHelper) are part of the persisted format.
enum eDmPropType : int
{
    DM_INT = 0,
    DM_UINT,
    DM_ENUM,
    DM_SHORT,
    DM_USHORT,
    DM_INT64,
    DM_UINT64,
    DM_CHAR,
    DM_UCHAR,
    DM_FLOAT,
    DM_BOOL,
    DM_DOUBLE,
    DM_STRING,
    DM_PROPERTY_SET,
    DM_VECTOR_INT,
    DM_VECTOR_SHORT,
    DM_VECTOR_UINT64,
    DM_VECTOR_FLOAT,
    DM_VECTOR_DOUBLE,
    DM_VECTOR_STRING,
    DM_VECTOR_PROPERTY_SET,
    DM_MAP_PROPERTY_SET,
    DM_CDATA,
    DM_NB_TYPES ///< how many there are; also what an unknown name is
};

/// How nested sets are stored: one, a list, a map in the key order of DmString.
using DmPropertySetPtr = CoSharedPtr<DmPropertySet>;
using DmPropertySetVector = std::vector<DmPropertySetPtr>;
using DmPropertySetMap = std::map<DmString, DmPropertySetPtr>;

/// Calls `visitor(std::type_identity<Storage>())` with the storage type of a single value, of a vector, or of the map;
/// with `void` for a value that is no type. The one place that lists which type is stored as what.
template <class Visitor>
decltype(auto) dmVisitStorage(eDmPropType type, Visitor&& visitor)
{
    switch (type)
    {
    case DM_INT:
    case DM_ENUM:
        return visitor(std::type_identity<std::int32_t>());
    case DM_UINT:
        return visitor(std::type_identity<std::uint32_t>());
    case DM_SHORT:
        return visitor(std::type_identity<std::int16_t>());
    case DM_USHORT:
        return visitor(std::type_identity<std::uint16_t>());
    case DM_INT64:
        return visitor(std::type_identity<std::int64_t>());
    case DM_UINT64:
        return visitor(std::type_identity<std::uint64_t>());
    case DM_CHAR:
        return visitor(std::type_identity<signed char>());
    case DM_UCHAR:
        return visitor(std::type_identity<unsigned char>());
    case DM_FLOAT:
        return visitor(std::type_identity<float>());
    case DM_BOOL:
        return visitor(std::type_identity<bool>());
    case DM_DOUBLE:
        return visitor(std::type_identity<double>());
    case DM_STRING:
    case DM_CDATA:
        return visitor(std::type_identity<DmString>());
    case DM_PROPERTY_SET:
        return visitor(std::type_identity<DmPropertySetPtr>());
    case DM_VECTOR_INT:
        return visitor(std::type_identity<std::vector<std::int32_t>>());
    case DM_VECTOR_SHORT:
        return visitor(std::type_identity<std::vector<std::int16_t>>());
    case DM_VECTOR_UINT64:
        return visitor(std::type_identity<std::vector<std::uint64_t>>());
    case DM_VECTOR_FLOAT:
        return visitor(std::type_identity<std::vector<float>>());
    case DM_VECTOR_DOUBLE:
        return visitor(std::type_identity<std::vector<double>>());
    case DM_VECTOR_STRING:
        return visitor(std::type_identity<std::vector<DmString>>());
    case DM_VECTOR_PROPERTY_SET:
        return visitor(std::type_identity<DmPropertySetVector>());
    case DM_MAP_PROPERTY_SET:
        return visitor(std::type_identity<DmPropertySetMap>());
    case DM_NB_TYPES:
        break;
    }
    return visitor(std::type_identity<void>());
}

template <class T>
inline constexpr bool dmIsVector = false;
template <class T>
inline constexpr bool dmIsVector<std::vector<T>> = true;

/// Single values: numbers, bools, strings, one nested set. The others are reached through the collection operations.
template <class T>
concept DmAtomicStorage = !std::is_void_v<T> && !dmIsVector<T> && !std::same_as<T, DmPropertySetMap>;

template <class T>
concept DmNumberStorage = std::is_arithmetic_v<T>;

constexpr bool dmIsAtomic(eDmPropType type)
{
    return (type >= DM_INT && type <= DM_PROPERTY_SET) || type == DM_CDATA;
}
constexpr bool dmIsVectorOfValues(eDmPropType type)
{
    return type >= DM_VECTOR_INT && type <= DM_VECTOR_STRING;
}

namespace dmPropertyTypeDetail
{
template <class T>
constexpr eDmPropType typeOf()
{
    if constexpr (std::is_enum_v<T>)
    {
        static_assert(
            sizeof(T) == 4 && requires { T{0}; }, "an enumeration property needs a fixed 32-bit underlying type");
        return DM_ENUM;
    }
    else if constexpr (std::same_as<T, bool>)
        return DM_BOOL;
    else if constexpr (std::same_as<T, char> || std::same_as<T, signed char>)
        return DM_CHAR;
    else if constexpr (std::same_as<T, unsigned char>)
        return DM_UCHAR;
    else if constexpr (std::integral<T> && sizeof(T) == 2)
        return std::signed_integral<T> ? DM_SHORT : DM_USHORT;
    else if constexpr (std::integral<T> && sizeof(T) == 4)
        return std::signed_integral<T> ? DM_INT : DM_UINT;
    else if constexpr (std::integral<T> && sizeof(T) == 8)
        return std::signed_integral<T> ? DM_INT64 : DM_UINT64;
    else if constexpr (std::same_as<T, float>)
        return DM_FLOAT;
    else if constexpr (std::same_as<T, double>)
        return DM_DOUBLE;
    else if constexpr (std::derived_from<T, DmString>)
        return DM_STRING;
    else if constexpr (std::derived_from<T, DmPropertySetPtr>)
        return DM_PROPERTY_SET;
    else if constexpr (std::same_as<T, std::vector<std::int32_t>>)
        return DM_VECTOR_INT;
    else if constexpr (std::same_as<T, std::vector<std::int16_t>>)
        return DM_VECTOR_SHORT;
    else if constexpr (std::same_as<T, std::vector<std::uint64_t>>)
        return DM_VECTOR_UINT64;
    else if constexpr (std::same_as<T, std::vector<float>>)
        return DM_VECTOR_FLOAT;
    else if constexpr (std::same_as<T, std::vector<double>>)
        return DM_VECTOR_DOUBLE;
    else if constexpr (std::same_as<T, std::vector<DmString>>)
        return DM_VECTOR_STRING;
    else if constexpr (std::derived_from<T, DmPropertySetVector>)
        return DM_VECTOR_PROPERTY_SET;
    else if constexpr (std::derived_from<T, DmPropertySetMap>)
        return DM_MAP_PROPERTY_SET;
    else
        return DM_NB_TYPES;
}
} // namespace dmPropertyTypeDetail

/// The property type that a member of type T is declared with; DM_NB_TYPES for one that cannot be a property.
/// (CDATA is stored like a string and asked for by name.)
template <class T>
inline constexpr eDmPropType dmTypeOf = dmPropertyTypeDetail::typeOf<std::remove_cv_t<T>>();
