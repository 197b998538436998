#include "documents.h"

#include "dmJsonImporter.h"
#include "dmUtf8.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <thread>

namespace dmtree
{
namespace
{

constexpr off_t sizeWithBar = 4 << 20; ///< smaller files are read before anybody could look at a bar

class Descriptor
{
public:
    explicit Descriptor(int number)
        : _number(number)
    {
    }
    ~Descriptor() { close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return _number; }
    void close()
    {
        if (_number > STDERR_FILENO)
            ::close(_number);
        _number = -1;
    }

private:
    int _number;
};

class ProgressBar
{
public:
    /// Of no size: nothing is shown.
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
        const int percent = _size > 0 ? static_cast<int>(std::min(_done, _size) * 100 / _size) : _shown;
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

/// Hands the bytes of an open file to whoever opens path(), on a thread of its own: for what cannot be opened a second
/// time by its name, and to see how far the reader has come.
class Feeder
{
public:
    Feeder(int from, ProgressBar& bar)
        : _from(from)
        , _bar(bar)
        , _ends(makePipe())
        , _readEnd(_ends[0])
        , _writeEnd(_ends[1])
        , _thread([this] { feed(); })
    {
    }
    ~Feeder() { finish(); }
    Feeder(const Feeder&) = delete;
    Feeder& operator=(const Feeder&) = delete;

    std::string path() const { return "/dev/fd/" + std::to_string(_readEnd.number()); }

    /// The reader is done, maybe before the end. The errno of a read that failed, or 0.
    int finish()
    {
        _readEnd.close();
        if (_thread.joinable())
            _thread.join();
        return _error;
    }

private:
    static std::array<int, 2> makePipe()
    {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            throw std::runtime_error(std::string("cannot make a pipe: ") + std::strerror(errno));
        return ends;
    }

    void feed()
    {
        // A reader that stops early is told by a failing write, not by a signal.
        sigset_t pipeSignal;
        sigemptyset(&pipeSignal);
        sigaddset(&pipeSignal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);

        std::array<char, 1 << 16> buffer;
        for (;;)
        {
            std::array<pollfd, 2> wait{{{_from, POLLIN, 0}, {_writeEnd.number(), 0, 0}}};
            if (::poll(wait.data(), wait.size(), -1) < 0 && errno == EINTR)
                continue;
            if (wait[1].revents != 0) // nobody reads any more
                break;
            const ssize_t got = ::read(_from, buffer.data(), buffer.size());
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                _error = errno;
            if (got <= 0 || !write(buffer.data(), static_cast<std::size_t>(got)))
                break;
            _bar.add(got);
        }
        _writeEnd.close();
    }

    bool write(const char* data, std::size_t size) const
    {
        while (size > 0)
        {
            const ssize_t put = ::write(_writeEnd.number(), data, size);
            if (put < 0 && errno == EINTR)
                continue;
            if (put < 0)
                return false;
            data += put;
            size -= static_cast<std::size_t>(put);
        }
        return true;
    }

    int _from;
    ProgressBar& _bar;
    std::array<int, 2> _ends;
    Descriptor _readEnd;
    Descriptor _writeEnd;
    int _error = 0;
    std::thread _thread;
};

Document import(const std::string& path)
{
    Document document;
    DmJsonPlace place;
    if (const DmStatus status = DmJsonImporter::importRootFromFile(path.c_str(), document.root, &place);
        status.failed())
    {
        if (place.line != 0)
            document.error = "line " + std::to_string(place.line) + ", column " + std::to_string(place.column) + ": ";
        document.error += dmUtf8(status.info());
    }
    return document;
}

Document failed(int error)
{
    return {{}, std::strerror(error)};
}

} // namespace

Document openDocument(const std::string& path)
{
    const bool isInput = path == "-";
    const Descriptor file(isInput ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info = {};
    if (file.number() < 0 || ::fstat(file.number(), &info) != 0)
        return failed(errno);
    if (S_ISDIR(info.st_mode))
        return failed(EISDIR);
    const bool showsBar = S_ISREG(info.st_mode) && info.st_size > sizeWithBar && ::isatty(STDERR_FILENO) == 1;
    if (!isInput && S_ISREG(info.st_mode) && !showsBar)
        return import(path);

    ProgressBar bar(isInput ? "standard input" : path, showsBar ? info.st_size : 0);
    Feeder feeder(file.number(), bar);
    Document document = import(feeder.path());
    const int error = feeder.finish();
    return error == 0 ? document : failed(error);
}

CoSharedPtr<DmRoot> requireDocument(const std::string& path)
{
    Document document = openDocument(path);
    if (!document.root)
        throw std::runtime_error(path + ": " + document.error);
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
