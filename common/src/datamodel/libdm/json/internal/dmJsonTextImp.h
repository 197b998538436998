/// The spelling of JSON: names, strings and numbers between their brackets and commas, in either layout.
///
/// Wide text is narrowed 16 characters at a time where they stand for themselves (SSE2), as nearly all
/// do.
#pragma once

#include "dmJsonBytesImp.h"
#include "dmJsonOutputImp.h"

#include "CoUtf8.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <emmintrin.h>
#include <string>
#include <string_view>
#include <utility>

namespace dmJson
{

template <bool isPretty>
class JsonText
{
public:
    explicit JsonText(Output& output)
        : _output(output)
    {
    }

    /// In front of each value of an array and each name of an object.
    void next()
    {
        char* to = _output.room(_depth + around);
        if (!std::exchange(_isFirst, false))
            *to++ = ',';
        _output.wrote(isPretty && _depth > 0 ? indent(to) : to);
    }
    /// A name as it stands in an object, with its quotes and its colon: written whole, since its end costs more to mind
    /// than the bytes behind it.
    class Name
    {
    public:
        Name() = default;
        explicit Name(std::string_view spelt)
            : _bytes(spelt)
            , _size(spelt.size())
        {
            _bytes.resize(std::max(_size, atLeast));
        }
        bool empty() const { return _size == 0; }

    private:
        friend class JsonText;
        static constexpr std::size_t atLeast = 32;

        std::string _bytes;
        std::size_t _size = 0;
    };
    void member(const Name& name)
    {
        member(name, 0, [](char* to) { return to; });
    }
    /// And its value: `write` puts `most` bytes at most where it is told, and answers where they end.
    template <class Write>
    void member(const Name& name, std::size_t most, const Write& write)
    {
        char* to = _output.room(_depth + around + name._bytes.size() + most);
        *to = ',';
        to += std::exchange(_isFirst, false) ? 0 : 1;
        if (isPretty && _depth > 0)
            to = indent(to);
        std::memcpy(to, name._bytes.data(), Name::atLeast);
        if (name._size > Name::atLeast)
            std::memcpy(to, name._bytes.data(), name._size);
        _output.wrote(write(to + name._size));
    }
    /// A value alone, written in the same way.
    template <class Write>
    void value(std::size_t most, const Write& write)
    {
        _output.wrote(write(_output.room(most)));
    }
    /// A name, or a string that holds nothing but ASCII that stands for itself.
    void asciiString(std::string_view text)
    {
        char* to = _output.room(text.size() + 2);
        *to++ = '"';
        to = std::copy(text.begin(), text.end(), to);
        *to++ = '"';
        _output.wrote(to);
    }
    /// Between a name and its value.
    void colon()
    {
        char* to = _output.room(2);
        *to++ = ':';
        if (isPretty)
            *to++ = ' ';
        _output.wrote(to);
    }
    /// A number or a word.
    void raw(std::string_view text)
    {
        char* const to = _output.room(text.size());
        _output.wrote(std::copy(text.begin(), text.end(), to));
    }
    /// False for text with units that are no characters.
    [[nodiscard]] bool string(std::wstring_view text);

    void begin(char bracket)
    {
        char* const to = _output.room(1);
        *to = bracket;
        _output.wrote(to + 1);
        ++_depth;
        _isFirst = true;
    }
    void end(char bracket)
    {
        --_depth;
        char* to = _output.room(_depth + around);
        if (!std::exchange(_isFirst, false) && isPretty)
            to = indent(to);
        *to++ = bracket;
        _output.wrote(to);
    }
    /// Open objects and arrays.
    std::size_t depth() const { return _depth; }

private:
    static constexpr std::size_t atOnce = 16;
    static constexpr std::size_t few = 4;
    /// What stands in front of a name, its indentation apart, and what may be written beyond that.
    static constexpr std::size_t around = 2 + atOnce;

