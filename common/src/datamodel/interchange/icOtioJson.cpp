#include "icOtioJson.h"

#include "dmUtf8.h"

#include <rapidjson/error/en.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>
#include <utility>

namespace interchange::otio
{

namespace
{

constexpr const char* timeKey = "$t";
constexpr const char* rangeKey = "$r";
constexpr char schemaKey[] = "OTIO_SCHEMA";

// Names

/// What the members are called that nearly every file has. A name's place is its code in the short form, so new ones go
/// to the end.
constexpr std::array<std::string_view, 40> usualNames{"OTIO_SCHEMA",
                                                      "metadata",
                                                      "name",
                                                      "source_range",
                                                      "effects",
                                                      "markers",
                                                      "enabled",
                                                      "media_reference",
                                                      "media_references",
                                                      "active_media_reference_key",
                                                      "DEFAULT_MEDIA",
                                                      "available_range",
                                                      "available_image_bounds",
                                                      "target_url",
                                                      "children",
                                                      "kind",
                                                      "duration",
                                                      "start_time",
                                                      "rate",
                                                      "value",
                                                      "in_offset",
                                                      "out_offset",
                                                      "transition_type",
                                                      "color",
                                                      "comment",
                                                      "marked_range",
                                                      "effect_name",
                                                      "time_scalar",
                                                      "global_start_time",
                                                      "tracks",
                                                      "generator_kind",
                                                      "parameters",
                                                      "target_url_base",
                                                      "name_prefix",
                                                      "name_suffix",
                                                      "start_frame",
                                                      "frame_step",
                                                      "frame_zero_padding",
                                                      "cmx_3600",
                                                      "reel"};
constexpr std::string_view nameCodes = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
static_assert(usualNames.size() <= nameCodes.size());

constexpr std::size_t noName = usualNames.size();

/// Where a name stands in a table with room to spare, so that few share a place.
constexpr std::size_t placeOf(std::string_view name)
{
    if (name.empty())
        return 0;
    const auto code = [name](std::size_t at) { return static_cast<std::size_t>(static_cast<unsigned char>(name[at])); };
    return (name.size() * 37 + code(0) * 11 + code(name.size() / 2) * 5 + code(name.size() - 1)) % 256;
}

constexpr auto nameTable = []
{
    std::array<std::size_t, 256> table{};
    table.fill(noName);
    for (std::size_t i = 0; i < usualNames.size(); ++i)
        table[placeOf(usualNames[i])] = i;
    return table;
}();

/// Its number; noName for another one, or one whose place another usual name has.
std::size_t usualName(std::string_view name)
{
    const std::size_t index = nameTable[placeOf(name)];
    return index != noName && usualNames[index] == name ? index : noName;
}

// Parsing

/// None for everything else, and for zero with a sign.
template <class Integer>
std::optional<Integer> toInteger(std::string_view number)
{
    Integer integer = 0;
    const char* const end = number.data() + number.size();
    const std::from_chars_result result = std::from_chars(number.data(), end, integer);
    const bool isWhole = result.ec == std::errc() && result.ptr == end && number != "-0";
    return isWhole ? std::optional(integer) : std::nullopt;
}

/// None for what is too large, and for the library's NaN with a fraction or an exponent.
std::optional<double> toDouble(std::string_view number)
{
    const bool isNegative = number.starts_with('-');
    const std::string_view magnitude = number.substr(isNegative ? 1 : 0);
    if (magnitude == "NaN")
        return std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    if (magnitude == "Infinity" || magnitude == "Inf")
        return isNegative ? -infinity : infinity;
    double value = 0;
    const std::from_chars_result result = std::from_chars(number.data(), number.data() + number.size(), value);
    if (result.ec == std::errc() && result.ptr == number.data() + number.size())
        return value;
    if (result.ec != std::errc::result_out_of_range)
        return std::nullopt;
    // It does not say on which side; a stream does.
    std::istringstream stream{std::string(number)};
    stream.imbue(std::locale::classic());
    stream >> value;
    return std::abs(value) < 1 ? std::optional(value) : std::nullopt;
}

/// Hands all on to the document, numbers as what they are, and stops where the text is none that can be kept.
struct Handler
{
    json::Document& to;
    std::vector<const char*>* escapedLines;
    int depth = 0;
    bool isFirst = false; ///< the next name is the first one of its object
    const char* fault = nullptr;

