// Pieces of time, and edges: what operations.txt cannot say.
#include "zrEditCases.h"

using namespace zrEditCases;

TEST(EditPieces, InsertRefusesWhatHasNoPlaceThere)
{
    check({
        {"another media type", "aaaa", "", [](DmEdit& e) { return e.insert(layer(), 1, five()); }, "! media type", ""},
        {"more than there is", "AAAA", "", [](DmEdit& e) { return e.insert(layer(), 1, five('X', 18)); },
         "! only 20 frames", ""},
        {"no such layer", "AAAA", "", [](DmEdit& e) { return e.insert(layer(3), 1, five()); }, "! There is no layer",
         ""},
    });
}

TEST(EditPieces, JoinRefusesWhatDoesNotGoOn)
{
    DmEdit edit(timeline("AAAA", "A0/20"));
    ASSERT_TRUE(edit.split(layer(), 2).ok());
    ASSERT_TRUE(edit.slip(at(2), 1).ok());
    const DmStatus status = edit.join(at(1));
    EXPECT_NE(dmUtf8(status.info()).find("does not go on"), std::string::npos);
    ASSERT_TRUE(edit.slip(at(2), -1).ok());
    EXPECT_TRUE(edit.join(at(1)).ok());
    EXPECT_EQ(draw(edit.timeline()), "AAAA");
}

TEST(EditQuestions, AnswerAsTheOperationWouldAndLeaveNoTrace)
{
    DmEdit edit(timeline("AAAA|BBBB", "A0/5"));
    const DmTimeline before = edit.timeline();
    DmEdit question = edit.can();
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_TRUE(question.roll(at(1), 1).ok()) << "the second time as the first";
        const DmStatus no = question.roll(at(1), 2);
        EXPECT_NE(dmUtf8(no.info()).find("there are 1"), std::string::npos) << dmUtf8(no.info());
        EXPECT_TRUE(question.conform(DM::FCM_30, DmEdit::Conform::Clock).ok());
    }
    EXPECT_TRUE(question.timeline() == before);
    EXPECT_TRUE(question.changes().empty());
    EXPECT_TRUE(edit.timeline() == before);
    ASSERT_TRUE(edit.roll(at(1), 1).ok());
    EXPECT_FALSE(edit.can().roll(at(1), 1).ok()) << "about the session as it is now";
}

TEST(EditModes, AmountsAreTheCompositionsFramesMaterialCountsItsOwn)
{
    // Of the material's 25, a frame is two of 50.
    const struct
    {
        const char* name;
        const wchar_t* fcm;
        const char* before;
        const char* materials;
        std::function<DmStatus(DmEdit&)> operation;
        const char* after;
        const char* positions;
    } cases[] = {
        {"head trim", L"50 fps", "AAAA|BBBBBB", "B3/20", [](DmEdit& e) { return e.trim(at(2), DM_HEAD, 4); },
         "AAAA|----|BB", "A0 B5"},
        {"handles", L"50 fps", "AAAA|BBBB", "A0/4 B3/20", [](DmEdit& e) { return e.roll(at(1), 5); }, "! there are 3",
         ""},
        {"half a frame of the material", L"50 fps", "AAAA|BBBBBB", "B3/20", [](DmEdit& e) { return e.roll(at(1), 1); },
         "AAAAA|BBBBB", "A0 B3.5"},
        {"split", L"50 fps", "AAAAAA", "A3/20", [](DmEdit& e) { return e.split(layer(), 2); }, "AA|AAAA", "A3 A4"},
        {"labels that drop frames", L"29.97 fps DF", "AAAA|BBBB", "",
         [](DmEdit& e) { return e.trim(at(0), DM_TAIL, 1); }, "! \"B\" at 00:00:00;04", ""},
        {"a refusal in the composition's own labels", L"25 fps", "AAAA|BBBB", "",
         [](DmEdit& e) { return e.trim(at(0), DM_TAIL, 1); }, "! \"B\" at 00:00:00:04", ""},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(each.name);
        DmEdit edit(timeline(each.before, each.materials, false, each.fcm));
        const DmStatus status = each.operation(edit);
        if (each.after[0] == '!')
        {
            EXPECT_NE(dmUtf8(status.info()).find(each.after + 2), std::string::npos) << dmUtf8(status.info());
            continue;
        }
        ASSERT_TRUE(status.ok()) << dmUtf8(status.info());
        EXPECT_EQ(draw(edit.timeline()), each.after);
        EXPECT_EQ(positions(edit.timeline()), each.positions);
        EXPECT_TRUE(DmTreeTool::findViolations(edit.timeline().composition(), DM_VALIDATE_ALL).empty());
    }
}

