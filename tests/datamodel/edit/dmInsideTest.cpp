// What one timeline holds in several places: compositions of containers, inputs of sources, and the constants that
// versions share.
#include "zrEditCases.h"

using namespace zrEditCases;

namespace
{

/// A shot, and twice a container of "AAAA|BBBB", of which the second one plays the last four frames.
DmTimeline nested()
{
    const auto inner = DM::staticPointerCast<DmCompositionNode>(
        CoSharedPtr<DmTreeNode>(zrDrawing::tree("AAAA|BBBB", "A2/20 B3/20")->getChild(0)));
    const auto root = zrDrawing::tree("XXXX");
    DmLayerBuilder builder(0, DM_MEDIA_VIDEO);
    EXPECT_EQ(builder.append(shot('X', 0, 4, {3, 20})), DM_NO_ERROR);
    EXPECT_EQ(builder.append(DmContainerNode::create(inner, DM_MEDIA_VIDEO, 0, 8)), DM_NO_ERROR);
    EXPECT_EQ(builder.append(DmContainerNode::create(inner, DM_MEDIA_VIDEO, 0, 4, 4)), DM_NO_ERROR);
    auto* const track = static_cast<DmTrackNode*>(root->getChild(0)->getChild(0));
    track->removeChild(0);
    track->addChild(builder.finish());
    return DmTimeline::publish(root);
}

DmCompositionNode* compositionOf(const DmTimeline& timeline, int index)
{
    return dynamic_cast<const DmContainerNode*>(timeline.storedElement({0, 0, index}))->getComposition();
}

std::string drawn(const DmCompositionNode* composition)
{
    return draw(DmTimeline::publish(composition));
}

} // namespace

TEST(EditInside, AnEditInAContainerChangesAllItsUsesOrThisOneOnly)
{
    const auto roll = [](DmEdit& inside) { return inside.roll({0, 0, 1}, 2); };
    const DmTimeline before = nested();
    DmEdit all(before);
    ASSERT_TRUE(all.inside(at(2), roll).ok());
    EXPECT_EQ(drawn(compositionOf(all.timeline(), 2)), "AAAAAA|BB");
    EXPECT_EQ(compositionOf(all.timeline(), 2), compositionOf(all.timeline(), 4)) << "one composition still";
    EXPECT_EQ(drawn(compositionOf(before, 2)), "AAAA|BBBB");
    EXPECT_EQ(all.timeline().storedElement(at(0)), before.storedElement(at(0))) << "the shot beside it is shared";
    EXPECT_TRUE(compositionOf(all.timeline(), 4)->isFrozen());
    EXPECT_TRUE(DmTreeTool::findViolations(all.timeline().composition(), DM_VALIDATE_ALL).empty());

    DmEditOptions options;
    options.ownComposition = true;
    DmEdit one(before, options);
    ASSERT_TRUE(one.inside(at(2), roll).ok());
    EXPECT_EQ(drawn(compositionOf(one.timeline(), 2)), "AAAAAA|BB");
    EXPECT_EQ(compositionOf(one.timeline(), 4), compositionOf(before, 4));

    // What a session of the caller's own made of it.
    DmEdit own(DmTimeline::publish(compositionOf(before, 2)));
    ASSERT_TRUE(roll(own).ok());
    DmEdit taken(before);
    ASSERT_TRUE(taken.inside(at(4), own.timeline()).ok());
    EXPECT_EQ(drawn(compositionOf(taken.timeline(), 2)), "AAAAAA|BB");
    EXPECT_EQ(compositionOf(taken.timeline(), 2), compositionOf(taken.timeline(), 4));
    EXPECT_FALSE(taken.inside(at(2), DmTimeline()).ok());
    EXPECT_FALSE(taken.inside(at(0), own.timeline()).ok());

    const struct
    {
        const char* name;
        int container;
        std::function<DmStatus(DmEdit&)> edits;
        const char* why;
    } refused[] = {
        {"no container", 0, roll, "is no container"},
        {"what the function refuses", 2,
         [](DmEdit& e) {
             return e.roll({0, 0, 1}, 9);
         },
         "there are 3"},
        {"too short for the other use", 2,
         [](DmEdit& e) {
             return e.rippleTrim({0, 0, 2}, DM_TAIL, -1);
         },
         "up to frame 8; it would have 7"},
    };
    for (const auto& each : refused)
    {
        SCOPED_TRACE(each.name);
        DmEdit edit(before);
        const DmStatus status = edit.inside(at(each.container), each.edits);
        EXPECT_NE(dmUtf8(status.info()).find(each.why), std::string::npos) << dmUtf8(status.info());
        EXPECT_TRUE(edit.timeline() == before);
    }
}

