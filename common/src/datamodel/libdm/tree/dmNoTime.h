/// The time of a node's optional marks that is not set.
#pragma once

/// Frames; the value of DM::TimeUnit::getNotATime().
inline constexpr double dmNoTime = 2147483647.0;
