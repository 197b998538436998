#include "dmtree.h"
#include "modes.h"

#include "CoStderrLogger.h"
#include "zrAssert.h"
#include "zrVersion.h"

#include <CLI/CLI.hpp>

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
