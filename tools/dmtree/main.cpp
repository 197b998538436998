#include "dmtree.h"

#include "zrAssert.h"
#include "zrVersion.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

namespace
{

/// One row a subcommand, in the order of --help.
constexpr std::initializer_list<dmtree::AddSubcommand> subcommands = {};

} // namespace

int main(int argc, char** argv)
try
{
    // A mistake in a document is an answer to its user, on an in-house installation too.
    const ZrDisableTlvAssertGuard asForCustomers;

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
        return app.exit(error) == 0 ? dmtree::Fine : dmtree::Unusable;
    }
    return run ? run() : dmtree::Unusable;
}
catch (const std::exception& error)
{
    std::cerr << "dmtree: " << error.what() << '\n';
    return dmtree::Unusable;
}
