#include "CoStackTrace.h"

#include "CoFormat.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <execinfo.h>
#include <limits>
#include <memory>
#include <span>
#include <unwind.h>

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

struct Addresses
{
    std::span<void*> room;
    std::size_t found = 0;
};

_Unwind_Reason_Code addAddress(_Unwind_Context* frame, void* to)
{
    auto& addresses = *static_cast<Addresses*>(to);
    if (addresses.found == addresses.room.size())
        return _URC_END_OF_STACK;
    if (const _Unwind_Ptr address = _Unwind_GetIP(frame); address != 0) // below the first function there is none
        addresses.room[addresses.found++] = reinterpret_cast<void*>(address);
    return _URC_NO_REASON;
}

/// Never inlined: it is frame 0, and the function that was called from outside is frame 1.
///
/// By the unwinder that this library is linked with for its exceptions: backtrace() loads it anew, for which a process
/// may have no memory left when it asks, and for which it would pay at its start.
[[gnu::noinline]] Trace takeTrace(unsigned depth)
{
    Trace trace;
    const std::size_t wanted = std::min(depth, unsigned{std::numeric_limits<int>::max()});
    // A trace that fills its room may go on: as much memory as there are frames, whatever depth is asked for.
    std::vector<void*> room;
    std::size_t found = 0;
    while (found == room.size() && found < wanted)
    {
        room.resize(std::min(wanted, std::max<std::size_t>(64, found * 2)));
        Addresses addresses{room};
        static_cast<void>(_Unwind_Backtrace(addAddress, &addresses));
        found = addresses.found;
    }
    if (found == 0)
        return trace;
    trace.symbols.reset(backtrace_symbols(room.data(), static_cast<int>(found)));
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
