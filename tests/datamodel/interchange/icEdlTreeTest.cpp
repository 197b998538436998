#include "icEdlToTree.h"
#include "icTestLists.h"
#include "icTreeToEdl.h"

#include "dmBlobNode.h"
#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmJsonImporter.h"
#include "dmLayerBuilder.h"
#include "dmResizeSettings.h"
#include "dmSourceInput.h"
#include "dmTimewarpSettings.h"
#include "dmTrackBuilder.h"
#include "dmTreeJsonBuilder.h"
#include "dmTreeTool.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "dmWipeSettings.h"

#include <functional>

using namespace interchange;
using icTest::readClean;

namespace
{

struct Converted
{
    CoSharedPtr<DmRoot> root;
    std::string messages;

    DmCompositionNode& composition() const { return static_cast<DmCompositionNode&>(*root->getChild(0)); }
    DmLayerNode& layer(int track = 0, int layer = 0) const
    {
        return static_cast<DmLayerNode&>(*static_cast<DmTrackNode&>(*composition().getChild(track)).getChild(layer));
    }
    DmSourceNode& source(int element) const { return dynamic_cast<DmSourceNode&>(*layer().getChild(element)); }
};

/// A document of a list, which every rule must hold for.
Converted toTree(const EdlList& list)
{
    Report report("cut.edl");
    Converted result{edlToTree(list, report), {}};
    result.messages = report.toString();
    for (const DmTreeViolation& violation : DmTreeTool::findViolations(&result.composition(), DM_VALIDATE_ALL))
        ADD_FAILURE() << violation.path << ": " << dmUtf8(violation.message);
    return result;
}

struct Listed
{
    std::string text;
    std::string messages;
};

Listed toText(const DmRoot& root, DM::FrameCodeModes fcm = DM::FCM_NOT_DEFINED)
{
    Report report("cut.json");
    const std::optional<EdlList> list = treeToEdl(root, fcm, report);
    return {list ? writeEdl(*list) : "", report.toString()};
}

const std::string head = "TITLE: T\nFCM: NON-DROP FRAME\n";

/// Two shots of two seconds each, at 25 frames per second.
const std::string twoShots = head + "001  A        V     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
                                    "* FROM CLIP NAME: One\n"
                                    "002  B        V     C        02:00:00:00 02:00:02:00 10:00:02:00 10:00:04:00\n"
                                    "* FROM CLIP NAME: Two\n";

} // namespace

