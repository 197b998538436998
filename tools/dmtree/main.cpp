#include "dmtree.h"
#include "modes.h"

#include "CoFile.h"
#include "CoStderrLogger.h"
#include "zrAssert.h"
#include "zrVersion.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

namespace
{

/// One row a subcommand, in the order of --help.
constexpr std::initializer_list<dmtree::AddSubcommand> subcommands = {
    dmtree::addCheck,   dmtree::addInfo,  dmtree::addDump,  dmtree::addFmt,     dmtree::addEdit,
    dmtree::addDiff,    dmtree::addPatch, dmtree::addMerge, dmtree::addConvert, dmtree::addSchema,
    dmtree::addClasses, dmtree::addEnv,   dmtree::addTc,    dmtree::addView,
};

/// Leaves no half-written file behind, and ends as the shell expects.
extern "C" void interrupted(int signal)
{
    DM::CoReplaceFile::removeAll();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void watchForInterruptions()
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        if (std::signal(signal, interrupted) == SIG_IGN)
            std::signal(signal, SIG_IGN); // nohup, and jobs in the background
}

} // namespace

int main(int argc, char** argv)
try
{
    // A mistake in a document is an answer to its user, on an in-house installation too.
    const ZrDisableTlvAssertGuard asForCustomers;

    // What the library says is no part of a command's output.
    DM::CoMsg::ensurePIDCallback();
    const DM::CoStderrLogger errorsOnly;

    CLI::App app("Works on timeline documents, time codes and cut lists.", "dmtree");
    app.set_version_flag("--version", std::string("dmtree ") + zrLibraryVersion());
    app.require_subcommand(1);

    dmtree::Run run;
    for (const dmtree::AddSubcommand add : subcommands)
        add(app, run);
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        // A word that is no subcommand is named, instead of telling that there is none.
        if (app.get_subcommands().empty() && !app.remaining().empty())
        {
            app.exit(CLI::ExtrasError({app.remaining().front()}));
            return dmtree::Unusable;
        }
        return app.exit(error) == 0 ? dmtree::Fine : dmtree::Unusable;
    }
    if (const std::string wrong = dmtree::wrongDefaultMode(); !wrong.empty())
        std::cerr << "dmtree: warning: " << wrong << '\n';
    watchForInterruptions();
    const int exitCode = run ? run() : dmtree::Unusable;
    if (!std::cout.flush())
        throw std::runtime_error("cannot write to standard output");
    return exitCode;
}
catch (const std::exception& error)
{
    std::cerr << "dmtree: " << error.what() << '\n';
    return dmtree::Unusable;
}
