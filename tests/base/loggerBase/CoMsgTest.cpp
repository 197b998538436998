#include "zrCapturingRouter.h"
#include "zrTest.h"

#include <chrono>
#include <ctime>

using DM::CoMsg;
using zrTest::CapturingRouter;

namespace
{

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

std::string contentOf(const File& file)
{
    std::string content(static_cast<std::size_t>(std::ftell(file.get())), '\0');
    std::rewind(file.get());
    content.resize(std::fread(content.data(), 1, content.size(), file.get()));
    return content;
}

/// What a router prints for a message.
std::string printed(const CoMsg::Msg& msg)
{
    const File file(std::tmpfile(), std::fclose);
    CoMsg::Router::post(msg, file.get());
    return contentOf(file);
}

DM::BaseRegEnvVar& variable(const char* name)
{
    return *DM::EnvVarRegistryImp::getInstance().search(name).at(0);
}

/// The full line of a message, as snprintf makes it.
std::string fullLine(const CoMsg::Msg& msg, const char* head, const char* text)
{
    const std::time_t seconds = msg.seconds();
    std::tm local{};
    localtime_r(&seconds, &local);
    char line[4096];
    std::snprintf(line, sizeof(line), "%s %02d/%02d/%02d:%02d:%02d:%02d.%03d %s\n", head, local.tm_mon + 1,
                  local.tm_mday, local.tm_year % 100, local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(msg.nanoseconds() / 1000000), text);
    return line;
}

TEST(Message, LevelsAndTheirWords)
{
    const char* const words[] = {"user", "error", "warn", "notice", "debug"};
    for (int level = 0; level < 5; ++level)
    {
        EXPECT_EQ(CoMsg::stringToLevel(words[level]), level);
        EXPECT_STREQ(CoMsg::levelToString(static_cast<CoMsg::Level>(level)), words[level]);
    }
    for (const char* const other : {"warning", "User", "", static_cast<const char*>(nullptr), "unknown"})
        EXPECT_EQ(CoMsg::stringToLevel(other), -1);
    for (const int level : {5, 1000000, -1})
        EXPECT_STREQ(CoMsg::levelToString(static_cast<CoMsg::Level>(level)), "unknown");
}

TEST(Message, CarriesWhereItComesFromAndWhen)
{
    const CapturingRouter router;
    const auto now = [] { return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()); };
    const std::time_t before = now();
    const int line = __LINE__ + 1;
    ZR_MSG_WARNING("clip '%ls' at %d", L"Été", 7);
    ZR_MSG_ERROR_F("builder", "%s", "no layer");
    ASSERT_EQ(router.messages.size(), 2u);

    const CoMsg::Msg& warning = router.messages[0];
    EXPECT_EQ(warning.text(), "clip 'Été' at 7");
    EXPECT_NE(warning.file().find("CoMsgTest"), std::string::npos);
    EXPECT_EQ(warning.line(), line);
    EXPECT_EQ(warning.level(), CoMsg::WarningLevel);
    EXPECT_EQ(warning.family(), "-");
    EXPECT_EQ(warning.pid(), 4242u);
    EXPECT_TRUE(warning.seconds() >= before && warning.seconds() <= now());
    EXPECT_TRUE(warning.nanoseconds() < 1000000000 && warning.nanoseconds() % 1000 == 0);
    EXPECT_EQ(router.messages[1].family(), "builder");
}

