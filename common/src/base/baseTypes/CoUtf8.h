/// The two things that everybody who writes UTF-8 needs: a character's bytes, and a place to cut a text.
#pragma once

#include <cstddef>

namespace DM::CoUtf8
{

/// What stands for a unit that is no character: a surrogate, or beyond U+10FFFF.
inline constexpr char32_t replacement = 0xFFFD;
/// The most bytes of one character.
inline constexpr std::size_t maxBytes = 4;

constexpr bool isCharacter(char32_t unit)
{
    return unit < 0xD800 || (unit > 0xDFFF && unit <= 0x10FFFF);
}

/// Writes a unit's bytes (at most maxBytes) and returns their number; what is no character becomes U+FFFD.
constexpr std::size_t encode(char32_t unit, char* out)
{
    const char32_t c = isCharacter(unit) ? unit : replacement;
    if (c < 0x80)
    {
        out[0] = static_cast<char>(c);
        return 1;
    }
    const std::size_t count = c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    constexpr unsigned leads[] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (std::size_t i = count - 1; i > 0; --i)
        out[i] = static_cast<char>(0x80 | ((c >> (6 * (count - 1 - i))) & 0x3F));
    out[0] = static_cast<char>(leads[count] | (c >> (6 * (count - 1))));
    return count;
}

/// The length of `text[0, length)` without a character that begins in it and does not end in it. A text that is not
/// UTF-8 keeps its length.
constexpr std::size_t cut(const char* text, std::size_t length)
{
    for (std::size_t back = 1; back < maxBytes && back <= length; ++back)
    {
        const auto byte = static_cast<unsigned char>(text[length - back]);
        if (byte < 0x80)
            return length;
        if (byte >= 0xC0)
        {
            const std::size_t count = byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : byte < 0xF8 ? 4 : 1;
            return count > back ? length - back : length;
        }
    }
    return length;
}

} // namespace DM::CoUtf8
