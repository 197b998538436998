#include "dmJsonInputImp.h"

#include <bit>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr std::uint64_t eachByte(unsigned char value)
{
    return std::uint64_t{0x0101010101010101} * value;
}

static_assert(std::endian::native == std::endian::little, "the first byte is the lowest");

std::uint64_t load(const char* from)
{
    std::uint64_t word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

/// The highest bit of the first of eight bytes that is zero; bits above it mean nothing.
constexpr std::uint64_t firstZero(std::uint64_t word)
{
    return (word - eachByte(1)) & ~word & eachByte(0x80);
}

/// The highest bit of the first of eight bytes that means something inside a string: a quote, a backslash or a control
/// character. 0 when none does.
constexpr std::uint64_t firstSpecial(std::uint64_t word)
{
    return firstZero(word ^ eachByte('"')) | firstZero(word ^ eachByte('\\')) | firstZero(word & eachByte(0xE0));
}

constexpr bool isSpecial(char c)
{
    return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20;
}

/// Passes over the indentation of the pretty layout, but for its last few characters before `end`.
char* skipTabs(char* at, const char* end)
{
    while (end - at >= 8)
    {
        const std::uint64_t others = load(at) ^ eachByte('\t');
        if (others != 0)
            return at + std::countr_zero(others) / 8;
        at += 8;
    }
    return at;
}

} // namespace

std::size_t dmJson::TextSource::read(char* to, std::size_t size)
{
    const std::size_t count = _text.copy(to, size);
    _text.remove_prefix(count);
    return count;
}

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
    return _file >= 0 && fstat(_file, &status) == 0 && !S_ISDIR(status.st_mode);
}

std::size_t dmJson::FileSource::read(char* to, std::size_t size)
{
    ssize_t count = 0;
    do
        count = ::read(_file, to, size);
    while (count < 0 && errno == EINTR);
    if (count < 0)
        _error = errno;
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

dmJson::Input::Input(DmJsonSource& source)
    : _source(source)
    , _capacity(pieceSize + pieceSize / 8)
    , _buffer(std::make_unique_for_overwrite<char[]>(_capacity + 1))
    , _begin(_buffer.get())
    , _at(_begin)
    , _end(_begin)
    , _to(_begin)
{
    refill();
}

/// Reads the next piece behind what the parser is at, which moves to the front of the buffer.
void dmJson::Input::refill()
{
    const auto kept = static_cast<std::size_t>(_end - _begin);
    const char* const from = _begin;
    std::unique_ptr<char[]> old;
    if (_capacity - kept < pieceSize)
    {
        _capacity = 2 * kept + pieceSize;
        old = std::exchange(_buffer, std::make_unique_for_overwrite<char[]>(_capacity + 1));
    }
    if (_buffer.get() != from)
        std::memmove(_buffer.get(), from, kept);
    _before += static_cast<std::size_t>(_begin - (old ? old.get() : _buffer.get()));
    _at = _buffer.get() + (_at - _begin);
    _to = _buffer.get() + (_to - _begin);
    _begin = _buffer.get();
    _end = _begin + kept;
    _end += _source.read(_end, pieceSize);
    *_end = '\0';
}

void dmJson::Input::skipMoreBlanks()
{
    for (;;)
    {
        char* at = _at;
        for (; *at == ' ' || *at == '\t' || *at == '\n' || *at == '\r'; ++at)
            if (*at == '\n')
            {
                ++_line;
                _lineBegin = offset(at) + 1;
                at = skipTabs(at + 1, _end) - 1;
            }
        _begin = _at = at;
        if (at != _end)
            return;
        refill();
        if (_at == _end)
            return;
    }
}

/// Characters that stand for themselves are decoded already.
void dmJson::Input::skipPlain()
{
    for (;;)
    {
        while (_end - _at >= 8)
        {
            const std::uint64_t word = load(_at);
            if (const std::uint64_t special = firstSpecial(word))
            {
                const std::uint64_t before = (special & (~special + 1)) >> 7; // the lowest bit of that byte
                _bits |= word & (before - 1);
                _to = _at += std::countr_zero(before) / 8;
                return;
            }
            _bits |= word;
            _at += 8;
        }
        while (!isSpecial(*_at))
            _bits |= static_cast<unsigned char>(*_at++);
        _to = _at;
        if (_at != _end)
            return;
        refill();
        if (_at == _end)
            return;
    }
}
