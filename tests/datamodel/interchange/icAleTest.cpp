#include "icInterchange.h"

#include "dmBlobNode.h"
#include "dmColourEffects.h"
#include "dmCompositionNode.h"
#include "dmLayerNode.h"
#include "dmMaterial.h"
#include "dmSegmentNode.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmTransitionNode.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

using namespace interchange;

namespace
{

struct Read
{
    CoSharedPtr<DmRoot> root;
    std::string messages;

    DmCompositionNode& composition() const { return dynamic_cast<DmCompositionNode&>(*root->getChild(0)); }
    DmLayerNode& layer(int track = 0) const
    {
        return dynamic_cast<DmLayerNode&>(*composition().getChild(track)->getChild(0));
    }
    /// The nth source of a track.
    DmSourceNode& source(int number, int track = 0) const
    {
        for (int i = 0; i < layer(track).getNbChildren(); ++i)
            if (auto* const source = dynamic_cast<DmSourceNode*>(layer(track).getChild(i)); source && number-- == 0)
                return *source;
        throw std::out_of_range("no such source");
    }
};

Read read(const std::string& text, Options options = {})
{
    options.format = options.format.empty() ? "ale" : options.format;
    Reading reading = readBuffer(text, options);
    Read result{reading.root, dmFindingsText("x.ale", reading.findings)};
    auto* const composition = result.root ? dynamic_cast<DmCompositionNode*>(result.root->getChild(0)) : nullptr;
    for (const DmTreeViolation& violation : DmTreeTool::findViolations(composition, DM_VALIDATE_ALL))
        ADD_FAILURE() << violation.path << ": " << dmUtf8(violation.message);
    return result;
}

std::string write(const DmRoot& root, std::string* messages = nullptr)
{
    Options options;
    options.format = "ale";
    std::string bytes;
    const Writing writing = writeBuffer(root, bytes, options);
    if (messages)
        *messages = dmFindingsText("x.ale", writing.findings);
    return bytes;
}

const std::string head = "Heading\nFIELD_DELIM\tTABS\nFPS\t25\n\n";
const std::string usual = head + "Column\nName\tTracks\tStart\tEnd\tTape\tCamera\n\nData\n";
const std::string first = "one\tV\t01:00:00:00\t01:00:04:00\tT1\tA\n";

/// `low`: which of two bytes the character stands in.
std::string utf16(const std::string& ascii, std::size_t low)
{
    std::string bytes(low == 0 ? "\xFF\xFE" : "\xFE\xFF");
    for (const char c : ascii)
        bytes.append(low, '\0').append(1, c).append(1 - low, '\0');
    return bytes + (low == 0 ? std::string("\xC9\0", 2) : std::string("\0\xC9", 2));
}

TEST(Ale, ComesBackRowForRow)
{
    const std::string texts[] = {
        usual + first + "two\tVA1A2\t10:00:00:00\t10:00:00:01\tT2\tB\n",
        usual,
        // Without a line end at the end, with other line ends, with both
        usual + "one\tV\t01:00:00:00\t01:00:04:00\tT1\tA",
        "Heading\r\nFPS\t24\r\n\r\nColumn\r\nName\tStart\tEnd\r\n\r\nData\r\none\t01:00:00:00\t01:00:00:10\r\n",
        "Heading\rFPS\t24\r\rColumn\rName\tStart\tEnd\r\rData\rone\t01:00:00:00\t01:00:00:10\r",
        usual + first + "two\tV\t01:00:00:00\t01:00:04:00\tT1\tA\r\n\n",
        "Heading\r\nFPS\t24\r\rColumn\nName\tStart\tEnd\r\n\rData\rone\t01:00:00:00\t01:00:00:10\r\n",
        "\n\r\nHeading\nFPS\t24\nColumn\nName\tStart\tEnd\nData\r\none\t01:00:00:00\t01:00:00:10\n",
        "Heading\nFPS\t24\nColumn\nName\tStart\tEnd\n\nData",
        // Byte-order marks
        "\xEF\xBB\xBF" + usual + first,
        utf16(usual + first, 0),
        utf16(usual + first, 1),
        // Blank, short and long rows, rows of blanks, rows without times
        usual + "\n" + first + "\n\n  \ntwo\n\t\t\t\t\t\n" + first + "three\tV\t\t\tT1\tC\tmore\t\tand more\n",
        usual + "one\tV\t01:00:00:00\t01:00:04:00\n" + "one\tV\t01:00:00:00\t01:00:04:00\tT1\tA\t\n",
        // A short row of columns that others beside them say, a line of the heading with control characters
        head + "Column\nName\tStart\tEnd\tTape\tDuration\tStart\tTape\nData\none\t01:00:00:00\t01:00:04:00\tT1\n",
        "Heading\nFPS\t25\nColumn\nName\tStart\tEnd\nData\x0Bone\x01\t01:00:00:00\t01:00:01:00\n",
        // Headings on one line
        "Heading\tFIELD_DELIM\tTABS\tFPS\t25\nColumn\tName\tStart\tEnd\nData\tone\t01:00:00:00\t01:00:01:00\n",
        "HEADING\nFPS 25\ncolumn\nName\tStart\tEnd\ndata\none\t01:00:00:00\t01:00:01:00\n",
        // Columns of other systems in their order, quotes that are part of a text, a column without a name at the end
        "Heading\r\nFIELD_DELIM\tTABS\r\nVIDEO_FORMAT\t1080\r\nAUDIO_FORMAT\t48khz\r\nFPS\t25\r\n\r\nColumn\r\n"
        "Tracks\tEnd\tStart\tName\tTape\tASC_SOP\tUNC\t\r\n\r\nData\r\n"
        "VA1\t01:00:10:00\t01:00:00:00\t\"a, b\"\tA001\t(1.0 1.0 1.0)(0.0 0.0 0.0)(1.0 1.0 1.0)\t\\\\s\\a.mov\t\r\n"
        "A1A2\t01:00:10:00\t01:00:00:00\tb\t\t\t\t\r\nVA1-8\t\t\tc\t\t\t\t\r\nno rest\r\n\r\n",
        // Columns that two names, or the same name, are for; a name in front of which an asterisk stands; trailing tabs
        head + "Column\nTape\tReel\tStart\tEnd\tX\tX\t*cells\t\nData\n\tR\t1:00:00:00\t01.00.01.00\ta\tb\tc\t\n"
               "T\tR\t01:00:00:00\t01:00:01:00\ta\ta\t2\td\n",
        // Times that are written otherwise, only a length, sound
        head + "Column\nStart\tEnd\tDuration\tTracks\nData\n01:00:00:00\t01:00:01:00\t0:00:01:00\tA1-4\n"
               "01:00:00:00\t\t00:00:09:00\tV1\n23:59:59:00\t00:00:01:00\t2:00\tD\n01:00:00:00\t01:00:00:00\t0\tV\n",
        // Looks in their spellings
        head + "Column\nStart\tEnd\tASC_SOP\tASC_SAT\tCDL\nData\n"
               "01:00:00:00\t01:00:01:00\t(1.10 1 1) (0 0 0) (1 1 1)\t0.90\t(1.1 1 1)(0 0 0)(1 1 1)(0.9)\n"
               "01:00:00:00\t01:00:01:00\t\t\t(2 1 1) (0 0 0) (1 1 1) (1)\n01:00:00:00\t01:00:01:00\t\t1\t\n",
        // Rates of rows, paths, text that is no English
        head + "Column\nStart\tEnd\tFPS\tSource File\tSource Path\tUNC\nData\n"
               "01:00:00:00\t01:00:01:00\t50.00\ta.mov\t/m/\t\n01:00:00:00\t01:00:01:00\t25\t\t\t\\\\srv\\Été\\b.mxf\n"
               "01:00:00:00\t01:00:01:00\t\tS:\\c d.mov\t/elsewhere\t\n",
    };
    for (const std::string& text : texts)
    {
        SCOPED_TRACE(text);
        const Read made = read(text);
        EXPECT_EQ(made.messages, "");
        ASSERT_TRUE(made.root);
        std::string messages;
        EXPECT_EQ(write(*made.root, &messages), text);
        EXPECT_EQ(messages, "");
        for (const char* const between : {"json", "otio"})
        {
            Options options;
            options.format = between;
            std::string bytes;
            ASSERT_TRUE(writeBuffer(*made.root, bytes, options).done) << between;
            const Reading again = readBuffer(bytes);
            ASSERT_TRUE(again.root) << between;
            EXPECT_EQ(write(*again.root), text) << between;
        }
    }
}

TEST(Ale, ReadsHeadsOfEarlierDocumentsAndEndsTheOneInFrontOfNewRows)
{
    // As documents kept them before line ends went along: the text, without the line feed at its end.
    const std::string rows = "Column\nName\tTracks\tStart\tEnd\nData\none\tV\t01:00:00:00\t01:00:04:00\n";
    for (const bool isDos : {false, true})
    {
        std::string text = "Heading\nFPS\t25\n" + rows;
        for (std::size_t at = text.find('\n'); isDos && at != text.npos; at = text.find('\n', at + 2))
            text.insert(at, 1, '\r');
        const Read made = read(text);
        ASSERT_TRUE(made.root);
        const std::string old = text.substr(0, text.find("one\t") - 1);
        const auto blob = DmBlobNode::create(L"ale", DmString(std::wstring(old.begin(), old.end()).c_str()));
        ASSERT_EQ(made.composition().setBaseBlob(blob), DM_NO_ERROR);
        EXPECT_EQ(write(*made.root), text);
    }
    // A row behind a head that ended the file, and one that ends it no more
    const Read bare = read("Heading\nFPS\t25\nColumn\nName\tTracks\tStart\tEnd\nData");
    const Read row = read("Heading\nFPS\t25\n" + rows.substr(0, rows.size() - 1));
    ASSERT_TRUE(bare.root && row.root);
    for (int i = 0; i < 2; ++i)
        bare.layer().addChild(DmTreeTool::deepClone(CoSharedPtr<DmTreeNode>(row.layer().getChild(0))));
    EXPECT_EQ(write(*bare.root), "Heading\nFPS\t25\n" + rows + "one\tV\t01:00:00:00\t01:00:04:00");
}

TEST(Ale, ARowIsASourceOnItsTrackBehindTheOneBefore)
{
    const Read made = read(head + "Column\nName\tTracks\tStart\tEnd\tTape\tASC_SOP\tSource File\tSource Path\nData\n"
                                  "one\tVA1\t10:00:00:00\t10:00:04:00\tT1\t(1.1 1 1)(0 0 0)(1 1 1)\ta.mov\t/media/\n"
                                  "sound\tA1A2\t11:00:00:00\t11:00:01:00\tT2\n"
                                  "none\n"
                                  "two\tV\t12:00:00:00\t12:00:02:00\tT1\n");
    ASSERT_TRUE(made.root) << made.messages;
    const DmSourceNode& one = made.source(0);
    EXPECT_EQ(one.getRecLength(), 100);
    EXPECT_EQ(made.source(0, 1).getRecIn(), 100);
    EXPECT_EQ(made.source(1).getRecIn(), 125);
    EXPECT_EQ(made.composition().getCompLength(), 175);
    EXPECT_EQ(made.composition().getFCM(), L"25 fps");
    const auto& input = dynamic_cast<const DmSourceNode::MediaInput&>(*one.getSrcInput());
    EXPECT_EQ(input.getSrcIn(), 900000);
    EXPECT_EQ(input.getSrcInfo()->getReelName(), L"T1");
    EXPECT_EQ(input.getSrcInfo()->getPath(), L"/media/a.mov");
    const auto* const look = dynamic_cast<const DmLookSettings*>(one.getEffects()[0].get());
    ASSERT_TRUE(look);
    EXPECT_EQ(look->getSlopeR(), 1.1);
    const DmMaterial material = dmMaterialOf(one, DM::FCM_25);
    EXPECT_TRUE(material.isLimited()) << "a row says how long its medium is";
    EXPECT_EQ(material.length, 100);
}

TEST(Ale, TheBestKnownColumnOfAKindCounts)
{
    const Read made = read(head + "Column\nReel Name\tReel\tTape\tUNC\tUNC Path\tStart\tEnd\nData\n"
                                  "a\tb\tc\t/d\t/e\t10:00:00:00\t10:00:04:00\n"
                                  "a\tb\t\t/d\t\t10:00:00:00\t10:00:04:00\n");
    ASSERT_TRUE(made.root) << made.messages;
    const auto reelAndPath = [&](int number)
    {
        const DmSourceInfo& info = *made.source(number).getSrcInput()->getSrcInfo();
        return dmUtf8(info.getReelName()) + dmUtf8(info.getPath());
    };
    EXPECT_EQ(reelAndPath(0), "c/e");
    EXPECT_EQ(reelAndPath(1), "b/d");
}

TEST(Ale, AnEditShowsAndTheRestStaysAsItWas)
{
    const std::string text = head + "Column\nName\tStart\tEnd\tDuration\tTape\tReel\tFPS\tCamera\nData\n"
                                    "one\t1:00:00:00\t01:00:04:00\t\tT1\tR1\t25.00\tA\n"
                                    "two\t02:00:00:00\t02:00:04:00\t0:4:00\tT2\tR2\t25.00\tB\n";
    const struct
    {
        const char* what;
        std::function<void(const Read&)> edit;
        const char* rows;
    } cases[] = {
        {"trim",
         [](const Read& made)
         {
             EXPECT_EQ(made.source(0).setRelIn(25), DM_NO_ERROR);
             EXPECT_EQ(made.source(0).setRecLength(50), DM_NO_ERROR);
         },
         "one\t01:00:01:00\t01:00:03:00\t\tT1\tR1\t25.00\tA\ntwo\t02:00:00:00\t02:00:04:00\t0:4:00\tT2\tR2\t25."
         "00\tB\n"},
        {"rename", [](const Read& made) { EXPECT_EQ(made.source(1).setName(L"tab\there"), DM_NO_ERROR); },
         "one\t1:00:00:00\t01:00:04:00\t\tT1\tR1\t25.00\tA\n"
         "tab here\t02:00:00:00\t02:00:04:00\t0:4:00\tT2\tR2\t25.00\tB\n"},
        {"reel",
         [](const Read& made)
         { EXPECT_EQ(made.source(0).getSrcInput()->getSrcInfo()->setReelName(L"T9"), DM_NO_ERROR); },
         "one\t1:00:00:00\t01:00:04:00\t\tT9\tR1\t25.00\tA\ntwo\t02:00:00:00\t02:00:04:00\t0:4:00\tT2\tR2\t25.00\tB\n"},
        {"delete",
         [](const Read& made)
         {
             made.layer().removeChild(0);
             made.layer().removeChild(0);
         },
         "two\t02:00:00:00\t02:00:04:00\t0:4:00\tT2\tR2\t25.00\tB\n"},
        {"ripple",
         [](const Read& made)
         {
             EXPECT_EQ(made.source(0).setRecLength(75), DM_NO_ERROR);
             EXPECT_EQ(made.source(1).setRecIn(75), DM_NO_ERROR);
         },
         "one\t1:00:00:00\t01:00:03:00\t\tT1\tR1\t25.00\tA\ntwo\t02:00:00:00\t02:00:04:00\t0:4:00\tT2\tR2\t25.00\tB\n"},
        {"paste",
         [](const Read& made)
         {
             const CoSharedPtr<DmTreeNode> copy = DmTreeTool::deepClone(CoSharedPtr<DmTreeNode>(&made.source(0)));
             EXPECT_EQ(copy->asSegment()->setRecIn(200), DM_NO_ERROR);
             made.layer().addChild(copy);
         },
         "one\t1:00:00:00\t01:00:04:00\t\tT1\tR1\t25.00\tA\ntwo\t02:00:00:00\t02:00:04:00\t0:4:00\tT2\tR2\t25.00\tB\n"
         "one\t1:00:00:00\t01:00:04:00\t\tT1\tR1\t25.00\tA\n"},
        {"order", [](const Read& made) { EXPECT_EQ(made.source(0).setRecIn(300), DM_NO_ERROR); },
         "two\t02:00:00:00\t02:00:04:00\t0:4:00\tT2\tR2\t25.00\tB\none\t1:00:00:00\t01:00:04:00\t\tT1\tR1\t25.00\tA\n"},
        {"split",
         [](const Read& made)
         {
             const CoSharedPtr<DmTreeNode> copy = DmTreeTool::deepClone(CoSharedPtr<DmTreeNode>(&made.source(1)));
             auto& tail = dynamic_cast<DmSourceNode&>(*copy);
             EXPECT_EQ(made.source(1).setRecLength(25), DM_NO_ERROR);
             EXPECT_EQ(tail.setRecLength(75), DM_NO_ERROR);
             EXPECT_EQ(tail.setRelIn(25), DM_NO_ERROR);
             EXPECT_EQ(tail.setRecIn(125), DM_NO_ERROR);
             made.layer().addChild(copy);
         },
         "one\t1:00:00:00\t01:00:04:00\t\tT1\tR1\t25.00\tA\ntwo\t02:00:00:00\t02:00:01:00\t00:00:01:00\tT2\tR2\t25."
         "00\tB\n"
         "two\t02:00:01:00\t02:00:04:00\t00:00:03:00\tT2\tR2\t25.00\tB\n"},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.what);
        const Read made = read(text);
        ASSERT_TRUE(made.root);
        each.edit(made);
        const std::string written = write(*made.root);
        EXPECT_EQ(written.substr(written.find("Data\n") + 5), each.rows);
    }
}

