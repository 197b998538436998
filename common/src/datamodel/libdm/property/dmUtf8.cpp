#include "dmUtf8.h"

#include "CoUtf8.h"

#include <cstdint>

namespace CoUtf8 = DM::CoUtf8;

namespace
{

void append(std::string& out, char32_t unit)
{
    char bytes[CoUtf8::maxBytes];
    out.append(bytes, CoUtf8::encode(unit, bytes));
}

/// Text of ASCII, as nearly every one is: told by a pass without branches, and narrowed by another. False for others.
bool appendAscii(std::string& out, std::wstring_view text)
{
    std::uint32_t bits = 0;
    for (const wchar_t unit : text)
        bits |= static_cast<std::uint32_t>(unit);
    if (bits >= 0x80)
        return false;
    const std::size_t before = out.size();
    out.resize(before + text.size());
    char* const to = out.data() + before;
    for (std::size_t i = 0; i < text.size(); ++i)
        to[i] = static_cast<char>(text[i]);
    return true;
}

/// A well-formed sequence by its first byte: its length, and the range that its second byte must lie in.
struct Sequence
{
    unsigned length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
};

Sequence sequenceOf(unsigned char first)
{
    if (first < 0x80)
        return {1};
    if (first < 0xC2 || first > 0xF4)
        return {0};
    if (first < 0xE0)
        return {2};
    if (first < 0xF0)
        return {3, static_cast<unsigned char>(first == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(first == 0xED ? 0x9F : 0xBF)};
    return {4, static_cast<unsigned char>(first == 0xF0 ? 0x90 : 0x80),
            static_cast<unsigned char>(first == 0xF4 ? 0x8F : 0xBF)};
}

/// Calls `put` with each character; false where the text is ill-formed.
template <class Put>
bool decode(std::string_view utf8, Put put)
{
    for (std::size_t i = 0; i < utf8.size();)
    {
        const auto at = [&](std::size_t k) { return static_cast<unsigned char>(utf8[i + k]); };
        const Sequence sequence = sequenceOf(at(0));
        if (sequence.length == 0 || sequence.length > utf8.size() - i)
            return false;
        std::uint32_t c = sequence.length == 1 ? at(0) : at(0) & (0xFFU >> (sequence.length + 1));
        for (unsigned k = 1; k < sequence.length; ++k)
        {
            const unsigned char next = at(k);
            if (next < (k == 1 ? sequence.low : 0x80) || next > (k == 1 ? sequence.high : 0xBF))
                return false;
            c = (c << 6) | (next & 0x3FU);
        }
        put(static_cast<wchar_t>(c));
        i += sequence.length;
    }
    return true;
}

} // namespace

bool dmFromUtf8(std::string_view utf8, DmString& out)
{
    // One byte a character is what nearly every text is: told by a pass without branches, and widened by another.
    unsigned char bits = 0;
    for (const char c : utf8)
        bits |= static_cast<unsigned char>(c);
    const bool ascii = bits < 0x80;
    std::size_t count = utf8.size();
    if (!ascii)
    {
        count = 0;
        if (!decode(utf8, [&count](wchar_t) { ++count; }))
            return false;
    }
    if (count >= 0xFFFFFFFF)
        return false;
    DmString text;
    if (!text.allocNewBuff(static_cast<unsigned>(count)))
        return false;
    if (count != 0)
    {
        wchar_t* to = &text[0];
        if (ascii)
            for (std::size_t i = 0; i < count; ++i)
                to[i] = static_cast<unsigned char>(utf8[i]);
        else
            static_cast<void>(decode(utf8, [&to](wchar_t c) { *to++ = c; }));
        text[static_cast<unsigned>(count)] = 0;
    }
    out.swap(text);
    return true;
}

bool dmIsUtf8(std::string_view utf8)
{
    return decode(utf8, [](wchar_t) {});
}

bool dmToUtf8(std::wstring_view text, std::string& out)
{
    if (appendAscii(out, text))
        return true;
    for (const wchar_t unit : text)
    {
        if (!CoUtf8::isCharacter(static_cast<char32_t>(unit)))
            return false;
        append(out, static_cast<char32_t>(unit));
    }
    return true;
}

std::string dmUtf8(std::wstring_view text)
{
    std::string out;
    if (appendAscii(out, text))
        return out;
    out.reserve(text.size());
    for (const wchar_t unit : text)
        append(out, static_cast<char32_t>(unit));
    return out;
}
