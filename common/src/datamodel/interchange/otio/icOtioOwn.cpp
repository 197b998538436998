#include "icOtioOwn.h"

#include "icOtioMerge.h"
#include "icText.h"
#include "icTree.h"
#include "icUnsaid.h"

#include "dmJsonImporter.h"
#include "dmTreeJsonBuilder.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

namespace interchange::otio
{

namespace
{

json::GenericStringRef<char> ref(const char* name)
{
    return json::StringRef(name);
}

/// Where a node stands, and what stands below it, the tree says.
bool isStructure(const DmString& name)
{
    constexpr std::array<std::wstring_view, 6> names{L"classId", L"children",    L"baseBlob",
                                                     L"recIn",   L"composition", L"mediaType"};
    return std::ranges::find(names, name.view()) != names.end();
}

/// What no other program can say: it counts whatever else the file says by now.
bool isAlwaysOurs(const DmString& name)
{
    return name == L"segmentId" || name == L"segmentPreviousIds";
}

template <class T>
Value toValue(const T& value, Allocator& allocator)
{
    if constexpr (std::is_same_v<T, DmString>)
    {
        const std::string text = dmUtf8(value);
        return Value(text.data(), static_cast<json::SizeType>(text.size()), allocator);
    }
    else if constexpr (std::is_same_v<T, bool>)
        return Value(value);
    else if constexpr (std::is_floating_point_v<T>)
        return Value(static_cast<double>(value));
    else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>)
        return Value(static_cast<std::int64_t>(value));
    else if constexpr (std::is_integral_v<T>)
        return Value(static_cast<std::uint64_t>(value));
    else if constexpr (std::is_same_v<T, DmPropertySetPtr> || std::is_same_v<T, DmPropertySet*>)
        return value ? setValue(*value, allocator) : Value();
    else if constexpr (std::is_same_v<T, DmPropertySetMap>)
    {
        Value map(json::kObjectType);
        for (const auto& [key, held] : value)
            map.AddMember(toValue(key, allocator), toValue(held, allocator), allocator);
        return map;
    }
    else
    {
        Value list(json::kArrayType);
        for (const auto& each : value)
            list.PushBack(toValue(each, allocator), allocator);
        return list;
    }
}

/// None where the value is of another kind.
template <class T>
std::optional<T> fromValue(const Value& value)
{
    if constexpr (std::is_same_v<T, DmString>)
        return value.IsString() ? std::optional(toDmString(text(&value))) : std::nullopt;
    else if constexpr (std::is_same_v<T, bool>)
        return value.IsBool() ? std::optional(value.GetBool()) : std::nullopt;
    else if constexpr (std::is_floating_point_v<T>)
        return value.IsNumber() ? std::optional(static_cast<T>(value.GetDouble())) : std::nullopt;
    else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>)
        return value.IsInt64() && std::in_range<T>(value.GetInt64()) ? std::optional(static_cast<T>(value.GetInt64()))
                                                                     : std::nullopt;
    else if constexpr (std::is_integral_v<T>)
        return value.IsUint64() && std::in_range<T>(value.GetUint64())
                   ? std::optional(static_cast<T>(value.GetUint64()))
                   : std::nullopt;
    else if constexpr (std::is_same_v<T, DmPropertySetPtr>)
    {
        DmPropertySetPtr set = value.IsNull() ? DmPropertySetPtr() : setOf(value);
        return set || value.IsNull() ? std::optional(set) : std::nullopt;
    }
    else if constexpr (std::is_same_v<T, DmPropertySetMap>)
    {
        DmPropertySetMap map;
        if (!value.IsObject())
            return std::nullopt;
        for (const auto& each : value.GetObject())
            if (const auto held = fromValue<DmPropertySetPtr>(each.value))
                map[toDmString(text(&each.name))] = *held;
        return map;
    }
    else
    {
        T list;
        if (!value.IsArray())
            return std::nullopt;
        for (const Value& each : value.GetArray())
            if (const auto element = fromValue<typename T::value_type>(each))
                list.push_back(*element);
            else
                return std::nullopt;
        return list;
    }
}

