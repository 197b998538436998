#include "zrRunCommand.h"
#include "zrTest.h"

namespace
{

TEST(MessageHost, PrintsWhatItsEnvironmentAsksFor)
{
    const struct
    {
        const char* scenario;
        std::vector<std::string> environment;
        const char* out;
        const char* err;
    } cases[] = {
        {"allLevels", {}, "user\nerror\nwarn\nnotice\n", ""},
        {"allLevels", {"ZR_MSG_LEVEL="}, "user\nerror\nwarn\nnotice\n", ""},
        {"allLevels", {"ZR_MSG_LEVEL=warn"}, "user\nerror\nwarn\n", ""},
        {"allLevels", {"ZR_MSG_LEVEL=warning"}, "", ""},
        {"defaultLevel", {}, "user\nerror\nwarn\nnotice\ndebug\n", ""},
        {"defaultLevel", {"ZR_MSG_LEVEL=error"}, "user\nerror\n", ""},
        {"level", {"ZR_MSG_LEVEL=error"}, "user\nerror\nwarn\nnotice\ndebug\n", ""},
        {"stderrLogger", {}, "on standard output again\n", "user\nerror\n"},
        {"stderrLogger", {"ZR_MSG_LEVEL=warn"}, "on standard output again\n", "user\nerror\nwarn\n"},
        {"stderrLogger", {"ZR_MSG_LEVEL=loud"}, "", ""},
        {"console", {}, "clip Été\nfamily 2\n", ""},
        {"nullFormatDropped", {}, "", ""},
    };
    for (const auto& c : cases)
    {
        const auto result = zrTest::runCommand({ZR_MESSAGE_HOST, c.scenario}, {.environment = c.environment});
        EXPECT_EQ(result.out, c.out) << c.scenario;
        EXPECT_EQ(result.err, c.err) << c.scenario;
    }
    const auto verbose = zrTest::runCommand({ZR_MESSAGE_HOST, "allLevels"}, {.environment = {"ZR_MSG_VERBOSE=1"}});
    EXPECT_EQ(verbose.out.rfind("[user] ", 0), 0u) << verbose.out;
}

TEST(MessageHost, IsStoppedByItsProgrammingErrors)
{
    const struct
    {
        const char *scenario, *expression, *source;
    } cases[] = {{"nullFormat", "`fmt != 0'", "CoMsg:"},
                 {"nullFormatLastError", "`(fmt) || zrAssertLogFlush()'", "CoLastErrLogger:"},
                 {"noCallback", "`currentPIDCallback'", "CoMsg:"},
                 {"nullCallback", "`currentPIDCallback'", "CoMsg:"},
                 {"stderrLoggerTwice", "`&CoMsg::router() != this'", "CoStderrLogger:"}};
    for (const auto& c : cases)
    {
        const auto result = zrTest::runCommand({ZR_MESSAGE_HOST, c.scenario});
        EXPECT_EQ(result.exitCode, -SIGABRT) << c.scenario;
        EXPECT_EQ(result.out, "") << c.scenario;
        EXPECT_NE(result.err.find(c.expression), std::string::npos) << result.err;
        EXPECT_NE(result.err.find(std::string("common/src/base/loggerBase/src/") + c.source), std::string::npos);
    }
}

} // namespace
