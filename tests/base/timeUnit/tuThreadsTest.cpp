#include "tuTestModes.h"

using namespace DM;
using namespace tuTest;

namespace
{

/// What the conversions make of a few times, in every mode and in the default mode.
std::string conversions()
{
    std::string all;
    char text[TimeUnit::timeSize];
    for (int n = 0; n < 400'000; n += 1777)
        for (const FrameCodeModes fcm : FcmUtil::getModes())
        {
            TimeUnit(n).toTimeCode(text, sizeof text, FCM_NOT_DEFINED);
            all += text;
            TimeUnit(n).toTime(text, fcm);
            all += text + std::to_string(Edl30to24fps(TimeUnit(n), fcm).getFrames());
        }
    return all;
}

} // namespace

TEST(TimeThreads, ConvertTheSameFromEveryThread)
{
    const DefaultFcm scope(FCM_59_94_DF);
    const std::string expected = conversions();
    std::jthread threads[8];
    for (std::jthread& thread : threads)
        thread = std::jthread(
            [&]
            {
                // A host that sets what is set already disturbs nobody.
                TimeUnit::setDefaultFcm(FCM_59_94_DF);
                TimeUnit::setDfBumpMode(DF_BUMP_TO_PREVIOUS);
                Tu23Data::setDefaultRefFrameType(TU2_3Conv::PD30_AA);
                EXPECT_TRUE(conversions() == expected);
            });
}
