#include "icReplaceFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace interchange
{

namespace
{

/// Names of the temporary files that there are, for a signal's handler; a file beyond these is not removed by one.
std::array<std::atomic<const char*>, 64> halfWritten;

[[noreturn]] void fail(const std::string& path, int error)
{
    throw std::runtime_error(path + ": " + std::strerror(error));
}

mode_t newFileMode()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

} // namespace

ReplaceFile::ReplaceFile(const std::string& path)
    : _target(path)
{
    struct stat info = {};
    const bool exists = ::stat(path.c_str(), &info) == 0;
    if (exists && !S_ISREG(info.st_mode))
    {
        _file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (_file < 0)
            fail(path, errno);
        return;
    }
    if (exists && ::access(path.c_str(), W_OK) != 0)
        fail(path, errno);
    if (exists)
        _target = std::filesystem::canonical(path).string(); // beside the file that a link leads to
    _mode = exists ? info.st_mode & 07777 : newFileMode();
    _temporary = _target + ".XXXXXX";
    _file = ::mkostemp(_temporary.data(), O_CLOEXEC);
    if (_file < 0)
        fail(path, errno);
    for (std::size_t i = 0; i < halfWritten.size() && _slot < 0; ++i)
        if (const char* none = nullptr; halfWritten[i].compare_exchange_strong(none, _temporary.c_str()))
            _slot = static_cast<int>(i);
}

ReplaceFile::~ReplaceFile()
{
    if (_file >= 0)
        ::close(_file);
    if (!_temporary.empty())
        ::unlink(_temporary.c_str());
    if (_slot >= 0)
        halfWritten[static_cast<std::size_t>(_slot)] = nullptr;
}

bool ReplaceFile::write(std::string_view bytes)
{
    while (!bytes.empty() && _error == 0)
    {
        const ssize_t put = ::write(_file, bytes.data(), bytes.size());
        if (put > 0)
            bytes.remove_prefix(static_cast<std::size_t>(put));
        else if (put == 0 || errno != EINTR)
            _error = put == 0 ? EIO : errno;
    }
    return _error == 0;
}

std::string ReplaceFile::fault() const
{
    return _error == 0 ? "" : std::strerror(_error);
}

void ReplaceFile::finish()
{
    if (_temporary.empty())
        return;
    if (::fchmod(_file, _mode) != 0 || ::fsync(_file) != 0 || std::rename(_temporary.c_str(), _target.c_str()) != 0)
        fail(_target, errno);
    if (_slot >= 0)
        halfWritten[static_cast<std::size_t>(_slot)] = nullptr;
    _slot = -1;
    _temporary.clear();
}

void ReplaceFile::removeAll()
{
    for (const std::atomic<const char*>& each : halfWritten)
        if (const char* const name = each.load())
            ::unlink(name);
}

} // namespace interchange