TEST(EditModes, SubFramesAreKeptAndLabelsCountFromTheStart)
{
    const auto root = zrDrawing::tree("AAAA|BBBB", "A3/20 B3/20");
    auto* const composition = static_cast<DmCompositionNode*>(root->getChild(0));
    ASSERT_EQ(composition->setStartTC(90000, L"25 fps"), DM_NO_ERROR);
    DmEdit edit(DmTimeline::publish(root));
    const DmStatus status = edit.can().trim(at(0), DM_TAIL, 1);
    EXPECT_NE(dmUtf8(status.info()).find("\"B\" at 01:00:00:04"), std::string::npos) << dmUtf8(status.info());
    ASSERT_TRUE(edit.roll(at(1), 0.5).ok());
    EXPECT_EQ(edit.timeline().recOut(at(0)), 4.5);
    EXPECT_EQ(edit.timeline().element(at(2))->asSegment()->getRelIn(), 3.5);
    EXPECT_FALSE(edit.insert(layer(), 0.25, five()).ok()) << "less than half a frame would be left";
    EXPECT_TRUE(edit.insert(layer(), 1.25, five()).ok());
    EXPECT_EQ(edit.timeline().recIn(at(4)), 6.25);
    EXPECT_EQ(edit.timeline().element(at(4))->asSegment()->getRelIn(), 4.25);
    EXPECT_TRUE(DmTreeTool::findViolations(edit.timeline().composition(), DM_VALIDATE_ALL).empty());
}

