#include "zrTest.h"

#include <malloc.h>

namespace
{

struct Piece
{
    unsigned char* at;
    std::size_t size;
    unsigned char mark;

    Piece(std::size_t length, unsigned char filledWith)
        : at(static_cast<unsigned char*>(dmBlocks::take(length)))
        , size(length)
        , mark(filledWith)
    {
        std::memset(at, mark, size);
    }
    /// False when somebody else has written there, or it is not aligned.
    bool give() const
    {
        bool isWhole = reinterpret_cast<std::uintptr_t>(at) % 8 == 0;
        for (std::size_t i = 0; i < size; ++i)
            isWhole = isWhole && at[i] == mark;
        dmBlocks::give(at, size);
        return isWhole;
    }
};

/// Takes and gives pieces of many sizes at random, and leaves some.
int churn(unsigned seed, std::vector<Piece>& left)
{
    std::mt19937 random(seed);
    int wrong = 0;
    for (int i = 0; i < 20'000; ++i)
    {
        if (left.size() < 500 || random() % 2 == 0)
            left.emplace_back(1 + random() % 600, static_cast<unsigned char>(random()));
        else
        {
            std::swap(left[random() % left.size()], left.back());
            wrong += left.back().give() ? 0 : 1;
            left.pop_back();
        }
    }
    return wrong;
}

} // namespace

TEST(BlocksThreads, GiveEachPieceToOneOwnerWhoeverReleasesIt)
{
    std::vector<Piece> left[3];
    int wrong[3] = {};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < 3; ++i)
        threads.emplace_back([&, i] { wrong[i] = churn(i, left[i]); });
    for (std::thread& thread : threads)
        thread.join();
    for (const int count : wrong)
        EXPECT_EQ(count, 0);
    for (const std::vector<Piece>& pieces : left)
        for (const Piece& piece : pieces)
            EXPECT_TRUE(piece.give());
}

TEST(BlocksThreads, LieSideBySide)
{
    constexpr int blocks = 200;
    std::vector<Piece> pieces;
    pieces.reserve(20 * blocks);
    const std::size_t before = mallinfo2().fordblks;
    while (pieces.size() < pieces.capacity())
        pieces.emplace_back(480, 1);
    EXPECT_LT(mallinfo2().fordblks, before + blocks / 4 * 8192);
    for (const Piece& piece : pieces)
        EXPECT_TRUE(piece.give());
}
