#include "icOtioQuick.h"

#include "icOtioNames.h"
#include "icText.h"

#include "CoUtf8.h"
#include "dmUtf8.h"

#include <CoInteger.h>
#include <CoNumber.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <emmintrin.h>
#include <limits>
#include <optional>
#include <vector>

namespace interchange::otio
{

namespace
{

constexpr std::ptrdiff_t atOnce = 16;

class QuickParser
{
public:
    QuickParser(json::Document& to, const char* at, const char* end, std::size_t depth, std::vector<ListApart>* apart)
        : _to(to)
        , _at(at)
        , _end(end)
        , _depth(depth)
        , _apart(apart)
    {
    }

    /// One value, to its end.
    bool parse();
    const char* at() const { return _at; }
    void skipBlanks();

private:
    struct Level
    {
        bool isObject;
        json::SizeType count = 0;
    };
    /// Of a level as far out as the children of a timeline's tracks, where those are to stay apart.
    struct Outer
    {
        std::string_view name; ///< under which it stands
        std::string_view schema;
        const char* first = nullptr; ///< its first name
    };
    static constexpr std::size_t levelsOfTrack = 4; ///< the timeline, its stack, the list of its tracks, a track

    /// Takes what stands between a value and the next, whose name it takes, too, and closes what has ended. False at
    /// the end of the value, and where something else stands.
    bool goOn();
    bool standsApart() const;
    /// The end of the list that begins here, told by how its lines are indented; null where that does not tell it.
    const char* endOfList() const;
    /// Up to the first value inside, if there is one.
    bool open(bool& isEmpty);
    bool close();
    bool name();
    /// What holds no other values.
    bool single();
    bool number();
    bool word(std::string_view word);
    /// What stands between quotes: in the text, or decoded in the document's memory.
    bool string(std::string_view& string);
    bool decode(const char* begin, const char* end, std::string_view& string);
    static bool decodeCharacter(const char*& from, const char* end, char*& to);
    static std::optional<unsigned> unit(const char*& from, const char* end);

