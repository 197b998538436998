#include "tuTestModes.h"
#include "zrTable.h"
#include "zrTestEnv.h"
#include "zrTestInHouse.h"

using namespace DM;
using namespace tuTest;

namespace
{

using Fields = std::array<int, 4>;

Fields fieldsOf(TimeUnit time, FrameCodeModes fcm)
{
    Fields f{};
    time.toTimeCode(f[0], f[1], f[2], f[3], fcm);
    return f;
}

Fields parsed(const char* text)
{
    Fields f{7, 7, 7, 7};
    TimeUnit::parseTimeCodeString(text, f[0], f[1], f[2], f[3]);
    return f;
}

std::string label(double frames, int fcm)
{
    char text[TimeUnit::labelSize];
    TimeUnit(frames).toTimeCode(text, sizeof text, mode(fcm));
    return text;
}

double frames(const char* text, int fcm)
{
    return TimeUnit().fromTimeCode(text, mode(fcm)).getFrames();
}

/// Counts labels as a person does: field by field, leaving out those that are dropped.
void countOn(Fields& f, int fps, int dropped)
{
    if (++f[3] < fps)
        return;
    f[3] = 0;
    if (++f[2] < 60)
        return;
    f[2] = 0;
    f[0] += (f[1] + 1) / 60;
    f[1] = (f[1] + 1) % 60;
    if (f[1] % 10 != 0)
        f[3] = dropped;
}

/// Unoptimised and sanitized builds look at some frames only: they check the same code more slowly.
#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
constexpr int stride = 1;
#else
constexpr int stride = 23;
#endif

} // namespace

TEST(Labels, OfEveryFrameOfADayAreCountedAndReadBackInEveryMode)
{
    for (const FrameCodeModes fcm : FcmUtil::getModes())
    {
        const int day = 24 * FcmUtil::getFramesOneHour(fcm);
        const int fps = FcmUtil::getIntFPS(fcm);
        const int dropped = FcmUtil::isDropFrame(fcm) ? fps / 15 : 0;
        Fields expected{};
        for (int n = 0; n < day; ++n, countOn(expected, fps, dropped))
        {
            if (n % stride != 0)
                continue;
            char text[TimeUnit::labelSize];
            const TimeUnit time(n);
            time.toTimeCode(text, sizeof text, fcm);
            const bool good = fieldsOf(time, fcm) == expected && parsed(text) == expected &&
                              TimeUnit().fromTimeCode(text, fcm) == time &&
                              TimeUnit::isValidTimeCode(expected[0], expected[1], expected[2], expected[3], fcm);
            ASSERT_TRUE(good) << "frame " << n << " of mode " << fcm << ": " << text;
        }
        EXPECT_EQ(expected, (Fields{24, 0, 0, 0})) << fcm;
    }
}

TEST(Labels, SayTheirModeBySeparators)
{
    // clang-format off
    struct
    {
        double frames;
        int fcm;
        const char* text;
    } const cases[] = {
        {1800, -1, "00;01;00;02"}, {17982, -1, "00;10;00;00"}, {3600, -2, "00;01;00#04"}, {86412, -3, "01:00:00+12"},
        {86412, 24, "01:00:00+12"}, {216030, -5, "01:00:00#30"}, {180030, 50, "01:00:00#30"},
        {216030, 60, "01:00:00#30"}, {108015, -4, "01:00:00:15"}, {90015, 25, "01:00:00:15"},
        {108015, 30, "01:00:00:15"}, {-30, 30, "-00:00:01:00"}, {-1800, -1, "-00;01;00;02"}, {-0.5, 25, "00:00:00:00"},
        {10.999995, 25, "00:00:00:11"}, {90000.0 * 100, 25, "100:00:00:00"}, {notANumber, 25, "00:00:00:00"},
        {infinity, 25, "23860:55:45:22"}, {-infinity, 25, "-23860:55:45:22"}, {infinity, -1, "19904;00;42;19"},
        {infinity, -2, "9952;00;21#19"}, {119, 120, "00:00:00:119"}, {infinity, maxCount, "00:00:01:00"},
        {5, -6, "00:00:00:00"}, {5, minCount, "00:00:00:00"}
    };
    // clang-format on
    for (const auto& row : cases)
        EXPECT_EQ(label(row.frames, row.fcm), row.text) << row.frames << " in mode " << row.fcm;

    // In mode 0 the default mode counts, and the separators are those of mode 0.
    const DefaultFcm scope(FCM_29_97_DF);
    EXPECT_EQ(label(1800, 0), "00:01:00:02");
    EXPECT_EQ(frames("00:01:00:02", 0), 1800);
}

