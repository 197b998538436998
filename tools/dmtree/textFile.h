/// Whole text files. What goes wrong is an exception that names the file.
#pragma once

#include <string>
#include <string_view>

namespace dmtree
{

/// All of a file; "-" is standard input.
std::string readText(const std::string& path);

/// Replaces the file as a whole or not at all (CoFile.h).
void writeText(const std::string& path, std::string_view text);

} // namespace dmtree
