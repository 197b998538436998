/// A file that is replaced as a whole or not at all.
#pragma once

#include "icFormat.h"

#include <string>
#include <string_view>

namespace interchange
{

/// Writes beside the file, and in its place only once all is written and on the disk; the mode stays, a link is
/// followed. What is no regular file (a pipe, /dev/stdout) is written in place. What goes wrong is a
/// std::runtime_error.
class ReplaceFile final : public Sink
{
public:
    explicit ReplaceFile(const std::string& path);
    /// Without finish() the file stays what it was.
    ~ReplaceFile() override;
    ReplaceFile(const ReplaceFile&) = delete;
    ReplaceFile& operator=(const ReplaceFile&) = delete;

    bool write(std::string_view bytes) override;
    std::string fault() const override;
    void finish();

    /// Removes what all of them have written beside their files; async-signal-safe.
    static void removeAll();

private:
    std::string _target;
    std::string _temporary; ///< empty: written in place
    int _file = -1;
    int _error = 0;
    unsigned _mode = 0;
    int _slot = -1; ///< among those that an interruption removes
};

} // namespace interchange
