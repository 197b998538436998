/// A document's text on its way into a file, which is replaced as a whole or not at all.
#pragma once

#include "dmJsonOutputImp.h"

#include "CoFile.h"

#include <system_error>

namespace dmJson
{

class SaveFile final : public Output
{
public:
    /// False when the target cannot be opened for writing.
    [[nodiscard]] bool open(const char* path) { return _file.open(path); }
    /// The text is complete: puts it in place. False when that fails; error() says why.
    [[nodiscard]] bool commit() { return _file.commit(); }
    /// An errno.
    int error() const { return _file.error(); }

private:
    void emit(std::string_view text) override
    {
        if (!_file.write(text))
            throw std::system_error(_file.error(), std::generic_category());
    }

    DM::CoReplaceFile _file;
};

} // namespace dmJson
