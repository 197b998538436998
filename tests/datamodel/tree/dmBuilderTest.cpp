#include "testCut.h"
#include "zrCapturingRouter.h"

namespace
{

/// "source 0-100, cut 100, gap 100-120": a layer's elements with their times.
std::string shapeOf(const DmLayerNode& layer)
{
    std::ostringstream text;
    for (int i = 0; i < layer.getNbChildren(); ++i)
    {
        DmTreeNode* const child = layer.getChild(i);
        const DmTimeRange range = DmTreeTool::getRecordRange(child);
        text << (i > 0 ? ", " : "") << dmUtf8(child->getPSetName()) << ' ' << range.in << '-' << range.out();
    }
    std::string shape = text.str();
    for (const char* const word : {"Dm", "Node", "Effect"})
        for (std::size_t at = shape.find(word); at != std::string::npos; at = shape.find(word))
            shape.erase(at, std::string_view(word).size());
    return shape;
}

CoSharedPtr<DmSourceNode> shot(double recIn, double recLength)
{
    return clip(L"", recIn, recLength); // without an id, which would have to be one of its own
}

bool isStrictlyValid(const CoSharedPtr<DmTrackNode>& track)
{
    const auto composition = DmCompositionNode::create();
    composition->addChild(track);
    return DmTreeTool::findViolations(composition, DM_VALIDATE_ALL).empty();
}

} // namespace

TEST(LayerBuilder, FillsHolesAndSeams)
{
    constexpr auto trx = dissolveOf;
    enum How
    {
        Append, ///< where the element before ends
        Place   ///< where each says
    };
    const struct
    {
        How how;
        Elements elements;
        const char* shape;
        double start = 0;
    } cases[] = {
        {Append, {}, ""},
        {Append, {shot(9, 10), shot(9, 20)}, "Source 0-10, Cut 10-10, Source 10-30"},
        {Append, {shot(0, 10), trx(0, 4), shot(0, 20)}, "Source 0-10, Trx 10-14, Source 14-34"},
        {Append, {shot(0, 10)}, "Source 100-110", 100},
        {Append, {trx(0, 5), shot(0, 10), trx(0, 5)}, "Gap 0-0, Trx 0-5, Source 5-15, Trx 15-20, Gap 20-20"},
        {Append,
         {shot(0, 10), trx(0, 5), trx(0, 5), shot(0, 10)},
         "Source 0-10, Trx 10-15, Gap 15-15, Trx 15-20, Source 20-30"},
        {Append, {shot(0, 10), cutAt(77), shot(0, 10)}, "Source 0-10, Cut 10-10, Source 10-20"},
        {Place, {shot(5, 10)}, "Gap 0-5, Cut 5-5, Source 5-15"},
        {Place, {shot(0, 10), shot(20, 10)}, "Source 0-10, Cut 10-10, Gap 10-20, Cut 20-20, Source 20-30"},
        {Place, {shot(0, 10), trx(20, 5), shot(25, 10)}, "Source 0-10, Cut 10-10, Gap 10-20, Trx 20-25, Source 25-35"},
        {Place, {shot(0, 10), trx(10, 5), shot(20, 10)}, "Source 0-10, Trx 10-15, Gap 15-20, Cut 20-20, Source 20-30"},
        // Sums that do not come out even.
        {Place,
         {shot(0, 10.000001), shot(10, 10), shot(20.000001, 10)},
         "Source 0-10, Cut 10-10, Source 10-20, Cut 20-20, Source 20-30"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.shape);
        DmTrackBuilder builder(1, DM_MEDIA_VIDEO, c.start);
        for (const CoSharedPtr<DmTreeNode>& element : c.elements)
            ok(c.how == Append ? builder.append(element) : builder.place(element));
        const auto track = builder.finish();
        ASSERT_TRUE(track);
        const auto* const layer = dynamic_cast<const DmLayerNode*>(track->getChild(0));
        EXPECT_EQ(shapeOf(*layer), c.shape);
        EXPECT_EQ(layer->getLayerStartTC(), c.start);
        EXPECT_EQ(layer->getLayerLength(), builder.getEnd() - c.start);
        EXPECT_TRUE(isStrictlyValid(track));
    }
}

