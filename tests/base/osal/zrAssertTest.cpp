#include "zrAssert.h"
#include "CoStackTrace.h"
#include "zrTestEnv.h"
#include "zrTestInHouse.h"

#include <cstdarg>
#include <cstdio>
#include <gtest/gtest.h>
#include <unistd.h>

namespace
{

std::string logged;

void logToString(const char* format, ...)
{
    char line[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    logged += line;
}

int countOf(const std::string& text, const std::string& part)
{
    int count = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

void sayFlushed()
{
    std::fputs("flushed;", stderr);
}

/// In the child of a death test: runs the checks, prints what they logged, and ends well if nothing stopped it.
void runAllAndExit()
{
    zrSetAssertLogCallback(logToString);
    const ZrTestInHouse inHouse;
    ZR_ASSERT_SOFT(1 > 2);
    ZR_ASSERT_CONTAINMENT(2 > 3);
    std::fputs(logged.c_str(), stderr);
    _exit(0);
}

} // namespace

TEST(SoftAssertion, DoesNotEvenComputeItsConditionOnCustomerInstallations)
{
    int computed = 0;
    ZR_ASSERT_SOFT(++computed > 1);
    EXPECT_EQ(computed, 0);
}

TEST(Assertion, ReportsItsWholeExpressionAndStops)
{
    const int* const entry = nullptr;
    EXPECT_IN_HOUSE_DEATH(ZR_ASSERT_SOFT(entry && *entry),
                          "zrAssertTest.cpp:[0-9]+: .*: Assertion `!zrIsTolvane\\(\\) \\|\\| \\( entry && \\*entry \\) "
                          "\\|\\| !zrAllowAssert\\(\"entry && \\*entry\", __FILE__, __LINE__\\)' failed");
    EXPECT_DEATH(ZR_ASSERT_HARD(entry), "Assertion `\\(entry\\) \\|\\| zrAssertLogFlush\\(\\)' failed");
    EXPECT_DEATH(ZR_ASSERT_CONTAINMENT(entry), "Assertion `\\(entry\\) \\|\\| zrAssertLogFlush\\(\\)' failed");
    EXPECT_DEATH(ZR_ASSERT_PLAIN(entry != nullptr), "Assertion `entry != nullptr' failed");
}

TEST(Assertion, FlushesTheLogsBeforeItStops)
{
    zrSetAssertLogFlushCallback(sayFlushed);
    EXPECT_IN_HOUSE_DEATH(ZR_ASSERT_SOFT(false), "flushed;flushed;.*zrAllowAssert");
    EXPECT_DEATH(ZR_ASSERT_HARD(false), "^flushed;[^;]*zrAssertLogFlush");
    EXPECT_DEATH(ZR_ASSERT_CONTAINMENT(false), "^flushed;.*zrAssertLogFlush");
    EXPECT_DEATH(ZR_ASSERT_PLAIN(false), "^[^;]*Assertion `false' failed");
    zrSetAssertLogFlushCallback(nullptr);
}

TEST(Assertion, GoesOnWithoutAStackTraceWhenTheHostSaysNo)
{
    struct Question
    {
        std::string condition;
        std::string file;
        int line = 0;
    };
    std::vector<Question> asked;
    zrSetAssertLogCallback(logToString);
    zrSetAllowAssertCallback(
        [](const char* condition, const char* file, int line, void* data)
        {
            static_cast<std::vector<Question>*>(data)->push_back({condition, file, line});
            return false;
        },
        &asked);
    logged.clear();
    ZR_ASSERT_CONTAINMENT(asked.size() == 7);
    const int line = __LINE__ - 1;
    {
        const ZrTestInHouse inHouse;
        ZR_ASSERT_SOFT(asked.size() == 8);
    }
    zrSetAllowAssertCallback(nullptr, nullptr);
    zrSetAssertLogCallback(nullptr);

    ASSERT_EQ(asked.size(), ZrTestInHouse::available() ? 2u : 1u);
    EXPECT_EQ(asked[0].condition, "asked.size() == 7");
    EXPECT_EQ(asked[0].file, ZR_SOURCE_FILE);
    EXPECT_EQ(asked[0].line, line);
    EXPECT_EQ(logged, "");
}

TEST(Assertion, IsLoggedAndIgnoredWhenAllAreIgnored)
{
    const ZrTestEnv ignoreAll("ZR_ASSERT_IGNORE_ALL", "0"); // by presence: the text does not matter
    EXPECT_EXIT(runAllAndExit(), testing::ExitedWithCode(0),
                "IGNORED Assert: .*zrAssertTest.cpp:[0-9]+ 2 > 3\n-+ STACK BEGIN -+\n#002 .*\n-+ STACK END");
    const ZrTestEnv noStacks("ZR_DISABLE_ASSERT_STACKS", "");
    EXPECT_EXIT(runAllAndExit(), testing::ExitedWithCode(0), "^$");
}

TEST(Assertion, StackSizeIsClamped)
{
    static constexpr struct
    {
        const char* size;
        bool hasFrames;
    } cases[] = {{"-5", false}, {"2", false}, {"no number", false}, {"3", true}, {"99999999999999999999", true}};
    const ZrTestEnv ignoreAll("ZR_ASSERT_IGNORE_ALL", "");
    for (const auto& c : cases)
    {
        const ZrTestEnv size("ZR_ASSERT_STACK_SIZE", c.size);
        EXPECT_EXIT(runAllAndExit(), testing::ExitedWithCode(0),
                    c.hasFrames ? "STACK BEGIN -+\n#002 " : "STACK BEGIN -+\n-+ STACK END")
            << c.size;
    }
}

TEST(InHouse, IsForcedOffByTheEnvironment)
{
    const ZrTestEnv disabled("ZR_PROGRAM_TOLVANE_CHECK_DISABLED", "");
    EXPECT_EXIT(
        {
            const ZrTestInHouse inHouse;
            _exit(zrIsTolvane() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

TEST(InHouse, GuardSwitchesSoftAssertionsOffAndBackOn)
{
    if (!ZrTestInHouse::available())
        GTEST_SKIP() << "the library is not built for an in-house directory that exists";
    const ZrTestInHouse inHouse;
    {
        ZrDisableTlvAssertGuard outer;
        EXPECT_FALSE(zrIsTolvane());
        {
            const ZrDisableTlvAssertGuard inner;
            EXPECT_FALSE(zrIsTolvane());
        }
        EXPECT_FALSE(zrIsTolvane()); // what the inner guard found
        outer.dismiss();
        EXPECT_TRUE(zrIsTolvane());
    }
    EXPECT_TRUE(zrIsTolvane());
}

TEST(StackTrace, PrintsBannersAndLeavesItsOwnFramesOut)
{
    const std::string banners =
        "-------------- STACK BEGIN --------------\n--------------- STACK END ---------------\n";
    for (const unsigned depth : {0u, 1u, 2u})
    {
        logged.clear();
        DM::CoStackTracePrint(depth, nullptr, logToString);
        EXPECT_EQ(logged, banners) << depth;
    }
    logged.clear();
    DM::CoStackTracePrint(4, "Assert: here", logToString);
    EXPECT_EQ(logged.find("-----------------------------------------\nAssert: here\n-------------- STACK BEGIN"), 0u);
    EXPECT_EQ(countOf(logged, "\n#"), 2);
    EXPECT_NE(logged.find("\n#002 "), logged.npos);

    std::vector<std::string> frames = {"left over"};
    DM::CoStackTraceGet(frames, 2);
    EXPECT_TRUE(frames.empty());
    DM::CoStackTraceGet(frames, 4);
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[1].rfind("#003 ", 0), 0u);
    DM::CoStackTraceGet(frames, 4'000'000'000u);
    EXPECT_GT(frames.size(), 2u);
}
