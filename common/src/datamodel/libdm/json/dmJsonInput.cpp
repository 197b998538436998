#include "dmJsonInputImp.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dmJson
{

std::size_t TextSource::read(char* to, std::size_t size)
{
    const std::size_t count = _text.copy(to, size, _at);
    _at += count;
    return count;
}

bool TextSource::rewind()
{
    _at = 0;
    return true;
}

FileSource::~FileSource()
{
    if (_file >= 0)
        ::close(_file);
}

bool FileSource::open(const char* path)
{
    _file = ::open(path, O_RDONLY | O_CLOEXEC);
    struct stat status
    {
    };
    return _file >= 0 && fstat(_file, &status) == 0 && !S_ISDIR(status.st_mode);
}

std::size_t FileSource::read(char* to, std::size_t size)
{
    ssize_t count = 0;
    do
        count = ::read(_file, to, size);
    while (count < 0 && errno == EINTR);
    if (count < 0)
        _error = errno;
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

bool FileSource::rewind()
{
    return ::lseek(_file, 0, SEEK_SET) == 0;
}

Pieces::Pieces(DmJsonSource& source)
    : _source(source)
    , _keeps(!source.rewind())
{
    more(nullptr);
}

std::size_t Pieces::read(char* to, std::size_t size)
{
    const std::size_t count = _source.read(to, size);
    if (_keeps)
        _kept.append(to, count);
    return count;
}

bool Pieces::more(const char* from)
{
    const std::size_t held = from ? static_cast<std::size_t>(_end - from) : 0;
    if (_capacity < held + pieceSize)
    {
        _capacity = 2 * held + pieceSize;
        auto larger = std::make_unique_for_overwrite<char[]>(_capacity + margin);
        std::copy_n(from, held, larger.get());
        _buffer = std::move(larger);
    }
    else if (from != _buffer.get())
        std::memmove(_buffer.get(), from, held);
    char* const to = _buffer.get() + held;
    const std::size_t count = read(to, _capacity - held);
    _end = to + count;
    std::memset(_end, 0, margin);
    return count > 0;
}

std::string Pieces::all()
{
    constexpr std::size_t most = std::size_t{1} << 20;
    std::string text;
    if (_keeps)
        text = std::move(_kept);
    else if (!_source.rewind())
        return text;
    _keeps = false;
    for (std::size_t count = pieceSize; count > 0;)
    {
        const std::size_t size = text.size();
        const std::size_t room = std::clamp(size, pieceSize, most);
        text.resize(size + room);
        count = read(text.data() + size, room);
        text.resize(size + count);
    }
    return text;
}

} // namespace dmJson
