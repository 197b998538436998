/// Where the parser takes a document's bytes from: a text in memory, or a file, 65536 bytes at a time.
#pragma once

#include "dmJsonImporter.h"
#include "dmRapidJsonImp.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace dmJson
{

class TextSource final : public DmJsonSource
{
public:
    explicit TextSource(std::string_view text)
        : _text(text)
    {
    }
    std::size_t read(char* to, std::size_t size) override;

private:
    std::string_view _text;
};

class FileSource final : public DmJsonSource
{
public:
    FileSource() = default;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;
    ~FileSource() override;

    /// False for what cannot be opened or is a directory.
    bool open(const char* path);
    std::size_t read(char* to, std::size_t size) override;
    /// The errno of a read that has failed, after which the file seems to end; 0 otherwise.
    int error() const { return _error; }

private:
    int _file = -1;
    int _error = 0;
};

/// The stream that the parser reads, and in which it decodes strings in place: the text of a string or a number is
/// never copied before it reaches its property. The buffer always holds the whole of what the parser is at; the parser
/// skips blanks before each string and each number, which is how their beginning is known.
class Input
{
public:
    using Ch = char;

    explicit Input(DmJsonSource& source);
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    /// Zero at the end.
    char Peek() const { return *_at; }
    char Take()
    {
        const char c = *_at++;
        if (_at == _end)
            refill();
        return c;
    }
    std::size_t Tell() const { return offset(_at); }
    /// Of the string, the number or the bracket that the parser is at.
    DmJsonPlace place() const { return {_line, offset(_begin) - _lineBegin + 1}; }
    void skipBlanks()
    {
        if (static_cast<unsigned char>(*_at) > ' ')
            _begin = _at;
        else
            skipMoreBlanks();
    }

    // Decoding in place.

    char* PutBegin()
    {
        _to = _at;
        _bits = 0;
        if (*_begin == '"') // the parser also calls this behind a number
            skipPlain();
        return _begin;
    }
    void Put(char c)
    {
        _bits |= static_cast<unsigned char>(c);
        *_to++ = c;
    }
    std::size_t PutEnd(char* /*begin*/) { return static_cast<std::size_t>(_to - (_begin + 1)); }
    void Flush() {}

    // What was just parsed, until the parser goes on.

    std::string_view number(std::size_t length) const { return {_begin, length}; }
    std::string_view string(std::size_t length) const { return {_begin + 1, length}; }
    /// Whether the string holds no byte above 0x7F.
    bool isAscii() const { return (_bits & 0x8080808080808080) == 0; }

private:
    static constexpr std::size_t pieceSize = 65536;

    std::size_t offset(const char* at) const { return _before + static_cast<std::size_t>(at - _buffer.get()); }
    void skipMoreBlanks();
    void skipPlain();
    void refill();

    DmJsonSource& _source;
    std::size_t _capacity;
    std::unique_ptr<char[]> _buffer;
    char* _begin; ///< of the string (its quote) or the number
    char* _at;
    char* _end;
    char* _to;               ///< where the string's next character goes
    std::uint64_t _bits = 0; ///< of all its characters, in any place
    std::size_t _before = 0; ///< bytes of the document before the buffer
    // Lines end between the parser's words only, so these are counted where blanks are skipped.
    std::uint64_t _line = 1;
    std::size_t _lineBegin = 0; ///< the offset of its first byte
};

} // namespace dmJson

RAPIDJSON_NAMESPACE_BEGIN
template <>
inline void SkipWhitespace(dmJson::Input& input)
{
    input.skipBlanks();
}
RAPIDJSON_NAMESPACE_END
