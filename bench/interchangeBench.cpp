/// Reading a cut list of 10 000 events against splitting the same bytes into lines.
#include "dmTreeTool.h"
#include "icEdlReader.h"
#include "icEdlToTree.h"
#include "icEdlWriter.h"
#include "zrAllocations.h"
#include "zrRatio.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

using namespace interchange;

namespace
{

/// A list as a feature film's reel has it: names and files for every event, here and there a dissolve, a speed, a look
/// and a locator.
std::string makeList(std::uint32_t events)
{
    EdlList list;
    list.title = "Bench";
    list.fcm = DM::FCM_24;
    EdlEvent event;
    event.channels.video = 1;
    std::int64_t record = 86400;
    for (std::uint32_t i = 0; i < events; ++i)
    {
        const std::int64_t in = 90000 + i * 7 % 5000;
        const std::int64_t length = 20 + i % 90;
        event.number = i + 1;
        event.reel = list.keep("A" + std::to_string(100 + i % 300) + "C00" + std::to_string(i % 7));
        event.transition = EdlTransition::Cut;
        if (i % 10 == 5)
        {
            event.source = {in - 100, in - 100};
            event.record = {record, record};
            list.addEvent(event);
            event.transition = EdlTransition::Dissolve;
            event.transitionLength = 12;
        }
        event.source = {in, in + length};
        event.record = {record, record + length};
        record += length;
        list.addEvent(event);
        list.addNote(NoteKind::FromClipName,
                     list.keep("Shot " + std::to_string(i) + " (LAY" + std::to_string(i % 4) + ")"));
        list.addNote(NoteKind::SourceFile, list.keep("SHOT_" + std::to_string(i) + ".LAY1.02"));
        if (i % 25 == 3)
            list.events.back().speed = EdlSpeed{24, in};
        if (i % 20 == 7)
            list.look() = Look{{0.9, 1, 1.1}, {0.01, 0, -0.01}, {1, 1, 1}, 0.9, true, true};
        if (i % 20 == 3)
            list.addMarker({record - 5, "RED", "FIX"});
    }
    return writeEdl(list);
}

std::vector<std::string> splitIntoLines(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();)
    {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.emplace_back(text, begin, end - begin);
        begin = end + 1;
    }
    return lines;
}

} // namespace

int main()
{
    const std::string text = makeList(10'000);
    zrRatio::print(
        "read a cut list of 10 000 events / split it into lines", 3,
        [&]
        {
            Report report;
            benchmark::DoNotOptimize(readEdl(text, DM::FCM_24, report));
        },
        [&] { benchmark::DoNotOptimize(splitIntoLines(text)); });

    // The events are objects then, and their making and freeing is what costs: held against a copy of the same objects.
    const auto toTree = [](const std::string& list)
    {
        Report report;
        return edlToTree(*readEdl(list, DM::FCM_24, report), report);
    };
    const CoSharedPtr<DmRoot> document = toTree(text);
    zrRatio::print(
        "turn a cut list of 10 000 events into a document / clone that document", 2,
        [&] { benchmark::DoNotOptimize(toTree(text)); },
        [&] { benchmark::DoNotOptimize(DmTreeTool::deepClone(document)); }, 11);

    const std::string twice = makeList(20'000);
    std::printf("allocations for a document of 20 000 events / of 10 000: ratio %.2f (limit 2.05)\n",
                static_cast<double>(zrAllocations::of([&] { std::ignore = toTree(twice); })) /
                    static_cast<double>(zrAllocations::of([&] { std::ignore = toTree(text); })));
}
