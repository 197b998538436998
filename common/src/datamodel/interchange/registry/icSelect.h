/// What of a document is written.
#pragma once

#include "icFormat.h"

#include "dmRoot.h"

namespace interchange
{

/// A root with the composition that the options name, or else the first, and of its tracks those that they name. Null
/// with an error where there is no such composition, or no such track.
CoSharedPtr<DmRoot> select(const DmRoot& root, const Options& options, Report& report);

} // namespace interchange
