#include "edlTCConv.h"

#include "tuFcmTableImp.h"
#include "tuPulldown.h"
#include "zrPost.h"

#include <array>
#include <cstdint>

namespace DM
{

namespace
{

constexpr std::array<std::uint8_t, 30> thirtyToTwentyFour = {
    0, 1, 2, 2, 3, 4, 5, 6, 6, 7, 8, 9, 9, 10, 11, 12, 13, 14, 14, 15, 16, 17, 18, 18, 19, 20, 21, 22, 22, 23};

int to24(int ff)
{
    return thirtyToTwentyFour[static_cast<std::size_t>(ff) % thirtyToTwentyFour.size()];
}

int half(int ff)
{
    return ff / 2;
}

/// The time in `toFcm` of the label in `fromFcm` with its frame field mapped.
TimeUnit relabel(TimeUnit t, FrameCodeModes fromFcm, int (*mapFrames)(int), FrameCodeModes toFcm)
{
    int hh = 0;
    int mm = 0;
    int ss = 0;
    int ff = 0;
    t.toTimeCode(hh, mm, ss, ff, fromFcm);
    return TimeUnit().fromTimeCode(hh, mm, ss, mapFrames(ff), toFcm, true, false);
}

bool unsupported(FrameCodeModes fcm)
{
    // Both directions report under one name: tools look for this text.
    ZR_POST_ERROR("EdlTCToVaricam: Unsupported fcm %d", static_cast<int>(fcm));
    return false;
}

} // namespace

TimeUnit Edl25to24fps(TimeUnit t)
{
    const std::int32_t n = t.getFrameCount();
    return TimeUnit().fromTimeCode(n / 86400, n % 86400 / 1440, n % 1440 / 24, n % 24, FCM_23_976, true, false);
}

TimeUnit Edl30to24fps(TimeUnit t, FrameCodeModes fcm)
{
    return relabel(t, fcm, to24, FCM_23_976);
}

TimeUnit Edl24to30fps(TimeUnit t)
{
    return TU2_3Conv::to30fpsEquiv(t, TimeUnit::getZero(), TU2_3Conv::PD30_AA, false, TimeUnit::getZero());
}

TimeUnit Edl24to60fps(TimeUnit t)
{
    return TimeUnit(2.0 * Edl24to30fps(t).getFrameCount());
}

TimeUnit Edl60to30fps(TimeUnit t)
{
    return relabel(t, FCM_59_94_NDF, half, FCM_29_97_NDF);
}

TimeUnit Edl60to24fps(TimeUnit t)
{
    return relabel(Edl60to30fps(t), FCM_30, to24, FCM_23_976);
}

bool EdlTCToVaricam(TimeUnit t, FrameCodeModes fcm, TimeUnit& out)
{
    switch (fcmRow(fcm).intFps)
    {
    case 60:
        out = Edl60to30fps(t);
        return true;
    case 30:
        out = t;
        return true;
    case 24:
        out = Edl24to30fps(t);
        return true;
    default:
        return unsupported(fcm);
    }
}

bool EdlVaricamToTC(TimeUnit t, FrameCodeModes fcm, TimeUnit& out)
{
    out = t;
    switch (fcmRow(fcm).intFps)
    {
    case 60:
        out = Edl60to30fps(t);
        return true;
    case 30:
        return true;
    case 24:
        out = Edl30to24fps(t, FCM_30);
        return true;
    default:
        return unsupported(fcm);
    }
}

} // namespace DM
