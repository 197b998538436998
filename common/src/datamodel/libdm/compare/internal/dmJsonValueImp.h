/// Documents as JSON values, for what works on any document: patches and merges. Two values are the same where the
/// library writes the same text: numbers to the bit, members in any order.
#pragma once

#include "dmPropertySet.h"
#include "dmRapidJsonImp.h"
#include "dmStatus.h"

#include <rapidjson/document.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace dmCompare
{

namespace json = RAPIDJSON_NAMESPACE;
using Value = json::Value;
using Allocator = json::Document::AllocatorType;

DmStatus valueOf(const DmPropertySet& set, json::Document& document);
/// Null, and why, where the text is no JSON or nested too deep.
[[nodiscard]] bool parse(std::string_view text, json::Document& document, std::string& why);
std::string textOf(const Value& value);

bool isSame(const Value& a, const Value& b);
std::uint64_t hashOf(const Value& value);

/// Of an object {"Class": {...}}, what the class has; null for every other value.
Value* membersOf(Value& value);
inline const Value* membersOf(const Value& value)
{
    return membersOf(const_cast<Value&>(value));
}
/// Of such an object, the class; empty for every other value.
std::string_view classOf(const Value& value);
/// Null where there is none.
const Value* memberOf(const Value* object, const char* name);

/// By a JSON pointer; null where it leads nowhere.
Value* valueAt(Value& top, std::string_view pointer);
std::string pointerTo(const std::string& above, std::string_view name);
inline std::string pointerTo(const std::string& above, json::SizeType index)
{
    return above + '/' + std::to_string(index);
}
/// The last step of a pointer, and what stands in front of it.
std::string_view lastStep(std::string_view pointer);
std::string unescaped(std::string_view step);

/// Which elements of two arrays are each other's, in both in the same order: by what they hold, by whose they are, by
/// their neighbours. Nothing is compared pair by pair.
struct ListPair
{
    json::SizeType before;
    json::SizeType after;
};
std::vector<ListPair> alignLists(const Value& before, const Value& after);

} // namespace dmCompare
