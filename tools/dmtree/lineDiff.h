/// What changed between two texts, line by line, as people read it everywhere.
///
///     std::cout << dmtree::lineDiff(before, after, "cut.json", "cut.json, mended");
#pragma once

#include <string>
#include <string_view>

namespace dmtree
{

/// In the unified form, with three lines around each change; empty for texts that are the same.
std::string lineDiff(std::string_view before, std::string_view after, std::string_view oldName,
                     std::string_view newName);

} // namespace dmtree
