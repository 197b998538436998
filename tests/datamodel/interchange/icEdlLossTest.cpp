/// What lists and documents lose on the way to each other, and what they do not.
#include "../tree/treeTools.h"
#include "icEdlToTree.h"
#include "icInterchange.h"
#include "icTestLists.h"
#include "icTreeToEdl.h"

#include "dmContainerNode.h"
#include "dmPlayed.h"
#include "dmTimewarpSettings.h"
#include "dmTrackBuilder.h"

using namespace interchange;
using icTest::readClean;

namespace
{

const std::string head = "TITLE: T\nFCM: NON-DROP FRAME\n";

struct Written
{
    std::string text; ///< without its rate
    std::string messages;
};

Written write(const DmRoot& root, const Options& options = {})
{
    Report report;
    const std::optional<EdlList> list = treeToEdl(root, options, report);
    return {list ? icTest::written(*list) : "", report.toString("cut")};
}

CoSharedPtr<DmRoot> document(const EdlList& list)
{
    Report report;
    return edlToTree(list, report);
}

/// A list that is read and written back, perhaps through another format.
std::string again(const std::string& text, DM::FrameCodeModes fcm, const char* through = nullptr)
{
    const icTest::Read result = icTest::read(text, fcm);
    if (!result.list)
        return result.messages;
    CoSharedPtr<DmRoot> root = document(*result.list);
    if (through)
    {
        Options options;
        options.format = through;
        std::string bytes;
        EXPECT_TRUE(writeBuffer(*root, bytes, options).done);
        root = readBuffer(bytes).root;
    }
    return root ? write(*root).text : "";
}

CoSharedPtr<DmSourceNode> shot(const wchar_t* reel, eDmTreeMediaType mediaType, double srcIn, double length,
                               double relIn, double speed = 1.0, const wchar_t* fcm = L"24 fps")
{
    const auto input = DmSourceNode::MediaInput::create(10000, srcIn, DmSourceInfo::create(), fcm, mediaType, true);
    ok(input->setFcm(fcm));
    ok(input->getSrcInfo()->setReelName(reel));
    auto node = DmSourceNode::create(input, 0, length, relIn, false, false);
    ok(node->setName(reel));
    if (speed != 1.0)
    {
        const auto warp = DmVTimewarpSettings::create();
        ok(warp->setSpeed(speed));
        ok(node->addEffect(warp));
    }
    return node;
}

struct Cut
{
    CoSharedPtr<DmRoot> root = DmRoot::create();
    CoSharedPtr<DmCompositionNode> composition = DmCompositionNode::create(L"T", L"24 fps", {});

    Cut() { root->addChild(composition); }
    void add(int number, eDmTreeMediaType mediaType, const std::vector<CoSharedPtr<DmTreeNode>>& elements) const
    {
        DmTrackBuilder track(number, mediaType);
        for (const CoSharedPtr<DmTreeNode>& each : elements)
            ok(track.append(each));
        ok(track.addTo(*composition));
    }
};

DmSourceNode& sourceOf(const DmRoot& root, int element, int track = 0)
{
    return dynamic_cast<DmSourceNode&>(*root.getChild(0)->getChild(track)->getChild(0)->getChild(element));
}

std::string line(const char* number, const char* reel, const char* channels, const char* times)
{
    char text[200];
    std::snprintf(text, sizeof text, "%-5s%-9s%-6sC        %s\n", number, reel, channels, times);
    return text;
}

} // namespace

TEST(EdlLoss, LeavesHolesAndLetsTheLaterSegmentCoverTheEarlier)
{
    const Cut cut;
    const auto late = shot(L"B", DM_MEDIA_VIDEO, 0, 48, 0);
    cut.add(1, DM_MEDIA_VIDEO, {shot(L"A", DM_MEDIA_VIDEO, 0, 48, 0), late});
    ok(late->setRecIn(72));
    const std::string a =
        line("001", "A", "V", "00:00:00:00 00:00:02:00 00:00:00:00 00:00:02:00") + "* FROM CLIP NAME: A\n";
    EXPECT_EQ(write(*cut.root).text, head + a +
                                         line("002", "B", "V", "00:00:00:00 00:00:02:00 00:00:03:00 00:00:05:00") +
                                         "* FROM CLIP NAME: B\n");
    ok(late->setRecIn(24));
    const Written over = write(*cut.root);
    EXPECT_EQ(over.text, head + line("001", "A", "V", "00:00:00:00 00:00:01:00 00:00:00:00 00:00:01:00") +
                             "* FROM CLIP NAME: A\n" +
                             line("002", "B", "V", "00:00:00:00 00:00:02:00 00:00:01:00 00:00:03:00") +
                             "* FROM CLIP NAME: B\n");
    EXPECT_EQ(over.messages,
              "cut: warning: A, V1, 00:00:00:00: segments that overlap the one before them: the later one "
              "covers the end of the earlier\n");
}

