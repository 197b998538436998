#include "dmStatus.h"

#include "CoFormat.h"
#include "dmUtf8.h"

#include <cstdarg>

void DmStatus::fail(int reason, const DmString& info)
{
    _reason = reason;
    _info = info;
    _failed = true;
}

void DmStatus::fail(int reason, const char* format, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    const int length = DM::CoFormat::vformat(text, sizeof(text), format, arguments);
    va_end(arguments);

    // Narrow arguments are the caller's bytes: where they are not UTF-8, the locale's reading is the best one left.
    DmString info;
    if (length < 0 || !dmFromUtf8(std::string_view(text, static_cast<std::size_t>(length)), info))
        info = DmString(text);
    fail(reason, info);
}

void DmStatus::reset()
{
    _failed = false;
    _reason = 0;
    _info.clear();
}
