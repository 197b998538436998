#include "documents.h"

#include "dmUtf8.h"

#include <CLI/CLI.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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

constexpr off_t sizeWithBar = 4 << 20; ///< smaller files are read before anybody could look at a bar

class ProgressBar
{
public:
    ProgressBar(std::string name, off_t size)
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

    void add(off_t bytes)
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
    off_t _size;
    off_t _done = 0;
    int _shown = -1;
};

/// A file, or standard input.
class Input final : public interchange::Source
{
public:
    explicit Input(const std::string& path)
        : _isStandard(path == "-")
        , _file(_isStandard ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        struct stat info = {};
        if (_file < 0 || ::fstat(_file, &info) != 0)
            _error = errno;
        else if (S_ISDIR(info.st_mode))
            _error = EISDIR;
        else if (S_ISREG(info.st_mode))
            _size = static_cast<std::uint64_t>(info.st_size);
        if (_size && info.st_size > sizeWithBar && ::isatty(STDERR_FILENO) == 1)
            _bar.emplace(_isStandard ? "standard input" : path, info.st_size);
    }
    ~Input() override
    {
        if (!_isStandard && _file >= 0)
            ::close(_file);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    bool seek(std::uint64_t offset) override
    {
        return !_isStandard && ::lseek(_file, static_cast<off_t>(offset), SEEK_SET) >= 0;
    }
    std::string fault() const override { return _error == 0 ? "" : std::strerror(_error); }
    std::optional<std::uint64_t> size() const override { return _size; }

    std::size_t read(char* to, std::size_t size) override
    {
        if (_error != 0)
            return 0;
        ssize_t got = 0;
        do
            got = ::read(_file, to, size);
        while (got < 0 && errno == EINTR);
        if (got < 0)
            _error = errno;
        else if (_bar)
            _bar->add(got);
        return got > 0 ? static_cast<std::size_t>(got) : 0;
    }

private:
    bool _isStandard;
    int _file;
    int _error = 0;
    std::optional<std::uint64_t> _size;
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

CoSharedPtr<DmRoot> requireDocument(const std::string& path, bool lenient, interchange::Options options,
                                    const std::string& name)
{
    options.lenient = lenient;
    const Document document = openDocument(path, options, name);
    if (!document.root)
        throw std::runtime_error(path + ": " + document.what());
    std::cerr << dmFindingsText(path, document.findings);
    return document.root;
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

} // namespace dmtree
