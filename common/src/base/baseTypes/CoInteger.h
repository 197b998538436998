/// Integers from text, the one reading of them: as CoNumber.h is of numbers with a fraction.
#pragma once

#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace DM::CoInteger
{

/// The integer that a text is altogether, if the type holds it: without blanks or a plus sign around it.
template <class T>
std::optional<T> whole(std::string_view text, int base = 10)
{
    T number{};
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number, base);
    return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

/// The integer that a text begins with, behind a sign or none; `length` is how much of the text that is. What the type
/// does not hold gives the nearest that it does; of an unsigned type, negative numbers wrap.
template <class T, class Char>
T read(std::basic_string_view<Char> text, std::size_t& length)
{
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
    const bool isNegative = !text.empty() && text[0] == '-';
    const std::uint64_t limit = isNegative && std::numeric_limits<T>::is_signed ? largest + 1 : largest;
    std::uint64_t value = 0;
    bool isTooLarge = false;
    length = isNegative || (!text.empty() && text[0] == '+') ? 1 : 0;
    for (; length < text.size() && text[length] >= '0' && text[length] <= '9'; ++length)
    {
        const auto digit = static_cast<std::uint64_t>(text[length] - '0');
        isTooLarge = isTooLarge || value > (limit - digit) / 10;
        value = isTooLarge ? value : value * 10 + digit;
    }
    if (length == 1 && (text[0] == '-' || text[0] == '+'))
        length = 0;
    if (isTooLarge)
        return isNegative && std::numeric_limits<T>::is_signed ? std::numeric_limits<T>::min()
                                                               : std::numeric_limits<T>::max();
    return static_cast<T>(isNegative ? std::uint64_t{0} - value : value);
}

} // namespace DM::CoInteger
