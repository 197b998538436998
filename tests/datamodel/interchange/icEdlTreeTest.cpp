#include "../tree/treeTools.h"
#include "icEdlToTree.h"
#include "icTestLists.h"
#include "icTreeToEdl.h"

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
    Report report;
    Converted result{edlToTree(list, report), {}};
    result.messages = report.toString("cut.edl");
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
    Report report;
    Options options;
    options.fcm = fcm;
    const std::optional<EdlList> list = treeToEdl(root, options, report);
    return {list ? icTest::written(*list) : "", report.toString("cut.json")};
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
        std::string messages = {};
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
           "004  D        B     C        04:00:02:00 04:00:03:00 10:00:06:00 10:00:07:00\n"),
         "cut.edl:11: warning: D, V1, 10:00:04:00: transitions from a reel that does not play in front of them: mix "
         "from "
         "what plays there\n"
         "cut.edl:11: warning: D, A1, 10:00:04:00: transitions from a reel that does not play in front of them: mix "
         "from "
         "what plays there\n"},
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
           "M2   A              024.0                01:00:04:00\n"),
         "cut.edl:5: warning: A, A1, 10:00:02:00: speeds that sound cannot play at: plays at normal speed\n"
         "cut.edl:11: warning: C, V1, 10:00:06:00: transitions from frames that do not follow those in front of them: "
         "mix from what follows there\n"},
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
        {"drop frame of sources", DM::FCM_59_94_NDF,
         "TITLE: T\nFCM: NON-DROP FRAME\nFCM: DROP FRAME\n"
         "001  A        V     C        00:01:00;04 00:01:01;04 00:00:00:00 00:00:01:00\n"
         "FCM: NON-DROP FRAME\n"
         "002  BL01     V     C        00:01:00:04 00:01:01:04 00:00:01:00 00:00:02:00\n"},
        {"drop frame that labels say, against what FCM does", DM::FCM_29_97_DF,
         "TITLE: T\nFCM: DROP FRAME\n"
         "001  A        V     C        00:01:00:00 00:01:01:00 00:00:59;00 00:01:00;02\n"
         "FCM: NON-DROP FRAME\n"
         "002  A        V     C        00:01:00;02 00:01:01;02 00:01:00;02 00:01:01;02\n"
         "003  A        V     C        00:01:00:00 00:01:01:00 00:01:01;02 00:01:02;02\n"},
        {"sources that drop, without FCM and with a late one", DM::FCM_29_97_NDF,
         "TITLE: T\n"
         "001  A        V     C        00:01:00;02 00:01:01;02 00:00:59:00 00:01:00:00\n"
         "002  A        V     C        00:01:00:00 00:01:01:00 00:01:00:00 00:01:01:00\n"
         "FCM: DROP FRAME\n"
         "003  A        V     C        00:01:00;02 00:01:01;02 00:01:01:00 00:01:02:00\n"},
        {"numbers of one digit", DM::FCM_25,
         n("9    A        V     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
           "10   A        V     C        01:00:02:00 01:00:04:00 10:00:02:00 10:00:04:00\n")},
        {"numbers with zeros, and of any length", DM::FCM_25,
         n("000000  A        V     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
           "001     A        V     C        01:00:02:00 01:00:04:00 10:00:02:00 10:00:04:00\n"
           "1000    A        V     C        01:00:04:00 01:00:06:00 10:00:04:00 10:00:06:00\n")},
        {"channels, transitions and speeds in other spellings", DM::FCM_25,
         n("001  A        VA1A2 C   000  01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
           "AUD  3\n"
           "002  A        A1    C        01:00:02:00 01:00:04:00 10:00:02:00 10:00:04:00\n"
           "003  A        v1    d     24 01:00:04:00 01:00:06:00 10:00:04:00 10:00:06:00\n"
           "004  A        A3    W1    24 01:00:06:00 01:00:08:00 10:00:06:00 10:00:08:00\n"
           "005  A        AV    KB (F)   01:00:08:00 01:00:10:00 10:00:08:00 10:00:10:00\n"
           "006  A        V     C        01:00:10:00 01:00:14:00 10:00:10:00 10:00:12:00\n"
           "M2   A              +50                  01:00:10:00\n")},
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
        EXPECT_EQ(icTest::written(*result.list), c.text);
        const Converted tree = toTree(*result.list);
        EXPECT_EQ(tree.messages, c.messages);

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
    std::ostringstream text;
    ok(DmTreeTool::dump(&tree.composition(), text));
    EXPECT_EQ(text.str(),
              "DmCompositionNode \"T\" \"25 fps\" from 10:00:00:00 length 00:00:07:00 tracks 1\n"
              "  DmTrackNode \"V1\" number 1 video layers 1\n"
              "    DmLayerNode \"untitled\" number 0 video from 10:00:00:00 length 00:00:07:00 elements 7\n"
              "      DmSourceNode \"A\" 10:00:00:00 - 10:00:02:00 id \"A@90000#V1\" plays 01:00:00:00 of MediaInput\n"
              "      DmTrxEffectNode \"untitled\" 10:00:02:00 - 10:00:03:00 effect Wipe\n"
              "      DmSourceNode \"B\" 10:00:03:00 - 10:00:04:00 id \"B@180025#V1\" plays 02:00:01:00 of MediaInput\n"
              "      DmCutNode \"untitled\" 10:00:04:00 - 10:00:04:00\n"
              "      DmGapNode \"untitled\" 10:00:04:00 - 10:00:05:00\n"
              "      DmCutNode \"untitled\" 10:00:05:00 - 10:00:05:00\n"
              "      DmSourceNode \"C\" 10:00:05:00 - 10:00:07:00 id \"C@270000#V1\" effect VTimewarp plays "
              "03:00:00:00 of MediaInput\n");
    EXPECT_EQ(dmUtf8(tree.composition().getStartTCStr()), "10:00:00:00");
    const auto& wipe = dynamic_cast<DmTrxEffectNode&>(*tree.layer().getChild(1));
    EXPECT_EQ(dynamic_cast<DmWipeSettings&>(*wipe.getEffect()).getLength(), 25);
    const auto& incoming = dynamic_cast<DmSourceNode::MediaInput&>(*tree.source(2).getSrcInput());
    EXPECT_EQ(incoming.getSrcLength(), 50);
}

