#include "icTestLists.h"

#include <algorithm>
#include <cstdint>

using namespace interchange;
using icTest::eventLine;
using icTest::read;
using icTest::readClean;

namespace
{

constexpr std::uint64_t channel(int number)
{
    return std::uint64_t{1} << (number - 1);
}

} // namespace

TEST(EdlReader, TakesTheFieldsOfAnEvent)
{
    struct Case
    {
        const char* front;
        const char* reel;
        std::uint64_t video, audio;
        EdlTransition transition = EdlTransition::Cut;
        std::uint32_t length = 0;
        std::uint16_t pattern = 0;
        std::uint32_t number = 1;
    };
    const std::uint64_t both = channel(1) | channel(2);
    const Case cases[] = {
        {"001  AX       V     C       ", "AX", 1, 0},
        {"\t000012\tA001\tv\tc", "A001", 1, 0, EdlTransition::Cut, 0, 0, 12},
        {"001 A004_C012.mov V C", "A004_C012.mov", 1, 0},
        {"001 Card 4  day 2. V C", "Card 4  day 2.", 1, 0},
        {"001 V V C 010", "V", 1, 0},
        {"001 X D 010 A V D 010", "X D 010 A", 1, 0, EdlTransition::Dissolve, 10},
        {"001 A1 A C", "A1", 0, channel(1)},
        {"001 A1 A2 C", "A1", 0, channel(2)},
        {"001 A1 AA C", "A1", 0, both},
        {"001 A1 AA/V C", "A1", 1, both},
        {"001 A1 A2/V C", "A1", 1, channel(2)},
        {"001 A1 B C", "A1", 1, channel(1)},
        {"001 A1 VA1A4 C", "A1", 1, channel(1) | channel(4)},
        {"001 A1 V2 C", "A1", channel(2), 0},
        {"001 A1 A64 C", "A1", 0, channel(64)},
        {"001 B V D 012", "B", 1, 0, EdlTransition::Dissolve, 12},
        {"001 B V W001 025", "B", 1, 0, EdlTransition::Wipe, 25, 1},
        {"001 B V W127 1", "B", 1, 0, EdlTransition::Wipe, 1, 127},
        {"001 A V K B", "A", 1, 0, EdlTransition::KeyBackground},
        {"001 A V KB", "A", 1, 0, EdlTransition::KeyBackground},
        {"001 A V K", "A", 1, 0, EdlTransition::Key},
        {"001 A V K 012", "A", 1, 0, EdlTransition::Key, 12},
        {"001 A V K O 012", "A", 1, 0, EdlTransition::KeyOut, 12},
        {"001 A V KO 012", "A", 1, 0, EdlTransition::KeyOut, 12},
    };
    for (const Case& c : cases)
    {
        const icTest::Read result = read(eventLine(c.front));
        ASSERT_TRUE(result.list) << c.front << result.messages;
        const bool isKey = c.transition == EdlTransition::Key || c.transition == EdlTransition::KeyOut;
        EXPECT_EQ(result.messages.find("cut.edl:1: warning: a key"), isKey ? 0U : result.messages.npos);
        EXPECT_EQ(result.messages.empty(), !isKey) << result.messages;
        const EdlEvent& event = result.list->events.at(0);
        EXPECT_EQ(std::tuple(event.number, event.reel, event.channels.video, event.channels.audio),
                  std::tuple(c.number, c.reel, c.video, c.audio))
            << c.front;
        EXPECT_EQ(std::tuple(event.transition, event.transitionLength, event.wipePattern),
                  std::tuple(c.transition, c.length, c.pattern))
            << c.front;
        EXPECT_EQ(event.source, (EdlRange{90250, 90275}));
        EXPECT_EQ(event.record, (EdlRange{900000, 900025}));
    }
    // The key lies over its background: no overlap.
    EXPECT_TRUE(read(eventLine("002 A V K B") + eventLine("002 B V K 000")).list);
}

