/// Where a document's text goes: a buffer of 65536 bytes that its owner empties into a file or a string.
///
/// A string is made as large as the document will be, told from how much of it stands in the first buffers: that every
/// step of growth copied what there was, into pages that nobody had touched yet, made saving to memory take 1.3 times
/// as long as saving to a file. A large one asks for large pages (dmLargePagesImp.h): a sixth of what was left were the
/// faults of its small ones.
#pragma once

#include "dmLargePagesImp.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

namespace dmJson
{

class Output
{
public:
    /// The most that room() gives at once.
    static constexpr std::size_t size = 65536;

    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    virtual ~Output() = default;

    /// A place for `count` bytes; wrote() tells how far they reach.
    char* room(std::size_t count)
    {
        if (size - _used < count)
            empty();
        return _buffer.get() + _used;
    }
    void wrote(const char* end) { _used = static_cast<std::size_t>(end - _buffer.get()); }
    void empty()
    {
        emit({_buffer.get(), _used});
        _used = 0;
    }
    /// How much of the document has been written, about: from 0 to 1.
    void reached(double part) { _part = part; }

protected:
    double part() const { return _part; }
    /// Throws when the text cannot be kept.
    virtual void emit(std::string_view text) = 0;

private:
    std::unique_ptr<char[]> _buffer = std::make_unique_for_overwrite<char[]>(size);
    std::size_t _used = 0;
    double _part = 0.0;
};

class TextOutput final : public Output
{
public:
    std::string& text() { return _text; }

private:
    /// Memory that is reserved and not written costs nothing, a copy of the text does.
    void emit(std::string_view text) override
    {
        const std::size_t needed = _text.size() + text.size();
        if (_text.capacity() < needed)
        {
            // The part is a guess: a wrong one costs a copy, or address space, which there may be too little of.
            constexpr double slack = 1.1;
            constexpr double most = 1 << 14;
            const double times = part() > 0.0 ? std::clamp(slack / part(), 2.0, most) : 2.0;
            try
            {
                growTo(static_cast<std::size_t>(times * static_cast<double>(needed)));
            }
            catch (const std::exception&)
            {
                growTo(2 * needed);
            }
        }
        _text += text;
    }
    void growTo(std::size_t count)
    {
        constexpr std::size_t large = std::size_t(1) << 22;
        // What the C library's allocator maps by itself, so that nothing else lies in its pages.
        constexpr std::size_t mapped = std::size_t(1) << 25;
        std::string grown;
        grown.reserve(count < large ? count : std::max(count, mapped));
        if (count >= large)
            dmLargePages::askFor(grown.data(), grown.capacity());
        grown += _text;
        _text.swap(grown);
    }

    std::string _text;
};

} // namespace dmJson
