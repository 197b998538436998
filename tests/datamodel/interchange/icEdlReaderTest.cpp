#include "icTestLists.h"

#include <algorithm>
#include <cstdint>

using namespace interchange;
using icTest::read;
using icTest::readClean;

namespace
{

constexpr std::uint64_t channel(int number)
{
    return std::uint64_t{1} << (number - 1);
}

/// An event line of one second at 25 fps.
std::string eventLine(const std::string& front)
{
    return front + " 01:00:10:00 01:00:11:00 10:00:00:00 10:00:01:00\n";
}

/// What is attached to the first event of a list of one, as text.
std::string notesOfOne(const EdlList& list)
{
    std::string text;
    for (const EdlNote& note : list.notesOf(list.events.at(0)))
        text.append(std::to_string(static_cast<int>(note.kind))).append("=").append(note.text).append("|");
    return text;
}

} // namespace

TEST(EdlReader, TakesTheFieldsOfAnEvent)
{
    struct Case
    {
        const char* front;
        const char* reel;
        std::uint64_t video;
        std::uint64_t audio;
        std::uint32_t number;
        std::uint32_t length;
        EdlTransition transition;
        std::uint16_t pattern;
    };
    const Case cases[] = {
        {"001  AX       V     C       ", "AX", 1, 0, 1, 0, EdlTransition::Cut, 0},
        {"000001 A001 V C", "A001", 1, 0, 1, 0, EdlTransition::Cut, 0},
        {"\t12\tA001\tv\tc", "A001", 1, 0, 12, 0, EdlTransition::Cut, 0},
        {"001 A004_C012.mov V C", "A004_C012.mov", 1, 0, 1, 0, EdlTransition::Cut, 0},
        {"001 Card 4  day 2. V C", "Card 4  day 2.", 1, 0, 1, 0, EdlTransition::Cut, 0},
        {"001 V V C 000", "V", 1, 0, 1, 0, EdlTransition::Cut, 0},
        {"001 X D 010 A V D 010", "X D 010 A", 1, 0, 1, 10, EdlTransition::Dissolve, 0},
        {"001 A1 A C", "A1", 0, channel(1), 1, 0, EdlTransition::Cut, 0},
        {"001 A1 A2 C", "A1", 0, channel(2), 1, 0, EdlTransition::Cut, 0},
        {"001 A1 AA C", "A1", 0, channel(1) | channel(2), 1, 0, EdlTransition::Cut, 0},
        {"001 A1 AA/V C", "A1", 1, channel(1) | channel(2), 1, 0, EdlTransition::Cut, 0},
        {"001 A1 A2/V C", "A1", 1, channel(2), 1, 0, EdlTransition::Cut, 0},
        {"001 A1 B C", "A1", 1, channel(1), 1, 0, EdlTransition::Cut, 0},
        {"001 A1 VA1A4 C", "A1", 1, channel(1) | channel(4), 1, 0, EdlTransition::Cut, 0},
        {"001 A1 V2 C", "A1", channel(2), 0, 1, 0, EdlTransition::Cut, 0},
        {"001 A1 A64 C", "A1", 0, channel(64), 1, 0, EdlTransition::Cut, 0},
        {"001 A1 NONE C", "A1", 0, 0, 1, 0, EdlTransition::Cut, 0},
        {"002 B V D 012", "B", 1, 0, 2, 12, EdlTransition::Dissolve, 0},
        {"002 B V W001 025", "B", 1, 0, 2, 25, EdlTransition::Wipe, 1},
        {"002 B V W127 1", "B", 1, 0, 2, 1, EdlTransition::Wipe, 127},
    };
    for (const Case& c : cases)
    {
        const EdlList list = readClean(eventLine(c.front));
        ASSERT_EQ(list.events.size(), 1U) << c.front;
        const EdlEvent& event = list.events[0];
        EXPECT_EQ(event.number, c.number) << c.front;
        EXPECT_EQ(event.reel, c.reel);
        EXPECT_EQ(event.channels.video, c.video) << c.front;
        EXPECT_EQ(event.channels.audio, c.audio) << c.front;
        EXPECT_EQ(event.transition, c.transition) << c.front;
        EXPECT_EQ(event.transitionLength, c.length) << c.front;
        EXPECT_EQ(event.wipePattern, c.pattern) << c.front;
        EXPECT_EQ(event.source, (EdlRange{90250, 90275}));
        EXPECT_EQ(event.record, (EdlRange{900000, 900025}));
    }
}