TEST(EdlReader, ReadsAnyLineEndsBlanksAndMarks)
{
    const std::string plain =
        "TITLE: Ends\nFCM: NON-DROP FRAME\n\n" + eventLine("001  A V C") + "* FROM CLIP NAME: one\n";
    const EdlList expected = readClean(plain);
    ASSERT_EQ(expected.events.size(), 1U);
    const auto ending = [&](const std::string& end)
    {
        std::string text;
        for (const char c : plain)
            text += c == '\n' ? end : std::string(1, c);
        return text;
    };
    const std::string variants[] = {
        ending("\r\n"),  ending("\r"),           ending("\n\n"), ending("  \t \n \r\n"),
        ending("\n   "), "\xEF\xBB\xBF" + plain, plain + "\x1A", plain.substr(0, plain.size() - 1)};
    for (const std::string& variant : variants)
        EXPECT_EQ(readClean(variant), expected) << variant;
    EXPECT_EQ(readClean(ending("\r\n")).events[0].line, 4U);
    EXPECT_EQ(readClean(ending("\r")).events[0].line, 4U);
}

TEST(EdlReader, TakesBytesThatAreNoUtf8ForLatin1)
{
    const std::pair<const char*, const char*> cases[] = {
        {"\xC3\x89t\xC3\xA9 \xF0\x9F\x8E\xAC", "\xC3\x89t\xC3\xA9 \xF0\x9F\x8E\xAC"},
        {"\xC3\x89 \xE9", "\xC3\x83\xC2\x89 \xC3\xA9"}, // a list has one encoding
        {"\xC0\x80", "\xC3\x80\xC2\x80"},
    };
    for (const auto& [title, expected] : cases)
    {
        const icTest::Read result = read("TITLE: " + std::string(title) + "\n" + eventLine("001 A V C"));
        EXPECT_EQ(result.list->title, expected);
        EXPECT_EQ(result.messages,
                  std::string_view(title) == expected ? "" : "cut.edl: note: no UTF-8: read as Latin-1\n");
    }
}

TEST(EdlReader, AttachesNotesToTheirEvent)
{
    const std::tuple<const char*, NoteKind, const char*> cases[] = {
        {"* FROM CLIP NAME:  Shot 1 (LAY2) ", NoteKind::FromClipName, "Shot 1 (LAY2)"},
        {"FROM CLIP NAME: shot", NoteKind::FromClipName, "shot"},
        {"* from clip name : shot", NoteKind::FromClipName, "shot"},
        {"* CLIP NAME: shot", NoteKind::FromClipName, "shot"},
        {"* TO CLIP NAME: shot", NoteKind::ToClipName, "shot"},
        {"* KEY CLIP NAME: logo", NoteKind::KeyClipName, "logo"},
        {"* SOURCE FILE: A001.mov", NoteKind::SourceFile, "A001.mov"},
        {"* SOURCE FILE PATH: C:\\rushes\\A001.mov", NoteKind::SourcePath, "C:\\rushes\\A001.mov"},
        {"* SOURCE PATH: /rushes/A 1.mov", NoteKind::SourcePath, "/rushes/A 1.mov"},
        {"EFFECTS NAME IS CROSS DISSOLVE", NoteKind::EffectName, "CROSS DISSOLVE"},
        {"* EFFECT NAME: CROSS DISSOLVE", NoteKind::EffectName, "CROSS DISSOLVE"},
        {"SPLIT:    AUDIO DELAY=  00:00:01:00", NoteKind::Split, "AUDIO DELAY=  00:00:01:00"},
        {"* * FREEZE FRAME", NoteKind::Comment, "* FREEZE FRAME"},
        {"* FROM CLIP NAMES ARE LOST", NoteKind::Comment, "FROM CLIP NAMES ARE LOST"},
        {"* M2 IS NOT MEANT", NoteKind::Comment, "M2 IS NOT MEANT"},
        {"*", NoteKind::Comment, ""},
    };
    for (const auto& [line, kind, text] : cases)
    {
        const EdlList list = readClean(eventLine("001 A V C") + line + "\n");
        ASSERT_EQ(list.notes.size(), 1U) << line;
        EXPECT_EQ(list.notes[0].kind, kind) << line;
        EXPECT_EQ(list.notes[0].text, text) << line;
    }

    const EdlList list = readClean("* BEFORE\nTITLE: Notes\n");
    EXPECT_EQ(list.title, "Notes");
    EXPECT_EQ(list.notesOf(list.headNotes)[0].text, "BEFORE");
}

