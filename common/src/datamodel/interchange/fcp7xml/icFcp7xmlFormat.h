/// Final Cut Pro 7 XML (xmeml), as a format of the registry.
#pragma once

#include "icFormat.h"

#include <memory>

namespace interchange
{

std::shared_ptr<const Format> fcp7xmlFormat();

} // namespace interchange
