// A host process with one message scenario, chosen by its name: run by messageHostTest.
#include "CoLastErrLogger.h"
#include "CoMsgBuilder.h"
#include "CoStderrLogger.h"
#include "zrPost.h"

#include <cstring>
#include <new>

using DM::CoMsg;

namespace
{

void postAllLevels()
{
    ZR_POST_USER("user");
    ZR_POST_ERROR("error");
    ZR_POST_WARNING("warn");
    ZR_POST_NOTICE("notice");
    ZR_POST_DEBUG("debug");
}

void useStderrLogger()
{
    {
        const DM::CoStderrLogger logger;
        postAllLevels();
    }
    ZR_POST_ERROR("on standard output again");
}

void installStderrLoggerTwice()
{
    alignas(DM::CoStderrLogger) unsigned char storage[sizeof(DM::CoStderrLogger)];
    new (storage) DM::CoStderrLogger;
    new (storage) DM::CoStderrLogger;
}

void postToConsole()
{
    using Builder = DM::CoMsgBuilder<true>;
    CoMsg::setFilterLevel(static_cast<CoMsg::Level>(-1));
    Builder("f", 1, CoMsg::postConsole)("family", "clip %ls", L"Été");
    CoMsg::enableFamily(true);
    Builder("f", 1, CoMsg::postShell)("family", "%d", 2);
}

const char* volatile none = nullptr;

constexpr struct
{
    const char* name;
    void (*run)();
} scenarios[] = {
    {"allLevels", postAllLevels},
    {"defaultLevel", [] { CoMsg::setDefaultFilterLevel(CoMsg::DebugLevel), postAllLevels(); }},
    {"level", [] { CoMsg::setFilterLevel(CoMsg::DebugLevel), postAllLevels(); }},
    {"stderrLogger", useStderrLogger},
    {"stderrLoggerTwice", installStderrLoggerTwice},
    {"console", postToConsole},
    {"nullFormat", [] { ZR_POST_ERROR(none, 0); }},
    {"nullFormatDropped", [] { DM::CoMsgBuilder<false>("f", 1, CoMsg::postDebug)(none, 0); }},
    {"nullFormatLastError", [] { DM::CoLastErrLogger(true).postError(none, 0); }},
    {"noCallback", [] { ZR_MSG_ERROR("never printed"); }},
    {"nullCallback", [] { CoMsg::setCurrentPIDCallback(nullptr), ZR_MSG_ERROR("never printed"); }},
};

} // namespace

int main(int argc, char** argv)
{
    for (const auto& scenario : scenarios)
        if (argc == 2 && std::strcmp(argv[1], scenario.name) == 0)
            return scenario.run(), 0;
    return 2;
}
