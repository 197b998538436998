#include "testCut.h"

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(ElementAt, IsWhatPlaysAtARecordTime)
{
    const TestCut cut; // one [0, 100)   dissolve [100, 120)   two [120, 200)   cut   gap [200, 250)
    const std::pair<double, int> cases[] = {{0, 0},         {99.999, 0},     {100, 1},        {119.999, 1},
                                            {120, 2},       {199, 2},        {200, 4},        {249.9, 4},
                                            {250, -1},      {-0.001, -1},    {1e300, -1},     {2147483648.0, -1},
                                            {infinity, -1}, {-infinity, -1}, {notANumber, -1}};
    for (const auto& [time, position] : cases)
    {
        EXPECT_EQ(DmTreeTool::getElementIndexAt(cut.layer, time), position) << time;
        EXPECT_EQ(DmTreeTool::getElementAt(cut.layer, time), cut.layer->getChild(position)) << time;
    }
    EXPECT_EQ(DmTreeTool::getElementAt(nullptr, 0), nullptr);
    EXPECT_EQ(DmTreeTool::getElementAt(layerOf({}).get(), 0), nullptr);
}

TEST(ElementAt, AnswersForLayersThatBreakTheRules)
{
    const auto dissolve = dissolveOf(10, 10);
    const std::tuple<const char*, double, int, Elements> cases[] = {
        {"nothing but null children", 0, -1, {nullptr, nullptr}},
        {"transitions only", 15, -1, {cutAt(0), dissolve, cutAt(20)}},
        {"a transition at the end, in it", 15, 1, {gapOf(0, 10), dissolve}},
        {"a transition at the end, behind it", 20, -1, {gapOf(0, 10), dissolve}},
        {"a cut over a hole", 15, -1, {gapOf(0, 10), cutAt(0), gapOf(20, 10)}},
        {"behind a cut at another time", 15, 2, {gapOf(0, 10), cutAt(0), gapOf(10, 10)}},
        {"null children between", 15, 4, {nullptr, gapOf(0, 10), nullptr, nullptr, gapOf(10, 10), nullptr}},
        {"a blob in front", 5, 1, {DmBlobNode::create(), gapOf(0, 10)}},
        {"a segment of no length", 10, 4, {gapOf(0, 10), cutAt(10), gapOf(10, 0), cutAt(10), gapOf(10, 5)}},
        {"a segment for ever", 1e300, 0, {gapOf(0, infinity)}},
        {"a segment at no time", 0, -1, {gapOf(notANumber, 10)}},
        {"out of order", 200, -1, {gapOf(100, 10), cutAt(110), gapOf(0, 10)}},
    };
    for (const auto& [name, time, position, elements] : cases)
        EXPECT_EQ(DmTreeTool::getElementIndexAt(layerOf(elements).get(), time), position) << name;
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
    const std::tuple<double, double, int, int> cases[] = {
        {-1e300, infinity, 0, 5}, {0, 100, 0, 1},         {0, 100.1, 0, 2},     {105, 110, 1, 2}, {100, 121, 1, 3},
        {199, 201, 2, 5},         {200, 250, 4, 5},       {250, 300, 5, 5},     {-10, 0, 0, 0},   {10, 10, 0, 0},
        {20, 10, 0, 0},           {notANumber, 10, 0, 0}, {0, notANumber, 0, 0}};
    for (const auto& [in, out, first, last] : cases)
    {
        const DmElementSpan span = DmTreeTool::getElementsIn(cut.layer, in, out);
        EXPECT_EQ(span.count(), last - first) << in << ' ' << out;
        EXPECT_TRUE(span.count() == 0 || span.first == first) << in << ' ' << out;
    }
    const auto holes = layerOf({gapOf(10, 10), cutAt(0), gapOf(30, 10)});
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
    const std::tuple<const DmTreeNode*, DmTimeRange, DmTimeRange> expected[] = {
        {cut.one.get(), {0, 100}, {90000, 100}}, {cut.dissolve.get(), {100, 20}, {}},
        {cut.two.get(), {120, 80}, {90050, 80}}, {cut.cut.get(), {200, 0}, {}},
        {cut.gap.get(), {200, 50}, {}},          {cut.layer->getChild(6), {250, 10}, {5, 10}}};
    DmPlayListIterator it(cut.composition, 0);
    for (const auto& [element, record, source] : expected)
    {
        ASSERT_EQ(it.element(), element);
        EXPECT_EQ(it.recordRange(), record);
        EXPECT_EQ(it.sourceRange(), source);
        it.next();
    }
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
    const auto above = layerOf({gapOf(0, 7)});
    cut.track->addChild(above);
    const auto playedBy = [&cut](int track, int layer)
    { return DmPlayListIterator(cut.composition, track, layer).element(); };
    EXPECT_EQ(playedBy(0, DmPlayListIterator::playedLayer), cut.one.get());
    ok(above->setIsResultLayer(true));
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
    elements.emplace_back(gapOf(1001, 1));
    elements.emplace_back(containerOf(TestCut().composition));
    const auto composition = compositionOf(elements);

    DmSegmentIndex index(composition);
    EXPECT_EQ(index.find(L"clip 0"), elements[0].get()) << "the first of two";
    EXPECT_EQ(index.find(L"clip 499"), elements[998].get());
    EXPECT_EQ(index.find(DmString(std::wstring_view(megabyte))), elements[2000].get());
    for (const wchar_t* const nobodys : {L"", L"clip", L"clip 500", L"one"})
        EXPECT_EQ(index.find(nobodys), nullptr);

    ok(elements[0]->asSegment()->setSegmentId(L"another"));
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
    Elements elements(999999, gapOf(0, 0));
    for (std::size_t i = 1; i < elements.size(); i += 2)
        elements[i] = cutAt(0);
    const auto composition = compositionOf(elements);
    const auto* const layer = static_cast<const DmLayerNode*>(composition->getChild(0)->getChild(0));

    EXPECT_TRUE(DmTreeTool::findViolations(composition, DM_VALIDATE_ALL).empty());
    EXPECT_EQ(DmTreeTool::getElementIndexAt(layer, 0), -1);
    EXPECT_EQ(DmTreeTool::getElementsIn(layer, -1, 1).count(), 999999);
    EXPECT_EQ(DmSegmentIndex(composition).find(L"one"), nullptr);

    const auto tracks = DmCompositionNode::create();
    const DmPropertySetPtr empty = DmTrackNode::create(2, DM_MEDIA_AUDIO);
    for (int i = 0; i < 1000000; ++i)
        ok(tracks->addValueInPropertyList(4, DM_VECTOR_PROPERTY_SET, &empty));
    EXPECT_TRUE(DmTreeTool::findViolations(tracks, DM_VALIDATE_ALL).empty());
    EXPECT_TRUE(DmPlayListIterator(tracks, 999999).isDone());
}
