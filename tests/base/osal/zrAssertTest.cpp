#include "zrTest.h"
#include "zrTestEnv.h"
#include "zrTestInHouse.h"

#include <cstdarg>
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
    EXPECT_DEATH(ZR_ASSERT_PLAIN_AS("( a text )", entry), "Assertion `\\( a text \\)' failed");
    EXPECT_IN_HOUSE_DEATH(ZR_ASSERT_SOFT_AS("( a text )", entry), "zrIsTolvane\\(\\) \\|\\| \\( \\( a text \\) \\)");
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
    std::vector<std::string> asked;
    zrSetAssertLogCallback(logToString);
    zrSetAllowAssertCallback(
        [](const char* condition, const char* file, int line, void* data)
        {
            static_cast<std::vector<std::string>*>(data)->push_back(std::string(condition) + ' ' + file + ' ' +
                                                                    std::to_string(line));
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
    EXPECT_EQ(asked[0], "asked.size() == 7 " + std::string(ZR_SOURCE_FILE) + ' ' + std::to_string(line));
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
    const ZrTestEnv ignoreAll("ZR_ASSERT_IGNORE_ALL", "");
    for (const auto& [size, frames] :
         {std::pair{"-5", "-+ STACK END"}, {"2", "-+ STACK END"}, {"3", "#002 "}, {"99999999999999999999", "#002 "}})
    {
        const ZrTestEnv environment("ZR_ASSERT_STACK_SIZE", size);
        EXPECT_EXIT(runAllAndExit(), testing::ExitedWithCode(0), std::string("STACK BEGIN -+\n") + frames) << size;
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

namespace
{

/// The frames found below so many calls of this function.
[[gnu::noinline]] std::size_t framesBelow(int calls, unsigned depth) // NOLINT(misc-no-recursion)
{
    if (calls > 0)
    {
        const std::size_t frames = framesBelow(calls - 1, depth);
        asm volatile("" ::: "memory"); // the call is none that the compiler may turn into a jump
        return frames;
    }
    std::vector<std::string> frames;
    DM::CoStackTraceGet(frames, depth);
    return frames.size();
}

} // namespace

TEST(StackTrace, HasAsManyEntriesAsWereAskedForAndFound)
{
    for (const unsigned depth : {63U, 64U, 65U, 1024U, 1025U, 1500U})
        EXPECT_EQ(framesBelow(2000, depth), depth - 2) << depth;
    EXPECT_GT(framesBelow(2000, 1'000'000), 2000U);
}

TEST(StackTrace, PrintsBannersAndLeavesItsOwnFramesOut)
{
    const std::string begin = "-------------- STACK BEGIN --------------\n";
    const std::string end = "--------------- STACK END ---------------\n";
    for (const unsigned depth : {0u, 1u, 2u})
    {
        logged.clear();
        DM::CoStackTracePrint(depth, nullptr, logToString);
        EXPECT_EQ(logged, begin + end) << depth;
    }
    logged.clear();
    DM::CoStackTracePrint(4, "Assert: here", logToString);
    EXPECT_EQ(logged.find("-----------------------------------------\nAssert: here\n" + begin + "#002 "), 0u);
    EXPECT_NE(logged.find("\n#003 "), logged.npos);
    EXPECT_EQ(logged.find("\n#004 "), logged.npos);

    std::vector<std::string> frames = {"left over"};
    DM::CoStackTraceGet(frames, 2);
    EXPECT_TRUE(frames.empty());
    DM::CoStackTraceGet(frames, 4);
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[1].rfind("#003 ", 0), 0u);
    DM::CoStackTraceGet(frames, 4'000'000'000u);
    EXPECT_GT(frames.size(), 2u);
}