TEST(EditInside, RelinkingAndRedactingReachContainersAndShareTheRest)
{
    auto tree = DM::staticPointerCast<DmRoot>(DmTreeTool::deepClone(nested().tree()));
    auto* const layerNode = tree->getChild(0)->getChild(0)->getChild(0);
    auto* const inner = static_cast<DmContainerNode*>(layerNode->getChild(2))->getComposition();
    auto* const innerSource = static_cast<DmSourceNode*>(inner->getChild(0)->getChild(0)->getChild(2));
    ASSERT_EQ(innerSource->getSrcInput()->getSrcInfo()->setPath(L"/old/b.mov"), DM_NO_ERROR);
    const auto resize = DmResizeSettings::create();
    ASSERT_EQ(static_cast<DmSegmentNode*>(layerNode->getChild(0))->addEffect(resize), DM_NO_ERROR);
    const DmTimeline before = DmTimeline::publish(tree);

    DmEdit edit(before);
    ASSERT_TRUE(edit.relink({L"/old/", L"/new/", {}, {}, {}, {}}).ok());
    const DmTimeline after = edit.timeline();
    EXPECT_EQ(after.storedElement(at(0)), before.storedElement(at(0)));
    EXPECT_NE(compositionOf(after, 2), compositionOf(before, 2));
    EXPECT_EQ(compositionOf(after, 2), compositionOf(after, 4));
    const auto childOf = [](const DmCompositionNode* composition, int index)
    { return static_cast<const DmSourceNode*>(composition->getChild(0)->getChild(0)->getChild(index)); };
    EXPECT_EQ(childOf(compositionOf(after, 2), 0), childOf(compositionOf(before, 2), 0));
    EXPECT_EQ(dmUtf8(childOf(compositionOf(after, 2), 2)->getSrcInput()->getSrcInfo()->getPath()), "/new/b.mov");
    EXPECT_EQ(edit.changes().size(), 2U) << "the two containers";

    DmEdit dropped(after);
    ASSERT_TRUE(dropped.redact().ok());
    EXPECT_EQ(dmUtf8(childOf(compositionOf(dropped.timeline(), 2), 2)->getSrcInput()->getSrcInfo()->getPath()), "");
    ASSERT_TRUE(dropped.redact().ok());
    const DmTimeline redacted = dropped.timeline();
    EXPECT_EQ(redacted.storedElement(at(0))->asSegment()->getEffects().count(), 1);
    DmEdit shots(timeline("AAAA%%(X)//BBBB"));
    ASSERT_TRUE(shots.redact().ok());
    EXPECT_EQ(draw(shots.timeline()), "cccc%%(c)//cccc") << "attached shots are material, not leftovers";
}

TEST(EditWhole, DroppingEffectsKeepsTimewarps)
{
    DmEdit edit(timeline("AAAA|BBBB", "A0/20 B0/20"));
    ASSERT_TRUE(edit.addEffect(at(0), DmResizeSettings::create()).ok());
    ASSERT_TRUE(edit.speed(at(0), 2).ok());
    const DmTimeline before = edit.timeline();
    ASSERT_TRUE(edit.dropEffects().ok());
    const auto& effects = edit.timeline().storedElement(at(0))->asSegment()->getEffects();
    ASSERT_EQ(effects.count(), 1);
    EXPECT_NE(dynamic_cast<const DmTimewarpSettings*>(effects.at(0)), nullptr);
    EXPECT_EQ(edit.timeline().storedElement(at(2)), before.storedElement(at(2)));
}

