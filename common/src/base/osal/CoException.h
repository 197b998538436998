/// The base layer's exception: a message for people, where it was raised, and optional data for experts.
///
///     throw CoException("cannot read the resource file", __LINE__, ZR_SOURCE_FILE);
///     CoException(__LINE__, ZR_SOURCE_FILE).fire("cannot read the resource file", "path '%s', errno %d", path, errno);
///
/// Holds its texts in itself: copying it allocates nothing and cannot fail.
#pragma once

#include "CoFormat.h"
#include "zrExport.h"

#include <cstdint>
#include <exception>

namespace DM
{

class ZR_DM_API CoException : public std::exception
{
public:
    CoException(int line, const char* file);
    CoException(const char* what, int line, const char* file);

    /// Replaces the message and the expert data (printf-style; a null format means none). Message, location and expert
    /// data share 1600 bytes: a message that fills them is cut, expert data that does not fit in whole is left empty.
    void setWhat(const char* what, const char* expertFormat, ...) ZR_PRINTF_FORMAT(3, 4);
    /// As setWhat, then throws a copy of this object.
    [[noreturn]] void fire(const char* what, const char* expertFormat, ...) ZR_PRINTF_FORMAT(3, 4);

    /// The message; with verbose exceptions followed by the location, " f:<file> l:<line>", and by the expert data.
    const char* what() const noexcept override { return _text; }
    /// The expert data alone, "" when there is none.
    const char* expertData() const { return _text + _expertOffset; }
    /// At most 127 bytes of the file's name.
    const char* file() const { return _file; }
    int line() const { return _line; }

    /// Process-wide, off unless ZR_VERBOSE_EXCEPTIONS is set; applies to messages that are set afterwards. Returns the
    /// previous setting.
    static bool enableVerboseExceptions(bool enable);

private:
    static constexpr int textSize = 1600;

    void setText(const char* what, const char* expertFormat, va_list expertArguments) ZR_PRINTF_FORMAT(3, 0);

    char _file[128];
    char _text[textSize];
    std::int32_t _line;
    std::int32_t _expertOffset;
};

} // namespace DM
