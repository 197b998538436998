#include "zrTest.h"

TEST(NameTable, SplitsItsListAtCommasAndAnswersTheEmptyNameOutsideIt)
{
    static constinit const DmNameTable table{L"pos_x,  pos_y , x"};
    ASSERT_EQ(table.size(), 3);
    const wchar_t* const names[] = {L"", L"pos_x", L"pos_y", L"x", L""};
    for (int i = -1; i < 4; ++i)
        EXPECT_EQ(table[i], names[i + 1]);
    for (const auto& [name, id] : {std::pair{L"x", 2}, {L"pos", 7}, {L"POS_X", 7}, {L"pos_x,", 7}, {L"", 7}})
        EXPECT_EQ(table.find(name, 7), id);
    static constinit const DmNameTable none{L""};
    EXPECT_TRUE(none.size() == 0 && none[0].empty() && none.find(L"", 7) == 7);
}

TEST(NameTable, IsMadeOnceWhoeverAsksFirst)
{
    static constinit const DmNameTable table{L"first, second"};
    const DmString* seen[4] = {};
    {
        std::vector<std::jthread> threads;
        for (const DmString*& place : seen)
            threads.emplace_back([&place] { place = &table[1]; });
    }
    for (const DmString* const name : seen)
        EXPECT_EQ(name, &table[1]);
}
