#include "dmJsonInputImp.h"

#include <algorithm>
#include <cstring>

namespace dmJson
{
namespace
{

/// Of bytes and their order: in two lanes, which do not wait for each other, two additions for eight bytes.
std::uint64_t sumOf(std::string_view bytes)
{
    std::uint64_t words[2];
    std::uint64_t sum[] = {bytes.size(), 0};
    std::uint64_t sums[] = {0, 0};
    const auto add = [&]
    {
        for (const std::size_t lane : {0, 1})
            sums[lane] += sum[lane] += words[lane];
    };
    for (; bytes.size() >= sizeof words; bytes.remove_prefix(sizeof words))
    {
        std::memcpy(words, bytes.data(), sizeof words);
        add();
    }
    words[0] = words[1] = 0;
    bytes.copy(reinterpret_cast<char*>(words), sizeof words);
    add();
    const auto mixed = [&](std::size_t lane) { return sum[lane] ^ (sums[lane] << 32 | sums[lane] >> 32); };
    return mixed(0) * 31 + mixed(1);
}

} // namespace

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

std::size_t ZeroEndedSource::read(char* to, std::size_t size)
{
    const std::size_t count = strnlen(_text + _at, size);
    std::memcpy(to, _text + _at, count);
    _at += count;
    return count;
}

bool ZeroEndedSource::rewind()
{
    _at = 0;
    return true;
}

Pieces::Pieces(DmJsonSource& source, bool mayChange)
    : _source(source)
    , _keeps(!source.rewind())
    , _mayChange(mayChange)
{
    more(nullptr);
}

std::size_t Pieces::read(char* to, std::size_t size)
{
    const std::size_t count = _source.read(to, size);
    if (_keeps)
        _kept.append(to, count);
    else if (_mayChange)
        _seen.push_back({count, sumOf({to, count})});
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

bool Pieces::all(std::string& text)
{
    constexpr std::size_t most = std::size_t{1} << 20;
    text = std::move(_kept);
    if (!_keeps && !_source.rewind())
        return false;
    for (std::size_t count = pieceSize; count > 0;)
    {
        const std::size_t size = text.size();
        const std::size_t room = std::clamp(size, pieceSize, most);
        text.resize(size + room);
        count = _source.read(text.data() + size, room);
        text.resize(size + count);
    }
    return _keeps || isSame(text);
}

bool Pieces::isSame(std::string_view text) const
{
    for (const Seen& seen : _seen)
    {
        const std::string_view again = text.substr(0, seen.size);
        const bool isEnd = seen.size == 0;
        if ((isEnd && !text.empty()) || again.size() != seen.size || sumOf(again) != seen.sum)
            return false;
        text.remove_prefix(seen.size);
    }
    return true;
}

} // namespace dmJson
