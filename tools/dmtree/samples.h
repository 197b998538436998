/// Objects that stand for their classes: what a class is, its definitions tell.
#pragma once

#include "dmPropertySet.h"

namespace dmtree
{

/// An object of a registered class; null for another name.
DmPropertySetPtr sampleOf(const DmString& className);

} // namespace dmtree
