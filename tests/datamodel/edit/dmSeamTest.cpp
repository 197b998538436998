// Transitions, speeds, places: what is more than a piece of time.
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

TEST(EditSpeed, KeepsTheRecordLengthOrTheFrames)
{
    const auto playedOf = [](const DmTimeline& timeline, int index) {
        return DmPlayed(*timeline.element({0, 0, index})->asSegment(), DM::FCM_25);
    };
    // Slowed down, a known file's own length still bounds it, and the rules' plain numbers hold.
    DmEdit slow(timeline("AAAA|BBBB", "A0/6 B0/20"));
    ASSERT_TRUE(slow.speed({0, 0, 0}, 0.5).ok());
    EXPECT_EQ(playedOf(slow.timeline(), 0).frameAt(3), 1.0);
    EXPECT_EQ(dmMaterialOf(*slow.timeline().element({0, 0, 0})->asSegment(), DM::FCM_25).length, 6.0);
    ASSERT_TRUE(slow.speed({0, 0, 0}, 1.5).ok());
    EXPECT_FALSE(slow.speed({0, 0, 0}, 2).ok()) << "eight frames of six";

    DmEditOptions options;
    options.keepFrames = true;
    options.ripple = true;
    DmEdit kept(timeline("AAAA|BBBB", "A0/6 B0/20"), options);
    ASSERT_TRUE(kept.speed({0, 0, 0}, 0.5).ok());
    EXPECT_EQ(draw(kept.timeline()), "AAAAAAAA|BBBB");
    EXPECT_EQ(playedOf(kept.timeline(), 0).frameAt(7), 3.0);
    EXPECT_TRUE(DmTreeTool::findViolations(kept.timeline().composition(), DM_VALIDATE_ALL).empty());
    kept.options().ripple = false;
    ASSERT_TRUE(kept.speed({0, 0, 0}, 1).ok());
    EXPECT_EQ(draw(kept.timeline()), "AAAA|----|BBBB");
    EXPECT_TRUE(kept.speed({0, 0, 0}, 0.8).ok());
    EXPECT_EQ(draw(kept.timeline()), "AAAAA|---|BBBB");
    EXPECT_FALSE(kept.speed({0, 0, 4}, 0.5).ok() && draw(kept.timeline()) == "") << "nothing behind the last one";

    DmEdit still(timeline("AAAA|BBBB", "A3/20"));
    ASSERT_TRUE(still.freeze({0, 0, 0}, 2).ok());
    EXPECT_EQ(playedOf(still.timeline(), 0).frameAt(0), 5.0);
    EXPECT_EQ(playedOf(still.timeline(), 0).frameAt(3), 5.0);
    ASSERT_TRUE(still.rippleTrim({0, 0, 0}, DM_TAIL, 40).ok()) << "a freeze is endless";
    EXPECT_TRUE(DmTreeTool::findViolations(still.timeline().composition(), DM_VALIDATE_ALL).empty());

    DmEdit back(timeline("AAAA|BBBB", "A3/20"));
    ASSERT_TRUE(back.reverse({0, 0, 0}).ok());
    EXPECT_EQ(playedOf(back.timeline(), 0).frameAt(0), 6.0);
    EXPECT_EQ(playedOf(back.timeline(), 0).frameAt(3), 3.0);
    ASSERT_TRUE(back.rippleTrim({0, 0, 0}, DM_HEAD, 1).ok());
    EXPECT_EQ(playedOf(back.timeline(), 0).frameAt(0), 5.0);
    ASSERT_TRUE(back.rippleTrim({0, 0, 0}, DM_TAIL, 1).ok());
    EXPECT_EQ(playedOf(back.timeline(), 0).frameAt(3), 2.0);
}

namespace
{

/// A shot with a key at its frame 3, and marks at frames 11 and 13 of its material.
DmTimeline keyed(const char* drawing = "AAAAAA|BB", int index = 0)
{
    DmEdit edit(timeline(drawing, "A10/40 C5/40 D5/40"));
    EXPECT_TRUE(edit.addEffect({0, 0, index}, DmResizeSettings::create()).ok());
    const auto key = DmKeyFrame::create();
    EXPECT_EQ(key->setFrame(3), DM_NO_ERROR);
    EXPECT_TRUE(edit.addKeyFrame({0, 0, index}, 0, L"scale_x", key).ok());
    for (const double time : {11.0, 13.0})
    {
        const auto mark = DmCueMark::create();
        EXPECT_EQ(mark->setCueMarkTime(time), DM_NO_ERROR);
        EXPECT_TRUE(edit.addMark({0, 0, index}, mark).ok());
    }
    return edit.timeline();
}

/// "key 3, marks 11 13"
std::string keysAndMarks(const DmTimeline& timeline, int index)
{
    const CoSharedPtr<DmTreeNode> element = timeline.element({0, 0, index});
    const DmSegmentNode& segment = *element->asSegment();
    std::ostringstream text;
    text << "key " << segment.getEffects().at(0)->getExistingChannelByName(L"scale_x")->getKeyFrame(0)->getFrame()
         << ", marks";
    for (int i = 0; i < segment.getSegmentMarks().count(); ++i)
        text << ' ' << segment.getSegmentMarks().at(i)->getCueMarkTime();
    return text.str();
}

} // namespace

