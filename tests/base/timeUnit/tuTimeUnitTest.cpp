#include "tuTestModes.h"
#include "zrTestEnv.h"

using namespace DM;
using namespace tuTest;

TEST(FrameCount, RoundsWithinAHundredThousandthAndCutsOtherwise)
{
    // clang-format off
    struct
    {
        double frames;
        int count;
    } const cases[] = {
        {0, 0}, {10.999995, 11}, {10.9, 10}, {10.99998, 10}, {10.000004, 10}, {0.5, 0}, {-0.5, 0}, {-10.999995, -11},
        {-10.9, -10}, {-0.999999, -1}, {1e300, maxCount}, {-1e300, minCount}, {infinity, maxCount},
        {-infinity, minCount}, {notANumber, 0}, {2147483646.0, 2147483646}, {2147483646.999999, maxCount},
        {2147483647.5, maxCount}, {2147483648.0, maxCount}, {-2147483647.0, -maxCount}, {-2147483647.999999, minCount},
        {-2147483648.0, minCount}
    };
    // clang-format on
    for (const auto& row : cases)
        EXPECT_EQ(TimeUnit(row.frames).getFrameCount(), row.count) << row.frames;
}

TEST(TimeUnitValue, KeepsOnlyTheFrames)
{
    EXPECT_EQ(TimeUnit::getTuInfinity(), TimeUnit(1073741823.0));
    EXPECT_EQ(TimeUnit::getNotATime(), TimeUnit(2147483647.0));
    EXPECT_TRUE(TimeUnit::getTuInfinity().isATime() && !TimeUnit::getNotATime().isATime());
    TimeUnit time;
    EXPECT_EQ(time.getFrames(), 0.0);
    time = TimeCodeUnit(12.5);
    EXPECT_TRUE(time == TimeUnit(12.5) && time < TimeUnit(13));
}

TEST(WallClock, IsTakenAtTheExactRate)
{
    // clang-format off
    struct
    {
        double frames;
        int fcm;
        const char* prefix;
        const char* text;
    } const cases[] = {
        {90000, 25, nullptr, "01:00:00.000"}, {107892, -1, nullptr, "00:59:59.996"}, {1, 24, nullptr, "00:00:00.042"},
        {0.5, 25, nullptr, "00:00:00.020"}, {-30, -4, nullptr, "-00:00:01.000"}, {-30, -4, "at ", "at 00:00:01.000"},
        {-0.001, 25, nullptr, "00:00:00.000"}, {24.999999, 25, nullptr, "00:00:01.000"},
        {notANumber, 25, nullptr, "00:00:00.000"}, {infinity, 25, nullptr, "23860:55:45.880"},
        {-infinity, 1, nullptr, "-596523:14:07.000"}, {100, -9, nullptr, "00:00:00.000"}
    };
    // clang-format on
    for (const auto& row : cases)
    {
        char text[TimeUnit::timeSize];
        const int length = TimeUnit(row.frames).toTime(text, sizeof text, mode(row.fcm), row.prefix);
        EXPECT_STREQ(text, row.text);
        EXPECT_EQ(length, static_cast<int>(std::string(row.text).size()));
    }
    char small[6];
    EXPECT_TRUE(TimeUnit(90000).toTime(small, sizeof small, FCM_25) == 5 && small == std::string("01:00"));
    EXPECT_EQ(TimeUnit(90000).toTime(nullptr, 0, FCM_25), 0);
}

TEST(EquivalentTime, KeepsTheWallClock)
{
    // clang-format off
    struct
    {
        double frames;
        int from, to;
        double offset, result;
    } const cases[] = {
        {90000, 25, -1, 0, 107892.108}, {107892, -1, 30, 0, 107892}, {100, 25, 25, 2.5, 102.5}, {30, -4, -5, 0, 60},
        {1001, 30, -4, 0, 1002.001}, {-48, 24, 25, 0, -50}, {0.0004, 25, 25, 0, 0}, {2147483647, 25, 24, 5, 2147483647},
        {1073741823, 25, 24, 5, 1073741823}, {infinity, 25, 50, 0, 2147483647}, {notANumber, 25, 50, 0, 0},
        {1e308, 24, 60, 0, 2147483647}
    };
    // clang-format on
    for (const auto& row : cases)
    {
        TimeUnit result(-1);
        EXPECT_TRUE(TimeUnit(row.frames).getEquivTime(result, mode(row.from), mode(row.to), TimeUnit(row.offset)));
        EXPECT_EQ(result.getFrames(), row.result) << row.frames << " from " << row.from << " to " << row.to;
    }
    TimeUnit result;
    EXPECT_FALSE(TimeUnit(7).getEquivTime(result, mode(-9), FCM_25));
    EXPECT_EQ(result, TimeUnit(7));

    char label[TimeUnit::labelSize] = "?";
    EXPECT_EQ(TimeUnit(90000).getEquivTimeCode(label, sizeof label, FCM_25, FCM_29_97_DF, TimeUnit(2)), 11);
    EXPECT_STREQ(label, "01;00;00;02");
    EXPECT_EQ(TimeUnit(90000).getEquivTimeCode(label, sizeof label, FCM_25, mode(-9)), 0);
    EXPECT_STREQ(label, "");
}