TEST(Labels, AreCutToTheBuffer)
{
    for (const std::size_t size : {1, 2, 5, 11, 12, 13})
    {
        char text[16] = "***************";
        const int length = TimeUnit(1800).toTimeCode(text, size, FCM_29_97_DF);
        EXPECT_EQ(text, std::string("00;01;00;02").substr(0, size - 1));
        EXPECT_EQ(length, static_cast<int>(std::string(text).size()));
        EXPECT_EQ(text[size], '*');
    }
    EXPECT_EQ(TimeUnit(1800).toTimeCode(nullptr, 8, FCM_29_97_DF), 0);
    EXPECT_IN_HOUSE_DEATH(TimeUnit(1800).toTimeCode(nullptr, 8, FCM_29_97_DF), "\\( ret > 0 \\)");
}

TEST(LabelTexts, AreSplitIntoTheLastFields)
{
    // clang-format off
    struct
    {
        const char* text;
        Fields fields;
    } const cases[] = {
        {"01:02:03:04", {1, 2, 3, 4}}, {"1+2+3+4", {1, 2, 3, 4}}, {"01;02;03#04", {1, 2, 3, 4}},
        {":02:03:04", {0, 2, 3, 4}}, {"-01:02:03:04", {1, 2, 3, 4}}, {"+;02:03", {0, 0, 2, 3}}, {"12", {0, 0, 0, 12}},
        {"3:12", {0, 0, 3, 12}}, {"1:2:3:4:5", {1, 2, 3, 4}}, {"1:2:3:4:5:6:7:8", {1, 2, 3, 4}},
        {"01::02", {0, 1, 0, 2}}, {"10:", {0, 0, 10, 0}}, {"", {0, 0, 0, 0}}, {nullptr, {0, 0, 0, 0}},
        {"::::", {0, 0, 0, 0}}, {":1:2:3:4", {1, 2, 3, 4}}, {"99:99:99:99", {99, 99, 99, 99}}, {"--1", {0, 0, 0, -1}},
        // As atoi reads, but saturated.
        {"1: \t-2:3x:y4", {1, -2, 3, 0}}, {"ten:\xff", {0, 0, 0, 0}}, {"1: - 2", {0, 0, 1, 0}},
        {"9999999999:-9999999999", {0, 0, maxCount, minCount}}, {"2147483647:2147483648", {0, 0, maxCount, maxCount}},
        {"-2147483648:-2147483648", {0, 0, maxCount, minCount}},
        // No more than 31 characters.
        {"99999999999999999999999999999999999", {0, 0, 0, maxCount}},
        {"0000000000000000000000000000001:2", {0, 0, 0, 1}}, {"000000000000000000000000000:1:29", {0, 0, 1, 2}},
    };
    // clang-format on
    for (const auto& row : cases)
        EXPECT_EQ(parsed(row.text), row.fields) << (row.text ? row.text : "null");
}

TEST(LabelTexts, BecomeTimesClampedAndBumpedAndSigned)
{
    // clang-format off
    struct
    {
        const char* text;
        int fcm;
        double frames;
    } const cases[] = {
        {"00;01;00;02", -1, 1800}, {"-00:00:01:00", 30, -30}, {"99:99:99:99", 25, (100 * 3600.0) * 25 - 1},
        {"00:01:00:00", -1, 1799}, {"-00:01:00:00", -1, -1799}, {"--1", 25, 0}, {"", 25, 0}, {nullptr, 25, 0},
        {"1:-5", 25, 25}, {"00:00:00:00", 0, 0}, {"1:00", -6, 0}, {"99999999999:00:00:00", 60, 2147483647.0 * 3600 * 60}
    };
    // clang-format on
    for (const auto& row : cases)
    {
        EXPECT_EQ(frames(row.text, row.fcm), row.frames) << (row.text ? row.text : "null");
        EXPECT_FALSE(std::signbit(frames(row.text, row.fcm)) && row.frames == 0.0);
    }
}