TEST(Ale, RatesAndMistakesAreNamedWithTheirLine)
{
    const std::string rows = "Column\nStart\tEnd\nData\n01:00:00:00\t01:00:01:00\n";
    const struct
    {
        std::string text;
        const char* lenient; ///< what a lenient reader says; an empty one is of what is no mistake
        const char* fcm;     ///< of the composition
    } cases[] = {
        {"Heading\nFPS\t23.976\n" + rows, "", "23.976 fps"},
        {"Heading\nFPS\t59.94\n" + rows, "", "59.94 fps NDF"},
        {"Heading\nFPS\t29.97\nColumn\nStart\tEnd\nData\n01:00:00;00\t01:00:01;00\n", "", "29.97 fps DF"},
        {"Heading\nFPS\t29.97\n" + rows, "", "29.97 fps NDF"},
        {"Heading\nFPS\t30\n" + rows, "", "30 fps"},
        {"Heading\nFPS\t23.98\n" + rows, "", "23.976 fps"},
        {"Heading\nFPS\t29.97 DF\n" + rows, "", "29.97 fps DF"},
        {"Heading\n" + rows,
         "x.ale: note: no rate in the heading, so the frame-code mode is taken to be '24 fps' "
         "(--fcm names another)\n",
         "24 fps"},
        {"Heading\nFPS\t48\n" + rows, "x.ale:2: no frame-code mode has the rate '48'; name one with --fcm\n", ""},
        {"Heading\nFPS\t24\nColumn\nData\n",
         "x.ale: an ALE has a line 'Column' with the names behind it, and a line "
         "'Data'\n",
         ""},
        {"Heading\nFPS\t24\nColumn\nStart\tEnd\nData\n01:00:00:24\t01:00:02:00\n",
         "x.ale:6: warning: Start is '01:00:00:24', no time code of '24 fps'; the row is kept as a gap\n", "24 fps"},
        {"Heading\nFPS\t24\nColumn\nStart\tEnd\nData\n01:00:00:20\t01:00:00:10\n",
         "x.ale:6: warning: End is before Start; the row is kept as a gap\n", "24 fps"},
        {"Heading\nFIELD_DELIM\tCOMMAS\nFPS\t24\n" + rows,
         "x.ale:1: warning: a field delimiter other than TABS; taken as tabs\n", "24 fps"},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.text);
        Options options;
        options.lenient = true;
        const Read made = read(each.text, options);
        EXPECT_EQ(made.messages, each.lenient);
        if (made.root)
        {
            EXPECT_EQ(dmUtf8(made.composition().getFCM()), each.fcm);
            EXPECT_EQ(write(*made.root), each.text);
        }
        else
            EXPECT_EQ(*each.fcm, '\0');
        const bool isMistake = made.messages.find("warning") != std::string::npos;
        EXPECT_EQ(read(each.text).root == nullptr, isMistake || !made.root);
    }
}

