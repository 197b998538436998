#include "CoLockWord.h"

#include <bit>
#include <cstdlib>
#include <pthread.h>
#include <sys/single_threaded.h>

namespace DM
{
namespace
{

// In the word, behind the owner's flags.
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

bool isAlone()
{
    return __libc_single_threaded != 0;
}

} // namespace

[[gnu::tls_model("initial-exec")]] constinit thread_local std::uint32_t CoLockWord::_owner = 0;

class CoLockWord::Number
{
public:
    static std::uint32_t ofThread() { return _owner != 0 ? _owner : taken(); }

    [[gnu::noinline]] static bool lockWaiting(std::atomic<std::uint32_t>& place)
    {
        const std::uint32_t self = ofThread();
        std::uint32_t word = place.load(std::memory_order_relaxed);
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
                if (place.compare_exchange_weak(word, taken, std::memory_order_acquire, std::memory_order_relaxed))
                    return true;
            }
            else if ((word & waiting) != 0 ||
                     place.compare_exchange_weak(word, word | waiting, std::memory_order_relaxed))
            {
                place.wait(word | waiting, std::memory_order_relaxed);
                waited = true;
                word = place.load(std::memory_order_relaxed);
            }
        }
    }

    [[gnu::noinline]] static bool unlockWaking(std::atomic<std::uint32_t>& place, Flags flags)
    {
        std::uint32_t before = place.load(std::memory_order_relaxed);
        if (_owner == 0 || (before & ownerMask) != _owner)
            return false;
        while (!place.compare_exchange_weak(before, (before & ~(ownerMask | waiting)) | flags,
                                            std::memory_order_release, std::memory_order_relaxed))
            ;
        if ((before & waiting) != 0)
            place.notify_all();
        return true;
    }

private:
    [[gnu::noinline]] static std::uint32_t taken()
    {
        static const pthread_key_t key = []
        {
            pthread_key_t made = 0;
            pthread_key_create(&made, giveBack);
            return made;
        }();
        _owner = takeNumber() << ownerShift;
        pthread_setspecific(key, &_owner); // where that fails, the number is not used again
        return _owner;
    }

    /// Gives the number back when the thread ends: through a key, which needs no memory, where the destructor of a
    /// thread_local object asks for some and ends the process when there is none.
    static void giveBack(void* /*number*/)
    {
        const std::uint32_t index = (_owner >> ownerShift) - 1;
        _owner = 0;
        numbers[index / 64].fetch_and(~(std::uint64_t{1} << index % 64), std::memory_order_release);
    }
};

// What a program of several threads does nearly always needs no stack.

bool CoLockWord::lockSlowly()
{
    std::uint32_t word = _word.load(std::memory_order_relaxed);
    if ((word & ownerMask) == 0 && _owner != 0 &&
        _word.compare_exchange_strong(word, word | _owner, std::memory_order_acquire, std::memory_order_relaxed))
        return true;
    return Number::lockWaiting(_word);
}

bool CoLockWord::unlockSlowly(Flags flags)
{
    std::uint32_t word = _word.load(std::memory_order_relaxed);
    if ((word & ~allFlags) == _owner && _owner != 0 &&
        _word.compare_exchange_strong(word, (word & allFlags) | flags, std::memory_order_release,
                                      std::memory_order_relaxed))
        return true;
    return Number::unlockWaking(_word, flags);
}

bool CoLockWord::tryLock()
{
    const std::uint32_t self = Number::ofThread();
    std::uint32_t word = _word.load(std::memory_order_relaxed);
    while ((word & ownerMask) == 0)
        if (_word.compare_exchange_weak(word, word | self, std::memory_order_acquire, std::memory_order_relaxed))
            return true;
    return false;
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
