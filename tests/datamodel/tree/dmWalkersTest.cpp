#include "testCut.h"

namespace
{

/// Every class of node that the factory makes, and one more that only this program knows.
class HostSegment final : public DmNode<HostSegment, DmSegmentNode, &DmTreeVisitor::visitSegmentNode>
{
public:
    explicit HostSegment(const DmNodeId& id)
        : DmNode(DM_GAP_NODE, id, DmPropertySetInit<HostSegment>::data())
    {
    }
};

std::vector<CoSharedPtr<DmTreeNode>> everyNode()
{
    std::vector<CoSharedPtr<DmTreeNode>> nodes;
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
    {
        DmPropertySet* made = nullptr;
        ok(DmPropertyFactory::getInstance().createPropertySetInstance(name, DmNodeId(), 0, made));
        const DmPropertySetPtr set(made);
        if (dynamic_cast<DmTreeNode*>(made))
            nodes.push_back(DM::staticPointerCast<DmTreeNode>(set));
    }
    return nodes;
}

/// Counts by kind what it is called with.
class Kinds final : public DmTreeVisitor
{
public:
    Kinds()
        : DmTreeVisitor("Kinds")
    {
    }
    void visitNode(DmTreeNode* node) override { count["node"].insert(node); }
    void visitCollection(DmCollectionNode* node) override { count["collection"].insert(node); }
    void visitSegment(DmSegmentNode* node) override { count["segment"].insert(node); }
    void visitContainer(DmSegmentNode* node) override
    {
        count["container"].insert(node);
        DmTreeVisitor::visitContainer(node);
    }
    void visitTransition(DmTransitionNode* node) override { count["transition"].insert(node); }
    void postProcessCollection(DmCollectionNode* node) override { count["behind a collection"].insert(node); }

    std::map<std::string, std::set<const DmTreeNode*>> count;
};

} // namespace

TEST(Walkers, MeetEveryClassOfNode)
{
    const auto nodes = everyNode();
    ASSERT_GE(nodes.size(), 13U);
    const auto reel = DmReelNode::create();
    for (const CoSharedPtr<DmTreeNode>& node : nodes)
        addAny(*reel, node);

    // Visitors by kind: each node is of one kind, and comes to that kind's function.
    Kinds kinds;
    ok(DmPreIt(reel).apply(kinds));
    for (const CoSharedPtr<DmTreeNode>& node : nodes)
    {
        const bool isCollection = dynamic_cast<DmCollectionNode*>(node.get()) != nullptr;
        const bool isSegment = node->asSegment() != nullptr;
        const bool isTransition = node->asTransition() != nullptr;
        const std::string name = dmUtf8(node->getPSetName());
        EXPECT_EQ(kinds.count["collection"].count(node.get()), isCollection) << name;
        EXPECT_EQ(kinds.count["behind a collection"].count(node.get()), isCollection) << name;
        EXPECT_EQ(kinds.count["segment"].count(node.get()), isSegment) << name;
        EXPECT_EQ(kinds.count["transition"].count(node.get()), isTransition) << name;
        EXPECT_EQ(kinds.count["container"].count(node.get()), node->whatIs() == DM_CONTAINER_NODE) << name;
        EXPECT_EQ(kinds.count["node"].count(node.get()), !isCollection && !isSegment && !isTransition) << name;
    }

    // The dump has a line of each, the places know where each stands, a copy has them all.
    std::ostringstream dump;
    ok(DmTreeTool::dump(reel, dump));
    const DmTreePlaces places(reel);
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        const std::string name = dmUtf8(nodes[i]->getPSetName());
        EXPECT_NE(dump.str().find("\n  " + name + " \"untitled\""), std::string::npos) << name;
        ASSERT_EQ(places.of(nodes[i]).size(), 1U) << name;
        EXPECT_EQ(places.of(nodes[i]).front().position(), static_cast<int>(i)) << name;
    }
    const auto copy = DmTreeTool::deepClone(reel);
    ASSERT_TRUE(copy);
    EXPECT_TRUE(DmTreeTool::areEqual(reel, copy));

    // The index finds each segment by its id; look-ups, times and rules take each where layers hold it.
    for (const CoSharedPtr<DmTreeNode>& node : nodes)
    {
        SCOPED_TRACE(dmUtf8(node->getPSetName()));
        DmSegmentNode* const segment = node->asSegment();
        DmTransitionNode* const transition = node->asTransition();
        if (segment)
        {
            ok(segment->setSegmentId(L"id"));
            ok(segment->setRecLength(10));
            ok(segment->setMediaType(DM_MEDIA_VIDEO));
        }
        if (transition)
        {
            ok(transition->setRecLength(10));
            ok(transition->setMediaType(DM_MEDIA_VIDEO));
        }
        const auto composition = compositionOf({node});
        auto* const layer = static_cast<DmLayerNode*>(composition->getChild(0)->getChild(0));
        EXPECT_EQ(DmSegmentIndex(composition).find(L"id"), segment);
        const bool isElement = node->isSegment() || node->isTransition();
        EXPECT_EQ(DmTreeTool::getRecordRange(node).length, isElement ? 10 : 0);
        EXPECT_EQ(DmTreeTool::getElementAt(layer, 5), node->isSegment() ? node.get() : nullptr);
        EXPECT_EQ(DmTreeTool::findViolations(composition, DM_VALIDATE_ALL).empty(),
                  node->whatIs() == DM_GAP_NODE); // the others are of the wrong kind, or lack what they play
        EXPECT_TRUE(DmTreeTool::findTimeFaults(composition).empty());
        EXPECT_EQ(layer->mayHold(node.get()), isElement ? DM_NO_ERROR : DM_BAD_PROPERTY_TYPE);
        DmLayerBuilder builder(0, DM_MEDIA_VIDEO);
        EXPECT_EQ(builder.append(node), isElement ? DM_NO_ERROR : DM_BAD_VALUE);
    }
}

