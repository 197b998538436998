#include "dmFocusAlignment.h"

#include "dmNameTable.h"

namespace
{
constinit const DmNameTable texts{L"FOCUS_START, FOCUS_CENTER, FOCUS_END, FOCUS_CUSTOM, FOCUS_UNDEFINED"};
} // namespace

const DmString& dmFocusAlignmentText(eDmFocusAlignment alignment)
{
    const bool known = alignment >= DM_FOCUS_START && alignment <= DM_FOCUS_UNDEFINED;
    return texts[known ? alignment : DM_FOCUS_UNDEFINED];
}

eDmFocusAlignment dmFocusAlignmentFromText(const DmString& text)
{
    return static_cast<eDmFocusAlignment>(texts.find(text, DM_FOCUS_UNDEFINED));
}
