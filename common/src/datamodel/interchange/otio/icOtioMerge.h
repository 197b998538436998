/// What becomes of a value of ours that stands beside what the file said when it was written, where the file says
/// otherwise by now: of lists and sets only what has changed is the file's, all else stays ours. A mark that another
/// program adds does not cost the others their colours, a speed that it changes does not cost the effects beside it.
///
/// For sources of this library only.
#pragma once

#include "icOtioPatch.h"

namespace interchange::otio
{

/// Values of properties: `is` ours, `was` what the file said of it, `now` what it says.
Value mergeValues(const Value& is, const Value& was, const Value& now, Allocator& allocator);

} // namespace interchange::otio
