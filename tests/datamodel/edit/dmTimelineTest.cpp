// Timelines as values: what publishing makes constant, what versions share, and how a place is found again.
#include "zrDrawing.h"
#include "zrTest.h"

namespace
{

using zrDrawing::draw;
using zrDrawing::timeline;

std::string longCut(int shots)
{
    std::string drawing;
    for (int i = 0; i < shots; ++i)
        drawing += (i > 0 ? "|" : "") + std::string(3, char('A' + i % 26));
    return drawing;
}

} // namespace

TEST(Timeline, PublishingCopiesAndTakingOverFreezesInPlace)
{
    const auto tree = zrDrawing::tree("AA|BB");
    DmLayerNode* const layer = static_cast<DmLayerNode*>(tree->getChild(0)->getChild(0)->getChild(0));
    const auto mark = DmCueMark::create();
    static_cast<void>(mark->setCueMarkName(L"here"));
    static_cast<void>(layer->addCueMark(mark));

    const DmTimeline published = DmTimeline::publish(tree);
    ASSERT_TRUE(bool(published));
    EXPECT_TRUE(DmTreeTool::areEqual(tree.get(), published.tree().get()));
    EXPECT_FALSE(tree->isFrozen());
    EXPECT_EQ(layer->setLayerLength(7), DM_NO_ERROR);
    const auto ours = published.composition();
    EXPECT_EQ(ours->getChild(0)->getChild(0)->getChild(0)->asSegment()->setRecIn(3), DM_CANNOT_LOCK);
    EXPECT_EQ(ours->setCompLength(3), DM_CANNOT_LOCK);
    EXPECT_EQ(static_cast<DmLayerNode*>(ours->getChild(0)->getChild(0))->getCueMarks().count(), 1);

    // What somebody else holds too is copied, and stays theirs.
    CoSharedPtr<DmTreeNode> handed = zrDrawing::tree("AA|BB");
    const CoSharedPtr<DmTreeNode> shared(handed->getChild(0)->getChild(0)->getChild(0)->getChild(0));
    const CoSharedPtr<DmTreeNode> expected = DmTreeTool::deepClone(handed);
    DmTreeNode* const alone = handed->getChild(0)->getChild(0)->getChild(0)->getChild(2);
    const DmTimeline taken = DmTimeline::takeOver(std::move(handed));
    EXPECT_EQ(shared->asSegment()->setRecIn(9), DM_NO_ERROR);
    EXPECT_EQ(taken.element({0, 0, 2}).get(), alone);
    EXPECT_TRUE(alone->isFrozen());
    EXPECT_TRUE(DmTreeTool::areEqual(expected.get(), taken.tree().get()));

    DmStatus status;
    EXPECT_FALSE(bool(DmTimeline::publish(DmRoot::create(), 0, &status)));
    EXPECT_FALSE(status.ok());
}

TEST(Timeline, OtherElementsTakePlacesAsTheyStand)
{
    const DmTimeline before = timeline("AAA|BBB|CCC\nddd|eee");
    const DmElementPlace place{0, 0, 2};
    CoSharedPtr<DmTreeNode> other = DmTreeTool::deepClone(before.element(place));
    EXPECT_EQ(other->asSegment()->setSegmentId(L"renamed"), DM_NO_ERROR);
    EXPECT_EQ(other->asSegment()->setRecLength(2), DM_NO_ERROR);
    const DmPlacedElement placed[] = {{place, other}};

    const DmTimeline after = before.withElements(placed);
    EXPECT_EQ(after.element(place).get(), other.get());
    EXPECT_TRUE(other->isFrozen());
    EXPECT_EQ(after.find(L"renamed"), place);
    EXPECT_EQ(before.find(L"renamed"), std::nullopt);
    EXPECT_EQ(after.recOut(place), before.recOut(place) - 1);
    EXPECT_EQ(after.recIn({0, 0, 4}), before.recIn({0, 0, 4}));
    EXPECT_TRUE(after.sharesLayer(before, {1, 0}));
    const DmPlacedElement first[] = {{{0, 0, 0}, other}};
    EXPECT_EQ(before.withElements(first).element({0, 0, 0}).get(), other.get());

    for (const DmElementPlace& none : {DmElementPlace{0, 0, 5}, {0, 0, -1}, {0, 1, 0}, {2, 0, 0}})
    {
        const DmPlacedElement nowhere[] = {{none, other}};
        EXPECT_FALSE(bool(before.withElements(nowhere)));
    }
}

