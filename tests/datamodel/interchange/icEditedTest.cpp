/// Lists that are read, edited and written: what was edited plays, and nothing that the file said before is said on.
#include "../tree/treeTools.h"
#include "icEdlWriter.h"
#include "icInterchange.h"

#include "dmEdit.h"
#include "dmPlayed.h"

#include <functional>
#include <set>

using namespace interchange;

namespace
{

const std::string list = "TITLE: T\nFCM: NON-DROP FRAME\n* FRAME RATE: 24 fps\n"
                         "001  A        AA/V  C        01:00:00:00 01:00:04:00 10:00:00:00 10:00:04:00\n"
                         "* FROM CLIP NAME: One\n"
                         "* LOC: 10:00:01:00 RED     here\n"
                         "002  A        V     C        01:00:04:00 01:00:04:00 10:00:04:00 10:00:04:00\n"
                         "002  B        V     D    024 02:00:00:00 02:00:04:00 10:00:04:00 10:00:08:00\n"
                         "EFFECTS NAME IS CROSS DISSOLVE\n"
                         "* FROM CLIP NAME: One\n"
                         "* TO CLIP NAME: Two\n"
                         "003  C        V     C        03:00:00:00 03:00:08:00 10:00:08:00 10:00:12:00\n"
                         "M2   C              048.0                03:00:00:00\n"
                         "004  D        V     C        04:00:00:00 04:00:02:00 10:00:12:00 10:00:14:00\n"
                         "M2   D              -024.0               04:00:00:00\n";

/// What is seen and heard, and when.
std::vector<std::string> playedOf(const DmRoot& root)
{
    std::vector<std::string> all;
    const DmTreeNode& composition = *root.getChild(0);
    for (int t = 0; t < composition.getNbChildren(); ++t)
    {
        const auto& track = dynamic_cast<const DmTrackNode&>(*composition.getChild(t));
        const DmTreeNode& layer = *track.getChild(0);
        for (int i = 0; i < layer.getNbChildren(); ++i)
        {
            std::ostringstream text;
            text << (track.getMediaType() == DM_MEDIA_AUDIO ? 'A' : 'V') << track.getTrackNum() << ' ';
            if (const auto* const mix = dynamic_cast<const DmTrxEffectNode*>(layer.getChild(i)))
                text << "mix " << mix->getRecIn() << " + " << mix->getRecLength();
            else if (const auto* const source = dynamic_cast<const DmSourceNode*>(layer.getChild(i)))
            {
                const DmPlayed played(*source, DM::FCM_24);
                const auto& input = dynamic_cast<const DmSourceNode::MediaInput&>(*source->getSrcInput());
                text << dmUtf8(input.getSrcInfo()->getReelName()) << ' ' << source->getRecIn() << " + "
                     << source->getRecLength() << " from " << input.getSrcIn() + *played.positionAt(source->getRecIn())
                     << " at " << played.speed();
            }
            else
                continue;
            all.push_back(text.str());
        }
    }
    return all;
}

struct EditCase
{
    const char* what;
    std::function<DmStatus(DmEdit&)> edit;
    std::string listed; ///< what the picture's events are then, by number, reel and record in-time
};

const EditCase editCases[] = {
    {"trim",
     [](DmEdit& edit) {
         return edit.trim({0, 0, 6}, DM_TAIL, -12);
     },
     "1A00:00 2A04:00 2B04:00 3C08:00 4D12:00 "},
    {"trim of a head",
     [](DmEdit& edit) {
         return edit.trim({0, 0, 4}, DM_HEAD, 12);
     },
     "1A00:00 2A04:00 2B04:00 3C08:12 4D12:00 "},
    {"split",
     [](DmEdit& edit) {
         return edit.split({0, 0}, 864024);
     },
     "1A00:00 3A01:00 4A04:00 4B04:00 5C08:00 6D12:00 "},
    {"split of what plays backwards",
     [](DmEdit& edit) {
         return edit.split({0, 0}, 864000 + 312);
     },
     "1A00:00 2A04:00 2B04:00 3C08:00 4D12:00 5D13:00 "},
    {"delete",
     [](DmEdit& edit) {
         return edit.liftSegment({0, 0, 4});
     },
     "1A00:00 2A04:00 2B04:00 4D12:00 "},
    {"delete and close up",
     [](DmEdit& edit) {
         return edit.extractSegment({0, 0, 4});
     },
     "1A00:00 2A04:00 2B04:00 4D08:00 "},
    {"paste",
     [](DmEdit& edit)
     {
         const CoSharedPtr<DmTreeNode> copied = edit.timeline().element({0, 0, 0});
         return edit.insert({0, 0}, 864000 + 192, CoSharedPtr<DmSegmentNode>(copied->asSegment()));
     },
     "1A00:00 2A04:00 2B04:00 3A08:00 4C12:00 5D16:00 "},
    {"ripple before a dissolve",
     [](DmEdit& edit) {
         return edit.rippleTrim({0, 0, 0}, DM_TAIL, -24);
     },
     "1A00:00 2A03:00 2B03:00 3C07:00 4D11:00 "},
    {"no dissolve",
     [](DmEdit& edit) {
         return edit.cut({0, 0, 1});
     },
     "1A00:00 2B04:00 3C08:00 4D12:00 "},
    {"another speed",
     [](DmEdit& edit) {
         return edit.speed({0, 0, 4}, 0.5);
     },
     "1A00:00 2A04:00 2B04:00 3C08:00 4D12:00 "},
    {"a slip",
     [](DmEdit& edit) {
         return edit.slip({0, 0, 4}, 10);
     },
     "1A00:00 2A04:00 2B04:00 3C08:00 4D12:00 "},
};

/// The events of a list that have a picture.
std::string eventsOf(const std::string& text)
{
    std::string events;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (line.size() > 60 && line[0] == '0' && line.substr(14, 4).find('V') != line.npos)
            events += line.substr(2, 1) + line.substr(5, 1) + line.substr(59, 5) + ' ';
    return events;
}

} // namespace

