#include "edlTCConv.h"
#include "tuPulldown.h"
#include "tuTestModes.h"
#include "tuTimeUnit.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

using namespace DM;
using namespace tuTest;

namespace
{

/// Everything that the conversions make of a few times, in every mode and in the default mode.
std::string conversions()
{
    std::string all;
    const auto add = [&all](TimeUnit time) { all += std::to_string(time.getFrames()) + ' '; };
    char text[TimeUnit::timeSize];
    for (int n = 0; n < 400'000; n += 1777)
        for (const FrameCodeModes fcm : FcmUtil::getModes())
        {
            const TimeUnit time(n);
            for (const FrameCodeModes used : {fcm, FCM_NOT_DEFINED})
            {
                time.toTimeCode(text, sizeof text, used);
                all += text;
                add(TimeUnit().fromTimeCode(text, used));
                add(TimeUnit().fromTimeCode(0, n % 60, 0, 1, used, true, true));
            }
            time.toTime(text, fcm);
            all += text;
            add(Edl30to24fps(time, fcm));
            add(TU2_3Conv::to30fpsEquiv(time, TimeUnit(5), Tu23Data().getRefFrameType(), true, time));
        }
    return all;
}

} // namespace

TEST(TimeThreads, ConvertTheSameFromEveryThread)
{
    const DefaultFcm scope(FCM_59_94_DF);
    const std::string expected = conversions();
    std::atomic<int> different = 0;
    constexpr int count = 8;
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (int i = 0; i < count; ++i)
        threads.emplace_back(
            [&, i]
            {
                if (i == 0) // a host that sets what is set already disturbs nobody
                {
                    TimeUnit::setDefaultFcm(FCM_59_94_DF);
                    TimeUnit::setDfBumpMode(DF_BUMP_TO_PREVIOUS);
                    Tu23Data::setDefaultRefFrameType(TU2_3Conv::PD30_AA);
                }
                if (conversions() != expected)
                    ++different;
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(different, 0);
}
