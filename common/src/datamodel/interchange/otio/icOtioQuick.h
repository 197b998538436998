/// The parser for JSON as nearly all files hold it: well-formed, in UTF-8, with numbers of 64 bits.
///
/// It changes nothing of the text, and gives up at whatever else stands there: then the JSON library's parser reads the
/// text from its begin, and says what is wrong with one that is no JSON. What both read gives the same values.
///
/// Indentation, which is most of what files hold, and plain text are passed over 16 bytes at a time (SSE2); numbers of
/// few digits are made without a library; usual names are not looked at twice. otioBench: it takes half of the time
/// that the library's parser takes for the same bytes.
///
/// For sources of this library only: rapidjson is compiled in a namespace of our own.
#pragma once

#include "icOtioJson.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace interchange::otio
{

/// A zero stands behind the text, and strings stay where it has them, but for those with escaped characters. False
/// where it has given up. `apart`: gets the children of a timeline's tracks, where the document has empty lists then
/// (icOtioChildren.h).
bool parseQuickly(json::Document& document, std::string_view text, std::vector<ListApart>* apart = nullptr);

/// The value that begins at `at`, which comes to its end. `end`: of the text; `depth`: of values around this one.
bool parseValueQuickly(json::Document& document, const char*& at, const char* end, std::size_t depth);

/// The first byte that means something inside a string: a quote, a backslash, a control character.
const char* plainEnd(const char* at, const char* end, bool& isAscii);

} // namespace interchange::otio
