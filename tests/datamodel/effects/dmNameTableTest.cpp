#include "dmNameTable.h"

#include <thread>

TEST(NameTable, SplitsItsListAtCommasAndAnswersTheEmptyNameOutsideIt)
{
    static constinit const DmNameTable table{L"pos_x,  pos_y , x"};
    ASSERT_EQ(table.size(), 3);
    const wchar_t* const names[] = {L"pos_x", L"pos_y", L"x"};
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(table[i], names[i]);
        EXPECT_EQ(table.find(names[i], -1), i);
    }
    for (const int outside : {-1, 3, 1 << 30})
        EXPECT_TRUE(table[outside].empty()) << outside;
    for (const wchar_t* const unknown : {L"", L"pos", L"POS_X", L"pos_x,"})
        EXPECT_EQ(table.find(unknown, 7), 7);

    static constinit const DmNameTable none{L""};
    EXPECT_EQ(none.size(), 0);
    EXPECT_TRUE(none[0].empty());
    EXPECT_EQ(none.find(L"", 7), 7);
}

TEST(NameTable, IsMadeOnceWhoeverAsksFirst)
{
    static constinit const DmNameTable table{L"first, second"};
    const DmString* seen[4] = {};
    {
        std::vector<std::thread> threads;
        for (const DmString*& place : seen)
            threads.emplace_back([&place] { place = &table[1]; });
        for (std::thread& thread : threads)
            thread.join();
    }
    for (const DmString* const name : seen)
    {
        EXPECT_EQ(name, &table[1]);
        EXPECT_EQ(*name, L"second");
    }
}