TEST(EdlLoss, MakesOneEventOfOneClipOnSeveralChannelsOnly)
{
    struct Case
    {
        const wchar_t* path;
        double relIn;
        double speed;
        const char* channels; ///< of the first event
    };
    // Against the picture: /a.mov from its begin at normal speed.
    const Case cases[] = {
        {L"/a.mov", 0, 1, "B"}, {L"/b.mov", 0, 1, "V"}, {L"/a.mov", 1, 1, "V"}, {L"/a.mov", 0, 2, "V"}};
    for (const Case& each : cases)
    {
        const Cut cut;
        const auto picture = shot(L"", DM_MEDIA_VIDEO, 0, 48, 0);
        ok(picture->getSrcInput()->getSrcInfo()->setPath(L"/a.mov"));
        const auto sound = shot(L"", DM_MEDIA_AUDIO, 0, 48, each.relIn);
        ok(sound->getSrcInput()->getSrcInfo()->setPath(each.path));
        if (each.speed != 1)
        {
            const auto warp = DmATimewarpSettings::create();
            ok(warp->setRatio(static_cast<float>(1 / each.speed)));
            ok(sound->addEffect(warp));
        }
        cut.add(1, DM_MEDIA_VIDEO, {picture});
        cut.add(1, DM_MEDIA_AUDIO, {sound});
        const std::string text = write(*cut.root).text;
        EXPECT_NE(text.find(line("001", "AX", each.channels, "00:00:00:00 00:00:02:00 00:00:00:00 00:00:02:00")),
                  text.npos)
            << text;
    }
    // Three stems, and events that stood apart in the list.
    const Cut stems;
    for (int i = 1; i <= 3; ++i)
    {
        const auto stem = shot(L"", DM_MEDIA_AUDIO, 0, 48, 0);
        ok(stem->getSrcInput()->getSrcInfo()->setPath(DmString(std::wstring(L"/stem") + std::to_wstring(i))));
        stems.add(i, DM_MEDIA_AUDIO, {stem});
    }
    EXPECT_NE(write(*stems.root).text.find("003  AX       NONE "), std::string::npos) << write(*stems.root).text;
    const char* const times = "01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00";
    const std::string apart = head + line("001", "A", "A", times) + line("002", "A", "A2", times);
    EXPECT_EQ(again(apart, DM::FCM_24), apart);
    EXPECT_EQ(again(apart, DM::FCM_24, "otio"), apart);
}