TEST(EdlReader, KeepsKeysWithAWarning)
{
    struct Case
    {
        const char* front;
        std::uint32_t length;
        EdlTransition transition;
        bool warns;
    };
    const Case cases[] = {
        {"002 A V K B", 0, EdlTransition::KeyBackground, false},
        {"002 A V KB", 0, EdlTransition::KeyBackground, false},
        {"002 A V K", 0, EdlTransition::Key, true},
        {"002 A V K 012", 12, EdlTransition::Key, true},
        {"002 A V K O 012", 12, EdlTransition::KeyOut, true},
        {"002 A V KO 012", 12, EdlTransition::KeyOut, true},
    };
    for (const Case& c : cases)
    {
        const icTest::Read result = read(eventLine(c.front));
        ASSERT_TRUE(result.list) << c.front << result.messages;
        EXPECT_EQ(result.list->events[0].transition, c.transition) << c.front;
        EXPECT_EQ(result.list->events[0].transitionLength, c.length) << c.front;
        EXPECT_EQ(result.list->events[0].reel, "A");
        EXPECT_EQ(result.messages.find("cut.edl:1: warning: a key") == 0, c.warns) << c.front << result.messages;
    }
    // The key lies over its background: no overlap.
    EXPECT_TRUE(read(eventLine("002 A V K B") + eventLine("002 B V K 000")).list);
}

TEST(EdlReader, ReadsAnyLineEndsBlanksAndMarks)
{
    const std::string plain = "TITLE: Ends\nFCM: NON-DROP FRAME\n\n001  A V C 01:00:10:00 01:00:11:00 10:00:00:00 "
                              "10:00:01:00\n* FROM CLIP NAME: one\n";
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
    struct Case
    {
        const char* title;
        const char* expected;
        bool latin1;
    };
    const Case cases[] = {
        {"\xC3\x89t\xC3\xA9 \xF0\x9F\x8E\xAC", "\xC3\x89t\xC3\xA9 \xF0\x9F\x8E\xAC", false},
        {"\xC9t\xE9", "\xC3\x89t\xC3\xA9", true},
        {"\xC3\x89 \xE9", "\xC3\x83\xC2\x89 \xC3\xA9", true}, // a list has one encoding
        {"\xC0\x80", "\xC3\x80\xC2\x80", true},
    };
    for (const Case& c : cases)
    {
        const icTest::Read result = read("TITLE: " + std::string(c.title) + "\n" + eventLine("001 A V C"));
        ASSERT_TRUE(result.list);
        EXPECT_EQ(result.list->title, c.expected);
        EXPECT_EQ(result.messages, c.latin1 ? "cut.edl: notice: no UTF-8: read as Latin-1\n" : "");
    }
}

