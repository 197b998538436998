#include "dmNumberText.h"

#include "dmPropertyType.h"

#include "CoInteger.h"
#include "CoNumber.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <string>

namespace dmNumberText
{
namespace
{

template <class Char>
bool isBlank(Char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

template <class Char>
bool isDigit(Char c)
{
    return c >= '0' && c <= '9';
}

template <class Char>
std::basic_string_view<Char> withoutBlanks(std::basic_string_view<Char> text)
{
    std::size_t i = 0;
    while (i < text.size() && isBlank(text[i]))
        ++i;
    text.remove_prefix(i);
    return text;
}

template <class T>
T convert(std::string_view number)
{
    number.remove_prefix(number.starts_with('+') ? 1 : 0);
    std::size_t length = 0;
    T value = 0;
    if constexpr (std::is_same_v<T, float>)
        value = DM::CoNumber::readFloat(number, length);
    else
        value = DM::CoNumber::read(number, length);
    // All that was taken must be a number: "1e" and "." are none.
    constexpr T largest = std::numeric_limits<T>::max();
    return length == number.size() ? std::clamp(value, -largest, largest) : T(0);
}

/// The length of the longest text that a stream takes for a floating number: digits around at most one point, then
/// perhaps an exponent.
template <class Char>
std::size_t floatingLength(std::basic_string_view<Char> text)
{
    std::size_t i = 0;
    const auto sign = [&]
    {
        if (i < text.size() && (text[i] == '-' || text[i] == '+'))
            ++i;
    };
    sign();
    bool point = false;
    bool mantissa = false;
    for (; i < text.size(); ++i)
    {
        if (isDigit(text[i]))
            mantissa = true;
        else if (text[i] == '.' && !point)
            point = true;
        else
            break;
    }
    if (mantissa && i < text.size() && (text[i] == 'e' || text[i] == 'E'))
    {
        ++i;
        sign();
        while (i < text.size() && isDigit(text[i]))
            ++i;
    }
    return i;
}

/// Any text, by the grammar.
template <class T, class Char>
T parseFloatingText(std::basic_string_view<Char> text)
{
    const std::basic_string_view<Char> number = text.substr(0, floatingLength(text));
    const std::string narrow(number.begin(), number.end()); // of ASCII characters only
    return convert<T>(narrow);
}

/// A number of few digits without an exponent, which is nearly every one: where its digits and the power of ten are
/// both exact in T, one division rounds correctly (Clinger 1990). False for any other text.
template <class T, class Char>
bool parseShortDecimal(std::basic_string_view<Char> text, T& value)
{
    constexpr T powers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10};
    constexpr std::uint64_t largestExact = std::uint64_t{1} << std::numeric_limits<T>::digits;
    constexpr std::size_t mostDigits = 18; // no 64-bit number overflows

    std::size_t i = !text.empty() && text[0] == '-' ? 1 : 0;
    const bool negative = i == 1;
    const std::size_t first = i;
    std::size_t point = text.size();
    std::uint64_t digits = 0;
    for (; i < text.size(); ++i)
    {
        if (isDigit(text[i]))
            digits = digits * 10 + static_cast<std::uint64_t>(text[i] - '0');
        else if (text[i] == '.' && point == text.size())
            point = i;
        else
            return false;
        if (i - first > mostDigits)
            return false;
    }
    const bool hasPoint = point != text.size();
    const std::size_t decimals = hasPoint ? text.size() - point - 1 : 0;
    if (i - first == (hasPoint ? 1U : 0U) || digits > largestExact || decimals >= std::size(powers))
        return false;
    value = static_cast<T>(digits) / powers[decimals];
    if (negative)
        value = -value;
    return true;
}

template <class T, class Char>
T parseFloating(std::basic_string_view<Char> text)
{
    T value = 0;
    return parseShortDecimal(text, value) ? value : parseFloatingText<T>(text);
}

template <class Char>
bool parseBool(std::basic_string_view<Char> text)
{
    constexpr std::string_view word = "true";
    if (text.size() < word.size())
        return false;
    for (std::size_t i = 0; i < word.size(); ++i)
        if (text[i] != word[i])
            return false;
    return true;
}

template <class T, class Char>
T parseCharacter(std::basic_string_view<Char> text)
{
    if (text.empty())
        return T(0);
    const auto code = static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<Char>>(text[0]));
    return static_cast<T>(code < 256 ? code : '_');
}

} // namespace

template <class T, class Char>
T parse(std::basic_string_view<Char> text)
{
    text = withoutBlanks(text);
    if constexpr (std::is_same_v<T, bool>)
        return parseBool(text);
    else if constexpr (sizeof(T) == 1)
        return parseCharacter<T>(text);
    else if constexpr (std::is_floating_point_v<T>)
        return parseFloating<T>(text);
    else
    {
        std::size_t length = 0;
        return DM::CoInteger::read<T>(text, length);
    }
}

// Every number type that a property is stored as, from wide text and from UTF-8.
#define DM_PARSE(T)                                                                                                    \
    template ZR_DM_API T parse<T, wchar_t>(std::wstring_view);                                                         \
    template ZR_DM_API T parse<T, char>(std::string_view);
DM_PARSE(std::int32_t)
DM_PARSE(std::uint32_t)
DM_PARSE(std::int16_t)
DM_PARSE(std::uint16_t)
DM_PARSE(std::int64_t)
DM_PARSE(std::uint64_t)
DM_PARSE(signed char)
DM_PARSE(unsigned char)
DM_PARSE(float)
DM_PARSE(double)
DM_PARSE(bool)
#undef DM_PARSE

} // namespace dmNumberText
