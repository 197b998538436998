// dmtree view: a picture of a cut, as a page or as a still.
#include "checkConfig.h"
#include "dmtree.h"
#include "documents.h"
#include "modes.h"
#include "pageServer.h"
#include "picture.h"

#include "vwLayout.h"
#include "vwPageParts.h"
#include "vwSceneBuild.h"
#include "vwSvg.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

struct Options
{
    std::string file;
    std::string fcm;
    std::string out;
    bool svg = false;
    bool findings = false;
    bool watch = false;
    bool lenient = false;
    double width = 1200.0;
    std::string range;
    std::string tracks;
    std::string composition;
};

std::vector<std::string> split(const std::string& text, char at)
{
    std::vector<std::string> parts;
    std::size_t from = 0;
    for (std::size_t to = 0; to != text.npos; from = to + 1)
    {
        to = text.find(at, from);
        parts.push_back(text.substr(from, to == text.npos ? to : to - from));
    }
    return parts;
}

std::size_t compositionOf(const view::Scene& scene, const std::string& wanted)
{
    if (wanted.empty())
        return 0;
    for (std::size_t i = 0; i < scene.compositions.size(); ++i)
        if (scene.texts[scene.compositions[i].name] == wanted)
            return i;
    throw std::runtime_error("--composition: there is none called '" + wanted + "'");
}

std::string still(const view::Scene& scene, const Options& options)
{
    view::SvgOptions svg{.width = options.width, .composition = compositionOf(scene, options.composition)};
    if (scene.compositions.empty())
        return view::svgOf(scene, svg);
    const view::Composition& composition = scene.compositions[svg.composition];
    if (!options.range.empty())
        svg.range = dmtree::rangeOf(scene, composition, options.range);
    if (!options.tracks.empty())
        svg.tracks = split(options.tracks, ',');
    for (const std::string& track : svg.tracks)
        if (!view::hasTrack(scene, composition, track))
            throw std::runtime_error("--tracks: there is no '" + track + "'");
    return view::svgOf(scene, svg);
}

/// What dmtree check finds in the file with no options: by the same configuration, and what reading it had to say.
std::vector<DmFinding> findingsOf(const Options& options, const dmtree::Document& document)
{
    const std::string path = dmtree::findCheckConfig();
    dmtree::CheckConfig config = path.empty() ? dmtree::CheckConfig() : dmtree::readCheckConfig(path);
    const DmFindings rules(dmtree::optionsFor(options.file, std::move(config.rules), config.perPath));
    std::vector<DmFinding> findings = rules.find(*document.root);
    for (const DmFinding& said : document.findings)
        if (rules.isOn(said.code) && said.severity != DmFinding::Note)
            findings.push_back(said);
    return findings;
}

view::Scene sceneOf(const Options& options)
{
    interchange::Options reading;
    reading.fcm = dmtree::modeOf(options.fcm);
    reading.lenient = options.lenient || options.findings; // what is wrong with it is what the picture is to show
    dmtree::Document document = dmtree::openDocument(options.file, reading);
    if (!options.lenient)
        document.refuseChanges();
    if (!document.root)
        throw std::runtime_error(options.file + ": " + document.what());
    const std::string title =
        options.file == "-" ? "standard input" : std::filesystem::path(options.file).filename().string();
    view::Scene scene = view::sceneOf(*document.root, title);
    if (options.findings)
        view::addFindings(scene, findingsOf(options, document));
    else
        std::cerr << dmFindingsText(options.file, document.findings);
    return scene;
}

/// Shows the file as it changes, until the command is ended.
int watch(const Options& options)
{
    if (options.file == "-")
        throw std::runtime_error("--watch: standard input does not change");
    const view::PageParts& page = dmtree::requirePage("view");
    dmtree::PageServer server([&](const std::string& path) { return view::pageOf(sceneOf(options), page, path); },
                              options.file);
    std::cout << server.address() << std::endl;
    server.run();
    return dmtree::Fine;
}

int picture(const Options& options)
{
    if (options.watch)
        return watch(options);
    if (options.out.empty())
        throw std::runtime_error("view: where does the picture go? -o FILE, or --watch");
    const view::PageParts* const page = options.svg ? nullptr : &dmtree::requirePage("view");
    const view::Scene scene = sceneOf(options);
    dmtree::writePicture("view", options.out, page ? view::pageOf(scene, *page) : still(scene, options), scene);
    return dmtree::Fine;
}

} // namespace

void dmtree::addView(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("view", "Make a picture of a cut: a page for any browser, or a still");
    const auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, fileHelp)->required();
    command->add_option("-o,--output", options->out, "Where the picture goes; - is standard output")->type_name("FILE");
    command->add_flag("--findings", options->findings, "Lay on it what the checks find");
    CLI::Option* const svg = command->add_flag("--svg", options->svg, "A still, as SVG");
    command->add_flag("--watch", options->watch, "Serve the page on this machine, as the file changes")->excludes(svg);
    command->add_option("--width", options->width, "Of a still, in pixels")
        ->type_name("PIXELS")
        ->check(CLI::Range(200, 20000).description(""))
        ->needs(svg);
    command->add_option("--range", options->range, "Of a still: from one label, or frame, to another")
        ->type_name("IN-OUT")
        ->needs(svg);
    command->add_option("--tracks", options->tracks, "Of a still: only these, \"V1,A2\"")
        ->type_name("TRACKS")
        ->needs(svg);
    command->add_option("--composition", options->composition, "Of a still: the one of this name; the first without it")
        ->type_name("NAME")
        ->needs(svg);
    dmtree::addMode(*command, options->fcm);
    dmtree::addLenient(*command, options->lenient);
    command->callback([&run, options] { run = [options] { return picture(*options); }; });
}