TEST(EdlReader, KeepsALineThatItCannotRead)
{
    const std::pair<const char*, const char*> cases[] = {
        {"AVID", "'AVID' is neither an event nor a known note"},
        {"M2   A   fast   01:00:10:00", "the speed of the M2 line is missing or no number"},
        {"M2   A   1e9   01:00:10:00", "the speed of the M2 line is missing or no number"},
        {"M2   A   48   01:00:10:25", "the time code of the M2 line is out of range"},
        {"AUD  3  65", "an AUD line lists channels from 1 to 64"},
        {"* LOC: 10:00:00:25 RED", "the time code of the locator is missing or out of range"},
        {"* ASC_SOP (1 1 1)(0 0 0)(1 1)", "ASC_SOP takes three times three numbers"},
        {"* ASC_SOP (1 1 1)(0 0 0)(1 1 1)(1)", "ASC_SOP takes three times three numbers"},
        {"* ASC_SOP (1 1 nan)(0 0 0)(1 1 1)", "ASC_SOP takes three times three numbers"},
        {"* ASC_SAT much", "ASC_SAT takes a number"},
        {"FCM: FILM", "'FILM' is no frame-code mode"},
        {"TITLE: second", "a second title"},
    };
    for (const auto& [line, why] : cases)
    {
        const icTest::Read result = read("TITLE: first\n" + eventLine("001 A V C") + line + "\n");
        ASSERT_TRUE(result.list) << line;
        EXPECT_EQ(result.messages, "cut.edl:3: warning: " + std::string(why) + "; kept as a comment\n");
        const EdlNote kept = line[0] == '*' ? EdlNote{NoteKind::Comment, line + 2} : EdlNote{NoteKind::Line, line};
        EXPECT_EQ(result.list->notes, std::vector<EdlNote>{kept}) << line;
    }
    EXPECT_EQ(read("* LOC: 10:00:00:00 RED\n" + eventLine("001 A V C")).messages,
              "cut.edl:1: warning: 'LOC: 10:00:00:00 RED' stands before any event; kept as a comment\n");
}

TEST(EdlReader, ReadsLooksInAnySpacing)
{
    const char* const spacings[] = {
        "* ASC_SOP (0.9 1.0 1.1)(-0.01 0 0.02)(1.2 1 0.8)\n* ASC_SAT 0.75",
        "*ASC_SOP(0.9 1.0 1.1)(-0.01 0 0.02)(1.2 1 0.8)\n*ASC_SAT:0.75",
        "ASC_SOP: ( .9 1 1.1 ) ( -.01 0 +.02 ) ( 1.2 1. .8 )\nASC_SAT : .75",
        "* asc_sop  (0.900000,1.000000,1.100000) (-0.01,0.0,0.02)\t(1.2, 1.0, 0.8)\n* asc_sat 0.750000",
        "* ASC_SAT 0.75\n* ASC_SOP 0.9 1.0 1.1 -0.01 0.0 0.02 1.2 1.0 0.8",
    };
    for (const char* const spacing : spacings)
    {
        const EdlList list = readClean(eventLine("001 A V C") + spacing + "\n");
        const Look* const look = list.lookOf(list.events[0]);
        ASSERT_TRUE(look) << spacing;
        EXPECT_EQ(*look, (Look{{0.9, 1.0, 1.1}, {-0.01, 0, 0.02}, {1.2, 1, 0.8}, 0.75, true, true})) << spacing;
    }
}

