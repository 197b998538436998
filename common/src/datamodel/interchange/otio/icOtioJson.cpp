#include "icOtioJson.h"

#include "icOtioQuick.h"
#include "icText.h"

#include "dmUtf8.h"

#include <CoInteger.h>
#include <CoNumber.h>

#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace interchange::otio
{

namespace
{

// Parsing what is not parsed quickly

/// None for everything else, and for zero with a sign.
template <class Integer>
std::optional<Integer> toInteger(std::string_view number)
{
    return number == "-0" ? std::nullopt : DM::CoInteger::whole<Integer>(number);
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
    return DM::CoNumber::whole(number);
}

/// Hands all on to the document, numbers as what they are, and stops where the text is none that can be kept.
struct Handler
{
    json::Document& to;
    std::vector<const char*>* escapedLines;
    std::vector<const char*>* wideIntegers;
    int depth = 0;
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
        if (wideIntegers && number != "-0" && number.find_first_not_of("-0123456789") == number.npos)
            wideIntegers->push_back(text);
        const std::optional<double> value = toDouble(number);
        return value ? to.Double(*value) : stop("a number that is too large, or none");
    }
    bool String(const char* text, json::SizeType size, bool copy)
    {
        return isText(text, size) && to.String(text, size, copy);
    }
    bool Key(const char* text, json::SizeType size, bool copy)
    {
        return isText(text, size) && to.Key(text, size, copy);
    }
    bool StartObject() { return enter() && to.StartObject(); }
    bool EndObject(json::SizeType count) { return --depth >= 0 && to.EndObject(count); }
    bool StartArray() { return enter() && to.StartArray(); }
    bool EndArray(json::SizeType count) { return --depth >= 0 && to.EndArray(count); }

    // Numbers come as their text.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(std::int64_t) { return false; }
    bool Uint64(std::uint64_t) { return false; }
    bool Double(double) { return false; }
};

bool parseInPlace(json::Document& document, char* text, std::size_t size, JsonFault& fault,
                  std::vector<const char*>* escapedLines, std::vector<const char*>* wideIntegers)
{
    constexpr unsigned flags = json::kParseInsituFlag | json::kParseNumbersAsStringsFlag | json::kParseNanAndInfFlag;
    json::Reader reader;
    json::ParseResult result;
    const char* stopped = nullptr;
    const auto generate = [&](json::Document& to)
    {
        Handler handler{to, escapedLines, wideIntegers};
        json::InsituStringStream stream(text);
        result = reader.Parse<flags>(stream, handler);
        stopped = handler.fault;
        // The parser takes a null character for the end.
        if (!result.IsError() && stream.Tell() != size)
        {
            stopped = "a null character";
            result.Set(json::kParseErrorTermination, stream.Tell());
        }
        return !result.IsError();
    };
    if (parseQuickly(document, {text, size}))
        return true;
    document.Populate(generate);
    if (!result.IsError())
        return true;
    fault = {result.Offset(), stopped ? stopped : json::GetParseError_En(result.Code())};
    return false;
}

} // namespace

std::string_view nonFiniteToken(double value)
{
    return std::isnan(value) ? "NaN" : value < 0 ? "-Infinity" : "Infinity";
}

bool parse(json::Document& document, char* text, JsonFault& fault)
{
    return parseInPlace(document, text, std::strlen(text), fault, nullptr, nullptr);
}

bool ParsedText::parse(json::Document& document, JsonFault& fault)
{
    _linesBefore.clear(); // what is escaped may become a line end in place
    const std::size_t mark = _text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
    if (parseInPlace(document, _text.data() + mark, _text.size() - mark, fault, &_escapedLines, &_wideIntegers))
        return true;
    fault.offset += mark;
    return false;
}

bool ParsedText::parseApart(json::Document& document, std::vector<ListApart>& apart) const
{
    const std::string_view text = _text;
    return parseQuickly(document, text.substr(text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0), &apart);
}

std::uint32_t ParsedText::lineAt(std::size_t offset) const
{
    constexpr std::size_t block = 4096;
    if (_linesBefore.empty())
    {
        std::uint32_t lines = 0;
        for (std::size_t at = 0; at <= _text.size(); at += block)
        {
            _linesBefore.push_back(lines);
            lines += static_cast<std::uint32_t>(std::ranges::count(std::string_view(_text).substr(at, block), '\n'));
        }
    }
    offset = std::min(offset, _text.size());
    const char* const end = _text.data() + offset;
    const auto lines = _linesBefore[offset / block] + std::count(end - offset % block, end, '\n');
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
    return withoutVersion(textOf(object, schemaKey));
}

bool isTrack(std::string_view schema)
{
    return schema == "Track" || schema == "Sequence";
}

void appendJson(std::string& text, const Value& value)
{
    json::StringBuffer buffer;
    json::Writer<json::StringBuffer, json::UTF8<>, json::UTF8<>, json::CrtAllocator, json::kWriteNanAndInfFlag> writer(
        buffer);
    value.Accept(writer);
    text.append(buffer.GetString(), buffer.GetSize());
}

} // namespace interchange::otio
