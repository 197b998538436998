/// Text as the readers of cut lists need it: views into the file's bytes, cut into words without a copy.
///
/// Every control character counts as a blank, so the tabs, form feeds and end-of-file marks that old systems put into
/// their lists separate words like a space. Letters compare without regard to case in ASCII only.
#pragma once

#include "dmString.h"

#include <CoInteger.h>
#include <CoNumber.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace interchange
{

// Characters

constexpr bool isBlank(char c)
{
    return static_cast<unsigned char>(c) <= ' ';
}
constexpr bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
constexpr char toUpper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// Words; the remainder that is left in `text` has no blanks at its ends when `text` had none

inline std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}
inline std::string_view takeFirstWord(std::string_view& text)
{
    std::size_t end = 0;
    while (end < text.size() && !isBlank(text[end]))
        ++end;
    const std::string_view word = text.substr(0, end);
    while (end < text.size() && isBlank(text[end]))
        ++end;
    text.remove_prefix(end);
    return word;
}
inline std::string_view takeLastWord(std::string_view& text)
{
    std::size_t begin = text.size();
    while (begin > 0 && !isBlank(text[begin - 1]))
        --begin;
    const std::string_view word = text.substr(begin);
    while (begin > 0 && isBlank(text[begin - 1]))
        --begin;
    text = text.substr(0, begin);
    return word;
}

/// Calls `take` with each line, without its end.
template <typename Take>
void forEachLine(std::string_view text, Take&& take)
{
    while (!text.empty())
    {
        const std::size_t end = std::min(text.find('\n'), text.size());
        take(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

/// Makes a blank of every control character but tabs; false where there is none.
bool blankControls(std::string& text);

// Comparison; `upper` is given in upper case

inline bool startsWithNoCase(std::string_view text, std::string_view upper)
{
    return text.size() >= upper.size() &&
           std::equal(upper.begin(), upper.end(), text.begin(), [](char a, char b) { return a == toUpper(b); });
}
inline bool equalsNoCase(std::string_view text, std::string_view upper)
{
    return text.size() == upper.size() && startsWithNoCase(text, upper);
}

// Numbers

bool isAllDigits(std::string_view text);
/// The whole text as a number; none when it is anything else or does not fit. Decimal fractions need no leading zero,
/// and have no exponent.
template <typename Number>
std::optional<Number> toNumber(std::string_view text);
/// The shortest decimal fraction that reads back to the value, with at least `decimals` places and the part before the
/// point filled with zeros to `width` digits: (47.6, 3, 1) is "047.6".
void appendDecimal(std::string& text, double value, int width, int decimals);

/// A number times a power of ten, as its digits have it: 99.9 by -2 is 0.999, which 99.9 / 100 is not.
double shifted(double value, int places);

// Bytes

inline constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// Turns the bytes of a text file into UTF-8: drops a byte-order mark, and takes bytes that are no UTF-8 for Latin-1.
/// True when it did that.
bool makeUtf8(std::string& bytes);

/// What a file's byte-order mark says of its text.
enum class Encoding : std::uint8_t
{
    Unmarked,
    Utf8,
    Utf16Little,
    Utf16Big
};
Encoding encodingOf(std::string_view bytes);
/// Turns UTF-16 into UTF-8 where the mark says that it is some; false where it does not. What is no character becomes
/// U+FFFD.
bool fromUtf16(std::string& bytes);
/// UTF-8 without a mark as bytes of the encoding, with its mark.
std::string encoded(std::string utf8, Encoding encoding);

/// What a file begins with, behind a byte-order mark and blanks.
std::string_view withoutBlanksInFront(std::string_view bytes);

/// The data model's string of a UTF-8 text; empty when it is none.
DmString toDmString(std::string_view utf8);

template <typename Number>
std::optional<Number> toNumber(std::string_view text)
{
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    if constexpr (std::is_floating_point_v<Number>)
        return DM::CoNumber::whole(text, std::chars_format::fixed);
    else
        return DM::CoInteger::whole<Number>(text);
}

} // namespace interchange
