/// Reading a timeline of 100 000 clips from OpenTimelineIO JSON against the JSON library's own parse of the same bytes,
/// and the way back against the JSON library's writing of what was parsed.
#include "icOtioReader.h"
#include "icOtioWriter.h"
#include "zrAllocations.h"
#include "zrPeak.h"
#include "zrRatio.h"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace interchange;

namespace
{

constexpr int rounds = 5;

std::string time(std::uint32_t value)
{
    return R"({"OTIO_SCHEMA": "RationalTime.1", "rate": 24.0, "value": )" + std::to_string(value) + ".0}";
}

std::string range(std::uint32_t start, std::uint32_t length)
{
    return R"({"OTIO_SCHEMA": "TimeRange.1", "duration": )" + time(length) + R"(, "start_time": )" + time(start) + "}";
}

/// `isOld`: as programs wrote it that knew one media reference, and nothing of clips that are off.
std::string clip(std::uint32_t i, bool isOld)
{
    const std::string number = std::to_string(i);
    const std::string marker = R"({"OTIO_SCHEMA": "Marker.2", "metadata": {}, "name": "FIX", "color": "RED",)"
                               R"( "marked_range": )" +
                               range(90005 + i % 500, 1) + R"(, "comment": ""})";
    const std::string media = R"({"OTIO_SCHEMA": "ExternalReference.1", "metadata": {}, "name": "SHOT_)" + number +
                              R"(", "available_range": )" + range(90000, 2000) +
                              (isOld ? "" : R"(, "available_image_bounds": null)") +
                              R"(, "target_url": "file:///shows/bench/plates/SHOT_)" + number + R"(.mov"})";
    return R"({"OTIO_SCHEMA": "Clip.)" + std::string(isOld ? "1" : "2") +
           R"(", "metadata": {"cmx_3600": {"comments": ["SOURCE FILE: SHOT_)" + number + R"(.LAY1.02"], "reel": "A)" +
           std::to_string(100 + i % 300) + R"("}}, "name": "Shot )" + number + R"( LAY1", "source_range": )" +
           range(90005 + i % 500, 40 + i % 90) + R"(, "effects": [)" +
           (i % 25 == 3
                ? R"({"OTIO_SCHEMA": "LinearTimeWarp.1", "metadata": {}, "name": "", "effect_name": "", "time_scalar": 2.0})"
                : "") +
           R"(], "markers": [)" + (i % 20 == 7 ? marker : "") + "], " +
           (isOld ? R"("media_reference": )" + media + "}"
                  : R"("enabled": true, "media_references": {"DEFAULT_MEDIA": )" + media +
                        R"(}, "active_media_reference_key": "DEFAULT_MEDIA"})");
}

/// A timeline as editing systems write it, indented: here and there a dissolve, a gap, a marker and a speed.
std::string makeTimeline(std::uint32_t clips, bool isOld = false)
{
    std::string text = R"({"OTIO_SCHEMA": "Timeline.1", "metadata": {}, "name": "Bench", "global_start_time": )" +
                       time(86400) + R"(, "tracks": {"OTIO_SCHEMA": "Stack.1", "metadata": {}, "name": "tracks",)" +
                       R"( "source_range": null, "effects": [], "markers": [], "enabled": true, "children": [)" +
                       R"({"OTIO_SCHEMA": "Track.1", "metadata": {}, "name": "V1", "source_range": null,)" +
                       R"( "effects": [], "markers": [], "enabled": true, "kind": "Video", "children": [)";
    for (std::uint32_t i = 0; i < clips; ++i)
    {
        text += i == 0 ? "" : ", ";
        if (i % 10 == 5)
            text += R"({"OTIO_SCHEMA": "Transition.1", "metadata": {}, "name": "", "in_offset": )" + time(6) +
                    R"(, "out_offset": )" + time(6) + R"(, "transition_type": "SMPTE_Dissolve"}, )";
        if (i % 50 == 9)
            text += R"({"OTIO_SCHEMA": "Gap.1", "metadata": {}, "name": "", "source_range": )" + range(0, 12) +
                    R"(, "effects": [], "markers": [], "enabled": true}, )";
        text += clip(i, isOld);
    }
    text += "]}]}}";
    rapidjson::Document document;
    document.Parse(text.c_str());
    rapidjson::StringBuffer buffer;
    rapidjson::PrettyWriter writer(buffer);
    document.Accept(writer);
    return buffer.GetString();
}