TEST(EdlLoss, SaysAtWhatSpeedWhichFramesPlay)
{
    // A at 200 % up to 7:22, a dissolve of a second, B at 50 % from there on; C backwards.
    const Cut cut;
    const auto mix = DmTrxEffectNode::create(DmVDissolveSettings::create(), 0, 24);
    cut.add(1, DM_MEDIA_VIDEO,
            {shot(L"A", DM_MEDIA_VIDEO, 0, 48, 190 - 96, 2), mix, shot(L"B", DM_MEDIA_VIDEO, 0, 48, 309, 0.5),
             shot(L"C", DM_MEDIA_VIDEO, 0, 49, 206, -1)});
    const std::string text = write(*cut.root).text;
    EXPECT_EQ(text, head + "001  A        V     C        00:00:03:22 00:00:07:22 00:00:00:00 00:00:02:00\n"
                           "M2   A              048.0                00:00:03:22\n* FROM CLIP NAME: A\n"
                           "002  A        V     C        00:00:07:22 00:00:07:22 00:00:02:00 00:00:02:00\n"
                           "M2   A              048.0                00:00:07:22\n"
                           "002  B        V     D    024 00:00:12:09 00:00:13:21 00:00:02:00 00:00:05:00\n"
                           "M2   B              012.0                00:00:12:09\n"
                           "* FROM CLIP NAME: A\n* TO CLIP NAME: B\n"
                           "003  C        V     C        00:00:08:14 00:00:10:15 00:00:05:00 00:00:07:01\n"
                           "M2   C              -024.0               00:00:08:14\n* FROM CLIP NAME: C\n");
    // Read, each plays the same frames at the same time; so it does by way of the other format.
    for (const char* const through : {"edl", "otio"})
    {
        Options options;
        options.format = through;
        std::string bytes;
        ASSERT_TRUE(writeBuffer(*cut.root, bytes, options).done);
        const CoSharedPtr<DmRoot> back = readBuffer(bytes).root;
        ASSERT_TRUE(back);
        for (const int element : {0, 2, 4})
        {
            const DmSourceNode& before = sourceOf(*cut.root, element);
            const DmSourceNode& behind = sourceOf(*back, element);
            const auto begin = [](const DmSourceNode& node)
            { return dynamic_cast<const DmSourceNode::MediaInput&>(*node.getSrcInput()).getSrcIn(); };
            for (const double at : {0.0, before.getRecLength() - 1})
                EXPECT_EQ(begin(behind) + *DmPlayed(behind, DM::FCM_24).positionAt(behind.getRecIn() + at),
                          begin(before) + *DmPlayed(before, DM::FCM_24).positionAt(before.getRecIn() + at))
                    << through << element << ' ' << at;
        }
    }
}

TEST(EdlLoss, CountsSpeedsAsTheSystemDidThatWroteThem)
{
    struct Case
    {
        DM::FrameCodeModes fcm;
        const char* out; ///< of the source, from 01:00:00:00 on; the record side has 00:01:40:00
        const char* fps;
        double speed;
    };
    const Case cases[] = {
        {DM::FCM_29_97_NDF, "01:01:40:00", "030.0", 1},
        {DM::FCM_29_97_NDF, "01:01:40:00", "029.9", 1},
        {DM::FCM_29_97_NDF, "01:01:40:00", "029.97", 1},
        {DM::FCM_29_97_NDF, "01:03:20:00", "060.0", 2},
        {DM::FCM_29_97_NDF, "01:03:20:00", "059.94006", 2},
        {DM::FCM_29_97_NDF, "01:01:40:00", "-030.0", -1},
        {DM::FCM_23_976, "01:01:40:00", "024.0", 1},
        {DM::FCM_23_976, "01:01:40:00", "023.9", 1},
        {DM::FCM_59_94_NDF, "01:00:50:00", "030.0", 0.5},
        {DM::FCM_24, "01:01:40:00", "024.0", 1},
        {DM::FCM_24, "01:03:20:00", "048.0", 2},
    };
    for (const Case& each : cases)
    {
        SCOPED_TRACE(std::string(each.fps) + " at " + DM::FcmUtil::getFCMString(each.fcm));
        char speed[80];
        std::snprintf(speed, sizeof speed, "M2   A              %-21s01:00:00:00\n", each.fps);
        const std::string text =
            head + "001  A        V     C        01:00:00:00 " + each.out + " 00:00:00:00 00:01:40:00\n" + speed;
        const EdlList list = readClean(text, each.fcm);
        const CoSharedPtr<DmRoot> root = document(list);
        const DmSourceNode& source = sourceOf(*root, 0);
        EXPECT_DOUBLE_EQ(DmPlayed(source, each.fcm).speed(), each.speed);
        EXPECT_EQ(source.getEffects().empty(), each.speed == 1);
        EXPECT_EQ(write(*root).text, text);
    }
}

