#include "testCut.h"
#include "zrTestSmallStack.h"

namespace
{

// clang-format off
#define VISIT(Name, text) void visit##Name(Dm##Name*) override { add(text); }
#define VISIT_COLLECTION(Name, text) VISIT(Name, text) void postProcess##Name(Dm##Name*) override { _text += ")"; }

/// Writes what it is called with: "(" and ")" around collections, a letter a leaf.
class Writer : public DmTreeVisitor
{
public:
    Writer() : DmTreeVisitor("Writer") {}

    VISIT_COLLECTION(CompositionNode, "C(") VISIT_COLLECTION(TrackNode, "T(") VISIT_COLLECTION(LayerNode, "L(")
    VISIT_COLLECTION(ReelNode, "R(") VISIT(SourceNode, "s") VISIT(ContainerNode, "c") VISIT(GapNode, "g")
    VISIT(CutNode, "/") VISIT(TrxEffectNode, "x") VISIT(BlobNode, "b") VISIT(BatchFxNode, "f")
    VISIT(SegmentNode, "any segment") VISIT(TransitionNode, "any transition")
    void visitRootNode(DmRoot*) override { add("O("); }
    void postProcessRootNode(DmRoot*) override { _text += ")"; }
    // clang-format on
    void notFollowed(DmTreeNode*, DmNotFollowed why) override
    {
        _text += why == DmNotFollowed::BelowItself ? '!' : why == DmNotFollowed::TooDeep ? '#' : '=';
    }

    const std::string& text() const { return _text; }
    std::string lastPath;
    int stopAfter = -1;

private:
    void add(const char* what)
    {
        _text += what;
        lastPath = path()->text();
        if (--stopAfter == 0)
            stop();
    }

    std::string _text;
};

std::string walked(DmTreeNode* node, const DmWalkOptions& options = {}, eDmErrorId expected = DM_NO_ERROR)
{
    Writer writer;
    EXPECT_EQ(DmPreIt(node, options).apply(writer), expected);
    EXPECT_EQ(writer.path(), nullptr) << "the way ends with the walk";
    return writer.text();
}

/// A root with a reel of a leaf of every kind.
CoSharedPtr<DmRoot> everyKind()
{
    auto root = DmRoot::create();
    const auto reel = DmReelNode::create();
    root->addReel(reel);
    for (const wchar_t* const name : {L"DmBlobNode", L"DmBatchFxNode", L"DmContainerNode", L"DmSourceNode",
                                      L"DmTrxEffectNode", L"DmGapNode", L"DmCutNode"})
    {
        DmPropertySet* node = nullptr;
        ok(DmPropertyFactory::getInstance().createPropertySetInstance(name, DmNodeId(), 0, node));
        addAny(*reel, DmPropertySetPtr(node));
    }
    return root;
}

} // namespace

TEST(PreOrder, VisitsANodeThenItsChildrenThenTheNodeAgain)
{
    const TestCut cut;
    const auto all = everyKind();
    const auto outer = compositionOf({containerOf(cut.composition), nullptr, containerOf({})});
    const auto reel = DmReelNode::create();
    reel->addChild(cut.composition);
    reel->addChild(cut.composition);
    const struct
    {
        DmTreeNode* node;
        const char* text;
        DmWalkOptions options = {};
    } cases[] = {{nullptr, ""},
                 {all.get(), "O(R(bfcsxg/))"},
                 {cut.gap.get(), "g"},
                 {cut.composition.get(), "C(T(L(sxs/g)))"},
                 {cut.composition.get(), "C()", {.maxDepth = 0}},
                 {cut.composition.get(), "C(T(L()))", {.maxDepth = 2}},
                 {cut.composition.get(), "C(T(L(sxs/g)))", {.maxDepth = 3}},
                 {outer.get(), "C(T(L(cc)))"},
                 {outer.get(), "C(T(L(cC(T(L(sxs/g)))c)))", {.intoContainers = true}},
                 {reel.get(), "R(C(T(L(sxs/g)))C(T(L(sxs/g))))"},
                 {reel.get(), "R(C(T(L(sxs/g)))C(=))", {.sharedOnce = true}}};
    for (const auto& c : cases)
        EXPECT_EQ(walked(c.node, c.options), c.text);
}

