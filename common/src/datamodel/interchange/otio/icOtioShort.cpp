#include "icOtioShort.h"

#include "icOtioNames.h"

#include <algorithm>
#include <utility>

namespace interchange::otio
{

namespace
{

constexpr const char* timeKey = "$t";
constexpr const char* rangeKey = "$r";

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
