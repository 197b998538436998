/// Final Cut Pro 7 XML as a document. docs/fcp7xml.md says what becomes of what.
#pragma once

#include "icFormat.h"

#include <string>

namespace interchange
{

/// Null with errors in the report.
[[nodiscard]] CoSharedPtr<DmRoot> readFcp7xml(std::string bytes, const Options& options, Report& report);

} // namespace interchange
