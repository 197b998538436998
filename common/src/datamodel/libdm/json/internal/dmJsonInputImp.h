/// Where the reader takes a document's bytes from: a text in memory, or a file; and the pieces in which it looks at
/// them.
#pragma once

#include "dmJsonImporter.h"

#include "CoFile.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

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
    bool rewind() override;

private:
    std::string_view _text;
    std::size_t _at = 0;
};

/// A text that ends with a zero, which is looked for a piece at a time: nobody goes through a whole document first, and
/// a piece is still in the cache when it is copied. (Told its length beforehand, an import from memory waited for all
/// of the text twice.)
class ZeroEndedSource final : public DmJsonSource
{
public:
    explicit ZeroEndedSource(const char* text)
        : _text(text)
    {
    }
    std::size_t read(char* to, std::size_t size) override;
    bool rewind() override;

private:
    const char* const _text;
    std::size_t _at = 0;
};

class FileSource final : public DmJsonSource
{
public:
    explicit FileSource(const char* path)
        : _file(path)
    {
    }
    std::size_t read(char* to, std::size_t size) override { return _file.read(to, size); }
    bool rewind() override { return _file.seek(0); }
    /// The errno of what has failed: opening, or a read, after which the file seems to end; 0 otherwise.
    int error() const { return _file.error(); }

private:
    DM::CoFileReader _file;
};

/// A source, 65536 bytes at a time. What cannot be read twice is kept; what may be another text the second time is
/// known again by sums, which a text in memory is spared.
class Pieces
{
public:
    /// How many bytes behind the end may be looked at: they are zero.
    static constexpr std::size_t margin = 32;

    explicit Pieces(DmJsonSource& source, bool mayChange = true);

    /// What is in sight; a zero stands at `end`.
    char* at() { return _buffer.get(); }
    char* end() { return _end; }
    /// Reads on; what stands from `from` to the end moves to the front. False when the document has no more.
    bool more(const char* from);
    /// The whole document, from its first byte. False when that is no longer what was read here.
    bool all(std::string& text);

private:
    static constexpr std::size_t pieceSize = 65536;

    /// What was read, to be known again.
    struct Seen
    {
        std::size_t size;
        std::uint64_t sum;
    };

    std::size_t read(char* to, std::size_t size);
    bool isSame(std::string_view text) const;

    DmJsonSource& _source;
    bool _keeps;
    bool _mayChange;
    std::string _kept;
    std::vector<Seen> _seen; ///< of a source that is not kept and may change; one of no bytes is the end
    std::size_t _capacity = 0;
    std::unique_ptr<char[]> _buffer;
    char* _end = nullptr;
};

} // namespace dmJson