Value fieldValue(const DmPropertySet& set, int index, Allocator& allocator)
{
    return dmVisitStorage(set.classData().at(index)->_type,
                          [&](auto type) -> Value
                          {
                              using T = typename decltype(type)::type;
                              if constexpr (std::is_void_v<T>)
                                  return Value();
                              else if constexpr (std::is_same_v<T, DmPropertySetVector>)
                                  return toValue(set.elementsOf(index), allocator);
                              else if constexpr (dmIsVector<T>)
                                  return toValue(set.template valuesOf<typename T::value_type>(index), allocator);
                              else
                                  return toValue(*static_cast<const T*>(set.fieldOf(index)), allocator);
                          });
}

/// False where the value is none of its type, or the class refuses it.
template <class T>
bool setField(DmPropertySet& set, int index, eDmPropType type, const Value& value)
{
    const std::optional<T> now = fromValue<T>(value);
    if (!now)
        return false;
    // A value that the class refuses stays what the file says.
    if constexpr (DmAtomicStorage<T>)
        return set.setPropertyValue(index, type, &*now) == DM_NO_ERROR;
    else if constexpr (std::is_same_v<T, DmPropertySetMap>)
    {
        require(set.clearMap(index, type));
        for (const auto& [key, held] : *now)
            static_cast<void>(set.setValueFromPropertyMap(index, type, key, &held));
    }
    else
    {
        require(set.clearList(index, type));
        for (const typename T::value_type& each : *now)
            static_cast<void>(set.addValueInPropertyList(index, type, &each));
    }
    return true;
}

/// Whether a property still has what the file said of it; null for what it has without being said.
bool saysTheSame(const DmPropertySet& read, int index, const Value* was)
{
    json::Document scratch;
    return was ? fieldValue(read, index, scratch.GetAllocator()) == *was : !read.isPropertyRelevant(index);
}

const DmPropertySetPtr* nestedAt(const DmPropertySet& set, int index)
{
    if (set.classData().at(index)->_type != DM_PROPERTY_SET)
        return nullptr;
    const auto* const held = static_cast<const DmPropertySetPtr*>(set.fieldOf(index));
    return *held ? held : nullptr;
}

/// Where its material starts, which frame of it plays first, and how much there is, count from one another.
bool isSourceTime(const DmString& name)
{
    constexpr std::array<std::wstring_view, 3> names{L"relIn", L"srcIn", L"srcLength"};
    return std::ranges::find(names, name.view()) != names.end();
}

/// Whether the file plays another part of the material by now, or from another begin.
bool saysOtherSource(const DmPropertySet& read, const Value& own)
{
    for (const char* const name : {"relIn", "srcIn"})
        if (const Value* const entry = member(&own, std::string_view(name)); entry && member(entry, "is"))
            if (const int index = read.classData().find(toDmString(name).view()); index >= 0)
                if (const Value* const was = member(entry, "was"); !saysTheSame(read, index, was))
                    return true;
    const int input = read.classData().find(L"srcInput");
    const Value* const inside = member(member(&own, "srcInput"), "inside");
    const DmPropertySetPtr* const held = input >= 0 && inside ? nestedAt(read, input) : nullptr;
    return held && saysOtherSource(**held, *inside);
}

} // namespace

