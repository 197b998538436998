#include "dmJsonValueImp.h"

#include "dmCutImp.h"
#include "dmMatchImp.h"
#include "dmTreeJsonBuilder.h"

#include "CoInteger.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <bit>
#include <unordered_map>

namespace dmCompare
{
namespace
{

constexpr unsigned parseFlags = json::kParseFullPrecisionFlag | json::kParseIterativeFlag;

std::string_view viewOf(const Value& text)
{
    return {text.GetString(), text.GetStringLength()};
}

std::uint64_t hashOfText(std::string_view text)
{
    return std::hash<std::string_view>()(text);
}

/// Whose an element is: its class and what names it; 0 for one that nothing does.
std::uint64_t ownerOf(const Value& element)
{
    const Value* const members = membersOf(element);
    if (!members)
        return 0;
    std::uint64_t hash = hashOfText(classOf(element));
    for (const char* const name :
         {"segmentId", "key", "cueMarkName", "cueMarkTime", "frame", "trackNum", "layerNum", "recIn"})
        if (const Value* const value = memberOf(members, name); value && !(value->IsString() && viewOf(*value).empty()))
            return mixed(mixed(hash, hashOfText(name)), hashOf(*value));
    const Value* const name = memberOf(members, "name");
    return name ? mixed(hash, hashOf(*name)) : hash;
}

/// What a mark is known by that was renamed: its time; 0 for all else.
std::uint64_t timeOf(const Value& element)
{
    const Value* const time = memberOf(membersOf(element), "cueMarkTime");
    return time ? mixed(hashOfText(classOf(element)), hashOf(*time)) : 0;
}

} // namespace

DmStatus valueOf(const DmPropertySet& set, json::Document& document)
{
    std::string text;
    DmStatus status = DmTreeJsonBuilder::generateUtf8(&set, text, DmTreeJsonBuilder::Layout::Compact);
    std::string why;
    if (status.ok() && !parse(text, document, why))
        status.fail(-1, "%s", why.c_str());
    return status;
}

bool parse(std::string_view text, json::Document& document, std::string& why)
{
    document.Parse<parseFlags>(text.data(), text.size());
    if (!document.HasParseError())
        return true;
    why = std::string(json::GetParseError_En(document.GetParseError())) + " At offset " +
          std::to_string(document.GetErrorOffset()) + '.';
    return false;
}

std::string textOf(const Value& value)
{
    json::StringBuffer buffer;
    json::Writer<json::StringBuffer> writer(buffer);
    value.Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

bool isSame(const Value& a, const Value& b)
{
    if (a.GetType() != b.GetType())
        return false;
    switch (a.GetType())
    {
    case json::kStringType:
        return viewOf(a) == viewOf(b);
    case json::kNumberType:
        if (a.IsDouble() || b.IsDouble())
            return a.IsDouble() && b.IsDouble() &&
                   std::bit_cast<std::uint64_t>(a.GetDouble()) == std::bit_cast<std::uint64_t>(b.GetDouble());
        return a == b;
    case json::kArrayType:
        return std::equal(a.Begin(), a.End(), b.Begin(), b.End(),
                          [](const Value& one, const Value& other) { return isSame(one, other); });
    case json::kObjectType:
    {
        if (a.MemberCount() != b.MemberCount())
            return false;
        auto other = b.MemberBegin();
        for (auto one = a.MemberBegin(); one != a.MemberEnd(); ++one, ++other)
        {
            auto found = other;
            if (viewOf(one->name) != viewOf(other->name))
                found = b.FindMember(one->name);
            if (found == b.MemberEnd() || !isSame(one->value, found->value))
                return false;
        }
        return true;
    }
    default:
        return true;
    }
}

std::uint64_t hashOf(const Value& value)
{
    const auto type = static_cast<std::uint64_t>(value.GetType());
    switch (value.GetType())
    {
    case json::kStringType:
        return mixed(type, hashOfText(viewOf(value)));
    case json::kNumberType:
        if (value.IsDouble())
            return mixed(type, std::bit_cast<std::uint64_t>(value.GetDouble()));
        return mixed(type + 10, value.IsUint64() ? value.GetUint64() : static_cast<std::uint64_t>(value.GetInt64()));
    case json::kArrayType:
    {
        std::uint64_t hash = type;
        for (const Value& element : value.GetArray())
            hash = mixed(hash, hashOf(element));
        return hash;
    }
    case json::kObjectType:
    {
        std::uint64_t hash = type; // in any order
        for (const auto& member : value.GetObject())
            hash += mixed(hashOfText(viewOf(member.name)), hashOf(member.value));
        return hash;
    }
    default:
        return type;
    }
}

Value* membersOf(Value& value)
{
    return value.IsObject() && value.MemberCount() == 1 && value.MemberBegin()->value.IsObject()
               ? &value.MemberBegin()->value
               : nullptr;
}

std::string_view classOf(const Value& value)
{
    return membersOf(value) ? viewOf(value.MemberBegin()->name) : std::string_view();
}

const Value* memberOf(const Value* object, const char* name)
{
    if (!object || !object->IsObject())
        return nullptr;
    const auto found = object->FindMember(name);
    return found == object->MemberEnd() ? nullptr : &found->value;
}

Value* valueAt(Value& top, std::string_view pointer)
{
    Value* at = &top;
    while (!pointer.empty())
    {
        if (pointer.front() != '/')
            return nullptr;
        pointer.remove_prefix(1);
        const std::string_view step = pointer.substr(0, pointer.find('/'));
        pointer.remove_prefix(step.size());
        if (at->IsArray())
        {
            const std::optional<json::SizeType> index = DM::CoInteger::whole<json::SizeType>(step);
            if (!index || *index >= at->Size())
                return nullptr;
            at = &(*at)[*index];
        }
        else if (at->IsObject())
        {
            const std::string name = unescaped(step);
            const auto found = at->FindMember(Value(name.data(), static_cast<json::SizeType>(name.size())));
            if (found == at->MemberEnd())
                return nullptr;
            at = &found->value;
        }
        else
            return nullptr;
    }
    return at;
}

std::string pointerTo(const std::string& above, std::string_view name)
{
    std::string pointer = above + '/';
    for (const char c : name)
        pointer += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    return pointer;
}

std::string_view lastStep(std::string_view pointer)
{
    const std::size_t slash = pointer.rfind('/');
    return slash == pointer.npos ? pointer : pointer.substr(slash + 1);
}

std::string unescaped(std::string_view step)
{
    std::string name;
    for (std::size_t i = 0; i < step.size(); ++i)
    {
        const bool isEscape = step[i] == '~' && i + 1 < step.size() && (step[i + 1] == '0' || step[i + 1] == '1');
        name += !isEscape ? step[i] : step[++i] == '0' ? '~' : '/';
    }
    return name;
}

std::vector<ListPair> alignLists(const Value& before, const Value& after)
{
    const auto count = [](const Value& list) { return static_cast<int>(list.Size()); };
    std::vector<int> toNew(before.Size(), -1);
    std::vector<int> toOld(after.Size(), -1);
    const auto pair = [&](int a, int b)
    {
        toNew[std::size_t(a)] = b;
        toOld[std::size_t(b)] = a;
    };
    const auto byKey = [&](const auto& key)
    {
        std::vector<std::uint64_t> olds(before.Size());
        std::vector<std::uint64_t> news(after.Size());
        struct Seen
        {
            int before = -1;
            int after = -1;
            bool isTwice = false;
        };
        std::unordered_map<std::uint64_t, Seen> seen;
        const auto enter =
            [&](const Value& list, std::vector<std::uint64_t>& keys, const std::vector<int>& taken, int Seen::*side)
        {
            for (int i = 0; i < count(list); ++i)
                if (taken[std::size_t(i)] < 0 && (keys[std::size_t(i)] = key(list[json::SizeType(i)])) != 0)
                {
                    Seen& entry = seen[keys[std::size_t(i)]];
                    entry.isTwice = entry.isTwice || entry.*side >= 0;
                    entry.*side = i;
                }
        };
        enter(before, olds, toNew, &Seen::before);
        enter(after, news, toOld, &Seen::after);
        for (const auto& [k, entry] : seen)
            if (!entry.isTwice && entry.before >= 0 && entry.after >= 0)
                pair(entry.before, entry.after);
        const auto beside = [&](int a, int b)
        {
            if (a >= 0 && b >= 0 && a < count(before) && b < count(after) && toNew[std::size_t(a)] < 0 &&
                toOld[std::size_t(b)] < 0 && olds[std::size_t(a)] != 0 && olds[std::size_t(a)] == news[std::size_t(b)])
                pair(a, b);
        };
        beside(0, 0);
        for (int i = 0; i + 1 < count(before); ++i)
            if (toNew[std::size_t(i)] >= 0)
                beside(i + 1, toNew[std::size_t(i)] + 1);
        beside(count(before) - 1, count(after) - 1);
        for (int i = count(before); --i > 0;)
            if (toNew[std::size_t(i)] >= 0)
                beside(i - 1, toNew[std::size_t(i)] - 1);
    };
    byKey([](const Value& element) { return hashOf(element); });
    byKey(ownerOf);
    byKey(timeOf);
    // One of another name at another time is another mark.
    byKey([](const Value& element) { return timeOf(element) != 0 ? 0 : hashOfText(classOf(element)); });
    const std::vector<bool> keeps = keepsOrder(toNew);
    std::vector<ListPair> pairs;
    for (json::SizeType i = 0; i < before.Size(); ++i)
        if (keeps[i])
            pairs.push_back({i, static_cast<json::SizeType>(toNew[i])});
    return pairs;
}

} // namespace dmCompare
