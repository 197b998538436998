/// Where a transition sits on the cut it covers. Effects keep it as text, in their attribute "focusAlignment".
#pragma once

#include "dmString.h"

enum eDmFocusAlignment : int
{
    DM_FOCUS_START = 0,
    DM_FOCUS_CENTER = 1,
    DM_FOCUS_END = 2,
    DM_FOCUS_CUSTOM = 3,
    DM_FOCUS_UNDEFINED = 4
};

/// The stored text; "FOCUS_UNDEFINED" for a value that is no code.
ZR_DM_API const DmString& dmFocusAlignmentText(eDmFocusAlignment alignment);
/// Exact comparison; DM_FOCUS_UNDEFINED for every other text.
ZR_DM_API eDmFocusAlignment dmFocusAlignmentFromText(const DmString& text);