TEST(EdlLoss, ReadsListsInOtherOrdersThanTheRecords)
{
    const std::string list = head + line("002", "A", "V", "01:00:00:00 01:00:02:00 22:00:02:00 22:00:04:00") +
                             "* FROM CLIP NAME: two\n" +
                             line("005", "A", "V", "01:00:05:00 01:00:07:00 01:00:08:00 01:00:10:00") +
                             "M2   A              024.0                01:00:05:00\n* FROM CLIP NAME: five\n" +
                             line("001", "B", "V", "03:00:00:00 03:00:02:00 22:00:00:00 22:00:02:00") +
                             line("003", "B", "V", "03:00:04:00 03:00:04:00 22:00:04:00 22:00:04:00") +
                             "003  C        V     D    024 05:00:00:00 05:00:02:00 22:00:04:00 22:00:06:00\n";
    const CoSharedPtr<DmRoot> root = document(readClean(list, DM::FCM_24));
    EXPECT_EQ(sourceOf(*root, 0).getRecIn(), 3608 * 24); // no midnight passes
    EXPECT_EQ(write(*root).text, list);
    EXPECT_EQ(again(list, DM::FCM_24, "otio"), list);
    // Overlaps are looked for in record order, and an edit puts the list in that.
    std::string wrong = list;
    wrong.replace(wrong.find("22:00:04:00"), 11, "22:00:04:01").replace(wrong.find("01:00:02:00"), 11, "01:00:02:01");
    EXPECT_NE(icTest::read(wrong, DM::FCM_24).messages.find("before the one before it on its channel has ended"),
              wrong.npos);
    ok(sourceOf(*root, 0).setBaseBlob(nullptr));
    EXPECT_TRUE(write(*root).text.starts_with(head + "001  A        V     C        01:00:05:00"));
}

TEST(EdlLoss, UnderstandsWhatSystemsSayInTheirOwnWords)
{
    const std::string times = "01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00\n";
    struct Case
    {
        std::string lines; ///< behind an event of reel AX
        const wchar_t* name;
        const wchar_t* reel;
        const wchar_t* path;
    };
    const Case cases[] = {
        {"* FROM CLIP NAME: shot FF\nM2   AX             000.0                01:00:00:00\n", L"shot", L"AX", L""},
        {"* FROM CLIP NAME: shot FF\n", L"shot FF", L"AX", L""},
        {"REEL AX IS CLIP harbour\n", L"harbour", L"AX", L""},
        {"FINAL CUT PRO REEL: Card 4 day 2 REPLACED BY: AX\n", L"001", L"Card 4 day 2", L""},
        {"* FROM FILE: /rushes/a.mov\n", L"001", L"AX", L"/rushes/a.mov"},
        {"* FROM CLIP: S:\\rushes\\a.mov\n", L"001", L"AX", L"S:\\rushes\\a.mov"},
        {"* FROM CLIP: harbour\n", L"harbour", L"AX", L""},
        {"GPI 001\nDLEDL: START TC: 01:00:00:00\n>>> SOURCE 024\n", L"001", L"AX", L""},
        {"* TO CLIP NAME: other\n* FROM CLIP NAME: own\n", L"own", L"AX", L""},
        {"* FROM CLIP NAME:\n", L"001", L"AX", L""},
        {"* LOC: 23:00:00:00 PINK    outside\n* LOC: 00:00:01:00 TEAL\n", L"001", L"AX", L""},
    };
    for (const Case& each : cases)
    {
        const bool isFrozen = each.lines.find("M2") != each.lines.npos;
        std::string speed;
        std::string notes = each.lines;
        if (isFrozen) // as lists have it, the speed comes first
        {
            speed = notes.substr(notes.find("M2"));
            notes.erase(notes.find("M2"));
        }
        const std::string text = head + "001  AX       V     C        " + times + speed + notes;
        const CoSharedPtr<DmRoot> root = document(readClean(text, DM::FCM_24));
        const DmSourceNode& source = sourceOf(*root, 0);
        EXPECT_EQ(source.getName(), each.name) << text;
        EXPECT_EQ(source.getSrcInput()->getSrcInfo()->getReelName(), each.reel) << text;
        EXPECT_EQ(source.getSrcInput()->getSrcInfo()->getPath(), each.path) << text;
        EXPECT_EQ(write(*root).text, text);
        EXPECT_EQ(again(text, DM::FCM_24, "otio"), text);
    }
    // Forms of keys, a speed of another reel, and a list without a title.
    for (const std::string& lines : std::initializer_list<std::string>{
             "001  A        V     K B  (F) " + times, "001  A        V     K B      " + times,
             "001  A        V     K (F) 012 " + times, "001  A        V     K O  000 " + times,
             "001  A        V     C        " + times + "M2   B              000.0                01:00:00:00\n"})
        EXPECT_EQ(again("FCM: NON-DROP FRAME\n" + lines, DM::FCM_24), "FCM: NON-DROP FRAME\n" + lines);
}

