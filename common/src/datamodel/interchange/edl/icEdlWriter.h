/// Writes a cut list as CMX 3600 text.
#pragma once

#include "icEdlList.h"

#include <string>

namespace interchange
{

/// The text of a list, UTF-8 with "\n" at the line ends, in the columns of the form (names that are too long for theirs
/// push the rest to the right). Event numbers are written as they are, with as many digits as the largest needs, and at
/// least three; behind the first FCM line a comment says the rate ("* FRAME RATE: 25 fps"); FCM lines stand wherever
/// the mode of the source side changes, and labels of drop-frame time carry a
/// ";".
///
/// readEdl gives an equal list back for a list that it made, and for any other whose texts are trimmed and not empty
/// and whose Comment and Line notes do not happen to be worded like another kind of line. What a line cannot hold is
/// adapted: control characters inside texts become blanks, an empty reel name becomes "AX", and times wrap at midnight.
std::string writeEdl(const EdlList& list);

} // namespace interchange
