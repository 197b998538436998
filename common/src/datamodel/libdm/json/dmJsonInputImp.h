/// Where the parser takes a document's bytes from: a text in memory, or a file, 65536 bytes at a time.
#pragma once

#include "dmRapidJsonImp.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace dmJson
{

/// Hands out a document piece by piece.
class Source
{
public:
    virtual ~Source() = default;
    /// The next piece; empty at the end.
    virtual std::string_view next() = 0;
};

class TextSource final : public Source
{
public:
    explicit TextSource(std::string_view text)
        : _text(text)
    {
    }
    std::string_view next() override
    {
        const std::string_view text = _text;
        _text = {};
        return text;
    }

private:
    std::string_view _text;
};

class FileSource final : public Source
{
public:
    FileSource() = default;
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;
    ~FileSource() override;

    /// False for what cannot be opened or is a directory.
    bool open(const char* path);
    std::string_view next() override;
    /// The errno of a read that has failed, after which the file seemed to end; 0 otherwise.
    int error() const { return _error; }

private:
    static constexpr std::size_t bufferSize = 65536;

    int _file = -1;
    int _error = 0;
    std::unique_ptr<char[]> _buffer;
};

/// The stream that the parser reads. Small, so that the parser can keep its copy in registers.
class Input
{
public:
    using Ch = char;

    explicit Input(Source& source)
        : _source(&source)
    {
        refill();
    }

    /// Zero at the end.
    char Peek() const { return *_at; }
    char Take()
    {
        const char c = *_at++;
        if (_at == _end)
            refill();
        return c;
    }
    std::size_t Tell() const { return _before + static_cast<std::size_t>(_at - _begin); }

    void skipBlanks()
    {
        for (;;)
        {
            const char* at = _at;
            while (_end - at >= 8 && std::memcmp(at, "\t\t\t\t\t\t\t\t", 8) == 0)
                at += 8; // deep indentation
            while (at != _end && (*at == ' ' || *at == '\t' || *at == '\n' || *at == '\r'))
                ++at;
            _at = at;
            if (at != _end)
                return;
            refill();
        }
    }

    // Only for streams that are written to.
    char* PutBegin();
    void Put(char);
    void Flush();
    std::size_t PutEnd(char*);

private:
    /// Between calls there is always a character to look at: at the end it is the terminator of an empty text.
    void refill()
    {
        _before += static_cast<std::size_t>(_end - _begin);
        std::string_view piece = _source->next();
        if (piece.empty())
            piece = std::string_view("", 1);
        _at = _begin = piece.data();
        _end = _begin + piece.size();
    }

    Source* _source;
    const char* _at = nullptr;
    const char* _begin = nullptr;
    const char* _end = nullptr;
    std::size_t _before = 0; ///< bytes of the pieces before this one
};

} // namespace dmJson

RAPIDJSON_NAMESPACE_BEGIN
template <>
struct StreamTraits<dmJson::Input>
{
    enum
    {
        copyOptimization = 1
    };
};
template <>
inline void SkipWhitespace(dmJson::Input& input)
{
    input.skipBlanks();
}
RAPIDJSON_NAMESPACE_END
