#include "icTestLists.h"

#include <algorithm>

using namespace interchange;
using icTest::read;
using icTest::readClean;

namespace
{

constexpr const char* first = "001  A        V     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n";

} // namespace

TEST(EdlMistake, IsAnErrorOrAWarningWithItsChoice)
{
    struct Case
    {
        std::string text; ///< behind the first event
        const char* what;
        const char* choice;
        std::string lenient = {}; ///< what is written back
    };
    const std::string times = " 01:00:00:00 01:00:02:00 10:00:02:00 10:00:04:00";
    const std::string good = "002  A        V     C       ";
    const char* const leftOut = "the event is left out";
    const Case cases[] = {
        {"002  A V C 01:00:00:00 01:00:02:00 10:00:02:00", "a time code is missing: 3 of 4 found", leftOut},
        {"002", "a time code is missing: 0 of 4 found", leftOut},
        {"002  A V C 01:00:00:00 01:00:0x:00 10:00:02:00 10:00:04:00", "source out-time '01:00:0x:00' is no time code",
         leftOut},
        {"002  A V" + times, "'V' is no transition", leftOut},
        {"002 " + times, "no transition", leftOut},
        {"002  A V W 010" + times, "'W' is no transition", leftOut},
        {"002  A V D" + times, "no transition length", leftOut},
        {"002  A X C" + times, "'X' are no channels", leftOut},
        {"002  A A65 C" + times, "'A65' are no channels", leftOut},
        {"00-2 A V C" + times, "event number '00-2' is no number", leftOut},
        {"99999999999 A V C" + times, "event number '99999999999' is no number", leftOut},
        {"002  V C" + times, "no reel name", "the reel is AX", "002  AX       V     C       " + times},
        {"002  A V C 01:00:00:00 01:00:01:25 10:00:02:00 10:00:03:24", "source out-time is out of range at 25 fps",
         "taken as 01:00:01:24", good + " 01:00:00:00 01:00:01:24 10:00:02:00 10:00:03:24"},
        {"002  A V C 25:00:00:00 25:00:02:00 10:00:02:00 10:00:04:00", "source in-time is out of range at 25 fps", "",
         good + times},
        {"002  A V C 01:00:00:00 01:00:02:00 10:00:04:00 10:00:02:00", "the record side ends before it begins",
         "it gets the length of the source", good + " 01:00:00:00 01:00:02:00 10:00:04:00 10:00:06:00"},
        {"002  A V C 01:00:02:00 01:00:00:00 10:00:02:00 10:00:03:00", "the source ends before it begins",
         "it gets the length of the record side", good + " 01:00:02:00 01:00:03:00 10:00:02:00 10:00:03:00"},
        {"002  A V C 01:00:02:00 01:00:00:00 10:00:03:00 10:00:02:00", "source and record side end before they begin",
         leftOut},
        {"002  A V C 01:00:00:00 01:00:02:01 10:00:02:00 10:00:04:00",
         "the source has 51 frames, the record side 50 frames", "the record side holds", good + times},
        {"002  A V D 051" + times, "the transition has 51 frames, its event 50 frames", "it takes the whole event",
         "002  A        V     D    050" + times},
        {"002  A V C 01:00:00:00 01:00:02:00 09:00:00:00 09:00:02:00",
         "the event begins before the one before it on its channel", "it stays where its record time is",
         good + " 01:00:00:00 01:00:02:00 09:00:00:00 09:00:02:00"},
        {"002  A AA/V C 01:00:00:00 01:00:02:00 10:00:01:24 10:00:03:24",
         "the event begins before the one before it on its channel has ended", "it covers that one",
         "002  A        AA/V  C        01:00:00:00 01:00:02:00 10:00:01:24 10:00:03:24"},
    };
    for (const Case& c : cases)
    {
        const std::string text = std::string(first) + c.text + "\n* a note\n* ASC_SAT 0.5\n";
        const icTest::Read strict = read(text);
        EXPECT_FALSE(strict.list) << c.text;
        const std::string what = ": " + std::string(c.what);
        EXPECT_NE(strict.messages.substr(0, strict.messages.find('\n') + 1).find(what + '\n'), std::string::npos)
            << strict.messages;

        const icTest::Read lenient = read(text, DM::FCM_25, Report::Lenient);
        ASSERT_TRUE(lenient.list) << c.text;
        EXPECT_TRUE(lenient.messages.starts_with("cut.edl:2: warning: ")) << lenient.messages;
        EXPECT_NE(lenient.messages.find(what + "; " + c.choice), std::string::npos) << lenient.messages;
        const std::string behind = c.lenient.empty() ? "" : c.lenient + "\n* a note\n* ASC_SAT 0.5\n";
        EXPECT_EQ(icTest::written(*lenient.list), first + behind);
    }
}

