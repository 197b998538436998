#include "dmJsonParsedImp.h"

#include "dmJsonFormatImp.h"
#include "dmRapidJsonImp.h"
#include "dmUtf8.h"

#include "CoUtf8.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

namespace dmJson
{
namespace
{

/// The text as the parser reads it; it skips blanks before each value, which is how their beginning is known.
class TextStream
{
public:
    using Ch = char;

    explicit TextStream(std::string_view text)
        : _begin(text.data())
        , _token(_begin)
        , _at(_begin)
        , _end(_begin + text.size())
    {
    }
    /// Zero at the end; a zero byte of the text ends it too, and is found by isAtEnd().
    char Peek() const { return _at != _end ? *_at : '\0'; }
    char Take() { return _at != _end ? *_at++ : '\0'; }
    std::size_t Tell() const { return static_cast<std::size_t>(_at - _begin); }
    void skipBlanks()
    {
        while (_at != _end && (*_at == ' ' || *_at == '\t' || *_at == '\n' || *_at == '\r'))
            ++_at;
        _token = _at;
    }
    std::size_t token() const { return static_cast<std::size_t>(_token - _begin); }
    bool isAtEnd() const { return _at == _end; }

    // For parsers that decode in place, which this one does not.
    char* PutBegin() { return nullptr; }
    void Put(char) {}
    void Flush() {}
    std::size_t PutEnd(char*) { return 0; }

private:
    const char* _begin;
    const char* _token; ///< what the parser is at
    const char* _at;
    const char* _end;
};

/// The C library's, which the parser takes to be without end: where there is none, that is thrown.
class Memory
{
public:
    void* Malloc(std::size_t size) { return Realloc(nullptr, 0, size); }
    void* Realloc(void* memory, std::size_t /*size*/, std::size_t newSize)
    {
        void* const moved = std::realloc(memory, std::max<std::size_t>(newSize, 1));
        return moved ? moved : throw std::bad_alloc();
    }
    static void Free(void* memory) { std::free(memory); }
};

bool isHex(char c, unsigned& digit)
{
    if (c >= '0' && c <= '9')
        digit = static_cast<unsigned>(c - '0');
    else if (c >= 'a' && c <= 'f')
        digit = static_cast<unsigned>(c - 'a' + 10);
    else if (c >= 'A' && c <= 'F')
        digit = static_cast<unsigned>(c - 'A' + 10);
    else
        return false;
    return true;
}

/// The four digits behind \u.
bool hexUnit(std::string_view digits, char32_t& unit)
{
    if (digits.size() < 4)
        return false;
    unit = 0;
    for (const char c : digits.substr(0, 4))
    {
        unsigned digit = 0;
        if (!isHex(c, digit))
            return false;
        unit = unit * 16 + digit;
    }
    return true;
}

/// What stands behind \u, which is more in a surrogate pair; returns how many bytes that is, 0 when it is wrong.
std::size_t unicodeEscape(std::string_view rest, char32_t& unit)
{
    if (!hexUnit(rest, unit))
        return 0;
    if (unit < 0xD800 || unit > 0xDFFF)
        return 4;
    char32_t low = 0;
    if (unit > 0xDBFF || rest.substr(4, 2) != "\\u" || !hexUnit(rest.substr(6), low) || low < 0xDC00 || low > 0xDFFF)
        return 0;
    unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    return 10;
}

} // namespace
} // namespace dmJson

RAPIDJSON_NAMESPACE_BEGIN
template <>
inline void SkipWhitespace(dmJson::TextStream& stream)
{
    stream.skipBlanks();
}
RAPIDJSON_NAMESPACE_END

namespace dmJson
{

bool decode(std::string_view raw, std::string& out)
{
    constexpr std::string_view names = "\"\\/bfnrt";
    constexpr std::string_view characters = "\"\\/\b\f\n\r\t";
    for (;;)
    {
        const std::size_t unescaped = std::min(raw.find('\\'), raw.size());
        out += raw.substr(0, unescaped);
        raw.remove_prefix(unescaped);
        if (raw.empty())
            return true;
        const char name = raw.size() > 1 ? raw[1] : '\0';
        raw.remove_prefix(std::min<std::size_t>(raw.size(), 2));
        if (name == 'u')
        {
            char32_t unit = 0;
            const std::size_t taken = unicodeEscape(raw, unit);
            if (taken == 0)
                return false;
            char bytes[DM::CoUtf8::maxBytes];
            out.append(bytes, DM::CoUtf8::encode(unit, bytes));
            raw.remove_prefix(taken);
        }
        else if (const std::size_t which = names.find(name); name != '\0' && which != names.npos)
            out += characters[which];
        else
            return false;
    }
}

/// The parser's handler.
class ParsedBuilder
{
public:
    ParsedBuilder(Parsed& document, const TextStream& stream)
        : _nodes(document._nodes)
        , _stream(stream)
    {
    }

