#include "icOtioMerge.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

namespace interchange::otio
{

namespace
{

constexpr std::size_t nowhere = static_cast<std::size_t>(-1);

/// The class of a set; empty for what is none.
std::string_view classOf(const Value& value)
{
    const bool isSet = value.IsObject() && !value.ObjectEmpty() && value.MemberBegin()->value.IsObject() &&
                       (value.MemberCount() == 1 || text(&(value.MemberBegin() + 1)->name) == "VERSION");
    return isSet ? text(&value.MemberBegin()->name) : std::string_view();
}

/// What an item has one of: a class for another may stand for the speed that files know.
std::string_view kindOf(const Value& value)
{
    const std::string_view name = classOf(value);
    const auto has = [name](std::string_view part) { return name.find(part) != name.npos; };
    return has("Timewarp") || has("TWSettings") ? "Timewarp" : name;
}

bool isListOfSets(const Value& value)
{
    return value.IsArray() &&
           std::all_of(value.Begin(), value.End(), [](const Value& each) { return !classOf(each).empty(); });
}

/// Whether at least half of what one says the other says, too.
bool isSimilar(const Value& a, const Value& b)
{
    if (classOf(a) != classOf(b))
        return false;
    const Value& inner = a.MemberBegin()->value;
    const Value& other = b.MemberBegin()->value;
    json::SizeType same = 0;
    for (const auto& each : inner.GetObject())
        if (const auto found = other.FindMember(each.name); found != other.MemberEnd() && found->value == each.value)
            ++same;
    return 2 * same >= inner.MemberCount();
}

/// The elements of one list by those of another; nowhere for those that have none.
class Pairs
{
public:
    Pairs(const Value& from, const Value& to)
        : _from(from)
        , _to(to)
        , _of(from.Size(), nowhere)
        , _isTaken(to.Size())
    {
    }

    /// Pairs those that are left, in their order.
    template <class Fits>
    void add(Fits&& fits)
    {
        for (json::SizeType i = 0; i < _from.Size(); ++i)
            for (json::SizeType k = 0; _of[i] == nowhere && k < _to.Size(); ++k)
                if (!_isTaken[k] && fits(_from[i], _to[k]))
                {
                    _of[i] = k;
                    _isTaken[k] = true;
                }
    }
    std::size_t of(std::size_t index) const { return _of[index]; }
    bool isTaken(std::size_t index) const { return _isTaken[index]; }
    /// As many are left of both.
    bool areLeftAlike() const { return std::ranges::count(_of, nowhere) == std::ranges::count(_isTaken, false); }

private:
    const Value& _from;
    const Value& _to;
    std::vector<std::size_t> _of;
    std::vector<bool> _isTaken;
};

Value mergeLists(const Value& is, const Value& was, const Value& now, Allocator& allocator)
{
    const auto isEqual = [](const Value& a, const Value& b) { return a == b; };
    const auto isOfKind = [](const Value& a, const Value& b) { return kindOf(a) == kindOf(b); };
    Pairs said(was, is); // what the file said of ours
    said.add(isOfKind);
    Pairs says(now, was);
    says.add(isEqual);
    if (!says.areLeftAlike())
        says.add(isSimilar);
    if (says.areLeftAlike())
        says.add(isOfKind);

    const auto at = [](const Value& list, std::size_t index) -> const Value&
    { return list[static_cast<json::SizeType>(index)]; };
    // A new one takes the place of those of its kind that the file did not show.
    const auto isReplaced = [&](const Value& hidden)
    {
        for (json::SizeType i = 0; i < now.Size(); ++i)
            if (says.of(i) == nowhere && isOfKind(now[i], hidden))
                return true;
        return false;
    };
    Value merged(json::kArrayType);
    std::vector<bool> isDone(is.Size());
    const auto addHidden = [&](std::size_t from)
    {
        for (std::size_t i = from; i < isDone.size() && !said.isTaken(i); ++i)
            if (!isDone[i])
            {
                isDone[i] = true;
                if (!isReplaced(at(is, i)))
                    merged.PushBack(Value(at(is, i), allocator), allocator);
            }
    };
    addHidden(0);
    for (json::SizeType i = 0; i < now.Size(); ++i)
    {
        const std::size_t then = says.of(i);
        const std::size_t ours = then == nowhere ? nowhere : said.of(then);
        if (ours == nowhere)
        {
            merged.PushBack(Value(now[i], allocator), allocator);
            continue;
        }
        merged.PushBack(mergeValues(at(is, ours), at(was, then), now[i], allocator), allocator);
        addHidden(ours + 1);
    }
    for (std::size_t i = 0; i < isDone.size(); ++i)
        addHidden(i);
    return merged;
}

Value mergeObjects(const Value& is, const Value& was, const Value& now, Allocator& allocator)
{
    Value merged(json::kObjectType);
    const auto find = [](const Value& object, const Value& name) -> const Value*
    {
        const auto found = object.FindMember(name);
        return found == object.MemberEnd() ? nullptr : &found->value;
    };
    const auto add = [&](const Value& name, const Value* ours, const Value* then, const Value* theirs)
    {
        const bool isSame = then && theirs ? *then == *theirs : then == theirs;
        if (isSame && ours)
            merged.AddMember(Value(name, allocator), Value(*ours, allocator), allocator);
        else if (!isSame && ours && then && theirs)
            merged.AddMember(Value(name, allocator), mergeValues(*ours, *then, *theirs, allocator), allocator);
        else if (!isSame && theirs)
            merged.AddMember(Value(name, allocator), Value(*theirs, allocator), allocator);
    };
    for (const auto& each : is.GetObject())
        add(each.name, &each.value, find(was, each.name), find(now, each.name));
    for (const auto& each : now.GetObject())
        if (!is.HasMember(each.name))
            add(each.name, nullptr, find(was, each.name), &each.value);
    return merged;
}

} // namespace

Value mergeValues(const Value& is, const Value& was, const Value& now, Allocator& allocator)
{
    if (now == was)
        return Value(is, allocator);
    if (isListOfSets(is) && isListOfSets(was) && isListOfSets(now))
        return mergeLists(is, was, now, allocator);
    if (is.IsObject() && was.IsObject() && now.IsObject() && classOf(is) == classOf(was) &&
        classOf(was) == classOf(now))
        return mergeObjects(is, was, now, allocator);
    return Value(now, allocator);
}

} // namespace interchange::otio
