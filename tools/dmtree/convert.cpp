// dmtree convert: cut lists to documents and back, by the extensions of the two files.
#include "dmtree.h"
#include "documents.h"
#include "textFile.h"

#include "icEdlReader.h"
#include "icEdlToTree.h"
#include "icEdlWriter.h"
#include "icOtioReader.h"
#include "icOtioWriter.h"
#include "icTreeToEdl.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace
{

using DM::FcmUtil;
using interchange::Report;

struct Options
{
    std::string fcm;
    bool lenient = false;
    std::string in;
    std::string out;

    DM::FrameCodeModes mode() const { return FcmUtil::getFCMFromString(fcm.c_str(), false); }
};

// Formats: to read gives null, and to write false, with the report's errors; what is not the content's fault throws.

CoSharedPtr<DmRoot> readJson(const Options& options, Report& report)
{
    dmtree::Document document = dmtree::openDocument(options.in);
    if (!options.lenient)
        document.refuseChanges();
    for (const DmJsonChange& change : document.changes.list)
        report.add(options.lenient ? Report::Warning : Report::Error, static_cast<std::uint32_t>(change.place.line),
                   change.text());
    if (!document.root && document.changes.empty())
        report.add(Report::Error, static_cast<std::uint32_t>(document.place.line), std::move(document.error));
    return document.root;
}

bool writeJson(const DmRoot& root, const Options& options, Report& /*report*/)
{
    dmtree::saveDocument(root, options.out, DmTreeJsonBuilder::Layout::Environment);
    return true;
}

CoSharedPtr<DmRoot> readEdl(const Options& options, Report& report)
{
    const std::optional<interchange::EdlList> list =
        interchange::readEdl(dmtree::readText(options.in), options.mode(), report);
    return list ? interchange::edlToTree(*list, report) : CoSharedPtr<DmRoot>();
}

bool writeEdl(const DmRoot& root, const Options& options, Report& report)
{
    const std::optional<interchange::EdlList> list = interchange::treeToEdl(root, options.mode(), report);
    if (list)
        dmtree::writeText(options.out, interchange::writeEdl(*list));
    return list.has_value();
}

CoSharedPtr<DmRoot> readOtio(const Options& options, Report& report)
{
    return interchange::readOtio(dmtree::readText(options.in), options.mode(), report);
}

bool writeOtio(const DmRoot& root, const Options& options, Report& report)
{
    const std::optional<std::string> text = interchange::writeOtio(root, options.mode(), report);
    if (text)
        dmtree::writeText(options.out, *text);
    return text.has_value();
}

struct Format
{
    const char* extension; ///< in lower case
    CoSharedPtr<DmRoot> (*read)(const Options& options, Report& report);
    bool (*write)(const DmRoot& root, const Options& options, Report& report);
};

constexpr Format formats[] = {
    {".edl", readEdl, writeEdl},
    {".json", readJson, writeJson},
    {".otio", readOtio, writeOtio},
};

const Format& formatOf(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    const auto* const format = std::ranges::find(formats, extension, &Format::extension);
    if (format != std::end(formats))
        return *format;
    std::string known;
    for (const Format& each : formats)
        known += (known.empty() ? "" : ", ") + std::string(each.extension);
    throw std::runtime_error(path + ": the extension names no format that there is; there are " + known);
}

int convert(const Options& options)
{
    const Format& from = formatOf(options.in);
    const Format& to = formatOf(options.out);
    Report reading(options.in, options.lenient ? Report::Lenient : Report::Strict);
    const CoSharedPtr<DmRoot> root = from.read(options, reading);
    std::cerr << reading.toString();
    if (!root)
        return dmtree::Unusable;
    Report writing(options.in);
    const bool done = to.write(*root, options, writing);
    std::cerr << writing.toString();
    return done ? dmtree::Fine : dmtree::Unusable;
}

std::string checkMode(const std::string& name)
{
    if (FcmUtil::getFCMFromString(name.c_str(), false) != DM::FCM_NOT_DEFINED)
        return "";
    std::string names;
    for (const DM::FrameCodeModes fcm : FcmUtil::getModes())
        names += (names.empty() ? "'" : ", '") + std::string(FcmUtil::getFCMString(fcm)) + "'";
    return "'" + name + "' is no frame-code mode. The modes are " + names;
}

} // namespace

void dmtree::addConvert(CLI::App& app, Run& run)
{
    CLI::App* const command =
        app.add_subcommand("convert", "Turn cut lists (CMX 3600, OpenTimelineIO) into documents and back");
    const auto options = std::make_shared<Options>();
    command
        ->add_option("--fcm", options->fcm,
                     "Frame-code mode: of an .edl, which does not say it (without it '24 fps' where no label drops, "
                     "'29.97 fps DF' otherwise); of an .otio, to convert its rates to (without it that of its first "
                     "time); of a document whose composition names none")
        ->type_name("NAME")
        ->check(checkMode);
    command->add_flag("--lenient", options->lenient,
                      "Carry on where a list has a mistake, or a document a value that would not be kept as it stands: "
                      "each is a warning that says what was chosen");
    command->add_option("IN", options->in, "A cut list (.edl, .otio) or a document (.json)")->required();
    command->add_option("OUT", options->out, "What to write: the same extensions")->required();
    command->footer(
        "What a list says and a document has no property for travels with the document and comes back: an .edl that\n"
        "was converted twice is the same, event for event, an .otio the same, member for member. What the form that "
        "is\n"
        "written cannot say is a warning, once a kind.\n\n"
        "A mistake is named as FILE:LINE. The exit code is then 2, and OUT stays as it was.\n\n"
        "Examples:\n"
        "  dmtree convert reel1.edl reel1.json\n"
        "  dmtree convert --fcm '25 fps' --lenient reel1.edl reel1.json\n"
        "  dmtree convert reel1.json reel1.edl\n"
        "  dmtree convert promo.otio promo.edl");
    command->callback([&run, options] { run = [options] { return convert(*options); }; });
}