TEST(EdlReader, AttachesNotesToTheirEvent)
{
    struct Case
    {
        const char* line;
        EdlNoteKind kind;
        const char* text;
    };
    const Case cases[] = {
        {"* FROM CLIP NAME:  Shot 1 (LAY2) ", EdlNoteKind::FromClipName, "Shot 1 (LAY2)"},
        {"FROM CLIP NAME: shot", EdlNoteKind::FromClipName, "shot"},
        {"*FROM CLIP NAME:shot", EdlNoteKind::FromClipName, "shot"},
        {"* from clip name : shot", EdlNoteKind::FromClipName, "shot"},
        {"* CLIP NAME: shot", EdlNoteKind::FromClipName, "shot"},
        {"* TO CLIP NAME: shot", EdlNoteKind::ToClipName, "shot"},
        {"* KEY CLIP NAME: logo", EdlNoteKind::KeyClipName, "logo"},
        {"* SOURCE FILE: A001.mov", EdlNoteKind::SourceFile, "A001.mov"},
        {"* SOURCE FILE PATH: C:\\rushes\\A001.mov", EdlNoteKind::SourcePath, "C:\\rushes\\A001.mov"},
        {"* SOURCE PATH: /rushes/A 1.mov", EdlNoteKind::SourcePath, "/rushes/A 1.mov"},
        {"EFFECTS NAME IS CROSS DISSOLVE", EdlNoteKind::EffectName, "CROSS DISSOLVE"},
        {"* EFFECT NAME: CROSS DISSOLVE", EdlNoteKind::EffectName, "CROSS DISSOLVE"},
        {"SPLIT:    AUDIO DELAY=  00:00:01:00", EdlNoteKind::Split, "AUDIO DELAY=  00:00:01:00"},
        {"* * FREEZE FRAME", EdlNoteKind::Comment, "* FREEZE FRAME"},
        {"* BLEND, DISSOLVE ", EdlNoteKind::Comment, "BLEND, DISSOLVE"},
        {"* FROM CLIP NAMES ARE LOST", EdlNoteKind::Comment, "FROM CLIP NAMES ARE LOST"},
        {"* M2 IS NOT MEANT", EdlNoteKind::Comment, "M2 IS NOT MEANT"},
        {"*", EdlNoteKind::Comment, ""},
    };
    for (const Case& c : cases)
    {
        const EdlList list = readClean(eventLine("001 A V C") + c.line + "\n");
        ASSERT_EQ(list.notesOf(list.events[0]).size(), 1U) << c.line;
        EXPECT_EQ(list.notesOf(list.events[0])[0], (EdlNote{c.kind, c.text})) << c.line;
    }

    const EdlList list = readClean("* BEFORE\nTITLE: Notes\n001 A V C 01:00:10:00 01:00:11:00 10:00:00:00 10:00:01:00\n"
                                   "* one\n* two\n002 A V C 01:00:10:00 01:00:11:00 10:00:01:00 10:00:02:00\n"
                                   "003 A V C 01:00:10:00 01:00:11:00 10:00:02:00 10:00:03:00\n* three\n");
    EXPECT_EQ(list.title, "Notes");
    EXPECT_EQ(list.notesOf(list.headNotes)[0].text, "BEFORE");
    EXPECT_EQ(list.notesOf(list.events[0]).size(), 2U);
    EXPECT_EQ(list.notesOf(list.events[1]).size(), 0U);
    EXPECT_EQ(list.notesOf(list.events[2])[0].text, "three");
}

TEST(EdlReader, KeepsALineThatItCannotRead)
{
    struct Case
    {
        const char* line;
        const char* why;
    };
    const Case cases[] = {
        {">>> AVID", "'>>> AVID' is neither an event nor a known note"},
        {"M2   A   fast   01:00:10:00", "the speed of the M2 line is missing or no number"},
        {"M2   A   1e9   01:00:10:00", "the speed of the M2 line is missing or no number"},
        {"M2   A   48   01:00:10:25", "the time code of the M2 line is out of range"},
        {"AUD  0", "an AUD line lists channels from 1 to 64"},
        {"AUD  3  65", "an AUD line lists channels from 1 to 64"},
        {"* LOC: RED", "the time code of the locator is missing or out of range"},
        {"* LOC: 10:00:00:25 RED", "the time code of the locator is missing or out of range"},
        {"* ASC_SOP (1 1 1)(0 0 0)(1 1)", "ASC_SOP takes three times three numbers"},
        {"* ASC_SOP (1 1 1)(0 0 0)(1 1 1)(1)", "ASC_SOP takes three times three numbers"},
        {"* ASC_SOP (1 1 nan)(0 0 0)(1 1 1)", "ASC_SOP takes three times three numbers"},
        {"* ASC_SAT much", "ASC_SAT takes a number"},
        {"FCM: FILM", "'FILM' is no frame-code mode"},
        {"TITLE: second", "a second title"},
    };
    for (const Case& c : cases)
    {
        const icTest::Read result = read("TITLE: first\n" + eventLine("001 A V C") + c.line + "\n");
        ASSERT_TRUE(result.list) << c.line;
        EXPECT_EQ(result.messages, "cut.edl:3: warning: " + std::string(c.why) + "; kept as a comment\n");
        const bool starred = c.line[0] == '*';
        EXPECT_EQ(notesOfOne(*result.list),
                  (starred ? "0=" + std::string(c.line + 2) : "1=" + std::string(c.line)) + "|");
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
        const EdlLook* const look = list.lookOf(list.events[0]);
        ASSERT_TRUE(look) << spacing;
        EXPECT_EQ(*look, (EdlLook{{0.9, 1.0, 1.1}, {-0.01, 0, 0.02}, {1.2, 1, 0.8}, 0.75, true, true})) << spacing;
    }
    const EdlList list = readClean(eventLine("001 A V C") + "* ASC_SAT 0\n");
    EXPECT_FALSE(list.lookOf(list.events[0])->hasSop);
}