TEST(Ale, ACutIsARowAMedium)
{
    const std::string list = "TITLE: X\nFCM: NON-DROP FRAME\n"
                             "001  T1 V     C        10:00:10:00 10:00:12:00 01:00:00:00 01:00:02:00\n"
                             "* FROM CLIP NAME: a\n"
                             "002  BL V     C        00:00:00:00 00:00:01:00 01:00:02:00 01:00:03:00\n"
                             "003  T1 V     C        10:00:04:00 10:00:05:00 01:00:03:00 01:00:04:00\n"
                             "* FROM CLIP NAME: b\n"
                             "003  T2 V     D    025 11:00:00:00 11:00:02:00 01:00:04:00 01:00:06:00\n"
                             "* FROM CLIP NAME: b\n* TO CLIP NAME: c\n"
                             "004  T2 A2    C        11:00:00:00 11:00:03:00 01:00:04:00 01:00:07:00\n"
                             "* FROM CLIP NAME: c\n";
    Options options;
    options.format = "edl";
    options.fcm = DM::FCM_25;
    const Read made = read(list, options);
    ASSERT_TRUE(made.root) << made.messages;
    std::string messages;
    const std::string text = write(*made.root, &messages);
    EXPECT_EQ(text.substr(text.find("Column")), "Column\nName\tTracks\tStart\tEnd\tDuration\tTape\n\nData\n"
                                                "T1\tV\t10:00:04:00\t10:00:12:00\t00:00:08:00\tT1\n"
                                                "c\tVA2\t11:00:00:00\t11:00:03:00\t00:00:03:00\tT2\n")
        << "the outgoing clip of the dissolve plays on for its length";
    EXPECT_EQ(
        messages,
        "x.ale: note: an ALE lists media: where, how fast and with which effects a cut plays them is not in it\n");

    // What a mix comes from that nothing in front of it plays.
    const Read fade = read("TITLE: X\nFCM: NON-DROP FRAME\n"
                           "001  T1 V     C        10:00:10:00 10:00:10:00 01:00:00:00 01:00:00:00\n"
                           "001  T2 V     D    025 11:00:00:00 11:00:02:00 01:00:00:00 01:00:02:00\n",
                           options);
    ASSERT_TRUE(fade.root) << fade.messages;
    EXPECT_NE(write(*fade.root).find("T1\tV\t10:00:10:00\t10:00:11:00"), std::string::npos) << write(*fade.root);
}

