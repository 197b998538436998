/// The page that this command was built with.
#pragma once

#include "vwPage.h"

namespace view
{

/// Null where it could not be built, for want of Node or of npm's registry.
const PageParts* pageParts();

} // namespace view