    bool stop(const char* what)
    {
        fault = what;
        return false;
    }
    bool enter() { return ++depth <= deepestJson || stop("nested too deeply"); }
    bool isText(const char* text, json::SizeType size)
    {
        // The parser decodes what is escaped without looking whether the halves of pairs are whole.
        unsigned char bits = 0;
        bool hasLines = false;
        for (json::SizeType i = 0; i < size; ++i)
        {
            bits |= static_cast<unsigned char>(text[i]);
            hasLines |= text[i] == '\n';
        }
        for (json::SizeType i = 0; hasLines && escapedLines && i < size; ++i)
            if (text[i] == '\n')
                escapedLines->push_back(text + i);
        return bits < 0x80 || dmIsUtf8({text, size}) || stop("a text that is no UTF-8");
    }

    bool Null() { return to.Null(); }
    bool Bool(bool value) { return to.Bool(value); }
    bool RawNumber(const char* text, json::SizeType size, bool /*copy*/)
    {
        const std::string_view number(text, size);
        if (const std::optional<std::int64_t> integer = toInteger<std::int64_t>(number))
            return to.Int64(*integer);
        if (const std::optional<std::uint64_t> integer = toInteger<std::uint64_t>(number))
            return to.Uint64(*integer);
        const std::optional<double> value = toDouble(number);
        return value ? to.Double(*value) : stop("a number that is too large, or none");
    }
    bool String(const char* text, json::SizeType size, bool copy)
    {
        return isText(text, size) && to.String(text, size, copy);
    }
    bool Key(const char* text, json::SizeType size, bool copy)
    {
        // Usual names are not left in place, so that looking for a member touches no memory but the object's own; the
        // first one of an object is, and tells where the object stands.
        const std::size_t usual = std::exchange(isFirst, false) ? noName : usualName({text, size});
        if (usual != noName)
            return to.Key(usualNames[usual].data(), size, copy);
        return isText(text, size) && to.Key(text, size, copy);
    }
    bool StartObject()
    {
        isFirst = true;
        return enter() && to.StartObject();
    }
    bool EndObject(json::SizeType count)
    {
        isFirst = false;
        return --depth >= 0 && to.EndObject(count);
    }
    bool StartArray() { return enter() && to.StartArray(); }
    bool EndArray(json::SizeType count) { return --depth >= 0 && to.EndArray(count); }

