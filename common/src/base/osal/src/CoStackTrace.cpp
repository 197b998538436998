#include "CoStackTrace.h"

#include "CoFormat.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <execinfo.h>
#include <limits>
#include <memory>

namespace DM
{

namespace
{

struct Free
{
    void operator()(void* memory) const { std::free(memory); }
};

struct Trace
{
    std::unique_ptr<char*, Free> symbols;
    int frames = 0;
};

constexpr int ownFrames = 2;

/// Never inlined: it is frame 0, and the function that was called from outside is frame 1.
[[gnu::noinline]] Trace takeTrace(unsigned depth)
{
    Trace trace;
    const std::size_t wanted = std::min(depth, unsigned{std::numeric_limits<int>::max()});
    // A trace that fills its room may go on: as much memory as there are frames, whatever depth is asked for.
    std::vector<void*> addresses;
    std::size_t found = 0;
    while (found == addresses.size() && found < wanted)
    {
        addresses.resize(std::min(wanted, std::max<std::size_t>(64, found * 2)));
        found = static_cast<std::size_t>(backtrace(addresses.data(), static_cast<int>(addresses.size())));
    }
    if (found == 0)
        return trace;
    trace.symbols.reset(backtrace_symbols(addresses.data(), static_cast<int>(found)));
    trace.frames = trace.symbols ? static_cast<int>(found) : 0;
    return trace;
}

ZR_PRINTF_FORMAT(1, 2) void logToStandardOutput(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
}

} // namespace

[[gnu::noinline]] void CoStackTraceGet(std::vector<std::string>& out, unsigned depth)
{
    const Trace trace = takeTrace(depth);
    out.clear();
    out.reserve(static_cast<std::size_t>(std::max(trace.frames - ownFrames, 0)));
    for (int i = ownFrames; i < trace.frames; ++i)
    {
        char number[16];
        std::snprintf(number, sizeof(number), "#%03d ", i);
        out.push_back(std::string(number) + trace.symbols.get()[i]);
    }
}

[[gnu::noinline]] void CoStackTracePrint(unsigned depth, const char* header, void (*log)(const char* format, ...))
{
    const Trace trace = takeTrace(depth);
    if (!log)
        log = logToStandardOutput;
    if (header)
    {
        log("-----------------------------------------\n");
        log("%s\n", header);
    }
    log("-------------- STACK BEGIN --------------\n");
    for (int i = ownFrames; i < trace.frames; ++i)
        log("#%03d %s\n", i, trace.symbols.get()[i]);
    log("--------------- STACK END ---------------\n");
}

} // namespace DM
