#include "zrRunCommand.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

using zrTest::runCommand;
using zrTest::runDmtree;

namespace
{

TEST(RunCommand, TellsExitCodesAndSignalsApart)
{
    EXPECT_EQ(runCommand({"sh", "-c", "exit 2"}).exitCode, 2);
    EXPECT_EQ(runCommand({"sh", "-c", "kill -SEGV $$"}).exitCode, -SIGSEGV);
    EXPECT_EQ(runCommand({"sleep", "60"}, {.timeoutSeconds = 1}).exitCode, -SIGALRM);
    EXPECT_EQ(runCommand({"/no/such/program"}).exitCode, 127);
}

TEST(RunCommand, PassesInputEnvironmentAndDirectoryAndKeepsTheTwoOutputsApart)
{
    setenv("ZR_OF_THE_CALLER", "1", 1);
    const auto result = runCommand({"sh", "-c", "cat; pwd; echo \"$MINE $ZR_OF_THE_CALLER\" >&2"},
                                   {.input = "a line\n", .environment = {"MINE=yes"}, .directory = "/usr"});
    EXPECT_EQ(result.out, "a line\n/usr\n");
    EXPECT_EQ(result.err, "yes \n");
    unsetenv("ZR_OF_THE_CALLER");
}

TEST(Dmtree, AnswersHelpAndVersionAndRefusesTheRest)
{
    const struct
    {
        std::vector<std::string> arguments;
        int exitCode;
        const char* out; ///< a part of it; null: nothing is printed there
        const char* err;
    } cases[] = {
        {{"--help"}, 0, "Usage: dmtree", nullptr},
        {{"--version"}, 0, "dmtree 0.", nullptr},
        {{}, 2, nullptr, "subcommand is required"},
        {{"no-such-subcommand"}, 2, nullptr, "not expected: no-such-subcommand"},
        {{"--no-such-option"}, 2, nullptr, "--no-such-option"},
        {{"env", "--no-such-option"}, 2, nullptr, "--no-such-option"},
    };
    for (const auto& c : cases)
    {
        const auto result = runDmtree(c.arguments);
        EXPECT_EQ(result.exitCode, c.exitCode);
        EXPECT_TRUE(c.out ? result.out.find(c.out) != std::string::npos : result.out.empty()) << result.out;
        EXPECT_TRUE(c.err ? result.err.find(c.err) != std::string::npos : result.err.empty()) << result.err;
    }
}

TEST(Dmtree, SaysThatItsOutputIsLost)
{
    const auto result = runCommand({"sh", "-c", "exec \"$0\" env > /dev/full", zrTest::dmtreeProgram()});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.err.find("cannot write"), std::string::npos) << result.err;
}

} // namespace
