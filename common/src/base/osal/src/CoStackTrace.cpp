#include "CoStackTrace.h"

#include "CoFormat.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <execinfo.h>
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
    if (depth == 0)
        return trace;
    std::vector<void*> addresses(std::min(depth, CoStackTraceMaxDepth));
    const int found = backtrace(addresses.data(), static_cast<int>(addresses.size()));
    trace.symbols.reset(backtrace_symbols(addresses.data(), found));
    trace.frames = trace.symbols ? found : 0;
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
    out.reserve(std::min(depth, CoStackTraceMaxDepth));
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
