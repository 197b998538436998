#include "dmJsonInputImp.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

dmJson::FileSource::~FileSource()
{
    if (_file >= 0)
        ::close(_file);
}

bool dmJson::FileSource::open(const char* path)
{
    _file = ::open(path, O_RDONLY | O_CLOEXEC);
    struct stat status
    {
    };
    if (_file < 0 || fstat(_file, &status) != 0 || S_ISDIR(status.st_mode))
        return false;
    _buffer = std::make_unique_for_overwrite<char[]>(bufferSize);
    return true;
}

std::string_view dmJson::FileSource::next()
{
    ssize_t count = 0;
    do
        count = ::read(_file, _buffer.get(), bufferSize);
    while (count < 0 && errno == EINTR);
    if (count < 0)
        _error = errno;
    return {_buffer.get(), count > 0 ? static_cast<std::size_t>(count) : 0};
}