    // Numbers come as their text.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(std::int64_t) { return false; }
    bool Uint64(std::uint64_t) { return false; }
    bool Double(double) { return false; }
};

// The short form

void append(std::string& text, std::string_view string)
{
    constexpr auto isPlain = [](char c) { return c != '"' && c != '\\' && static_cast<unsigned char>(c) >= ' '; };
    text += '"';
    while (!string.empty())
    {
        const auto special = std::find_if_not(string.begin(), string.end(), isPlain);
        text.append(string.begin(), special);
        string.remove_prefix(static_cast<std::size_t>(special - string.begin()));
        if (string.empty())
            break;
        constexpr std::string_view digits = "0123456789abcdef";
        const auto code = static_cast<unsigned char>(string.front());
        if (code < ' ')
            text.append("\\u00").append(1, digits[code >> 4]).append(1, digits[code & 15U]);
        else
            text.append(1, '\\').append(1, string.front());
        string.remove_prefix(1);
    }
    text += '"';
}

void appendName(std::string& text, std::string_view name)
{
    if (const std::size_t usual = usualName(name); usual != noName)
        text.append(1, '"').append(1, nameCodes[usual]).append(1, '"');
    else if (name.size() == 1 || name.starts_with('$'))
        append(text, '$' + std::string(name));
    else
        append(text, name);
}

template <class Number>
void appendNumber(std::string& text, Number value)
{
    std::array<char, 32> buffer;
    text.append(buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr);
}

std::string_view nonFiniteToken(double value)
{
    return std::isnan(value) ? "NaN" : value < 0 ? "-Infinity" : "Infinity";
}

void append(std::string& text, double value)
{
    if (!std::isfinite(value))
    {
        text += nonFiniteToken(value);
        return;
    }
    const std::size_t begin = text.size();
    appendNumber(text, value);
    // An integer would come back as one.
    if (text.find_first_of(".e", begin) == text.npos)
        text += ".0";
}

bool isSameNumber(const Value& a, const Value& b)
{
    return a.IsDouble() == b.IsDouble() && a == b;
}

struct Time
{
    const Value* value = nullptr;
    const Value* rate = nullptr;
};

/// Whether an object has three members, of which one is this schema.
bool isPlain(const Value& object, std::string_view schema)
{
    return object.IsObject() && object.MemberCount() == 3 && textOf(&object, schemaKey) == schema;
}

/// The numbers of a time that has a short form.
std::optional<Time> plainTime(const Value* object)
{
    if (!object || !isPlain(*object, "RationalTime.1"))
        return std::nullopt;
    const Time time{member(object, "value"), member(object, "rate")};
    if (!time.value || !time.rate || !time.value->IsNumber() || !time.rate->IsNumber())
        return std::nullopt;
    return time;
}

bool appendShortTime(std::string& text, const Value& object)
{
    const auto appendKey = [&text](const char* key) { text.append("{\"").append(key).append("\":["); };
    if (const std::optional<Time> time = plainTime(&object))
    {
        appendKey(timeKey);
        appendShortJson(text, *time->value);
        appendShortJson(text += ',', *time->rate);
    }
    else
    {
        if (!isPlain(object, "TimeRange.1"))
            return false;
        const std::optional<Time> start = plainTime(member(&object, "start_time"));
        const std::optional<Time> duration = plainTime(member(&object, "duration"));
        if (!start || !duration || !isSameNumber(*start->rate, *duration->rate))
            return false;
        appendKey(rangeKey);
        appendShortJson(text, *start->value);
        appendShortJson(text += ',', *duration->value);
        appendShortJson(text += ',', *start->rate);
    }
    text += "]}";
    return true;
}

void appendShortObject(std::string& text, const Value& object, LeftOut leftOut)
{
    if (appendShortTime(text, object))
        return;
    const Value* const left = leftOut == LeftOut::Children ? arrayOf(&object, "children") : nullptr;
    const Value* const tracks = leftOut == LeftOut::ChildrenOfTracks ? member(&object, "tracks") : nullptr;
    bool isFirst = true;
    text += '{';
    for (const auto& each : object.GetObject())
    {
        if (&each.value == left && !left->Empty())
            continue;
        if (!std::exchange(isFirst, false))
            text += ',';
        appendName(text, interchange::otio::text(&each.name));
        appendShortJson(text += ':', each.value, &each.value == tracks ? LeftOut::Children : LeftOut::Nothing);
    }
    text += '}';
}

Value longTime(Value& value, const Value& rate, json::Document::AllocatorType& allocator)
{
    Value time(json::kObjectType);
    time.AddMember(json::StringRef(schemaKey), json::StringRef("RationalTime.1"), allocator);
    time.AddMember(json::StringRef("rate"), Value(rate, allocator), allocator);
    time.AddMember(json::StringRef("value"), value, allocator);
    return time;
}

void lengthenName(Value& name)
{
    const std::string_view code = text(&name);
    const std::size_t usual = code.size() == 1 ? nameCodes.find(code) : noName;
    if (usual < usualNames.size())
        name = json::StringRef(usualNames[usual].data(), static_cast<json::SizeType>(usualNames[usual].size()));
    else if (code.starts_with('$'))
        name = json::StringRef(code.data() + 1, static_cast<json::SizeType>(code.size() - 1));
}

// The indented form

/// With tokens for what is no finite number, which the library's own does not write.
class IndentedWriter : public json::PrettyWriter<json::StringBuffer>
{
public:
    using PrettyWriter::PrettyWriter;
    bool Double(double value)
    {
        if (std::isfinite(value))
            return PrettyWriter::Double(value);
        const std::string_view token = nonFiniteToken(value);
        return RawValue(token.data(), token.size(), json::kNumberType);
    }
};

bool parseInPlace(json::Document& document, char* text, JsonFault& fault, std::vector<const char*>* escapedLines)
{
    constexpr unsigned flags = json::kParseInsituFlag | json::kParseNumbersAsStringsFlag | json::kParseNanAndInfFlag;
    json::Reader reader;
    json::ParseResult result;
    const char* stopped = nullptr;
    const auto generate = [&](json::Document& to)
    {
        Handler handler{to, escapedLines};
        json::InsituStringStream stream(text);
        result = reader.Parse<flags>(stream, handler);
        stopped = handler.fault;
        return !result.IsError();
    };
    document.Populate(generate);
    if (!result.IsError())
        return true;
    fault = {result.Offset(), stopped ? stopped : json::GetParseError_En(result.Code())};
    return false;
}

} // namespace

bool parse(json::Document& document, char* text, JsonFault& fault)
{
    return parseInPlace(document, text, fault, nullptr);
}

bool ParsedText::parse(json::Document& document, JsonFault& fault)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    const std::size_t mark = _text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
    fault = {_text.find('\0'), "a null character"};
    if (fault.offset != _text.npos)
        return false;
    if (parseInPlace(document, _text.data() + mark, fault, &_escapedLines))
        return true;
    fault.offset += mark;
    return false;
}

