#include "icOtioReader.h"
#include "icOtioWriter.h"

#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmLayerNode.h"
#include "dmReelNode.h"
#include "dmSourceInput.h"
#include "dmTimewarpSettings.h"
#include "dmTrackNode.h"
#include "dmTreeTool.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>

using namespace interchange;

namespace
{

struct Read
{
    CoSharedPtr<DmRoot> root;
    std::string messages;

    DmCompositionNode& composition() const { return dynamic_cast<DmCompositionNode&>(*root->getChild(0)); }
    DmTreeNode& element(int index, int track = 0) const
    {
        return *dynamic_cast<DmTrackNode&>(*composition().getChild(track)).getChild(0)->getChild(index);
    }
    DmSegmentNode& segment(int index) const { return dynamic_cast<DmSegmentNode&>(element(index)); }
};

Read read(const std::string& text, DM::FrameCodeModes fcm = DM::FCM_NOT_DEFINED,
          Report::Leniency leniency = Report::Strict)
{
    Report report("cut.otio", leniency);
    Read result{readOtio(text, fcm, report), report.toString()};
    auto* const composition = result.root ? dynamic_cast<DmCompositionNode*>(result.root->getChild(0)) : nullptr;
    for (const DmTreeViolation& violation : DmTreeTool::findViolations(composition, DM_VALIDATE_ALL))
        ADD_FAILURE() << violation.path << ": " << dmUtf8(violation.message);
    return result;
}

/// Without the indentation.
std::string write(const DmRoot& root)
{
    Report report("cut.json");
    const std::string text = writeOtio(root, DM::FCM_NOT_DEFINED, report).value_or("") + report.toString();
    std::string compact;
    bool isString = false;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] == '"' && text[i - 1] != '\\')
            isString = !isString;
        if (isString || (text[i] != ' ' && text[i] != '\n'))
            compact += text[i];
    }
    return compact;
}

// Small documents, in the order in which the writer writes members

std::string time(double value, const char* rate = "25.0")
{
    return R"({"OTIO_SCHEMA":"RationalTime.1","rate":)" + std::string(rate) + R"(,"value":)" +
           std::to_string(static_cast<int>(value)) + ".0}";
}
std::string range(double start, double length, const char* rate = "25.0")
{
    return R"({"OTIO_SCHEMA":"TimeRange.1","duration":)" + time(length, rate) + R"(,"start_time":)" +
           time(start, rate) + "}";
}
/// The further members begin with a comma.
std::string clip(const char* name, const std::string& played, const std::string& further = "")
{
    return R"({"OTIO_SCHEMA":"Clip.2","name":")" + std::string(name) + R"(","source_range":)" + played + further + "}";
}
std::string file(const std::string& available)
{
    return R"(,"media_reference":{"OTIO_SCHEMA":"ExternalReference.1","available_range":)" + available +
           R"(,"name":"roll","target_url":"file:///roll.mov"})";
}
std::string transition(double in, double out)
{
    return R"({"OTIO_SCHEMA":"Transition.1","in_offset":)" + time(in) + R"(,"out_offset":)" + time(out) +
           R"(,"transition_type":"SMPTE_Dissolve"})";
}
std::string track(const std::string& children, const char* kind = "Video")
{
    return R"({"OTIO_SCHEMA":"Track.1","kind":")" + std::string(kind) + R"(","children":[)" + children + "]}";
}
std::string stack(const std::string& children, const std::string& further = "")
{
    return R"({"OTIO_SCHEMA":"Stack.1","name":"inside")" + further + R"(,"children":[)" + children + "]}";
}
std::string timeline(const std::string& tracks)
{
    return R"({"OTIO_SCHEMA":"Timeline.1","name":"T","global_start_time":)" + time(100) + R"(,"tracks":)" +
           stack(tracks) + "}";
}

} // namespace

