/// Frame-code modes of compositions.
#pragma once

#include "tuFcm.h"

class DmCompositionNode;

namespace interchange
{

/// The mode that a composition names, of its own or of its begin.
DM::FrameCodeModes modeOf(const DmCompositionNode& node, DM::FrameCodeModes otherwise = DM::FCM_NOT_DEFINED);

} // namespace interchange
