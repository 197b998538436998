#include "CoMutex.h"

#include <gtest/gtest.h>

#include <thread>

/// The thread sanitizer takes an unlock that the mutex refuses for a fault of the program; here it is the subject.
extern "C" const char* __tsan_default_options()
{
    return "report_mutex_bugs=0";
}

namespace
{

bool fromAnotherThread(bool (DM::CoMutex::*operation)(), DM::CoMutex& mutex)
{
    bool result = false;
    std::jthread([&] { result = (mutex.*operation)(); }).join();
    return result;
}

TEST(Mutex, TellsAnOwnerWhoLocksAgainAndAStrangerWhoUnlocks)
{
    DM::CoMutex mutex;
    EXPECT_FALSE(mutex.unlock());
    ASSERT_TRUE(mutex.lock());
    EXPECT_FALSE(mutex.lock());
    EXPECT_FALSE(mutex.tryLock());
    EXPECT_FALSE(fromAnotherThread(&DM::CoMutex::tryLock, mutex));
    EXPECT_FALSE(fromAnotherThread(&DM::CoMutex::unlock, mutex));
    EXPECT_TRUE(mutex.unlock());
}

TEST(Mutex, AGuardReleasesOnlyWhatItTook)
{
    DM::CoMutex mutex;
    {
        const DM::CoMutexGuard outer(mutex);
        {
            const DM::CoMutexGuard inner(mutex);
        }
        EXPECT_FALSE(fromAnotherThread(&DM::CoMutex::tryLock, mutex)) << "the inner guard gave up the outer's lock";
    }
    ASSERT_TRUE(mutex.tryLock());
    EXPECT_TRUE(mutex.unlock());
}

} // namespace
