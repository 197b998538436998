#include "CoMsg.h"

#include "CoFormat.h"
#include "CoUtf8.h"
#include "envVar.h"
#include "zrAssert.h"

#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <ctime>
#include <iterator>
#include <string_view>

namespace DM
{
namespace
{

constexpr auto invalidLevel = static_cast<CoMsg::Level>(-1);

// In the order of the levels.
constexpr const char* levelNames[] = {CoMsg::USER_LEVEL_STRING, CoMsg::ERROR_LEVEL_STRING, CoMsg::WARNING_LEVEL_STRING,
                                      CoMsg::NOTICE_LEVEL_STRING, CoMsg::DEBUGGING_LEVEL_STRING};

constinit std::atomic<const CoMsg::Router*> currentRouter{nullptr};
constinit std::atomic<bool> familyEnabled{false};
constinit std::atomic<CoMsg::PIDCallback> storedPIDCallback{nullptr};

void evMsgLevelChanged(void* data);

ZR_ENV_VAR(std::string, wantedLevel, "ZR_MSG_LEVEL", "", {.changed = evMsgLevelChanged});
ZR_ENV_VAR(bool, verbose, "ZR_MSG_VERBOSE", false);

bool isLevelWanted()
{
    return wantedLevel().getValue() != wantedLevel().getDefaultValue();
}

CoMsg::Level initialLevel()
{
    return isLevelWanted() ? CoMsg::stringToLevel(wantedLevel().getValue().c_str()) : CoMsg::NoticeLevel;
}

void evMsgLevelChanged(void* /*data*/)
{
    CoMsg::setFilterLevel(initialLevel());
}

void formatText(char (&text)[CoMsg::textBufferSize], const char* fmt, va_list args)
{
    ZR_ASSERT_PLAIN_AS("fmt != 0", fmt);
    CoFormat::vformat(text, sizeof(text), fmt, args);
}

const char* textOf(const char* text)
{
    return text ? text : "";
}

} // namespace

constinit std::atomic<CoMsg::Level> CoMsg::_filterLevel{CoMsg::unreadLevel};

void CoMsg::postUser(const char* file, int line, const char* family, const char* fmt, va_list args)
{
    post(UserLevel, file, line, family, fmt, args);
}

void CoMsg::postError(const char* file, int line, const char* family, const char* fmt, va_list args)
{
    post(ErrorLevel, file, line, family, fmt, args);
}

void CoMsg::postWarning(const char* file, int line, const char* family, const char* fmt, va_list args)
{
    post(WarningLevel, file, line, family, fmt, args);
}

void CoMsg::postNotice(const char* file, int line, const char* family, const char* fmt, va_list args)
{
    post(NoticeLevel, file, line, family, fmt, args);
}

void CoMsg::postDebug(const char* file, int line, const char* family, const char* fmt, va_list args)
{
    post(DebugLevel, file, line, family, fmt, args);
}

void CoMsg::postConsole(const char* /*file*/, int /*line*/, const char* family, const char* fmt, va_list args)
{
    char text[textBufferSize];
    formatText(text, fmt, args);
    if (isFamilyEnabled())
        std::printf("%s %s\n", textOf(family), text);
    else
        std::printf("%s\n", text);
}

void CoMsg::postShell(const char* file, int line, const char* family, const char* fmt, va_list args)
{
    postConsole(file, line, family, fmt, args);
}

void CoMsg::post(Level level, const char* file, int line, const char* family, const char* fmt, va_list args)
{
    if (!isPosted(level))
        return;
    char text[textBufferSize];
    formatText(text, fmt, args);
    router().post(Msg(text, file, line, level, family));
}

CoMsg::Level CoMsg::stringToLevel(const char* word)
{
    const auto* const end = std::end(levelNames);
    const auto* const found = std::find(std::begin(levelNames), end, std::string_view(textOf(word)));
    return found == end ? invalidLevel : static_cast<Level>(found - std::begin(levelNames));
}

const char* CoMsg::levelToString(Level level)
{
    return level >= UserLevel && level <= DebugLevel ? levelNames[level] : UNKNOWN_LEVEL_STRING;
}

CoMsg::Level CoMsg::filterLevel()
{
    Level level = _filterLevel.load(std::memory_order_relaxed);
    if (level == unreadLevel)
    {
        const Level initial = initialLevel();
        // A level that another thread has set meanwhile stays, and is what the failed exchange leaves in `level`.
        if (_filterLevel.compare_exchange_strong(level, initial, std::memory_order_relaxed))
            level = initial;
    }
    return level;
}

void CoMsg::setFilterLevel(Level level)
{
    filterLevel(); // enters ZR_MSG_LEVEL in the registry, where a host may then change it
    _filterLevel.store(std::min(level, static_cast<Level>(unreadLevel - 1)), std::memory_order_relaxed);
}

void CoMsg::setDefaultFilterLevel(Level level)
{
    if (!isLevelWanted())
        setFilterLevel(level);
}

void CoMsg::setVerboseFlag(bool isVerbose)
{
    verbose().setValue(isVerbose);
}

bool CoMsg::verboseFlag()
{
    return verbose().getValue();
}

void CoMsg::enableFamily(bool enable)
{
    familyEnabled.store(enable, std::memory_order_relaxed);
}

bool CoMsg::isFamilyEnabled()
{
    return familyEnabled.load(std::memory_order_relaxed);
}

const CoMsg::Router& CoMsg::router()
{
    const Router* const current = currentRouter.load(std::memory_order_relaxed);
    return current ? *current : *defaultRouter();
}

void CoMsg::setRouter(const Router* router)
{
    currentRouter.store(router, std::memory_order_relaxed);
}

const CoMsg::Router* CoMsg::defaultRouter()
{
    static const auto* const router = new Router; // what runs at exit may still post
    return router;
}

void CoMsg::setCurrentPIDCallback(PIDCallback callback)
{
    storedPIDCallback.store(callback, std::memory_order_relaxed);
    if (callback)
        callback();
}

int CoMsg::callCurrentPIDCallback()
{
    const PIDCallback currentPIDCallback = storedPIDCallback.load(std::memory_order_relaxed);
    ZR_ASSERT_PLAIN(currentPIDCallback);
    return currentPIDCallback();
}

void CoMsg::ensurePIDCallback()
{
    PIDCallback none = nullptr;
    if (!storedPIDCallback.load(std::memory_order_relaxed))
        storedPIDCallback.compare_exchange_strong(none, getpid, std::memory_order_relaxed);
}

int CoMsg::getDudPID()
{
    return 0;
}

CoMsg::Msg::Msg(const char* text, const char* file, int line, Level level, const char* family)
    : _text(textOf(text))
    , _file(textOf(file))
    , _family(textOf(family))
    , _pid(static_cast<std::uint32_t>(callCurrentPIDCallback()))
    , _line(line)
    , _level(level)
{
    timeval now{};
    gettimeofday(&now, nullptr);
    _seconds = now.tv_sec;
    _nanoseconds = std::int64_t{now.tv_usec} * 1000;
}

std::size_t CoMsg::Msg::trimmedLength() const
{
    // Not isspace(): in a Latin-1 locale it takes the last byte of an "à" in UTF-8 for a space.
    return _text.find_last_not_of(" \t\n\v\f\r") + 1;
}

int CoMsg::Msg::format(char* buffer, std::size_t size) const
{
    const std::time_t seconds = _seconds;
    std::tm local{};
    localtime_r(&seconds, &local);
    char when[32];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-y2k" // two digits of the year are what a line shows
    std::strftime(when, sizeof(when), "%D:%T", &local);
#pragma GCC diagnostic pop

    const bool hasFamily = isFamilyEnabled();
    return CoFormat::format(buffer, size, "[%s] %s%s%s%u %s:%d %s.%.3d %.*s\n", levelToString(_level),
                            hasFamily ? "[" : "", hasFamily ? _family.c_str() : "", hasFamily ? "] " : "", _pid,
                            _file.c_str(), _line, when, static_cast<int>(_nanoseconds / 1000000),
                            static_cast<int>(trimmedLength()), _text.c_str());
}

void CoMsg::Router::post(const Msg& msg) const
{
    post(msg, stdout);
}

const char* CoMsg::Router::logPath() const
{
    return nullptr;
}

void CoMsg::Router::post(const Msg& msg, std::FILE* stream)
{
    if (!verboseFlag() || msg.line() <= 0)
    {
        std::fprintf(stream, "%.*s\n", static_cast<int>(msg.trimmedLength()), msg.text().c_str());
        return;
    }
    char line[lineBufferSize];
    std::size_t length = static_cast<std::size_t>(msg.format(line, sizeof(line)));
    if (line[length - 1] != '\n')
    {
        // Cut: the next line must not run on behind this one.
        length = CoUtf8::cut(line, length - 1);
        std::strcpy(line + length, "\n");
    }
    std::fputs(line, stream);
}

} // namespace DM