    char* indent(char* to) const
    {
        *to++ = '\n';
        if (_depth <= atOnce)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_set1_epi8('\t'));
        else
            std::memset(to, '\t', _depth);
        return to + _depth;
    }
    static bool isPlain(wchar_t c) { return c >= 0x20 && c < 0x80 && c != '"' && c != '\\'; }
    /// The bytes of 16 characters; false where one of them does not stand for itself.
    static bool narrow(const wchar_t* from, char* to);
    /// The same of 4.
    static bool narrowFew(const wchar_t* from, char* to);
    /// Which bytes do not stand for themselves.
    static unsigned specials(__m128i bytes);
    static char* escaped(wchar_t c, char* to);

    Output& _output;
    std::size_t _depth = 0;
    bool _isFirst = true;
};

template <bool isPretty>
bool JsonText<isPretty>::narrow(const wchar_t* from, char* to)
{
    static_assert(sizeof(wchar_t) == 4);
    const auto load = [from](int i) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from) + i); };
    // What is above 0x7FFF is saturated, and what is above 0xFF is 0xFF: neither is below 0x80.
    const __m128i low = _mm_packs_epi32(load(0), load(1));
    const __m128i high = _mm_packs_epi32(load(2), load(3));
    const __m128i bytes = _mm_packus_epi16(low, high);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
    return specials(bytes) == 0;
}

template <bool isPretty>
bool JsonText<isPretty>::narrowFew(const wchar_t* from, char* to)
{
    const __m128i wide = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i words = _mm_packs_epi32(wide, wide);
    const __m128i bytes = _mm_packus_epi16(words, words);
    const int four = _mm_cvtsi128_si32(bytes);
    std::memcpy(to, &four, sizeof four);
    return specials(bytes) == 0;
}

template <bool isPretty>
unsigned JsonText<isPretty>::specials(__m128i bytes)
{
    const __m128i control = _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)); // and what is above 0x7F
    const __m128i quote = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i escape = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(control, _mm_or_si128(quote, escape))));
}

template <bool isPretty>
char* JsonText<isPretty>::escaped(wchar_t c, char* to)
{
    constexpr const char* digits = "0123456789ABCDEF";
    constexpr std::string_view characters = "\"\\\b\f\n\r\t";
    constexpr std::string_view names = "\"\\bfnrt";
    *to++ = '\\';
    if (const std::size_t which = characters.find(static_cast<char>(c)); which != characters.npos)
    {
        *to++ = names[which];
        return to;
    }
    for (const char each : {'u', '0', '0', digits[c / 16], digits[c % 16]})
        *to++ = each;
    return to;
}

template <bool isPretty>
bool JsonText<isPretty>::string(std::wstring_view text)
{
    constexpr std::size_t piece = 4096;
    constexpr std::size_t mostBytes = 6; // of a character
    char* to = _output.room(1);
    *to++ = '"';
    _output.wrote(to);
    while (!text.empty())
    {
        const std::size_t count = std::min(text.size(), piece);
        to = _output.room(mostBytes * count + atOnce);
        for (std::size_t i = 0; i < count;)
        {
            if (count - i >= Bytes::manyBytes)
            {
                const std::size_t done = Bytes::best().narrow(text.substr(i, count - i), to);
                i += done;
                to += done;
            }
            if (count - i >= atOnce && narrow(&text[i], to))
            {
                i += atOnce;
                to += atOnce;
                continue;
            }
            if (count - i >= few && narrowFew(&text[i], to))
            {
                i += few;
                to += few;
                continue;
            }
            for (const std::size_t end = std::min(count, i + few); i < end; ++i)
            {
                const wchar_t c = text[i];
                if (isPlain(c))
                    *to++ = static_cast<char>(c);
                else if (c >= 0 && c < 0x80)
                    to = escaped(c, to);
                else if (!DM::CoUtf8::isCharacter(static_cast<char32_t>(c)))
                    return false;
                else
                    to += DM::CoUtf8::encode(static_cast<char32_t>(c), to);
            }
        }
        _output.wrote(to);
        text.remove_prefix(count);
    }
    to = _output.room(1);
    *to++ = '"';
    _output.wrote(to);
    return true;
}

} // namespace dmJson