TEST(EdlLoss, ReadsMarksInNotesAndWritesThemAsTheyStood)
{
    const std::string event = line("001", "A", "V", "01:00:00:00 01:00:02:00 00:00:01:00 00:00:03:00");
    struct Case
    {
        const char* note;
        const wchar_t* name;
        const wchar_t* comment;
        std::array<int, 3> colour;
        double length;
    };
    const Case cases[] = {
        {" |C:ColorBlue |M:Marker 1 |D:1\n", L"Marker 1", L"", {0, 0, 255}, 0},
        {"too dark |C:Green |M:fix: sky |D:24\n", L"fix: sky", L"too dark", {0, 255, 0}, 24},
        {"2 of them |M:a|b\n", L"a|b", L"2 of them", {0, 0, 0}, 0},
        {"* |C:ColorLavender |M:x\n", L"x", L"", {230, 230, 250}, 0},
        {"* |C:Teal |D:many\n", L"", L"", {0, 0, 0}, 0},
    };
    for (const Case& each : cases)
    {
        SCOPED_TRACE(each.note);
        const std::string text = head + event + each.note + "* FROM CLIP NAME: A\n";
        const CoSharedPtr<DmRoot> root = document(readClean(text, DM::FCM_24));
        DmSourceNode& source = sourceOf(*root, 0);
        ASSERT_EQ(source.getSegmentMarks().count(), 1);
        auto& mark = dynamic_cast<DmCueMark&>(*source.getSegmentMarks()[0]);
        EXPECT_EQ(mark.getCueMarkName(), each.name);
        EXPECT_EQ(mark.getCueMarkComment(), each.comment);
        EXPECT_EQ((std::array{mark.getCueMarkColorRed(), mark.getCueMarkColorGreen(), mark.getCueMarkColorBlue()}),
                  each.colour);
        EXPECT_EQ(mark.getCueMarkDuration(), each.length);
        EXPECT_EQ(mark.getCueMarkTime(), 0) << "at the event's in-time";
        EXPECT_EQ(write(*root).text, text);
        EXPECT_EQ(again(text, DM::FCM_24, "otio"), text);
        // Of a mark that says something else the note is dropped, of one that has gone too.
        ok(mark.setCueMarkName(L"new"));
        const std::string written = write(*root).text;
        EXPECT_EQ(written.find("|"), written.npos) << written;
        EXPECT_NE(written.find("* LOC: 00:00:01:00 "), written.npos) << written;
        ok(source.removeSegmentMark(0));
        EXPECT_EQ(write(*root).text, head + event + "* FROM CLIP NAME: A\n");
    }
    EXPECT_NE(icTest::read(head + "|C:Blue |M:early\n" + event, DM::FCM_24).messages.find("cut.edl:3: warning"),
              std::string::npos);
}