TEST(LayerBuilder, RefusesWhatWouldBreakARule)
{
    DmLayerBuilder builder(2, DM_MEDIA_VIDEO, 10);
    ok(builder.append(shot(0, 10)));
    const auto batch = DmBatchFxNode::create();
    ok(batch->setMediaType(DM_MEDIA_VIDEO));
    ok(batch->setRecLength(10));
    const std::pair<const char*, CoSharedPtr<DmTreeNode>> cases[] = {
        {"null", {}},
        {"a layer", DmLayerNode::create()},
        {"a batch effect", batch},
        {"of another media type", DmGapNode::create(DM_MEDIA_AUDIO, 20, 5)},
        {"before the end", shot(19, 5)},
        {"of no length", shot(20, 0.4)},
        {"of a negative length", gapOf(20, -1)},
        {"without end", gapOf(20, INFINITY)},
        {"at no time", gapOf(std::nan(""), 5)},
        {"at the end of time", gapOf(INFINITY, 5)},
    };
    for (const auto& [name, element] : cases)
        EXPECT_EQ(builder.place(element), DM_BAD_VALUE) << name;
    const auto frozen = shot(20, 10);
    frozen->freeze();
    EXPECT_EQ(builder.place(frozen), DM_CANNOT_LOCK);
    EXPECT_EQ(builder.fillTo(std::nan("")), DM_BAD_VALUE);
    ok(builder.fillTo(15)); // nothing to fill
    EXPECT_EQ(shapeOf(*builder.finish()), "Source 10-20");
    const auto longCut = cutAt(20);
    ok(longCut->setRecLength(INFINITY));
    ok(builder.append(longCut)); // cuts have no length
    ok(builder.fillTo(30));
    EXPECT_EQ(shapeOf(*builder.finish()), "Source 10-20, Cut 20-20, Gap 20-30") << "more behind";
}

TEST(LayerBuilder, TakesAnElementOnce)
{
    const auto one = shot(0, 10);
    const auto dissolve = dissolveOf(0, 4);
    DmTrackBuilder builder(1, DM_MEDIA_VIDEO);
    ok(builder.append(one));
    ok(builder.append(dissolve));
    EXPECT_EQ(builder.append(one), DM_BAD_VALUE);
    EXPECT_EQ(builder.append(dissolve), DM_BAD_VALUE);
    builder.beginLayer();
    EXPECT_EQ(builder.append(one), DM_BAD_VALUE);
    EXPECT_EQ(one->getRecIn(), 0);
    EXPECT_TRUE(builder.holds(one.get()));
    EXPECT_FALSE(builder.holds(shot(0, 10).get()));
}

TEST(LayerBuilder, GoesOnBehindWhatIsThere)
{
    // A layer that was finished behind a dissolve: by this builder, or by another one whose layer is taken over.
    for (const bool takeOver : {false, true})
    {
        DmLayerBuilder first(3, DM_MEDIA_VIDEO, 100);
        ok(first.append(shot(0, 10)));
        ok(first.append(dissolveOf(0, 4)));
        const auto layer = first.finish();
        EXPECT_EQ(shapeOf(*layer), "Source 100-110, Trx 110-114, Gap 114-114");
        DmLayerBuilder second(layer);
        DmLayerBuilder& builder = takeOver ? second : first;
        EXPECT_EQ(builder.getStart(), 100);
        EXPECT_EQ(builder.getEnd(), 114);
        ok(builder.append(shot(0, 20)));
        ok(builder.fillTo(140));
        EXPECT_EQ(builder.append(CoSharedPtr<DmTreeNode>(layer->getChild(0))), DM_BAD_VALUE);
        EXPECT_EQ(builder.finish(), layer);
        EXPECT_EQ(shapeOf(*layer), "Source 100-110, Trx 110-114, Source 114-134, Cut 134-134, Gap 134-140");
        EXPECT_EQ(layer->getLayerLength(), 40);
    }

    DmLayerBuilder filled(0, DM_MEDIA_VIDEO);
    ok(filled.append(dissolveOf(0, 4)));
    ASSERT_TRUE(filled.finish());
    ok(filled.fillTo(10));
    EXPECT_EQ(shapeOf(*filled.finish()), "Gap 0-0, Trx 0-4, Gap 4-10");

    DmLayerBuilder attached(0, DM_MEDIA_VIDEO);
    ok(attached.append(dissolveOf(0, 4)));
    ok(static_cast<DmTreeNode*>(attached.finish()->getChild(2))->setBaseBlob(shot(0, 1)));
    ok(attached.append(shot(0, 5)));
    EXPECT_EQ(shapeOf(*attached.finish()), "Gap 0-0, Trx 0-4, Gap 4-4, Cut 4-4, Source 4-9") << "it holds something";

    EXPECT_EQ(DmLayerBuilder(CoSharedPtr<DmLayerNode>()).append(shot(0, 5)), DM_BAD_VALUE);
}

