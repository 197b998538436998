/// Times as people read them.
#pragma once

#include "dmStoredLabel.h"
#include "tuLabel.h"

#include <string>

namespace dmtree
{

/// A label as editors write it, in the mode, or in the default mode where it is not defined; a count of frames where
/// there is none.
inline std::string timeText(double frames, DM::FrameCodeModes fcm)
{
    return DM::TimeLabel::text(DM::TimeUnit(frames), fcm);
}

} // namespace dmtree
