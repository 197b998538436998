/// What the library tells people while it works: messages at five levels, filtered, then handed to a router.
///
/// Call sites use the macros of CoMsgBuilder.h (a host) or zrPost.h (the library's own code). A host installs a process
/// id callback before its first message and, if it wants messages elsewhere than on standard output, a router:
///
///     CoMsg::setCurrentPIDCallback(getpid);
///     CoStderrLogger logger;                     // from here on standard error, and no warnings
///     ZR_MSG_ERROR("cannot open '%ls'", name);
///
/// Posting is synchronous and safe from any thread; the only lock is that of the stream printed to. Settings are
/// atomics. A router must outlive every post that may still use it, so switch routers at start-up and shutdown.
#pragma once

#include "zrExport.h"

#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace DM
{

class ZR_DM_API CoMsg
{
public:
    /// A smaller number is more important. -1 stands for a word that is no level.
    enum Level : std::int32_t
    {
        UserLevel = 0,
        ErrorLevel = 1,
        WarningLevel = 2,
        NoticeLevel = 3,
        DebugLevel = 4
    };

    static constexpr const char* USER_LEVEL_STRING = "user";
    static constexpr const char* ERROR_LEVEL_STRING = "error";
    static constexpr const char* WARNING_LEVEL_STRING = "warn";
    static constexpr const char* NOTICE_LEVEL_STRING = "notice";
    static constexpr const char* DEBUGGING_LEVEL_STRING = "debug";
    static constexpr const char* UNKNOWN_LEVEL_STRING = "unknown";

    static constexpr std::size_t textBufferSize = 2048; ///< a longer text is cut
    static constexpr std::size_t lineBufferSize = 2175; ///< as is a longer full line

    class Msg;
    class Router;
    using PIDCallback = int (*)();
    using PostFunction = void (*)(const char* file, int line, const char* family, const char* fmt, va_list args);

    // Posting. A null format is a programming error and stops the process.
    static void postUser(const char* file, int line, const char* family, const char* fmt, va_list args);
    static void postError(const char* file, int line, const char* family, const char* fmt, va_list args);
    static void postWarning(const char* file, int line, const char* family, const char* fmt, va_list args);
    static void postNotice(const char* file, int line, const char* family, const char* fmt, va_list args);
    static void postDebug(const char* file, int line, const char* family, const char* fmt, va_list args);
    /// Prints to standard output past level and router.
    static void postConsole(const char* file, int line, const char* family, const char* fmt, va_list args);
    static void postShell(const char* file, int line, const char* family, const char* fmt, va_list args);

    // Levels.
    /// The level of exactly this word, -1 for null and every other text.
    static Level stringToLevel(const char* word);
    static const char* levelToString(Level level);

    /// Messages above this level are dropped. First taken from ZR_MSG_LEVEL; NoticeLevel when that is unset.
    static Level filterLevel();
    static void setFilterLevel(Level level);
    /// Sets the level unless ZR_MSG_LEVEL asks for one.
    static void setDefaultFilterLevel(Level level);
    /// One load and one comparison for a message that is dropped.
    static bool isPosted(Level level)
    {
        const Level filter = _filterLevel.load(std::memory_order_relaxed);
        return level <= filter && (filter != unreadLevel || level <= filterLevel());
    }

    // How lines look: full lines instead of the text alone (ZR_MSG_VERBOSE), and the family word in them.
    static void setVerboseFlag(bool verbose);
    static bool verboseFlag();
    static void enableFamily(bool enable);
    static bool isFamilyEnabled();

    // Routers.
    static const Router& router();
    /// Not owned; null restores the default router.
    static void setRouter(const Router* router);
    /// Prints to standard output; never destroyed.
    static const Router* defaultRouter();

    // The process id that messages carry.
    /// Stores the callback and calls it once. Null is stored: a message of the host's then stops the process.
    static void setCurrentPIDCallback(PIDCallback callback);
    static int callCurrentPIDCallback();
    /// Installs getpid if no callback is set.
    static void ensurePIDCallback();
    /// 0: for hosts that do not care.
    static int getDudPID();

private:
    /// Stands for a filter level that nobody has asked for yet.
    static constexpr Level unreadLevel = static_cast<Level>(INT32_MAX);

    static void post(Level level, const char* file, int line, const char* family, const char* fmt, va_list args);

    static std::atomic<Level> _filterLevel;
};

/// One message, stamped with process id and wall-clock time when it is made.
class ZR_DM_API CoMsg::Msg
{
public:
    /// Null texts are taken as "". A line of 0 or less means that the message has no location.
    Msg(const char* text, const char* file, int line, Level level, const char* family);

    const std::string& text() const { return _text; }
    const std::string& file() const { return _file; }
    const std::string& family() const { return _family; }
    std::uint32_t pid() const { return _pid; }
    std::int32_t line() const { return _line; }
    Level level() const { return _level; }
    std::int64_t seconds() const { return _seconds; }
    std::int64_t nanoseconds() const { return _nanoseconds; }

    /// The length of the text without the white space at its end.
    std::size_t trimmedLength() const;

    /// Writes "[level] pid file:line month/day/year:hours:minutes:seconds.milliseconds text" and a newline, the family
    /// in brackets behind the level when families are on, cut to `size` bytes. Returns the length.
    int format(char* buffer, std::size_t size) const;

private:
    std::string _text;
    std::string _file;
    std::string _family;
    std::uint32_t _pid;
    std::int32_t _line;
    Level _level;
    std::int64_t _seconds = 0;
    std::int64_t _nanoseconds = 0;
};

/// Where messages go; this one prints them to standard output. Called from every thread that posts.
class ZR_DM_API CoMsg::Router
{
public:
    Router() = default;
    Router(const Router&) = delete;
    Router& operator=(const Router&) = delete;
    virtual ~Router() = default;

    virtual void post(const Msg& msg) const;
    /// The file that this router writes, null if it writes none.
    virtual const char* logPath() const;

    /// Prints one line with one call: the full line when the verbose flag is set and the message has a location, else
    /// its text without white space at the end.
    static void post(const Msg& msg, std::FILE* stream);
};

} // namespace DM