namespace
{

/// Makes nodes constants as soon as it hears of a change.
class Freezer final : public DmPropertyListener
{
public:
    explicit Freezer(std::vector<DmTreeNode*> nodes)
        : _nodes(std::move(nodes))
    {
    }
    void onPropertyChanged(const DmNodeId&, eDmPropType, const DmString& property) override
    {
        heard.push_back(dmUtf8(property));
        for (DmTreeNode* const node : _nodes)
            node->freeze();
    }
    std::vector<std::string> heard;

private:
    std::vector<DmTreeNode*> _nodes;
};

using Names = std::vector<std::string>;

} // namespace

TEST(LayerBuilder, PutsInAllThatBelongsTogetherOrNothing)
{
    constexpr double atTheEnd = -1;
    const struct
    {
        CoSharedPtr<DmTreeNode> first;
        const char* before;
        CoSharedPtr<DmTreeNode> next;
        double recIn;
        const char* after;
    } cases[] = {
        {nullptr, "", shot(0, 10), atTheEnd, "Source 0-10"},
        {shot(0, 10), "Source 0-10", shot(0, 10), atTheEnd, "Source 0-10, Cut 10-10, Source 10-20"},
        {shot(0, 10), "Source 0-10", shot(0, 10), 50, "Source 0-10, Cut 10-10, Gap 10-50, Cut 50-50, Source 50-60"},
        {shot(0, 10), "Source 0-10", cutAt(0), atTheEnd, "Source 0-10, Cut 10-10"},
        {dissolveOf(0, 4), "Gap 0-0, Trx 0-4, Gap 4-4", shot(0, 10), atTheEnd, "Gap 0-0, Trx 0-4, Source 4-14"},
        {dissolveOf(0, 4), "Gap 0-0, Trx 0-4, Gap 4-4", shot(0, 10), 20,
         "Gap 0-0, Trx 0-4, Gap 4-20, Cut 20-20, Source 20-30"},
    };
    enum Constant // what becomes one, and when
    {
        ByTheElement,
        ByTheLayer,
        TheElementBefore,
        TheLayerBefore
    };
    for (const auto& c : cases)
        for (const Constant constant : {ByTheElement, ByTheLayer, TheElementBefore, TheLayerBefore})
        {
            SCOPED_TRACE(testing::Message() << c.after << ", " << constant);
            DmLayerBuilder builder(0, DM_MEDIA_VIDEO);
            if (c.first)
                ok(builder.append(DM::staticPointerCast<DmTreeNode>(c.first->clone())));
            const auto layer = builder.finish();
            const double end = builder.getEnd();
            const auto next = DM::staticPointerCast<DmTreeNode>(c.next->clone());
            const double recIn = c.recIn == atTheEnd ? 77 : c.recIn;
            double length = next->isSegment() ? 10 : 7; // of a cut, which gets none
            ok(next->setPropertyValue(L"recIn", &recIn));
            ok(next->setPropertyValue(L"recLength", &length));

            const bool isTaken = constant == ByTheElement || constant == ByTheLayer;
            Freezer byElement({layer.get(), next.get()});
            Freezer byLayer({layer.get(), next.get()});
            ok(layer->registerListener(&byLayer));
            if (constant != ByTheLayer)
                ok(next->registerListener(&byElement));
            if (!isTaken)
                (constant == TheElementBefore ? *next : static_cast<DmTreeNode&>(*layer)).freeze();
            EXPECT_EQ(c.recIn == atTheEnd ? builder.append(next) : builder.place(next),
                      isTaken ? DM_NO_ERROR : DM_CANNOT_LOCK);
            EXPECT_EQ(shapeOf(*layer), isTaken ? c.after : c.before);
            EXPECT_EQ(builder.holds(next.get()), isTaken);
            const DmTimeRange range = DmTreeTool::getRecordRange(next.get());
            EXPECT_EQ(builder.getEnd(), isTaken ? range.out() : end);
            EXPECT_TRUE(isTaken || range == (DmTimeRange{recIn, length}));
            EXPECT_EQ(byLayer.heard, isTaken ? Names{"children"} : Names());
            EXPECT_EQ(byElement.heard.empty(), constant != ByTheElement);
        }
}

