/// What a time is that is not set: a mark that there is not, say.
#pragma once

/// Frames; the value of DM::TimeUnit::getNotATime().
inline constexpr double dmNoTime = 2147483647.0;
