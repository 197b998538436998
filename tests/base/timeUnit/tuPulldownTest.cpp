#include "tuTestModes.h"

using namespace DM;
using namespace tuTest;

namespace
{

using FilmVideo = TU2_3Conv;
const TimeUnit zero = TimeUnit::getZero();

FilmVideo::PD30FrameType type30(int type)
{
    return static_cast<FilmVideo::PD30FrameType>(type);
}

TuPPConv::PD25FrameType type25(int type)
{
    return static_cast<TuPPConv::PD25FrameType>(type);
}

} // namespace

TEST(Pulldown23, PositionsCycleFromTheReference)
{
    // clang-format off
    struct
    {
        double t, ref;
        int frameType, type30, type24;
    } const cases[] = {
        {0, 0, 0, 0, 0}, {4, 0, 0, 4, -1}, {5, 0, 0, 0, 0}, {-1, 0, 0, 4, -1}, {7, 100, 2, 4, -1}, {10, 8, 3, 0, 0},
        {0, 0, -1, 4, -1}, {1, 0, -1, 0, 0}, {0, 0, 12, 2, 2}, {2.9, 0, 0, 2, 2}, {0, 0, minCount, 2, 2},
        {infinity, 0, maxCount, 4, -1}, {-infinity, infinity, 0, 2, 2}, {notANumber, 0, 3, 3, 3}
    };
    // clang-format on
    for (const auto& row : cases)
    {
        const TimeUnit t(row.t);
        const TimeUnit ref(row.ref);
        SCOPED_TRACE(testing::Message() << row.t << ' ' << row.frameType);
        EXPECT_EQ(FilmVideo::getPD30FrameType(t, ref, type30(row.frameType)), row.type30);
        EXPECT_EQ(FilmVideo::getPD24FrameType(t, ref, type30(row.frameType)), row.type24);
    }
    const char* const names[] = {nullptr, "AA", "BB", "BC", "CD", "DD", nullptr};
    for (int type = -1; type < 6; ++type)
        EXPECT_STREQ(FilmVideo::get_pd30ftStr(type30(type)), names[type + 1]);
}

TEST(Pulldown23, ConvertsTimesByPhase)
{
    // Of the frames 0 to 9 and of -1 and -7, by the frame type at time zero.
    const double to30[5][12] = {{0, 1, 2, 3, 5, 6, 7, 8, 10, 11, -1, -8},
                                {0, 1, 2, 4, 5, 6, 7, 9, 10, 11, -1, -9},
                                {0, 1, 3, 4, 5, 6, 8, 9, 10, 11, -1, -9},
                                {0, 2, 3, 4, 5, 7, 8, 9, 10, 12, -2, -9},
                                {1, 2, 3, 4, 6, 7, 8, 9, 11, 12, -2, -9}};
    const double to24[5][12] = {{0, 1, 2, 3, 3, 4, 5, 6, 7, 7, -1, -6},
                                {0, 1, 2, 2, 3, 4, 5, 6, 6, 7, -1, -6},
                                {0, 1, 1, 2, 3, 4, 5, 5, 6, 7, -1, -5},
                                {0, 0, 1, 2, 3, 4, 4, 5, 6, 7, 0, -5},
                                {-1, 0, 1, 2, 3, 3, 4, 5, 6, 7, 0, -5}};
    const int times[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, -1, -7};
    for (int type = 0; type < 5; ++type)
        for (int i = 0; i < 12; ++i)
        {
            const TimeUnit t(times[i]);
            SCOPED_TRACE(testing::Message() << t << " type " << type);
            const TimeUnit in30(to30[type][i]);
            EXPECT_EQ(FilmVideo::to30fpsEquiv(t, zero, type30(type), false, zero), in30);
            EXPECT_EQ(FilmVideo::to24fpsEquiv(t, zero, type30(type), false, zero), TimeUnit(to24[type][i]));
            // A reference one frame later shifts the phase back by one.
            EXPECT_EQ(FilmVideo::to30fpsEquiv(t, TimeUnit(1), type30(type + 1), false, zero), in30);
        }
    EXPECT_EQ(FilmVideo::to30fpsEquiv(TimeUnit(infinity), zero, type30(0), false, zero).getFrames(), 2684354559.0);
    EXPECT_EQ(FilmVideo::to24fpsEquiv(TimeUnit(-infinity), zero, type30(0), false, zero).getFrames(), -1717986919.0);
}

TEST(Pulldown23, PadsDropFrameTimes)
{
    struct
    {
        double t, padding;
    } const cases[] = {{0, 0},    {998, 0},    {999, 1},      {1800, 1},      {3597, 3},
                       {3598, 5}, {17981, 33}, {17982, 18},   {35964, 36},    {17982 + 3598, 23},
                       {-1, 15},  {-999, 15},  {-17982, -18}, {notANumber, 0}};
    for (const auto& row : cases)
    {
        const TimeUnit t(row.t);
        EXPECT_EQ(FilmVideo::getDFPadding(t).getFrames(), row.padding) << row.t;
        EXPECT_EQ(FilmVideo::to30fpsEquiv(TimeUnit(8), zero, type30(0), true, t).getFrames(), 10 - row.padding);
        EXPECT_EQ(FilmVideo::to24fpsEquiv(TimeUnit(10 - row.padding), zero, type30(0), true, t).getFrames(), 8);
    }
    EXPECT_LT(FilmVideo::getDFPadding(TimeUnit(infinity)).getFrames(), 2147483647.0 / 900);
}

