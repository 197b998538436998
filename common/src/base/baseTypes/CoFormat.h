/// printf for messages: as vsnprintf, with two differences that let a clip called "Été" through in every locale.
///
/// Wide arguments (%ls, %lc, %S, %C, with width and precision, which count bytes) always come out as UTF-8, whatever
/// the process's locale; units that are no character come out as U+FFFD, a null wide string as "(null)". A text that
/// the buffer cuts is cut between two characters.
///
///     char text[2048];
///     CoFormat::format(text, sizeof(text), "cannot open '%ls'", clipName);
///
/// Numbered arguments (%1$ls) and %n do not go together with wide ones: such a format is copied as it stands, as is one
/// that vsnprintf refuses. Nothing is allocated; safe from any thread.
#pragma once

#include "zrExport.h"

#include <cstdarg>
#include <cstddef>

/// Lets the compiler check a printf format against its arguments: positions count from 1, `this` included; the position
/// of the first argument is 0 for a va_list.
#if defined(__GNUC__)
#define ZR_PRINTF_FORMAT(formatPosition, firstPosition) __attribute__((format(printf, formatPosition, firstPosition)))
#else
#define ZR_PRINTF_FORMAT(formatPosition, firstPosition)
#endif

namespace DM::CoFormat
{

/// Writes at most `size` bytes, the terminating zero included. Returns the length of what was written, after the cut: a
/// size of 0 writes nothing and returns 0. `arguments` is left as it was.
ZR_DM_API int vformat(char* buffer, std::size_t size, const char* format, va_list arguments) ZR_PRINTF_FORMAT(3, 0);
ZR_DM_API int format(char* buffer, std::size_t size, const char* format, ...) ZR_PRINTF_FORMAT(3, 4);

} // namespace DM::CoFormat
