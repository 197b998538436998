// dmtree convert: cut lists and documents of any format into any other.
#include "dmtree.h"
#include "documents.h"
#include "jsonLine.h"
#include "modes.h"

#include "dmTrackNode.h"
#include "dmUtf8.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace
{

struct Options
{
    std::string fcm;
    std::string from;
    std::string to;
    std::string composition;
    std::string media; ///< what fills in what a list does not say; empty for none
    std::vector<std::string> tracks;
    std::string reelLength;
    bool splitTracks = false;
    bool flatten = false;
    bool lenient = false;
    bool each = false;
    bool json = false;
    bool failOnWarning = false;
    std::vector<std::string> files; ///< the last is what is written

    interchange::Options conversion(const std::string& format) const
    {
        interchange::Options conversion;
        conversion.format = format;
        conversion.fcm = dmtree::modeOf(fcm);
        conversion.lenient = lenient;
        conversion.composition = composition;
        conversion.tracks = tracks;
        conversion.flatten = flatten;
        if (!reelLength.empty())
            conversion.more["reel-length"] = reelLength;
        return conversion;
    }
};

/// A conversion, with what there was to say.
struct Job
{
    std::string in;
    std::string out;
    bool done = false;
    std::vector<DmFinding> findings;
};

/// The names of the tracks that are written, as --track takes them.
std::vector<std::string> tracksOf(const DmRoot& root, const Options& options)
{
    std::vector<std::string> names = options.tracks;
    const auto add = [&](const DmTreeNode& composition)
    {
        for (int i = 0; i < composition.getNbChildren(); ++i)
            if (const auto* const track = dynamic_cast<const DmTrackNode*>(composition.getChild(i)))
                if (std::string name =
                        (track->getMediaType() == DM_MEDIA_AUDIO ? "A" : "V") + std::to_string(track->getTrackNum());
                    std::ranges::find(names, name) == names.end())
                    names.push_back(std::move(name));
    };
    if (!names.empty())
        return names;
    // In reels, too.
    const auto addOf = [&](const auto& self, const DmTreeNode& in) -> bool
    {
        for (int i = 0; i < in.getNbChildren(); ++i)
        {
            const DmTreeNode* const child = in.getChild(i);
            if (child && child->whatIs() == DM_REEL_NODE && self(self, *child))
                return true;
            if (!child || child->whatIs() != DM_COMPOSITION_NODE ||
                (!options.composition.empty() && dmUtf8(child->getName()) != options.composition))
                continue;
            add(*child);
            return true;
        }
        return false;
    };
    static_cast<void>(addOf(addOf, root)); // the writer says what there is not
    return names;
}

/// "cut.edl" as "cut-V1.edl".
std::string pathOfTrack(const std::string& path, const std::string& track)
{
    const std::filesystem::path whole(path);
    return (whole.parent_path() / (whole.stem().string() + '-' + track + whole.extension().string())).string();
}

/// The mode that the other files say, looked for when one does not say its own.
class ModeBeside
{
public:
    ModeBeside(const Options& options, const DmRoot* media)
        : _options(options)
    {
        if (media || options.files.size() == 2)
            _mode = media ? dmtree::modeOf(*media) : DM::FCM_NOT_DEFINED;
    }
    DM::FrameCodeModes get()
    {
        if (!_mode)
            _mode = dmtree::modeSaidBy({_options.files.begin(), _options.files.end() - 1},
                                       _options.conversion(_options.from));
        return *_mode;
    }

private:
    const Options& _options;
    std::optional<DM::FrameCodeModes> _mode;
};

dmtree::Document open(const Options& options, ModeBeside& beside, const std::string& path)
{
    interchange::Options reading = options.conversion(options.from);
    const bool isReadOnce = path == "-";
    if (isReadOnce && options.fcm.empty())
        reading.beside = beside.get();
    dmtree::Document document = dmtree::openDocument(path, reading);
    if (isReadOnce || !dmtree::isModeGuessed(document) || beside.get() == DM::FCM_NOT_DEFINED)
        return document;
    reading.beside = beside.get();
    return dmtree::openDocument(path, reading);
}

void convert(const Options& options, const DmRoot* media, ModeBeside& beside, Job& job)
{
    dmtree::Document document = open(options, beside, job.in);
    job.findings = std::move(document.findings);
    if (!document.root)
        return;
    if (media)
        std::ranges::move(interchange::fillMedia(*document.root, *media), std::back_inserter(job.findings));
    interchange::Options writing = options.conversion(options.to);
    const auto write = [&](const std::string& out)
    {
        interchange::Writing written = out == "-" ? interchange::writeStream(*document.root, std::cout, writing)
                                                  : interchange::writeFile(*document.root, out, writing);
        for (DmFinding& finding : written.findings)
            if (std::string_view(finding.code) == "DM601") // about the file itself, which is not the job's first
                finding.text.insert(0, (out == "-" ? "standard output" : out) + ": ");
        std::ranges::move(written.findings, std::back_inserter(job.findings));
        return written.done;
    };
    const std::vector<std::string> tracks =
        options.splitTracks ? tracksOf(*document.root, options) : std::vector<std::string>();
    if (tracks.empty())
    {
        job.done = write(job.out);
        return;
    }
    job.done = true;
    for (const std::string& track : tracks)
    {
        writing.tracks = {track};
        job.done = write(pathOfTrack(job.out, track)) && job.done;
    }
}

void printText(const Job& job, const Options& options)
{
    std::cerr << dmFindingsText(job.in, job.findings, options.each ? 0 : 5);
}

std::string jsonOf(const DmFinding& finding)
{
    dmtree::JsonLine line;
    line.add("severity", finding.severityName()).add("code", finding.code);
    if (finding.line != 0)
        line.add("line", static_cast<int>(finding.line));
    if (finding.column != 0)
        line.add("column", static_cast<int>(finding.column));
    const std::pair<const char*, const std::string*> places[] = {
        {"path", &finding.nodePath}, {"clip", &finding.clip}, {"track", &finding.track}, {"record", &finding.record}};
    for (const auto& [key, value] : places)
        if (!value->empty())
            line.add(key, *value);
    return std::string(line.add("text", finding.text).text());
}

void printJson(const Job& job)
{
    std::vector<std::string> findings;
    for (const DmFinding& finding : job.findings)
        findings.push_back(jsonOf(finding));
    dmtree::JsonLine line;
    line.add("in", job.in).add("out", job.out).add("result", job.done ? "converted" : "failed");
    // The output itself stands on standard output where that was asked for.
    (job.out == "-" ? std::cerr : std::cout) << line.addObjects("findings", findings).text() << '\n';
}

/// One file into another, or any number into a directory.
std::vector<Job> jobsOf(const Options& options)
{
    const std::string& out = options.files.back();
    if (options.splitTracks && out == "-")
        throw std::runtime_error("--split-tracks writes a file for each track: name a file or a directory");
    std::vector<Job> jobs;
    const bool isDirectory = out != "-" && (out.ends_with('/') || std::filesystem::is_directory(out));
    if (!isDirectory && options.files.size() > 2)
        throw std::runtime_error(out + ": no directory, and there are several files to convert");
    if (!isDirectory)
    {
        jobs.push_back({options.files.front(), out, false, {}});
        return jobs;
    }
    const auto format = interchange::formatNamed(options.to);
    if (!format)
        throw std::runtime_error(out + ": a directory has no extension: name a format with --to");
    std::map<std::string, std::string> made;
    for (std::size_t i = 0; i + 1 < options.files.size(); ++i)
    {
        const std::string& in = options.files[i];
        const std::filesystem::path name = in == "-" ? "standard-input" : std::filesystem::path(in).stem();
        const std::string target =
            (std::filesystem::path(out) / name).string() + '.' + std::string(format->extensions().front());
        if (const auto [other, isNew] = made.emplace(target, in); !isNew)
            throw std::runtime_error(target + ": both " + other->second + " and " + in + " would be written there");
        jobs.push_back({in, target, false, {}});
    }
    std::filesystem::create_directories(out);
    return jobs;
}

int convertAll(const Options& options)
{
    int worst = dmtree::Fine;
    const CoSharedPtr<DmRoot> media =
        options.media.empty() ? CoSharedPtr<DmRoot>() : dmtree::requireDocument(options.media, options.lenient, {});
    ModeBeside beside(options, media.get());
    for (Job& job : jobsOf(options))
    {
        convert(options, media.get(), beside, job);
        if (options.json)
            printJson(job);
        else
            printText(job, options);
        const bool hasWarning = std::ranges::any_of(job.findings, [](const DmFinding& finding)
                                                    { return finding.severity == DmFinding::Warning; });
        worst = std::max<int>(worst, !job.done                             ? dmtree::Unusable
                                     : hasWarning && options.failOnWarning ? dmtree::Finding
                                                                           : dmtree::Fine);
    }
    return worst;
}

std::string formatNames()
{
    std::string names;
    for (const auto& format : interchange::formats())
        names.append(names.empty() ? "" : ", ").append(format->name());
    return names;
}

std::string checkFormat(const std::string& name)
{
    return interchange::formatNamed(name) ? "" : "'" + name + "' is no format. The formats are " + formatNames();
}

} // namespace

