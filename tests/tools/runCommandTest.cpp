#include "commandCases.h"

using zrTest::runCommand;

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
    const CommandCase cases[] = {{{"--help"}, 0, "...Usage: dmtree..."},
                                 {{"--version"}, 0, "dmtree 0..."},
                                 {{}, 2, "", "...subcommand is required..."},
                                 {{"no-such-subcommand"}, 2, "", "...not expected: no-such-subcommand..."},
                                 {{"--no-such-option"}, 2, "", "...--no-such-option..."},
                                 {{"env", "--no-such-option"}, 2, "", "...--no-such-option..."}};
    for (const CommandCase& row : cases)
        check(row);
}

TEST(Dmtree, SaysThatItsOutputIsLost)
{
    const auto result = runCommand({"sh", "-c", "exec \"$0\" env > /dev/full", zrTest::dmtreeProgram()});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(matches(result.err, "...cannot write...")) << result.err;
}
