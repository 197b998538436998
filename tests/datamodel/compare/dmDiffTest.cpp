// What changed between two cuts, in drawings: before, after, and the change list that an assistant editor expects.
#include "zrDrawing.h"
#include "zrMutations.h"
#include "zrTable.h"
#include "zrTest.h"
#include "zrTestSmallStack.h"

namespace
{

/// One line a change: "V1 A: text", shifts as a count behind them all.
std::string listed(const DmDiff& diff)
{
    std::string text;
    for (const DmChange& change : diff.changes())
        if (change.kind != DmChangeKind::Shifted)
            text += (text.empty() ? "" : "\n") + change.track + (change.track.empty() ? "" : " ") + change.clip +
                    (change.clip.empty() ? "" : ": ") + change.text();
    if (const int shifted = diff.count(DmChangeKind::Shifted); shifted != 0)
        text += (text.empty() ? "" : "\n") + std::to_string(shifted) + " shifted";
    return text;
}

std::string changes(const CoSharedPtr<DmRoot>& before, const CoSharedPtr<DmRoot>& after, const DmDiffOptions& how = {})
{
    DmStatus status;
    status.fail(DM_BAD_VALUE, L"of an earlier call");
    const DmDiff diff = DmDiff::between(before.get(), after.get(), how, &status);
    return status.ok() ? listed(diff) : dmUtf8(status.info());
}

DmSegmentNode& shotAt(const CoSharedPtr<DmRoot>& root, int element, int track = 0)
{
    return *root->getChild(0)->getChild(track)->getChild(0)->getChild(element)->asSegment();
}

} // namespace

TEST(Diff, TellsWhatHappenedToShotsAndSeams)
{
    for (const ZrRow& row : zrRowsOf("diffs.txt"))
        EXPECT_EQ(changes(zrDrawing::tree(row[0], row[3]), zrDrawing::tree(row[1], row[4])), row[2]) << row;
}

TEST(Diff, KnowsShotsWhereverTheyStand)
{
    // The same ids, though one id now stands on other media, and none that a reader made up from positions.
    const auto withIds = [](const char* drawing, std::vector<const wchar_t*> ids)
    {
        const auto root = zrDrawing::tree(drawing);
        for (std::size_t i = 0; i < ids.size(); ++i)
            static_cast<void>(shotAt(root, int(2 * i)).setSegmentId(ids[i]));
        return root;
    };
    EXPECT_EQ(changes(withIds("AAAA|BBBB", {L"a", L"b"}), withIds("XXXX|AAAA|BBBB", {L"b", L"a", L"c"})),
              "V1 X: added, 4 frames\nV1 B: segmentId: \"b\" -> \"c\"\n2 shifted");
    EXPECT_EQ(changes(withIds("AAAA|BBBB", {L"1-V1", L"2-V1"}), withIds("XX|AAAA|BBBB", {L"1-V1", L"2-V1", L"3-V1"})),
              "V1 X: added, 2 frames\n2 shifted");
    EXPECT_EQ(changes(withIds("AAAA|BBBB", {L"1", L"2"}), withIds("XX|AAAA|BBBB", {L"1", L"2", L"3"})),
              "V1 X: added, 2 frames\n2 shifted");
    EXPECT_EQ(changes(withIds("AAAA|BBBB", {L"1", L"2"}), withIds("XX|AAAA", {L"7", L"2"})),
              "V1 A: segmentId: \"1\" -> \"2\"\nV1 X: added, 2 frames\nV1 B: removed, 4 frames\n1 shifted");
    // Ids used twice are nobody's.
    EXPECT_EQ(changes(withIds("AAAA|BBBB", {L"a", L"a"}), withIds("BBBB|AAAA", {L"a", L"a"})),
              "V1 A: moved 4 frames later\n1 shifted");
    // A version of the same file, a file of another name, and the same file in other hands.
    const auto withPath = [](const wchar_t* path, const wchar_t* reel)
    {
        const auto root = zrDrawing::tree("AAAA|BBBB|CCCC");
        const auto info = DmSourceInfo::create();
        static_cast<void>(info->setPath(path));
        static_cast<void>(info->setReelName(reel));
        auto* const input = static_cast<DmSourceNode&>(shotAt(root, 2)).getSrcInput();
        static_cast<void>(static_cast<DmSourceNode::MediaInput*>(input)->setSrcInfo(info));
        return root;
    };
    EXPECT_EQ(changes(withPath(L"/sh/sh010_v001.mov", L""), withPath(L"/sh/sh010_v002.mov", L"")),
              "V1 B: replaced: \"/sh/sh010_v001.mov\" -> \"/sh/sh010_v002.mov\"");
    EXPECT_EQ(changes(withPath(L"/sh/v001.mov", L""), withPath(L"/sh/other.mov", L"")),
              "V1 B: replaced: \"/sh/v001.mov\" -> \"/sh/other.mov\"");
    EXPECT_EQ(changes(withPath(L"", L"A001"), withPath(L"/x/A001.mov", L"A001")),
              "V1 B: srcInput/srcInfo/path: \"/x/A001.mov\"");
}

