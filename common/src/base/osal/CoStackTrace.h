/// The call stack of the calling thread as text, a line a frame: "#002 <object>(<symbol>+<offset>) [<address>]".
/// Frames 0 and 1 are the trace functions themselves and left out; the numbers are those of the whole stack on purpose.
#pragma once

#include "zrExport.h"

#include <string>
#include <vector>

namespace DM
{

/// Replaces `out` by the frames of up to `depth` return addresses; fewer than three leave it empty.
ZR_DM_API void CoStackTraceGet(std::vector<std::string>& out, unsigned depth);

/// Logs the frames of up to `depth` return addresses between two banners, under the header unless that is null.
/// A null log means printf.
ZR_DM_API void CoStackTracePrint(unsigned depth, const char* header, void (*log)(const char* format, ...));

} // namespace DM