TEST(EditLinks, ByMediumWhereNoIdSaysSo)
{
    const DmEditOptions byMedium{.linkByMedium = true};
    const auto trimFirst = [](DmEdit& e) { return e.trim(at(0), DM_TAIL, -1); };
    check({
        {"in sync", "AAAA|BB\nAAAA|CC", "A5", trimFirst, "AAA|-|BB\nAAAA|CC", "", byMedium},
        {"asked for nothing", "AAAA|BB\naaaa|bb", "A5 a5", trimFirst, "AAA|-|BB\naaaa|bb", ""},
    });
    // Sound of the same medium has the same name.
    const auto withSound = [](double soundIn)
    {
        const auto root = zrDrawing::tree("AAAA|BB\naaaa|bb", "A5/20 a" + std::to_string(int(soundIn)) + "/20");
        auto* const sound = static_cast<DmSourceNode*>(root->getChild(0)->getChild(1)->getChild(0)->getChild(0));
        EXPECT_EQ(sound->getSrcInput()->setName(L"A"), DM_NO_ERROR);
        return DmTimeline::takeOver(DmTreeTool::deepClone(root));
    };
    DmEdit synced(withSound(5), byMedium);
    ASSERT_TRUE(trimFirst(synced).ok());
    EXPECT_EQ(draw(synced.timeline()), "AAA|-|BB\naaa|-|bb");
    DmEdit slipped(withSound(6), byMedium);
    ASSERT_TRUE(trimFirst(slipped).ok());
    EXPECT_EQ(draw(slipped.timeline()), "AAA|-|BB\naaaa|bb");
    // Sound that begins later is in sync too, known by its path.
    const auto root = zrDrawing::tree("AAAA|BB\n--|aaaa", "A5/20 a7/20");
    for (int track = 0; track < 2; ++track)
    {
        auto* const source =
            static_cast<DmSourceNode*>(root->getChild(0)->getChild(track)->getChild(0)->getChild(2 * track));
        EXPECT_EQ(source->getSrcInput()->setName(DmString()), DM_NO_ERROR);
        EXPECT_EQ(source->getSrcInput()->getSrcInfo()->setPath(L"/rushes/A.mov"), DM_NO_ERROR);
    }
    DmEdit late(DmTimeline::publish(root), byMedium);
    ASSERT_TRUE(trimFirst(late).ok());
    EXPECT_EQ(draw(late.timeline()), "AAA|-|BB\n--|aaa|-");
}

namespace
{

/// A shot X that two transitions cover wholly; to the first one, what goes out is attached.
DmTimeline covered()
{
    return timeline("AAAA%%(X)//BBBB", "A3/20 X5/20 B9/20");
}

/// "A7 at 4": the source that is attached to an element.
std::string attached(const DmTimeline& timeline, int index)
{
    const CoSharedPtr<DmTreeNode> element = timeline.element(at(index));
    const auto* const source = dynamic_cast<const DmSourceNode*>(element->getBaseBlob());
    if (!source)
        return "none";
    std::ostringstream text;
    text << dmUtf8(source->getName()) << source->getRelIn() << " at " << source->getRecIn();
    return text.str();
}

} // namespace

