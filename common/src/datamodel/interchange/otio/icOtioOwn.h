/// What a document holds and OpenTimelineIO has no schema for, by the properties' names: how a set differs from the one
/// that reading the file makes without it.
///
///     {"shotName": {"is": "s1"}, "relIn": {"is": 12.5, "was": 12.0}, "srcInput": {"inside": {...}}}
///
/// "was" is what the file said when it was written, left out where that is the class's default: where the file says
/// something else by now, it wins.
///
/// For sources of this library only.
#pragma once

#include "icOtioPatch.h"

#include "dmPropertySet.h"

#include <string_view>

namespace interchange::otio
{

/// The member among an object's metadata that is ours.
inline constexpr char ownKey[] = "ZRdmtree";

/// Null where there is no difference. Both are of one class. Properties that the tree's structure gives (children, what
/// is attached, kinds and places in record time) are left to it.
Value ownOf(const DmPropertySet& set, const DmPropertySet& read, Allocator& allocator);
/// Gives a set that was read what it had. What cannot be is passed over, in a file that somebody changed: the name of
/// the first such value, empty for none.
std::string_view takeOwn(DmPropertySet& read, const Value& own);

/// A set of any class as a value, and back; null where it cannot be.
Value setValue(const DmPropertySet& set, Allocator& allocator);
CoSharedPtr<DmPropertySet> setOf(const Value& value);

} // namespace interchange::otio
