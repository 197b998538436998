#include "CoLockWord.h"

#include <bit>
#include <cstdlib>
#include <pthread.h>
#include <sys/single_threaded.h>

namespace DM
{
namespace
{

// The word: the owner's flags, whether somebody waits, the number of the thread that holds the mutex.
constexpr std::uint32_t waiting = 0x80;
constexpr int ownerShift = 8;
constexpr std::uint32_t ownerMask = ~std::uint32_t{0} << ownerShift;

/// As many threads as the system can have: a bit each, set while a thread has the number. Pages that no thread needs
/// are never touched.
constexpr std::uint32_t mostThreads = std::uint32_t{1} << 22;
constinit std::atomic<std::uint64_t> numbers[mostThreads / 64]{};

/// The lowest number that is free, from 1.
std::uint32_t takeNumber()
{
    for (std::uint32_t i = 0; i < mostThreads / 64; ++i)
    {
        std::uint64_t taken = numbers[i].load(std::memory_order_relaxed);
        while (~taken != 0)
        {
            const int bit = std::countr_one(taken);
            if (numbers[i].compare_exchange_weak(taken, taken | std::uint64_t{1} << bit, std::memory_order_acquire,
                                                 std::memory_order_relaxed))
                return i * 64 + static_cast<std::uint32_t>(bit) + 1;
        }
    }
    std::abort(); // more threads than the system has
}

[[gnu::tls_model("initial-exec")]] constinit thread_local std::uint32_t ownNumber = 0;

/// Gives the number back when the thread ends: through a key, which needs no memory, where the destructor of a
/// thread_local object asks for some and ends the process when there is none.
void giveNumberBack(void* /*number*/)
{
    const std::uint32_t index = ownNumber - 1;
    ownNumber = 0;
    numbers[index / 64].fetch_and(~(std::uint64_t{1} << index % 64), std::memory_order_release);
}

[[gnu::noinline]] std::uint32_t newOwner()
{
    static const pthread_key_t key = []
    {
        pthread_key_t made = 0;
        pthread_key_create(&made, giveNumberBack);
        return made;
    }();
    ownNumber = takeNumber();
    pthread_setspecific(key, &ownNumber); // where that fails, the number is not used again
    return ownNumber << ownerShift;
}

std::uint32_t owner()
{
    return ownNumber != 0 ? ownNumber << ownerShift : newOwner();
}

bool isAlone()
{
    return __libc_single_threaded != 0;
}

/// Apart from the way of a program of one thread, which then needs no stack.
[[gnu::noinline]] void unlockBesideOthers(std::atomic<std::uint32_t>& word, CoLockWord::Flags flags)
{
    std::uint32_t before = word.load(std::memory_order_relaxed);
    while (!word.compare_exchange_weak(before, (before & ~(ownerMask | waiting)) | flags, std::memory_order_release,
                                       std::memory_order_relaxed))
        ;
    if ((before & waiting) != 0)
        word.notify_all();
}

} // namespace

bool CoLockWord::lock()
{
    const std::uint32_t self = owner();
    std::uint32_t word = _word.load(std::memory_order_relaxed);
    if ((word & ownerMask) == 0)
    {
        if (isAlone())
        {
            _word.store(word | self, std::memory_order_relaxed);
            return true;
        }
        if (_word.compare_exchange_strong(word, word | self, std::memory_order_acquire, std::memory_order_relaxed))
            return true;
    }
    return lockSlowly(self);
}

bool CoLockWord::lockSlowly(std::uint32_t self)
{
    std::uint32_t word = _word.load(std::memory_order_relaxed);
    bool waited = false;
    for (;;)
    {
        if ((word & ownerMask) == self)
            return false;
        if ((word & ownerMask) == 0)
        {
            // Who has waited cannot know whether others still do, and so leaves the bit for its own unlock to wake
            // them.
            const std::uint32_t taken = word | self | (waited ? waiting : 0);
            if (_word.compare_exchange_weak(word, taken, std::memory_order_acquire, std::memory_order_relaxed))
                return true;
        }
        else if ((word & waiting) != 0 || _word.compare_exchange_weak(word, word | waiting, std::memory_order_relaxed))
        {
            _word.wait(word | waiting, std::memory_order_relaxed);
            waited = true;
            word = _word.load(std::memory_order_relaxed);
        }
    }
}

bool CoLockWord::tryLock()
{
    const std::uint32_t self = owner();
    std::uint32_t word = _word.load(std::memory_order_relaxed);
    while ((word & ownerMask) == 0)
        if (_word.compare_exchange_weak(word, word | self, std::memory_order_acquire, std::memory_order_relaxed))
            return true;
    return false;
}

bool CoLockWord::unlock(Flags flags)
{
    const std::uint32_t word = _word.load(std::memory_order_relaxed);
    if (ownNumber == 0 || (word & ownerMask) != ownNumber << ownerShift)
        return false;
    if (isAlone())
        _word.store((word & ~(ownerMask | waiting)) | flags, std::memory_order_relaxed);
    else
        unlockBesideOthers(_word, flags);
    return true;
}

void CoLockWord::set(Flags flags)
{
    const std::uint32_t word = _word.load(std::memory_order_relaxed);
    if ((word & flags) == flags)
        return;
    if (isAlone())
        _word.store(word | flags, std::memory_order_relaxed);
    else
        _word.fetch_or(flags, std::memory_order_release);
}

void CoLockWord::clear(Flags flags)
{
    const std::uint32_t word = _word.load(std::memory_order_relaxed);
    if ((word & flags) == 0)
        return;
    if (isAlone())
        _word.store(word & ~flags, std::memory_order_relaxed);
    else
        _word.fetch_and(~flags, std::memory_order_release);
}

} // namespace DM