TEST(Otio, GivesEveryMemberBack)
{
    const std::string one = clip("one", range(10, 20), file(range(0, 50)));
    struct Case
    {
        const char* feature;
        std::string text;
    };
    const Case cases[] = {
        {"unknown members and metadata", clip("a", range(0, 5), R"(,"metadata":{"x":[1,null,{"y":2.5}]},"odd":true)")},
        {"bare clip", one},
        {"bare track", track(one, "Audio")},
        {"bare stack of clips", stack(one + "," + one)},
        {"timeline", timeline(track(one) + "," + track(one, "Audio"))},
        {"collection", R"({"OTIO_SCHEMA":"SerializableCollection.1","name":"bin","children":[)" + one + "," +
                           timeline(track(one)) + "]}"},
        {"no name", R"({"OTIO_SCHEMA":"Clip.1","source_range":)" + range(0, 5) + "}"},
        {"transition", track(one + "," + transition(4, 5) + "," + one)},
        {"transitions at both ends", track(transition(4, 5) + "," + one + "," + transition(4, 5))},
        {"clip that its transitions take",
         track(one + "," + transition(10, 10) + "," + one + "," + transition(10, 5) + "," + one)},
        {"transition longer than its clips", track(one + "," + transition(400, 500) + "," + one)},
        {"gap, and one without a range", track(R"({"OTIO_SCHEMA":"Gap.1","source_range":)" + range(0, 9) + "}," + one +
                                               R"(,{"OTIO_SCHEMA":"Gap.1","source_range":null})")},
        {"unknown schema", track(one + R"(,{"OTIO_SCHEMA":"Odd.3","source_range":)" + range(0, 9) + "}")},
        {"nested stack and track", track(stack(track(one), R"(,"source_range":)" + range(3, 7)) + "," + track(one))},
        {"several references",
         clip("a", "null",
              R"(,"active_media_reference_key":"hi","media_references":{"lo":null,"hi":)"
              R"({"OTIO_SCHEMA":"ImageSequenceReference.1","available_range":)" +
                  range(5, 9) + R"(,"name_prefix":"p.","frame_zero_padding":4,"start_frame":7}})")},
        {"generator", clip("a", range(0, 5),
                           R"(,"media_reference":{"OTIO_SCHEMA":"GeneratorReference.1",)"
                           R"("generator_kind":"SMPTEBars","parameters":{"a":1}})")},
        {"markers", clip("a", range(5, 9),
                         R"(,"markers":[{"OTIO_SCHEMA":"Marker.2","color":"MINT","marked_range":)" +
                             range(6, 0, "1.0") + R"(},{"OTIO_SCHEMA":"Marker.3","color":{"r":0.5}}])")},
        {"effects and mute", clip("a", range(0, 5),
                                  R"(,"enabled":false,"effects":[{"OTIO_SCHEMA":"Blur.1"},)"
                                  R"({"OTIO_SCHEMA":"LinearTimeWarp.1","time_scalar":-2.0}])")},
        {"stills and reverse of sound",
         track(clip("a", range(0, 5), R"(,"effects":[{"OTIO_SCHEMA":"FreezeFrame.1"}])"), "Audio")},
        {"before the material", clip("a", range(-7, 5), file(range(0, 50)))},
    };
    for (const Case& each : cases)
    {
        SCOPED_TRACE(each.feature);
        Report report("cut.otio");
        // A rate of one has no mode, which is no mistake where the mode is given.
        const CoSharedPtr<DmRoot> root = readOtio(each.text, DM::FCM_25, report);
        ASSERT_TRUE(root) << report.toString();
        EXPECT_EQ(write(*root), each.text);
    }
}

TEST(Otio, LaysTransitionsBetweenWhatTheyOverlap)
{
    const std::string one = clip("one", range(10, 20), file(range(4, 50)));
    const Read made = read(timeline(track(one + "," + transition(4, 5) + "," + one)));
    ASSERT_TRUE(made.root) << made.messages;
    const auto& mix = dynamic_cast<DmTrxEffectNode&>(made.element(1));
    const std::array<double, 8> times{made.segment(0).getRecIn(),
                                      made.segment(0).getRecLength(),
                                      made.segment(0).getRelIn(),
                                      mix.getRecIn(),
                                      mix.getRecLength(),
                                      made.segment(2).getRecIn(),
                                      made.segment(2).getRecLength(),
                                      made.segment(2).getRelIn()};
    EXPECT_EQ(times, (std::array<double, 8>{100, 16, 6, 116, 9, 125, 15, 11}));
    EXPECT_EQ(made.composition().getStartTC(), 100);
    EXPECT_EQ(made.composition().getCompLength(), 40);
    const auto& source = dynamic_cast<DmSourceNode&>(made.element(0));
    EXPECT_EQ(source.getSrcInput()->getSrcLength(), 50);
    EXPECT_EQ(source.getSrcInput()->getSrcInfo()->getPath(), L"file:///roll.mov");
    EXPECT_EQ(dynamic_cast<DmSourceNode::MediaInput&>(*source.getSrcInput()).getSrcIn(), 4);
}