TEST(LayerBuilder, FinishesAsAWholeOrNotAtAll)
{
    for (const bool isConstant : {false, true})
    {
        DmLayerBuilder builder(0, DM_MEDIA_VIDEO, 100);
        const auto layer = builder.finish();
        ok(builder.append(dissolveOf(0, 4)));
        Freezer freezer({layer.get()});
        ok(layer->registerListener(&freezer));
        if (isConstant)
            layer->freeze();
        EXPECT_EQ(builder.finish() == layer, !isConstant);
        EXPECT_EQ(shapeOf(*layer), isConstant ? "Gap 100-100, Trx 100-104" : "Gap 100-100, Trx 100-104, Gap 104-104");
        EXPECT_EQ(layer->getLayerStartTC(), 100);
        EXPECT_EQ(layer->getLayerLength(), isConstant ? 0 : 4);
        EXPECT_EQ(freezer.heard, isConstant ? Names() : (Names{"children", "layerStartTC", "layerLength"}));
        EXPECT_EQ(builder.holds(layer->getChild(2)), !isConstant);
    }
}

TEST(LayerBuilder, TellsNobodyWhoHasGoneMeanwhile)
{
    DmLayerBuilder builder(0, DM_MEDIA_VIDEO);
    const auto layer = builder.finish();
    class Leaver final : public DmPropertyListener
    {
    public:
        Leaver(DmLayerNode& layer, std::unique_ptr<DmPropertyListener>& self)
            : _layer(layer)
            , _self(self)
        {
        }
        void onPropertyChanged(const DmNodeId&, eDmPropType, const DmString&) override
        {
            ok(_layer.unregisterListener(this));
            _self.reset();
        }

    private:
        DmLayerNode& _layer;
        std::unique_ptr<DmPropertyListener>& _self;
    };
    std::unique_ptr<DmPropertyListener> listener;
    listener = std::make_unique<Leaver>(*layer, listener);
    ok(layer->registerListener(listener.get()));
    ok(builder.append(dissolveOf(0, 4))); // the listener goes at "children"
    EXPECT_FALSE(listener);
    listener = std::make_unique<Leaver>(*layer, listener);
    ok(layer->registerListener(listener.get()));
    EXPECT_EQ(builder.finish(), layer); // of the three changes it hears the first
    EXPECT_EQ(layer->getLayerLength(), 4);
}

TEST(LayerBuilder, PostsItsStepsOnRequest)
{
    const zrTest::CapturingRouter router;
    DmLayerBuilder quiet(1, DM_MEDIA_VIDEO);
    ok(quiet.append(shot(0, 10)));
    EXPECT_TRUE(router.messages.empty());
    const SwitchedOn log("ZR_DEBUG_DM_LAYER_BUILDER");
    DmLayerBuilder builder(3, DM_MEDIA_VIDEO);
    ok(builder.place(clip(L"Été", 5, 10)));
    ASSERT_EQ(router.messages.size(), 3U);
    EXPECT_EQ(router.messages[0].text(), "DmLayerBuilder: layer 3, element 0: DmGapNode \"untitled\" from 0.000000 to "
                                         "5.000000");
    EXPECT_EQ(router.messages[2].text(), "DmLayerBuilder: layer 3, element 2: DmSourceNode \"Été\" from 5.000000 to "
                                         "15.000000");
}