TEST(Edited, PlaysWhatWasEditedInEveryFormat)
{
    const CoSharedPtr<DmRoot> root = readBuffer(list).root;
    ASSERT_TRUE(root);
    for (const std::string format : {"edl", "otio", "json", "fcp7xml"})
        for (const EditCase& each : editCases)
        {
            SCOPED_TRACE(format + ", " + each.what);
            Options options;
            options.format = format;
            std::string bytes;
            ASSERT_TRUE(writeBuffer(*root, bytes, options).done);
            DmEdit edit(DmTimeline::publish(readBuffer(bytes).root), {.linked = false, .syncLock = false});
            const DmStatus status = each.edit(edit);
            ASSERT_TRUE(status.ok()) << dmUtf8(status.info());
            const CoSharedPtr<DmRoot> edited = edit.timeline().root();

            Writing writing = writeBuffer(*edited, bytes, options);
            ASSERT_TRUE(writing.done);
            // A list ends with its last event, which is said.
            std::erase_if(writing.findings,
                          [](const DmFinding& finding) { return finding.severity == DmFinding::Note; });
            EXPECT_EQ(dmFindingsText(format, writing.findings), "");
            std::istringstream stream(bytes);
            const Reading back = readStream(stream);
            ASSERT_TRUE(back.root) << dmFindingsText(format, back.findings);
            EXPECT_EQ(playedOf(*back.root), playedOf(*edited)) << bytes;

            if (format == "fcp7xml") // which keeps no numbers and notes of lists
                continue;
            options.format = "edl";
            ASSERT_TRUE(writeBuffer(*back.root, bytes, options).done);
            EXPECT_EQ(eventsOf(bytes), each.listed) << bytes;
            // Of two copies of an event the first has its notes.
            const auto count = [&bytes](const char* text)
            {
                std::size_t found = 0;
                for (std::size_t at = bytes.find(text); at != bytes.npos; at = bytes.find(text, at + 1))
                    ++found;
                return found;
            };
            EXPECT_EQ(count("CROSS DISSOLVE"), each.what == std::string_view("no dissolve") ? 0U : 1U) << bytes;
        }
}

TEST(Edited, AnEventAtTheFrontLeavesTheIdsOfTheOthers)
{
    const auto idsOf = [](const DmRoot& root)
    {
        std::set<std::wstring> ids;
        for (int t = 0; t < root.getChild(0)->getNbChildren(); ++t)
        {
            const DmTreeNode& layer = *root.getChild(0)->getChild(t)->getChild(0);
            for (int i = 0; i < layer.getNbChildren(); ++i)
                if (const auto* const source = dynamic_cast<const DmSourceNode*>(layer.getChild(i)); source)
                {
                    EXPECT_TRUE(ids.insert(source->getSegmentId().c_str()).second);
                }
        }
        return ids;
    };
    const std::string event = "900  Z        V     C        05:00:00:00 05:00:02:00 09:00:00:00 09:00:02:00\n";
    std::string longer = list;
    longer.insert(longer.find("001  A"), event);
    std::set<std::wstring> expected = idsOf(*readBuffer(list).root);
    EXPECT_EQ(expected.count(L"A@86400#V1") + expected.count(L"A@86400#A2"), 2U); // linked
    expected.insert(L"Z@432000#V1");
    Options lenient;
    lenient.lenient = true; // the number falls behind 900
    EXPECT_EQ(idsOf(*readBuffer(longer, lenient).root), expected);
}

TEST(Streams, AreReadAgainForThePlaceOfAMistake)
{
    std::istringstream wrong("{\"DmRoot\":{\"classId\":10,\n\"name\":7x}}");
    EXPECT_TRUE(dmFindingsText("a.json", readStream(wrong).findings).starts_with("a.json:2:"));
}
