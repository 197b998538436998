#include "zrTest.h"

/// The thread sanitizer takes an unlock that the mutex refuses for a fault of the program; here it is the subject.
extern "C" const char* __tsan_default_options()
{
    return "report_mutex_bugs=0";
}

namespace
{

template <class Operation>
bool fromAnotherThread(const Operation& operation)
{
    bool result = false;
    std::jthread([&] { result = operation(); }).join();
    return result;
}

struct WithMutex
{
    using Mutex = DM::CoMutex;
    using Guard = DM::CoMutexGuard;
};
struct WithWord
{
    using Mutex = DM::CoLockWord;
    using Guard = DM::CoLockWordGuard;
};

template <class Kind>
class Mutex : public testing::Test
{
};
using Kinds = testing::Types<WithMutex, WithWord>;
TYPED_TEST_SUITE(Mutex, Kinds);

TYPED_TEST(Mutex, TellsAnOwnerWhoLocksAgainAndAStrangerWhoUnlocks)
{
    using Kind = typename TypeParam::Mutex;
    Kind mutex;
    EXPECT_FALSE(mutex.unlock());
    ASSERT_TRUE(mutex.lock());
    EXPECT_FALSE(mutex.lock());
    EXPECT_FALSE(mutex.tryLock());
    EXPECT_FALSE(fromAnotherThread([&] { return mutex.tryLock(); }));
    EXPECT_FALSE(fromAnotherThread([&] { return mutex.unlock(); }));
    EXPECT_TRUE(mutex.unlock());
    EXPECT_FALSE(mutex.unlock());
}

TYPED_TEST(Mutex, AGuardReleasesOnlyWhatItTook)
{
    using Kind = typename TypeParam::Mutex;
    Kind mutex;
    {
        const typename TypeParam::Guard outer(mutex);
        {
            const typename TypeParam::Guard inner(mutex);
        }
        EXPECT_FALSE(fromAnotherThread([&] { return mutex.tryLock(); })) << "the inner guard gave up the outer's lock";
    }
    ASSERT_TRUE(mutex.tryLock());
    EXPECT_TRUE(mutex.unlock());
}

TYPED_TEST(Mutex, LetsOneThreadInAtATime)
{
    constexpr int threads = 6;
    constexpr int rounds = 20000;
    typename TypeParam::Mutex mutex;
    long inside = 0; // no atomic: the mutex is what guards it
    {
        std::vector<std::jthread> running;
        for (int i = 0; i < threads; ++i)
            running.emplace_back(
                [&]
                {
                    for (int round = 0; round < rounds; ++round)
                    {
                        const typename TypeParam::Guard guard(mutex);
                        ++inside;
                    }
                });
    }
    EXPECT_EQ(inside, long{threads} * rounds);
}

TEST(LockWord, KeepsItsFlagsWhileTheMutexChangesHands)
{
    DM::CoLockWord word(4);
    {
        std::vector<std::jthread> running;
        running.emplace_back(
            [&]
            {
                for (int i = 0; i < 20000; ++i)
                {
                    word.set(1);
                    ASSERT_TRUE(word.has(1 | 4));
                    word.clear(1);
                    ASSERT_FALSE(word.has(1));
                }
            });
        for (int thread = 0; thread < 2; ++thread)
            running.emplace_back(
                [&]
                {
                    for (int i = 0; i < 20000; ++i)
                        const DM::CoLockWordGuard guard(word);
                });
    }
    {
        DM::CoLockWordGuard guard(word);
        DM::CoLockWordGuard inside(word); // which does not hold it
        guard.set(2);
        inside.set(8);
        EXPECT_FALSE(word.has(2) || word.has(8));
    }
    EXPECT_TRUE(word.has(2 | 4 | 8));
    word.set(DM::CoLockWord::allFlags);
    EXPECT_TRUE(word.has(DM::CoLockWord::allFlags));
    EXPECT_TRUE(word.tryLock() && word.unlock());
    word.clear(DM::CoLockWord::allFlags);
    EXPECT_FALSE(word.has(1) || word.has(4));
    EXPECT_EQ(sizeof(word), 4U);
}

TEST(LockWord, IsTakenByOneOfThoseWhoTry)
{
    DM::CoLockWord word;
    std::atomic<int> wrong{0};
    std::vector<std::jthread> running;
    for (int thread = 0; thread < 3; ++thread)
        running.emplace_back(
            [&]
            {
                for (int i = 0; i < 200000; ++i)
                    if (word.tryLock() && !word.unlock())
                        ++wrong; // it was another's
            });
    running.clear();
    EXPECT_EQ(wrong, 0);
}

TEST(LockWord, KnowsThreadsThatLiveAtTheSameTimeApart)
{
    // More than a word of numbers, and then again: numbers of threads that have ended come back.
    for (int round = 0; round < 2; ++round)
    {
        constexpr int threads = 100;
        std::vector<DM::CoLockWord> words(threads);
        std::atomic<int> ready{0};
        std::atomic<int> wrong{0};
        std::vector<std::jthread> running;
        for (int i = 0; i < threads; ++i)
            running.emplace_back(
                [&, i]
                {
                    if (!words[static_cast<std::size_t>(i)].lock())
                        ++wrong;
                    ++ready;
                    while (ready < threads)
                        std::this_thread::yield();
                    for (DM::CoLockWord& word : words)
                        if (&word != &words[static_cast<std::size_t>(i)] && (word.tryLock() || word.unlock()))
                            ++wrong;
                    ++ready;
                    while (ready < 2 * threads)
                        std::this_thread::yield();
                    if (!words[static_cast<std::size_t>(i)].unlock())
                        ++wrong;
                });
        running.clear();
        EXPECT_EQ(wrong, 0);
    }
}

} // namespace