TEST(EditTimes, AreFramesOrLabels)
{
    using To = DmEditAmount;
    check({
        {"a time", "AAAA|BBBB", "", [](DmEdit& e) { return e.split(layer(), "00:00:00:02"); }, "AA|AA|BBBB", ""},
        {"of a text that is made up", "AAAA", "",
         [](DmEdit& e) { return e.insert(layer(), e.timeline().labelOf(1), five()); }, "A|XXXXX|AAA", ""},
        {"a range", "AAAA|BBBB", "", [](DmEdit& e) { return e.lift(layer(), "00:00:00:03", 6); }, "AAA|---|BB", ""},
        {"none of the mode", "AAAA", "", [](DmEdit& e) { return e.split(layer(), "00:00:00:25"); }, "! out of range",
         ""},
        {"no label", "AAAA", "", [](DmEdit& e) { return e.split(layer(), "two"); }, "! two: not a label", ""},
        {"an empty one", "AAAA", "", [](DmEdit& e) { return e.split(layer(), ""); }, "! not a label", ""},
        {"an amount", "AAAA|BB", "", [](DmEdit& e) { return e.trim(at(0), DM_TAIL, "-1"); }, "AAA|-|BB", ""},
        {"with a plus sign", "AAAA|BB", "A0/9", [](DmEdit& e) { return e.rippleTrim(at(0), DM_TAIL, "+2"); },
         "AAAAAA|BB", ""},
        {"as a length in labels", "AAAA|BB", "", [](DmEdit& e) { return e.trim(at(0), DM_TAIL, "-00:00:00:01"); },
         "AAA|-|BB", ""},
        {"to a time, in words", "AAAA|BB", "", [](DmEdit& e) { return e.trim(at(0), DM_TAIL, "@00:00:00:03"); },
         "AAA|-|BB", ""},
        {"a head", "AA|BBBB", "", [](DmEdit& e) { return e.trim(at(2), DM_HEAD, To::to(4)); }, "AA|--|BB", ""},
        {"a head that ripples", "AA|BBBB|C", "",
         [](DmEdit& e) { return e.rippleTrim(at(2), DM_HEAD, To::to("00:00:00:03")); }, "AA|BBB|C", ""},
        {"a cut", "AAAA|BBBB", "B5", [](DmEdit& e) { return e.roll(at(1), "@00:00:00:06"); }, "AAAAAA|BB", ""},
        {"a dissolve, by where its cut lies", "AAAAAA|BBBBBB", "B5",
         [](DmEdit& e)
         {
             EXPECT_TRUE(e.transition(at(1), "00:00:00:04", DM_CENTRED_ON_CUT).ok());
             return e.roll(at(1), To::to(5));
         },
         "AAA////BBBBB", ""},
        {"a slide", "AAAA|BB|CCCC", "C5", [](DmEdit& e) { return e.slide(at(2), To::to("00:00:00:05")); },
         "AAAAA|BB|CCC", ""},
        {"where it is already", "AAAA|BB|CCCC", "", [](DmEdit& e) { return e.slide(at(2), To::to(4)); }, "! nothing",
         ""},
        {"a slip goes nowhere", "AA|BB", "", [](DmEdit& e) { return e.slip(at(0), "@00:00:00:01"); },
         "! no time to go to", ""},
        {"a slip by labels", "AA|BB", "", [](DmEdit& e) { return e.slip(at(0), "00:00:00:03"); }, "AA|BB", "A3 B0"},
        {"no number", "AA|BB", "", [](DmEdit& e) { return e.slip(at(0), "1x"); }, "! 1x: not a label", ""},
        {"no finite one", "AA|BB", "", [](DmEdit& e) { return e.slip(at(0), std::nan("")); }, "! no number", ""},
        {"a move", "AA|BB|CCCC", "", [](DmEdit& e) { return e.move(at(2), layer(), "00:00:00:05"); }, "AA|--|C|BB|C",
         ""},
        {"a frame that is held", "AAAA", "A3/20", [](DmEdit& e) { return e.freeze(at(0), "00:00:00:01"); }, "AAAA",
         "A4"},
        {"what is kept", "AAAA|BBBB", "", [](DmEdit& e) { return e.trimToRange("00:00:00:02", "00:00:00:06"); },
         "AA|BB", ""},
        // The material's first frame has the label of its frame 1000.
        {"of the material", "AAAAAAAA", "",
         [](DmEdit& e) { return e.fill(layer(), five(), "00:00:00:02", "00:00:00:06", "00:00:40:07", dmNoTime); },
         "AA|XXXX|AA", "A0 X7 A6"},
    });
    const auto root = zrDrawing::tree("AAAA|BBBB", "A3/20 B3/20", false, L"29.97 fps DF");
    auto* const composition = static_cast<DmCompositionNode*>(root->getChild(0));
    ASSERT_EQ(composition->setStartTC(17982, L"29.97 fps DF"), DM_NO_ERROR);
    DmEdit dropping(DmTimeline::publish(root));
    EXPECT_NE(dmUtf8(dropping.split(layer(), "00:11:00;00").info()).find("drops the label"), std::string::npos);
    EXPECT_TRUE(dropping.split(layer(), "00:10:00;02").ok());
    EXPECT_EQ(draw(dropping.timeline()), "AA|AA|BBBB");
}

