#include "dmBlobNode.h"
#include "dmPlayListIterator.h"
#include "dmRecordSearch.h"
#include "dmSegmentIndex.h"
#include "testCut.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

CoSharedPtr<DmLayerNode> layerOf(const std::vector<CoSharedPtr<DmTreeNode>>& elements)
{
    auto layer = DmLayerNode::create(0, DM_MEDIA_VIDEO, 0, false);
    for (const CoSharedPtr<DmTreeNode>& element : elements)
        addAny(*layer, element);
    return layer;
}

CoSharedPtr<DmGapNode> gap(double recIn, double recLength)
{
    return DmGapNode::create(DM_MEDIA_VIDEO, recIn, recLength);
}

CoSharedPtr<DmCutNode> cutAt(double recIn)
{
    return DmCutNode::create(DM_MEDIA_VIDEO, recIn);
}

} // namespace

TEST(ElementAt, IsWhatPlaysAtARecordTime)
{
    const TestCut cut; // one [0, 100)   dissolve [100, 120)   two [120, 200)   cut   gap [200, 250)
    const struct
    {
        double time;
        int position;
    } cases[] = {{0, 0},      {99.999, 0},        {100, 1},       {119.999, 1},    {120, 2},
                 {199, 2},    {200, 4},           {249.9, 4},     {250, -1},       {-0.001, -1},
                 {1e300, -1}, {2147483648.0, -1}, {infinity, -1}, {-infinity, -1}, {notANumber, -1}};
    for (const auto& c : cases)
    {
        EXPECT_EQ(DmTreeTool::getElementIndexAt(cut.layer.get(), c.time), c.position) << c.time;
        EXPECT_EQ(DmTreeTool::getElementAt(cut.layer.get(), c.time), cut.layer->getChild(c.position)) << c.time;
    }
    EXPECT_EQ(DmTreeTool::getElementAt(nullptr, 0), nullptr);
    EXPECT_EQ(DmTreeTool::getElementAt(layerOf({}).get(), 0), nullptr);
}

