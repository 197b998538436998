// dmtree patch: puts a difference on a document.
#include "dmtree.h"
#include "documents.h"
#include "modes.h"
#include "textFile.h"

#include "dmPatch.h"
#include "dmUtf8.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

namespace
{

struct Options
{
    std::string document;
    std::string patch;
    std::string output = "-";
    std::string fcm;
    bool lenient = false;
};

DmPatch readPatch(const std::string& path)
{
    DmPatch patch;
    const DmStatus status = DmPatch::read(dmtree::readText(path), patch);
    if (status.failed())
        throw std::runtime_error(path + ": " + dmUtf8(status.info()));
    return patch;
}

int patchDocument(const Options& options)
{
    const CoSharedPtr<DmRoot> document = dmtree::requireDocument(options.document, options.lenient, options.fcm);
    const DmPatch patch = readPatch(options.patch);
    CoSharedPtr<DmRoot> result;
    DmPatchReport report;
    const DmStatus status = patch.apply(*document, result, report);
    if (status.failed())
        throw std::runtime_error(options.patch + ": leads to no document: " + dmUtf8(status.info()));
    for (const std::string& left : report.left)
        std::cerr << "left out: " << left << '\n';
    dmtree::saveAsNamed(*result, options.output, {}, dmtree::modeOf(options.fcm));
    return report.left.empty() ? dmtree::Fine : dmtree::Finding;
}

} // namespace

void dmtree::addPatch(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("patch", "Put what diff --patch wrote on a document");
    const auto options = std::make_shared<Options>();
    command->add_option("OLD", options->document, fileHelp)->required();
    command->add_option("PATCH", options->patch, "What diff --patch wrote; - is standard input")->required();
    command
        ->add_option("-o,--output", options->output,
                     "Where to, of any format that convert writes; may be OLD itself. Standard output without it")
        ->type_name("OUT");
    addMode(*command, options->fcm);
    addLenient(*command, options->lenient);
    command->callback([&run, options] { run = [options] { return patchDocument(*options); }; });
}