TEST(Otio, WritesWhatWasEdited)
{
    struct Case
    {
        const char* what;
        std::function<eDmErrorId(DmSourceNode&)> edit;
        std::string expected;
    };
    const auto media = [](DmSourceNode& node) -> DmSourceNode::Input& { return *node.getSrcInput(); };
    const Case cases[] = {
        {"name", [](DmSourceNode& node) { return node.setName(L"two"); }, R"("name":"two")"},
        {"length", [](DmSourceNode& node) { return node.setRecLength(12); }, range(10, 12)},
        {"begin", [](DmSourceNode& node) { return node.setRelIn(9); }, range(9, 20)},
        {"mute", [](DmSourceNode& node) { return node.setMuted(true); }, R"("enabled":false)"},
        {"material", [&](DmSourceNode& node) { return media(node).setSrcLength(60); }, range(0, 60)},
        {"path", [&](DmSourceNode& node) { return media(node).getSrcInfo()->setPath(L"b.mov"); },
         R"("target_url":"b.mov")"},
        {"marker", [](DmSourceNode& node) { return node.addSegmentMark(DmCueMark::create(L"hit", 3)); },
         R"("name":"hit")"},
        {"speed", [](DmSourceNode& node) { return node.addEffect(DmVTimewarpSettings::create()); },
         R"("time_scalar":1.0)"},
    };
    for (const Case& each : cases)
    {
        SCOPED_TRACE(each.what);
        const Read made = read(timeline(track(clip("one", range(10, 20), file(range(0, 50)) + R"(,"odd":1)"))));
        ASSERT_TRUE(made.root) << made.messages;
        EXPECT_EQ(write(*made.root).find(each.expected), std::string::npos);
        ASSERT_EQ(each.edit(dynamic_cast<DmSourceNode&>(made.element(0))), DM_NO_ERROR);
        const std::string text = write(*made.root);
        EXPECT_NE(text.find(each.expected), std::string::npos) << text;
        EXPECT_NE(text.find(R"("odd":1)"), std::string::npos) << text;
    }
}

TEST(Otio, SaysWhatIsWrongAndWhere)
{
    struct Case
    {
        std::string text;
        const char* message;
    };
    const Case cases[] = {
        {"", "cut.otio:1: The document is empty."},
        {"{\n\n\"a\":", "cut.otio:3: "},
        {std::string("{}\0{}", 5), "cut.otio:1: a null character"},
        {std::string(100000, '['), "cut.otio:1: nested too deeply"},
        {"[]", "no timeline, stack, track or clip"},
        {"\n" + clip("a", range(0, 5, "48.0")), "no frame-code mode has the rate 48.0"},
        {"\n" + clip("a", "null"), "cut.otio:2: an item without a length"},
        {"\n" + clip("a", range(0, -5)), "a negative duration"},
        {track("\n7"), "a child that is no object"},
        {track(clip("a", range(0, 5)) + ",\n" + transition(-1, 2)), "cut.otio:2: a transition with a negative offset"},
    };
    for (const Case& each : cases)
    {
        const Read made = read(each.text);
        EXPECT_FALSE(made.root) << each.text.substr(0, 200);
        EXPECT_NE(made.messages.find(each.message), std::string::npos) << made.messages;
    }
}

TEST(Otio, ConvertsRatesAndTellsByHowMuch)
{
    const Read exact = read(track(clip("a", range(25, 50)) + "," + clip("b", range(50, 100, "50.0"))));
    ASSERT_TRUE(exact.root) << exact.messages;
    EXPECT_EQ(exact.segment(2).getRecLength(), 50);
    EXPECT_EQ(exact.messages.find("warning"), std::string::npos) << exact.messages;

    const Read moved = read(clip("a", range(0, 12, "48.0")), DM::FCM_25);
    ASSERT_TRUE(moved.root) << moved.messages;
    EXPECT_EQ(moved.segment(0).getRecLength(), 6);
    EXPECT_NE(moved.messages.find("at most 0.25 frames (10 ms)"), std::string::npos) << moved.messages;
}
