#include "icTestLists.h"

using namespace interchange;
using icTest::read;
using icTest::readClean;

// How every other line is written, the lists show that a tree gives back (EdlTree).
TEST(EdlWriter, KeepsColumnsThatNamesAndNumbersOutgrow)
{
    const char* const text = "FCM: NON-DROP FRAME\n"
                             "0999  A002_long.name V     W001 024 02:00:00:00 02:00:01:00 10:00:02:00 10:00:03:00\n"
                             "M2   A002_long.name       -012.5               02:00:00:00\n"
                             "1000  A        A2/V2 C        00:00:00:00 00:00:01:00 10:00:05:00 10:00:06:00\n";
    EXPECT_EQ(icTest::written(*read(text).list), text);
}

TEST(EdlWriter, SaysWhichSideDropsFrames)
{
    struct Case
    {
        DM::FrameCodeModes fcm;
        bool firstDrops, secondDrops;
        const char* text;
    };
    const Case cases[] = {
        {DM::FCM_29_97_DF, true, true,
         "FCM: DROP FRAME\n"
         "001  A        V     C        00:01:00;02 00:01:01;02 00:00:00;00 00:00:01;00\n"
         "002  A        V     C        00:01:00;02 00:01:01;02 00:00:01;00 00:00:02;00\n"},
        {DM::FCM_59_94_NDF, true, false,
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
        event.source = {1800, 1830};
        for (const bool drops : {c.firstDrops, c.secondDrops})
        {
            ++event.number;
            event.sourceDrop = drops;
            event.record = {event.record.out, event.record.out + 30};
            list.addEvent(event);
        }
        EXPECT_EQ(icTest::written(list), "TITLE: Drop\n" + std::string(c.text));
        EXPECT_EQ(readClean(writeEdl(list), c.fcm), list) << c.text;
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
    list.addNote(NoteKind::FromClipName, list.keep(std::string("a\r\nb\0c ", 7)));
    EXPECT_EQ(icTest::written(list), "TITLE: two lines\n"
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
        list.look() = Look{{value, value, value}, {value, value, value}, {1, 1, 1}, value, true, true};
        EXPECT_EQ(readClean(writeEdl(list), DM::FCM_24), list) << value;
    }
}
