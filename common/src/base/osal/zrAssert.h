/// Assertions that stay live in every build type. Four forms, each ending in the platform's standard assertion report
/// (expression, function, file and line on standard error, then abort):
///
///     ZR_ASSERT_SOFT(def)             in-house installations only, and only if the host's callback allows the stop;
///                                     elsewhere the condition is not even computed: the code after it must cope
///     ZR_ASSERT_HARD(fmt)             always stops, after flushing the logs
///     ZR_ASSERT_CONTAINMENT(cond)     stops like a hard one, unless the host's allow-assert callback says no or
///                                     ZR_ASSERT_IGNORE_ALL is set: then the code goes on
///     ZR_ASSERT_PLAIN(!name.empty())  always stops, without flushing
///
/// Nothing that a document can reach uses another form than the soft one.
#pragma once

#include "zrExport.h"
#include "zrSourcePath.h"

#include <set>
#include <string>

/// Whether this is an in-house installation: an in-house directory exists and ZR_PROGRAM_TOLVANE_CHECK_DISABLED is
/// absent from the environment. Computed on the first call, then cached.
ZR_DM_API bool zrIsTolvane();

/// The gate that a failed soft or containment assertion asks: flushes the logs, asks the host's callback and prints the
/// stack. True: stop.
ZR_DM_API bool zrAllowAssert(const char* cond, const char* file, int line);

/// Flushes every log and returns false, so that `(X) || zrAssertLogFlush()` is X.
ZR_DM_API bool zrAssertLogFlush();

/// Receives every line of a stack trace; null (the default) means printf.
using ZrAssertLogCallback = void (*)(const char* format, ...);
/// Asked before a failed soft or containment assertion stops the process; false: go on, without a stack trace.
using ZrAllowAssertCallback = bool (*)(const char* cond, const char* file, int line, void* data);
using ZrAssertLogFlushCallback = void (*)();

/// The host installs its callbacks at start-up: they are process-wide and not synchronised. Null restores the default.
ZR_DM_API void zrSetAssertLogCallback(ZrAssertLogCallback callback);
ZR_DM_API void zrSetAllowAssertCallback(ZrAllowAssertCallback callback, void* data);
ZR_DM_API void zrSetAssertLogFlushCallback(ZrAssertLogFlushCallback callback);

/// A place in the source, ordered by file, then line.
struct ZrAssertLocation
{
    std::string file;
    int line = 0;

    friend auto operator<=>(const ZrAssertLocation&, const ZrAssertLocation&) = default;
};

/// Where a host remembers the assertions that its user chose to ignore. The library never reads it.
ZR_DM_API std::set<ZrAssertLocation>& zrGetAlwaysIgnoredAsserts();

/// Switches soft assertions off for a scope. Process-wide and not synchronised.
class ZR_DM_API ZrDisableTlvAssertGuard
{
public:
    ZrDisableTlvAssertGuard();
    ~ZrDisableTlvAssertGuard();
    ZrDisableTlvAssertGuard(const ZrDisableTlvAssertGuard&) = delete;
    ZrDisableTlvAssertGuard& operator=(const ZrDisableTlvAssertGuard&) = delete;

    /// Switches them back on before the scope ends, if they were on.
    void dismiss();

private:
    bool _wasTolvane;
};

namespace zrAssertDetail
{
/// Prints the platform's standard assertion report and aborts.
[[noreturn]] ZR_DM_API void fail(const char* expression, const char* file, int line, const char* function);
} // namespace zrAssertDetail

// With a text of its own in the report: a literal, where the condition is spelled in another way.

#define ZR_ASSERT_SOFT_AS(text, cond)                                                                                  \
    ((!zrIsTolvane() || (cond) || !zrAllowAssert(text, ZR_SOURCE_FILE, __LINE__))                                      \
         ? static_cast<void>(0)                                                                                        \
         : zrAssertDetail::fail("!zrIsTolvane() || ( " text " ) || !zrAllowAssert(\"" text "\", __FILE__, __LINE__)",  \
                                ZR_SOURCE_FILE, __LINE__, __PRETTY_FUNCTION__))

#define ZR_ASSERT_HARD_AS(text, cond)                                                                                  \
    (((cond) || zrAssertLogFlush())                                                                                    \
         ? static_cast<void>(0)                                                                                        \
         : zrAssertDetail::fail("(" text ") || zrAssertLogFlush()", ZR_SOURCE_FILE, __LINE__, __PRETTY_FUNCTION__))

#define ZR_ASSERT_CONTAINMENT_AS(text, cond)                                                                           \
    (((cond) || !zrAllowAssert(text, ZR_SOURCE_FILE, __LINE__))                                                        \
         ? static_cast<void>(0)                                                                                        \
         : zrAssertDetail::fail("(" text ") || zrAssertLogFlush()", ZR_SOURCE_FILE, __LINE__, __PRETTY_FUNCTION__))

#define ZR_ASSERT_PLAIN_AS(text, cond)                                                                                 \
    ((cond) ? static_cast<void>(0) : zrAssertDetail::fail(text, ZR_SOURCE_FILE, __LINE__, __PRETTY_FUNCTION__))

#define ZR_ASSERT_SOFT(cond) ZR_ASSERT_SOFT_AS(#cond, cond)
#define ZR_ASSERT_HARD(cond) ZR_ASSERT_HARD_AS(#cond, cond)
#define ZR_ASSERT_CONTAINMENT(cond) ZR_ASSERT_CONTAINMENT_AS(#cond, cond)
#define ZR_ASSERT_PLAIN(cond) ZR_ASSERT_PLAIN_AS(#cond, cond)
