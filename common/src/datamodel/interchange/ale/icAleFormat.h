/// Avid Log Exchange, as a format of the registry.
#pragma once

#include "icFormat.h"

#include <memory>

namespace interchange
{

std::shared_ptr<const Format> aleFormat();

} // namespace interchange
