#include "icOtioMatch.h"

#include "icOtioOwn.h"
#include "icOtioPatch.h"

#include <cstddef>

namespace interchange::otio
{

namespace
{

Value& inner(Value& object, const Value& name, Allocator& allocator)
{
    if (!object.IsObject())
        object.SetObject();
    if (const auto found = object.FindMember(name); found != object.MemberEnd())
        return found->value;
    object.AddMember(Value(name, allocator), Value(json::kObjectType), allocator);
    return (object.MemberEnd() - 1)->value;
}

} // namespace

bool isTimeOf(const Value& value, double rate, double frames)
{
    constexpr json::SizeType members = 3;
    const auto is = [](const Value* member, double number)
    { return member && member->IsNumber() && member->GetDouble() == number && member->IsLosslessDouble(); };
    return value.IsObject() && value.MemberCount() == members && textOf(&value, schemaKey) == "RationalTime.1" &&
           is(member(&value, "rate"), rate) && is(member(&value, "value"), frames);
}

const Value* Matcher::take()
{
    if (_hasFailed)
        return nullptr;
    if (_depth == 0)
        return &_theirs;
    Level& level = innermost();
    if (level.value->IsObject())
        return _at;
    if (level.next < level.value->Size())
        return &(*level.value)[level.next++];
    fail();
    return nullptr;
}

void Matcher::open(bool isObject)
{
    const Value* const value = take();
    if (!value || _depth == deepest ||
        (isObject ? !value->IsObject() || value->MemberCount() > most : !value->IsArray()))
        return fail();
    const bool isExact = _depth > 0 && (innermost().isExact || innermost().value->IsArray());
    const bool isMember = _depth > 0 && innermost().value->IsObject();
    const bool isLeft = isMember && !isObject && leaves(_name);
    _levels[_depth++] = {value, isMember ? _name : nullptr, isExact, isLeft ? value->Size() : 0};
}

bool Matcher::leaves(const Value* name) const
{
    const bool isOuter = _depth == 1 || (_depth == 2 && otio::text(_levels[1].name) == "tracks");
    return _leavesChildren && isOuter && otio::text(name) == "children";
}

void Matcher::beginObject()
{
    open(true);
}

void Matcher::endObject()
{
    if (_hasFailed)
        return;
    const Level& level = innermost();
    const json::SizeType count = level.value->MemberCount();
    const std::uint64_t all = count == most ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
    if (level.told != all)
        addRest(level);
    --_depth;
}

void Matcher::addRest(const Level& level)
{
    const auto begin = level.value->MemberBegin();
    const auto end = level.value->MemberEnd();
    const auto isTold = [&](json::Value::ConstMemberIterator member)
    { return (level.told >> static_cast<unsigned>(member - begin) & 1U) != 0; };
    for (auto each = begin; each != end; ++each)
    {
        const std::string_view name = otio::text(&each->name);
        if (isTold(each))
            continue;
        // Of members of one name the first counts.
        for (auto other = begin; other != end; ++other)
            if (isTold(other) && other > each && other->name == each->name)
                return fail();
        if (level.isExact || isTime(*level.value) || name == schemaKey)
            return fail();
        if (level.value->FindMember(each->name) != each)
            return fail();
        if (name == ownKey || (leaves(&each->name) && each->value.IsArray()))
            continue;
        Addition added{{}, &each->name, &each->value};
        for (std::size_t i = 0; i < _depth; ++i)
            if (_levels[i].name)
                added.path.push_back(_levels[i].name);
        _additions.push_back(std::move(added));
    }
}

void Matcher::beginList()
{
    open(false);
}

void Matcher::endList()
{
    if (_hasFailed)
        return;
    if (innermost().next != innermost().value->Size())
        fail();
    --_depth;
}

void Matcher::name(std::string_view name)
{
    if (_hasFailed)
        return;
    Level& level = innermost();
    const json::SizeType count = level.value->MemberCount();
    for (json::SizeType n = 0, i = level.next < count ? level.next : 0; n < count; ++n, i = i + 1 < count ? i + 1 : 0)
    {
        const auto member = level.value->MemberBegin() + static_cast<std::ptrdiff_t>(i);
        if (member->name.GetStringLength() != name.size() ||
            !isSameText(member->name.GetString(), name.data(), name.size()))
            continue;
        level.told |= std::uint64_t{1} << i;
        level.next = i + 1;
        _at = &member->value;
        _name = &member->name;
        return;
    }
    fail();
}

void Matcher::text(std::string_view text)
{
    const Value* const value = take();
    if (value && (!value->IsString() || otio::text(value) != text))
        fail();
}

void Matcher::number(double number)
{
    const Value* const value = take();
    if (value && (!value->IsNumber() || value->GetDouble() != number || !value->IsLosslessDouble()))
        fail();
}

void Matcher::flag(bool flag)
{
    const Value* const value = take();
    if (value && (!value->IsBool() || value->GetBool() != flag))
        fail();
}

void Matcher::nothing()
{
    const Value* const value = take();
    if (value && !value->IsNull())
        fail();
}

void Matcher::time(std::string_view name, double rate, double frames)
{
    this->name(name);
    const Value* const value = take();
    if (value && !isTimeOf(*value, rate, frames))
        fail();
}

Value Matcher::difference(Allocator& allocator) const
{
    Value patch;
    for (const Addition& each : _additions)
    {
        Value* at = &patch;
        for (const Value* const name : each.path)
            at = &inner(inner(*at, Value("inside"), allocator), *name, allocator);
        Value& added = inner(*at, Value("added"), allocator);
        added.AddMember(Value(*each.name, allocator), Value(*each.value, allocator), allocator);
    }
    return patch;
}

} // namespace interchange::otio