TEST(EdlTree, GivesEveryListBackEventForEvent)
{
    struct Case
    {
        const char* feature;
        DM::FrameCodeModes fcm;
        std::string text;
    };
    const auto n = [](const char* body) { return head + body; };
    const Case cases[] = {
        {"nothing but a title", DM::FCM_24, head},
        {"notes of the list", DM::FCM_24, n("* cut on Tuesday\nan odd line\n")},
        {"gap, other numbers", DM::FCM_24,
         n("007  A        V     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
           "011  A.b c    V     C        00:00:00:00 00:00:02:00 10:01:00:00 10:01:02:00\n")},
        {"channels", DM::FCM_25,
         n("001  A        AA/V  C        01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00\n"
           "* FROM CLIP NAME: All\n"
           "002  A        B     C        01:00:00:00 01:00:02:00 00:00:02:00 00:00:04:00\n"
           "003  A        A2    C        01:00:00:00 01:00:02:00 00:00:02:00 00:00:04:00\n"
           "004  A        NONE  C        01:00:00:00 01:00:02:00 00:00:04:00 00:00:06:00\nAUD  3  64\n"
           "005  A        V2    C        01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00\n"
           "SPLIT:    AUDIO DELAY= 00:00:00:10\n")},
        {"all pictures, then all sound", DM::FCM_25,
         n("001  A        V     C        01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00\n"
           "002  A        V     C        01:00:00:00 01:00:02:00 00:00:02:00 00:00:04:00\n"
           "003  A        AA    C        01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00\n")},
        {"dissolve and wipe in two lines", DM::FCM_24,
         n("001  A        B     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
           "* FROM CLIP NAME: One\n"
           "002  A        B     C        01:00:02:00 01:00:02:00 10:00:02:00 10:00:02:00\n"
           "002  C        B     D    024 03:00:00:00 03:00:02:00 10:00:02:00 10:00:04:00\n"
           "EFFECTS NAME IS CROSS DISSOLVE\n* FROM CLIP NAME: One\n* TO CLIP NAME: Two\n"
           "003  X        B     C        00:00:00:10 00:00:00:10 10:00:04:00 10:00:04:00\n"
           "003  D        B     W012 048 04:00:00:00 04:00:02:00 10:00:04:00 10:00:06:00\n"
           "004  D        B     C        04:00:02:00 04:00:03:00 10:00:06:00 10:00:07:00\n")},
        {"transition first, in one line, of no length, into black", DM::FCM_24,
         n("001  A        V     D    010 01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
           "002  B        V     D    000 02:00:00:00 02:00:02:00 10:00:02:00 10:00:04:00\n"
           "003  BL       V     W001 024 00:00:00:00 00:00:01:00 10:00:04:00 10:00:05:00\n")},
        {"black and bars", DM::FCM_25,
         n("001  BARS     B     C        00:00:00:00 00:00:10:00 09:59:50:00 10:00:00:00\n"
           "002  black    V     C        00:00:00:00 00:00:00:00 10:00:00:00 10:00:02:00\n"
           "003  BL       V     C        00:01:00:00 00:01:02:00 10:00:02:00 10:00:04:00\n")},
        {"keys", DM::FCM_25,
         n("001  A        V     K B      01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
           "001  T1       V     K    012 02:00:00:00 02:00:02:00 10:00:00:00 10:00:02:00\n"
           "* FROM CLIP NAME: Back\n* TO CLIP NAME: Title\n* KEY CLIP NAME: Title\n"
           "001  T2       V     K O  000 02:00:00:00 02:00:02:00 10:00:00:00 10:00:02:00\n"
           "002  A        V     C        01:00:02:00 01:00:04:00 10:00:02:00 10:00:04:00\n")},
        {"speeds", DM::FCM_24,
         n("001  A        V     C        01:00:00:00 01:00:00:01 10:00:00:00 10:00:02:00\n"
           "M2   A              000.0                01:00:00:00\n"
           "002  A        B     C        01:00:04:00 01:00:08:00 10:00:02:00 10:00:04:00\n"
           "M2   A              -048.0               01:00:04:00\n"
           "003  A        B     C        01:00:04:00 01:00:05:00 10:00:04:00 10:00:06:00\n"
           "M2   A              012.0                01:00:04:05\n"
           "004  A        V     C        01:00:02:00 01:00:02:00 10:00:06:00 10:00:06:00\n"
           "M2   A              047.625              01:00:02:00\n"
           "004  C        V     D    024 03:00:00:00 03:00:00:01 10:00:06:00 10:00:08:00\n"
           "M2   C              000.0                03:00:00:00\n"
           "005  A        V     C        01:00:04:00 01:00:06:00 10:00:08:00 10:00:10:00\n"
           "M2   A              024.0                01:00:04:00\n")},
        {"looks", DM::FCM_24,
         n("001  A        V     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
           "* ASC_SOP (0.9000 1.0000 1.1000)(-0.0125 0.0000 0.0000)(1.0000 1.0000 1.23456)\n"
           "* ASC_SAT 0.5000\n"
           "002  A        V     C        01:00:00:00 01:00:02:00 10:00:02:00 10:00:04:00\n"
           "* ASC_SOP (1.0000 1.0000 1.0000)(0.0000 0.0000 0.0000)(1.0000 1.0000 1.0000)\n"
           "003  A        V     C        01:00:00:00 01:00:02:00 10:00:04:00 10:00:06:00\n"
           "* ASC_SAT 1.0000\n")},
        {"markers", DM::FCM_24,
         n("001  A        B     D    024 01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
           "* SOURCE FILE: A.mov\n* SOURCE PATH: /vol/a b/A.mov\n* * FREEZE\n"
           "* LOC: 10:00:00:10 RED     FIX THIS\n"
           "* LOC: 10:00:01:11 BLACK   Été\n"
           "* LOC: 10:00:01:12 no colour\n"
           "* LOC: 10:00:01:13 PURPLE\n")},
        {"drop frame of the record side", DM::FCM_29_97_DF,
         "TITLE: T\nFCM: DROP FRAME\n"
         "001  A        V     C        00:01:00;02 00:01:01;02 00:00:59;00 00:01:00;02\n"
         "FCM: NON-DROP FRAME\n"
         "002  A        V     C        00:01:00:00 00:01:01:00 00:01:00;02 00:01:01;02\n"},
        {"past midnight", DM::FCM_25,
         n("001  A        V     C        23:59:59:00 00:00:01:00 23:59:58:00 00:00:00:00\n"
           "002  A        V     C        00:00:01:00 00:00:02:00 00:00:00:00 00:00:01:00\n")},
        {"numbers that start over", DM::FCM_25,
         n("999  A        V     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
           "001  A        V     C        01:00:02:00 01:00:04:00 10:00:02:00 10:00:04:00\n")},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.feature);
        const icTest::Read result = icTest::read(c.text, c.fcm);
        ASSERT_TRUE(result.list) << result.messages;
        EXPECT_EQ(writeEdl(*result.list), c.text);
        const Converted tree = toTree(*result.list);
        EXPECT_EQ(tree.messages, "");

        std::string json;
        ASSERT_FALSE(DmTreeJsonBuilder::generateUtf8(tree.root.get(), json).failed());
        CoSharedPtr<DmRoot> saved;
        ASSERT_FALSE(DmJsonImporter::importRootFromStr(json.c_str(), saved).failed());
        const Listed back = toText(*saved);
        EXPECT_EQ(back.text, c.text);
        EXPECT_EQ(back.messages, "");
    }
}