TEST(EdlTree, LetsTheLaterEventCoverTheEarlierOne)
{
    // In time, and in the list where two begin together; what is left of the earlier one goes on with its own frames,
    // and what is covered whole stays beside a gap of no length.
    const std::string a = "001  A        V     C        ";
    const std::string b = "002  B        V     C        ";
    const std::string c = "003  C        V     C        ";
    const std::string laidOver = "02:00:00:00 02:00:02:00 10:00:02:00 10:00:04:00\n";
    struct Case
    {
        std::string text;
        std::string expected;
    };
    const Case cases[] = {
        {a + "01:00:00:00 01:00:06:00 10:00:00:00 10:00:06:00\n" + b + laidOver,
         a + "01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n" + b + laidOver +
             "003  A        V     C        01:00:04:00 01:00:06:00 10:00:04:00 10:00:06:00\n* FROM CLIP NAME: A\n"},
        {a + "01:00:00:00 01:00:12:00 10:00:00:00 10:00:06:00\nM2 A 050.0 01:00:00:00\n" + b + laidOver,
         a + "01:00:00:00 01:00:04:00 10:00:00:00 10:00:02:00\nM2   A              050.0                01:00:00:00\n" +
             b + laidOver +
             "003  A        V     C        01:00:08:00 01:00:12:00 10:00:04:00 10:00:06:00\n"
             "M2   A              050.0                01:00:08:00\n* FROM CLIP NAME: A\n"},
        {a + "01:00:00:00 01:00:06:00 10:00:00:00 10:00:06:00\nM2 A -025.0 01:00:00:00\n" + b + laidOver,
         a + "01:00:04:00 01:00:06:00 10:00:00:00 10:00:02:00\nM2   A              -025.0               01:00:04:00\n" +
             b + laidOver +
             "003  A        V     C        01:00:00:00 01:00:02:00 10:00:04:00 10:00:06:00\n"
             "M2   A              -025.0               01:00:00:00\n* FROM CLIP NAME: A\n"},
        {a + "01:00:00:00 01:00:04:00 10:00:00:00 10:00:04:00\n" + b + laidOver + c +
             "03:00:00:00 03:00:02:00 10:00:02:00 10:00:04:00\n",
         a + "01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n" + b +
             "02:00:00:00 02:00:00:00 10:00:02:00 10:00:02:00\n" + c +
             "03:00:00:00 03:00:02:00 10:00:02:00 10:00:04:00\n"},
    };
    for (const Case& each : cases)
    {
        const icTest::Read result = icTest::read(head + each.text, DM::FCM_25, Report::Lenient);
        ASSERT_TRUE(result.list) << result.messages;
        EXPECT_NE(result.messages.find("it covers that one"), result.messages.npos);
        EXPECT_EQ(toText(*toTree(*result.list).root).text, head + each.expected);
    }
}

