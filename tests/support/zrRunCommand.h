/// Runs a program to its end and keeps what it printed: how the tests of commands see them as a user does.
///
///     const CommandResult result = runDmtree({"tc", "--fcm", "25 fps", "-"}, {.input = "100\n"});
///     EXPECT_EQ(result.exitCode, 0) << result.err;
///     EXPECT_EQ(result.out, "00:00:04:00\n");
#pragma once

#include <string>
#include <vector>

namespace zrTest
{

struct CommandOptions
{
    std::string input = {};                    ///< what it reads from standard input
    std::vector<std::string> environment = {}; ///< "NAME=value", beside the caller's variables less those named ZR_...
    std::string directory = {};                ///< where it runs; empty: here
    unsigned timeoutSeconds = 120;             ///< then it is killed by SIGALRM
};

struct CommandResult
{
    /// 127 for a program that does not exist, minus the signal's number for one that was killed, 99 for one that a
    /// sanitizer stopped.
    int exitCode = 0;
    std::string out;
    std::string err;
};

/// Runs `command[0]`, searched for in PATH unless it holds a slash, with the arguments behind it.
CommandResult runCommand(const std::vector<std::string>& command, const CommandOptions& options = {});

/// The dmtree command of this build.
const char* dmtreeProgram();
CommandResult runDmtree(std::vector<std::string> arguments, const CommandOptions& options = {});

} // namespace zrTest
