/// A file that is replaced as a whole or not at all.
///
/// The text goes to a temporary file beside the target, which takes the target's place once it is complete and on the
/// disk: a save that fails, or is killed, leaves the old file as it was. A target that is no regular file (a pipe, a
/// terminal, what /dev/stdout leads to), or in whose directory no file can be made, is written in place; then the text
/// is gathered in memory first, so that it is touched only by a text that is complete.
#pragma once

#include "dmJsonOutputImp.h"

#include <string>
#include <sys/stat.h>

namespace dmJson
{

class SaveFile final : public Output
{
public:
    SaveFile() = default;
    /// Without commit(), nothing has happened.
    ~SaveFile() override;

    /// False when the target cannot be opened for writing.
    [[nodiscard]] bool open(const char* path);
    /// The text is complete: puts it in place. False when that fails; error() says why.
    [[nodiscard]] bool commit();
    /// The errno of what failed; EIO where there is none.
    int error() const { return _error; }

private:
    void emit(std::string_view text) override;
    bool makeTemporary(const std::string& target, const struct stat* existing);
    bool write(int file, std::string_view text);
    bool writeInPlace();
    bool replace();

    std::string _target;
    std::string _temporary; ///< empty when the target is written in place
    int _file = -1;         ///< the temporary file
    std::string _text;      ///< what is to be written in place
    int _error = 0;
};

} // namespace dmJson
