#include "icOtioShort.h"

#include "icOtioNames.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <utility>

namespace interchange::otio
{

namespace
{

constexpr const char* timeKey = "$t";
constexpr const char* rangeKey = "$r";

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

} // namespace

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
