/// Text columns for people: each row's cells, padded to the widest of their column.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace dmtree
{

using Row = std::vector<std::string>;

/// A text that stays on its line and in its column: control characters as \xNN, nothing as "".
std::string cell(const std::string& text);

void printColumns(std::ostream& out, const std::vector<Row>& rows);

} // namespace dmtree
