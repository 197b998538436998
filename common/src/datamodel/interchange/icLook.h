/// Looks between cut lists and the model.
#pragma once

#include "icEdlList.h"

#include "dmColourEffects.h"

namespace interchange
{

/// Its comment says which of the two a list had, where it had only one.
CoSharedPtr<DmLookSettings> toLookSettings(const EdlLook& look);
/// Both, unless the comment says otherwise and the other one is as every fresh one.
EdlLook toEdlLook(const DmLookSettings& settings);

} // namespace interchange