TEST(Message, EveryMacroPostsAtItsLevel)
{
    const CapturingRouter router;
    CoMsg::setFilterLevel(CoMsg::DebugLevel);
    // clang-format off
    ZR_MSG_USER("m"); ZR_MSG_ERROR("m"); ZR_MSG_WARNING("m"); ZR_MSG_NOTICE("m"); ZR_MSG_DEBUG("m");
    ZR_MSG_USER_F("f", "m"); ZR_MSG_ERROR_F("f", "m"); ZR_MSG_WARNING_F("f", "m");
    ZR_MSG_NOTICE_F("f", "m"); ZR_MSG_DEBUG_F("f", "m");
    ZR_POST_USER("m"); ZR_POST_ERROR("m"); ZR_POST_WARNING("m"); ZR_POST_NOTICE("m"); ZR_POST_DEBUG("m");
    ZR_POST_USER_F("f", "m"); ZR_POST_ERROR_F("f", "m"); ZR_POST_WARNING_F("f", "m");
    ZR_POST_NOTICE_F("f", "m"); ZR_POST_DEBUG_F("f", "m");
    // clang-format on
    CoMsg::setFilterLevel(CoMsg::NoticeLevel);
    ASSERT_EQ(router.messages.size(), 20u);
    for (std::size_t i = 0; i < router.messages.size(); ++i)
    {
        EXPECT_EQ(router.messages[i].level(), static_cast<int>(i % 5)) << i;
        EXPECT_EQ(router.messages[i].family(), i / 5 % 2 == 0 ? "-" : "f") << i;
    }
}

TEST(Message, ADroppedOneDoesNotEvaluateItsArguments)
{
    const CapturingRouter router;
    int evaluated = 0;
    CoMsg::setFilterLevel(CoMsg::ErrorLevel);
    ZR_MSG_WARNING("%d", ++evaluated);
    ZR_POST_DEBUG_F("f", "%d", ++evaluated);
    ZR_POST_ERROR("%d", ++evaluated);
    CoMsg::setFilterLevel(CoMsg::NoticeLevel);
    EXPECT_EQ(evaluated, 1);
    EXPECT_EQ(router.messages.size(), 1u);
}

TEST(Message, ALongTextIsCutBetweenCharacters)
{
    const CapturingRouter router;
    const std::string text = std::string(2046, 'x') + "é";
    ZR_MSG_ERROR("%s", text.c_str());
    ZR_MSG_ERROR("%s", text.c_str() + 1);
    EXPECT_EQ(router.messages[0].text(), text.substr(0, 2046));
    EXPECT_EQ(router.messages[1].text(), text.substr(1));
}

TEST(MessageLine, IsTheTextOrTheFullLine)
{
    const CapturingRouter router;
    const struct
    {
        bool isVerbose, hasFamily;
        int line;
        CoMsg::Level level;
        const char *text, *head; ///< head of the full line; null: the text alone is printed
        const char* trimmed;     ///< the text as it is printed
    } cases[] = {
        {false, true, 120, CoMsg::WarningLevel, " late \t\v\f\r\n\n", nullptr, " late"},
        {false, false, 120, CoMsg::WarningLevel, " \n", nullptr, ""},
        {false, false, 120, CoMsg::WarningLevel, "voil\xC3\xA0", nullptr, "voil\xC3\xA0"},
        {true, false, 0, CoMsg::WarningLevel, "late", nullptr, "late"},
        {true, false, -3, CoMsg::WarningLevel, "late\n", nullptr, "late"},
        {true, false, 120, CoMsg::WarningLevel, "late \n", "[warn] 4242 a/b:120", "late"},
        {true, true, 120, CoMsg::DebugLevel, "late", "[debug] [fam] 4242 a/b:120", "late"},
        {true, false, 1, static_cast<CoMsg::Level>(9), nullptr, "[unknown] 4242 a/b:1", ""},
    };
    for (const auto& c : cases)
    {
        CoMsg::setVerboseFlag(c.isVerbose);
        CoMsg::enableFamily(c.hasFamily);
        const CoMsg::Msg msg(c.text, "a/b", c.line, c.level, "fam");
        EXPECT_EQ(printed(msg), c.head ? fullLine(msg, c.head, c.trimmed) : std::string(c.trimmed) + "\n");
    }
    CoMsg::setVerboseFlag(false);
    CoMsg::enableFamily(false);
}