TEST(EdlTree, ShowsEditsInTheList)
{
    struct Case
    {
        std::function<void(Converted&)> edit;
        std::string expected;
    };
    const std::string first = "001  A        V     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n";
    const std::string second = "002  B        V     C        02:00:00:00 02:00:02:00 10:00:02:00 10:00:04:00\n";
    const std::string one = "* FROM CLIP NAME: One\n";
    const std::string two = "* FROM CLIP NAME: Two\n";
    const Case cases[] = {
        {[](Converted& tree) { ok(tree.source(0).setName(L"New")); }, first + "* FROM CLIP NAME: New\n" + second + two},
        {[](Converted& tree)
         {
             auto& input = dynamic_cast<DmSourceNode::MediaInput&>(*tree.source(2).getSrcInput());
             ok(input.getSrcInfo()->setReelName(L"C"));
             ok(input.setSrcIn(75));
         },
         first + one + "002  C        V     C        00:00:03:00 00:00:05:00 10:00:02:00 10:00:04:00\n" + two},
        {[](Converted& tree) { ok(tree.source(0).setRecLength(25)); },
         "001  A        V     C        01:00:00:00 01:00:01:00 10:00:00:00 10:00:01:00\n" + one + second + two},
        {[](Converted& tree) { tree.layer().removeChild(0), tree.layer().removeChild(0); }, second + two},
        {[](Converted& tree) // an exchange, out of the list's order: numbered afresh
         {
             ok(tree.source(0).setRecIn(tree.source(0).getRecIn() + 50));
             ok(tree.source(2).setRecIn(tree.source(2).getRecIn() - 50));
         },
         "001  B        V     C        02:00:00:00 02:00:02:00 10:00:00:00 10:00:02:00\n" + two +
             "002  A        V     C        01:00:00:00 01:00:02:00 10:00:02:00 10:00:04:00\n" + one},
    };
    for (const Case& c : cases)
    {
        Converted tree = toTree(readClean(twoShots));
        c.edit(tree);
        EXPECT_EQ(toText(*tree.root).text, head + c.expected);
    }

    // Numbered afresh, it has numbers as it had.
    std::string bare = twoShots;
    bare.replace(bare.find("001  "), 5, "1    ").replace(bare.find("002  "), 5, "2    ");
    Converted halved = toTree(readClean(bare));
    const auto tail = DmTreeTool::deepClone(CoSharedPtr<DmTreeNode>(&halved.source(2)));
    ok(tail->asSegment()->setRecIn(tail->asSegment()->getRecIn() + 50));
    halved.layer().addChild(tail);
    EXPECT_EQ(toText(*halved.root).text,
              bare + "3    B        V     C        02:00:00:00 02:00:02:00 10:00:04:00 10:00:06:00\n" + two);

    // A key over nothing of its number has one of its own.
    const std::string key = "002  T        V     K    000 02:00:00:00 02:00:01:00 10:00:01:00 10:00:02:00\n";
    Converted keyed = toTree(*icTest::read(head + first + key).list);
    ok(keyed.source(0).setBaseBlob(nullptr));
    EXPECT_EQ(toText(*keyed.root).text, head + first + "* FROM CLIP NAME: A\n" + key);

    // A speed's source side is the list's own figure, as long as it begins where it did.
    Converted fast =
        toTree(readClean(head + "001  A  V  C  01:00:00:00 01:00:04:01 10:00:00:00 10:00:02:00\nM2 A 050.0 "
                                "01:00:00:00\n"));
    ok(dynamic_cast<DmSourceNode::MediaInput&>(*fast.source(0).getSrcInput()).setSrcIn(75));
    EXPECT_EQ(toText(*fast.root).text,
              head + "001  A        V     C        00:00:03:00 00:00:07:00 10:00:00:00 10:00:02:00\n"
                     "M2   A              050.0                00:00:03:00\n");
}