TEST(DropFrame, LabelsThatDoNotExistAreBumped)
{
    // clang-format off
    struct
    {
        int fcm, bump;
        Fields fields;
        double frames;
    } const cases[] = {
        {-1, 0, {0, 1, 0, 0}, 1799}, {-1, 0, {0, 1, 0, 1}, 1799}, {-1, 1, {0, 1, 0, 0}, 1800},
        {-1, 1, {0, 1, 0, 1}, 1800}, {-1, 2, {0, 1, 0, 0}, 1798}, {-2, 0, {0, 1, 0, 3}, 3599},
        {-2, 1, {0, 1, 0, 0}, 3600}, {-2, 2, {0, 1, 0, 0}, 3596},
        // These exist.
        {-1, 0, {1, 10, 0, 0}, 107892 + 17982}, {-1, 0, {0, 1, 0, 2}, 1800}, {-1, 0, {0, 1, 1, 0}, 1828},
        {30, 0, {0, 1, 0, 0}, 1800},
    };
    // clang-format on
    for (const auto& row : cases)
    {
        const auto& [hh, mm, ss, ff] = row.fields;
        TimeUnit::setDfBumpMode(static_cast<DfBumpMode>(row.bump));
        EXPECT_EQ(TimeUnit().fromTimeCode(hh, mm, ss, ff, mode(row.fcm), false, true).getFrames(), row.frames)
            << mm << ':' << ss << ':' << ff << " in mode " << row.fcm << " by " << row.bump;
    }
    EXPECT_EQ(TimeUnit().fromTimeCode(0, 1, 0, 0, FCM_29_97_DF, false, false).getFrames(), 1798) << "as it counts";
    TimeUnit::setDfBumpMode(static_cast<DfBumpMode>(3));
    EXPECT_EQ(TimeUnit().fromTimeCode(0, 1, 0, 2, FCM_29_97_DF, false, true).getFrames(), 1800);
    EXPECT_DEATH(TimeUnit().fromTimeCode(0, 1, 0, 0, FCM_29_97_DF, false, true), "dfBumpModeTest.*`0'");
    TimeUnit::setDfBumpMode(DF_BUMP_TO_PREVIOUS);
}

TEST(Labels, AreValidWhenInRangeAndExisting)
{
    // clang-format off
    struct
    {
        Fields fields;
        int fcm;
        bool valid;
        const char* report; ///< of the process that counts the label unclamped; null: it counts
    } const cases[] = {
        {{0, 0, 0, 0}, 25, true, nullptr}, {{1000, 59, 59, 24}, 25, true, nullptr},
        {{-1, 0, 0, 0}, 25, false, "`sciHours >= 0'"},
        {{0, 60, 0, 0}, 25, false, "`\\( sciMinutes >= 0 \\) && \\( sciMinutes < 60 \\)'"},
        {{0, -1, 0, 0}, 25, false, "`\\( sciMinutes >= 0 \\)"},
        {{0, 0, 60, 0}, 25, false, "`\\( sciSeconds >= 0 \\) && \\( sciSeconds < 60 \\)'"},
        {{0, 0, minCount, 0}, 25, false, "`\\( sciSeconds >= 0 \\)"},
        {{0, 0, 0, 25}, 25, false, "`\\( sciFrames >= 0 \\) && \\( sciFrames < frameRate \\)'"},
        {{0, 0, 0, -1}, 25, false, "`\\( sciFrames >= 0 \\)"}, {{0, 1, 0, 1}, -1, false, nullptr},
        {{0, 1, 0, 2}, -1, true, nullptr}, {{0, 20, 0, 0}, -1, true, nullptr}, {{0, 1, 0, 3}, -2, false, nullptr},
        {{0, 1, 0, 0}, 30, true, nullptr}, {{0, 0, 0, 47}, 48, true, nullptr}, {{0, 0, 0, 0}, -6, false, nullptr},
        {{0, 0, 0, 0}, 0, false, nullptr}
    };
    // clang-format on
    const ZrTestEnv none("ZR_DEFAULT_FCM", nullptr);
    for (const auto& row : cases)
    {
        const auto& [hh, mm, ss, ff] = row.fields;
        SCOPED_TRACE(testing::Message() << hh << ':' << mm << ':' << ss << ':' << ff << " in mode " << row.fcm);
        EXPECT_EQ(TimeUnit::isValidTimeCode(hh, mm, ss, ff, mode(row.fcm)), row.valid);
        const TimeLabel::Status may = TimeLabel::mayBe(hh, mm, ss, ff, mode(row.fcm));
        EXPECT_EQ(may == TimeLabel::Good, row.valid);
        EXPECT_EQ(may == TimeLabel::OutOfRange, row.report != nullptr);
        if (row.report)
        {
            EXPECT_DEATH(TimeUnit().fromTimeCode(hh, mm, ss, ff, mode(row.fcm)), row.report);
        }
    }
}

