#include "icTestLists.h"

using namespace interchange;
using icTest::read;
using icTest::readClean;

TEST(EdlWriter, KeepsTheColumnsAndOrderOfTheForm)
{
    const char* const text = "TITLE: Reel 1\n"
                             "FCM: NON-DROP FRAME\n"
                             "* cut on Tuesday\n"
                             "001  A001     V     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
                             "* FROM CLIP NAME: Shot 1\n"
                             "* SOURCE FILE: A001.mov\n"
                             "002  A001     V     C        01:00:02:00 01:00:02:00 10:00:02:00 10:00:02:00\n"
                             "M2   A001           047.6                01:00:02:00\n"
                             "002  A002_long.name V     W001 024 02:00:00:00 02:00:01:00 10:00:02:00 10:00:03:00\n"
                             "M2   A002_long.name       -012.5               02:00:00:00\n"
                             "* ASC_SOP (0.9000 1.0000 1.1000)(-0.0125 0.0000 0.0000)(1.0000 1.0000 1.23456)\n"
                             "* ASC_SAT 0.5000\n"
                             "EFFECTS NAME IS WIPE\n"
                             "* FROM CLIP NAME: Shot 1\n"
                             "* TO CLIP NAME: Shot 2\n"
                             "* LOC: 10:00:02:10 RED     FIX THIS\n"
                             "* LOC: 10:00:02:11 MAGENTA\n"
                             "003  BL       NONE  C        00:00:00:00 00:00:01:00 10:00:03:00 10:00:04:00\n"
                             "AUD  3  4\n"
                             "SPLIT:    AUDIO DELAY= 00:00:00:10\n"
                             "* * FREEZE\n"
                             "004  A        B     D    001 00:00:00:00 00:00:01:00 10:00:04:00 10:00:05:00\n"
                             "005  A        A2/V2 C        00:00:00:00 00:00:01:00 10:00:05:00 10:00:06:00\n"
                             "006  A        AA    K B      00:00:00:00 00:00:01:00 10:00:06:00 10:00:07:00\n"
                             "006  A        AA    K O  000 00:00:00:00 00:00:01:00 10:00:06:00 10:00:07:00\n";
    const icTest::Read result = read(text);
    ASSERT_TRUE(result.list) << result.messages;
    EXPECT_EQ(writeEdl(*result.list), text);

    const char* const manyEvents = "TITLE:\nFCM: NON-DROP FRAME\n"
                                   "0999  A        V     C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
                                   "1000  A        V     C        01:00:00:00 01:00:02:00 10:00:02:00 10:00:04:00\n";
    EXPECT_EQ(writeEdl(readClean(manyEvents)), manyEvents);
}

TEST(EdlWriter, SaysWhichSideDropsFrames)
{
    struct Case
    {
        const char* name;
        DM::FrameCodeModes fcm;
        bool firstDrops;
        bool secondDrops;
        const char* text;
    };
    const Case cases[] = {
        {"both drop", DM::FCM_29_97_DF, true, true,
         "FCM: DROP FRAME\n"
         "001  A        V     C        00:01:00;02 00:01:01;02 00:00:00;00 00:00:01;00\n"
         "002  A        V     C        00:01:00;02 00:01:01;02 00:00:01;00 00:00:02;00\n"},
        {"a source does not", DM::FCM_29_97_DF, true, false,
         "FCM: DROP FRAME\n"
         "001  A        V     C        00:01:00;02 00:01:01;02 00:00:00;00 00:00:01;00\n"
         "FCM: NON-DROP FRAME\n"
         "002  A        V     C        00:01:00:00 00:01:01:00 00:00:01;00 00:00:02;00\n"},
        {"a source does", DM::FCM_59_94_NDF, true, false,
         "FCM: NON-DROP FRAME\n"
         "FCM: DROP FRAME\n"
         "001  A        V     C        00:00:30;00 00:00:30;30 00:00:00:00 00:00:00:30\n"
         "FCM: NON-DROP FRAME\n"
         "002  A        V     C        00:00:30:00 00:00:30:30 00:00:00:30 00:00:01:00\n"},
    };
    for (const Case& c : cases)
    {
        EdlList list;
        list.title = "Drop";
        list.fcm = c.fcm;
        EdlEvent event;
        event.channels.video = 1;
        event.reel = "A";
        for (const bool drops : {c.firstDrops, c.secondDrops})
        {
            ++event.number;
            event.sourceDrop = drops;
            event.source = {1800, 1830};
            list.addEvent(event);
            event.record = {event.record.in + 30, event.record.in + 60};
            list.events.back().record = {event.record.in - 30, event.record.in};
        }
        EXPECT_EQ(writeEdl(list), "TITLE: Drop\n" + std::string(c.text)) << c.name;
        EXPECT_EQ(readClean(writeEdl(list), c.fcm), list) << c.name;
    }
}

TEST(EdlWriter, AdaptsWhatALineCannotHold)
{
    EdlList list;
    list.fcm = DM::FCM_25;
    list.title = "two\nlines";
    EdlEvent event;
    event.number = 7;
    event.reel = list.keep("");
    event.source = {-25, 0};
    event.record = {std::int64_t{24} * 90000, std::int64_t{24} * 90000 + 25};
    list.addEvent(event);
    list.addNote(EdlNoteKind::FromClipName, list.keep(std::string("a\r\nb\0c ", 7)));
    EXPECT_EQ(writeEdl(list), "TITLE: two lines\n"
                              "FCM: NON-DROP FRAME\n"
                              "007  AX       NONE  C        23:59:59:00 00:00:00:00 00:00:00:00 00:00:01:00\n"
                              "* FROM CLIP NAME: a  b c\n");
}

TEST(EdlWriter, WritesNumbersThatReadBackEqual)
{
    for (const double value : {0.0, -0.0, 1.0, 0.1, 47.56, -23.976, 1.0 / 3, 99999.0, 1e-9, 5e-324})
    {
        EdlList list;
        list.fcm = DM::FCM_24;
        EdlEvent event;
        event.number = 1;
        event.reel = "A";
        event.channels.video = 1;
        event.speed = EdlSpeed{value, 0};
        list.addEvent(event);
        list.look() = EdlLook{{value, value, value}, {value, value, value}, {1, 1, 1}, value, true, true};
        EXPECT_EQ(readClean(writeEdl(list), DM::FCM_24), list) << value;
    }
}