TEST(EditKeys, KeepTheirPictureMarksTheirMaterial)
{
    const struct
    {
        const char* name;
        std::function<DmStatus(DmEdit&)> operation;
        int index;
        const char* expected;
        DmEditOptions options = {};
    } cases[] = {
        {"head trim", [](DmEdit& e) { return e.trim(at(0), DM_HEAD, 2); }, 2, "key 1, marks 11 13"},
        {"tail trim", [](DmEdit& e) { return e.trim(at(0), DM_TAIL, -1); }, 0, "key 3, marks 11 13"},
        {"ripple head", [](DmEdit& e) { return e.rippleTrim(at(0), DM_HEAD, 2); }, 0, "key 1, marks 11 13"},
        {"slip", [](DmEdit& e) { return e.slip(at(0), 2); }, 0, "key 3, marks 11 13"},
        {"slip with keys", [](DmEdit& e) { return e.slip(at(0), 2); }, 0, "key 1, marks 11 13", {.keysFollow = true}},
        {"split, first half", [](DmEdit& e) { return e.split(layer(), 2); }, 0, "key 3, marks 11"},
        {"split, second half", [](DmEdit& e) { return e.split(layer(), 2); }, 2, "key 1, marks 13"},
        {"pushed", [](DmEdit& e) { return e.insert(layer(), 0, five()); }, 2, "key 3, marks 11 13"},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.name);
        DmEdit edit(keyed(), each.options);
        const DmStatus status = each.operation(edit);
        ASSERT_TRUE(status.ok()) << dmUtf8(status.info());
        EXPECT_EQ(keysAndMarks(edit.timeline(), each.index), each.expected);
    }
}

TEST(EditKeys, FollowTheBeginThatEveryOperationMoves)
{
    const auto dissolve = [](double length)
    { return [=](DmEdit& e) { return e.transition(at(1), length, DM_BEGINS_AT_CUT); }; };
    const struct
    {
        const char* name;
        const char* before;
        std::function<DmStatus(DmEdit&)> operation;
        float key;
    } rows[] = {
        {"a dissolve in front", "CCCC|AAAAAA|DDDD", dissolve(2), 1},
        {"a longer one", "CCCC//AAAAAA|DDDD", dissolve(4), 1},
        {"a shorter one", "CCCC//AAAAAA|DDDD", dissolve(1), 4},
        {"none", "CCCC//AAAAAA|DDDD", [](DmEdit& e) { return e.cut(at(1)); }, 5},
        {"none, by dropping all", "CCCC//AAAAAA|DDDD", [](DmEdit& e) { return e.dropTransitions(); }, 5},
        {"a dissolve behind", "CCCC|AAAAAA|DDDD", [](DmEdit& e) { return e.transition(at(3), 2, DM_ENDS_AT_CUT); }, 3},
        {"a roll", "CCCC|AAAAAA|DDDD", [](DmEdit& e) { return e.roll(at(1), 1); }, 2},
        {"a roll of a dissolve, earlier", "CCCC//AAAAAA|DDDD", [](DmEdit& e) { return e.roll(at(1), -1); }, 4},
        {"a slide", "CCCC|AAAAAA|DDDD", [](DmEdit& e) { return e.slide(at(2), 2); }, 3},
        {"a slide of what is in front", "DD|CCCC|AAAAAA", [](DmEdit& e) { return e.slide(at(2), 1); }, 2},
        {"overwritten at its head", "CCCC|AAAAAA|DDDD", [](DmEdit& e) { return e.overwrite(layer(), 3, five('X', 2)); },
         2},
        {"lifted at its head", "CCCC|AAAAAA|DDDD", [](DmEdit& e) { return e.lift(layer(), 4, 5); }, 2},
        {"extracted at its head", "CCCC|AAAAAA|DDDD", [](DmEdit& e) { return e.extract(layer(), 3, 5); }, 2},
        {"cut at a point of its dissolve", "CCCC//AAAAAA|DDDD", [](DmEdit& e) { return e.split(layer(), 5); }, 4},
        {"moved", "CCCC|AAAAAA|DDDD", [](DmEdit& e) { return e.move(at(2), layer(), 20); }, 3},
        {"changed places", "CCCC|AAAAAA|DDDD", [](DmEdit& e) { return e.swap(at(0), at(2)); }, 3},
        {"another speed", "CCCC|AAAAAA|DDDD", [](DmEdit& e) { return e.speed(at(2), 0.5); }, 3},
        {"a range", "CCCC|AAAAAA|DDDD", [](DmEdit& e) { return e.trimToRange(5, 12); }, 2},
        {"another mode", "CCCC|AAAAAA|DDDD", [](DmEdit& e) { return e.conform(DM::FCM_50, DmEdit::Conform::Clock); },
         6},
        {"split and joined", "CCCC|AAAAAA|DDDD",
         [](DmEdit& e)
         {
             EXPECT_TRUE(e.split(layer(), 8).ok());
             return e.join(at(3));
         },
         3},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.name);
        const std::string before = row.before;
        DmEdit edit(keyed(row.before, before.find('A') > before.find('D') ? 4 : 2));
        const DmStatus status = row.operation(edit);
        ASSERT_TRUE(status.ok()) << dmUtf8(status.info());
        const DmTimeline after = edit.timeline();
        int index = 0;
        while (index < after.elementCount(layer()) && after.storedElement(at(index))->getName() != L"A")
            ++index;
        const DmSegmentNode& shot = *after.element(at(index))->asSegment();
        bool found = false;
        for (int i = 0; i < shot.getEffects().count(); ++i)
            if (const auto channel = shot.getEffects().at(i)->getExistingChannelByName(L"scale_x"))
            {
                found = true;
                EXPECT_EQ(channel->getKeyFrame(0)->getFrame(), row.key);
            }
        EXPECT_TRUE(found);
        ASSERT_EQ(shot.getSegmentMarks().count(), 2);
        EXPECT_EQ(shot.getSegmentMarks().at(0)->getCueMarkTime(), 11);
        EXPECT_EQ(shot.getSegmentMarks().at(1)->getCueMarkTime(), 13);
    }
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