TEST(EdlLoss, WritesNotesMarksLooksAndModesAsTheyStood)
{
    const std::string event = line("001", "A", "V", "01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00");
    const std::string next = line("002", "B", "V", "01:00:00:00 01:00:02:00 00:00:02:00 00:00:04:00");
    const std::string lists[] = {
        head + event + "FROM CLIP NAME: bare\n* EFFECT NAME: WIPE\n* clip name: lower\n* SOURCE FILE PATH: /a/b.mov\n",
        head + event +
            "* LOC: 00:00:00:10 RED     one\n* a comment\n* LOC: 00:00:01:00 two\nLOC: 00:00:01:10 GREEN   three\n",
        head + event +
            "* FROM CLIP NAME: a\n* ASC_SAT 0.9\n* ASC_SOP (1.1 1 1) (0, 0, 0) (1 1 1)\n* LOC: 00:00:01:00 x\n",
        head + event +
            "* ASC_SOP (1.1000 1.0000 1.0000)(0.0000 0.0000 0.0000)(1.0000 1.0000 1.0000)\n* b\nASC_SAT: .90\n",
        "TITLE: T\n" + event + next,
        "TITLE: T\nFCM: NON-DROP FRAME\nFCM: NON-DROP FRAME\n" + event + "FCM: NON-DROP FRAME\n" + next,
        // Labels of other forms, numbers with a letter, reels that are no tapes
        head + line("001", "A", "V", "01.00.00.00 01.00.02.00 10.00.00.00 10.00.02.00") + "* LOC: 10.00.01.00 x\n" +
            line("001A", "bl", "V", "00:00:00:00 00:00:02:00 10:00:02:00 10:00:04:00") +
            line("002", "Black", "V", "0:00:00:00  0:00:02:00  10:00:04:00 10:00:06:00") +
            line("002B", "bars", "V", "00:00:00:00 00:00:02:00 10:00:06:00 10:00:08:00"),
    };
    for (const std::string& text : lists)
    {
        SCOPED_TRACE(text);
        for (const char* const through : {static_cast<const char*>(nullptr), "json", "otio"})
            EXPECT_EQ(again(text, DM::FCM_24, through), text);
    }
    const std::string drop =
        "TITLE: T\nFCM: DROP FRAME\n" + line("001", "A", "V", "01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00");
    EXPECT_EQ(again(drop, DM::FCM_29_97_DF, "json"), drop);
    // Only as long as they say what there is.
    const std::string text = head + event +
                             "FROM CLIP NAME: a\nASC_SAT: .90\n* LOC: 00:00:00:10 RED     one\n* b\n"
                             "LOC: 00:00:01:00 two\n";
    const CoSharedPtr<DmRoot> root = document(readClean(text, DM::FCM_24));
    DmSourceNode& source = sourceOf(*root, 0);
    ok(source.setName(L"new"));
    ok(dynamic_cast<DmLookSettings&>(*source.getEffects()[0]).setSaturation(0.5));
    ok(source.removeSegmentMark(0));
    EXPECT_EQ(write(*root).text, head + event + "* ASC_SAT 0.5000\nFROM CLIP NAME: new\n* LOC: 00:00:01:00 two\n* b\n");
    ok(source.getSrcInput()->getSrcInfo()->setReelName(L""));
    EXPECT_NE(write(*root).text.find("001  AX "), std::string::npos);
}

TEST(EdlLoss, FindsTheRateThatAListCountsAt)
{
    const auto event = [](const char* in, const char* out)
    { return "001 A V C " + std::string(in) + ' ' + out + ' ' + in + ' ' + out + '\n'; };
    const std::string rate = "* FRAME RATE: 25 fps\n";
    struct Case
    {
        std::string text;
        DM::FrameCodeModes given;
        DM::FrameCodeModes fcm;
        const char* message; ///< a part; empty for none at all
    };
    const auto none = DM::FCM_NOT_DEFINED;
    const Case cases[] = {
        {event("00:00:00:00", "00:00:01:23"), none, DM::FCM_24, "read as 24 fps, the lowest"},
        {event("00:00:00:00", "00:00:01:24"), none, DM::FCM_25, "read as 25 fps"},
        {event("00:00:00:00", "00:00:01:25"), none, DM::FCM_29_97_NDF, "read as 29.97 fps NDF"},
        {event("00:00:00:00", "00:00:01;00"), none, DM::FCM_29_97_DF, "read as 29.97 fps DF"},
        {event("00:00:00:00", "00:00:01:49"), none, DM::FCM_50, "read as 50 fps"},
        {event("00:00:00:00", "00:00:01;49"), none, DM::FCM_59_94_DF, "read as 59.94 fps DF"},
        {event("00:00:00:00", "00:00:01:59"), none, DM::FCM_59_94_NDF, "read as 59.94 fps NDF"},
        {rate + event("00:00:00:00", "00:00:01:23"), none, DM::FCM_25, ""},
        {rate + event("00:00:00:00", "00:00:01:23"), DM::FCM_24, DM::FCM_24, "the list says 25 fps: read as 24 fps"},
        {"FCM: NON-DROP FRAME\n* FRAME RATE: 29.97 fps DF\n" + event("00:00:00:00", "00:00:01:23"), none,
         DM::FCM_29_97_NDF, "the list says 29.97 fps DF, and counts in 29.97 fps NDF by its FCM and its labels"},
        {"* FRAME RATE: film\n" + event("00:00:00:00", "00:00:01:23"), DM::FCM_24, DM::FCM_24,
         "'film' is no frame-code mode; kept as a comment"},
    };
    for (const Case& each : cases)
    {
        const icTest::Read result = icTest::read(each.text, each.given);
        ASSERT_TRUE(result.list) << result.messages;
        EXPECT_EQ(result.list->fcm, each.fcm) << each.text;
        EXPECT_NE(result.messages.find(each.message), result.messages.npos) << result.messages;
        EXPECT_EQ(result.messages.empty(), *each.message == 0) << result.messages;
    }
    EXPECT_NE(
        icTest::read(event("00:00:00:00", "00:00:01:24"), DM::FCM_24).messages.find("all labels exist at '25 fps'"),
        std::string::npos);
    // A list at 24 that is read at 25.
    std::string film;
    for (int i = 0; i < 4; ++i)
        film += "00" + std::to_string(i) + " A V C 00:00:00:20 00:00:01:04 00:00:0" + std::to_string(i) +
                ":00 00:00:0" + std::to_string(i) + ":08\n";
    EXPECT_NE(icTest::read(film, DM::FCM_25)
                  .messages.find("4 events have lengths that differ by a frame or two; in '24 fps' none has"),
              std::string::npos);
}