TEST(Timeline, OtherNodesSayTheirOwnAndKeepWhatStandsBelow)
{
    const DmTimeline before = timeline("AAA|BBB\nddd");
    const auto composition = before.composition();
    const auto renamed = [](const DmTreeNode* was, const wchar_t* name)
    {
        const auto is = DM::staticPointerCast<DmTreeNode>(was->clone());
        EXPECT_EQ(is->setName(name), DM_NO_ERROR);
        return DmRenewedNode{was, is};
    };
    DmTreeNode* const track = composition->getChild(0);
    DmRenewedNode nodes[] = {renamed(before.tree().get(), L"root"), renamed(composition.get(), L"cut"),
                             renamed(track, L"track"), renamed(track->getChild(0), L"layer")};
    auto& layer = static_cast<DmLayerNode&>(*nodes[3].is);
    EXPECT_EQ(layer.addCueMark(DmCueMark::create()), DM_NO_ERROR);
    EXPECT_EQ(layer.clearList(DmLayerNode::Children, DM_VECTOR_PROPERTY_SET), DM_NO_ERROR);

    const DmTimeline after = before.withNodes(nodes);
    ASSERT_TRUE(bool(after));
    const auto names = [](const DmTimeline& timeline)
    {
        std::string all;
        for (const DmTreeNode* node = timeline.tree().get(); all.size() < 100 && node && !node->isSegment();
             node = node->getChild(0))
            all += dmUtf8(node->getName()) + ' ';
        return all;
    };
    EXPECT_EQ(names(after), "root cut track layer ");
    EXPECT_NE(names(before), names(after));
    EXPECT_EQ(draw(after), draw(before));
    EXPECT_EQ(after.layer({0, 0})->getCueMarks().count(), 1);
    EXPECT_EQ(after.storedElement({0, 0, 2}), before.storedElement({0, 0, 2}));
    EXPECT_TRUE(after.sharesLayer(before, {1, 0}));
    DmEdit edit(after, {.syncLock = false});
    ASSERT_TRUE(edit.rippleTrim({0, 0, 0}, DM_TAIL, -1).ok());
    EXPECT_EQ(names(edit.timeline()), "root cut track layer ");

    const DmRenewedNode wrong[] = {renamed(before.element({0, 0, 0}).get(), L"no such"),
                                   {track, composition},
                                   {track, nullptr},
                                   renamed(after.composition().get(), L"of another version")};
    for (const DmRenewedNode& each : wrong)
        EXPECT_FALSE(bool(before.withNodes({&each, 1})));
    EXPECT_FALSE(bool(DmTimeline().withNodes(nodes)));
}

TEST(Timeline, WhoHoldsASetIsFoundInAnyDepth)
{
    const auto root = zrDrawing::tree("AAA|BBB|1111|CCC\nddd");
    const auto elementAt = [&](int track, int index)
    { return root->getChild(0)->getChild(track)->getChild(0)->getChild(index); };
    auto& first = static_cast<DmSourceNode&>(*elementAt(0, 0));
    EXPECT_EQ(static_cast<DmSourceNode*>(elementAt(1, 0))->setSrcInput(CoSharedPtr(first.getSrcInput())), DM_NO_ERROR);
    const auto inner =
        DM::staticPointerCast<DmCompositionNode>(CoSharedPtr<DmTreeNode>(zrDrawing::tree("EEE")->getChild(0)));
    DmTreeNode* const inside = inner->getChild(0)->getChild(0)->getChild(0);
    EXPECT_EQ(static_cast<DmSourceNode*>(inside)->setSrcInput(CoSharedPtr(first.getSrcInput())), DM_NO_ERROR);
    EXPECT_EQ(static_cast<DmContainerNode*>(elementAt(0, 4))->setComposition(inner), DM_NO_ERROR);
    const DmTimeline timeline = DmTimeline::publish(root);

    const auto* const source = static_cast<const DmSourceNode*>(timeline.storedElement({0, 0, 0}));
    const DmPropertySet* const sets[] = {source->getSrcInput()->getSrcInfo(), timeline.storedElement({0, 0, 2})};
    const std::vector<DmElementPlace> all{{0, 0, 0}, {0, 0, 4}, {1, 0, 0}};
    EXPECT_EQ(timeline.holdersOf(sets), all) << "an element does not hold itself";
    EXPECT_TRUE(timeline.holdersOf({}).empty());
    EXPECT_TRUE(DmTimeline().holdersOf(sets).empty());
}

