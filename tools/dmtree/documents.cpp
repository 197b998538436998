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
class Input final : public DmJsonSource
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
        else if (S_ISREG(info.st_mode) && info.st_size > sizeWithBar && ::isatty(STDERR_FILENO) == 1)
            _bar.emplace(_isStandard ? "standard input" : path, info.st_size);
    }
    ~Input() override
    {
        if (!_isStandard && _file >= 0)
            ::close(_file);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    bool rewind() override { return !_isStandard && ::lseek(_file, 0, SEEK_SET) == 0; }
    /// The errno of what could not be opened or read, or 0.
    int error() const { return _error; }

    std::size_t read(char* to, std::size_t size) override
    {
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
    std::optional<ProgressBar> _bar;
};

std::string placeText(const DmJsonPlace& place)
{
    return "line " + std::to_string(place.line) + ", column " + std::to_string(place.column);
}

} // namespace

Document openDocument(const std::string& path)
{
    Document document;
    Input input(path);
    if (input.error() == 0)
        document.error =
            dmUtf8(DmJsonImporter::importRoot(input, document.root, &document.place, &document.changes).info());
    if (input.error() != 0) // what was read is not the document
        document = {{}, std::strerror(input.error()), {}, {}};
    return document;
}

std::string Document::what() const
{
    return place.line == 0 ? error : placeText(place) + ": " + error;
}

void Document::refuseChanges()
{
    if (changes.empty())
        return;
    root.reset();
    error = changes.size() == 1 ? "a value would not be kept as it stands"
                                : std::to_string(changes.size()) + " values would not be kept as they stand";
    error += "; --lenient takes what becomes of them";
    for (const DmJsonChange& change : changes.list)
        error += "\n  " + placeText(change.place) + ": " + change.text();
    if (changes.more > 0)
        error += "\n  and " + std::to_string(changes.more) + " more";
}

void addLenient(CLI::App& command, bool& lenient)
{
    command.add_flag("--lenient", lenient,
                     "Open a document, too, whose values would not all be kept as they stand, and take what becomes of "
                     "them");
}

CoSharedPtr<DmRoot> requireDocument(const std::string& path, bool lenient)
{
    Document document = openDocument(path);
    if (!lenient)
        document.refuseChanges();
    if (!document.root)
        throw std::runtime_error(path + ": " + document.what());
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
