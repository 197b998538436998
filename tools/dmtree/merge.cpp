// dmtree merge: what two editors did to one cut, put together.
#include "dmtree.h"
#include "documents.h"
#include "modes.h"

#include "dmMerge.h"
#include "dmUtf8.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace
{

struct Options
{
    std::string base;
    std::string ours;
    std::string theirs;
    std::string output = "-";
    std::string name;
    std::string fcm;
    bool lenient = false;
    bool favourOurs = false;
    bool favourTheirs = false;
};

bool isEmpty(const std::string& path)
{
    std::error_code error;
    return path == "/dev/null" ||
           (std::filesystem::is_regular_file(path, error) && std::filesystem::file_size(path, error) == 0);
}

int merge(const Options& options)
{
    const std::string base = isEmpty(options.base) ? std::string() : options.base;
    const std::vector<CoSharedPtr<DmRoot>> versions =
        dmtree::requireVersions({base, options.ours, options.theirs}, options.lenient, options.fcm, options.name);
    const DmMerge merge = DmMerge::merge(versions[0].get(), *versions[1], *versions[2],
                                         options.favourTheirs ? DmMergeFavour::Theirs
                                         : options.favourOurs ? DmMergeFavour::Ours
                                                              : DmMergeFavour::OursAndMark);
    if (!merge.result())
        throw std::runtime_error("merge: " + dmUtf8(merge.status().info()));
    for (const std::string& note : merge.notes())
        std::cerr << "note: " << note << '\n';
    for (const DmMergeConflict& conflict : merge.conflicts())
        std::cerr << "conflict: " << conflict.text() << '\n';
    dmtree::saveAsNamed(*merge.result(), options.output, options.name, dmtree::modeOf(options.fcm));
    return merge.conflicts().empty() ? dmtree::Fine : dmtree::Finding;
}

} // namespace

void dmtree::addMerge(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("merge", "Put together what two editors did to one cut");
    const auto options = std::make_shared<Options>();
    command->add_option("BASE", options->base, "What both come from; an empty file where nobody knows")->required();
    command->add_option("OURS", options->ours, fileHelp)->required();
    command->add_option("THEIRS", options->theirs, fileHelp)->required();
    command
        ->add_option("-o,--output", options->output, "Where to; may be one of the others. Standard output without it")
        ->type_name("OUT");
    command->add_option("--name", options->name, "The file's name, which tells its format: %P to git")
        ->type_name("NAME");
    addMode(*command, options->fcm);
    auto* const favour =
        command->add_flag("--ours", options->favourOurs, "In a conflict ours stands, and nothing marks it");
    command->add_flag("--theirs", options->favourTheirs, "In a conflict theirs stands")->excludes(favour);
    addLenient(*command, options->lenient);
    command->callback([&run, options] { run = [options] { return merge(*options); }; });
}