    json::Document& _to;
    const char* _at;
    const char* const _end; ///< a zero stands there
    const std::size_t _depth;
    std::vector<ListApart>* const _apart;
    std::vector<Level> _levels;
    std::array<Outer, levelsOfTrack> _outer;
    std::string_view _name; ///< the last one
    bool _isDone = false;
};

bool QuickParser::parse()
{
    for (;;)
    {
        skipBlanks();
        bool isEmpty = true;
        const bool holdsOthers = *_at == '{' || *_at == '[';
        if (const char* const end = _apart && standsApart() ? endOfList() : nullptr)
        {
            _apart->push_back({_outer.back().first, {_at, end}});
            _at = end;
            static_cast<void>(_to.StartArray() && _to.EndArray(0));
        }
        else if (holdsOthers ? !open(isEmpty) : !single())
            return false;
        if (isEmpty && !goOn())
            return _isDone;
    }
}

// Between values

void QuickParser::skipBlanks()
{
    while (isJsonBlank(*_at))
    {
        ++_at;
        while (_end - _at >= atOnce)
        {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(_at));
            const __m128i blanks = _mm_cmpeq_epi8(bytes, _mm_set1_epi8(' '));
            const int count = std::countr_one(static_cast<unsigned>(_mm_movemask_epi8(blanks)));
            _at += count;
            if (count < atOnce)
                break;
        }
    }
}

bool QuickParser::goOn()
{
    for (;;)
    {
        if (_levels.empty())
        {
            _isDone = true;
            return false;
        }
        skipBlanks();
        Level& level = _levels.back();
        ++level.count;
        const char next = *_at;
        if (next == ',')
        {
            ++_at;
            return !level.isObject || name();
        }
        if (next != (level.isObject ? '}' : ']') || !close())
            return false;
    }
}

bool QuickParser::open(bool& isEmpty)
{
    const bool isObject = *_at++ == '{';
    if (_levels.size() + _depth == deepestJson)
        return false;
    if (_apart && _levels.size() < levelsOfTrack)
        _outer[_levels.size()] = {!_levels.empty() && _levels.back().isObject ? _name : std::string_view(), {}};
    _levels.push_back({isObject});
    static_cast<void>(isObject ? _to.StartObject() : _to.StartArray());
    skipBlanks();
    isEmpty = *_at == (isObject ? '}' : ']');
    return isEmpty ? close() : !isObject || name();
}

bool QuickParser::close()
{
    ++_at;
    const Level closed = _levels.back();
    _levels.pop_back();
    return closed.isObject ? _to.EndObject(closed.count) : _to.EndArray(closed.count);
}

bool QuickParser::name()
{
    skipBlanks();
    std::string_view name;
    const char* const begin = _at + 1;
    if (*_at != '"' || !string(name))
        return false;
    // The first name of an object stays where it stands in the text, and tells where that is; usual ones are not left
    // there otherwise, so that looking for a member touches no memory but the object's own.
    const bool isFirst = _levels.back().count == 0;
    if (isFirst && name.data() != begin)
        return false;
    if (const std::size_t usual = isFirst ? noName : usualName(name); usual != noName)
        name = usualNames[usual];
    _name = name;
    if (isFirst && _apart && _levels.size() <= levelsOfTrack)
        _outer[_levels.size() - 1].first = begin;
    skipBlanks();
    if (*_at != ':')
        return false;
    ++_at;
    return _to.Key(name.data(), static_cast<json::SizeType>(name.size()), false);
}

// Values

bool QuickParser::single()
{
    std::string_view text;
    switch (*_at)
    {
    case '"':
        if (!string(text))
            return false;
        if (_apart && !_levels.empty() && _levels.size() <= levelsOfTrack && _levels.back().count == 0 &&
            _name == schemaKey)
            _outer[_levels.size() - 1].schema = text;
        return _to.String(text.data(), static_cast<json::SizeType>(text.size()), false);
    case 't':
        return word("true") && _to.Bool(true);
    case 'f':
        return word("false") && _to.Bool(false);
    case 'n':
        return word("null") && _to.Null();
    default:
        return number();
    }
}

bool QuickParser::word(std::string_view word)
{
    if (!std::string_view(_at, _end).starts_with(word))
        return false;
    _at += word.size();
    return true;
}

bool QuickParser::number()
{
    constexpr std::array<double, 16> powers{1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                            1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    constexpr std::ptrdiff_t mostOfInteger = 19; ///< 64 bits without a sign hold all of them
    constexpr std::ptrdiff_t mostOfDouble = 15;  ///< up to there a quotient of two doubles is the nearest one
    const char* const begin = _at;
    const bool isNegative = *_at == '-';
    _at += isNegative ? 1 : 0;
    const char* const digits = _at;
    std::uint64_t figures = 0;
    for (; isDigit(*_at) && _at - digits <= mostOfInteger; ++_at)
        figures = figures * 10 + static_cast<std::uint64_t>(*_at - '0');
    const std::ptrdiff_t whole = _at - digits;
    if (whole == 0 || whole > mostOfInteger || (whole > 1 && *digits == '0'))
        return false;
    const bool isInteger = *_at != '.' && *_at != 'e' && *_at != 'E';
    if (isInteger && isNegative && figures == 0)
        return _to.Double(-0.0);
    if (isInteger)
    {
        constexpr std::uint64_t most = std::numeric_limits<std::int64_t>::max();
        if (figures <= most)
            return _to.Int64(isNegative ? -static_cast<std::int64_t>(figures) : static_cast<std::int64_t>(figures));
        return !isNegative && _to.Uint64(figures);
    }
    std::ptrdiff_t places = 0;
    if (*_at == '.')
    {
        for (++_at; isDigit(*_at); ++_at, ++places)
            figures = places + whole < mostOfDouble ? figures * 10 + static_cast<std::uint64_t>(*_at - '0') : 0;
        if (places == 0)
            return false;
    }
    if (*_at != 'e' && *_at != 'E' && whole + places <= mostOfDouble)
    {
        const double value = static_cast<double>(figures) / powers[static_cast<std::size_t>(places)];
        return _to.Double(isNegative ? -value : value);
    }
    if (*_at == 'e' || *_at == 'E')
    {
        ++_at;
        _at += *_at == '+' || *_at == '-' ? 1 : 0;
        if (!isDigit(*_at))
            return false;
        while (isDigit(*_at))
            ++_at;
    }
    const std::optional<double> value = DM::CoNumber::whole({begin, _at});
    return value && _to.Double(*value);
}

// Lists that stay apart

bool QuickParser::standsApart() const
{
    return *_at == '[' && _levels.size() == levelsOfTrack && _levels[1].isObject && !_levels[2].isObject &&
           _levels[3].isObject && _name == "children" && isTrack(withoutVersion(_outer[3].schema)) &&
           withoutVersion(_outer[0].schema) == "Timeline" && _outer[1].name == "tracks" && _outer[2].name == "children";
}

/// The first bracket that stands on a line of its own, as far in as the line on which the list begins: line ends do not
/// stand inside strings. Whether it was that one is told when what stands before it is parsed.
const char* QuickParser::endOfList() const
{
    constexpr std::ptrdiff_t longestLine = 4096;
    const auto isIndent = [](char c) { return c == ' ' || c == '\t'; };
    const char* line = _at;
    while (_at - line < longestLine && *line != '\n' && line != _outer[0].first)
        --line;
    const std::string_view indent(line + 1, std::find_if_not(line + 1, _at, isIndent));
    if (*line != '\n' || *std::find_if_not(_at + 1, _end, isIndent) == ']')
        return nullptr;
    const auto next = [this](const char* from)
    { return static_cast<const char*>(std::memchr(from, ']', static_cast<std::size_t>(_end - from))); };
    for (const char* at = next(_at); at; at = next(at + 1))
        if (const char* const begin = at - indent.size();
            begin > _at && begin[-1] == '\n' && std::string_view(begin, indent.size()) == indent)
            return at + 1;
    return nullptr;
}

// Strings

} // namespace

const char* plainEnd(const char* at, const char* end, bool& isAscii)
{
    unsigned high = 0;
    for (; end - at >= atOnce; at += atOnce)
    {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
        const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x1F)), bytes);
        const __m128i quote = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
        const __m128i escape = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
        const auto special =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(control, _mm_or_si128(quote, escape))));
        const auto beyond = static_cast<unsigned>(_mm_movemask_epi8(bytes));
        if (special != 0)
        {
            const int plain = std::countr_zero(special);
            isAscii = isAscii && (high | (beyond & ((1U << plain) - 1))) == 0;
            return at + plain;
        }
        high |= beyond;
    }
    for (; static_cast<unsigned char>(*at) >= ' ' && *at != '"' && *at != '\\'; ++at)
        high |= static_cast<unsigned char>(*at) & 0x80U;
    isAscii = isAscii && high == 0;
    return at;
}

