#include "icOtioText.h"

#include <rapidjson/internal/dtoa.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <emmintrin.h>
#include <utility>

namespace interchange::otio
{

namespace
{

constexpr std::size_t indent = 4;
constexpr std::size_t mostOfCharacter = 6; ///< bytes, when it is escaped
constexpr std::size_t mostOfNumber = 32;
constexpr std::size_t mostOfTime = 128; ///< without what stands before its lines

bool isPlain(char c)
{
    return static_cast<unsigned char>(c) >= ' ' && c != '"' && c != '\\';
}

bool arePlain(__m128i bytes)
{
    const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x1F)), bytes);
    const __m128i quote = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i escape = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    return _mm_movemask_epi8(_mm_or_si128(control, _mm_or_si128(quote, escape))) == 0;
}

/// Copies 16 bytes; whether they stand for themselves.
bool copySixteen(const char* from, char* to)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
    return arePlain(bytes);
}

bool copyEight(const char* from, char* to)
{
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), bytes);
    return arePlain(_mm_unpacklo_epi64(bytes, bytes));
}

/// Copies a text; whether all of it stands for itself. The last bytes of a longer one are copied together with some
/// that were copied before.
bool copyPlain(std::string_view text, char* to)
{
    const char* const from = text.data();
    const std::size_t size = text.size();
    bool isPlainText = true;
    if (size >= 16)
    {
        for (std::size_t i = 0; i + 16 <= size; i += 16)
            isPlainText &= copySixteen(from + i, to + i);
        return copySixteen(from + size - 16, to + size - 16) && isPlainText;
    }
    if (size >= 8)
    {
        isPlainText = copyEight(from, to);
        return copyEight(from + size - 8, to + size - 8) && isPlainText;
    }
    for (std::size_t i = 0; i < size; ++i)
    {
        to[i] = from[i];
        isPlainText &= isPlain(from[i]);
    }
    return isPlainText;
}

} // namespace

JsonText::JsonText(Sink& sink)
    : _sink(sink)
{
}

char* JsonText::room(std::size_t size)
{
    if (static_cast<std::size_t>(_piece.data() + pieceSize - _to) < size)
        flush();
    return _to;
}

void JsonText::flush()
{
    _isGood = _isGood && _sink.write({_piece.data(), _to});
    _to = _piece.data();
}

bool JsonText::finish()
{
    room(1);
    put('\n');
    flush();
    return _isGood;
}

void JsonText::beginLine(bool hasComma)
{
    const std::size_t blanks = _levels.size() * indent;
    room(2 + blanks);
    if (hasComma)
        put(',');
    putLine(blanks);
}

void JsonText::putLine(std::size_t blanks)
{
    put('\n');
    const __m128i spaces = _mm_set1_epi8(' ');
    if (blanks > usualBlanks)
        std::memset(_to, ' ', blanks);
    else
        for (std::size_t i = 0; i < usualBlanks; i += sizeof spaces)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(_to + i), spaces);
    _to += blanks;
}

void JsonText::begin()
{
    if (!std::exchange(_isNamed, false) && !_levels.empty())
        beginLine(!std::exchange(_levels.back().isEmpty, false));
}

void JsonText::open(char bracket)
{
    begin();
    room(1);
    put(bracket);
    _levels.emplace_back();
}

void JsonText::close(char bracket)
{
    const bool isEmpty = _levels.back().isEmpty;
    _levels.pop_back();
    if (!isEmpty)
        beginLine(false);
    room(1);
    put(bracket);
}

void JsonText::name(std::string_view name)
{
    begin();
    quote(name);
    put(": ");
    _isNamed = true;
}

void JsonText::raw(std::string_view text)
{
    begin();
    _to = std::copy(text.begin(), text.end(), room(text.size()));
}

void JsonText::text(std::string_view text)
{
    begin();
    quote(text);
}

void JsonText::quote(std::string_view text)
{
    constexpr std::size_t part = pieceSize / 4;
    constexpr std::size_t rest = 4; ///< the quotes, and what stands behind a name
    room(std::min(text.size(), part) + rest);
    put('"');
    for (; text.size() > part; text.remove_prefix(part))
        escape(text.substr(0, part));
    escape(text);
    room(rest);
    put('"');
}

void JsonText::escape(std::string_view text)
{
    if (copyPlain(text, room(text.size())))
    {
        _to += text.size();
        return;
    }
    for (const char c : text)
    {
        constexpr std::string_view escaped = "\"\\\b\f\n\r\t";
        constexpr std::string_view letters = "\"\\bfnrt";
        constexpr std::string_view hex = "0123456789ABCDEF";
        const auto code = static_cast<unsigned char>(c);
        room(mostOfCharacter);
        if (isPlain(c))
            put(c);
        else if (const std::size_t at = escaped.find(c); at != escaped.npos)
            _to = std::copy_n(std::array{'\\', letters[at]}.data(), 2, _to);
        else
            _to = std::copy_n(std::array{'\\', 'u', '0', '0', hex[code >> 4], hex[code & 15]}.data(), mostOfCharacter,
                              _to);
    }
}

void JsonText::number(double number)
{
    begin();
    room(mostOfNumber);
    putNumber(number);
}

void JsonText::putNumber(double number)
{
    constexpr double largestInteger = 9007199254740992; // beyond it doubles are further than one apart
    if (!std::isfinite(number))
        put(nonFiniteToken(number));
    else if (std::abs(number) < largestInteger && number == std::trunc(number) &&
             (number != 0 || !std::signbit(number)))
    {
        _to = std::to_chars(_to, _to + mostOfNumber, static_cast<std::int64_t>(number)).ptr;
        put(".0");
    }
    else
        _to = json::internal::dtoa(number, _to);
}

void JsonText::putTime(std::size_t blanks, double rate, double frames)
{
    put('{');
    putLine(blanks + indent);
    put(R"("OTIO_SCHEMA": "RationalTime.1",)");
    putLine(blanks + indent);
    put(R"("rate": )");
    putNumber(rate);
    put(',');
    putLine(blanks + indent);
    put(R"("value": )");
    putNumber(frames);
    putLine(blanks);
    put('}');
}

void JsonText::time(std::string_view name, double rate, double frames)
{
    this->name(name);
    _isNamed = false;
    const std::size_t blanks = _levels.size() * indent;
    room(mostOfTime + 4 * (blanks + indent));
    putTime(blanks, rate, frames);
}

void JsonText::range(std::string_view name, double rate, double start, double length)
{
    this->name(name);
    _isNamed = false;
    const std::size_t blanks = _levels.size() * indent;
    room(3 * mostOfTime + 12 * (blanks + 2 * indent));
    put('{');
    putLine(blanks + indent);
    put(R"("OTIO_SCHEMA": "TimeRange.1",)");
    putLine(blanks + indent);
    put(R"("duration": )");
    putTime(blanks + indent, rate, length);
    put(',');
    putLine(blanks + indent);
    put(R"("start_time": )");
    putTime(blanks + indent, rate, start);
    putLine(blanks);
    put('}');
}

void JsonText::integer(std::int64_t number)
{
    begin();
    char* const to = room(mostOfNumber);
    _to = std::to_chars(to, to + mostOfNumber, number).ptr;
}

void JsonText::integer(std::uint64_t number)
{
    begin();
    char* const to = room(mostOfNumber);
    _to = std::to_chars(to, to + mostOfNumber, number).ptr;
}

} // namespace interchange::otio
