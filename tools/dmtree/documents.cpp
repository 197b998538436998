#include "documents.h"

#include "modes.h"
#include "textFile.h"

#include "dmCompositionNode.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"

#include <CoFile.h>

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <utility>

namespace dmtree
{
namespace
{

constexpr std::uint64_t sizeWithBar = 4 << 20; ///< smaller files are read before anybody could look at a bar

class ProgressBar
{
public:
    ProgressBar(std::string name, std::uint64_t size)
        : _name(std::move(name))
        , _size(size)
    {
    }
    ~ProgressBar()
    {
        if (_shown >= 0)
            std::fputs("\r\x1b[K", stderr);
    }
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void add(std::uint64_t bytes)
    {
        _done += bytes;
        const auto percent = static_cast<int>(std::min(_done, _size) * 100 / _size);
        if (percent == _shown)
            return;
        _shown = percent;
        const std::string bar(static_cast<std::size_t>(percent) / 4, '#');
        std::fprintf(stderr, "\r%s [%-25s] %3d %%", _name.c_str(), bar.c_str(), percent);
    }

private:
    std::string _name;
    std::uint64_t _size;
    std::uint64_t _done = 0;
    int _shown = -1;
};

/// A file, or standard input.
class Input final : public interchange::Source
{
public:
    explicit Input(const std::string& path)
        : _isStandard(path == "-")
        , _isTaken(_isStandard && !takeStandardInput())
    {
        if (_isStandard)
            _file.emplace(STDIN_FILENO);
        else
            _file.emplace(path.c_str());
        if (_file->size().value_or(0) > sizeWithBar && ::isatty(STDERR_FILENO) == 1)
            _bar.emplace(_isStandard ? "standard input" : path, *_file->size());
    }

    bool seek(std::uint64_t offset) override { return !_isStandard && _file->seek(offset); }
    std::string fault() const override
    {
        if (_isTaken)
            return standardInputIsTaken;
        return _file->error() == 0 ? "" : std::strerror(_file->error());
    }
    std::optional<std::uint64_t> size() const override { return _file->size(); }

