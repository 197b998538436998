/// Files as the whole library, the command and the converters read and write them: read in pieces, and replaced as a
/// whole or not at all.
///
///     CoReplaceFile file;
///     if (!file.open("cut.edl") || !file.write(text) || !file.commit())
///         std::cerr << std::strerror(file.error()) << '\n'; // cut.edl is what it was
///
/// Failures are errno values. Threads: each object is used by one at a time.
#pragma once

#include "zrExport.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace DM
{

/// Reads a file, or what somebody else has open.
class ZR_DM_API CoFileReader
{
public:
    explicit CoFileReader(const char* path);
    /// Reads an open file, as standard input, and leaves it open.
    explicit CoFileReader(int openFile);
    ~CoFileReader();
    CoFileReader(const CoFileReader&) = delete;
    CoFileReader& operator=(const CoFileReader&) = delete;

    /// At most `size` bytes; 0 at the end, and when that fails.
    std::size_t read(char* to, std::size_t size);
    /// False where that cannot be done, as in a pipe.
    bool seek(std::uint64_t offset);
    /// Of a regular file.
    std::optional<std::uint64_t> size() const { return _size; }
    /// Why opening or reading failed; EISDIR for a directory; 0 when all is well.
    int error() const { return _error; }

private:
    int _file;
    bool _isOurs;
    int _error = 0;
    std::optional<std::uint64_t> _size;
};

/// Writes beside the file, and puts that in the file's place once it is complete and on the disk: one that fails, or is
/// killed, leaves the old file as it was. Links are followed; mode and, where that is allowed, owner stay. A target
/// that is no regular file (a pipe, a terminal, what /dev/stdout leads to), or in whose directory no file can be made,
/// is written in place; then the text is gathered in memory first, so that it is touched only by a text that is
/// complete.
class ZR_DM_API CoReplaceFile
{
public:
    CoReplaceFile() = default;
    /// Without commit(), nothing has happened.
    ~CoReplaceFile();
    CoReplaceFile(const CoReplaceFile&) = delete;
    CoReplaceFile& operator=(const CoReplaceFile&) = delete;

    /// Once. False when the target cannot be opened for writing.
    [[nodiscard]] bool open(const char* path);
    [[nodiscard]] bool write(std::string_view text);
    /// The text is complete: puts it in place.
    [[nodiscard]] bool commit();
    /// Of what failed; EIO where there is no other.
    int error() const { return _error; }

    /// Removes what all of them have written beside their files; for a signal's handler.
    static void removeAll();

private:
    bool prepare();
    bool makeTemporary(const std::string& target);
    bool put(int file, std::string_view text);
    bool writeInPlace();
    bool replace();
    void forget();

    std::string _target;
    std::string _temporary; ///< empty when the target is written in place
    int _file = -1;         ///< the temporary file
    int _slot = -1;         ///< of the temporary file, among those that removeAll() knows
    std::string _text;      ///< what is to be written in place
    int _error = 0;
};

} // namespace DM
