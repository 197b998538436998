/// The library's own documents, as a format of the registry.
#pragma once

#include "icFormat.h"

#include <memory>

namespace interchange
{

std::shared_ptr<const Format> documentFormat();

} // namespace interchange