Value ownOf(const DmPropertySet& set, const DmPropertySet& read, Allocator& allocator)
{
    Value own;
    const DmPropertySetData& data = set.classData();
    if (&data != &read.classData())
        return own;
    for (int i = 0; i < data.size(); ++i)
    {
        const DmString& name = data.at(i)->_name;
        if (isSameProperty(set, read, i) || isStructure(name))
            continue;
        if (!own.IsObject())
            own.SetObject();
        Value entry(json::kObjectType);
        const DmPropertySetPtr* const held = nestedAt(set, i);
        const DmPropertySetPtr* const heldRead = nestedAt(read, i);
        if (held && heldRead && &(*held)->classData() == &(*heldRead)->classData())
            entry.AddMember(ref("inside"), ownOf(**held, **heldRead, allocator), allocator);
        else
        {
            entry.AddMember(ref("is"), fieldValue(set, i, allocator), allocator);
            if (read.isPropertyRelevant(i) && !isAlwaysOurs(name))
                entry.AddMember(ref("was"), fieldValue(read, i, allocator), allocator);
        }
        own.AddMember(toValue(name, allocator), entry, allocator);
    }
    return own;
}

namespace
{

/// Times of sources are left to the file, where it says others by now.
std::string_view take(DmPropertySet& read, const Value& own, bool hasOtherSource)
{
    std::string_view foreign;
    json::Document scratch;
    for (const auto& each : own.GetObject())
    {
        const auto passOver = [&] { foreign = foreign.empty() ? text(&each.name) : foreign; };
        const DmString name = toDmString(text(&each.name));
        const int index = read.classData().find(name.view());
        if (index < 0 || isStructure(name) || !each.value.IsObject())
        {
            passOver();
            continue;
        }
        if (const Value* const inside = member(&each.value, "inside"))
        {
            // The set that is there may be one that others share.
            if (const DmPropertySetPtr* const held = nestedAt(read, index))
                if (const CoSharedPtr<DmPropertySet> copy = (*held)->clone())
                {
                    if (!take(*copy, *inside, hasOtherSource).empty())
                        passOver();
                    static_cast<void>(read.setPropertyValue(index, DM_PROPERTY_SET, &copy));
                }
            continue;
        }
        const auto is = each.value.FindMember("is");
        const auto was = each.value.FindMember("was");
        if (is == each.value.MemberEnd())
        {
            passOver();
            continue;
        }
        if (hasOtherSource && isSourceTime(name))
            continue;
        const Value* value = &is->value;
        Value merged;
        if (!isAlwaysOurs(name) && !saysTheSame(read, index, was == each.value.MemberEnd() ? nullptr : &was->value))
        {
            const Value nothing(json::kArrayType);
            const Value& then = was == each.value.MemberEnd() ? nothing : was->value;
            const Value now = fieldValue(read, index, scratch.GetAllocator());
            merged = mergeValues(is->value, then, now, scratch.GetAllocator());
            if (merged == now)
                continue;
            value = &merged;
        }
        dmVisitStorage(read.classData().at(index)->_type,
                       [&](auto type)
                       {
                           using T = typename decltype(type)::type;
                           if constexpr (!std::is_void_v<T>)
                               if (!setField<T>(read, index, read.classData().at(index)->_type, *value))
                                   passOver();
                       });
    }
    return foreign;
}

} // namespace

std::string_view takeOwn(DmPropertySet& read, const Value& own)
{
    return own.IsObject() ? take(read, own, saysOtherSource(read, own)) : "node";
}

Value setValue(const DmPropertySet& set, Allocator& allocator)
{
    std::string text;
    if (DmTreeJsonBuilder::generateUtf8(&set, text, DmTreeJsonBuilder::Layout::Compact).failed())
        return {};
    auto* const copy = static_cast<char*>(allocator.Malloc(text.size() + 1));
    std::copy_n(text.c_str(), text.size() + 1, copy);
    json::Document document(&allocator);
    JsonFault fault;
    return parse(document, copy, fault) ? std::move(static_cast<Value&>(document)) : Value();
}

CoSharedPtr<DmPropertySet> setOf(const Value& value)
{
    CoSharedPtr<DmPropertySet> set;
    std::string text;
    appendJson(text, value);
    if (DmJsonImporter::importSetFromStr(text, set).failed())
        set.reset();
    return set;
}

} // namespace interchange::otio
