// What two editors did to one cut, put together: drawings for each pair of edits, and what holds for any three
// documents.
#include "zrLaws.h"

#include "dmTreeTool.h"

#include <gtest/gtest.h>

namespace
{

using zrMutations::Source;

std::string conflictsOf(const DmMerge& merge)
{
    std::string text;
    for (const DmMergeConflict& conflict : merge.conflicts())
        text += (text.empty() ? "" : "; ") + (conflict.clip.empty() ? "" : conflict.clip + ": ") + conflict.what;
    return text;
}

std::string drawn(const DmMerge& merge)
{
    return merge.result() ? zrDrawing::draw(DmTimeline::publish(merge.result())) : dmUtf8(merge.status().info());
}

DmSegmentNode& shotAt(const CoSharedPtr<DmRoot>& root, int element)
{
    return *root->getChild(0)->getChild(0)->getChild(0)->getChild(element)->asSegment();
}

} // namespace

TEST(Merge, PutsEditsOfTwoTogether)
{
    const struct
    {
        const char* what;
        const char* base;
        const char* ours;
        const char* theirs;
        const char* merged;
        const char* conflicts = "";
        const char* from[4] = {"", "", "", ""}; ///< what shots play: base, ours, theirs, merged
    } rows[] = {
        {"one side", "AAAA|BBBB", "AAA|BBBB", "AAAA|BBBB", "AAA|BBBB"},
        {"the same on both", "AAAA|BBBB|CC", "AAA|BBBB|CC", "AAA|BBBB|CC", "AAA|BBBB|CC"},
        {"two ripples", "AAAA|BBBB|CCCC", "AA|BBBB|CCCC", "AAAA|BBBB|CC", "AA|BBBB|CC"},
        {"two ripples that add up", "AAAA|BBBB|CCCC", "AA|BBBB|CCCC", "AAAA|BBBBBB|CCCC", "AA|BBBBBB|CCCC"},
        {"ripple and added", "AAAA|BBBB|CCCC", "AA|BBBB|CCCC", "AAAA|BBBB|XXX|CCCC", "AA|BBBB|XXX|CCCC"},
        {"added beside a ripple", "AAAA|BBBB", "AA|BBBB", "AAAA|XXX|BBBB", "AA|XXX|BBBB"},
        {"two added", "AAAA|BBBB|CCCC", "AAAA|XX|BBBB|CCCC", "AAAA|BBBB|YYY|CCCC", "AAAA|XX|BBBB|YYY|CCCC"},
        {"the same added", "AAAA|BBBB", "AAAA|XX|BBBB", "AAAA|XX|BBBB", "AAAA|XX|BBBB"},
        {"two removed", "AAAA|BBBB|CCCC|DDDD", "AAAA|CCCC|DDDD", "AAAA|BBBB|DDDD", "AAAA|DDDD"},
        {"removed and trimmed beside it", "AAAA|BBBB|CCCC", "AAAA|CCCC", "AA|BBBB|CCCC", "AA|CCCC"},
        {"lifted and added behind", "AAAA|BBBB|CCCC", "AAAA|----|CCCC", "AAAA|BBBB|CCCC|DD", "AAAA|----|CCCC|DD"},
        {"a roll and a trim elsewhere",
         "AAAA|BBBB|CCCC",
         "AAAAA|BBB|CCCC",
         "AAAA|BBBB|CC",
         "AAAAA|BBB|CC",
         "",
         {"B10", "B11", "B10", "B11"}},
        {"a dissolve and a roll",
         "AAAAAA|BBBBBB",
         "AAAA////BBBB",
         "AAAAAAA|BBBBB",
         "AAAAA////BBB",
         "",
         {"B10", "B12", "B11", "B13"}},
        {"a dissolve and a ripple in front",
         "AA|BBBBBB|CCCCCC",
         "AA|BBBB////CCCC",
         "A|BBBBBB|CCCCCC",
         "A|BBBB////CCCC",
         "",
         {"C10", "C12", "C10", "C12"}},
        {"two dissolves",
         "AAAA|BBBB|CCCC",
         "AAA//BBB|CCCC",
         "AAAA|BBB//CCC",
         "AAA//BB//CCC",
         "",
         {"B10 C10", "B11 C10", "B10 C11", "B11 C11"}},
        {"moved and trimmed", "AAAA|BBBB|CCCC", "BBBB|AAAA|CCCC", "AAAA|BBBB|CC", "BBBB|AAAA|CC"},
        {"a slip and a trim",
         "AAAA|BBBB|CCCC",
         "AAAA|BBBB|CCCC",
         "AAAA|BB|CCCC",
         "AAAA|BB|CCCC",
         "",
         {"B10", "B13", "B10", "B13"}},
        {"tracks", "AAAA|BBBB\naaaa|bbbb", "AA|BBBB\naa|bbbb", "AAAA|BBBB\naaaa|bb|bbbb", "AA|BBBB\naa|bb|bbbb"},
        {"a new track moves along", "AAAA|BBBB", "AA|BBBB", "AAAA|BBBB\n    |cccc", "AA|BBBB\n--|cccc"},
        // Conflicts: ours stands.
        {"both trimmed one cut", "AAAA|BBBB|CC", "AA|BBBB|CC", "AAA|BBBB|CC", "AA|BBBB|CC", "B: both trimmed this cut"},
        {"rolled and trimmed",
         "AAAA|BBBB|CC",
         "AAAAA|BBB|CC",
         "AAA|BBBB|CC",
         "AAAAA|BBB|CC",
         "B: both trimmed this cut",
         {"B10", "B11", "B10", "B11"}},
        {"other material at one place", "AAAA|BBBB", "AAAA|XX|BBBB", "AAAA|YYY|BBBB", "AAAA|XX|BBBB",
         "X: both put other material at one place"},
        {"removed what the other trimmed", "AAAA|BBBB|CCCC", "AAAA|CCCC", "AAAA|BB|CCCC", "AAAA|CCCC",
         "B: one side removed what the other changed"},
        {"trimmed what the other removed", "AAAA|BBBB|CCCC", "AAAA|BB|CCCC", "AAAA|CCCC", "AAAA|BB|CCCC",
         "B: one side removed what the other changed"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.what);
        const auto base = zrDrawing::tree(row.base, row.from[0]);
        const auto ours = zrDrawing::tree(row.ours, row.from[1]);
        const auto theirs = zrDrawing::tree(row.theirs, row.from[2]);
        const DmMerge merge = DmMerge::merge(base.get(), *ours, *theirs);
        ASSERT_TRUE(merge.result()) << dmUtf8(merge.status().info());
        EXPECT_EQ(drawn(merge), row.merged);
        EXPECT_EQ(conflictsOf(merge), row.conflicts);
        // What nobody disputes is the same whoever is ours.
        const DmMerge swapped = DmMerge::merge(base.get(), *theirs, *ours);
        if (*row.conflicts == '\0')
        {
            EXPECT_EQ(drawn(swapped), row.merged) << "swapped";
        }
        const DmMerge favoured = DmMerge::merge(base.get(), *theirs, *ours, DmMergeFavour::Theirs);
        EXPECT_EQ(drawn(favoured), row.merged) << "theirs, swapped";
        const auto* const composition = static_cast<DmCompositionNode*>(merge.result()->getChild(0));
        EXPECT_EQ(composition->getCueMarks().size(), merge.conflicts().size());
        EXPECT_EQ(DmTreeTool::findViolations(const_cast<DmCompositionNode*>(composition), DM_VALIDATE_ALL).size(), 0U);
        if (*row.from[3] != '\0')
        {
            const std::string plays = zrDrawing::positions(DmTimeline::publish(merge.result()));
            for (std::istringstream words(row.from[3]); !words.eof();)
            {
                std::string word;
                words >> word;
                EXPECT_NE(plays.find(word), std::string::npos) << plays;
            }
        }
    }
}

