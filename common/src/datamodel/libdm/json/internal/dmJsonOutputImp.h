/// Where a document's text goes: a buffer of 65536 bytes that its owner empties into a file or a string.
#pragma once

#include <cstddef>
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

protected:
    /// Throws when the text cannot be kept.
    virtual void emit(std::string_view text) = 0;

private:
    std::unique_ptr<char[]> _buffer = std::make_unique_for_overwrite<char[]>(size);
    std::size_t _used = 0;
};

class TextOutput final : public Output
{
public:
    std::string& text() { return _text; }

private:
    /// Grows by more than it needs: memory that is reserved and not written costs nothing, a copy of the text does.
    void emit(std::string_view text) override
    {
        if (_text.capacity() - _text.size() < text.size())
            _text.reserve(4 * (_text.size() + text.size()));
        _text += text;
    }

    std::string _text;
};

} // namespace dmJson
