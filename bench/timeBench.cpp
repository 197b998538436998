/// Timecode labels against the C library's formatted I/O of the same four numbers.
#include "tuTimeUnit.h"
#include "zrRatio.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <vector>

using namespace DM;

namespace
{

constexpr FrameCodeModes fcm = FCM_29_97_DF;

struct Label
{
    TimeUnit time;
    std::array<int, 4> fields;
    char text[TimeUnit::labelSize];
};

/// Labels from all over a day.
std::vector<Label> makeLabels()
{
    std::vector<Label> labels(2000);
    int n = 0;
    for (Label& label : labels)
    {
        auto& [hh, mm, ss, ff] = label.fields;
        label.time = TimeUnit(n);
        label.time.toTimeCode(hh, mm, ss, ff, fcm);
        label.time.toTimeCode(label.text, sizeof label.text, fcm);
        n = (n + 1'299'709) % (24 * FcmUtil::getFramesOneHour(fcm));
    }
    return labels;
}

} // namespace

int main()
{
    const std::vector<Label> labels = makeLabels();
    char text[64];
    zrRatio::print(
        "format a 29.97 DF label / snprintf", 0.5,
        [&]
        {
            for (const Label& label : labels)
            {
                label.time.toTimeCode(text, sizeof text, fcm);
                benchmark::DoNotOptimize(text);
            }
        },
        [&]
        {
            for (const Label& label : labels)
            {
                const auto& [hh, mm, ss, ff] = label.fields;
                std::snprintf(text, sizeof text, "%.2d;%.2d;%.2d;%.2d", hh, mm, ss, ff);
                benchmark::DoNotOptimize(text);
            }
        });
    zrRatio::print(
        "parse a label and count its frames / sscanf", 0.5,
        [&]
        {
            for (const Label& label : labels)
                benchmark::DoNotOptimize(TimeUnit().fromTimeCode(label.text, fcm).getFrames());
        },
        [&]
        {
            for (const Label& label : labels)
            {
                std::array<int, 4> fields{};
                auto& [hh, mm, ss, ff] = fields;
                benchmark::DoNotOptimize(std::sscanf(label.text, "%d;%d;%d;%d", &hh, &mm, &ss, &ff));
                benchmark::DoNotOptimize(fields);
            }
        });
}