TEST(EdlTree, PlacesSegmentsAndTransitionsInRecordTime)
{
    const Converted tree =
        toTree(readClean(head + "001 A V C 01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
                                "002 A V C 01:00:02:00 01:00:02:00 10:00:02:00 10:00:02:00\n"
                                "002 B V W003 025 02:00:00:00 02:00:02:00 10:00:02:00 10:00:04:00\n"
                                "003 C V C 03:00:00:00 03:00:04:00 10:00:05:00 10:00:07:00\nM2 C 050.0 03:00:00:00\n"));
    const double start = 10 * 3600 * 25;
    EXPECT_EQ(tree.composition().getStartTC(), start);
    EXPECT_EQ(tree.composition().getCompLength(), 175);
    EXPECT_EQ(dmUtf8(tree.composition().getStartTCStr()), "10:00:00:00");

    struct Element
    {
        eDmTreeNodeClassId kind;
        double in;
        double length;
    };
    const Element elements[] = {{DM_SOURCE_NODE, 0, 50},  {DM_TRX_EFFECT_NODE, 50, 25}, {DM_SOURCE_NODE, 75, 25},
                                {DM_CUT_NODE, 100, 0},    {DM_GAP_NODE, 100, 25},       {DM_CUT_NODE, 125, 0},
                                {DM_SOURCE_NODE, 125, 50}};
    ASSERT_EQ(tree.layer().getNbChildren(), static_cast<int>(std::size(elements)));
    for (int i = 0; i < tree.layer().getNbChildren(); ++i)
    {
        DmTreeNode* const node = tree.layer().getChild(i);
        EXPECT_EQ(node->whatIs(), elements[i].kind) << i;
        EXPECT_EQ(DmTreeTool::getRecordRange(node), (DmTimeRange{start + elements[i].in, elements[i].length})) << i;
    }
    const auto& wipe = dynamic_cast<DmTrxEffectNode&>(*tree.layer().getChild(1));
    EXPECT_EQ(dynamic_cast<DmWipeSettings&>(*wipe.getEffect()).getSmptePattern(), 3);
    EXPECT_EQ(dynamic_cast<DmWipeSettings&>(*wipe.getEffect()).getLength(), 25);
    EXPECT_EQ(dynamic_cast<DmSourceNode&>(*wipe.getBaseBlob()).getSrcInput()->getSrcInfo()->getReelName(), L"A");

    const auto& incoming = dynamic_cast<DmSourceNode::MediaInput&>(*tree.source(2).getSrcInput());
    EXPECT_EQ(incoming.getSrcIn(), 2 * 3600 * 25);
    EXPECT_EQ(incoming.getSrcLength(), 50);
    EXPECT_EQ(incoming.getSrcInfo()->getReelName(), L"B");
    EXPECT_EQ(tree.source(2).getRelIn(), 25);
    EXPECT_EQ(dynamic_cast<DmTimewarpSettings&>(*tree.source(6).getEffects().at(0)).getSpeed(), 2);
}