TEST(EditPieces, ReplacingPlaysFromTheGivenInPointOnAnyTrack)
{
    const auto with = [](double in, double length, double known) {
        return [=](DmEdit& e) { return e.replace(at(2), shot('X', 0, length, {in, known})); };
    };
    check({
        {"across tracks", "AA|BBB\nCCC", "", [](DmEdit& e) { return e.swap(at(2), at(0, 1)); }, "AA|CCC\nBBB", ""},
        {"to another track", "AA|BB|CC\nDDDDDD", "", [](DmEdit& e) { return e.move(at(2), layer(1), 2); },
         "AA|--|CC\nDD|BB|DD", ""},
        {"too short", "AA|BBBB|CC", "", with(3, 2, 6), "! too short", ""},
        {"at a cut", "AA|BBBB|CC", "B5/20", with(7, 9, 20), "AA|XXXX|CC", "A0 X7 C0"},
        {"just enough", "AA|BBBB|CC", "B5/20", with(7, 2, 11), "AA|XXXX|CC", "A0 X7 C0"},
        {"a frame too few", "AA|BBBB|CC", "B5/20", with(7, 2, 10), "! there are 10", ""},
        {"unknown material grows", "AA|BBBB|CC", "B5/20", with(7, 2, -1), "AA|XXXX|CC", "A0 X7 C0"},
        {"beside dissolves", "AA//BBBB//CC", "A0/9 B5/20 C5/20", with(7, 4, 13), "AA//XXXX//CC", "A0 X7 C5"},
        {"without frames for the one behind", "AA//BBBB//CC", "A0/9 B5/20 C5/20", with(7, 4, 12), "! there are 12", ""},
        {"without frames for the one in front", "AA//BBBB//CC", "A0/9 B5/20 C5/20", with(1, 4, 20), "! frames -1 to",
         ""},
        {"unknown in front of its begin", "AA//BBBB|CC", "A0/9 B5/20", with(1, 4, -1), "AA//XXXX|CC", "A0 X1 C0"},
        {"a gap", "AA|--|CC", "", with(7, 4, 20), "AA|XX|CC", "A0 X7 C0"},
        {"of the other media type", "AA|BB|CC", "",
         [](DmEdit& e) { return e.replace(at(2), shot('x', 0, 2, {}, DM_MEDIA_AUDIO)); }, "! no material for the layer",
         ""},
        {"what is linked stays",
         "AA|BB|CC\naa|bb|cc",
         "",
         with(7, 4, 20),
         "AA|XX|CC\naa|bb|cc",
         "A0 X7 C0 a0 b0 c0",
         {},
         true},
    });
    DmEdit edit(timeline("AA|BB", "", true));
    ASSERT_TRUE(edit.replace(at(2), five()).ok());
    EXPECT_EQ(edit.timeline().find(L"B#T0"), at(2)) << "the id is the place's, which merges and links go by";
}

TEST(EditPieces, OfSeveralTracksMeetAtRecordTimes)
{
    // A layer that begins later keeps its begin: it begins with a gap.
    const struct
    {
        const char* upper;
        std::function<DmStatus(DmEdit&)> operation;
        const char* after;
        bool cutSynced = false;
    } rows[] = {
        {"XXX", [](DmEdit& e) { return e.insert(layer(), 2, five('Y', 3)); }, "---|XXX"},
        {"XXX", [](DmEdit& e) { return e.insert(layer(), 7, five('Y', 3)); }, "X|---|XX"},
        {"---|XXX", [](DmEdit& e) { return e.extract(layer(), 1, 3); }, "-|XXX"},
        {"---|XXX", [](DmEdit& e) { return e.extract(layer(), 4, 7); }, "XXX"},
        {"---|XXX", [](DmEdit& e) { return e.extract(layer(), 0, 4); }, "! X"},
        {"---|XXX", [](DmEdit& e) { return e.extract(layer(), 0, 4); }, "! X", true},
        {"XXX", [](DmEdit& e) { return e.extract(layer(), 6, 7); }, "XX", true},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.after);
        DmEdit edit(timeline(std::string("AAAA|BBBB|CCCC\n~~~~~~") + row.upper), {.cutSynced = row.cutSynced});
        const DmStatus status = row.operation(edit);
        if (row.after[0] == '!')
        {
            EXPECT_NE(dmUtf8(status.info()).find("would take material of track 2: \"X\""), std::string::npos);
            continue;
        }
        ASSERT_TRUE(status.ok()) << dmUtf8(status.info());
        const std::string both = draw(edit.timeline());
        EXPECT_EQ(both.substr(both.find('\n') + 1), std::string("~~~~~~") + row.after);
        EXPECT_TRUE(DmTreeTool::findViolations(edit.timeline().composition(), DM_VALIDATE_ALL).empty());
    }
}