TEST(StrictLabels, AreReadOrRefusedWithAReason)
{
    using enum TimeLabel::Status;
    const std::map<std::string, TimeLabel::Status> refusals = {{"Dropped", Dropped},
                                                               {"OutOfRange", OutOfRange},
                                                               {"NotALabel", NotALabel},
                                                               {"TooLarge", TooLarge},
                                                               {"NoMode", NoMode}};
    for (const ZrRow& row : zrRowsOf("strictLabels.txt"))
    {
        const auto refused = refusals.find(row[2]);
        const bool isGood = refused == refusals.end();
        TimeUnit time(7);
        const TimeLabel::Status status = TimeLabel::read(row[0].c_str(), mode(int(row.number(1))), time);
        EXPECT_EQ(status, isGood ? Good : refused->second) << row;
        EXPECT_EQ(time.getFrames(), isGood ? row.number(2) : 7) << row;
        EXPECT_EQ(*TimeLabel::reason(status) == '\0', isGood) << row;
    }
    const DefaultFcm twentyFive(FCM_25);
    TimeUnit time;
    EXPECT_EQ(TimeLabel::read("01:00:00:00", FCM_NOT_DEFINED, time), Good);
    EXPECT_EQ(time.getFrames(), 90000);
}

TEST(StrictLabels, TellWhatWasWritten)
{
    TimeLabel label;
    ASSERT_EQ(TimeLabel::parse("-1:2;3", label), TimeLabel::Good);
    EXPECT_TRUE(label.isNegative && label.isDrop);
    EXPECT_EQ((Fields{label.hours, label.minutes, label.seconds, label.frames}), (Fields{0, 1, 2, 3}));
    EXPECT_EQ(label.fields, 3);

    TimeUnit time;
    ASSERT_EQ(TimeLabel::parse("00:61:00;00", label), TimeLabel::Good);
    EXPECT_EQ(label.toTime(FCM_29_97_DF, time, {.clamp = true}), TimeLabel::Dropped);
    EXPECT_EQ(label.toTime(FCM_29_97_DF, time, {.bump = true}), TimeLabel::OutOfRange);
    EXPECT_EQ(label.toTime(FCM_29_97_DF, time, {.clamp = true, .bump = true}), TimeLabel::Good);
    EXPECT_EQ(TimeLabel::text(time, FCM_29_97_DF), "00:58:59;29");
}

TEST(StrictLabels, AreWrittenAsEditorsDo)
{
    for (const ZrRow& row : zrRowsOf("writtenLabels.txt"))
    {
        const double frames = row.number(0);
        const FrameCodeModes fcm = mode(int(row.number(1)));
        EXPECT_EQ(TimeLabel::text(TimeUnit(frames), fcm), row[2]);
        TimeUnit time;
        const bool isLabel = std::isfinite(frames) && row[2].find(':') != std::string::npos;
        EXPECT_EQ(TimeLabel::read(row[2].c_str(), fcm, time) == TimeLabel::Good && time == TimeUnit(frames), isLabel)
            << row;
    }
}