TEST(EdlLoss, GivesReelsOneShortNameThroughout)
{
    const Cut cut;
    cut.add(1, DM_MEDIA_VIDEO,
            {shot(L"Card 4 day 2 camera B", DM_MEDIA_VIDEO, 0, 24, 0),
             shot(L"Card 4 day 2 camera C", DM_MEDIA_VIDEO, 0, 24, 0),
             shot(L"Card 4 day 2 camera B", DM_MEDIA_VIDEO, 48, 24, 0), shot(L"A001", DM_MEDIA_VIDEO, 0, 24, 0)});
    Options options;
    options.more["reel-length"] = "8";
    const std::string text = write(*cut.root, options).text;
    const auto reel = [&text](const char* number) { return text.substr(text.find(std::string("\n") + number) + 6, 9); };
    EXPECT_EQ(reel("001") + reel("002") + reel("003") + reel("004"), "Card_4_d Card_4_1 Card_4_d A001     ") << text;
    EXPECT_NE(text.find("FINAL CUT PRO REEL: Card 4 day 2 camera C REPLACED BY: Card_4_1\n"), text.npos);
    // Read back, they have their whole names, and go out as they came.
    const CoSharedPtr<DmRoot> back = document(readClean(text, DM::FCM_24));
    EXPECT_EQ(sourceOf(*back, 2).getSrcInput()->getSrcInfo()->getReelName(), L"Card 4 day 2 camera C");
    EXPECT_EQ(write(*back).text, text);
    EXPECT_EQ(again(head + line("001", "Card 4", "V", "01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00"), DM::FCM_24),
              head + line("001", "Card 4", "V", "01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00"));
    options.more["reel-length"] = "many";
    EXPECT_EQ(write(*cut.root, options).messages, "cut: 'many' is no length of a reel's name\n");
}

TEST(EdlLoss, NamesWhatItLosesWithClipTrackTimeAndPlace)
{
    const Cut cut;
    const auto early = shot(L"A", DM_MEDIA_VIDEO, -24, 48, 0);
    ok(early->setName(L"two\nlines"));
    ok(cut.composition->setName(L"untitled"));
    cut.add(1, DM_MEDIA_VIDEO, {shot(L"Z", DM_MEDIA_VIDEO, 0, 24, 0)});
    cut.add(3, DM_MEDIA_VIDEO, {early});
    Options options;
    options.format = "edl";
    std::string text;
    const Writing writing = writeBuffer(*cut.root, text, options);
    // Tracks of pictures are channels by their numbers; times wrap at midnight; no name of our own gets out.
    EXPECT_EQ(icTest::withoutRate(text), "TITLE:\nFCM: NON-DROP FRAME\n" +
                                             line("001", "Z", "V", "00:00:00:00 00:00:01:00 00:00:00:00 00:00:01:00") +
                                             "* FROM CLIP NAME: Z\n" +
                                             line("002", "A", "V3", "23:59:59:00 00:00:01:00 00:00:00:00 00:00:02:00") +
                                             "* FROM CLIP NAME: two lines\n");
    ASSERT_EQ(writing.findings.size(), 2U) << dmFindingsText("cut", writing.findings);
    for (const DmFinding& finding : writing.findings)
        EXPECT_EQ(finding.clip + '|' + finding.track + '|' + finding.record + '|' + finding.nodePath + '|' +
                      finding.subject,
                  "two\nlines|V3|00:00:00:00|children[0]/children[1]/children[0]/children[0]|"
                  "A two\nlines -00:00:01:00 - 00:00:01:00");
    EXPECT_STREQ(writing.findings[0].code, "DM719");
    EXPECT_STREQ(writing.findings[1].code, "DM733");
}

