#include "dmJsonKeptImp.h"

#include "dmJsonFormatImp.h"
#include "dmNumberAtImp.h"
#include "dmPropertyText.h"
#include "dmUtf8.h"

#include "CoInteger.h"
#include "CoUtf8.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace dmJson
{
namespace
{

/// Whether a number's text says something else than zero.
bool hasDigits(std::string_view number)
{
    return number.substr(0, number.find_first_of("eE")).find_first_of("123456789") != number.npos;
}

/// Every double and every 64-bit integer is a long double.
static_assert(std::numeric_limits<long double>::digits >= 64);

template <class T>
bool isSame(std::string_view number, T stored)
{
    double value = 0;
    if constexpr (std::is_floating_point_v<T>)
    {
        const bool vanished = stored == 0 && hasDigits(number);
        return !vanished && parseDouble(number, value) && std::fabs(value) <= std::numeric_limits<T>::max();
    }
    else if (isInteger(number))
        return number == "-0" ? stored == 0 : DM::CoInteger::whole<T>(number) == stored;
    else
        return parseDouble(number, value) && static_cast<long double>(value) == static_cast<long double>(stored);
}

/// The one character that a Char is written as.
bool isCharacter(const std::string& text, unsigned char stored)
{
    DmString wide;
    return dmFromUtf8(text, wide) && wide.length() == 1 && wide[0] == static_cast<wchar_t>(stored);
}

/// Whether a text is all a number, as the writer spells those of a vector.
bool isNumber(std::string_view text, bool floating)
{
    const auto digits = [&text]
    {
        const std::size_t count = std::min(text.find_first_not_of("0123456789"), text.size());
        text.remove_prefix(count);
        return count > 0;
    };
    const auto skip = [&text](std::string_view any)
    {
        const bool found = !text.empty() && any.find(text[0]) != any.npos;
        text.remove_prefix(found ? 1 : 0);
        return found;
    };
    skip("-");
    if (!digits())
        return false;
    if (floating && skip(".") && !digits())
        return false;
    if (floating && skip("eE"))
    {
        skip("+-");
        return digits() && text.empty();
    }
    return text.empty();
}

} // namespace

bool isKept(const DmPropertyDef& def, const Value& value, const void* stored)
{
    const Parsed::Kind kind = value.kind();
    if (def._serializer)
    {
        DmString text;
        return kind == Parsed::String && DmPropertySet_Str_Utils::textOfValue(def, stored, text) == DM_NO_ERROR &&
               dmUtf8(text) == value.text();
    }
    return dmVisitStorage(def._type,
                          [&]<class T>(std::type_identity<T>)
                          {
                              if constexpr (std::same_as<T, bool>)
                                  return kind == Parsed::True || kind == Parsed::False;
                              else if constexpr (std::same_as<T, signed char> || std::same_as<T, unsigned char>)
                                  return kind == Parsed::String &&
                                         isCharacter(value.text(), dmNumberAt<unsigned char>(stored));
                              else if constexpr (DmNumberStorage<T>)
                                  return kind == Parsed::Number && isSame(value.raw(), dmNumberAt<T>(stored));
                              else
                                  return def._type == DM_STRING && kind == Parsed::String;
                          });
}

bool isElementKept(const DmPropertyDef& def, const Value& value, const void* stored)
{
    if (value.kind() != Parsed::String)
        return false;
    if (def._serializer)
        return isKept(def, value, stored);
    return dmVisitStorage(def._type,
                          [&]<class T>(std::type_identity<T>)
                          {
                              if constexpr (dmIsVector<T>)
                              {
                                  using Element = typename T::value_type;
                                  if constexpr (DmNumberStorage<Element>)
                                  {
                                      const std::string text = value.text();
                                      return isNumber(text, std::is_floating_point_v<Element>) &&
                                             isSame(std::string_view(text), dmNumberAt<Element>(stored));
                                  }
                              }
                              return true;
                          });
}

std::string shownValue(const DmPropertyDef& def, const void* stored)
{
    DmString wide;
    if (DmPropertySet_Str_Utils::textOfValue(def, stored, wide) != DM_NO_ERROR)
        return "?";
    std::string text = dmUtf8(wide);
    constexpr std::size_t most = 80;
    if (text.size() > most)
        text = text.substr(0, DM::CoUtf8::cut(text.data(), most)) + "...";
    const bool isNumber = def._type <= DM_DOUBLE && def._type != DM_CHAR && def._type != DM_UCHAR && !def._serializer;
    return isNumber ? text : '"' + text + '"';
}

} // namespace dmJson
