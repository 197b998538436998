/// Reading a cut list of 10 000 events against splitting the same bytes into lines, and the memory that XML takes of
/// which every element becomes something.
#include "icEdlReader.h"
#include "icEdlToTree.h"
#include "icEdlWriter.h"
#include "icInterchange.h"
#include "zrAllocations.h"
#include "zrDocuments.h"
#include "zrPeak.h"
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
        event.transitionLength = 0;
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

/// The most memory that reading a file takes which is 3 MB of one element, over its size.
void printPeakOfXml()
{
    enum Place
    {
        OnTrack,
        InClip,
        AsEffect,
        AsTrack,
        InSequence,
        InDocument
    };
    const struct
    {
        const char* what;
        Place place;
        const char* element; ///< with the count in place of each '%'
    } kinds[] = {
        {"small clip items", OnTrack, "<clipitem><a>%</a><in>0</in><out>1</out><end>1%</end></clipitem>\n"},
        {"clip items with an id", OnTrack, "<clipitem id=\"%\"><in>0</in><out>1</out><end>1%</end></clipitem>\n"},
        {"transitions", OnTrack,
         "<transitionitem><start>%0</start><end>%9</end><alignment>center</alignment></transitionitem>\n"},
        {"bare transitions", OnTrack, "<transitionitem><start>%0</start><end>%9</end></transitionitem>\n"},
        {"clip items that say two warnings each", OnTrack,
         "<clipitem><in>0</in><out>9</out><start>1%</start><end>1%.9</end></clipitem>\n"},
        {"clip items whose lengths disagree", OnTrack,
         "<clipitem><in>0</in><out>9</out><start>1%</start><end>1%9</end></clipitem>\n"},
        {"clip items that begin between frames and overlap", OnTrack,
         "<clipitem><start>1%.1</start><end>1%2.9</end></clipitem>\n"},
        {"clip items that play from before their file", OnTrack, "<clipitem><end>1%</end><in>-9</in></clipitem>\n"},
        {"clip items of which nothing is a number", OnTrack,
         "<clipitem><in>x</in><out>x</out><start>x</start><end>x</end></clipitem>\n"},
        {"transitions of which nobody knows the alignment", OnTrack,
         "<transitionitem><start>%0</start><end>%9</end><alignment>x</alignment></transitionitem>\n"},
        {"files", OnTrack, "<clipitem><end>1%</end><file id=\"%\"><name>a</name></file></clipitem>\n"},
        {"files of one id", OnTrack,
         "<clipitem><start>1%</start><end>2%</end><file id=\"f\"><name>%</name><a>%</a></file></clipitem>\n"},
        {"clips linked with themselves", OnTrack,
         "<clipitem id=\"%\"><end>1%</end><link><linkclipref>%</linkclipref></link></clipitem>\n"},
        {"clip items without a length", OnTrack, "<clipitem><start>%</start></clipitem>\n"},
        {"key frames", InClip, "<keyframe><when>%</when><value>9</value></keyframe>\n"},
        {"key frames without a value", InClip, "<keyframe><when/><value/></keyframe>\n"},
        {"effects of one clip", AsEffect,
         "<filter><effect><effectid>opacity</effectid><parameter><parameterid>opacity</parameterid><value>1</value>"
         "</parameter></effect></filter>\n"},
        {"tracks", AsTrack, "<track><enabled>TRUE</enabled><locked>FALSE</locked></track>\n"},
        {"bare tracks", AsTrack, "<track/>\n"},
        {"empty markers", InSequence, "<marker/>\n"},
        {"markers with an in", InSequence, "<marker><in>%</in></marker>\n"},
        {"markers with a name", InSequence, "<marker><name>m%</name><in>%</in><out>-1</out></marker>\n"},
        {"sequences", InDocument,
         "<sequence id=\"%\"><name>cut %</name><rate><timebase>25</timebase></rate><media/></sequence>\n"},
        {"sequences without a rate", InDocument, "<sequence><media/></sequence>\n"},
        {"sequences in which nothing is a number", InDocument,
         "<sequence><rate><timebase>25</timebase></rate><timecode><frame>x</frame><displayformat/></timecode>"
         "<duration/><in/><out/></sequence>\n"},
        {"markers in which nothing is a number", InSequence, "<marker><in>x</in><out>x</out></marker>\n"},
        {"elements that nobody knows", InSequence, "<x/>\n"},
    };
    constexpr std::size_t size = std::size_t{3} << 20;
    for (const auto& each : kinds)
    {
        std::string elements;
        for (int i = 0; elements.size() < size; ++i)
            for (const char* c = each.element; *c; ++c)
                *c == '%' ? elements.append(std::to_string(i)) : elements.append(1, *c);
        const char* begin = "";
        const char* end = "";
        switch (each.place)
        {
        case InClip:
            begin = "<media><video><track><clipitem><start>0</start><end>9</end><filter><effect><effectid>opacity"
                    "</effectid><parameter><parameterid>opacity</parameterid>";
            end = "</parameter></effect></filter></clipitem></track></video></media>";
            break;
        case AsEffect:
            begin = "<media><video><track><clipitem><start>0</start><end>9</end>";
            end = "</clipitem></track></video></media>";
            break;
        case OnTrack:
            begin = "<media><video><track>";
            end = "</track></video></media>";
            break;
        case AsTrack:
            begin = "<media><video>";
            end = "</video></media>";
            break;
        case InSequence:
        case InDocument:
            break;
        }
        const std::string sequence = "<sequence><rate><timebase>25</timebase></rate>" + std::string(begin);
        const std::string file =
            "<xmeml>" + (each.place == InDocument ? elements : sequence + elements + end + "</sequence>") + "</xmeml>";
        std::string said;
        const double peak = zrPeak::of(
            [&]
            {
                Options options;
                options.format = "fcp7xml";
                options.lenient = true;
                const Reading reading = readBuffer(file, options);
                // What is refused was as large up to there.
                said = reading.root ? "" : " (refused)";
            });
        const std::string name = "memory for XML of nothing but " + std::string(each.what) + said + " / the file";
        zrRatio::print(name.c_str(), 30, peak * (1 << 20) / static_cast<double>(file.size()));
    }
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

    // The events are objects then, and their making and freeing is what costs: held against opening what it becomes.
    const auto toTree = [](const std::string& list)
    {
        Report report;
        return edlToTree(*readEdl(list, DM::FCM_24, report), report);
    };
    std::string document;
    zrDocuments::must(
        DmTreeJsonBuilder::generateUtf8(toTree(text).get(), document, DmTreeJsonBuilder::Layout::Compact));
    zrRatio::print(
        "open a cut list of 10 000 events / open the document that it becomes", 2,
        [&] { benchmark::DoNotOptimize(toTree(text)); },
        [&]
        {
            CoSharedPtr<DmRoot> root;
            zrDocuments::must(DmJsonImporter::importRootFromStr(document.c_str(), root));
            benchmark::DoNotOptimize(root);
        },
        11);

    const std::string twice = makeList(20'000);
    std::printf("allocations for a document of 20 000 events / of 10 000: ratio %.2f (limit 2.05)\n",
                static_cast<double>(zrAllocations::of([&] { std::ignore = toTree(twice); })) /
                    static_cast<double>(zrAllocations::of([&] { std::ignore = toTree(text); })));

    printPeakOfXml();
}