TEST(Timeline, VersionsShareWhatNoEditTouched)
{
    const DmTimeline before = timeline(longCut(2000) + "\naaa|bbb");
    DmEditOptions options;
    options.syncLock = false;
    DmEdit edit(before, options);
    ASSERT_TRUE(edit.rippleTrim({0, 0, 1000}, DM_TAIL, -1).ok());
    const DmTimeline after = edit.timeline();
    EXPECT_TRUE(after.sharesLayer(before, {1, 0}));
    EXPECT_FALSE(after.sharesLayer(before, {0, 0}));
    EXPECT_EQ(after.storedElement({0, 0, 998}), before.storedElement({0, 0, 998}));
    EXPECT_EQ(after.storedElement({0, 0, 3000}), before.storedElement({0, 0, 3000})) << "a ripple copies no node";
    EXPECT_EQ(after.recIn({0, 0, 3000}), before.recIn({0, 0, 3000}) - 1);
    EXPECT_EQ(after.element({0, 0, 3000})->asSegment()->getRecIn(), before.recIn({0, 0, 3000}) - 1);
    EXPECT_EQ(after.element({0, 0, 998}).get(), before.element({0, 0, 998}).get());
    EXPECT_EQ(after.at({0, 0}, after.recIn({0, 0, 3000})), (DmElementPlace{0, 0, 3000}));
    ASSERT_EQ(edit.changes().size(), 1U);
    EXPECT_EQ(edit.changes()[0].first, 1000);
    EXPECT_EQ(edit.changes()[0].shift, -1.0);
    EXPECT_EQ(static_cast<const DmLayerNode*>(after.layer({0, 0}))->getLayerLength(), 5999.0);
    EXPECT_EQ(after.composition()->getCompLength(), 5999.0);

    // One that says less than there is follows by as much, and never says less than nothing.
    const auto root = zrDrawing::tree("AAAA|BBBBBB");
    static_cast<void>(static_cast<DmCompositionNode*>(root->getChild(0))->setCompLength(4.0));
    DmEdit shorter(DmTimeline::publish(root));
    for (const auto& [by, length] : {std::pair(-3.0, 1.0), {-2.0, 0.0}})
    {
        ASSERT_TRUE(shorter.rippleTrim({0, 0, 2}, DM_TAIL, by).ok());
        EXPECT_EQ(shorter.timeline().composition()->getCompLength(), length);
    }
}

TEST(Timeline, ElementsAreMadeOnceARunWhenTheyAreAskedFor)
{
    const DmTimeline before = timeline(longCut(2000));
    DmEdit edit(before);
    ASSERT_TRUE(edit.rippleTrim({0, 0, 0}, DM_TAIL, -1).ok());
    const DmTimeline after = edit.timeline();
    // A node that is made shares the input of the one that it is made of.
    const auto uses = [&](int index) {
        return dynamic_cast<const DmSourceNode*>(before.storedElement({0, 0, index}))->getSrcInput()->refCount();
    };
    const int once = uses(3000);
    const auto composition = after.composition();
    const auto* const layer = static_cast<const DmLayerNode*>(composition->getChild(0)->getChild(0));
    EXPECT_EQ(layer->getNbChildren(), 3999);
    EXPECT_EQ(uses(3000), once);
    const DmTreeNode* const made = layer->getChild(3000);
    EXPECT_EQ(made->asSegment()->getRecIn(), before.recIn({0, 0, 3000}) - 1);
    EXPECT_TRUE(made->isFrozen());
    EXPECT_EQ(uses(3000), once + 1);
    EXPECT_EQ(uses(3900), once) << "no other run was asked for";
    EXPECT_EQ(layer->getChild(3000), made);
    EXPECT_EQ(after.element({0, 0, 3000}).get(), made);

    // A copy of the layer has a list of its own, to change.
    const auto copy = DM::staticPointerCast<DmLayerNode>(layer->clone());
    ASSERT_EQ(copy->getNbChildren(), 3999);
    EXPECT_EQ(copy->getChild(3000), made);
    EXPECT_EQ(copy->removeChild(3998), 3998);
    EXPECT_EQ(copy->removeChild(3997), 3997);
    EXPECT_EQ(layer->getNbChildren(), 3999);
}

