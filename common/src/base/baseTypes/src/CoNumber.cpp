#include "CoNumber.h"

#include <limits>
#include <system_error>

namespace DM::CoNumber
{
namespace
{

/// Which way a number went that is out of range: the place of its first digit that is no zero, and the exponent.
bool isHuge(std::string_view number)
{
    constexpr long long most = 1'000'000'000;
    const std::size_t mark = number.find_first_of("eE");
    const std::string_view digits = number.substr(0, mark);
    long long place = 0; // of the first digit, counted from the point
    bool isBehindPoint = false;
    bool isCounting = false;
    for (const char c : digits)
    {
        isBehindPoint = isBehindPoint || c == '.';
        isCounting = isCounting || (c >= '1' && c <= '9');
        if (c >= '0' && c <= '9')
            place += isBehindPoint ? (isCounting ? 0 : -1) : (isCounting ? 1 : 0);
    }
    long long exponent = 0;
    if (mark != number.npos)
    {
        std::string_view text = number.substr(mark + 1);
        const bool isNegative = text.starts_with('-');
        text.remove_prefix(isNegative || text.starts_with('+') ? 1 : 0);
        for (const char c : text)
            exponent = exponent > most ? most : exponent * 10 + (c - '0');
        exponent = isNegative ? -exponent : exponent;
    }
    return place + exponent > 0;
}

template <class T>
T readAs(std::string_view text, std::size_t& length, std::chars_format format)
{
    T value = 0;
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), value, format);
    length = result.ec == std::errc::invalid_argument ? 0 : static_cast<std::size_t>(result.ptr - text.data());
    if (result.ec != std::errc::result_out_of_range)
        return length > 0 ? value : T(0);
    const T magnitude = isHuge(text.substr(0, length)) ? std::numeric_limits<T>::infinity() : T(0);
    return text.starts_with('-') ? -magnitude : magnitude;
}

} // namespace

double read(std::string_view text, std::size_t& length, std::chars_format format)
{
    return readAs<double>(text, length, format);
}

float readFloat(std::string_view text, std::size_t& length)
{
    return readAs<float>(text, length, std::chars_format::general);
}

} // namespace DM::CoNumber