TEST(EdlLoss, NamesWhatOfNestedCutsTracksAndSoundAListCannotSay)
{
    const Cut cut;
    const auto nested =
        DmContainerNode::create(DmCompositionNode::create(L"in", L"24 fps", {}), DM_MEDIA_VIDEO, 0, 24, 12);
    const auto warp = DmVTimewarpSettings::create();
    ok(warp->setSpeed(0.5));
    ok(nested->addEffect(warp));
    ok(nested->setShotName(L"s1"));
    cut.add(1, DM_MEDIA_VIDEO, {nested});
    ok(cut.composition->getChild(0)->setName(L"hero"));
    Options options;
    options.format = "edl";
    std::string text;
    const Writing writing = writeBuffer(*cut.root, text, options);
    EXPECT_EQ(icTest::withoutRate(text), head +
                                             line("001", "AX", "V", "00:00:00:12 00:00:01:00 00:00:00:00 00:00:01:00") +
                                             "M2   AX             012.0                00:00:00:12\n");
    EXPECT_EQ(dmFindingsText("cut", writing.findings),
              "cut: warning: V1: properties that the format has no words for: name \"hero\": left out\n"
              "cut: warning: V1, 00:00:00:00: properties that the format has no words for: shotName: left out\n"
              "cut: warning: V1, 00:00:00:00: nested compositions: written as events of reel AX\n");
    const std::string backwards = head + line("001", "A", "AA/V", "01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00") +
                                  "M2   A              -024.0               01:00:00:00\n";
    const Reading reading = readBuffer(backwards, options);
    EXPECT_NE(
        dmFindingsText("cut", reading.findings)
            .find("cut:3: warning: A, A2, 00:00:00:00: speeds that sound cannot play at: plays at normal speed\n"),
        std::string::npos)
        << dmFindingsText("cut", reading.findings);
}

TEST(EdlLoss, TellsWhichLineEachNodeCameFrom)
{
    const std::string text = head + "* FRAME RATE: 24 fps\n" +
                             line("001", "A", "AA/V", "01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00") + "\n" +
                             line("002", "B", "V", "01:00:00:00 01:00:02:00 00:00:02:00 00:00:04:00");
    Options options;
    options.places = true;
    const Reading reading = readBuffer(text, options);
    std::vector<std::pair<std::string, std::uint32_t>> lines;
    for (const NodePlace& place : reading.places)
        lines.emplace_back(dmUtf8(place.node->getName()), place.line);
    EXPECT_EQ(lines, (std::vector<std::pair<std::string, std::uint32_t>>{{"A", 4}, {"B", 6}, {"A", 4}, {"A", 4}}));
    EXPECT_TRUE(readBuffer(text).places.empty());
}

TEST(EdlLoss, ReadsTheNotesOfOlderDocuments)
{
    const CoSharedPtr<DmRoot> root = document(
        readClean(head + line("007", "A", "V", "01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00"), DM::FCM_24));
    DmSourceNode& source = sourceOf(*root, 0);
    ok(source.setBaseBlob(
        DmBlobNode::create(L"edl", L"event=0 number=9 transition=3 pattern=0 length=0\n0 a note\n2 A")));
    EXPECT_EQ(write(*root).text, head + "009  A        V     K B      01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00\n"
                                        "* a note\n* FROM CLIP NAME: A\n");
}
