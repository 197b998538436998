/// The value of a time that is not set, as the in mark of a composition without one.
#pragma once

/// Frames; the value of DM::TimeUnit::getNotATime().
inline constexpr double dmNoTime = 2147483647.0;
