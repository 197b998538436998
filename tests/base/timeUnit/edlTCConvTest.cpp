#include "tuTestModes.h"

using namespace DM;
using namespace tuTest;

TEST(EdlRelabelling, MapsThirtyLabelsToTwentyFour)
{
    const int map[30] = {0,  1,  2,  2,  3,  4,  5,  6,  6,  7,  8,  9,  9,  10, 11,
                         12, 13, 14, 14, 15, 16, 17, 18, 18, 19, 20, 21, 22, 22, 23};
    for (int ff = 0; ff < 30; ++ff)
    {
        const double hour = 86400.0 + map[ff];
        EXPECT_EQ(Edl30to24fps(TimeUnit(108000 + ff), FCM_30).getFrames(), hour) << ff;
        EXPECT_EQ(Edl30to24fps(TimeUnit(107892 + ff), FCM_29_97_DF).getFrames(), hour) << ff;
        EXPECT_EQ(Edl30to24fps(TimeUnit(216000 + 30 + ff), FCM_60).getFrames(), hour) << "modulo 30: " << ff;
        EXPECT_EQ(Edl60to24fps(TimeUnit(216000 + 2 * ff + 1)).getFrames(), hour) << ff;
    }
}

TEST(EdlRelabelling, ConvertsTheOtherRates)
{
    using Convert = TimeUnit (*)(TimeUnit);
    // clang-format off
    struct
    {
        Convert convert;
        double t, result;
    } const cases[] = {
        {Edl25to24fps, 0, 0}, {Edl25to24fps, 90007, 90007}, {Edl25to24fps, -5, 0}, {Edl25to24fps, notANumber, 0},
        {Edl24to30fps, 4, 5}, {Edl24to30fps, 86400, 108000}, {Edl24to60fps, 5, 12}, {Edl60to30fps, 61, 30},
        {Edl60to30fps, 63, 31}, {Edl60to30fps, 216000, 108000}, {Edl60to30fps, -63, 31},
        {Edl25to24fps, infinity, 2147483647}, {Edl24to60fps, infinity, 4294967294}, {Edl60to30fps, infinity, 1073741823}
    };
    // clang-format on
    for (const auto& row : cases)
        EXPECT_EQ(row.convert(TimeUnit(row.t)).getFrames(), row.result) << row.t;
}

TEST(Varicam, ConvertsByFamilyOfMode)
{
    // clang-format off
    struct
    {
        int fcm;
        bool supported;
        double toVaricam, fromVaricam; ///< of frame 63
    } const cases[] = {
        {-5, true, 31, 31}, {-2, true, 31, 31}, {60, true, 31, 31}, {-4, true, 63, 63}, {-1, true, 63, 63},
        {30, true, 63, 63}, {-3, true, 78, 50}, {24, true, 78, 50}, {25, false, 7, 63}, {0, false, 7, 63},
        {minCount, false, 7, 63}
    };
    // clang-format on
    for (const auto& row : cases)
    {
        TimeUnit out(7);
        testing::internal::CaptureStdout();
        EXPECT_EQ(EdlTCToVaricam(TimeUnit(63), mode(row.fcm), out), row.supported) << row.fcm;
        EXPECT_EQ(out.getFrames(), row.toVaricam) << row.fcm;
        EXPECT_EQ(EdlVaricamToTC(TimeUnit(63), mode(row.fcm), out), row.supported) << row.fcm;
        EXPECT_EQ(out.getFrames(), row.fromVaricam) << row.fcm;
        const std::string message = "EdlTCToVaricam: Unsupported fcm " + std::to_string(row.fcm) + "\n";
        EXPECT_EQ(testing::internal::GetCapturedStdout(), row.supported ? "" : message + message);
    }
}