TEST(EditAttached, SourcesFollowTheirNodeAndAreNeverLost)
{
    const struct
    {
        const char* name;
        std::function<DmStatus(DmEdit&)> operation;
        const char* after;
        const char* positions;
        int index; ///< of the attached source
        const char* source;
    } cases[] = {
        {"roll of its dissolve", [](DmEdit& e) { return e.cut(at(3)).ok() ? e.roll(at(1), -1) : DmStatus(); },
         "AAA%%X|BBBBBB", "A3 X4 B7", 1, "A6 at 3"},
        {"pushed", [](DmEdit& e) { return e.insert(layer(), 0, five('Y')); }, "YYYYY|AAAA%%(X)//BBBB", "Y3 A3 B9", 3,
         "A7 at 9"},
        {"ripple trim of what is outgoing", [](DmEdit& e) { return e.rippleTrim(at(0), DM_TAIL, -1); },
         "AAA%%(X)//BBBB", "A3 B9", 1, "A6 at 3"},
        {"and what it covers is pulled", [](DmEdit& e) { return e.rippleTrim(at(0), DM_TAIL, -1); }, "AAA%%(X)//BBBB",
         "A3 B9", 2, "X5 at 5"},
        {"slip of what is outgoing", [](DmEdit& e) { return e.slip(at(0), 2); }, "AAAA%%(X)//BBBB", "A5 B9", 1,
         "A9 at 4"},
        {"other material", [](DmEdit& e) { return e.replace(at(0), five('Y')); }, "YYYY//(X)//BBBB", "Y3 B9", 1,
         "none"},
        {"changing places", [](DmEdit& e) { return e.swap(at(0), at(4)); }, "BBBB%%(X)//AAAA", "B9 A3", 1, "B13 at 4"},
        {"slip of what is covered", [](DmEdit& e) { return e.slip(at(2), 1); }, "AAAA%%(X)//BBBB", "A3 B9", 2,
         "X6 at 6"},
        {"trimmed out of the first dissolve", [](DmEdit& e) { return e.cut(at(1)); }, "AAAA|XX//BBBB", "A3 X3 B9", 2,
         "none"},
        {"and out of the second", [](DmEdit& e) { return e.cut(at(3)); }, "AAAA%%(X)|BBBBBB", "A3 B7", 2, "X5 at 6"},
        {"lifted in a range beside it", [](DmEdit& e) { return e.lift(layer(), 9, 11); }, "AAAA%%(X)//B|--|B",
         "A3 B9 B12", 2, "X5 at 6"},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.name);
        DmEdit edit(covered());
        const DmStatus status = each.operation(edit);
        ASSERT_TRUE(status.ok()) << dmUtf8(status.info());
        EXPECT_EQ(draw(edit.timeline()), each.after);
        EXPECT_EQ(positions(edit.timeline()), each.positions);
        EXPECT_EQ(attached(edit.timeline(), each.index), each.source);
        EXPECT_TRUE(DmTreeTool::findViolations(edit.timeline().composition(), DM_VALIDATE_ALL).empty());
    }
}

TEST(EditAttached, WhatGoesOnFromAnInputOfItsOwnIsLedInFrontOfItsBegin)
{
    const CoSharedPtr<DmRoot> root = zrDrawing::tree("AAAA%%BBBB", "A3 B9");
    const auto goesOn = shot('A', 4, 0, {});
    ASSERT_EQ(static_cast<DmSourceNode::MediaInput*>(goesOn->getSrcInput())->setSrcIn(1007), DM_NO_ERROR);
    ASSERT_EQ(root->getChild(0)->getChild(0)->getChild(0)->getChild(1)->setBaseBlob(goesOn), DM_NO_ERROR);
    DmEdit edit(DmTimeline::publish(root));
    const auto plays = [&edit]
    {
        const auto* const source = dynamic_cast<const DmSourceNode*>(edit.timeline().element(at(1))->getBaseBlob());
        return dmMaterialOf(*source).begin + source->getRelIn();
    };
    ASSERT_TRUE(edit.rippleTrim(at(0), DM_TAIL, -1).ok());
    EXPECT_EQ(plays(), 1006);
    ASSERT_TRUE(edit.slip(at(0), -2).ok());
    EXPECT_EQ(plays(), 1004);
    ASSERT_TRUE(edit.roll(at(1), 3).ok());
    EXPECT_EQ(plays(), 1007);
}

// A list may say that other material goes out than what stands there, from its first frame on.
TEST(EditAttached, NothingPlaysFromBeforeItsMaterial)
{
    const auto root = zrDrawing::tree("AAAA%%BBBB", "A3/20 B9/20");
    auto* const mix = root->getChild(0)->getChild(0)->getChild(0)->getChild(1);
    static_cast<void>(static_cast<DmSourceNode*>(mix->getBaseBlob())->setRelIn(1.0));
    DmEdit edit(DmTimeline::publish(root));
    ASSERT_TRUE(edit.roll(at(1), -2).ok());
    EXPECT_EQ(attached(edit.timeline(), 1), "A0 at 2");
}
