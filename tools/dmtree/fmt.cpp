// dmtree fmt: a document in the form in which the library writes it.
#include "dmtree.h"
#include "documents.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

namespace
{

struct Options
{
    std::string file;
    std::string fcm;
    bool lenient = false;
    std::string output = "-";
    bool compact = false;
};

int format(const Options& options)
{
    using Layout = DmTreeJsonBuilder::Layout;
    const CoSharedPtr<DmRoot> root = dmtree::requireDocument(options.file, options.lenient, options.fcm);
    dmtree::saveDocument(*root, options.output, options.compact ? Layout::Compact : Layout::Environment);
    return dmtree::Fine;
}

} // namespace

void dmtree::addFmt(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("fmt", "Write a document in its canonical form");
    const auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, fileHelp)->required();
    command->add_flag("--compact", options->compact, "Without any white space");
    command->add_option("-o,--output", options->output, "Where to; may be FILE itself. Standard output without it")
        ->type_name("OUT");
    dmtree::addMode(*command, options->fcm);
    dmtree::addLenient(*command, options->lenient);
    command->callback([&run, options] { run = [options] { return format(*options); }; });
}