TEST(EdlMistake, OfDropFrameIsALabelThatIsNeverCounted)
{
    const char* const text = "FCM: DROP FRAME\n001 A V C 00:01:00:00 00:01:01:00 00:00:00:00 00:00:01:00\n";
    EXPECT_EQ(read(text, DM::FCM_29_97_DF).messages,
              "cut.edl:2: source in-time is out of range at 29.97 DF\n"
              "cut.edl:2: A, V1, 00:00:00;00: the source has 29 frames, the record side 30 frames\n");
    const icTest::Read lenient = read(text, DM::FCM_29_97_DF, Report::Lenient);
    EXPECT_EQ(lenient.list->events[0].source, (EdlRange{1799, 1829}));
}

TEST(EdlMistake, CountsNumbersThatFallButNotThoseThatStartOver)
{
    const std::pair<std::pair<const char*, const char*>, bool> cases[] = {
        {{"002", "002"}, true}, {{"002", "005"}, true}, {{"005", "004"}, false}, {{"1000", "999"}, false},
        {{"999", "000"}, true}, {{"999", "2"}, true},   {{"045", "001"}, true},  {{"123456", "123457"}, true},
    };
    for (const auto& [numbers, fine] : cases)
    {
        const icTest::Read result =
            read(std::string(numbers.first) + " A V C 01:00:00:00 01:00:01:00 10:00:00:00 10:00:01:00\n" +
                 numbers.second + " A V C 01:00:00:00 01:00:01:00 10:00:01:00 10:00:02:00\n");
        EXPECT_EQ(result.list.has_value(), fine) << result.messages;
    }
}

TEST(EdlMistake, IsNoneWhereASpeedAccountsForTheLengths)
{
    // Source out-times of events of two seconds.
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"01:00:00:01", "000.0", true}, {"01:00:04:00", "050.0", true}, {"01:00:04:00", "-050.0", true},
        {"01:00:04:02", "050.0", true}, {"01:00:02:00", "050.0", true}, {"01:00:03:00", "050.0", false},
    };
    for (const auto& [out, speed, fits] : cases)
        EXPECT_EQ(read("001 A V C 01:00:00:00 " + std::string(out) + " 10:00:00:00 10:00:02:00\nM2 A " + speed + "\n")
                      .messages,
                  fits ? ""
                       : "cut.edl:1: warning: A, V1, 10:00:00:00: the source has 75 frames, the record side 50 frames, "
                         "and its speed "
                         "does not account for it\n")
            << out << ' ' << speed;
    readClean("001 BL V C 00:00:00:00 00:00:00:00 10:00:00:00 10:00:02:00\n");
}

TEST(EdlMistake, IsLookedForOnEachChannelByItself)
{
    readClean("001 A V C 01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
              "002 A V C 01:00:00:00 01:00:02:00 10:00:02:00 10:00:04:00\n"
              "003 A AA C 01:00:00:00 01:00:02:00 10:00:01:00 10:00:03:00\n"
              "004 A V2 C 01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n");
    // Routed audio counts, though its line stands behind the event.
    EXPECT_EQ(read("001 A A3 C 01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
                   "002 A V C 01:00:00:00 01:00:02:00 10:00:01:00 10:00:03:00\nAUD 3\n")
                  .messages,
              "cut.edl:2: A, V1, 10:00:01:00: the event begins before the one before it on its channel has ended\n");
}

TEST(EdlMistake, OfAFileThatIsNoListHasItsPosition)
{
    const std::pair<std::string, const char*> cases[] = {
        {"", "cut.edl: no event and no title up to the end: not a cut list\n"},
        {"\n\n", "cut.edl:2: no event and no title up to the end: not a cut list\n"},
        {std::string("TITLE: x\n001 \0", 14), "cut.edl:2: binary data: not a cut list\n"},
        {"* only\n* comments", "cut.edl:2: no event and no title up to the end: not a cut list\n"},
    };
    for (const auto& [text, messages] : cases)
    {
        const icTest::Read result = read(text);
        EXPECT_FALSE(result.list);
        EXPECT_EQ(result.messages, messages);
    }
    EXPECT_TRUE(read("TITLE: empty\n").list);
}

TEST(EdlMistake, MessagesAreLimitedAndInOrder)
{
    std::string text;
    for (int i = 0; i < 150; ++i)
        text += "noise\n";
    const icTest::Read result = read(text + "001 A V C\n");
    EXPECT_EQ(std::count(result.messages.begin(), result.messages.end(), '\n'), 7);
    EXPECT_NE(result.messages.find("cut.edl:151: a time code is missing: 0 of 4 found\ncut.edl: 145 more: things that "
                                   "are read otherwise than the list says\n"),
              result.messages.npos);
}