    /// Why this has stopped the parser; null when it has not.
    const char* stopped() const { return _stopped; }

    bool Null() { return add(Parsed::Null); }
    bool Bool(bool value) { return add(value ? Parsed::True : Parsed::False); }
    bool RawNumber(const char*, unsigned, bool) { return add(Parsed::Number); }
    /// The parser decodes strings without looking at their bytes, and lets an escaped half of a pair through.
    bool String(const char* text, unsigned length, bool)
    {
        if (!dmIsUtf8({text, length}))
            _stopped = zrRapidjson::GetParseError_En(zrRapidjson::kParseErrorStringInvalidEncoding);
        return !_stopped && add(Parsed::String);
    }
    bool Key(const char* text, unsigned length, bool copy) { return String(text, length, copy); }
    bool StartObject() { return open(Parsed::Object); }
    bool EndObject(unsigned) { return close(); }
    bool StartArray() { return open(Parsed::Array); }
    bool EndArray(unsigned) { return close(); }

    // Numbers come as their text.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(std::int64_t) { return false; }
    bool Uint64(std::uint64_t) { return false; }
    bool Double(double) { return false; }

private:
    bool add(Parsed::Kind kind)
    {
        _nodes.push_back({_stream.token(), _nodes.size() + 1, kind});
        return true;
    }
    bool open(Parsed::Kind kind)
    {
        if (_open.size() == maxDepth)
        {
            _stopped = "The document is nested too deeply.";
            return false;
        }
        _open.push_back(_nodes.size());
        return add(kind);
    }
    bool close()
    {
        _nodes[_open.back()].next = _nodes.size();
        _open.pop_back();
        return true;
    }

    std::deque<Parsed::Node>& _nodes;
    const TextStream& _stream;
    std::vector<std::size_t> _open; ///< the objects and arrays that the parser is inside of
    const char* _stopped = nullptr;
};

const char* Parsed::parse(std::size_t& offset)
{
    // Numbers stay texts, for us to convert: the parser's own exact conversion overflows on absurd exponents.
    constexpr unsigned flags = zrRapidjson::kParseNumbersAsStringsFlag;
    TextStream stream(_text);
    ParsedBuilder builder(*this, stream);
    zrRapidjson::GenericReader<zrRapidjson::UTF8<>, zrRapidjson::UTF8<>, Memory> parser;
    parser.Parse<flags>(stream, builder);
    offset = stream.token();
    if (!parser.HasParseError())
        return stream.isAtEnd() ? nullptr
                                : zrRapidjson::GetParseError_En(zrRapidjson::kParseErrorDocumentRootNotSingular);
    return builder.stopped() ? builder.stopped() : zrRapidjson::GetParseError_En(parser.GetParseErrorCode());
}

std::string_view Value::raw() const
{
    const std::string_view rest = _document->_text.substr(offset());
    switch (kind())
    {
    case Null:
    case True:
        return rest.substr(0, 4);
    case False:
        return rest.substr(0, 5);
    case Number:
        return rest.substr(0, rest.find_first_not_of("+-.0123456789Ee"));
    default:
        break;
    }
    std::size_t end = 1;
    while (end < rest.size() && rest[end] != '"')
        end += rest[end] == '\\' ? 2 : 1;
    return rest.substr(0, end + 1);
}

std::string Value::text() const
{
    const std::string_view token = raw();
    if (kind() != String)
        return std::string(token);
    std::string text;
    static_cast<void>(decode(token.substr(1, token.size() - 2), text)); // the parser has read it
    return text;
}

std::string Value::shown() const
{
    constexpr std::size_t most = 80;
    if (!isScalar())
        return std::string(isObject() ? (begin() == end() ? "{}" : "{...}") : (begin() == end() ? "[]" : "[...]"));
    const std::string_view token = raw();
    if (token.size() <= most)
        return std::string(token);
    return std::string(token.substr(0, DM::CoUtf8::cut(token.data(), most))) + "...";
}

} // namespace dmJson
