// dmtree diff: what changed between two versions of a cut.
#include "dmtree.h"
#include "documents.h"
#include "picture.h"

#include "vwPage.h"
#include "vwSceneBuild.h"
#include "vwSvg.h"

#include "dmDiff.h"
#include "dmPatch.h"
#include "dmUtf8.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

struct Options
{
    std::vector<std::string> files; ///< OLD and NEW; or the seven, or nine, arguments of git's external diff
    std::string fcm;
    DmDiffOptions diff;
    std::string out;
    double width = 1200.0;
    std::string range;
    bool svg = false;
    bool lenient = false;
    bool json = false;
    bool stat = false;
    bool brief = false;
    bool patch = false;
    bool exitZero = false;
};

/// What git calls an external diff with: path, old file, its hash and mode, new file, its hash and mode, and of a
/// renamed file the new path and a note on that.
constexpr std::size_t gitArguments = 7;

struct Sides
{
    std::string before;
    std::string after;
    std::string title; ///< the path in the repository; empty without git
};

Sides sidesOf(const std::vector<std::string>& files)
{
    if (files.size() == 2)
        return {files[0], files[1], {}};
    if (files.size() == gitArguments || files.size() == gitArguments + 2)
        return {files[1], files[4], files[0]};
    throw std::runtime_error("diff: wants two files: OLD NEW");
}

std::string fileName(const std::string& path)
{
    return path == "-" ? "standard input" : std::filesystem::path(path).filename().string();
}

/// What leads from one to the other, as dmtree patch reads it; nothing is a document without contents.
std::string patchText(const CoSharedPtr<DmRoot>& before, const CoSharedPtr<DmRoot>& after)
{
    const CoSharedPtr<DmRoot> none = DmRoot::create();
    DmPatch patch;
    const DmStatus status = DmPatch::make(before ? *before : *none, after ? *after : *none, patch);
    if (status.failed())
        throw std::runtime_error("diff: " + dmUtf8(status.info()));
    return patch.json();
}

std::string countText(const DmDiff& diff)
{
    return diff.isSame() ? "the same" : diff.stat();
}

/// One over the other, as a page or as a still of the first composition.
void drawBoth(const CoSharedPtr<DmRoot>& before, const CoSharedPtr<DmRoot>& after, const DmDiff& diff,
              const Options& options, const std::string& title)
{
    const view::PageParts* const page = options.svg ? nullptr : &dmtree::requirePage("diff");
    const CoSharedPtr<DmRoot> none = DmRoot::create();
    const view::Scene scene = view::sceneOf(before ? *before : *none, after ? *after : *none, diff, title);
    view::SvgOptions still{.width = options.width};
    if (!options.range.empty() && !scene.compositions.empty())
        still.range = dmtree::rangeOf(scene, scene.compositions.front(), options.range);
    dmtree::writePicture("diff", options.out, page ? view::pageOf(scene, *page) : view::svgOf(scene, still), scene);
}

int compare(const Options& options)
{
    const Sides sides = sidesOf(options.files);
    const auto pathOf = [](const std::string& path) { return path == "/dev/null" ? std::string() : path; };
    const std::vector<CoSharedPtr<DmRoot>> versions =
        dmtree::requireVersions({pathOf(sides.before), pathOf(sides.after)}, options.lenient, options.fcm);
    const CoSharedPtr<DmRoot>& before = versions[0];
    const CoSharedPtr<DmRoot>& after = versions[1];
    if (options.patch)
    {
        const std::string text = patchText(before, after);
        std::cout << text << '\n';
        return options.exitZero || text == DmPatch().json() ? dmtree::Fine : dmtree::Finding;
    }
    DmStatus status;
    const DmDiff diff = DmDiff::between(before.get(), after.get(), options.diff, &status);
    if (status.failed())
        throw std::runtime_error("diff: " + dmUtf8(status.info()));
    const std::string old = sides.title.empty() ? sides.before : "a/" + sides.title;
    const std::string now = sides.title.empty() ? sides.after : "b/" + sides.title;
    if (!options.out.empty())
        drawBoth(before, after, diff, options, fileName(old) + " \xE2\x86\x92 " + fileName(now));
    else if (options.json)
        std::cout << diff.json() << '\n';
    else if (options.stat)
        std::cout << countText(diff) << '\n';
    else if (options.brief && !diff.isSame())
        std::cout << old << " and " << now << " differ\n";
    else if (!options.brief && !diff.isSame())
        std::cout << "--- " << old << "\n+++ " << now << '\n' << diff.text(options.diff.eachShift);
    // To git, another exit code than 0 is a program that failed.
    return diff.isSame() || options.exitZero || !sides.title.empty() ? dmtree::Fine : dmtree::Finding;
}

} // namespace

void dmtree::addDiff(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("diff", "What changed between two versions of a cut");
    const auto options = std::make_shared<Options>();
    command->add_option("FILES", options->files, "OLD and NEW: documents or cut lists of any format; /dev/null is none")
        ->required()
        ->expected(2, int(gitArguments) + 2);
    CLI::Option* const out =
        command
            ->add_option("-o,--output", options->out,
                         "A picture of both, one over the other, with the changes beside it: a page for any browser")
            ->type_name("FILE");
    CLI::Option* const svg = command->add_flag("--svg", options->svg, "As a still, without the list")->needs(out);
    command->add_option("--width", options->width, "Of a still, in pixels")
        ->type_name("PIXELS")
        ->check(CLI::Range(200, 20000).description(""))
        ->needs(svg);
    command->add_option("--range", options->range, "Of a still: from one label, or frame, of NEW to another")
        ->type_name("IN-OUT")
        ->needs(svg);
    command->add_flag("--json", options->json, "One JSON object")->excludes(out);
    command->add_flag("--stat", options->stat, "One line: how many changes of which kind")->excludes(out);
    command->add_flag("--brief", options->brief, "Only whether they differ")->excludes(out);
    command
        ->add_flag("--patch", options->patch, "What leads from OLD to NEW, for dmtree patch; the other options aside")
        ->excludes(out);
    command->add_flag("--each", options->diff.eachShift, "Shots that others shifted, too, one by one");
    command->add_option("--ignore", options->diff.ignored, "Kinds of changes that do not count, separated by commas")
        ->delimiter(',')
        ->type_name("KINDS");
    command->add_option("--tolerance", options->diff.tolerance, "Times that differ by no more are the same")
        ->check(CLI::NonNegativeNumber)
        ->type_name("FRAMES");
    addMode(*command, options->fcm);
    command->add_flag("--exit-zero", options->exitZero, "Exit code 0 for files that differ, too");
    addLenient(*command, options->lenient);
    command->callback([&run, options] { run = [options] { return compare(*options); }; });
}