TEST(SubFrames, AreThousandthsAndSaturate)
{
    for (const auto& [frames, rounded] : {std::pair{10.0004, 10.0},
                                          {10.0006, 10.001},
                                          {-10.0006, -10.001},
                                          {0.1 + 0.2, 0.3},
                                          {notANumber, 0.0},
                                          {infinity, 2147483647.0},
                                          {-1e300, -2147483647.0}})
        EXPECT_EQ(TimeUnit(frames).roundToSubFrames().getFrames(), rounded) << frames;
    EXPECT_FALSE(std::signbit(TimeUnit(-0.0001).roundToSubFrames().getFrames()));
}

TEST(DefaultMode, ComesFromTheHostThenFromTheEnvironment)
{
    const auto hasDefaultWith = [](const char* value)
    {
        const ZrTestEnv environment("ZR_DEFAULT_FCM", value);
        return TimeUnit::hasDefaultFcm();
    };
    EXPECT_FALSE(hasDefaultWith(nullptr));
    EXPECT_FALSE(hasDefaultWith("29.97 FPS DF")) << "names are exact here";
    EXPECT_TRUE(hasDefaultWith("29.97 fps DF"));

    const ZrTestEnv environment("ZR_DEFAULT_FCM", "29.97 fps DF");
    {
        const DefaultFcm scope(FCM_25);
        EXPECT_EQ(TimeUnit::getDefaultFcm(), FCM_25);
    }
    testing::internal::CaptureStdout();
    EXPECT_EQ(TimeUnit::getDefaultFcm(), FCM_29_97_DF);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Using default fcm from env var '29.97 fps DF'\n");
    EXPECT_TRUE(hasDefaultWith(nullptr)) << "it is remembered";
    TimeUnit::setDefaultFcm(FCM_NOT_DEFINED);
}

TEST(DefaultModeDeathTest, StopsAProcessThatHasNone)
{
    constexpr const char* report = "getDefaultFcm.*\\(_defaultFcm != FCM_NOT_DEFINED\\) \\|\\| zrAssertLogFlush\\(\\)";
    for (const char* const value : {static_cast<const char*>(nullptr), "sixty"})
    {
        const ZrTestEnv environment("ZR_DEFAULT_FCM", value);
        EXPECT_DEATH(TimeUnit::getDefaultFcm(), report);
        EXPECT_DEATH(FcmUtil::getIntFPS(FCM_NOT_DEFINED), report);
    }
}

TEST(DefaultFrameRate, PrintsWithTheDecimalsItNeeds)
{
    EXPECT_FALSE(TimeUnit::hasDefaultFrameRate());
    EXPECT_DEATH(TimeUnit::getDefaultFrameRate(), "_defaultFrameRate > 0.0");
    for (const auto& [rate, text] : {std::pair{25.0, "25"},
                                     {24000.0 / 1001, "23.976"},
                                     {30000.0 / 1001, "29.97"},
                                     {12.5, "12.50"},
                                     {119.88, "119.88"}})
    {
        TimeUnit::setDefaultFrameRate(rate);
        EXPECT_TRUE(TimeUnit::hasDefaultFrameRate());
        EXPECT_EQ(TimeUnit::getDefaultFrameRateString(), text);
    }
    TimeUnit::setDefaultFrameRate(1e308);
    EXPECT_EQ(TimeUnit::getDefaultFrameRateString().size(), 309U);
    TimeUnit::setDefaultFrameRate(0.0);
}

TEST(Dump, ShowsTheLabelInEachFamilyAndInTheDefaultMode)
{
    const ZrTestEnv none("ZR_DEFAULT_FCM", nullptr);
    std::ostringstream out;
    TimeUnit(1800).dump(out);
    EXPECT_TRUE(out.str().starts_with("_time = 1800.000000 ~= 1800 Frm\n"));
    EXPECT_NE(out.str().find("29.97 fps DF : 00;01;00;02\n"), std::string::npos);
    EXPECT_TRUE(out.str().ends_with("(no default FCM)\n"));
    const DefaultFcm scope(FCM_24);
    TimeUnit(-1e308).dump(out);
    EXPECT_TRUE(out.str().ends_with("default : -24855:08:05+07\n"));

    std::ostringstream values;
    values << TimeUnit(1080000) << ' ' << TimeUnit(-0.125) << ' ' << TimeUnit(1e22);
    EXPECT_EQ(values.str(), "1080000 -0.125 1e+22");
}

TEST(TimeUnits, AreAddedAndScaled)
{
    TimeUnit time(10);
    time += TimeUnit(5);
    time -= TimeUnit(3);
    time *= 2.5;
    time /= 3;
    EXPECT_EQ(time, TimeUnit(10));
    EXPECT_EQ(-time, TimeUnit(-10));
    EXPECT_FALSE(std::signbit((-TimeUnit(0)).getFrames()));
    EXPECT_EQ(time * 0.5, 0.5 * time);
    EXPECT_EQ(time / 4.0, TimeUnit(2.5));
}
