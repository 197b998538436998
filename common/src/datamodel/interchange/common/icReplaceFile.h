/// What a format writes, on its way into a file that is replaced as a whole or not at all.
#pragma once

#include "icFormat.h"

#include <CoFile.h>

#include <string>
#include <string_view>

namespace interchange
{

/// What goes wrong is a std::runtime_error.
class ReplaceFile final : public Sink
{
public:
    explicit ReplaceFile(const std::string& path);

    bool write(std::string_view bytes) override { return _file.write(bytes); }
    std::string fault() const override;
    /// Without it the file stays what it was.
    void finish();

private:
    [[noreturn]] void fail() const;

    DM::CoReplaceFile _file;
};

} // namespace interchange
