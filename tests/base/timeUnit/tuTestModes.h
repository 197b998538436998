/// What the tests of this room share: the modes, and the default mode set for a scope.
#pragma once

#include "tuFcm.h"
#include "tuTimeUnit.h"

#include <limits>

namespace tuTest
{

inline constexpr DM::FrameCodeModes modes[] = {
    DM::FCM_23_976, DM::FCM_24, DM::FCM_25, DM::FCM_29_97_DF, DM::FCM_29_97_NDF,
    DM::FCM_30,     DM::FCM_50, DM::FCM_60, DM::FCM_59_94_DF, DM::FCM_59_94_NDF,
};

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
