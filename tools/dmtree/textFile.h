/// Whole text files. What goes wrong is an exception that names the file.
#pragma once

#include <string>
#include <string_view>

namespace dmtree
{

/// Standard input can be read once: whether this is the first who asks for it, and what to say if not.
bool takeStandardInput();
inline constexpr const char* standardInputIsTaken = "standard input was read already";

/// All of a file; "-" is standard input.
std::string readText(const std::string& path);

/// Replaces the file as a whole or not at all (CoFile.h).
void writeText(const std::string& path, std::string_view text);

} // namespace dmtree
