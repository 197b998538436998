#include "dmStatus.h"

#include "CoFormat.h"
#include "CoUtf8.h"
#include "dmUtf8.h"

#include <cstdarg>
#include <new>

namespace
{

/// The text with U+FFFD in place of each byte that belongs to no character.
std::string shownUtf8(std::string_view text)
{
    std::string shown;
    while (!text.empty())
    {
        std::size_t length = 1;
        while (length <= DM::CoUtf8::maxBytes && length <= text.size() && !dmIsUtf8(text.substr(0, length)))
            ++length;
        if (length > DM::CoUtf8::maxBytes || length > text.size())
        {
            length = 1;
            shown += "\xEF\xBF\xBD";
        }
        else
            shown += text.substr(0, length);
        text.remove_prefix(length);
    }
    return shown;
}

} // namespace

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

    // Narrow arguments are the caller's bytes, a path for example: what is not UTF-8 in them cannot be shown.
    DmString info;
    try
    {
        if (length >= 0)
            static_cast<void>(dmFromUtf8(shownUtf8({text, static_cast<std::size_t>(length)}), info));
    }
    catch (const std::bad_alloc&)
    {
        // The code is told without its text.
    }
    fail(reason, info);
}

void DmStatus::reset()
{
    _failed = false;
    _reason = 0;
    _info.clear();
}
