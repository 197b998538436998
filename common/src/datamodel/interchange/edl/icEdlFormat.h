/// CMX 3600 edit decision lists, as a format of the registry.
#pragma once

#include "icFormat.h"

#include <memory>

namespace interchange
{

std::shared_ptr<const Format> edlFormat();

} // namespace interchange
