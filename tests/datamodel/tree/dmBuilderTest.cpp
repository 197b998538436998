#include "dmBatchFxNode.h"
#include "dmLayerBuilder.h"
#include "dmTrackBuilder.h"
#include "testCut.h"
#include "treeTools.h"

#include "zrCapturingRouter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

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

CoSharedPtr<DmTrxEffectNode> dissolve(double recIn, double recLength)
{
    return DmTrxEffectNode::create(DmVDissolveSettings::create(), recIn, recLength);
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
    const struct
    {
        const char* name;
        double start;
        bool append; ///< where the element before ends; else where each says
        std::vector<CoSharedPtr<DmTreeNode>> elements;
        const char* shape;
    } cases[] = {
        {"nothing", 0, true, {}, ""},
        {"end to end", 0, true, {clip(L"a", 9, 10), clip(L"b", 9, 20)}, "Source 0-10, Cut 10-10, Source 10-30"},
        {"with a dissolve",
         0,
         true,
         {clip(L"a", 0, 10), dissolve(0, 4), clip(L"b", 0, 20)},
         "Source 0-10, Trx 10-14, Source 14-34"},
        {"from a later start", 100, true, {clip(L"a", 0, 10)}, "Source 100-110"},
        {"a hole at the begin", 0, false, {clip(L"a", 5, 10)}, "Gap 0-5, Cut 5-5, Source 5-15"},
        {"a hole between",
         0,
         false,
         {clip(L"a", 0, 10), clip(L"b", 20, 10)},
         "Source 0-10, Cut 10-10, Gap 10-20, Cut 20-20, Source 20-30"},
        {"a hole before a transition",
         0,
         false,
         {clip(L"a", 0, 10), dissolve(20, 5), clip(L"b", 25, 10)},
         "Source 0-10, Cut 10-10, Gap 10-20, Trx 20-25, Source 25-35"},
        {"a hole behind a transition",
         0,
         false,
         {clip(L"a", 0, 10), dissolve(10, 5), clip(L"b", 20, 10)},
         "Source 0-10, Trx 10-15, Gap 15-20, Cut 20-20, Source 20-30"},
        {"a fade in and a fade out",
         0,
         true,
         {dissolve(0, 5), clip(L"a", 0, 10), dissolve(0, 5)},
         "Gap 0-0, Trx 0-5, Source 5-15, Trx 15-20, Gap 20-20"},
        {"two transitions in a row",
         0,
         true,
         {clip(L"a", 0, 10), dissolve(0, 5), dissolve(0, 5), clip(L"b", 0, 10)},
         "Source 0-10, Trx 10-15, Gap 15-15, Trx 15-20, Source 20-30"},
        {"a cut of one's own",
         0,
         true,
         {clip(L"a", 0, 10), DmCutNode::create(DM_MEDIA_VIDEO, 77), clip(L"b", 0, 10)},
         "Source 0-10, Cut 10-10, Source 10-20"},
        {"sums that do not come out even",
         0,
         false,
         {clip(L"a", 0, 10.000001), clip(L"b", 10, 10), clip(L"c", 20.000001, 10)},
         "Source 0-10, Cut 10-10, Source 10-20, Cut 20-20, Source 20-30"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        DmTrackBuilder builder(1, DM_MEDIA_VIDEO, c.start);
        for (const CoSharedPtr<DmTreeNode>& element : c.elements)
            EXPECT_EQ(c.append ? builder.append(element) : builder.place(element), DM_NO_ERROR);
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
    EXPECT_EQ(builder.append(clip(L"a", 0, 10)), DM_NO_ERROR);
    const auto frozen = clip(L"b", 20, 10);
    frozen->freeze();
    const auto batch = DmBatchFxNode::create();
    EXPECT_EQ(batch->setMediaType(DM_MEDIA_VIDEO), DM_NO_ERROR);
    EXPECT_EQ(batch->setRecLength(10), DM_NO_ERROR);
    const auto longCut = DmCutNode::create(DM_MEDIA_VIDEO, 20);
    EXPECT_EQ(longCut->setRecLength(INFINITY), DM_NO_ERROR);
    const struct
    {
        const char* name;
        CoSharedPtr<DmTreeNode> element;
        eDmErrorId status;
    } cases[] = {{"null", {}, DM_BAD_VALUE},
                 {"a layer", DmLayerNode::create(), DM_BAD_VALUE},
                 {"a batch effect", batch, DM_BAD_VALUE},
                 {"of another media type", DmGapNode::create(DM_MEDIA_AUDIO, 20, 5), DM_BAD_VALUE},
                 {"before the end", clip(L"early", 19, 5), DM_BAD_VALUE},
                 {"of no length", clip(L"short", 20, 0.4), DM_BAD_VALUE},
                 {"of a negative length", DmGapNode::create(DM_MEDIA_VIDEO, 20, -1), DM_BAD_VALUE},
                 {"without end", DmGapNode::create(DM_MEDIA_VIDEO, 20, INFINITY), DM_BAD_VALUE},
                 {"at no time", DmGapNode::create(DM_MEDIA_VIDEO, std::nan(""), 5), DM_BAD_VALUE},
                 {"at the end of time", DmGapNode::create(DM_MEDIA_VIDEO, INFINITY, 5), DM_BAD_VALUE},
                 {"a constant", frozen, DM_CANNOT_LOCK}};
    for (const auto& c : cases)
        EXPECT_EQ(builder.place(c.element), c.status) << c.name;
    EXPECT_EQ(builder.fillTo(std::nan("")), DM_BAD_VALUE);
    EXPECT_EQ(builder.fillTo(15), DM_NO_ERROR) << "nothing to fill";
    EXPECT_EQ(shapeOf(*builder.finish()), "Source 10-20");
    EXPECT_EQ(builder.append(longCut), DM_NO_ERROR) << "cuts have no length";
    EXPECT_EQ(builder.fillTo(30), DM_NO_ERROR);
    EXPECT_EQ(shapeOf(*builder.finish()), "Source 10-20, Cut 20-20, Gap 20-30") << "more behind";
}

TEST(LayerBuilder, PostsItsStepsOnRequest)
{
    const zrTest::CapturingRouter router;
    DmLayerBuilder quiet(1, DM_MEDIA_VIDEO);
    EXPECT_EQ(quiet.append(clip(L"a", 0, 10)), DM_NO_ERROR);
    EXPECT_TRUE(router.messages.empty());
    const SwitchedOn log("ZR_DEBUG_DM_LAYER_BUILDER");
    DmLayerBuilder builder(3, DM_MEDIA_VIDEO);
    EXPECT_EQ(builder.place(clip(L"Été", 5, 10)), DM_NO_ERROR);
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
    EXPECT_EQ(builder.append(clip(L"a", 0, 10)), DM_NO_ERROR);
    builder.beginLayer(2, true);
    EXPECT_EQ(builder.place(clip(L"b", 50, 10)), DM_NO_ERROR);
    builder.beginLayer();
    EXPECT_EQ(builder.getEnd(), 60);
    EXPECT_EQ(builder.addTo(*composition), DM_NO_ERROR);

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
    EXPECT_EQ(sound.fillTo(30), DM_NO_ERROR);
    EXPECT_EQ(sound.addTo(*composition), DM_NO_ERROR);
    EXPECT_EQ(composition->getCompLength(), 60) << "the longest track's";
    EXPECT_TRUE(DmTreeTool::isValidTree(composition));
    composition->freeze();
    EXPECT_EQ(DmTrackBuilder(2, DM_MEDIA_AUDIO).addTo(*composition), DM_CANNOT_LOCK);
    EXPECT_EQ(composition->getNbChildren(), 2);
}
