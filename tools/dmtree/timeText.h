/// Times as people read them.
#pragma once

#include "dmStoredLabel.h"
#include "tuTimeUnit.h"

#include <string>

namespace dmtree
{

/// A label in the mode, or in the default mode where it is not defined; a count of frames where there is none.
inline std::string timeText(double frames, DM::FrameCodeModes fcm)
{
    const DM::FrameCodeModes mode = dmModeOrDefault(fcm);
    if (mode == DM::FCM_NOT_DEFINED)
        return std::to_string(DM::TimeUnit(frames).getFrameCount());
    char label[DM::TimeUnit::labelSize];
    const int length = DM::TimeUnit(frames).toTimeCode(label, sizeof label, mode);
    return {label, static_cast<std::size_t>(length)};
}

} // namespace dmtree