TEST(Ale, FillsInWhatAListDoesNotSay)
{
    const Read media = read(head + "Column\nName\tStart\tEnd\tTape\tUNC Path\tASC_SAT\nData\n"
                                   "x\t10:00:00:00\t10:01:00:00\tt1\t/m/t1.mov\t0.5\n"
                                   "y\t11:00:00:00\t11:01:00:00\tA001C002_0412AB\t/m/y.mov\t\n"
                                   "clip\t12:00:00:00\t12:01:00:00\t\t/m/clip.mov\t\n"
                                   "a\t13:00:00:00\t13:01:00:00\tT4\t/m/a.mov\t\n"
                                   "b\t13:00:00:00\t13:02:00:00\tT4\t/m/b.mov\t\n"
                                   "late\t15:00:00:00\t15:01:00:00\tT5\t/m/late.mov\t\n");
    ASSERT_TRUE(media.root) << media.messages;
    Options options;
    options.format = "edl";
    options.fcm = DM::FCM_25;
    const Read cut = read("TITLE: X\nFCM: NON-DROP FRAME\n"
                          "001  T1 V     C        10:00:10:00 10:00:12:00 01:00:00:00 01:00:02:00\n"
                          "002  A001C002 V C      11:00:00:00 11:00:01:00 01:00:02:00 01:00:03:00\n"
                          "003  T3 V     C        12:00:00:00 12:00:01:00 01:00:03:00 01:00:04:00\n"
                          "* FROM CLIP NAME: Clip\n* SOURCE FILE: said\n"
                          "004  T4 V     C        13:00:00:00 13:00:01:00 01:00:04:00 01:00:05:00\n"
                          "005  T5 V     C        14:59:59:00 15:00:01:00 01:00:05:00 01:00:07:00\n"
                          "006  T9 V     C        15:00:00:00 15:00:01:00 01:00:07:00 01:00:08:00\n"
                          "007  T5 V     C        15:00:59:00 15:01:00:00 01:00:08:00 01:00:09:00\n"
                          "008  T5 V     D    025 15:00:02:00 15:00:04:00 01:00:09:00 01:00:11:00\n",
                          options);
    ASSERT_TRUE(cut.root) << cut.messages;
    const std::string messages = dmFindingsText("x.edl", fillMedia(*cut.root, *media.root));
    const auto info = [&](int number) -> const DmSourceInfo&
    { return *cut.source(number).getSrcInput()->getSrcInfo(); };
    EXPECT_EQ(info(0).getPath(), L"/m/t1.mov");
    EXPECT_EQ(info(0).getReelName(), L"T1") << "what the list says stays";
    EXPECT_EQ(cut.source(0).getEffects().count(), 1);
    EXPECT_EQ(info(1).getPath(), L"/m/y.mov") << "the list has cut the reel";
    EXPECT_EQ(info(2).getPath(), L"/m/clip.mov");
    EXPECT_EQ(info(3).getPath(), L"");
    EXPECT_EQ(info(4).getPath(), L"") << "plays from before the row begins";
    EXPECT_EQ(info(6).getPath(), L"") << "its dissolve plays what is behind the row's end";
    EXPECT_EQ(info(7).getPath(), L"/m/late.mov");
    EXPECT_NE(messages.find("01:00:04:00: clips that two rows of a list of media fit"), std::string::npos) << messages;
    EXPECT_EQ(std::ranges::count(messages, '\n'), 1) << messages;
}

} // namespace