TEST(EdlTree, LetsTheLaterEventCoverTheEarlierOne)
{
    // In time, and in the list where two begin together; what is covered whole stays beside its gap of no length.
    const icTest::Read result = icTest::read(head + "001 A V C 01:00:00:00 01:00:04:00 10:00:00:00 10:00:04:00\n"
                                                    "002 B V C 02:00:00:00 02:00:02:00 10:00:02:00 10:00:04:00\n"
                                                    "003 C V C 03:00:00:00 03:00:01:00 10:00:02:00 10:00:03:00\n"
                                                    "004 D V C 04:00:00:00 04:00:01:00 09:00:00:00 09:00:01:00\n",
                                             DM::FCM_25, Report::Lenient);
    ASSERT_TRUE(result.list) << result.messages;
    const Converted tree = toTree(*result.list);
    EXPECT_EQ(tree.composition().getStartTC(), 9 * 3600 * 25);
    EXPECT_EQ(toText(*tree.root).text,
              head + "001  D        V     C        04:00:00:00 04:00:01:00 09:00:00:00 09:00:01:00\n"
                     "002  A        V     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
                     "003  B        V     C        02:00:00:00 02:00:00:00 10:00:02:00 10:00:02:00\n"
                     "004  C        V     C        03:00:00:00 03:00:01:00 10:00:02:00 10:00:03:00\n");
}

TEST(EdlTree, SaysWhatOfAListItLeavesOut)
{
    EXPECT_EQ(toTree(readClean(head + "001 A A C 01:00:00:00 01:00:04:00 10:00:00:00 10:00:04:00\n* ASC_SAT 0.5\n"
                                      "002 A NONE C 01:00:00:00 01:00:04:00 10:00:04:00 10:00:08:00\n"))
                  .messages,
              "cut.edl: warning: events on no channel (1): left out\n"
              "cut.edl: warning: colour corrections of events without a picture (1): left out\n");
}

