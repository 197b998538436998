// dmtree dump: a document for people, one line for each node.
#include "dmtree.h"
#include "documents.h"

#include "dmPSetHelper.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <limits>
#include <memory>
#include <string>

namespace
{

struct Options
{
    std::string file;
    std::string fcm;
    bool lenient = false;
    int depth = -1;
};

int dump(const Options& options)
{
    const CoSharedPtr<DmRoot> root = dmtree::requireDocument(options.file, options.lenient, options.fcm);
    const eDmErrorId status = DmTreeTool::dump(root.get(), std::cout, options.depth);
    if (status != DM_NO_ERROR)
        std::cerr << "dmtree dump: " << options.file << ": " << dmUtf8(DmPSetHelper::getStrFromError(status)) << '\n';
    return status == DM_NO_ERROR ? dmtree::Fine : dmtree::Finding;
}

} // namespace

void dmtree::addDump(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("dump", "Show a document as an indented tree, its times as timecode");
    const auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, fileHelp)->required();
    command->add_option("--depth", options->depth, "How many levels below the root are shown; all of them without it")
        ->type_name("N")
        ->check(CLI::Range(0, std::numeric_limits<int>::max()).description(""));
    dmtree::addMode(*command, options->fcm);
    dmtree::addLenient(*command, options->lenient);
    command->callback([&run, options] { run = [options] { return dump(*options); }; });
}