namespace
{

bool QuickParser::string(std::string_view& string)
{
    const char* const begin = _at + 1;
    bool isAscii = true;
    bool isPlain = true;
    const char* at = plainEnd(begin, _end, isAscii);
    for (; *at == '\\'; at = plainEnd(at + 2, _end, isAscii))
    {
        isPlain = false;
        if (_end - at < 2)
            return false;
    }
    if (*at != '"')
        return false;
    _at = at + 1;
    string = {begin, at};
    return (isPlain || decode(begin, at, string)) && (isAscii || dmIsUtf8(string));
}

bool QuickParser::decode(const char* begin, const char* end, std::string_view& string)
{
    auto* const decoded = static_cast<char*>(_to.GetAllocator().Malloc(static_cast<std::size_t>(end - begin)));
    char* to = decoded;
    for (const char* from = begin; from != end;)
        if (*from != '\\')
            *to++ = *from++;
        else if (!decodeCharacter(from, end, to))
            return false;
    string = {decoded, to};
    return true;
}

/// Never more bytes than stand in the text: of two units four for twelve.
bool QuickParser::decodeCharacter(const char*& from, const char* end, char*& to)
{
    constexpr std::string_view letters = "\"\\/bfnrt";
    constexpr std::string_view characters = "\"\\/\b\f\n\r\t";
    if (const std::size_t index = letters.find(from[1]); index != letters.npos)
    {
        *to++ = characters[index];
        from += 2;
        return true;
    }
    std::optional<unsigned> character = unit(from, end);
    if (character && *character >= 0xD800 && *character < 0xE000)
    {
        const std::optional<unsigned> low = *character < 0xDC00 ? unit(from, end) : std::nullopt;
        if (!low || *low < 0xDC00 || *low >= 0xE000)
            return false;
        character = 0x10000 + ((*character - 0xD800) << 10) + (*low - 0xDC00);
    }
    if (!character)
        return false;
    to += DM::CoUtf8::encode(static_cast<char32_t>(*character), to);
    return true;
}

/// Of "\u00E9".
std::optional<unsigned> QuickParser::unit(const char*& from, const char* end)
{
    constexpr std::ptrdiff_t size = 6;
    if (end - from < size || from[0] != '\\' || from[1] != 'u')
        return std::nullopt;
    const std::optional<unsigned> value = DM::CoInteger::whole<unsigned>({from + 2, size - 2}, 16);
    from += value ? size : 0;
    return value;
}

} // namespace

bool parseQuickly(json::Document& document, std::string_view text, std::vector<ListApart>* apart)
{
    bool isWhole = false;
    const auto generate = [&](json::Document& to)
    {
        QuickParser parser(to, text.data(), text.data() + text.size(), 0, apart);
        isWhole = parser.parse();
        parser.skipBlanks();
        isWhole = isWhole && parser.at() == text.data() + text.size();
        return isWhole;
    };
    document.Populate(generate);
    return isWhole;
}

bool parseValueQuickly(json::Document& document, const char*& at, const char* end, std::size_t depth)
{
    bool isWhole = false;
    const auto generate = [&](json::Document& to)
    {
        QuickParser parser(to, at, end, depth, nullptr);
        isWhole = parser.parse();
        at = parser.at();
        return isWhole;
    };
    document.Populate(generate);
    return isWhole;
}

} // namespace interchange::otio