TEST(MessageLine, AFullLineThatIsTooLongEndsInANewline)
{
    const CapturingRouter router;
    CoMsg::setVerboseFlag(true);
    const CoMsg::Msg msg(std::string(2047, 'x').c_str(), std::string(500, 'f').c_str(), 1, CoMsg::ErrorLevel, "");
    const std::string line = printed(msg);
    CoMsg::setVerboseFlag(false);
    EXPECT_EQ(line.size(), 2174u);
    EXPECT_EQ(line.find('\n'), 2173u);

    for (const std::size_t size : {0, 1, 2, 20})
    {
        char buffer[32] = "untouched";
        EXPECT_EQ(msg.format(buffer, size), size ? static_cast<int>(size) - 1 : 0);
        EXPECT_EQ(std::string(buffer), size ? std::string("[error] 4242 fffffff").substr(0, size - 1) : "untouched");
    }
}

TEST(MessageFilter, FollowsItsVariableAtRunTime)
{
    const CapturingRouter router;
    ASSERT_EQ(CoMsg::filterLevel(), CoMsg::NoticeLevel);
    DM::BaseRegEnvVar& entry = variable("ZR_MSG_LEVEL");
    for (const auto& [value, level] : {std::pair{"error", 1}, {"debug", 4}, {"", 3}, {"warning", -1}})
    {
        entry.dynSetValue(value);
        EXPECT_EQ(CoMsg::filterLevel(), level) << value;
    }
    ZR_MSG_USER("not even this");
    CoMsg::setFilterLevel(CoMsg::UserLevel);
    EXPECT_TRUE(router.messages.empty());
    ZR_MSG_USER("but this");
    EXPECT_EQ(router.messages.size(), 1u);
    entry.dynSetValue("");
}

TEST(MessageFilter, TheVerboseFlagIsItsVariable)
{
    CoMsg::setVerboseFlag(true);
    EXPECT_EQ(variable("ZR_MSG_VERBOSE").valueText(), "true");
    variable("ZR_MSG_VERBOSE").dynSetValue(false);
    EXPECT_FALSE(CoMsg::verboseFlag());
}

TEST(ProcessId, ACallbackIsCalledOnceWhenItIsSetAndNullIsOnlyStored)
{
    static int calls = 0;
    calls = 0;
    CoMsg::setCurrentPIDCallback([] { return ++calls; });
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(CoMsg::callCurrentPIDCallback(), 2);
    CoMsg::ensurePIDCallback();
    EXPECT_EQ(CoMsg::callCurrentPIDCallback(), 3) << "a callback of the host's stays";
    CoMsg::setCurrentPIDCallback(nullptr);
    EXPECT_EQ(calls, 3);
    CoMsg::ensurePIDCallback();
    EXPECT_EQ(CoMsg::callCurrentPIDCallback(), getpid());
    CoMsg::setCurrentPIDCallback(CoMsg::getDudPID);
    EXPECT_EQ(CoMsg::callCurrentPIDCallback(), 0);
}

TEST(Router, NullRestoresTheDefaultOne)
{
    {
        const CapturingRouter router;
        EXPECT_EQ(&CoMsg::router(), &router);
    }
    EXPECT_EQ(&CoMsg::router(), CoMsg::defaultRouter());
    EXPECT_EQ(CoMsg::router().logPath(), nullptr);
}

TEST(Router, LinesOfManyThreadsStayWhole)
{
    const File file(std::tmpfile(), std::fclose);
    CoMsg::setCurrentPIDCallback(CoMsg::getDudPID);
    {
        std::vector<std::jthread> threads;
        for (char name = 'a'; name < 'e'; ++name)
            threads.emplace_back(
                [name, &file]
                {
                    const std::string text(100, name);
                    for (int i = 0; i < 500; ++i)
                        CoMsg::Router::post(CoMsg::Msg(text.c_str(), "", 0, CoMsg::ErrorLevel, ""), file.get());
                });
    }
    const std::string content = contentOf(file);
    ASSERT_EQ(content.size(), 4u * 500 * 101);
    for (std::size_t at = 0; at < content.size(); at += 101)
        ASSERT_EQ(content.substr(at, 101), std::string(100, content[at]) + "\n");
}

} // namespace
