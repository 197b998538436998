#include "tuTestModes.h"
#include "zrTable.h"
#include "zrTestEnv.h"

using namespace DM;
using namespace tuTest;

TEST(FrameCodeModes, HaveTheirRatesAndNames)
{
    struct
    {
        int fcm;
        double fps;
        int intFps;
        unsigned num, den;
        int hour, drop, nonDrop;
        const char *fcmString, *fpsString, *fpsOrNdf, *dfAndNdf;
    } const cases[] = {
        {-5, 60, 60, 60000, 1000, 216000, -5, -5, "60 fps", "60", "60 fps", "NDF"},
        {-4, 30, 30, 30000, 1000, 108000, -4, -4, "30 fps", "30", "30 fps", "NDF"},
        {-3, 23.976023976023978, 24, 24000, 1001, 86400, -3, -3, "23.976 fps", "23.976", "23.976 fps", "NDF"},
        {-2, 59.94005994005994, 60, 60000, 1001, 215784, -2, 60, "59.94 fps DF", "59.94", "59.94 DF", "DF"},
        {-1, 29.97002997002997, 30, 30000, 1001, 107892, -1, 30, "29.97 fps DF", "29.97", "29.97 DF", "DF"},
        {24, 24, 24, 24000, 1000, 86400, 24, 24, "24 fps", "24", "24 fps", "NDF"},
        {25, 25, 25, 25000, 1000, 90000, 25, 25, "25 fps", "25", "25 fps", "NDF"},
        {30, 29.97002997002997, 30, 30000, 1001, 108000, -1, 30, "29.97 fps NDF", "29.97", "29.97 NDF", "NDF"},
        {50, 50, 50, 50000, 1000, 180000, 50, 50, "50 fps", "50", "50 fps", "NDF"},
        {60, 59.94005994005994, 60, 60000, 1001, 216000, -2, 60, "59.94 fps NDF", "59.94", "59.94 NDF", "NDF"},
        // No modes: a positive number is its own rate, the rest have none.
        {48, 48, 48, 0, 1, 172800, 48, 48, "", "", "", ""},
        {maxCount, maxCount, maxCount, 0, 1, maxCount, maxCount, maxCount, "", "", "", ""},
        {-6, 0, 0, 0, 1, 0, -6, -6, "", "", "", ""},
        {minCount, 0, 0, 0, 1, 0, minCount, minCount, "", "", "", ""}};
    for (const auto& row : cases)
    {
        SCOPED_TRACE(row.fcm);
        const FrameCodeModes fcm = mode(row.fcm);
        EXPECT_EQ(FcmUtil::getDoubleFPS(fcm), row.fps);
        EXPECT_EQ(FcmUtil::getIntFPS(fcm), row.intFps);
        EXPECT_EQ(FcmUtil::getFramesOneHour(fcm), row.hour);
        EXPECT_EQ(FcmUtil::toDrop(fcm), row.drop);
        EXPECT_EQ(FcmUtil::toNonDrop(fcm), row.nonDrop);
        EXPECT_STREQ(FcmUtil::getFCMString(fcm), row.fcmString);
        EXPECT_STREQ(FcmUtil::getFPSString(fcm), row.fpsString);
        EXPECT_STREQ(FcmUtil::getFPSOrNDFString(fcm), row.fpsOrNdf);
        EXPECT_STREQ(FcmUtil::getDFAndNDFString(fcm), row.dfAndNdf);
        EXPECT_EQ(FcmUtil::getFCMFromString(row.fcmString, true), row.num != 0 ? row.fcm : 0);
        unsigned num = 7;
        unsigned den = 7;
        EXPECT_EQ(FcmUtil::getRational(fcm, num, den, false), row.num != 0);
        EXPECT_TRUE(num == row.num && den == row.den);
        FcmUtil::getRational(fcm, num, den, true);
        const unsigned divisor = row.den == 1000 ? 1000 : 1;
        EXPECT_TRUE(num == row.num / divisor && den == row.den / divisor);
    }
    EXPECT_STREQ(FcmUtil::getFCMString(FCM_NOT_DEFINED), "???");
    EXPECT_STREQ(FcmUtil::getDFAndNDFString(FCM_NOT_DEFINED), "???");
}

TEST(FrameCodeModes, AreFoundByName)
{
    // clang-format off
    struct
    {
        const char* text;
        bool caseSensitive;
        int fcm;
    } const cases[] = {
        {"29.97 FPS DF", false, -1}, {"29.97 FPS DF", true, 0}, {"29.97 fps DF", true, -1}, {"60 FPS", false, -5},
        {nullptr, true, 0}, {nullptr, false, 0}, {"", false, 0}, {"???", false, 0}, {"25", false, 0},
        {"25 fps ", false, 0}
    };
    // clang-format on
    for (const auto& row : cases)
        EXPECT_EQ(FcmUtil::getFCMFromString(row.text, row.caseSensitive), row.fcm) << (row.text ? row.text : "null");
}

