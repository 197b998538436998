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