TEST(PreOrder, KnowsItsWayAndStopsForGood)
{
    const auto outer = compositionOf({DmGapNode::create(), nullptr, containerOf(TestCut().composition)});
    Writer writer;
    ok(DmPreIt(outer, {.intoContainers = true}).apply(writer));
    EXPECT_EQ(writer.lastPath, "children[0]/children[0]/children[2]/composition/children[0]/children[0]/children[4]");

    Writer three;
    three.stopAfter = 3;
    for (int walks = 0; walks < 2; ++walks)
        ok(DmPreIt(outer).apply(three));
    EXPECT_EQ(three.text(), "C(T(L(");
    EXPECT_TRUE(three.hasStopped());
}

TEST(PreOrder, MeetsWhatStandsBelowItself)
{
    zrTestOnSmallStack(
        []
        {
            const auto reel = DmReelNode::create();
            const auto inner = DmReelNode::create();
            reel->addChild(inner);
            inner->addChild(reel);
            inner->addChild(inner);
            inner->addChild(DmGapNode::create());
            EXPECT_EQ(walked(reel.get(), {}, DM_BAD_VALUE), "R(R(!!g))");
            while (inner->removeChild(0) > 0)
                continue;

            const EndlessCut endless;
            EXPECT_EQ(walked(endless.composition.get()), "C(T(L(c)))");
            EXPECT_EQ(walked(endless.composition.get(), {.intoContainers = true}, DM_BAD_VALUE), "C(T(L(c!)))");

            auto deep = DmReelNode::create();
            for (int i = 0; i < 600; ++i)
            {
                const auto above = DmReelNode::create();
                above->addChild(deep);
                deep = above;
            }
            const std::string text = walked(deep.get(), {}, DM_BAD_VALUE);
            EXPECT_EQ(text.size(), 3U * 512U + 1U);
            EXPECT_EQ(text[1024], '#');
        });
}

TEST(Copies, KeepTheShapeOfATree)
{
    const TestCut cut;
    const auto second = DmTrackNode::create(2, DM_MEDIA_VIDEO);
    second->addChild(cut.layer);
    cut.composition->addChild(second);
    ok(cut.one->setComment(L"a comment"));
    ok(cut.composition->addCueMark(DmCueMark::create(L"here", 10)));

    const CoSharedPtr<DmCompositionNode> copy = DmTreeTool::deepClone(cut.composition);
    EXPECT_TRUE(DmTreeTool::areEqual(cut.composition.get(), copy.get()));
    EXPECT_EQ(copy->getChild(0)->getChild(0), copy->getChild(1)->getChild(0)) << "shared in the copy too";
    EXPECT_NE(copy->getChild(0)->getChild(0), cut.layer);
    auto* const one = dynamic_cast<DmSourceNode*>(copy->getChild(0)->getChild(0)->getChild(0));
    EXPECT_NE(one->getSrcInput(), cut.one->getSrcInput());

    ok(one->setRecIn(1));
    std::string difference;
    EXPECT_FALSE(DmTreeTool::areEqual(cut.composition.get(), copy.get(), &difference));
    EXPECT_EQ(difference, "children[0]/children[0]/children[0]/recIn");
    EXPECT_EQ(cut.one->getRecIn(), 0);

    EXPECT_FALSE(DmTreeTool::deepClone(nullptr));
    EXPECT_FALSE(DmTreeTool::deepClone(CoSharedPtr<DmGapNode>()));
    EXPECT_TRUE(DmTreeTool::areEqual(nullptr, nullptr));
    EXPECT_FALSE(DmTreeTool::areEqual(cut.gap.get(), nullptr));
    EXPECT_FALSE(DmTreeTool::areEqual(cut.gap.get(), cut.cut.get()));
}

TEST(Copies, OfTreesThatHoldThemselvesAreRefused)
{
    zrTestOnSmallStack(
        []
        {
            const EndlessCut endless;
            const EndlessCut other;
            EXPECT_FALSE(DmTreeTool::deepClone(endless.composition));
            EXPECT_FALSE(DmTreeTool::areEqual(endless.composition.get(), other.composition.get()));
            EXPECT_TRUE(DmTreeTool::areEqual(endless.composition.get(), endless.composition.get()));

            const auto deep = nestedCompositions(100);
            EXPECT_TRUE(DmTreeTool::areEqual(deep.get(), DmTreeTool::deepClone(deep).get()));
        });
}

namespace
{

std::string dumped(DmTreeNode* tree, eDmErrorId expected = DM_NO_ERROR)
{
    std::ostringstream out;
    EXPECT_EQ(DmTreeTool::dump(tree, out), expected);
    return out.str();
}

} // namespace