TEST(EdlReader, ReadsSpeedsOfBothSidesOfATransition)
{
    struct Case
    {
        const char* speeds;
        std::optional<EdlSpeed> outgoing;
        std::optional<EdlSpeed> incoming;
    };
    // Two lines of event 002: reel A in at 00:00:10:00 (250), then reel B in at 00:00:20:00 (500).
    const Case cases[] = {
        {"M2   B   000.0   00:00:20:00", {}, EdlSpeed{0, 500}},
        {"M2   B   -025.0  00:00:20:00", {}, EdlSpeed{-25, 500}},
        {"M2   B   +12.56  00:00:20:05", {}, EdlSpeed{12.56, 505}},
        {"M2   B   50", {}, EdlSpeed{50, 500}},
        {"M2   A   30  00:00:10:00", EdlSpeed{30, 250}, {}},
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
    const icTest::Read other = read(eventLine("001 A V C") + "M2 B 30 01:00:10:00\n");
    EXPECT_EQ(other.list->events[0].speed->fps, 30);
    EXPECT_EQ(other.messages, "cut.edl:2: warning: M2 line of reel 'B' behind an event of reel 'A'\n");
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

TEST(EdlReader, AddsRoutedAudioToTheEvent)
{
    const EdlList list = readClean(eventLine("001 A A/V C") + "AUD  3    4\n" + "AUD 12\n");
    EXPECT_EQ(list.events[0].channels.audio, channel(1) | channel(3) | channel(4) | channel(12));
}

TEST(EdlReader, CountsDropFrameAsTheListSays)
{
    using DM::FrameCodeModes;
    struct Case
    {
        const char* name;
        const char* text; ///< of 00:01:00:02 on every side of the last event, as drop (1800) or non-drop (1802) frame
        FrameCodeModes given;
        FrameCodeModes fcm;
        bool sourceDrops;
    };
    const Case cases[] = {
        {"header", "FCM: DROP FRAME\n001 A V C 00:01:00:02 00:01:01:02 00:01:00:02 00:01:01:02\n", DM::FCM_29_97_NDF,
         DM::FCM_29_97_DF, true},
        {"labels", "001 A V C 00:01:00;02 00:01:01;02 00:01:00;02 00:01:01;02\n", DM::FCM_29_97_DF, DM::FCM_29_97_DF,
         true},
        {"labels of one side", "001 A V C 00:01:00:02 00:01:01:02 00:01:00;02 00:01:01;02\n", DM::FCM_29_97_DF,
         DM::FCM_29_97_DF, false},
        {"semicolons throughout", "001 A V C 00;01;00;02 00;01;01;02 00;01;00;02 00;01;01;02\n", DM::FCM_29_97_DF,
         DM::FCM_29_97_DF, true},
        {"labels against the header",
         "FCM: NON-DROP FRAME\n001 A V C 00:01:00;02 00:01:01;02 00:01:00;02 00:01:01;02\n", DM::FCM_29_97_DF,
         DM::FCM_29_97_DF, true},
        {"sources change",
         "FCM: DROP FRAME\n001 A V C 00:00:00:00 00:00:01:00 00:00:00:00 00:00:01:00\n"
         "FCM: NON-DROP FRAME\n002 A V C 00:01:00:02 00:01:01:02 00:01:00:02 00:01:01:02\n",
         DM::FCM_29_97_DF, DM::FCM_29_97_DF, false},
        {"sources change to drop",
         "FCM: NON-DROP FRAME\n001 A V C 00:00:00:00 00:00:01:00 00:00:00:00 00:00:01:00\n"
         "FCM: DROP FRAME\n002 A V C 00:01:00:02 00:01:01:02 00:01:00:02 00:01:01:02\n",
         DM::FCM_29_97_NDF, DM::FCM_29_97_NDF, true},
        {"nothing said", "001 A V C 00:01:00:02 00:01:01:02 00:01:00:02 00:01:01:02\n", DM::FCM_29_97_DF,
         DM::FCM_29_97_DF, true},
        {"59.94", "FCM: DROP FRAME\n001 A V C 00:01:00:04 00:01:01:04 00:01:00:04 00:01:01:04\n", DM::FCM_59_94_DF,
         DM::FCM_59_94_DF, true},
    };
    for (const Case& c : cases)
    {
        const icTest::Read result = read(c.text, c.given);
        ASSERT_TRUE(result.list) << c.name << '\n' << result.messages;
        const EdlList& list = *result.list;
        EXPECT_EQ(list.fcm, c.fcm) << c.name;
        const EdlEvent& event = list.events.back();
        EXPECT_EQ(event.sourceDrop, c.sourceDrops) << c.name;
        const bool is60 = c.given == DM::FCM_59_94_DF;
        const std::int64_t dropped = is60 ? 3600 : 1800;
        const std::int64_t counted = is60 ? 3604 : 1802;
        EXPECT_EQ(event.source.in, event.sourceDrop ? dropped : counted) << c.name;
        EXPECT_EQ(event.record.in, DM::FcmUtil::isDropFrame(c.fcm) ? dropped : counted) << c.name;
        EXPECT_EQ(event.source.length(), event.record.length()) << c.name;
    }
}

TEST(EdlReader, GuessesTheRateFromWhatTheListDrops)
{
    struct Case
    {
        const char* text;
        DM::FrameCodeModes given;
        DM::FrameCodeModes fcm;
        const char* messages;
    };
    const std::string plain = eventLine("001 A V C");
    const std::string dropLine = "FCM: DROP FRAME\n" + plain;
    const std::string late = plain + "FCM: DROP FRAME\n";
    const Case cases[] = {
        {plain.c_str(), DM::FCM_NOT_DEFINED, DM::FCM_24, "cut.edl: notice: no frame rate was given: read as 24 fps\n"},
        {dropLine.c_str(), DM::FCM_NOT_DEFINED, DM::FCM_29_97_DF,
         "cut.edl: notice: no frame rate was given: read as 29.97 fps DF\n"},
        {late.c_str(), DM::FCM_NOT_DEFINED, DM::FCM_29_97_NDF,
         "cut.edl: notice: no frame rate was given: read as 29.97 fps NDF\n"},
        {dropLine.c_str(), DM::FCM_25, DM::FCM_25,
         "cut.edl:1: warning: drop frame means nothing at 25 frames per second: no label is dropped\n"},
        {dropLine.c_str(), DM::FCM_29_97_NDF, DM::FCM_29_97_DF,
         "cut.edl: warning: the list counts in 29.97 fps DF, not in 29.97 fps NDF\n"},
    };
    for (const Case& c : cases)
    {
        const icTest::Read result = read(c.text, c.given);
        ASSERT_TRUE(result.list) << result.messages;
        EXPECT_EQ(result.list->fcm, c.fcm) << c.text;
        EXPECT_EQ(result.messages, c.messages) << c.text;
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
    EXPECT_EQ(result.messages, "cut.edl:2: warning: the record time passes midnight\n"
                               "cut.edl:4: warning: the record time passes midnight\n");
    const std::int64_t day = std::int64_t{24} * 3600 * 25;
    const EdlList& list = *result.list;
    EXPECT_EQ(list.events[0].source, (EdlRange{day - 25, day + 25}));
    EXPECT_EQ(list.events[1].record, (EdlRange{day, day + 50}));
    EXPECT_EQ(list.events[2].record, (EdlRange{day - 25, day}));
    EXPECT_EQ(list.events[3].record, (EdlRange{day + 50, day + 75}));
    EXPECT_EQ(list.markersOf(list.events[3])[0].at, day + 60);
}

TEST(EdlReader, KnowsTheReelsThatAreNoTapes)
{
    const std::pair<const char*, EdlReelKind> cases[] = {{"BL", EdlReelKind::Black},  {"black", EdlReelKind::Black},
                                                         {"BARS", EdlReelKind::Bars}, {"AX", EdlReelKind::Tape},
                                                         {"BL01", EdlReelKind::Tape}, {"", EdlReelKind::Tape}};
    for (const auto& [reel, kind] : cases)
        EXPECT_EQ(edlReelKind(reel), kind) << reel;
}
