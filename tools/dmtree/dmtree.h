/// The subcommands of dmtree: each file adds its own to the command line and returns its exit code when it ran.
#pragma once

#include <functional>

namespace CLI
{
class App;
}

namespace dmtree
{

/// Exit codes: what a script can rely on.
enum ExitCode : int
{
    Fine = 0,    ///< done, nothing to report
    Finding = 1, ///< done, and something was found
    Unusable = 2 ///< wrong usage or unreadable input
};

/// What a subcommand leaves behind for main() to run, and its exit code.
using Run = std::function<int()>;

/// Adds a subcommand to the application and sets `run` when the command line chose it.
using AddSubcommand = void (*)(CLI::App& app, Run& run);

void addCheck(CLI::App& app, Run& run);
void addClasses(CLI::App& app, Run& run);
void addConvert(CLI::App& app, Run& run);
void addDiff(CLI::App& app, Run& run);
void addDump(CLI::App& app, Run& run);
void addEdit(CLI::App& app, Run& run);
void addEnv(CLI::App& app, Run& run);
void addFmt(CLI::App& app, Run& run);
void addInfo(CLI::App& app, Run& run);
void addMerge(CLI::App& app, Run& run);
void addPatch(CLI::App& app, Run& run);
void addSchema(CLI::App& app, Run& run);
void addTc(CLI::App& app, Run& run);
void addView(CLI::App& app, Run& run);

} // namespace dmtree
