#include "zrAssert.h"

#include "CoStackTrace.h"
#include "envVar.h"
#include "zrInHouse.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <string>
#include <unistd.h>

// The platform's report is declared in debug builds only; assertions of this system are live in all.
#undef NDEBUG
#include <cassert>

namespace
{

ZR_ENV_FLAG(ignoreAll, "ZR_ASSERT_IGNORE_ALL");
ZR_ENV_FLAG(disableStacks, "ZR_DISABLE_ASSERT_STACKS");
ZR_ENV_VAR(int, stackSize, "ZR_ASSERT_STACK_SIZE", 100, {.readOnly = true});
ZR_ENV_FLAG(tolvaneCheckDisabled, "ZR_PROGRAM_TOLVANE_CHECK_DISABLED");

struct Settings
{
    const bool ignoreAll = ::ignoreAll().getValue();
    const bool stacks = !disableStacks().getValue();
    const unsigned stackSize = static_cast<unsigned>(std::max(::stackSize().getValue(), 0));
};

const Settings& settings()
{
    static const Settings fromEnvironment;
    return fromEnvironment;
}

bool isInHouse(const char* directory)
{
    return !tolvaneCheckDisabled().getValue() && access(directory, F_OK) == 0;
}

std::atomic<bool>& tolvane()
{
    static std::atomic<bool> cached = isInHouse(ZR_IN_HOUSE_DIR);
    return cached;
}

/// At load: the environment is read before a host changes it.
[[maybe_unused]] const bool loaded = (settings(), tolvane().load());

ZrAssertLogCallback logCallback = nullptr;
ZrAllowAssertCallback allowCallback = nullptr;
void* allowData = nullptr;
ZrAssertLogFlushCallback flushCallback = nullptr;

} // namespace

bool zrIsTolvane()
{
    return tolvane().load(std::memory_order_relaxed);
}

bool zrUseInHouseDirectory(const char* directory)
{
    return tolvane() = isInHouse(directory);
}

bool zrAllowAssert(const char* cond, const char* file, int line)
{
    const bool ignored = settings().ignoreAll;
    if (!ignored)
    {
        zrAssertLogFlush();
        if (allowCallback && !allowCallback(cond, file, line, allowData))
            return false;
    }
    if (settings().stacks)
    {
        const std::string header =
            std::string(ignored ? "IGNORED " : "") + "Assert: " + file + ":" + std::to_string(line) + " " + cond;
        DM::CoStackTracePrint(settings().stackSize, header.c_str(), logCallback);
    }
    if (ignored)
        return false;
    zrAssertLogFlush();
    return true;
}

bool zrAssertLogFlush()
{
    if (flushCallback)
        flushCallback();
    for (std::FILE* const stream : {stdout, stderr})
    {
        std::fflush(stream);
        fsync(fileno(stream));
    }
    return false;
}

void zrSetAssertLogCallback(ZrAssertLogCallback callback)
{
    logCallback = callback;
}

void zrSetAllowAssertCallback(ZrAllowAssertCallback callback, void* data)
{
    allowCallback = callback;
    allowData = data;
}

void zrSetAssertLogFlushCallback(ZrAssertLogFlushCallback callback)
{
    flushCallback = callback;
}

std::set<ZrAssertLocation>& zrGetAlwaysIgnoredAsserts()
{
    static std::set<ZrAssertLocation> ignored;
    return ignored;
}

ZrDisableTlvAssertGuard::ZrDisableTlvAssertGuard()
    : _wasTolvane(zrIsTolvane())
{
    if (_wasTolvane)
        tolvane() = false;
}

ZrDisableTlvAssertGuard::~ZrDisableTlvAssertGuard()
{
    dismiss();
}

void ZrDisableTlvAssertGuard::dismiss()
{
    tolvane() = _wasTolvane;
}

void zrAssertDetail::fail(const char* expression, const char* file, int line, const char* function)
{
    __assert_fail(expression, file, static_cast<unsigned>(line), function);
}
