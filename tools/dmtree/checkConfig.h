/// What dmtree check goes by where its command line does not say it: the file .dmtree.toml of the folder that it runs
/// in, or of the nearest one above.
///
///     ignore = ["through-edit"]
///     handles = 12
///     start-label = "01:00:00:00"
///     forbidden-paths = ["*/Desktop/*"]
///
///     [per-path]
///     "*/archive/*" = ["cut"]         # what is not looked for in those files
#pragma once

#include "dmFindings.h"

#include <string>
#include <utility>
#include <vector>

namespace dmtree
{

using PerPath = std::vector<std::pair<std::string, std::vector<std::string>>>;

struct CheckConfig
{
    DmFindingOptions rules;
    bool failOnWarning = false;
    /// Patterns of files, and the rules that are not looked for in them.
    PerPath perPath;
};

/// Empty where there is none.
std::string findCheckConfig();
/// Throws, with the file and the line, for what cannot be read and for what nobody asks for.
CheckConfig readCheckConfig(const std::string& path);
/// What is looked for in a file.
DmFindingOptions optionsFor(const std::string& file, DmFindingOptions options, const PerPath& perPath);

} // namespace dmtree
