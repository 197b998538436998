/// The form in which an object's members travel with a node: JSON without blanks, in which the usual names have one
/// letter, times are {"$t":[value, rate]} and ranges at one rate {"$r":[start, duration, rate]}. Other names of one
/// letter, and those that begin with "$", have another "$" in front.
///
/// Strings of the data model take four bytes a character: it is half as long as the file's own form.
///
/// For sources of this library only.
#pragma once

#include "icOtioJson.h"

#include <string>

namespace interchange::otio
{

/// What of an object is not written, because nodes of a tree stand for it.
enum class LeftOut
{
    Nothing,
    Children,
    ChildrenOfTracks ///< of the member "tracks"
};
void appendShortJson(std::string& text, const Value& value, LeftOut leftOut = LeftOut::Nothing);
/// Makes of the shorter forms what they stand for.
void lengthen(Value& value, json::Document::AllocatorType& allocator);

} // namespace interchange::otio
