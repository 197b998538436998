/// The form in which an object's members travelled with a node until leftovers had a form of their own, read for
/// documents that hold it: JSON without blanks, in which the usual names have one letter, times are
/// {"$t":[value, rate]} and ranges at one rate {"$r":[start, duration, rate]}. Other names of one letter, and those
/// that begin with "$", have another "$" in front.
///
/// For sources of this library only.
#pragma once

#include "icOtioJson.h"

namespace interchange::otio
{

/// Makes of the shorter forms what they stand for.
void lengthen(Value& value, json::Document::AllocatorType& allocator);

} // namespace interchange::otio
