/// Numbers and bools to and from text, exactly as a wide stream of the classic locale with boolalpha and ten
/// significant digits writes and reads them, without one: no locale, no allocation.
///
/// Reading is one extraction: leading blanks are skipped, the longest text that looks like a number is taken, the rest
/// is ignored, and what does not convert is 0 (false); what is too large is the type's limit. "-1" read as an unsigned
/// number is the largest one; "1" is no bool word.
#pragma once

#include "dmString.h"

#include <charconv>
#include <string_view>
#include <type_traits>

namespace dmNumberText
{

/// Room for any number: the sign and all digits of a 64-bit integer, ten digits and an exponent.
inline constexpr std::size_t maxChars = 32;

/// The text of a value, in `buffer` or static. A bool is "true" or "false", an 8-bit value its decimal number.
template <class T>
std::string_view format(T value, char (&buffer)[maxChars])
{
    std::to_chars_result result{};
    if constexpr (std::is_same_v<T, bool>)
        return value ? "true" : "false";
    else if constexpr (std::is_floating_point_v<T>)
        result = std::to_chars(buffer, buffer + maxChars, value, std::chars_format::general, 10);
    else
        result = std::to_chars(buffer, buffer + maxChars, value);
    return {buffer, static_cast<std::size_t>(result.ptr - buffer)};
}

/// The value that a text begins with. For 8-bit types the code of its first character that is no blank.
template <class T, class Char>
T parse(std::basic_string_view<Char> text);

} // namespace dmNumberText
