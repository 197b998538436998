// Transitions, links, places: what is more than a piece of time. Speeds, keys and marks: tests/tools/edit.md.
#include "zrEditCases.h"

using namespace zrEditCases;

TEST(EditSeams, OfTransitionsKnowWhereTheirCutLies)
{
    check({
        {"an effect that is none", "AAAAAA|BBBBBB", "A0/20 B5/20",
         [](DmEdit& e) { return e.transition(at(1), 2, DM_BEGINS_AT_CUT, DmResizeSettings::create()); }, "! none for",
         ""},
        {"cut a centred one", "AAAAAA|BBBBBB", "A0/20 B5/20",
         [](DmEdit& e)
         {
             EXPECT_TRUE(e.transition(at(1), 4, DM_CENTRED_ON_CUT).ok());
             EXPECT_EQ(DmEdit::cutOf(e.timeline(), at(1)), 6);
             return e.cut(at(1));
         },
         "AAAAAA|BBBBBB", "A0 B5"},
    });
}

TEST(EditPieces, FillTakesThreePointsOrFour)
{
    const struct
    {
        double recIn, recOut, in, out; ///< of the layer, of the material
        const char* after;
        const char* positions;
    } rows[] = {{2, 6, 7, dmNoTime, "AA|XXXX|AA", "A0 X7 A6"},
                {dmNoTime, 6, 7, 10, "AAA|XXX|AA", "A0 X7 A6"},
                {2, 6, dmNoTime, 10, "AA|XXXX|AA", "A0 X6 A6"},
                {2, 6, 7, 9, "AA|XXXX|AA", "A0 X7 A6"},
                {2, dmNoTime, 7, dmNoTime, "! Three points", ""}};
    for (const auto& row : rows)
        check({{"fill", "AAAAAAAA", "",
                [&](DmEdit& e) { return e.fill(layer(), five(), row.recIn, row.recOut, row.in, row.out); }, row.after,
                row.positions}});
    DmEdit fit(timeline("AAAAAAAA"), {.fit = true});
    ASSERT_TRUE(fit.fill(layer(), five(), 2, 6, 7, 9).ok());
    EXPECT_EQ(draw(fit.timeline()), "AA|XXXX|AA");
    EXPECT_EQ(DmPlayed(*fit.timeline().element(at(2))->asSegment(), DM::FCM_25).frameAt(5), 8.0);
}

TEST(EditLinks, HalvesAndCopiesGetFreshIdsAndSayWhereTheyComeFrom)
{
    DmEdit edit(timeline("AAAA\naaaa", "A3 a3", true));
    edit.seedIds(5);
    ASSERT_TRUE(edit.split({0, 0}, 2).ok());
    const auto idOf = [&](int track, int index) {
        return dmUtf8(edit.timeline().element({track, 0, index})->asSegment()->getSegmentId());
    };
    EXPECT_EQ(idOf(0, 0), "A#T0");
    EXPECT_EQ(idOf(1, 0), "A#T1");
    const std::string picture = idOf(0, 2);
    const std::string sound = idOf(1, 2);
    EXPECT_EQ(picture.size(), 32U + 3U);
    EXPECT_EQ(picture.substr(0, 32), sound.substr(0, 32)) << "the second halves are linked with each other";
    EXPECT_EQ(picture.substr(32), "#T0");
    EXPECT_EQ(dmUtf8(edit.timeline().element({0, 0, 2})->asSegment()->getOriginalID()), "A#T0");
    EXPECT_EQ(edit.timeline().linkedWith(DmString(picture.c_str())).size(), 2U);
    const CoSharedPtr<DmSegmentNode> copy = DM::staticPointerCast<DmSegmentNode>(edit.timeline().element({0, 0, 0}));
    ASSERT_TRUE(edit.insert({0, 0}, 0, copy).ok());
    EXPECT_NE(idOf(0, 0), "A#T0");
    EXPECT_EQ(dmUtf8(edit.timeline().element({0, 0, 0})->asSegment()->getOriginalID()), "A#T0");
    // From the system, no two are alike.
    DmEdit one(timeline("AAAA", "", true));
    DmEdit other(timeline("AAAA", "", true));
    ASSERT_TRUE(one.split({0, 0}, 2).ok() && other.split({0, 0}, 2).ok());
    EXPECT_FALSE(one.timeline().element({0, 0, 2})->asSegment()->getSegmentId() ==
                 other.timeline().element({0, 0, 2})->asSegment()->getSegmentId());
}

TEST(EditLinks, AreEditedTogetherUnlessUnlinked)
{
    for (const bool linked : {true, false})
    {
        const DmTimeline before = timeline("AAAA\nAAAA\naaaa", "A3 a3", true);
        DmEdit edit(before, {.linked = linked});
        ASSERT_TRUE(edit.mute(at(0), true).ok());
        ASSERT_TRUE(edit.freeze(at(0), 2).ok()) << "sound goes on";
        for (int track = 0; track < 3; ++track)
        {
            const CoSharedPtr<DmTreeNode> element = edit.timeline().element(at(0, track));
            EXPECT_EQ(element->asSegment()->getMuted(), linked || track == 0);
            EXPECT_EQ(element->asSegment()->getEffects().count(), track == 0 || (linked && track == 1) ? 1 : 0);
        }
    }
}