TEST(EdlReader, ReadsSpeedsOfBothSidesOfATransition)
{
    struct Case
    {
        const char* speeds;
        std::optional<EdlSpeed> outgoing, incoming;
    };
    // Two lines of event 002: reel A in at 00:00:10:00 (250), then reel B in at 00:00:20:00 (500).
    const Case cases[] = {
        {"M2   B   000.0   00:00:20:00", {}, EdlSpeed{0, 500}},
        {"M2   B   +12.56  00:00:20:05", {}, EdlSpeed{12.56, 505}},
        {"M2   B   50", {}, EdlSpeed{50, 500}},
        {"M2   A   30  00:00:10:00\nM2   B   20  00:00:20:00", EdlSpeed{30, 250}, EdlSpeed{20, 500}},
        {"M2   B   20  00:00:20:00\nM2   A   30  00:00:10:00", EdlSpeed{30, 250}, EdlSpeed{20, 500}},
    };
    for (const Case& c : cases)
    {
        const EdlList list = readClean("002 A V C 00:00:10:00 00:00:10:00 01:00:00:00 01:00:00:00\n"
                                       "002 B V D 010 00:00:20:00 00:00:21:00 01:00:00:00 01:00:01:00\n" +
                                       std::string(c.speeds) + "\n");
        ASSERT_EQ(list.events.size(), 2U);
        EXPECT_EQ(list.events[0].speed, c.outgoing) << c.speeds;
        EXPECT_EQ(list.events[1].speed, c.incoming) << c.speeds;
    }

    // Of one reel, the in-times tell them apart; a reel of another name goes with the event before it.
    const EdlList same = readClean("002 AX V C 00:00:10:00 00:00:10:00 01:00:00:00 01:00:00:00\n"
                                   "002 AX V D 010 00:00:20:00 00:00:21:00 01:00:00:00 01:00:01:00\n"
                                   "M2 AX 30 00:00:10:00\nM2 AX 20 00:00:20:00\n");
    EXPECT_EQ(same.events[0].speed->fps, 30);
    EXPECT_EQ(same.events[1].speed->fps, 20);
    const icTest::Read other =
        read("001 B V C 00:00:10:00 00:00:11:00 01:00:00:00 01:00:01:00\n"
             "002 A V D 010 00:00:20:00 00:00:21:00 01:00:01:00 01:00:02:00\nM2 B 30 00:00:10:00\n");
    EXPECT_EQ(other.list->events[1].speed->fps, 30);
    EXPECT_EQ(other.messages, "cut.edl:3: warning: M2 line of reel 'B' behind an event of reel 'A'\n");
}

TEST(EdlReader, ReadsLocatorsWithAndWithoutColour)
{
    const EdlList list = readClean(eventLine("001 A V C") + "* LOC: 10:00:00:10 RED     ANIM FIX NEEDED\n"
                                                            "* LOC: 10:00:00:11 green\n"
                                                            "LOC: 10:00:00:12 REDO THIS\n"
                                                            "* LOC: 10:00:00:13\n");
    const EdlMarker expected[] = {
        {900010, "RED", "ANIM FIX NEEDED"}, {900011, "GREEN", ""}, {900012, "", "REDO THIS"}, {900013, "", ""}};
    EXPECT_TRUE(std::ranges::equal(list.markersOf(list.events[0]), expected));
}

TEST(EdlReader, CountsDropFrameAsTheListSays)
{
    // Of 00:01:00:02 on every side of the last event, as drop (1800) or non-drop (1802) frame.
    struct Case
    {
        const char* text;
        DM::FrameCodeModes given, fcm;
        bool sourceDrops;
    };
    const auto df = DM::FCM_29_97_DF;
    const auto ndf = DM::FCM_29_97_NDF;
    const Case cases[] = {
        {"FCM: DROP FRAME\n001 A V C 00:01:00:02 00:01:01:02 00:01:00:02 00:01:01:02\n", ndf, df, true},
        {"001 A V C 00:01:00;02 00:01:01;02 00:01:00;02 00:01:01;02\n", df, df, true},
        {"001 A V C 00:01:00:02 00:01:01:02 00:01:00;02 00:01:01;02\n", df, df, false},
        {"001 A V C 00;01;00;02 00;01;01;02 00;01;00;02 00;01;01;02\n", df, df, true},
        {"FCM: NON-DROP FRAME\n001 A V C 00:01:00;02 00:01:01;02 00:01:00;02 00:01:01;02\n", df, df, true},
        {"FCM: DROP FRAME\n001 A V C 00:00:00:00 00:00:01:00 00:00:00:00 00:00:01:00\n"
         "FCM: NON-DROP FRAME\n002 A V C 00:01:00:02 00:01:01:02 00:01:00:02 00:01:01:02\n",
         df, df, false},
        {"FCM: NON-DROP FRAME\n001 A V C 00:00:00:00 00:00:01:00 00:00:00:00 00:00:01:00\n"
         "FCM: DROP FRAME\n002 A V C 00:01:00:02 00:01:01:02 00:01:00:02 00:01:01:02\n",
         ndf, ndf, true},
        {"001 A V C 00:01:00:02 00:01:01:02 00:01:00:02 00:01:01:02\n", df, df, true},
        {"FCM: DROP FRAME\n001 A V C 00:01:00:04 00:01:01:04 00:01:00:04 00:01:01:04\n", DM::FCM_59_94_DF,
         DM::FCM_59_94_DF, true},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.text);
        const icTest::Read result = read(c.text, c.given);
        ASSERT_TRUE(result.list) << result.messages;
        EXPECT_EQ(result.list->fcm, c.fcm);
        const EdlEvent& event = result.list->events.back();
        EXPECT_EQ(event.sourceDrop, c.sourceDrops);
        const int times = c.given == DM::FCM_59_94_DF ? 2 : 1;
        EXPECT_EQ(event.source.in, times * (event.sourceDrop ? 1800 : 1802));
        EXPECT_EQ(event.record.in, times * (DM::FcmUtil::isDropFrame(c.fcm) ? 1800 : 1802));
        EXPECT_EQ(event.source.length(), event.record.length());
    }
}

