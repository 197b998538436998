#include "icOtioPatch.h"

#include "icOtioItems.h"
#include "icOtioOwn.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace interchange::otio
{

namespace
{

json::GenericStringRef<char> ref(const char* name)
{
    return json::StringRef(name);
}

bool isList(std::string_view name)
{
    return name == "effects" || name == "markers";
}

void put(Value& patch, const char* part, const Value& name, Value value, Allocator& allocator)
{
    if (!patch.IsObject())
        patch.SetObject();
    if (!patch.HasMember(part))
        patch.AddMember(ref(part), Value(json::kObjectType), allocator);
    patch[part].AddMember(Value(name, allocator), value, allocator);
}

/// Which members of an object count: of those of one name the first. Few are looked through, more are kept by name.
class Names
{
public:
    explicit Names(const Value& object)
        : _object(object)
        , _areFew(object.MemberCount() <= few)
    {
        for (auto each = object.MemberBegin(); !_areFew && each != object.MemberEnd(); ++each)
            _first.try_emplace(text(&each->name), each);
    }
    Value::ConstMemberIterator find(const Value& name) const
    {
        if (_areFew)
            return _object.FindMember(name);
        const auto found = _first.find(text(&name));
        return found == _first.end() ? _object.MemberEnd() : found->second;
    }

private:
    static constexpr json::SizeType few = 32;

    const Value& _object;
    const bool _areFew;
    std::unordered_map<std::string_view, Value::ConstMemberIterator> _first;
};

/// Looks first where the member stands in an object that has its members in the same order.
Value::ConstMemberIterator find(const Value& object, const Names& names, const Value& name, json::SizeType hint)
{
    if (hint < object.MemberCount() && (object.MemberBegin() + static_cast<std::ptrdiff_t>(hint))->name == name)
        return object.MemberBegin() + static_cast<std::ptrdiff_t>(hint);
    return names.find(name);
}

/// Whether one can stand for the other: a freeze may be a timewarp of no speed.
bool areAlike(const Value& ours, const Value& theirs)
{
    return schemaOf(&ours) == schemaOf(&theirs) || (isTimewarp(ours) && isTimewarp(theirs));
}

Value listDifference(const Value& ours, const Value& theirs, Allocator& allocator)
{
    std::vector<bool> used(ours.Size());
    Value list(json::kArrayType);
    for (const Value& each : theirs.GetArray())
    {
        json::SizeType at = 0;
        while (at < ours.Size() && (used[at] || !areAlike(ours[at], each)))
            ++at;
        Value entry(json::kObjectType);
        if (at == ours.Size())
            entry.AddMember(ref("is"), Value(each, allocator), allocator);
        else
        {
            used[at] = true;
            entry = differenceOf(ours[at], each, allocator);
            if (!entry.IsObject())
                entry.SetObject();
            entry.AddMember(ref("of"), Value(ours[at], allocator), allocator);
        }
        list.PushBack(entry, allocator);
    }
    return list;
}

void applyList(Value& ours, const Value& entries, Allocator& allocator)
{
    const std::size_t count = ours.Size();
    std::vector<const Value*> entryOf(count);
    std::vector<const Value*> unmatched;
    for (const Value& entry : entries.GetArray())
    {
        const Value* const of = entry.IsObject() ? member(&entry, "of") : nullptr;
        if (!of)
            continue;
        std::size_t at = 0;
        while (at < count && (entryOf[at] || ours[static_cast<json::SizeType>(at)] != *of))
            ++at;
        if (at < count)
            entryOf[at] = &entry;
        else
            unmatched.push_back(&entry);
    }
    // As many as there were: what is not found again has been edited where it stands.
    if (static_cast<std::size_t>(std::ranges::count(entryOf, nullptr)) == unmatched.size())
        for (std::size_t at = 0, next = 0; at < count; ++at)
            if (!entryOf[at])
                entryOf[at] = unmatched[next++];
    Value list(json::kArrayType);
    auto next = entries.Begin();
    const auto passOthers = [&](const Value* until)
    {
        const auto* const end = until ? until : entries.End();
        if (until &&
            std::find_if(next, entries.End(), [until](const Value& each) { return &each == until; }) == entries.End())
            return;
        for (; next != end; ++next)
            if (const Value* const is = next->IsObject() ? member(&*next, "is") : nullptr)
                list.PushBack(Value(*is, allocator), allocator);
    };
    for (std::size_t at = 0; at < count; ++at)
    {
        Value& each = ours[static_cast<json::SizeType>(at)];
        if (entryOf[at])
        {
            passOthers(entryOf[at]);
            applyDifference(each, *entryOf[at], allocator);
        }
        list.PushBack(each, allocator);
    }
    passOthers(nullptr);
    ours = std::move(list);
}

const Value* pairAt(const Value& pair)
{
    return pair.IsArray() && pair.Size() == 2 ? pair.Begin() : nullptr;
}

} // namespace

bool isTime(const Value& value)
{
    const std::string_view schema = schemaOf(&value);
    return schema == "RationalTime" || schema == "TimeRange";
}

Value differenceOf(const Value& ours, const Value& theirs, Allocator& allocator, bool leavesChildren)
{
    Value patch;
    const Names namesOfOurs(ours);
    const Names namesOfTheirs(theirs);
    json::SizeType hint = 0;
    for (auto each = theirs.MemberBegin(); each != theirs.MemberEnd(); ++each, ++hint)
    {
        const std::string_view name = text(&each->name);
        if ((leavesChildren && name == "children" && each->value.IsArray()) || name == ownKey ||
            namesOfTheirs.find(each->name) != each)
            continue;
        const auto own = find(ours, namesOfOurs, each->name, hint);
        if (own == ours.MemberEnd())
        {
            put(patch, "added", each->name, Value(each->value, allocator), allocator);
            continue;
        }
        const Value& a = own->value;
        const Value& b = each->value;
        // A timeline's stack is one whatever its schema is called: what stands on it is left to the nodes below.
        const bool isStack = leavesChildren && name == "tracks";
        if (a.IsObject() && b.IsObject() && !isTime(a) && !isTime(b) && (isStack || schemaOf(&a) == schemaOf(&b)))
        {
            if (Value inner = differenceOf(a, b, allocator, isStack); !inner.IsNull())
                put(patch, "inside", each->name, std::move(inner), allocator);
        }
        else if (a == b)
            continue;
        else if (a.IsArray() && b.IsArray() && isList(name))
            put(patch, "lists", each->name, listDifference(a, b, allocator), allocator);
        else
        {
            Value pair(json::kArrayType);
            pair.PushBack(Value(a, allocator), allocator).PushBack(Value(b, allocator), allocator);
            put(patch, "other", each->name, std::move(pair), allocator);
        }
    }
    hint = 0;
    for (auto own = ours.MemberBegin(); own != ours.MemberEnd(); ++own, ++hint)
        if (find(theirs, namesOfTheirs, own->name, hint) == theirs.MemberEnd())
            put(patch, "missing", own->name, Value(own->value, allocator), allocator);
    return patch;
}

void applyDifference(Value& ours, const Value& difference, Allocator& allocator, bool isMetadata)
{
    const auto part = [&difference](std::string_view name) -> const Value*
    {
        const Value* const found = member(&difference, name);
        return found && found->IsObject() ? found : nullptr;
    };
    if (const Value* const inside = part("inside"))
        for (const auto& each : inside->GetObject())
        {
            const bool isInMetadata = isMetadata || text(&each.name) == "metadata";
            const auto own = ours.FindMember(each.name);
            if (own != ours.MemberEnd() && own->value.IsObject())
                applyDifference(own->value, each.value, allocator, isInMetadata);
            else if (own == ours.MemberEnd() && isInMetadata)
            {
                // What others say beside a thing of ours stays when that is gone.
                Value rest(json::kObjectType);
                applyDifference(rest, each.value, allocator, true);
                if (!rest.ObjectEmpty())
                    ours.AddMember(Value(each.name, allocator), rest, allocator);
            }
        }
    if (const Value* const lists = part("lists"))
        for (const auto& each : lists->GetObject())
            if (const auto own = ours.FindMember(each.name);
                own != ours.MemberEnd() && own->value.IsArray() && each.value.IsArray())
                applyList(own->value, each.value, allocator);
    if (const Value* const other = part("other"))
        for (const auto& each : other->GetObject())
            if (const auto own = ours.FindMember(each.name); own != ours.MemberEnd() && pairAt(each.value))
                if (own->value == each.value[0])
                    own->value = Value(each.value[1], allocator);
    if (const Value* const missing = part("missing"))
        for (const auto& each : missing->GetObject())
            if (const auto own = ours.FindMember(each.name); own != ours.MemberEnd() && own->value == each.value)
                ours.EraseMember(own);
    if (const Value* const added = part("added"))
    {
        const auto count = static_cast<std::ptrdiff_t>(ours.MemberCount());
        const auto isThere = [&ours, count](const Value& name)
        {
            const auto begin = ours.MemberBegin();
            return std::any_of(begin, begin + count, [&name](const auto& own) { return own.name == name; });
        };
        const Names names(*added);
        for (auto each = added->MemberBegin(); each != added->MemberEnd(); ++each)
            if (!isThere(each->name) && names.find(each->name) == each)
                ours.AddMember(Value(each->name, allocator), Value(each->value, allocator), allocator);
    }
}

} // namespace interchange::otio