TEST(TrackBuilder, PutsLayersIntoAComposition)
{
    const auto composition = DmCompositionNode::create(L"cut", L"25 fps", nullptr);
    DmTrackBuilder builder(4, DM_MEDIA_VIDEO);
    ok(builder.append(shot(0, 10)));
    builder.beginLayer(2, true);
    ok(builder.place(shot(50, 10)));
    builder.beginLayer();
    EXPECT_EQ(builder.getEnd(), 60);
    ok(builder.addTo(*composition));

    ASSERT_EQ(composition->getNbChildren(), 1);
    const auto* const track = dynamic_cast<const DmTrackNode*>(composition->getChild(0));
    EXPECT_EQ(track->getTrackNum(), 4);
    ASSERT_EQ(track->getNbChildren(), 3);
    const auto* const second = dynamic_cast<const DmLayerNode*>(track->getChild(1));
    EXPECT_EQ(second->getLayerNum(), 1);
    EXPECT_EQ(second->getStereoOutputChannel(), 2);
    EXPECT_TRUE(second->isResultLayer());
    EXPECT_EQ(second->getLayerLength(), 60);
    EXPECT_EQ(composition->getCompLength(), 60);

    DmTrackBuilder sound(1, DM_MEDIA_AUDIO);
    ok(sound.fillTo(30));
    ok(sound.addTo(*composition));
    EXPECT_EQ(composition->getCompLength(), 60) << "the longest track's";
    EXPECT_TRUE(DmTreeTool::isValidTree(composition));
    composition->freeze();
    EXPECT_EQ(DmTrackBuilder(2, DM_MEDIA_AUDIO).addTo(*composition), DM_CANNOT_LOCK);
    EXPECT_EQ(composition->getNbChildren(), 2);
}

TEST(TrackBuilder, GoesIntoACompositionAsAWholeOrNotAtAll)
{
    enum Constant // what becomes one, and when
    {
        TheComposition,
        TheSecondLayer,
        AllByTheComposition,
        AllByTheFirstLayer
    };
    for (const Constant constant : {TheComposition, TheSecondLayer, AllByTheComposition, AllByTheFirstLayer})
    {
        SCOPED_TRACE(constant);
        const auto composition = DmCompositionNode::create(L"cut", L"25 fps", nullptr);
        DmTrackBuilder builder(1, DM_MEDIA_VIDEO);
        builder.beginLayer();
        const auto first = builder.finish();
        const auto layer = [&](int i) { return dynamic_cast<DmLayerNode*>(first->getChild(i)); };
        ok(builder.append(dissolveOf(0, 4)));
        Freezer freezer({composition.get(), layer(0), layer(1)});
        if (constant == AllByTheComposition)
            ok(composition->registerListener(&freezer));
        else if (constant == AllByTheFirstLayer)
            ok(layer(0)->registerListener(&freezer));
        else
            (constant == TheComposition ? static_cast<DmTreeNode&>(*composition) : *layer(1)).freeze();

        const bool isTaken = constant >= AllByTheComposition;
        EXPECT_EQ(builder.addTo(*composition), isTaken ? DM_NO_ERROR : DM_CANNOT_LOCK);
        EXPECT_EQ(composition->getNbChildren(), isTaken ? 1 : 0);
        EXPECT_EQ(composition->getCompLength(), isTaken ? 4 : 0);
        EXPECT_EQ(shapeOf(*layer(1)), isTaken ? "Gap 0-0, Trx 0-4, Gap 4-4" : "Gap 0-0, Trx 0-4");
        EXPECT_EQ(layer(1)->getLayerLength(), isTaken ? 4 : 0);
        EXPECT_EQ(static_cast<bool>(builder.finish()), constant == TheComposition)
            << "the layers can be finished still";
    }
}

TEST(TrackBuilder, MakesACompositionAsLongAsItTakes)
{
    // Where tracks begin and end, in a composition that starts at `start`, and how long it is then.
    const struct
    {
        double start;
        std::vector<std::pair<double, double>> tracks;
        double length;
    } cases[] = {{0, {{0, 100}}, 100},
                 {0, {{0, 100}, {50, 160}}, 160},
                 {0, {{50, 160}, {0, 100}}, 160},
                 {0, {{50, 160}}, 160},
                 {90000, {{90000, 90100}, {90050, 90160}}, 160},
                 {90000, {{0, 100}, {50, 160}}, 160}};
    for (const auto& c : cases)
    {
        const auto composition = DmCompositionNode::create(L"cut", L"25 fps", nullptr);
        ok(composition->setStartTC(c.start, L"25 fps"));
        for (const auto& [in, out] : c.tracks)
        {
            DmTrackBuilder builder(1, DM_MEDIA_VIDEO, in);
            ok(builder.fillTo(out));
            ok(builder.addTo(*composition));
        }
        EXPECT_EQ(composition->getCompLength(), c.length);
    }
}