TEST(EditLinks, ShareNamesMarksAndWhatTheirMediaTypeTakes)
{
    for (const bool linked : {true, false})
    {
        SCOPED_TRACE(linked);
        DmEdit edit(timeline("AAAA\nAAAA\naaaa", "A3/20 a5/20", true), {.linked = linked});
        const auto segment = [&](int track) { return edit.timeline().element(at(0, track)); };
        const auto mark = DmCueMark::create();
        ASSERT_EQ(mark->setCueMarkTime(4), DM_NO_ERROR); // a frame behind the begin
        ASSERT_TRUE(edit.rename(at(0), L"A take two").ok());
        ASSERT_TRUE(edit.addMark(at(0), mark).ok());
        ASSERT_TRUE(edit.addEffect(at(0), DmResizeSettings::create()).ok());
        ASSERT_TRUE(edit.addKeyFrame(at(0), 0, L"scale_x", DmKeyFrame::create()).ok());
        for (int track = 0; track < 3; ++track)
        {
            const bool has = linked || track == 0;
            EXPECT_EQ(segment(track)->getName() == L"A take two", has);
            const auto& marks = segment(track)->asSegment()->getSegmentMarks();
            ASSERT_EQ(marks.count(), has ? 1 : 0);
            EXPECT_TRUE(!has || marks.at(0)->getCueMarkTime() == (track == 2 ? 6 : 4)) << "of its own material";
            const DmEffectSettings* const effect = segment(track)->asSegment()->getEffects().at(0);
            ASSERT_EQ(effect != nullptr, has && track < 2);
            EXPECT_TRUE(!effect || effect->getExistingChannelByName(L"scale_x")->getNbKeyFrames() == 1);
        }
        // Another effect at that place is none of theirs.
        edit.options().linked = false;
        ASSERT_TRUE(edit.removeEffect(at(0), 0).ok());
        ASSERT_TRUE(edit.speed(at(0), 0.5).ok());
        edit.options().linked = linked;
        ASSERT_TRUE(edit.removeEffect(at(0), 0).ok());
        EXPECT_EQ(segment(0)->asSegment()->getEffects().count(), 0);
        EXPECT_EQ(segment(1)->asSegment()->getEffects().count(), linked ? 1 : 0);
        EXPECT_FALSE(edit.removeEffect(at(0), 0).ok());
    }
    DmEdit transition(timeline("AAAA//BBBB", "B5"));
    EXPECT_TRUE(transition.rename(at(1), L"to the night").ok());
    EXPECT_EQ(transition.timeline().storedElement(at(1))->getName(), L"to the night");
}

TEST(EditSeams, AtAnEndOfALayerGetAGapOfNoLength)
{
    // A drawing cannot say what a document may: a transition without a segment on one of its sides.
    const auto ends = [](bool front)
    {
        const auto root = zrDrawing::tree(front ? ".//BBBB|CC" : "CC|AAAA//.", "A3/20 B5/20");
        auto* const layerNode = static_cast<DmLayerNode*>(root->getChild(0)->getChild(0)->getChild(0));
        EXPECT_GE(layerNode->removeChild(front ? 0 : layerNode->getNbChildren() - 1), 0);
        return DmTimeline::publish(root);
    };
    const struct
    {
        bool front;
        std::function<DmStatus(DmEdit&)> operation;
        const char* after;
    } rows[] = {
        {false, [](DmEdit& e) { return e.roll(at(3), -1); }, "CC|AAA//-"},
        {false, [](DmEdit& e) { return e.cut(at(3)); }, "CC|AAAA|--"},
        {false, [](DmEdit& e) { return e.transition(at(3), 1, DM_BEGINS_AT_CUT); }, "CC|AAAA/-"},
        {false, [](DmEdit& e) { return e.trim(at(2), DM_TAIL, -1); }, "CC|AAA|---"},
        {false, [](DmEdit& e) { return e.rippleTrim(at(2), DM_TAIL, -1); }, "CC|AAA//"},
        {false, [](DmEdit& e) { return e.insert(layer(), 8, five()); }, "CC|AAAA//.|XXXXX"},
        {false, [](DmEdit& e) { return e.lift(layer(), 7, 8); }, "CC|AAAAA|-"},
        {true, [](DmEdit& e) { return e.roll(at(0), 1); }, "-//BBB|CC"},
        {true, [](DmEdit& e) { return e.cut(at(0)); }, "BBBBBB|CC"},
        {true, [](DmEdit& e) { return e.split(layer(), 1); }, "-|BBBBB|CC"},
        {true, [](DmEdit& e) { return e.insert(layer(), 0, five()); }, "XXXXX|.//BBBB|CC"},
        {true, [](DmEdit& e) { return e.slip(at(1), 1); }, "//BBBB|CC"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.after);
        DmEdit edit(ends(row.front));
        const DmStatus status = row.operation(edit);
        ASSERT_TRUE(status.ok()) << dmUtf8(status.info());
        EXPECT_EQ(draw(edit.timeline()), row.after);
    }
}

TEST(EditMarks, OfTheCompositionMoveWithWhatRipples)
{
    const auto root = zrDrawing::tree("AAAA|BBBB");
    auto* const composition = static_cast<DmCompositionNode*>(root->getChild(0));
    static_cast<void>(composition->setInMark(2));
    static_cast<void>(composition->setOutMark(6));
    for (const double time : {1.0, 3.0, 5.0, dmNoTime})
    {
        const auto mark = DmCueMark::create();
        static_cast<void>(mark->setCueMarkTime(time));
        static_cast<void>(composition->addCueMark(mark));
    }
    DmEdit edit(DmTimeline::publish(root));
    ASSERT_TRUE(edit.extract({0, 0}, 2, 4).ok());
    const auto after = edit.timeline().composition();
    EXPECT_EQ(after->getInMark(), 2);
    EXPECT_EQ(after->getOutMark(), 4);
    EXPECT_EQ(after->getEmbInMark(), dmNoTime);
    const double expected[] = {1, 2, 3, dmNoTime};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(after->getCueMarks().at(i)->getCueMarkTime(), expected[i]);
    EXPECT_EQ(after->getCompLength(), 6);
}