TEST(EdlTree, ShowsEditsInTheList)
{
    struct Case
    {
        const char* what;
        std::function<void(Converted&)> edit;
        std::string expected;
    };
    const std::string first = "001  A        V     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n";
    const std::string second = "002  B        V     C        02:00:00:00 02:00:02:00 10:00:02:00 10:00:04:00\n";
    const Case cases[] = {
        {"name", [](Converted& tree) { EXPECT_EQ(tree.source(0).setName(L"New"), DM_NO_ERROR); },
         head + first + "* FROM CLIP NAME: New\n" + second + "* FROM CLIP NAME: Two\n"},
        {"reel and in-time",
         [](Converted& tree)
         {
             auto& input = dynamic_cast<DmSourceNode::MediaInput&>(*tree.source(2).getSrcInput());
             EXPECT_EQ(input.getSrcInfo()->setReelName(L"C"), DM_NO_ERROR);
             EXPECT_EQ(input.setSrcIn(75), DM_NO_ERROR);
         },
         head + first + "* FROM CLIP NAME: One\n" +
             "002  C        V     C        00:00:03:00 00:00:05:00 10:00:02:00 10:00:04:00\n* FROM CLIP NAME: Two\n"},
        {"trim", [](Converted& tree) { EXPECT_EQ(tree.source(0).setRecLength(25), DM_NO_ERROR); },
         head +
             "001  A        V     C        01:00:00:00 01:00:01:00 10:00:00:00 10:00:01:00\n* FROM CLIP NAME: "
             "One\n" +
             second + "* FROM CLIP NAME: Two\n"},
        {"removal",
         [](Converted& tree)
         {
             tree.layer().removeChild(0);
             tree.layer().removeChild(0);
         },
         head + second + "* FROM CLIP NAME: Two\n"},
        {"exchange", // out of the list's order: numbered afresh
         [](Converted& tree)
         {
             EXPECT_EQ(tree.source(0).setRecIn(tree.source(0).getRecIn() + 50), DM_NO_ERROR);
             EXPECT_EQ(tree.source(2).setRecIn(tree.source(2).getRecIn() - 50), DM_NO_ERROR);
         },
         head + "001  B        V     C        02:00:00:00 02:00:02:00 10:00:00:00 10:00:02:00\n"
                "* FROM CLIP NAME: Two\n"
                "002  A        V     C        01:00:00:00 01:00:02:00 10:00:02:00 10:00:04:00\n"
                "* FROM CLIP NAME: One\n"},
    };
    for (const Case& c : cases)
    {
        Converted tree = toTree(readClean(twoShots));
        c.edit(tree);
        EXPECT_EQ(toText(*tree.root).text, c.expected) << c.what;
    }
}