TEST(Dump, IsALineANode)
{
    TestCut cut;
    ok(cut.composition->setStartTC(90000, L"25 fps"));
    ok(cut.composition->setCompLength(250));
    ok(cut.composition->addCueMark(DmCueMark::create(L"here", 10)));
    ok(cut.one->setName(L"\"É\"\n\\\x01"));
    ok(cut.two->addEffect(DmVDissolveSettings::create()));
    ok(cut.two->setMuted(true));
    ok(cut.two->getSrcInput()->setName(L"A003"));
    addAny(*cut.layer, {});
    addAny(*cut.layer, containerOf(compositionOf({})));
    EXPECT_EQ(
        dumped(cut.composition.get()),
        "DmCompositionNode \"cut\" \"25 fps\" from 01:00:00:00 length 00:00:10:00 tracks 1 marks 1\n"
        "  DmTrackNode \"untitled\" number 1 video layers 1\n"
        "    DmLayerNode \"untitled\" number 0 video from 01:00:00:00 length 00:00:00:00 elements 7 missing 1\n"
        "      DmSourceNode \"\\\"É\\\"\\n\\\\\\x01\" 01:00:00:00 - 01:00:04:00 id \"one\" plays 01:00:00:00 of "
        "MediaInput\n"
        "      DmTrxEffectNode \"untitled\" 01:00:04:00 - 01:00:04:20 effect VDissolve\n"
        "      DmSourceNode \"two\" 01:00:04:20 - 01:00:08:00 id \"two\" muted effect VDissolve plays 01:00:02:00 of "
        "MediaInput \"A003\"\n"
        "      DmCutNode \"untitled\" 01:00:08:00 - 01:00:08:00\n"
        "      DmGapNode \"untitled\" 01:00:08:00 - 01:00:10:00\n"
        "      DmContainerNode \"untitled\" 01:00:00:00 - 01:00:04:00 plays 00:00:00:00\n"
        "        DmCompositionNode \"of these\" \"25 fps\" from 00:00:00:00 length 00:00:00:00 tracks 1\n"
        "          DmTrackNode \"untitled\" number 1 video layers 1\n"
        "            DmLayerNode \"untitled\" number 0 video from 00:00:00:00 length 00:00:00:00 elements 0\n");
    EXPECT_EQ(dumped(nullptr), "");
}

TEST(Dump, HasALineForEveryKindOfNode)
{
    const auto root = everyKind();
    ok(root->getIdentification()->setAppName(L"Editor"));
    addAny(*dynamic_cast<DmReelNode*>(root->getChild(0)), gapOf(dmNoTime, -INFINITY));
    EXPECT_EQ(dumped(root.get()), "DmRoot \"untitled\" by \"Editor\" children 1\n"
                                  "  DmReelNode \"untitled\" children 8\n"
                                  "    DmBlobNode \"untitled\" size 0\n"
                                  "    DmBatchFxNode \"untitled\" 0 - 0\n"
                                  "    DmContainerNode \"untitled\" 0 - 0 plays 0 composition none\n"
                                  "    DmSourceNode \"untitled\" 0 - 0 input none\n"
                                  "    DmTrxEffectNode \"untitled\" 0 - 0 effect none\n"
                                  "    DmGapNode \"untitled\" 0 - 0\n"
                                  "    DmCutNode \"untitled\" 0 - 0\n"
                                  "    DmGapNode \"untitled\" unset - -inf\n");
}

TEST(Dump, SaysWhatItLeavesOut)
{
    const EndlessCut endless;
    EXPECT_EQ(dumped(endless.composition.get(), DM_BAD_VALUE),
              "DmCompositionNode \"of these\" \"25 fps\" from 00:00:00:00 length 00:00:00:00 tracks 1\n"
              "  DmTrackNode \"untitled\" number 1 video layers 1\n"
              "    DmLayerNode \"untitled\" number 0 video from 00:00:00:00 length 00:00:00:00 elements 1\n"
              "      DmContainerNode \"untitled\" 00:00:00:00 - 00:00:04:00 plays 00:00:00:00\n"
              "        DmCompositionNode \"of these\" stands below itself: not followed\n");

    // Each level holds the next one twice: shown every time, there would be no end to it.
    auto outer = DmReelNode::create();
    for (int i = 0; i < 60; ++i)
    {
        const auto above = DmReelNode::create();
        above->addChild(outer);
        above->addChild(outer);
        outer = above;
    }
    const std::string text = dumped(outer.get());
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + 2 * 60 + 59);
    EXPECT_NE(text.find("DmReelNode \"untitled\" is shared: see above\n"), std::string::npos);
}