TEST(Pulldown23, ConvertsLengthsByPhase)
{
    const double compressed[5][6] = {
        {0, 1, 2, 2, 3, 4}, {0, 1, 1, 2, 3, 4}, {0, 0, 1, 2, 3, 4}, {0, 0, 1, 2, 3, 3}, {0, 1, 2, 3, 3, 4}};
    const double expanded[5][6] = {
        {0, 1, 3, 4, 5, 6}, {0, 2, 3, 4, 5, 7}, {0, 2, 3, 4, 6, 7}, {0, 2, 3, 5, 6, 7}, {0, 1, 2, 4, 5, 6}};
    for (int type = 0; type < 5; ++type)
        for (unsigned length = 0; length < 6; ++length)
        {
            SCOPED_TRACE(testing::Message() << length << " from " << type);
            EXPECT_EQ(FilmVideo::compressDuration(zero, length, zero, type30(type)),
                      TimeUnit(compressed[type][length]));
            EXPECT_EQ(FilmVideo::expandDuration(TimeUnit(type), length, zero, type30(0)),
                      TimeUnit(expanded[type][length]));
        }
    EXPECT_EQ(FilmVideo::compressDuration(zero, ~0U, zero, type30(0)).getFrames(), 3435973836.0);
    EXPECT_EQ(FilmVideo::expandDuration(zero, ~0U, zero, type30(0)).getFrames(), 5368709119.0);
}

TEST(PulldownPP, CarriesTwentyFourFramesInTwentyFive)
{
    const auto to24 = [](double t, int type = 0, double ref = 0)
    { return TuPPConv::to24fpsEquiv(TimeUnit(t), TimeUnit(ref), type25(type)).getFrames(); };
    const auto to25 = [](double t, int type = 0, double ref = 0)
    { return TuPPConv::to25fpsEquiv(TimeUnit(t), TimeUnit(ref), type25(type)).getFrames(); };
    struct
    {
        double t25, t24;
    } const cases[] = {{0, 0},   {11, 11}, {12, 12}, {23, 23}, {24, 23},  {25, 24},
                       {49, 47}, {50, 48}, {-1, -1}, {-2, -1}, {-25, -24}};
    for (const auto& row : cases)
        EXPECT_EQ(to24(row.t25), row.t24) << row.t25;
    for (int n = -100; n <= 100; ++n)
    {
        EXPECT_EQ(to24(to25(n)), n);
        for (int type = 0; type < 25; ++type)
        {
            EXPECT_EQ(to24(n + 25, type), to24(n, type) + 24);
            EXPECT_EQ(to25(n + 24, type), to25(n, type) + 25);
            EXPECT_EQ(to24(n, type, 3), to24(n, type + 22)) << "reference and type place the same cadence";
        }
    }
    EXPECT_EQ(to24(1, 23), 0) << "XX repeats its film frame";
    EXPECT_EQ(to25(1, 23), 2);
    EXPECT_EQ(to24(infinity), 2061584302.0);
    EXPECT_EQ(to24(0, minCount), 0);

    EXPECT_EQ(TuPPConv::getPD25FrameType(TimeUnit(-1), zero, type25(0)), TuPPConv::PD25_XX);
    EXPECT_STREQ(TuPPConv::get_pd25ftStr(TuPPConv::getPD25FrameType(TimeUnit(12), zero, type25(0))), "LM");
    EXPECT_STREQ(TuPPConv::get_pd25ftStr(TuPPConv::PD25_XX), "XX");
    EXPECT_EQ(TuPPConv::get_pd25ftStr(type25(25)), nullptr);
    EXPECT_EQ(TuPPConv::get_pd25ftStr(type25(-1)), nullptr);
}

TEST(PulldownPP, ConvertsLengths)
{
    struct
    {
        unsigned length;
        double compressed, expanded;
    } const cases[] = {{0, 0, 0},    {11, 11, 11}, {12, 12, 13},
                       {13, 12, 14}, {14, 13, 15}, {24, 23, 25},
                       {25, 24, 26}, {50, 48, 52}, {~0U, 4123168603.0, 4473924266.0}};
    for (const auto& row : cases)
    {
        EXPECT_EQ(TuPPConv::compressDuration(zero, row.length, zero, type25(0)), TimeUnit(row.compressed));
        EXPECT_EQ(TuPPConv::expandDuration(zero, row.length, zero, type25(0)), TimeUnit(row.expanded));
    }
    for (int type = 0; type < 25; ++type)
    {
        EXPECT_EQ(TuPPConv::compressDuration(zero, 0, zero, type25(type)), zero);
        EXPECT_EQ(TuPPConv::compressDuration(zero, 250, zero, type25(type)), TimeUnit(240));
        EXPECT_EQ(TuPPConv::expandDuration(TimeUnit(type), 240, zero, type25(0)), TimeUnit(250));
    }
}

TEST(PulldownData, TakesTheDefaultFrameTypeAndCopiesWhole)
{
    EXPECT_EQ(Tu23Data().getRefFrameType(), FilmVideo::PD30_AA);
    Tu23Data::setDefaultRefFrameType(FilmVideo::PD30_CD);
    EXPECT_EQ(Tu23Data().getRefFrameType(), FilmVideo::PD30_CD);
    Tu23Data::setDefaultRefFrameType(FilmVideo::PD30_AA);

    const Tu23Data data(true, TimeUnit(12), FCM_29_97_DF, FilmVideo::PD30_BC, TimeUnit(1800));
    Tu23Data copy;
    copy.copy(data);
    EXPECT_TRUE(copy.getFlag() && copy.getRefTime() == TimeUnit(12) && copy.getFcm() == FCM_29_97_DF &&
                copy.getRefFrameType() == FilmVideo::PD30_BC && copy.getDfRefTime() == TimeUnit(1800));
}
