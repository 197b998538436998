// What two editors did to one cut, put together: drawings for each pair of edits, and what holds for any three
// documents.
#include "zrLaws.h"
#include "zrMergeModel.h"
#include "zrTable.h"
#include "zrTest.h"

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
    for (const ZrRow& row : zrRowsOf("merges.txt"))
    {
        SCOPED_TRACE(row);
        const std::string& merged = row[4];
        const std::string& conflicts = row[5];
        const auto base = zrDrawing::tree(row[1], row[6]);
        const auto ours = zrDrawing::tree(row[2], row[7]);
        const auto theirs = zrDrawing::tree(row[3], row[8]);
        const DmMerge merge = DmMerge::merge(base.get(), *ours, *theirs);
        ASSERT_TRUE(merge.result()) << dmUtf8(merge.status().info());
        EXPECT_EQ(drawn(merge), merged);
        EXPECT_EQ(conflictsOf(merge), conflicts);
        // What nobody disputes is the same whoever is ours.
        const DmMerge swapped = DmMerge::merge(base.get(), *theirs, *ours);
        if (conflicts.empty())
        {
            EXPECT_EQ(drawn(swapped), merged) << "swapped";
        }
        const DmMerge favoured = DmMerge::merge(base.get(), *theirs, *ours, DmMergeFavour::Theirs);
        EXPECT_EQ(drawn(favoured), merged) << "theirs, swapped";
        const auto* const composition = static_cast<DmCompositionNode*>(merge.result()->getChild(0));
        EXPECT_EQ(composition->getCueMarks().size(), merge.conflicts().size());
        EXPECT_EQ(DmTreeTool::findViolations(const_cast<DmCompositionNode*>(composition), DM_VALIDATE_ALL).size(), 0U);
        if (!row[9].empty())
        {
            const std::string plays = zrDrawing::positions(DmTimeline::publish(merge.result()));
            for (std::istringstream words(row[9]); !words.eof();)
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

TEST(Merge, KeepsWhatGapsAndSeamsAreCalled)
{
    const auto base = zrDrawing::tree("AAAA|--|BBBB|CCCC|---|DDDD");
    const auto ours = zrDrawing::tree("AA|--|BBBB|CCCC|---|DDDD");
    const auto theirs = zrDrawing::tree("AAAA|--|BBBB|CCCC|---|DD");
    for (const auto& root : {base, ours, theirs})
    {
        DmTreeNode* const layer = root->getChild(0)->getChild(0)->getChild(0);
        static_cast<void>(layer->getChild(2)->setName(L"reel change"));
        static_cast<void>(layer->getChild(5)->setName(L"music"));
    }
    static_cast<void>(shotAt(theirs, 8).setName(L"missing"));
    const DmMerge merge = DmMerge::merge(base.get(), *ours, *theirs);
    EXPECT_EQ(conflictsOf(merge), "");
    EXPECT_EQ(drawn(merge), "AA|--|BBBB|CCCC|---|DD");
    const DmTreeNode* const layer = merge.result()->getChild(0)->getChild(0)->getChild(0);
    EXPECT_EQ(layer->getChild(2)->getName(), L"reel change");
    EXPECT_EQ(layer->getChild(5)->getName(), L"music");
    EXPECT_EQ(layer->getChild(8)->getName(), L"missing");
}

TEST(Merge, TellsWhatBothChangedOfGapsAndSeams)
{
    using Root = CoSharedPtr<DmRoot>;
    const auto called = [](int element, const wchar_t* name)
    {
        return [=](const Root& root)
        { static_cast<void>(root->getChild(0)->getChild(0)->getChild(0)->getChild(element)->setName(name)); };
    };
    const auto noted = [](const Root& root) { static_cast<void>(shotAt(root, 2).setComment(L"waits for the shoot")); };
    const struct
    {
        const char* what;
        std::function<void(const Root&)> ours;
        std::function<void(const Root&)> theirs;
        const char* conflicts;
        const char* name; ///< of the gap
        const char* mark; ///< what it says, and where
    } rows[] = {
        {"two names of a gap", called(2, L"M"), called(2, L"N"), "M: both changed it", "M",
         "2 both changed it; theirs: N"},
        {"one name", called(2, L"M"), called(2, L"M"), "", "M", ""},
        {"a name and a note", called(2, L"M"), noted, "", "M", ""},
        {"two names of a seam", called(1, L"M"), called(1, L"N"), "both changed it", "untitled",
         "2 both changed it; theirs: N"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.what);
        const auto base = zrDrawing::tree("AAAA|--|BBBB|CCCC");
        const auto ours = zrDrawing::tree("AAAA|--|BBBB|CCCC");
        const auto theirs = zrDrawing::tree("AA|--|BBBB|CCCC");
        row.ours(ours);
        row.theirs(theirs);
        const DmMerge merge = DmMerge::merge(base.get(), *ours, *theirs);
        EXPECT_EQ(conflictsOf(merge), row.conflicts);
        EXPECT_EQ(dmUtf8(shotAt(merge.result(), 2).getName()), row.name);
        EXPECT_EQ(shotAt(merge.result(), 2).getComment().empty(), std::string_view(row.what) != "a name and a note");
        std::string marks;
        const auto* const composition = static_cast<DmCompositionNode*>(merge.result()->getChild(0));
        for (int i = 0; i < composition->getCueMarks().count(); ++i)
            marks += std::to_string(int(composition->getCueMarks().at(i)->getCueMarkTime())) + " " +
                     dmUtf8(composition->getCueMarks().at(i)->getCueMarkComment());
        EXPECT_EQ(marks, row.mark);
        const DmMerge favoured = DmMerge::merge(base.get(), *ours, *theirs, DmMergeFavour::Theirs);
        EXPECT_EQ(favoured.conflicts().size(), merge.conflicts().size());
    }
}

TEST(Merge, BreaksNoRuleThatBothKept)
{
    // One makes the sound a picture, the other puts more sound there: each is fine by itself.
    const auto base = zrDrawing::tree("AAAA\nbbbb");
    const auto ours = zrDrawing::tree("AAAA\nbbbb");
    const auto theirs = zrDrawing::tree("AAAA\nbbbb|cc");
    auto& track = static_cast<DmTrackNode&>(*ours->getChild(0)->getChild(1));
    auto& layer = static_cast<DmLayerNode&>(*track.getChild(0));
    static_cast<void>(track.setMediaType(DM_MEDIA_VIDEO));
    static_cast<void>(layer.setMediaType(DM_MEDIA_VIDEO));
    static_cast<void>(layer.getChild(0)->asSegment()->setMediaType(DM_MEDIA_VIDEO));
    const DmMerge merge = DmMerge::merge(base.get(), *ours, *theirs);
    EXPECT_EQ(conflictsOf(merge), "the edits cannot be put together");
    EXPECT_EQ(drawn(merge), "AAAA\nbbbb");
    EXPECT_EQ(drawn(DmMerge::merge(base.get(), *ours, *theirs, DmMergeFavour::Theirs)), "AAAA\nbbbb|cc");
}

TEST(Merge, MarksConflictsWhereTheResultHasThem)
{
    const auto base = zrDrawing::tree("AAAA|BBBB|CCCC");
    const auto ours = zrDrawing::tree("AAAA|BBBB|CCCC");
    const auto theirs = zrDrawing::tree("A|BBBB|CCCC");
    static_cast<void>(shotAt(ours, 4).setComment(L"ours"));
    static_cast<void>(shotAt(theirs, 4).setComment(L"theirs"));
    for (const bool swapped : {false, true})
    {
        const DmMerge merge = DmMerge::merge(base.get(), swapped ? *theirs : *ours, swapped ? *ours : *theirs);
        ASSERT_EQ(merge.conflicts().size(), 1U);
        EXPECT_EQ(merge.conflicts()[0].path.substr(0, 25), "/DmRoot/children/0/DmComp");
        const auto* const composition = static_cast<DmCompositionNode*>(merge.result()->getChild(0));
        ASSERT_EQ(composition->getCueMarks().count(), 1);
        EXPECT_EQ(composition->getCueMarks().at(0)->getCueMarkTime(), 5.0);
    }
}

TEST(Merge, LeavesOutWhatDoesNotFitAndNoMore)
{
    // Both play so much more of B at either end that there is not as much of it; D is beside that.
    const auto base = zrDrawing::tree("AAAA|BBBB|CCCC|DDDD", "B2/8");
    const auto ours = zrDrawing::tree("AA|BBBBBB|CCCC|DDDD", "B0/8");
    const auto theirs = zrDrawing::tree("AAAA|BBBB|----|CC|DDDD|EE", "B2/8");
    const DmMerge merge = DmMerge::merge(base.get(), *ours, *theirs);
    EXPECT_EQ(conflictsOf(merge), "");
    EXPECT_EQ(drawn(merge), "AA|BBBBBB|----|CC|DDDD|EE");
    // A dissolve that needs frames which the other side's trim used up.
    const auto dissolve = zrDrawing::tree("AAAA|BB////CC|DDDD", "B2/8 C2");
    const auto longer = zrDrawing::tree("AAAA|BBBBBB|CCCC|DD", "B2/8");
    const DmMerge other = DmMerge::merge(base.get(), *longer, *dissolve);
    EXPECT_EQ(conflictsOf(other), "B: the edits of both do not fit together here");
    EXPECT_EQ(drawn(other), "AAAA|BBBBBB|CCCC|DD");
}

TEST(Merge, PlaysWhatANaiveModelPlays)
{
    int merged = 0;
    for (unsigned seed = 1; seed <= 32; ++seed)
    {
        Source source(seed);
        bool isEdited = false;
        EXPECT_EQ(zrMergeModel::fault(source, isEdited), "") << seed;
        merged += isEdited ? 1 : 0;
    }
    EXPECT_GT(merged, 26);
}

TEST(Merge, DecidesWhatBothAdded)
{
    using Root = CoSharedPtr<DmRoot>;
    const auto effect = [](const CoSharedPtr<DmEffectSettings>& settings)
    { return [=](const Root& root) { static_cast<void>(shotAt(root, 2).addEffect(settings)); }; };
    const auto called = [](int element)
    { return [=](const Root& root) { static_cast<void>(shotAt(root, element).setSegmentId(L"new-7")); }; };
    const auto nothing = [](const Root&) {};
    const struct
    {
        const char* what;
        const char* ours;
        std::function<void(const Root&)> change;
        const char* theirs;
        std::function<void(const Root&)> otherChange;
        const char* merged;
        const char* conflicts;
    } rows[] = {
        {"two effects on one shot", "AAAA|BBBB", effect(DmColourSettings::create()), "AAAA|BBBB",
         effect(DmResizeSettings::create()), "AAAA|BBBB", "B: both added an effect"},
        {"the same effect", "AAAA|BBBB", effect(DmColourSettings::create()), "AAAA|BBBB",
         effect(DmColourSettings::create()), "AAAA|BBBB", ""},
        {"a grade of what the other removed", "AAAA", nothing, "AAAA|BBBB", effect(DmColourSettings::create()), "AAAA",
         "B: one side removed what the other changed"},
        {"two tracks of one number", "AAAA|BBBB\nCCCC", nothing, "AAAA|BBBB\nDDDD", nothing, "AAAA|BBBB\nCCCC\nDDDD",
         "both added a track 2"},
        {"one id on two media", "AAAA|XX|BBBB", called(2), "AAAA|BBBB|YYY", called(4), "AAAA|XX|BBBB|YYY", ""},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.what);
        const auto base = zrDrawing::tree("AAAA|BBBB");
        const auto ours = zrDrawing::tree(row.ours);
        const auto theirs = zrDrawing::tree(row.theirs);
        row.change(ours);
        row.otherChange(theirs);
        const DmMerge merge = DmMerge::merge(base.get(), *ours, *theirs);
        EXPECT_EQ(drawn(merge), row.merged);
        EXPECT_EQ(conflictsOf(merge), row.conflicts);
        auto* const composition = static_cast<DmCompositionNode*>(merge.result()->getChild(0));
        std::set<int> numbers;
        for (int i = 0; i < composition->getNbChildren(); ++i)
            numbers.insert(static_cast<DmTrackNode*>(composition->getChild(i))->getTrackNum());
        EXPECT_EQ(int(numbers.size()), composition->getNbChildren());
    }
}

TEST(Merge, TakesATrackInThePlaceOfAnotherForNoChangeOfIt)
{
    const auto base = zrDrawing::tree("AAAA\nBBBB");
    const auto ours = zrDrawing::tree("AAAA\nCCCC");
    const auto theirs = zrDrawing::tree("AAAA\nBBBB");
    const auto trackOf = [](DmRoot& root) { return static_cast<DmTrackNode*>(root.getChild(0)->getChild(1)); };
    const auto shotOf = [&](DmRoot& root)
    { return static_cast<DmSegmentNode*>(trackOf(root)->getChild(0)->getChild(0)); };
    static_cast<void>(trackOf(*ours)->setTrackNum(3));
    static_cast<void>(shotOf(*theirs)->setMuted(true));
    const DmMerge merge = DmMerge::merge(base.get(), *ours, *theirs);
    EXPECT_EQ(drawn(merge), "AAAA\nCCCC");
    EXPECT_FALSE(shotOf(*merge.result())->getMuted());
    ASSERT_EQ(merge.conflicts().size(), 1U);
    EXPECT_EQ(merge.conflicts()[0].what, "one side removed what the other changed");
}

TEST(Merge, SaysWhatMeetsATransition)
{
    const auto base = zrDrawing::tree("AAAA|BBBB", "B10");
    const auto added = zrDrawing::tree("AAAA|XX|BBBB", "B10");
    const auto dissolved = zrDrawing::tree("AAA//BBB", "B11");
    const DmMerge merges[] = {DmMerge::merge(base.get(), *added, *dissolved),
                              DmMerge::merge(base.get(), *dissolved, *added)};
    const char* const told[] = {"ours: X, theirs: a transition", "ours: a transition, theirs: X"};
    for (int i = 0; i < 2; ++i)
    {
        ASSERT_EQ(merges[i].conflicts().size(), 1U);
        EXPECT_NE(merges[i].conflicts()[0].text().find(told[i]), std::string::npos) << merges[i].conflicts()[0].text();
    }
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