TEST(Timeline, WhatAnEditCopiesKeepsAllButListeners)
{
    const auto root = zrDrawing::tree("AAAA|BBBB|CC", "B5", true);
    auto* const layer = static_cast<DmLayerNode*>(root->getChild(0)->getChild(0)->getChild(0));
    auto* const source = static_cast<DmSourceNode*>(layer->getChild(2));
    const auto blob = DmBlobNode::create();
    ASSERT_EQ(blob->setBlobType(L"host 1"), DM_NO_ERROR);
    const auto effect = DmResizeSettings::create();
    const auto channel = effect->getChannelByName(L"scale_x");
    ASSERT_EQ(channel->setVersion(2), DM_NO_ERROR);
    ASSERT_EQ(channel->setExtrapolation(DmAnimationChannel::ExtrapolationType(3)), DM_NO_ERROR);
    for (const eDmErrorId status :
         {source->setComment(L"the good one"), source->setBaseBlob(blob), source->addSegmentPreviousId(L"old"),
          source->addEffect(effect), layer->addCueMark(DmCueMark::create()), layer->setComment(L"of the layer")})
        ASSERT_EQ(status, DM_NO_ERROR);
    const DmTimeline before = DmTimeline::publish(root);
    DmEdit edit(before);
    ASSERT_TRUE(edit.slip({0, 0, 2}, 1).ok());
    ASSERT_TRUE(edit.rippleTrim({0, 0, 0}, DM_TAIL, -1).ok()); // makes B anew at its time, and the layer
    const CoSharedPtr<DmTreeNode> was = before.element({0, 0, 2});
    const CoSharedPtr<DmTreeNode> is = edit.timeline().element({0, 0, 2});
    ASSERT_NE(was, is);
    EXPECT_EQ(is->getComment(), L"the good one");
    EXPECT_TRUE(is->getNodeId() == was->getNodeId());
    const auto& segment = *is->asSegment();
    EXPECT_EQ(segment.getSegmentId(), L"B#T0");
    EXPECT_EQ(segment.getSegmentPreviousIds().size(), 1U) << "its id is its own still";
    const auto* const kept = dynamic_cast<const DmBlobNode*>(segment.getBaseBlob());
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(kept->getBlobType(), L"host 1");
    const auto curve = segment.getEffects().at(0)->getExistingChannelByName(L"scale_x");
    EXPECT_EQ(curve->getVersion(), 2);
    EXPECT_EQ(curve->getExtrapolation(), 3);
    EXPECT_EQ(curve->getName(), channel->getName());
    const auto* const layerNow =
        static_cast<const DmLayerNode*>(edit.timeline().composition()->getChild(0)->getChild(0));
    EXPECT_EQ(layerNow->getCueMarks().count(), 1);
    EXPECT_EQ(layerNow->getComment(), L"of the layer");
}

TEST(Timeline, TimesAreWhatWasStoredPlusTheShift)
{
    // A hole, an overlap, fractions, a time that is not set: none of an edit's business, and kept.
    const auto root = zrDrawing::tree("AAAA|BBBB|CCCC|DDDD|EEEE");
    DmTreeNode* const layer = root->getChild(0)->getChild(0)->getChild(0);
    const double times[] = {10.1, 11.3, dmNoTime};
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(layer->getChild(4 + 2 * i)->asSegment()->setRecIn(times[i]), DM_NO_ERROR);
    const DmTimeline before = DmTimeline::publish(root);
    DmEdit edit(before);
    ASSERT_TRUE(edit.insert({0, 0}, 0, zrDrawing::shot('X', 0, 5, {})).ok());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(edit.timeline().element({0, 0, 6 + 2 * i})->asSegment()->getRecIn(), i < 2 ? times[i] + 5 : dmNoTime);
    EXPECT_EQ(edit.timeline().element({0, 0, 4})->asSegment()->getRecIn(), 9);
    ASSERT_TRUE(edit.extract({0, 0}, 0, 5).ok());
    std::string difference;
    EXPECT_TRUE(DmTreeTool::areEqual(edit.timeline().composition()->getChild(0)->getChild(0)->getChild(8),
                                     layer->getChild(8), &difference))
        << difference;
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(edit.timeline().storedElement({0, 0, i}), before.storedElement({0, 0, i})) << i;
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(edit.timeline().element({0, 0, 4 + 2 * i})->asSegment()->getRecIn(), times[i]) << "to the bit";
    EXPECT_FALSE(edit.split({0, 0}, 9).ok()) << "in the hole";
    EXPECT_FALSE(edit.slip({0, 0, 4}, 1).ok()) << "beside it";
    EXPECT_TRUE(edit.slip({0, 0, 0}, 1).ok()) << "far from it";
}

