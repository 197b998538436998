/// An ALE as a document: a composition in which each row is a source, on V1, or on A1 where its tracks are sound alone,
/// one behind the other. docs/ale.md says what becomes of what.
#pragma once

#include "icFormat.h"

#include <string>

namespace interchange
{

/// Null with errors in the report.
[[nodiscard]] CoSharedPtr<DmRoot> readAle(std::string bytes, const Options& options, Report& report);

} // namespace interchange
