#include "dmJsonScalarImp.h"

#include "dmNumberText.h"
#include "dmSetAccessImp.h"
#include "dmUtf8.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace
{

using dmJson::Scalar;

template <class T>
concept Number = std::is_arithmetic_v<T> && sizeof(T) > 1;

bool wideText(const Scalar& scalar, DmString& text)
{
    char buffer[dmJson::numberSize];
    return dmFromUtf8(textOf(scalar, buffer), text);
}

/// A double that lies between two floats of the normal range, and not in the middle: it rounds as its text does. The
/// middle itself may not, because its text is not its exact value.
bool roundsAsItsText(double value)
{
    constexpr std::uint64_t belowFloat = (std::uint64_t{1} << 29) - 1;
    constexpr std::uint64_t middle = std::uint64_t{1} << 28;
    const double magnitude = std::fabs(value);
    return (magnitude == 0 || magnitude >= std::numeric_limits<float>::min()) &&
           magnitude < std::numeric_limits<float>::max() &&
           (std::bit_cast<std::uint64_t>(value) & belowFloat) != middle;
}

/// The direct way from a number's text to a value; false where the roundabout way could have another result.
template <class T>
bool convertDirectly(std::string_view number, T& value)
{
    if constexpr (std::is_floating_point_v<T>)
    {
        double exact = 0;
        if (number == "-0" || !dmJson::parseDouble(number, exact))
            return false;
        if constexpr (std::is_same_v<T, float>)
        {
            if (!roundsAsItsText(exact) || dmJson::isInteger(number))
                return false;
        }
        value = static_cast<T>(exact);
        return true;
    }
    else
    {
        const char* const end = number.data() + number.size();
        const std::from_chars_result result = std::from_chars(number.data(), end, value);
        return result.ec == std::errc() && result.ptr == end;
    }
}

template <Number T>
eDmErrorId convert(const Scalar& scalar, T& value)
{
    if (scalar.kind == Scalar::Number && convertDirectly(scalar.text, value))
        return DM_NO_ERROR;
    char buffer[dmJson::numberSize];
    const std::string_view text = textOf(scalar, buffer);
    if (scalar.kind == Scalar::Number && text.empty())
        return DM_BAD_VALUE;
    value = dmNumberText::parse<T>(text);
    return DM_NO_ERROR;
}

eDmErrorId convert(const Scalar& scalar, bool& value)
{
    value = scalar.kind == Scalar::True ||
            (scalar.kind == Scalar::String && dmNumberText::parse<bool>(std::string_view(scalar.text)));
    return DM_NO_ERROR;
}

eDmErrorId convert(const Scalar& scalar, DmString& value)
{
    return wideText(scalar, value) ? DM_NO_ERROR : DM_BAD_VALUE;
}

template <class Character>
requires(sizeof(Character) == 1) eDmErrorId convert(const Scalar& scalar, Character& value)
{
    DmString text;
    if (!wideText(scalar, text))
        return DM_BAD_VALUE;
    const bool blank = text.length() == 1 && text[0] < 256 && std::is_signed_v<Character>;
    value = blank ? static_cast<Character>(text[0]) : dmNumberText::parse<Character>(text.view());
    return DM_NO_ERROR;
}

template <class T>
eDmErrorId valueOf(const DmPropertyDef& def, const Scalar& scalar, T& value)
{
    if (!def._unserializer)
        return convert(scalar, value);
    DmString text;
    return wideText(scalar, text) ? def._unserializer(text, &value) : DM_BAD_VALUE;
}

template <class T>
eDmErrorId put(const DmPropertyDef& def, void* field, T& value)
{
    if constexpr (DmNumberStorage<T>)
    {
        T present;
        std::memcpy(&present, field, sizeof(T)); // an enumeration is no object of type T
        if (def._constant && present != value)
            return DM_BAD_VALUE;
        std::memcpy(field, &value, sizeof(T));
    }
    else
        static_cast<DmString*>(field)->swap(value);
    return DM_NO_ERROR;
}

template <class T>
eDmErrorId storeAs(const DmPropertyDef& def, void* field, const Scalar& scalar)
{
    if constexpr (DmNumberStorage<T> || std::same_as<T, DmString>)
    {
        T value{};
        const eDmErrorId status = valueOf(def, scalar, value);
        return status == DM_NO_ERROR ? put(def, field, value) : status;
    }
    else if constexpr (dmIsVector<T> && !std::same_as<T, DmPropertySetVector>)
    {
        typename T::value_type value{};
        const eDmErrorId status = valueOf(def, scalar, value);
        if (status == DM_NO_ERROR)
            static_cast<T*>(field)->push_back(std::move(value));
        return status;
    }
    else
        return DM_TYPE_NOT_IMPLEMENTED;
}

} // namespace

std::string_view dmJson::textOf(const Scalar& scalar, char (&buffer)[numberSize])
{
    return scalar.kind == Scalar::Number ? canonicalNumber(scalar.text, buffer) : scalar.text;
}

bool dmJson::toInt(const Scalar& scalar, int& value)
{
    return scalar.kind == Scalar::Number && convertDirectly(scalar.text, value);
}

eDmErrorId dmJson::store(DmPropertySet& set, int index, const Scalar& scalar)
{
    const DmPropertyDef& def = *set.classData().at(index);
    if (set.isFrozen())
        return DM_CANNOT_LOCK;
    void* const field = DmSetAccess::field(set, index, def);
    const eDmErrorId status = dmVisitStorage(
        def._type, [&]<class T>(std::type_identity<T>) -> eDmErrorId { return storeAs<T>(def, field, scalar); });
    if (status == DM_NO_ERROR)
        DmSetAccess::changed(set, def);
    return status;
}