CoSharedPtr<DmRoot> read(std::string text)
{
    Report report;
    CoSharedPtr<DmRoot> root = readOtio(std::move(text), DM::FCM_NOT_DEFINED, report);
    if (!root || report.count(Report::Warning) != 0)
    {
        std::fputs(report.toString("bench.otio").c_str(), stderr);
        std::exit(1);
    }
    return root;
}

/// How long reading takes beside the JSON library's parse. `root` gets what was read.
double readRatio(const std::string& text, CoSharedPtr<DmRoot>& root)
{
    std::vector<double> ratios;
    for (int i = 0; i < rounds; ++i)
    {
        // The reader takes the bytes over, as from a file that nobody needs any longer.
        std::string bytes = text;
        root.reset();
        const double reading = zrRatio::secondsOf([&] { root = read(std::move(bytes)); });
        ratios.push_back(reading / zrRatio::secondsOf(
                                       [&]
                                       {
                                           rapidjson::Document parsed;
                                           parsed.Parse(text.c_str());
                                           benchmark::DoNotOptimize(parsed.IsObject());
                                       }));
    }
    return zrRatio::median(std::move(ratios));
}

/// Takes what is written, and keeps none of it.
class Nowhere final : public Sink
{
public:
    bool write(std::string_view bytes) override
    {
        _size += bytes.size();
        return true;
    }
    std::size_t size() const { return _size; }

private:
    std::size_t _size = 0;
};

/// What writing takes beside the tree.
void printPeak(const DmRoot& root)
{
    constexpr double limit = 64;
    Nowhere nowhere;
    Report report;
    bool isWritten = false;
    const double peak = zrPeak::of([&] { isWritten = writeOtio(root, DM::FCM_NOT_DEFINED, nowhere, report); });
    if (!isWritten)
        std::exit(1);
    std::printf("writing %.0f MB of OTIO takes %.1f MB beside the tree, of %.0f: ratio %.2f (limit 1.00)\n",
                static_cast<double>(nowhere.size()) / 1e6, peak, limit, peak / limit);
}

/// What a document takes in memory, for twice as many clips over once.
double memoryGrowth(const std::string& once, const std::string& twice)
{
    const auto bytesOf = [](const std::string& text)
    {
        const std::size_t before = mallinfo2().uordblks;
        const CoSharedPtr<DmRoot> root = read(text);
        return static_cast<double>(mallinfo2().uordblks - before);
    };
    const double small = bytesOf(once);
    std::printf("a document of 10 000 clips takes %.0f bytes a clip\n", small / 10'000);
    return bytesOf(twice) / small;
}

} // namespace

int main()
{
    const std::string text = makeTimeline(100'000);
    CoSharedPtr<DmRoot> root;
    zrRatio::print("read 100 000 clips of OTIO / parse the same bytes", 1.6, readRatio(text, root));
    CoSharedPtr<DmRoot> older;
    zrRatio::print("read 100 000 clips of OTIO with one media reference each / parse the same bytes", 1.6,
                   readRatio(makeTimeline(100'000, true), older));
    older.reset();

    rapidjson::Document document;
    document.Parse(text.c_str());
    zrRatio::print(
        "write 100 000 clips of OTIO / write the same JSON", 1.5,
        [&]
        {
            Report report;
            benchmark::DoNotOptimize(writeOtio(*root, DM::FCM_NOT_DEFINED, report));
        },
        [&]
        {
            rapidjson::StringBuffer buffer;
            rapidjson::PrettyWriter writer(buffer);
            document.Accept(writer);
            benchmark::DoNotOptimize(std::string(buffer.GetString(), buffer.GetSize()));
        },
        rounds);

    printPeak(*root);
    const std::string once = makeTimeline(10'000);
    const std::string twice = makeTimeline(20'000);
    std::printf("allocations for a document of 20 000 clips / of 10 000: ratio %.2f (limit 2.05)\n",
                static_cast<double>(zrAllocations::of([&] { read(twice); })) /
                    static_cast<double>(zrAllocations::of([&] { read(once); })));
    zrRatio::print("bytes of a document of 20 000 clips / of 10 000", 2.05, memoryGrowth(once, twice));
}