    std::size_t read(char* to, std::size_t size) override
    {
        const std::size_t got = _isTaken ? 0 : _file->read(to, size);
        if (_bar)
            _bar->add(got);
        return got;
    }

private:
    const bool _isStandard;
    const bool _isTaken;
    std::optional<DM::CoFileReader> _file;
    std::optional<ProgressBar> _bar;
};

} // namespace

Document openDocument(const std::string& path, const interchange::Options& options, const std::string& name)
{
    Input input(path);
    // What nothing tells to be something else is a document.
    const std::string told = interchange::formatOfPath(path) ? path : name.empty() ? ".json" : name;
    interchange::Reading reading = interchange::readSource(input, options, told);
    return {std::move(reading.root), std::move(reading.findings), std::move(reading.places)};
}

bool isChange(const DmFinding& finding)
{
    return std::string_view(finding.code) == "DM607";
}

std::string placeText(const DmFinding& finding)
{
    std::string text;
    if (finding.line != 0)
        text = "line " + std::to_string(finding.line);
    if (finding.line != 0 && finding.column != 0)
        text += ", column " + std::to_string(finding.column);
    return text;
}

std::string Document::what() const
{
    if (root)
        return {};
    const auto changes = std::ranges::count_if(findings, isChange);
    if (changes != 0)
    {
        std::string text = changes == 1 ? "a value would not be kept as it stands"
                                        : std::to_string(changes) + " values would not be kept as they stand";
        text += "; --lenient takes what becomes of them";
        for (const DmFinding& finding : findings)
            if (isChange(finding))
                text += "\n  " + placeText(finding) + ": " + finding.text;
        return text;
    }
    for (const DmFinding& finding : findings)
        if (finding.severity == DmFinding::Error)
            return placeText(finding) + (finding.line == 0 ? "" : ": ") + finding.text;
    return {};
}

void Document::refuseChanges()
{
    if (std::ranges::any_of(findings, isChange))
        root.reset();
}

void addLenient(CLI::App& command, bool& lenient)
{
    command.add_flag("--lenient", lenient,
                     "Open a document, too, whose values would not all be kept as they stand, and take what becomes of "
                     "them");
}

void addMode(CLI::App& command, std::string& mode)
{
    command.add_option("--fcm", mode, "The mode of cut lists that do not say theirs: " + modeHelp())
        ->type_name("MODE")
        ->check(checkMode);
}

CoSharedPtr<DmRoot> requireDocument(const std::string& path, bool lenient, const std::string& mode,
                                    const std::string& name, DM::FrameCodeModes beside)
{
    return requireVersions({path}, lenient, mode, name, beside).front();
}

std::vector<CoSharedPtr<DmRoot>> requireVersions(const std::vector<std::string>& paths, bool lenient,
                                                 const std::string& mode, const std::string& name,
                                                 DM::FrameCodeModes beside)
{
    interchange::Options options;
    options.beside = beside;
    options.lenient = lenient;
    options.fcm = modeOf(mode);
    std::vector<Document> documents(paths.size());
    const auto settle = [&]
    {
        bool isSaid = false;
        for (const Document& each : documents)
        {
            const DM::FrameCodeModes own = each.root ? modeOf(*each.root) : DM::FCM_NOT_DEFINED;
            if (own == DM::FCM_NOT_DEFINED || isSaid)
                continue;
            isSaid = !isModeGuessed(each);
            if (isSaid || options.beside == DM::FCM_NOT_DEFINED ||
                DM::FcmUtil::getIntFPS(own) > DM::FcmUtil::getIntFPS(options.beside))
                options.beside = own;
        }
    };
    const auto open = [&](bool fromStandardInput)
    {
        for (std::size_t i = 0; i < paths.size(); ++i)
            if (!paths[i].empty() && (paths[i] == "-") == fromStandardInput)
                documents[i] = openDocument(paths[i], options, name);
    };
    // What can be read only once knows what the others say.
    open(false);
    if (paths.size() > 1)
        settle();
    open(true);
    if (paths.size() > 1)
        settle();
    std::vector<CoSharedPtr<DmRoot>> roots;
    for (std::size_t i = 0; i < paths.size(); ++i)
    {
        Document& document = documents[i];
        const bool isAnother = !document.root || modeOf(*document.root) != options.beside;
        if (paths[i] != "-" && isModeGuessed(document) && options.beside != DM::FCM_NOT_DEFINED && isAnother)
            document = openDocument(paths[i], options, name);
        if (!paths[i].empty() && !document.root)
            throw std::runtime_error(paths[i] + ": " + document.what());
        std::cerr << dmFindingsText(paths[i], document.findings);
        roots.push_back(std::move(document.root));
    }
    return roots;
}

DM::FrameCodeModes modeOf(const DmTreeNode& document)
{
    DM::FrameCodeModes found = DM::FCM_NOT_DEFINED;
    for (int i = 0; i < document.getNbChildren() && found == DM::FCM_NOT_DEFINED; ++i)
        if (const DmTreeNode* const child = document.getChild(i); child && child->whatIs() == DM_COMPOSITION_NODE)
            found = dmFcmFromText(static_cast<const DmCompositionNode*>(child)->getFCM());
        else if (child && child->whatIs() == DM_REEL_NODE)
            found = modeOf(*child);
    return found;
}

bool isModeGuessed(const Document& document)
{
    return std::ranges::any_of(document.findings,
                               [](const DmFinding& each) { return std::string_view(each.code) == "DM608"; });
}

DM::FrameCodeModes modeSaidBy(const std::vector<std::string>& paths, const interchange::Options& options)
{
    DM::FrameCodeModes said = DM::FCM_NOT_DEFINED;
    for (const std::string& path : paths)
    {
        const Document document = path == "-" ? Document() : openDocument(path, options);
        const DM::FrameCodeModes own = document.root ? modeOf(*document.root) : DM::FCM_NOT_DEFINED;
        if (own == DM::FCM_NOT_DEFINED || isModeGuessed(document))
            continue;
        if (said != DM::FCM_NOT_DEFINED && said != own)
            return DM::FCM_NOT_DEFINED;
        said = own;
    }
    return said;
}

void saveDocument(const DmRoot& root, const std::string& path, DmTreeJsonBuilder::Layout layout)
{
    const bool isOutput = path == "-";
    std::string text;
    const DmStatus status = isOutput ? DmTreeJsonBuilder::generateUtf8(&root, text, layout)
                                     : DmTreeJsonBuilder::generate(&root, path.c_str(), layout);
    if (status.failed())
        throw std::runtime_error((isOutput ? "standard output" : path) + ": " + dmUtf8(status.info()));
    std::cout << text;
}

void saveAsNamed(const DmRoot& root, const std::string& path, const std::string& name, DM::FrameCodeModes fcm)
{
    const auto format = interchange::formatOfPath(interchange::formatOfPath(path) ? path : name);
    if (!format || format->name() == "json" || path == "-")
        return saveDocument(root, path, DmTreeJsonBuilder::Layout::Environment);
    interchange::Options writing;
    writing.format = std::string(format->name());
    writing.fcm = fcm;
    const interchange::Writing written = interchange::writeFile(root, path, writing);
    std::cerr << dmFindingsText(path, written.findings);
    if (!written.done)
        throw std::runtime_error(path + ": not written");
}

} // namespace dmtree