TEST(Merge, PutsDifferentRespectsOfOneShotTogether)
{
    const auto base = zrDrawing::tree("AAAA|BBBB|CCCC");
    const auto ours = zrDrawing::tree("AAAA|BB|CCCC");
    const auto theirs = zrDrawing::tree("AAAA|BBBB|CCCC");
    static_cast<void>(shotAt(theirs, 2).setName(L"Beach"));
    static_cast<void>(shotAt(theirs, 2).addEffect(DmColourSettings::create()));
    static_cast<void>(shotAt(ours, 2).addSegmentMark(DmCueMark::create(L"eyes", 2.0)));
    const DmMerge merge = DmMerge::merge(base.get(), *ours, *theirs);
    EXPECT_EQ(conflictsOf(merge), "");
    const DmSegmentNode& shot = shotAt(merge.result(), 2);
    EXPECT_EQ(shot.getName(), L"Beach");
    EXPECT_EQ(shot.getRecLength(), 2.0);
    EXPECT_EQ(shot.getEffects().count(), 1);
    EXPECT_EQ(shot.getSegmentMarks().count(), 1);

    // Both name it: ours stands, and a red mark says what theirs had.
    static_cast<void>(shotAt(ours, 2).setName(L"Coast"));
    const DmMerge named = DmMerge::merge(base.get(), *ours, *theirs);
    EXPECT_EQ(conflictsOf(named), "Coast: both changed it");
    EXPECT_EQ(named.conflicts()[0].text(), "V1 00:00:00:04 Coast: both changed it; ours: Coast, theirs: Beach");
    const auto* const mark = static_cast<DmCompositionNode*>(named.result()->getChild(0))->getCueMarks().at(0);
    ASSERT_TRUE(mark);
    EXPECT_EQ(mark->getCueMarkTime(), 4.0);
    EXPECT_EQ(mark->getCueMarkColorRed(), 255);
    EXPECT_EQ(mark->getCueMarkComment(), L"both changed it; theirs: Beach");
    const DmMerge favoured = DmMerge::merge(base.get(), *ours, *theirs, DmMergeFavour::Theirs);
    EXPECT_EQ(shotAt(favoured.result(), 2).getName(), L"Beach");
}

TEST(Merge, HoldsItsIdentitiesForAnyDocuments)
{
    for (unsigned seed = 1; seed <= 40; ++seed)
    {
        Source source(seed);
        const auto a = zrMutations::randomDocument(source);
        const auto b = zrLaws::changed(*a, source);
        const auto c = zrLaws::changed(*a, source);
        ASSERT_TRUE(a && b && c);
        EXPECT_EQ(zrLaws::mergeFault(*a, *b, *c), "") << seed;
        const DmMerge one = DmMerge::merge(a.get(), *b, *c, DmMergeFavour::Ours);
        const DmMerge swapped = DmMerge::merge(a.get(), *c, *b, DmMergeFavour::Ours);
        if (one.conflicts().empty() && swapped.conflicts().empty())
        {
            const DmDiff diff = DmDiff::between(one.result().get(), swapped.result().get());
            EXPECT_TRUE(diff.isSame()) << seed << diff.text(true);
        }
    }
}
