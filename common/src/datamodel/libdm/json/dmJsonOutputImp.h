/// Where a document's text goes: a buffer of 65536 bytes that its owner empties into a file or a string.
#pragma once

#include "dmRapidJsonImp.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace dmJson
{

/// The stream that the JSON library writes to.
class Output
{
public:
    using Ch = char;

    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    virtual ~Output() = default;

    void Put(char c)
    {
        if (_used == size)
            empty();
        _buffer[_used++] = c;
    }
    void Flush() { empty(); }

protected:
    /// Throws when the text cannot be kept.
    virtual void emit(std::string_view text) = 0;

private:
    static constexpr std::size_t size = 65536;

    void empty()
    {
        emit({_buffer.get(), _used});
        _used = 0;
    }

    std::unique_ptr<char[]> _buffer = std::make_unique_for_overwrite<char[]>(size);
    std::size_t _used = 0;
};

class TextOutput final : public Output
{
public:
    const std::string& text() const { return _text; }

private:
    void emit(std::string_view text) override { _text += text; }

    std::string _text;
};

} // namespace dmJson
