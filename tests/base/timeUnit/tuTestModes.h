/// What the tests of this room share: values at the edges, and the default mode set for a scope.
#pragma once

#include "zrTest.h"

namespace tuTest
{

inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
inline constexpr int maxCount = std::numeric_limits<int>::max();
inline constexpr int minCount = std::numeric_limits<int>::min();

inline constexpr DM::FrameCodeModes mode(int value)
{
    return static_cast<DM::FrameCodeModes>(value);
}

struct DefaultFcm
{
    explicit DefaultFcm(DM::FrameCodeModes fcm) { DM::TimeUnit::setDefaultFcm(fcm); }
    DefaultFcm(const DefaultFcm&) = delete;
    DefaultFcm& operator=(const DefaultFcm&) = delete;
    ~DefaultFcm() { DM::TimeUnit::setDefaultFcm(DM::FCM_NOT_DEFINED); }
};

} // namespace tuTest