TEST(Walkers, KeepTheirFirstNodeAlive)
{
    Kinds kinds;
    DmPreIt walk(TestCut().composition);
    ok(walk.apply(kinds));
    EXPECT_EQ(kinds.count["collection"].size(), 3U);
    DmGapNode onTheStack{DmNodeId()};
    ok(DmPreIt(&onTheStack).apply(kinds)); // counted by nobody, and so left to its owner
    EXPECT_EQ(onTheStack.refCount(), 0);
}

TEST(Places, AreTheWaysToANode)
{
    // The cut stands in a reel, and twice in a composition of the reel, whose containers share it.
    const TestCut cut;
    const auto outer = compositionOf({containerOf(cut.composition), cutAt(100), containerOf(cut.composition, 100)});
    const auto reel = DmReelNode::create();
    reel->addChild(outer);
    reel->addChild(DmGapNode::create());
    reel->addChild(cut.composition);
    const DmTreePlaces places(reel);

    std::vector<std::string> texts;
    for (const DmTreePlace& place : places.of(cut.two))
    {
        texts.push_back(place.text());
        EXPECT_EQ(place.node(), cut.two.get());
        EXPECT_EQ(place.position(), 2);
        EXPECT_EQ(place.parent(), cut.layer);
        EXPECT_EQ(place.layer(), cut.layer);
        EXPECT_EQ(place.track(), cut.track);
        EXPECT_EQ(place.composition(), cut.composition.get());
        EXPECT_EQ(place.above(place.depth()), reel.get());
        EXPECT_EQ(place.above(place.depth() + 1), nullptr);
    }
    EXPECT_EQ(texts,
              (std::vector<std::string>{
                  "children[0]/children[0]/children[0]/children[0]/composition/children[0]/children[0]/children[2]",
                  "children[0]/children[0]/children[0]/children[2]/composition/children[0]/children[0]/children[2]",
                  "children[2]/children[0]/children[0]/children[2]"}));
    EXPECT_EQ(places.parentsOf(cut.composition.get()).size(), 3U);
    EXPECT_EQ(places.parentsOf(cut.two.get()), std::vector<DmTreeNode*>{cut.layer});

    ASSERT_EQ(places.of(reel).size(), 1U);
    EXPECT_EQ(places.of(reel).front().text(), "");
    EXPECT_EQ(places.of(reel).front().layer(), nullptr);
    EXPECT_TRUE(places.of(gapOf(0, 1)).empty());
    EXPECT_TRUE(places.of(nullptr).empty());
    EXPECT_TRUE(DmTreePlaces({}).of(cut.two).empty());

    const EndlessCut endless;
    const DmTreePlaces round(endless.composition);
    EXPECT_EQ(round.of(endless.container).size(), 1U);
    EXPECT_EQ(round.of(endless.composition).size(), 1U) << "below itself it has no place";
}
