#include "icText.h"

#include "CoUtf8.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace interchange
{

namespace
{

bool isAscii(char c)
{
    return static_cast<unsigned char>(c) < 0x80;
}

/// The first byte that is not ASCII; eight at a time, since nearly every list has none.
const char* findBeyondAscii(const char* begin, const char* end)
{
    constexpr std::uint64_t highBits = 0x8080808080808080U;
    for (std::uint64_t word = 0; end - begin >= static_cast<std::ptrdiff_t>(sizeof word); begin += sizeof word)
    {
        std::memcpy(&word, begin, sizeof word);
        if ((word & highBits) != 0)
            break;
    }
    return std::find_if_not(begin, end, isAscii);
}

/// A text is UTF-8 if every run of bytes beyond ASCII is: no sequence reaches across an ASCII byte.
bool isUtf8(std::string_view bytes)
{
    const char* const end = bytes.data() + bytes.size();
    for (const char* run = bytes.data(); (run = findBeyondAscii(run, end)) != end;)
    {
        const char* const runEnd = std::find_if(run, end, isAscii);
        DmString text;
        if (!dmFromUtf8({run, static_cast<std::size_t>(runEnd - run)}, text))
            return false;
        run = runEnd;
    }
    return true;
}

} // namespace

bool blankControls(std::string& text)
{
    const auto isControl = [](char c) { return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == '\x7F'; };
    const auto first = std::ranges::find_if(text, isControl);
    std::replace_if(first, text.end(), isControl, ' ');
    return first != text.end();
}

bool isAllDigits(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), isDigit);
}

void appendDecimal(std::string& text, double value, int width, int decimals)
{
    // The longest shortest form of a double without exponent has some 340 characters.
    std::array<char, 512> buffer{};
    const std::to_chars_result end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::fabs(value), std::chars_format::fixed);
    const std::string_view digits(buffer.data(), static_cast<std::size_t>(end.ptr - buffer.data()));
    const std::size_t whole = std::min(digits.find('.'), digits.size());
    const std::size_t places = digits.size() - std::min(whole + 1, digits.size());

    if (std::signbit(value))
        text.push_back('-');
    text.append(static_cast<std::size_t>(std::max(0, width - static_cast<int>(whole))), '0').append(digits);
    if (places == 0 && decimals > 0)
        text.push_back('.');
    text.append(static_cast<std::size_t>(std::max(0, decimals - static_cast<int>(places))), '0');
}

double shifted(double value, int places)
{
    if (!std::isfinite(value))
        return value;
    std::array<char, 64> buffer{};
    const std::to_chars_result end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::scientific);
    const std::string_view text(buffer.data(), static_cast<std::size_t>(end.ptr - buffer.data()));
    const std::size_t exponent = text.find('e') + 1;
    const int was = toNumber<int>(text.substr(exponent)).value_or(0);
    return DM::CoNumber::whole(std::string(text.substr(0, exponent)) + std::to_string(was + places)).value_or(value);
}

bool makeUtf8(std::string& bytes)
{
    if (bytes.starts_with(byteOrderMark))
        bytes.erase(0, byteOrderMark.size());
    if (isUtf8(bytes))
        return false;
    std::string utf8;
    utf8.reserve(bytes.size() + bytes.size() / 8);
    for (const char c : bytes)
    {
        std::array<char, DM::CoUtf8::maxBytes> character{};
        utf8.append(character.data(), DM::CoUtf8::encode(static_cast<unsigned char>(c), character.data()));
    }
    bytes = std::move(utf8);
    return true;
}

Encoding encodingOf(std::string_view bytes)
{
    return bytes.starts_with(byteOrderMark) ? Encoding::Utf8
           : bytes.starts_with("\xFF\xFE")  ? Encoding::Utf16Little
           : bytes.starts_with("\xFE\xFF")  ? Encoding::Utf16Big
                                            : Encoding::Unmarked;
}

bool fromUtf16(std::string& bytes)
{
    const Encoding encoding = encodingOf(bytes);
    const bool isBig = encoding == Encoding::Utf16Big;
    if (!isBig && encoding != Encoding::Utf16Little)
        return false;
    constexpr std::uint32_t none = 0xFFFD;
    const auto unitAt = [&](std::size_t at) -> std::uint32_t
    {
        if (at + 1 >= bytes.size())
            return none;
        const auto first = static_cast<unsigned char>(bytes[at]);
        const auto second = static_cast<unsigned char>(bytes[at + 1]);
        return isBig ? first << 8U | second : second << 8U | first;
    };
    const auto isIn = [](std::uint32_t unit, std::uint32_t surrogates) { return unit >> 10U == surrogates >> 10U; };
    constexpr std::uint32_t high = 0xD800;
    constexpr std::uint32_t low = 0xDC00;
    std::string utf8;
    utf8.reserve(bytes.size() / 2);
    for (std::size_t at = 2; at < bytes.size(); at += 2)
    {
        std::uint32_t character = unitAt(at);
        if (const std::uint32_t next = unitAt(at + 2); isIn(character, high) && isIn(next, low))
        {
            character = 0x10000 + ((character - high) << 10U) + (next - low);
            at += 2;
        }
        else if (isIn(character, high) || isIn(character, low))
            character = none;
        std::array<char, DM::CoUtf8::maxBytes> text{};
        utf8.append(text.data(), DM::CoUtf8::encode(character, text.data()));
    }
    bytes = std::move(utf8);
    return true;
}

std::string encoded(std::string utf8, Encoding encoding)
{
    if (encoding == Encoding::Unmarked)
        return utf8;
    if (encoding == Encoding::Utf8)
        return utf8.insert(0, byteOrderMark);
    std::string bytes;
    bytes.reserve(2 * utf8.size() + 2);
    const auto append = [&](std::uint32_t unit)
    {
        const auto high = static_cast<char>(unit >> 8U);
        const auto low = static_cast<char>(unit & 0xFFU);
        bytes += encoding == Encoding::Utf16Big ? high : low;
        bytes += encoding == Encoding::Utf16Big ? low : high;
    };
    append(0xFEFF);
    const DmString text = toDmString(utf8);
    for (const wchar_t c : text.view())
    {
        const auto character = static_cast<std::uint32_t>(c);
        if (character < 0x10000)
            append(character);
        else
        {
            append(0xD800 + ((character - 0x10000) >> 10U));
            append(0xDC00 + ((character - 0x10000) & 0x3FFU));
        }
    }
    return bytes;
}

std::string_view withoutBlanksInFront(std::string_view bytes)
{
    if (bytes.starts_with(byteOrderMark))
        bytes.remove_prefix(byteOrderMark.size());
    while (!bytes.empty() && isBlank(bytes.front()))
        bytes.remove_prefix(1);
    return bytes;
}

DmString toDmString(std::string_view utf8)
{
    DmString text;
    [[maybe_unused]] const bool isUtf8 = dmFromUtf8(utf8, text); // texts of a list are, by its promise
    return text;
}

} // namespace interchange