TEST(FrameCodeModes, AreFoundByRate)
{
    // clang-format off
    struct
    {
        double fps;
        int exact, exactDrop, approximate, approximateDrop;
    } const rates[] = {
        {8, 0, 0, -3, -3}, {12, 0, 0, 24, 24}, {12.5, 0, 0, 25, 25}, {14.985, 0, 0, 30, -1}, {15, 0, 0, -4, -4},
        {20, 0, 0, -3, -3}, {23.97, -3, -3, -3, -3}, {24000.0 / 1001, -3, -3, -3, -3}, {23.99995, 24, 24, 24, 24},
        {24.00009, 24, 24, 24, 24}, {24.0002, 0, 0, 24, 24}, {25, 25, 25, 25, 25}, {29.9, 0, 0, 25, 25},
        {29.97, 30, -1, 30, -1}, {29.979, 30, -1, 30, -1}, {29.985, 0, 0, 30, -1}, {30, -4, -4, -4, -4},
        {40, 0, 0, -4, -4}, {47.952, 0, 0, -3, -3}, {48, 0, 0, 24, 24}, {50, 50, 50, 50, 50}, {59, 0, 0, 50, 50},
        {59.94, 60, -2, 60, -2}, {60, -5, -5, -5, -5}, {60.001, 0, 0, -5, -5}, {infinity, 0, 0, -5, -5},
        {0, 0, 0, 0, 0}, {-24, 0, 0, 0, 0}, {notANumber, 0, 0, 0, 0}
    };
    // clang-format on
    for (const auto& [fps, exact, exactDrop, approximate, approximateDrop] : rates)
    {
        EXPECT_EQ(FcmUtil::FPStoFCM(fps, false), exact) << fps;
        EXPECT_EQ(FcmUtil::FPStoFCM(fps, true), exactDrop) << fps;
        EXPECT_EQ(FcmUtil::FPStoApproximateFCM(fps, false), approximate) << fps;
        EXPECT_EQ(FcmUtil::FPStoApproximateFCM(fps, true), approximateDrop) << fps;
    }
}

TEST(FrameCodeModes, AreFoundByWholeNumbersAndFractions)
{
    constexpr unsigned whole = ~0U; // not a fraction: the form that takes an integer
    // clang-format off
    struct
    {
        int num;
        unsigned den;
        int fcm, dropFcm;
    } const cases[] = {
        {24, whole, 24, 24}, {25, whole, 25, 25}, {50, whole, 50, 50}, {30, whole, 30, -1}, {60, whole, 60, -2},
        {48, whole, 0, 0}, {minCount, whole, 0, 0}, {25, 0, 0, 0}, {0, 1, 0, 0}, {24, 1, 24, 24}, {25, 1, 25, 25},
        {50, 1, 50, 50}, {30, 1, -4, -4}, {60, 1, -5, -5}, {48, 1, 0, 0}, {24000, 1001, -3, -3}, {30000, 1001, 30, -1},
        {60000, 1001, 60, -2}, {24000, 1000, 24, 24}, {25000, 1000, 25, 25}, {30000, 1000, -4, -4},
        {50000, 1000, 50, 50}, {60000, 1000, -5, -5}, {2997, 100, 30, -1}, {23976, 1000, -3, -3}, {-1, ~1U, 0, 0}
    };
    // clang-format on
    for (const auto& [num, den, fcm, dropFcm] : cases)
        for (const bool drop : {false, true})
            EXPECT_EQ(den == whole ? FcmUtil::FPStoFCM(num, drop)
                                   : FcmUtil::FPStoFCM(static_cast<unsigned>(num), den, drop),
                      drop ? dropFcm : fcm)
                << num << '/' << den;
}

TEST(FrameCodeModes, ModeZeroStandsForTheDefault)
{
    unsigned num = 7;
    unsigned den = 7;
    const ZrTestEnv none("ZR_DEFAULT_FCM", nullptr);
    EXPECT_TRUE(!FcmUtil::getRational(FCM_NOT_DEFINED, num, den, true) && num == 0 && den == 1);

    const DefaultFcm scope(FCM_29_97_DF);
    EXPECT_EQ(FcmUtil::getIntFPS(FCM_NOT_DEFINED), 30);
    EXPECT_EQ(FcmUtil::getFramesOneHour(FCM_NOT_DEFINED), 107892);
    EXPECT_TRUE(FcmUtil::getRational(FCM_NOT_DEFINED, num, den, true) && num == 30000 && den == 1001);
}

TEST(FrameCodeModes, AreFoundByTheNamesThatPeopleUse)
{
    for (const ZrRow& row : zrRowsOf("modeNames.txt"))
        EXPECT_EQ(FcmUtil::getFCMFromName(row[0].c_str()), mode(int(row.number(1)))) << row;
    for (const FrameCodeModes fcm : FcmUtil::getModes())
        for (const char* const name : {FcmUtil::getFCMString(fcm), FcmUtil::getFPSOrNDFString(fcm)})
            EXPECT_EQ(FcmUtil::getFCMFromName(name), fcm) << name;
}