TEST(EdlReader, GuessesTheRateFromWhatTheListDrops)
{
    struct Case
    {
        std::string text;
        DM::FrameCodeModes given, fcm;
        std::string message;
    };
    const std::string lowest = ", the lowest rate that has all labels; --fcm names another";
    const std::string guessed = ": note: no frame rate was given: read as ";
    const std::string plain = eventLine("001 A V C");
    const std::string drop = "FCM: DROP FRAME\n";
    const auto none = DM::FCM_NOT_DEFINED;
    const Case cases[] = {
        {plain, none, DM::FCM_24, guessed + "24 fps" + lowest},
        {drop + plain, none, DM::FCM_29_97_DF, guessed + "29.97 fps DF" + lowest},
        {plain + drop, none, DM::FCM_29_97_NDF, guessed + "29.97 fps NDF" + lowest},
        {drop + plain, DM::FCM_25, DM::FCM_25,
         ":1: warning: drop frame means nothing at 25 frames per second: no label is dropped"},
        {drop + plain, DM::FCM_29_97_NDF, DM::FCM_29_97_DF,
         ": warning: the list counts in 29.97 fps DF, not in 29.97 fps NDF"},
    };
    for (const Case& c : cases)
    {
        const icTest::Read result = read(c.text, c.given);
        EXPECT_EQ(result.list->fcm, c.fcm) << c.text;
        EXPECT_EQ(result.messages, "cut.edl" + c.message + "\n") << c.text;
    }
    EXPECT_EQ(read(plain, static_cast<DM::FrameCodeModes>(7)).messages,
              "cut.edl: no frame-code mode has the number 7\n");
}

TEST(EdlReader, CountsThroughMidnight)
{
    const icTest::Read result = read("001 A V C 23:59:59:00 00:00:01:00 23:59:58:00 00:00:00:00\n"
                                     "002 A V C 01:00:00:00 01:00:02:00 00:00:00:00 00:00:02:00\n"
                                     "003 A A C 01:00:00:00 01:00:01:00 23:59:59:00 00:00:00:00\n"
                                     "004 A V C 01:00:00:00 01:00:01:00 00:00:02:00 00:00:03:00\n"
                                     "* LOC: 00:00:02:10\n");
    ASSERT_TRUE(result.list) << result.messages;
    EXPECT_EQ(result.messages, "cut.edl:2: warning: A, V1, 00:00:00:00: the record time passes midnight\n"
                               "cut.edl:4: warning: A, V1, 00:00:02:00: the record time passes midnight\n");
    const std::int64_t day = std::int64_t{24} * 3600 * 25;
    const EdlList& list = *result.list;
    EXPECT_EQ(list.events[0].source, (EdlRange{day - 25, day + 25}));
    EXPECT_EQ(list.events[1].record, (EdlRange{day, day + 50}));
    EXPECT_EQ(list.events[2].record, (EdlRange{day - 25, day}));
    EXPECT_EQ(list.events[3].record, (EdlRange{day + 50, day + 75}));
    EXPECT_EQ(list.markersOf(list.events[3])[0].at, day + 60);
}
