/// Writing whole text files. What goes wrong is an exception that names the file.
#pragma once

#include <string>
#include <string_view>

namespace dmtree
{

/// Replaces the file as a whole or not at all, and keeps its mode. What is no regular file (a pipe, /dev/stdout) is
/// written in place.
void writeText(const std::string& path, std::string_view text);

} // namespace dmtree