TEST(Diff, KnowsMaterialThatIsMadeOrLookedForByItsReelAndSource)
{
    for (const bool isRelinked : {false, true})
    {
        const auto tree = [isRelinked](const char* drawing, const wchar_t* id)
        {
            const CoSharedPtr<DmRoot> root = zrDrawing::tree(drawing);
            for (const int element : {0, 2, 4})
            {
                auto& source = static_cast<DmSourceNode&>(shotAt(root, element));
                const DmString name = source.getName();
                const auto derived = DmSourceNode::DerivedInput::create();
                const auto relinked = DmSourceNode::RelinkedInput::create();
                static_cast<void>(derived->setReelName(name));
                static_cast<void>(relinked->setSourceName(name));
                static_cast<void>(isRelinked ? source.setSrcInput(relinked) : source.setSrcInput(derived));
                static_cast<void>(source.setName(L"untitled"));
                static_cast<void>(source.setSegmentId(DmString(id + std::to_wstring(element))));
            }
            return root;
        };
        EXPECT_EQ(changes(tree("AAAA|BBBB|CCCC", L"old"), tree("CCCC|AAAA|BBBB", L"new")),
                  "V1 A: segmentId: \"old0\" -> \"new2\"\nV1 B: segmentId: \"old2\" -> \"new4\"\n"
                  "V1 C: moved 8 frames earlier\nV1 C: segmentId: \"old4\" -> \"new0\"\n2 shifted")
            << isRelinked;
    }
}

TEST(Diff, TellsOfVersionsOfATimelineWhatItTellsOfTheirTrees)
{
    // Long enough that edits leave most of it shared, which is not looked at.
    constexpr int shots = 400;
    const auto root = zrDrawing::tree("A");
    auto* const track = static_cast<DmTrackNode*>(root->getChild(0)->getChild(0));
    DmLayerBuilder builder(0, DM_MEDIA_VIDEO);
    for (int i = 0; i < shots; ++i)
    {
        const auto node = zrDrawing::shot(char('A' + i % 26), 0.0, 8.0, {100.0 * i + 20.0, 1e6});
        static_cast<void>(node->setSegmentId((L"shot-" + std::to_wstring(i)).c_str()));
        static_cast<void>(builder.append(node));
        if (i % 9 == 0)
            static_cast<void>(builder.append(DmGapNode::create(DM_MEDIA_VIDEO, 0.0, 3.0)));
    }
    static_cast<void>(track->removeChild(0));
    track->addChild(builder.finish());
    const DmTimeline start = DmTimeline::publish(root);
    // Nearly all stands on another track: what is still shared stands beside it.
    DmEdit parted(start, {.syncLock = false});
    ASSERT_TRUE(parted.stack(start).ok() && parted.extract({0, 0}, 0.0, 2900.0).ok());
    EXPECT_EQ(DmDiff::between(start, parted.timeline()).json(),
              DmDiff::between(start.tree().get(), parted.timeline().tree().get()).json());
    int told = 0;
    for (unsigned seed = 1; seed <= 16; ++seed)
    {
        zrMutations::Source source(seed);
        DmTimeline now = start;
        for (unsigned n = 1 + source.below(6); n-- > 0;)
        {
            DmEdit edit(now);
            edit.seedIds(seed);
            const int count = now.elementCount({0, 0});
            const DmElementPlace place{0, 0, int(source.below(unsigned(count)))};
            const double time = source.below(unsigned(now.recOut({0, 0, count - 1})));
            DmStatus status;
            switch (source.below(8))
            {
            case 0:
                status = edit.rippleTrim(place, DM_TAIL, -3);
                break;
            case 1:
                status = edit.rippleTrim(place, DM_HEAD, 2);
                break;
            case 2:
                status = edit.slip(place, 5);
                break;
            case 3:
                status = edit.extract({0, 0}, time, time + 1 + source.below(60));
                break;
            case 4:
                status = edit.insert({0, 0}, time, zrDrawing::shot('X', 0, 5, {3, 30}));
                break;
            case 5:
                status = edit.lift({0, 0}, time, time + 20);
                break;
            case 6:
                status = edit.roll({0, 0, place.index | 1}, 1);
                break;
            default:
                status = edit.split({0, 0}, time);
                break;
            }
            if (status.ok())
                now = edit.timeline();
        }
        const DmDiff shared = DmDiff::between(start, now);
        const DmDiff whole = DmDiff::between(start.tree().get(), now.tree().get());
        EXPECT_EQ(shared.json(), whole.json()) << seed;
        EXPECT_EQ(DmDiff::between(now, start).json(), DmDiff::between(now.tree().get(), start.tree().get()).json());
        told += shared.isSame() ? 0 : 1;
    }
    EXPECT_GT(told, 12);
}