TEST(EdlTree, WritesAnyDocumentAndSaysWhatAListCannot)
{
    const auto composition = DmCompositionNode::create(L"Edit", L"25 fps", {});
    ok(composition->setStartTC(90000, L"25 fps"));
    const auto shot = [](const wchar_t* name, eDmTreeMediaType mediaType, double srcIn, double length, double relIn)
    {
        const auto input =
            DmSourceNode::MediaInput::create(1000, srcIn, DmSourceInfo::create(), L"25 fps", mediaType, true);
        ok(input->setFcm(L"25 fps"));
        ok(input->getSrcInfo()->setReelName(name));
        auto node = DmSourceNode::create(input, 0, length, relIn, false, false);
        ok(node->setName(name));
        return node;
    };
    DmTrackBuilder video(1, DM_MEDIA_VIDEO);
    const auto first = shot(L"A", DM_MEDIA_VIDEO, 100, 50, 10);
    ok(first->addEffect(DmResizeSettings::create()));
    ok(first->addEffect(DmResizeSettings::create()));
    ok(video.append(first));
    ok(video.append(DmTrxEffectNode::create(DmWipeSettings::create(), 0, 25)));
    ok(video.append(shot(L"B", DM_MEDIA_VIDEO, 200, 25.5, 40)));
    ok(video.append(DmContainerNode::create(DmCompositionNode::create(), DM_MEDIA_VIDEO, 0, 24.5)));
    ok(video.addTo(*composition));
    DmTrackBuilder over(2, DM_MEDIA_VIDEO);
    ok(over.append(shot(L"Title", DM_MEDIA_VIDEO, 0, 50, 0)));
    ok(over.addTo(*composition));
    for (int track = 3; track < 5; ++track)
    {
        DmTrackBuilder audio(track, DM_MEDIA_AUDIO);
        ok(audio.append(shot(L"A", DM_MEDIA_AUDIO, 100, 50, 10)));
        ok(audio.addTo(*composition));
    }
    ok(composition->addCueMark(DmCueMark::create(L"here", 60)));
    ok(composition->addCueMark(DmCueMark::create(L"nowhere", 1000)));
    const auto root = DmRoot::create();
    root->addChild(composition);
    root->addChild(DmCompositionNode::create());

    const Listed list = toText(*root);
    EXPECT_EQ(list.text, "TITLE: Edit\nFCM: NON-DROP FRAME\n"
                         "001  A        V     C        00:00:04:10 00:00:06:10 01:00:00:00 01:00:02:00\n"
                         "AUD  3  4\n* FROM CLIP NAME: A\n"
                         "002  Title    V2    C        00:00:00:00 00:00:02:00 01:00:00:00 01:00:02:00\n"
                         "* FROM CLIP NAME: Title\n"
                         "003  A        V     C        00:00:06:10 00:00:06:10 01:00:02:00 01:00:02:00\n"
                         "003  B        V     W001 025 00:00:08:15 00:00:10:16 01:00:02:00 01:00:04:01\n"
                         "* FROM CLIP NAME: A\n* TO CLIP NAME: B\n"
                         "* LOC: 01:00:02:10 here\n"
                         "004  AX       V     C        00:00:00:00 00:00:00:24 01:00:04:01 01:00:05:00\n");
    EXPECT_EQ(list.messages,
              "cut.json: warning: further compositions: left out\n"
              "cut.json: warning: A, V1, 01:00:00:00: effects that the format has no words for: left out\n"
              "cut.json: warning: A, V1, 01:00:00:00: effects that the format has no words for: left out\n"
              "cut.json: warning: B, V1, 01:00:02:00: times between two frames: moved to the nearest "
              "one\n"
              "cut.json: warning: V1, 01:00:04:00: times between two frames: moved to the nearest "
              "one\n"
              "cut.json: warning: V1, 01:00:04:00: nested compositions: written as events of reel AX\n"
              "cut.json: warning: Edit, V1, 01:00:40:00: cue marks of the composition where no event plays: "
              "left out\n");
    readClean(list.text);
}

TEST(EdlTree, NeedsACompositionAndAMode)
{
    const auto root = DmRoot::create();
    EXPECT_EQ(toText(*root).messages, "cut.json: the document holds no composition\n");
    root->addChild(DmCompositionNode::create(L"Edit", L"???", {}));
    EXPECT_EQ(toText(*root).messages, "cut.json: the composition names no frame-code mode, and no other was given "
                                      "(--fcm names one)\n");
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
        ok(blob.setData(text));
        const std::string written = toText(*tree.root).text;
        EXPECT_NE(written.find("01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"), written.npos) << written;
    }
}