void dmtree::addConvert(CLI::App& app, Run& run)
{
    CLI::App* const command = app.add_subcommand("convert", "Turn cut lists and documents of any format into another");
    const auto options = std::make_shared<Options>();
    command
        ->add_option("--from", options->from,
                     "The format that is read; without it, as the first bytes look, then "
                     "by the extension")
        ->type_name("FORMAT")
        ->check(checkFormat);
    command->add_option("--to", options->to, "The format that is written; without it, by the extension")
        ->type_name("FORMAT")
        ->check(checkFormat);
    command
        ->add_option(
            "--fcm", options->fcm,
            "Frame-code mode: of an .edl, which does not say it (without it that of a FRAME RATE comment, else of the "
            "files beside it, else the lowest of 24, 25, 29.97, 50 and 59.94 that has all labels); of an .otio, to "
            "convert its rates to (without it that at which most of its picture plays); of a document whose "
            "composition names none")
        ->type_name("NAME")
        ->check(checkMode);
    command->add_flag("--lenient", options->lenient,
                      "Carry on where a list has a mistake, or a document a value that would not be kept as it stands: "
                      "each is a warning that says what was chosen");
    command
        ->add_option("--media", options->media,
                     "A list of media (.ale, or any other file) that fills in the paths, reels and looks that a list "
                     "does not say")
        ->type_name("FILE");
    command->add_option("--composition", options->composition, "Write this composition only")->type_name("NAME");
    command->add_option("--track", options->tracks, "Write these tracks only: V1, A2, ...")
        ->type_name("TRACK")
        ->allow_extra_args(false);
    command->add_flag("--split-tracks", options->splitTracks,
                      "Write a file for each track: cut-V1.edl, cut-A1.edl, ...");
    command->add_flag("--flatten", options->flatten,
                      "Write what nested compositions play in their place; one that would play otherwise then stays, "
                      "with a warning");
    command
        ->add_option(
            "--reel-length", options->reelLength,
            "The most characters that a reel's name has in an .edl; 32 unless given. The whole name stands in a "
            "note beside a shorter one")
        ->type_name("N")
        ->check(CLI::Range(1, 1000));
    command->add_flag("--each", options->each, "Show every finding of a kind, not only the first five");
    command->add_flag("--json", options->json, "Say what there is to say as one JSON object for each file");
    command->add_flag("--fail-on-warning", options->failOnWarning, "Exit with 1 where there was a warning");
    command
        ->add_option("FILE", options->files,
                     "What to read, then what to write: a file, - for standard input and output, or a directory behind "
                     "any number of files")
        ->required()
        ->expected(2, -1);
    command->footer(
        "Formats: " + formatNames() +
        ".\n\n"
        "What a list says and a document has no property for travels with the document and comes back: an .edl that\n"
        "was converted twice is the same, event for event, an .otio the same, member for member. What the form that "
        "is\n"
        "written cannot say is a warning, with its clip and its record time.\n\n"
        "A mistake is named as FILE:LINE. The exit code is then 2, and what was to be written stays as it was.\n\n"
        "Examples:\n"
        "  dmtree convert reel1.edl reel1.json\n"
        "  dmtree convert --fcm '25 fps' --lenient reel1.edl reel1.json\n"
        "  dmtree convert reel1.json reel1.edl\n"
        "  dmtree convert *.edl cuts/ --to otio\n"
        "  dmtree convert - - --to edl < promo.otio");
    command->callback([&run, options] { run = [options] { return convertAll(*options); }; });
}