TEST(Diff, LeavesOutWhatIsAskedFor)
{
    const auto before = zrDrawing::tree("AAAA|BBBB|CCCC");
    const auto after = zrDrawing::tree("AAA|BBBB|CCCC|DD");
    EXPECT_EQ(changes(before, after), "V1 A: tail trimmed, 1 frame shorter\nV1 D: added, 2 frames\n2 shifted");
    EXPECT_EQ(changes(before, after, {.tolerance = 1.0}), "V1 D: added, 2 frames");
    EXPECT_EQ(changes(before, after, {.ignored = {"trim", "added", "shifted"}}), "");
    EXPECT_EQ(changes(before, after, {.ignored = {"added"}}), "V1 A: tail trimmed, 1 frame shorter\n2 shifted");
    EXPECT_EQ(changes(before, after, {.ignored = {"everything"}}), "everything: no kind of change");
    EXPECT_EQ(changes({}, before), "cut: composition added, 12 frames");
    EXPECT_EQ(changes(before, {}), "cut: composition removed, 12 frames");
    EXPECT_EQ(changes({}, {}), "");
}

TEST(Diff, ComparesOtherRatesByTheClock)
{
    const auto before = zrDrawing::tree("AAAA|BBBB|CCCC");
    const auto after = zrDrawing::tree("AAAAAAAA|BBBBBBBBBB|CCCCCCCC");
    static_cast<void>(static_cast<DmCompositionNode*>(after->getChild(0))->setFCM(L"50 fps"));
    EXPECT_EQ(changes(before, after), "rate: 25 fps -> 50 fps; compared by the clock\n"
                                      "V1 B: tail trimmed, 1 frame longer\n1 shifted");
}

TEST(Diff, AnswersForTreesThatNoDocumentHolds)
{
    // Shared nodes, empty elements, and a composition that holds itself.
    const auto shared = zrDrawing::tree("AAAA|BBBB");
    DmTreeNode* const layer = shared->getChild(0)->getChild(0)->getChild(0);
    static_cast<DmLayerNode*>(layer)->addChild(layer->getChild(0));
    EXPECT_EQ(changes(zrDrawing::tree("AAAA|BBBB"), shared), "V1 A: added, 4 frames");
    const auto loop = [](const char* drawing)
    {
        const auto root = zrDrawing::tree(drawing);
        auto* const composition = static_cast<DmCompositionNode*>(root->getChild(0));
        const auto container =
            DmContainerNode::create(CoSharedPtr<DmCompositionNode>(composition), DM_MEDIA_VIDEO, 8.0, 4.0);
        static_cast<DmLayerNode*>(composition->getChild(0)->getChild(0))->addChild(container);
        return std::pair(root, container);
    };
    const auto [a, inA] = loop("AAAA|BBBB");
    const auto [b, inB] = loop("AAAA|BBBB");
    zrTestOnSmallStack([&, one = a, other = b] { EXPECT_EQ(changes(one, other), "The tree holds itself."); });
    for (const auto& container : {inA, inB})
        static_cast<void>(container->setComposition(CoSharedPtr<DmCompositionNode>()));
}

TEST(Diff, TakesTimeInProportionWhateverTheEdit)
{
    // One clip used again and again, and a cut that runs backwards: pair by pair these would take many times as long.
    constexpr int many = 4000;
    const auto long_ = [](bool same, bool backwards)
    {
        DmLayerBuilder builder(0, DM_MEDIA_VIDEO);
        for (int i = 0; i < many; ++i)
        {
            const int at = backwards ? many - 1 - i : i;
            const auto node = zrDrawing::shot('A', 0.0, 4.0, {same ? 0.0 : 10.0 * at, 1e6});
            static_cast<void>(builder.append(node));
        }
        const auto composition = DmCompositionNode::create(L"cut", L"25 fps", nullptr);
        const auto track = DmTrackNode::create(1, DM_MEDIA_VIDEO);
        track->addChild(builder.finish());
        composition->addChild(track);
        const auto root = DmRoot::create();
        root->addChild(composition);
        return root;
    };
    const auto backwards = DmDiff::between(long_(false, false).get(), long_(false, true).get());
    EXPECT_EQ(backwards.count(DmChangeKind::Moved), many - 1);
    EXPECT_TRUE(DmDiff::between(long_(true, false).get(), long_(true, false).get()).isSame());
}