std::uint32_t ParsedText::lineAt(std::size_t offset) const
{
    const char* const end = _text.data() + std::min(offset, _text.size());
    const auto lines = std::count(_text.data(), end, '\n');
    const auto escaped = std::ranges::lower_bound(_escapedLines, end) - _escapedLines.begin();
    return 1 + static_cast<std::uint32_t>(lines - escaped);
}

std::uint32_t ParsedText::lineOf(const Value& object) const
{
    if (!object.IsObject() || object.ObjectEmpty())
        return 0;
    const char* const name = object.MemberBegin()->name.GetString();
    const bool isHere = name >= _text.data() && name <= _text.data() + _text.size();
    return isHere ? lineAt(static_cast<std::size_t>(name - _text.data())) : 0;
}

const Value* member(const Value* object, std::string_view name)
{
    if (!object || !object->IsObject())
        return nullptr;
    for (const auto& each : object->GetObject())
        if (text(&each.name) == name)
            return each.value.IsNull() ? nullptr : &each.value;
    return nullptr;
}

std::string_view text(const Value* value)
{
    return value && value->IsString() ? std::string_view(value->GetString(), value->GetStringLength())
                                      : std::string_view();
}

std::string_view schemaOf(const Value* object)
{
    const std::string_view schema = textOf(object, schemaKey);
    return schema.substr(0, schema.rfind('.'));
}

bool isTrack(std::string_view schema)
{
    return schema == "Track" || schema == "Sequence";
}

std::string toIndentedJson(const Value& value)
{
    json::StringBuffer buffer;
    IndentedWriter writer(buffer);
    value.Accept(writer);
    buffer.Put('\n');
    return {buffer.GetString(), buffer.GetSize()};
}

void appendShortJson(std::string& text, const Value& value, LeftOut leftOut)
{
    switch (value.GetType())
    {
    case json::kNullType:
        text += "null";
        break;
    case json::kFalseType:
        text += "false";
        break;
    case json::kTrueType:
        text += "true";
        break;
    case json::kStringType:
        append(text, interchange::otio::text(&value));
        break;
    case json::kNumberType:
        if (value.IsInt64())
            appendNumber(text, value.GetInt64());
        else if (value.IsUint64())
            appendNumber(text, value.GetUint64());
        else
            append(text, value.GetDouble());
        break;
    case json::kArrayType:
        text += '[';
        for (const Value& each : value.GetArray())
            appendShortJson(&each == value.Begin() ? text : text += ',', each);
        text += ']';
        break;
    case json::kObjectType:
        appendShortObject(text, value, leftOut);
        break;
    }
}

void lengthen(Value& value, json::Document::AllocatorType& allocator)
{
    if (value.IsArray())
        for (Value& each : value.GetArray())
            lengthen(each, allocator);
    if (!value.IsObject() || value.ObjectEmpty())
        return;
    const std::string_view first = text(&value.MemberBegin()->name);
    Value& inner = value.MemberBegin()->value;
    if (first == timeKey && inner.IsArray() && inner.Size() == 2)
        value = longTime(inner[0], inner[1], allocator);
    else if (first == rangeKey && inner.IsArray() && inner.Size() == 3)
    {
        Value range(json::kObjectType);
        range.AddMember(json::StringRef(schemaKey), json::StringRef("TimeRange.1"), allocator);
        range.AddMember(json::StringRef("duration"), longTime(inner[1], inner[2], allocator), allocator);
        range.AddMember(json::StringRef("start_time"), longTime(inner[0], inner[2], allocator), allocator);
        value = std::move(range);
    }
    else
        std::for_each(value.MemberBegin(), value.MemberEnd(),
                      [&allocator](auto& each)
                      {
                          lengthenName(each.name);
                          lengthen(each.value, allocator);
                      });
}

} // namespace interchange::otio