/// Against a plain list of what every version should hold.
TEST(Timeline, RandomEditsKeepOrderTimesAndPlaces)
{
    std::mt19937 random(7);
    DmTimeline version = timeline(longCut(300), "", true);
    std::vector<std::pair<DmTimeline, std::string>> history;
    for (int step = 0; step < 120; ++step)
    {
        if (step % 20 == 0)
            history.emplace_back(version, draw(version));
        DmEdit edit(version);
        edit.seedIds(static_cast<std::uint64_t>(step));
        const DmLayerPlace layer{0, 0};
        const int count = version.elementCount(layer);
        const double end = version.recOut({0, 0, count - 1});
        const double time = double(random() % unsigned(end));
        const int kind = static_cast<int>(random() % 4);
        const DmStatus status = kind == 0   ? edit.insert(layer, time, zrDrawing::shot('X', 0, 2, {5, 50}))
                                : kind == 1 ? edit.extract(layer, time, time + 2)
                                : kind == 2 ? edit.overwrite(layer, time, zrDrawing::shot('Y', 0, 2, {5, 50}))
                                            : edit.lift(layer, time, time + 3);
        ASSERT_TRUE(status.ok()) << dmUtf8(status.info());
        version = edit.timeline();
        EXPECT_EQ(draw(version).find('?'), std::string::npos);
        for (int i = 0; i < version.elementCount(layer); i += 7)
            if (const auto element = version.element({0, 0, i}); const DmSegmentNode* segment = element->asSegment())
            {
                if (!segment->getSegmentId().empty())
                {
                    const auto found = version.find(segment->getSegmentId());
                    ASSERT_TRUE(found) << "element " << i << " of step " << step;
                    // The drawing gives the shots of one letter one id: the place is one of that id's.
                    EXPECT_EQ(version.storedElement(*found)->getName(), segment->getName());
                }
                if (segment->getRecLength() > 0)
                {
                    const auto playing = version.at(layer, segment->getRecIn());
                    ASSERT_TRUE(playing);
                    EXPECT_EQ(playing->index, i);
                }
            }
    }
    for (const auto& [old, drawing] : history)
        EXPECT_EQ(draw(old), drawing);
}

TEST(Timeline, ReadsLabelsToTheLetter)
{
    const auto root = zrDrawing::tree("AAAA|BBBB", "", false, L"29.97 fps df");
    auto* const composition = static_cast<DmCompositionNode*>(root->getChild(0));
    static_cast<void>(composition->setFCM(dmFcmText(DM::FCM_29_97_DF)));
    ASSERT_EQ(composition->setStartTC(17982, dmFcmText(DM::FCM_29_97_DF)), DM_NO_ERROR);
    const DmTimeline timeline = DmTimeline::publish(root);
    const struct
    {
        const char* label;
        double time;
        const char* why;
    } rows[] = {
        {"00:10:00;00", 0.0, ""},
        {"00:10:00;04", 4.0, ""},
        {"00:11:00;00", 0.0, "drops the label"},
        {"00:10:00;31", 0.0, "out of range"},
        {"four", 0.0, "four: "},
        {"", 0.0, ": "},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.label);
        double time = -1.0;
        const DmStatus status = timeline.readLabel(row.label, time);
        EXPECT_EQ(status.ok(), *row.why == '\0');
        EXPECT_NE(dmUtf8(status.info()).find(row.why), std::string::npos) << dmUtf8(status.info());
        EXPECT_EQ(time, status.ok() ? row.time : -1.0);
        if (status.ok())
        {
            EXPECT_EQ(timeline.labelOf(time), row.label);
        }
    }
    double time = 0.0;
    EXPECT_FALSE(DmTimeline().readLabel("00:00:00:00", time).ok());
    EXPECT_EQ(DmTimeline().labelOf(0.0), "");
}