TEST(ElementAt, AnswersForLayersThatBreakTheRules)
{
    const auto dissolve = DmTrxEffectNode::create(DmVDissolveSettings::create(), 10, 10);
    const struct
    {
        const char* name;
        CoSharedPtr<DmLayerNode> layer;
        double time;
        int position;
    } cases[] = {
        {"nothing but null children", layerOf({nullptr, nullptr, nullptr}), 0, -1},
        {"transitions only", layerOf({cutAt(0), dissolve, cutAt(20)}), 15, -1},
        {"a transition at the end, in it", layerOf({gap(0, 10), dissolve}), 15, 1},
        {"a transition at the end, behind it", layerOf({gap(0, 10), dissolve}), 20, -1},
        {"a cut over a hole", layerOf({gap(0, 10), cutAt(0), gap(20, 10)}), 15, -1},
        {"behind a cut at another time", layerOf({gap(0, 10), cutAt(0), gap(10, 10)}), 15, 2},
        {"null children between", layerOf({nullptr, gap(0, 10), nullptr, nullptr, gap(10, 10), nullptr}), 15, 4},
        {"a blob in front", layerOf({DmBlobNode::create(), gap(0, 10)}), 5, 1},
        {"a segment of no length", layerOf({gap(0, 10), cutAt(10), gap(10, 0), cutAt(10), gap(10, 5)}), 10, 4},
        {"a segment for ever", layerOf({gap(0, infinity)}), 1e300, 0},
        {"a segment at no time", layerOf({gap(notANumber, 10)}), 0, -1},
        {"out of order", layerOf({gap(100, 10), cutAt(110), gap(0, 10)}), 200, -1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(DmTreeTool::getElementIndexAt(c.layer.get(), c.time), c.position) << c.name;
}

TEST(ElementAt, TakesTwentyComparisonsInAMillion)
{
    for (const int size : {1000000, 999999, 1, 0})
        for (const double time : {-1.0, 0.0, 7.5, 499999.0, 999998.0, 2e6, infinity, notANumber})
        {
            int comparisons = 0;
            int looks = 0;
            const auto everySecond = [&](int position)
            {
                ++looks;
                comparisons += position % 2 == 0 ? 1 : 0;
                return position % 2 == 0 ? std::optional<double>(position) : std::nullopt;
            };
            const int found = dmLastBegun(size, time, false, everySecond);
            const double expected = std::min(time, size - 1.0);
            EXPECT_EQ(found, expected >= 0 ? static_cast<int>(expected / 2) * 2 : -1) << size << ' ' << time;
            EXPECT_LE(comparisons, 20);
            EXPECT_LE(looks, 40);
        }

    // A row in which hardly anything has a time is looked at once, and no more.
    int looks = 0;
    const auto first = [&looks](int position)
    {
        ++looks;
        return position == 0 ? std::optional<double>(0) : std::nullopt;
    };
    EXPECT_EQ(dmLastBegun(1000000, 5, false, first), 0);
    EXPECT_LE(looks, 1000000);
}

TEST(ElementsIn, AreThoseThatPlayInARange)
{
    const TestCut cut;
    const struct
    {
        double in, out;
        int first, last;
    } cases[] = {{0, 250, 0, 5},       {-infinity, infinity, 0, 5},
                 {0, 100, 0, 1},       {0, 100.1, 0, 2},
                 {105, 110, 1, 2},     {100, 121, 1, 3},
                 {120, 200, 2, 3},     {199, 201, 2, 5},
                 {200, 250, 4, 5},     {250, 300, 5, 5},
                 {-10, 0, 0, 0},       {10, 10, 0, 0},
                 {20, 10, 0, 0},       {notANumber, 10, 0, 0},
                 {0, notANumber, 0, 0}};
    for (const auto& c : cases)
    {
        const DmElementSpan span = DmTreeTool::getElementsIn(cut.layer.get(), c.in, c.out);
        EXPECT_EQ(span.count(), c.last - c.first) << c.in << ' ' << c.out;
        if (span.count() > 0)
        {
            EXPECT_EQ(span.first, c.first) << c.in << ' ' << c.out;
        }
    }
    const auto holes = layerOf({gap(10, 10), cutAt(0), gap(30, 10)});
    EXPECT_EQ(DmTreeTool::getElementsIn(holes.get(), 22, 28).count(), 0);
    EXPECT_EQ(DmTreeTool::getElementsIn(holes.get(), 22, 31).first, 2);
    EXPECT_EQ(DmTreeTool::getElementsIn(holes.get(), 0, 31).count(), 3);
    EXPECT_EQ(DmTreeTool::getElementsIn(nullptr, 0, 10).count(), 0);
    EXPECT_EQ(DmTreeTool::getElementsIn(layerOf({nullptr, cutAt(0)}).get(), 0, 10).count(), 0);
}

TEST(PlayList, GivesElementsWithTheirTimes)
{
    TestCut cut;
    addAny(*cut.layer, {});
    addAny(*cut.layer, DmContainerNode::create(nullptr, DM_MEDIA_VIDEO, 250, 10, 5));
    const struct
    {
        const DmTreeNode* element;
        DmTimeRange record;
        DmTimeRange source;
    } expected[] = {{cut.one.get(), {0, 100}, {90000, 100}}, {cut.dissolve.get(), {100, 20}, {}},
                    {cut.two.get(), {120, 80}, {90050, 80}}, {cut.cut.get(), {200, 0}, {}},
                    {cut.gap.get(), {200, 50}, {}},          {cut.layer->getChild(6), {250, 10}, {5, 10}}};
    DmPlayListIterator it(cut.composition, 0);
    for (const auto& e : expected)
    {
        ASSERT_EQ(it.element(), e.element);
        EXPECT_EQ(it.recordRange(), e.record);
        EXPECT_EQ(it.sourceRange(), e.source);
        it.next();
    }
    EXPECT_TRUE(it.isDone());
    it.next();
    EXPECT_TRUE(it.isDone());
    EXPECT_EQ(it.recordRange(), DmTimeRange());

    EXPECT_TRUE(it.seek(130));
    EXPECT_EQ(it.element(), cut.two.get());
    EXPECT_FALSE(it.seek(notANumber));
    EXPECT_TRUE(it.isDone());
    it.first();
    EXPECT_EQ(it.position(), 0);
}

TEST(PlayList, PlaysTheResultLayer)
{
    TestCut cut;
    const auto above = layerOf({gap(0, 7)});
    cut.track->addChild(above);
    const auto playedBy = [&cut](int track, int layer)
    { return DmPlayListIterator(cut.composition, track, layer).element(); };
    EXPECT_EQ(playedBy(0, DmPlayListIterator::playedLayer), cut.one.get());
    EXPECT_EQ(above->setIsResultLayer(true), DM_NO_ERROR);
    EXPECT_EQ(playedBy(0, DmPlayListIterator::playedLayer), above->getChild(0));
    EXPECT_EQ(playedBy(0, 0), cut.one.get());
    for (const auto& [track, layer] : {std::pair(0, 2), {0, -2}, {1, 0}, {-1, 0}})
        EXPECT_EQ(playedBy(track, layer), nullptr) << track << ' ' << layer;
    EXPECT_TRUE(DmPlayListIterator(nullptr, 0).isDone());
    EXPECT_FALSE(DmPlayListIterator(nullptr, 0).seek(0));
}

TEST(SegmentIndex, FindsSegmentsByTheirId)
{
    const std::wstring megabyte(1 << 20, L'x');
    std::vector<CoSharedPtr<DmTreeNode>> elements;
    for (int i = 0; i < 1000; ++i)
    {
        elements.emplace_back(clip((L"clip " + std::to_wstring(i % 500)).c_str(), i, 1));
        elements.emplace_back(cutAt(i));
    }
    elements.emplace_back(clip(megabyte.c_str(), 1000, 1));
    elements.emplace_back(nullptr);
    elements.emplace_back(gap(1001, 1));
    elements.emplace_back(containerOf(TestCut().composition));
    const auto composition = compositionOf(elements);

    DmSegmentIndex index(composition);
    EXPECT_EQ(index.find(L"clip 0"), elements[0].get()) << "the first of two";
    EXPECT_EQ(index.find(L"clip 499"), elements[998].get());
    EXPECT_EQ(index.find(DmString(std::wstring_view(megabyte))), elements[2000].get());
    for (const wchar_t* const nobodys : {L"", L"clip", L"clip 500", L"one"})
        EXPECT_EQ(index.find(nobodys), nullptr);

    EXPECT_EQ(elements[0]->asSegment()->setSegmentId(L"another"), DM_NO_ERROR);
    EXPECT_EQ(index.find(L"clip 0"), nullptr) << "stale";
    EXPECT_EQ(index.find(L"another"), nullptr);
    index.refresh();
    EXPECT_EQ(index.find(L"clip 0"), elements[1000].get());
    EXPECT_EQ(index.find(L"another"), elements[0].get());

    DmSegmentIndex none(nullptr);
    EXPECT_EQ(none.find(L"clip 0"), nullptr);
    none = std::move(index);
    EXPECT_EQ(none.find(L"another"), elements[0].get());
}

TEST(SegmentIndex, KeepsWhatItFindsAlive)
{
    TestCut cut;
    DmSegmentIndex index(cut.composition.get());
    EXPECT_EQ(index.find(L"two"), cut.two.get());
    const int before = cut.one->refCount();
    cut.layer->removeChild(0);
    EXPECT_EQ(cut.one->refCount(), before - 1);
    EXPECT_EQ(index.find(L"one"), cut.one.get()) << "stale, and still there";
    index.refresh();
    EXPECT_EQ(cut.one->refCount(), 1);
    EXPECT_EQ(index.find(L"one"), nullptr);
}

TEST(Lookups, OfAMillionElementsOrTracks)
{
    // The same gap and cut over and over: what counts is their number.
    const auto layer = DmLayerNode::create(0, DM_MEDIA_VIDEO, 0, false);
    const DmPropertySetPtr elements[] = {gap(0, 0), cutAt(0)};
    for (int i = 0; i < 999999; ++i)
        ASSERT_EQ(layer->addValueInPropertyList(4, DM_VECTOR_PROPERTY_SET, &elements[i % 2]), DM_NO_ERROR);
    const auto track = DmTrackNode::create(1, DM_MEDIA_VIDEO);
    track->addChild(layer);
    const auto composition = DmCompositionNode::create();
    composition->addChild(track);

    EXPECT_TRUE(DmTreeTool::findViolations(composition, DM_VALIDATE_ALL).empty());
    EXPECT_EQ(DmTreeTool::getElementIndexAt(layer.get(), 0), -1);
    EXPECT_EQ(DmTreeTool::getElementsIn(layer.get(), -1, 1).count(), 999999);
    EXPECT_EQ(DmSegmentIndex(composition).find(L"one"), nullptr);

    const auto tracks = DmCompositionNode::create();
    const DmPropertySetPtr empty = DmTrackNode::create(2, DM_MEDIA_AUDIO);
    for (int i = 0; i < 1000000; ++i)
        ASSERT_EQ(tracks->addValueInPropertyList(4, DM_VECTOR_PROPERTY_SET, &empty), DM_NO_ERROR);
    EXPECT_TRUE(DmTreeTool::findViolations(tracks, DM_VALIDATE_ALL).empty());
    EXPECT_TRUE(DmPlayListIterator(tracks, 999999).isDone());
}
