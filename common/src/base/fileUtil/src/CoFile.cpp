#include "CoFile.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

namespace DM
{

// Reading

CoFileReader::CoFileReader(const char* path)
    : CoFileReader(::open(path, O_RDONLY | O_CLOEXEC))
{
    _isOurs = true;
}

CoFileReader::CoFileReader(int openFile)
    : _file(openFile)
    , _isOurs(false)
{
    struct stat status
    {
    };
    if (_file < 0 || ::fstat(_file, &status) != 0)
        _error = errno;
    else if (S_ISDIR(status.st_mode))
        _error = EISDIR;
    else if (S_ISREG(status.st_mode))
        _size = static_cast<std::uint64_t>(status.st_size);
}

CoFileReader::~CoFileReader()
{
    if (_isOurs && _file >= 0)
        ::close(_file);
}

std::size_t CoFileReader::read(char* to, std::size_t size)
{
    if (_error != 0)
        return 0;
    ssize_t count = 0;
    do
        count = ::read(_file, to, size);
    while (count < 0 && errno == EINTR);
    if (count < 0)
        _error = errno;
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

bool CoFileReader::seek(std::uint64_t offset)
{
    return _error == 0 && ::lseek(_file, static_cast<off_t>(offset), SEEK_SET) >= 0;
}

// Replacing

namespace
{

/// Names of the temporary files that there are, for a signal's handler; a file beyond these is not removed by one.
std::array<std::atomic<const char*>, 64> halfWritten;

std::string directoryOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

/// A link of the process file system leads to an open file, which its name does not stand for.
bool isOpenFile(const std::string& link)
{
    struct statfs system
    {
    };
    return statfs(directoryOf(link).c_str(), &system) == 0 && system.f_type == PROC_SUPER_MAGIC;
}

/// The file that a path leads to, whether it exists or not. False when that is an open file of some process.
bool followLinks(std::string& path)
{
    constexpr int mostLinks = 40; // as the kernel has it
    for (int i = 0; i < mostLinks; ++i)
    {
        char text[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), text, sizeof text);
        if (length < 0)
            return true;
        if (isOpenFile(path))
            return false;
        path = text[0] == '/' ? "" : directoryOf(path) + '/';
        path.append(text, static_cast<std::size_t>(length));
    }
    return true;
}

bool canBeOpened(const std::string& path)
{
    const int file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    return file >= 0 && ::close(file) == 0;
}

} // namespace

CoReplaceFile::~CoReplaceFile()
{
    if (_file >= 0)
        ::close(_file);
    if (!_temporary.empty())
        ::unlink(_temporary.c_str());
    forget();
}

void CoReplaceFile::forget()
{
    if (_slot >= 0)
        halfWritten[static_cast<std::size_t>(_slot)] = nullptr;
    _slot = -1;
}

void CoReplaceFile::removeAll()
{
    for (const std::atomic<const char*>& each : halfWritten)
        if (const char* const name = each.load())
            ::unlink(name);
}

bool CoReplaceFile::open(const char* path)
{
    _error = 0;
    _target = path;
    const bool can = prepare();
    if (!can)
        _error = errno != 0 ? errno : EIO;
    return can;
}

/// Makes the temporary file, unless the target is to be written in place.
bool CoReplaceFile::prepare()
{
    std::string place = _target;
    if (!followLinks(place))
        return true;
    struct stat status
    {
    };
    const bool exists = ::stat(place.c_str(), &status) == 0;
    if (!exists && (errno != ENOENT || place.empty())) // a name that is too long, a loop of links
        return false;
    if (exists && !S_ISREG(status.st_mode))
    {
        errno = S_ISDIR(status.st_mode) ? EISDIR : errno;
        return !S_ISDIR(status.st_mode) && ::access(place.c_str(), W_OK) == 0;
    }
    if (exists && !canBeOpened(place))
        return false;
    if (!makeTemporary(place))
        return exists && (errno == EACCES || errno == EPERM || errno == EROFS); // else the disk is not fit for it
    _target = place;
    // The owner can be kept by the superuser only; the mode always.
    if (exists && (status.st_uid != geteuid() || status.st_gid != getegid()))
        static_cast<void>(::fchown(_file, status.st_uid, status.st_gid) == 0);
    if (exists)
        static_cast<void>(::fchmod(_file, status.st_mode & 07777) == 0);
    return true;
}

bool CoReplaceFile::makeTemporary(const std::string& target)
{
    static std::atomic<unsigned> counter{0};
    constexpr int attempts = 100; // names that a killed process has left
    for (int i = 0; i < attempts && _file < 0; ++i)
    {
        const std::string name = directoryOf(target) + "/.dmtree-" + std::to_string(getpid()) + '-' +
                                 std::to_string(counter.fetch_add(1)) + ".tmp";
        _file = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (_file >= 0)
            _temporary = name;
        else if (errno != EEXIST)
            return false;
    }
    for (std::size_t i = 0; _file >= 0 && i < halfWritten.size() && _slot < 0; ++i)
        if (const char* none = nullptr; halfWritten[i].compare_exchange_strong(none, _temporary.c_str()))
            _slot = static_cast<int>(i);
    return _file >= 0;
}

bool CoReplaceFile::write(std::string_view text)
{
    if (!_temporary.empty())
        return put(_file, text);
    _text += text;
    return true;
}

bool CoReplaceFile::put(int file, std::string_view text)
{
    while (!text.empty())
    {
        const ssize_t count = ::write(file, text.data(), text.size());
        if (count > 0)
            text.remove_prefix(static_cast<std::size_t>(count));
        else if (count == 0 || errno != EINTR)
        {
            _error = count == 0 ? EIO : errno;
            return false;
        }
    }
    return true;
}

bool CoReplaceFile::commit()
{
    const bool done = _temporary.empty() ? writeInPlace() : replace();
    if (!done && _error == 0)
        _error = errno != 0 ? errno : EIO;
    return done;
}

bool CoReplaceFile::writeInPlace()
{
    const int file = ::open(_target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0)
        return false;
    bool done = put(file, _text);
    // Pipes and terminals have nothing to synchronise.
    if (done && ::fsync(file) != 0 && errno != EINVAL && errno != EROFS)
        done = false;
    return ::close(file) == 0 && done;
}

bool CoReplaceFile::replace()
{
    const bool written = ::fsync(_file) == 0;
    const bool closed = ::close(_file) == 0;
    _file = -1;
    if (!written || !closed || std::rename(_temporary.c_str(), _target.c_str()) != 0)
        return false;
    forget();
    _temporary.clear();
    // The new name, too, is to survive a power cut; the file is whole whatever becomes of this.
    const int directory = ::open(directoryOf(_target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory >= 0)
    {
        static_cast<void>(::fsync(directory) == 0);
        ::close(directory);
    }
    return true;
}

} // namespace DM