TEST(EdlTree, WritesAnyDocumentAndSaysWhatAListCannot)
{
    const auto composition = DmCompositionNode::create(L"Edit", L"25 fps", {});
    ASSERT_EQ(composition->setStartTC(90000, L"25 fps"), DM_NO_ERROR);
    const auto shot = [](const wchar_t* name, eDmTreeMediaType mediaType, double srcIn, double length, double relIn)
    {
        const auto input =
            DmSourceNode::MediaInput::create(1000, srcIn, DmSourceInfo::create(), L"25 fps", mediaType, true);
        EXPECT_EQ(input->setFcm(L"25 fps"), DM_NO_ERROR);
        EXPECT_EQ(input->getSrcInfo()->setReelName(name), DM_NO_ERROR);
        auto node = DmSourceNode::create(input, 0, length, relIn, false, false);
        EXPECT_EQ(node->setName(name), DM_NO_ERROR);
        return node;
    };
    DmTrackBuilder video(1, DM_MEDIA_VIDEO);
    const auto first = shot(L"A", DM_MEDIA_VIDEO, 100, 50, 10);
    ASSERT_EQ(first->addEffect(DmResizeSettings::create()), DM_NO_ERROR);
    ASSERT_EQ(first->addEffect(DmResizeSettings::create()), DM_NO_ERROR);
    ASSERT_EQ(video.append(first), DM_NO_ERROR);
    ASSERT_EQ(video.append(DmTrxEffectNode::create(DmWipeSettings::create(), 0, 25)), DM_NO_ERROR);
    ASSERT_EQ(video.append(shot(L"B", DM_MEDIA_VIDEO, 200, 25.5, 40)), DM_NO_ERROR);
    ASSERT_EQ(video.append(DmContainerNode::create(DmCompositionNode::create(), DM_MEDIA_VIDEO, 0, 24.5)), DM_NO_ERROR);
    ASSERT_EQ(video.addTo(*composition), DM_NO_ERROR);
    DmTrackBuilder over(2, DM_MEDIA_VIDEO);
    ASSERT_EQ(over.append(shot(L"Title", DM_MEDIA_VIDEO, 0, 50, 0)), DM_NO_ERROR);
    ASSERT_EQ(over.addTo(*composition), DM_NO_ERROR);
    for (int track = 3; track < 5; ++track)
    {
        DmTrackBuilder audio(track, DM_MEDIA_AUDIO);
        ASSERT_EQ(audio.append(shot(L"A", DM_MEDIA_AUDIO, 100, 50, 10)), DM_NO_ERROR);
        ASSERT_EQ(audio.addTo(*composition), DM_NO_ERROR);
    }
    ASSERT_EQ(composition->addCueMark(DmCueMark::create(L"here", 60)), DM_NO_ERROR);
    ASSERT_EQ(composition->addCueMark(DmCueMark::create(L"nowhere", 1000)), DM_NO_ERROR);
    const auto root = DmRoot::create();
    root->addChild(composition);
    root->addChild(DmCompositionNode::create());

    const Listed list = toText(*root);
    EXPECT_EQ(list.text, "TITLE: Edit\nFCM: NON-DROP FRAME\n"
                         "001  A        AA/V  C        00:00:04:10 00:00:06:10 01:00:00:00 01:00:02:00\n"
                         "* FROM CLIP NAME: A\n"
                         "002  A        V     C        00:00:06:10 00:00:06:10 01:00:02:00 01:00:02:00\n"
                         "002  B        V     W001 025 00:00:08:15 00:00:10:16 01:00:02:00 01:00:04:01\n"
                         "* FROM CLIP NAME: A\n* TO CLIP NAME: B\n"
                         "* LOC: 01:00:02:10 here\n"
                         "003  AX       V     C        00:00:00:00 00:00:00:24 01:00:04:01 01:00:05:00\n");
    EXPECT_EQ(list.messages, "cut.json: warning: further compositions (1): left out\n"
                             "cut.json: warning: effects other than one constant speed and one look (2): left out\n"
                             "cut.json: warning: times between two frames (2): moved to the nearest one\n"
                             "cut.json: warning: nested compositions (1): written as events of reel AX\n"
                             "cut.json: warning: further video tracks (1): left out\n"
                             "cut.json: warning: cue marks of the composition where no event plays (1): left out\n");
    readClean(list.text);
}

TEST(EdlTree, NeedsACompositionAndAMode)
{
    const auto root = DmRoot::create();
    EXPECT_EQ(toText(*root).messages, "cut.json: the document holds no composition\n");
    root->addChild(DmCompositionNode::create(L"Edit", L"???", {}));
    EXPECT_EQ(toText(*root).messages, "cut.json: the composition names no frame-code mode, and no other was given\n");
    EXPECT_EQ(toText(*root, DM::FCM_25).text, "TITLE: Edit\nFCM: NON-DROP FRAME\n");
}

TEST(EdlTree, SurvivesWhatSomebodyWroteIntoTheKeptText)
{
    for (const wchar_t* const text :
         {L"", L"event=x number=-1 transition=99 pattern=70000", L"event=4294967296 in=1 record=5 speed=nan reel=",
          L"event=0 transition=-3\n99 x\n-1 y\n5\n\n\n", L"speed=1e400 at=9223372036854775807 length=4294967295"})
    {
        const Converted tree = toTree(readClean(twoShots));
        auto& blob = dynamic_cast<DmBlobNode&>(*tree.source(0).getBaseBlob());
        ASSERT_EQ(blob.setData(text), DM_NO_ERROR);
        const std::string written = toText(*tree.root).text;
        EXPECT_NE(written.find("01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"), written.npos) << written;
    }
}
