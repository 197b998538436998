/// How an object of a file differs from the one that is written for its node: what the file says and the model does
/// not. It travels with the node, under names that can be read:
///
///     {"added": {"metadata": {"a": 1}},              // only the file has it
///      "missing": {"enabled": true},                 // the file does without what we write
///      "other": {"name": ["ours", "the file's"]},    // in another form
///      "inside": {"media_references": {...}},        // differs within
///      "lists": {"effects": [{"is": ...}, {"of": ours, "inside": ...}]}}
///
/// What stands beside a thing of ours counts only as long as we still write that: an edit shows.
///
/// For sources of this library only.
#pragma once

#include "icOtioListener.h"

#include <string_view>

namespace interchange::otio
{

/// A time or a range, which is told whole.
bool isTime(const Value& value);

/// Null where there is none. `leavesChildren`: those of the object, and of a timeline's stack, are left to the nodes
/// below. What stands under our own key is never one.
Value differenceOf(const Value& ours, const Value& theirs, Allocator& allocator, bool leavesChildren = false);
/// Makes of what we write what the file would say.
void applyDifference(Value& ours, const Value& difference, Allocator& allocator, bool isMetadata = false);

} // namespace interchange::otio
