/// A mutex and a few flags of its owner's in four bytes, for objects that there are a million of.
///
///     CoLockWord word;
///     const CoLockWordGuard guard(word);     // releases on scope exit what it took, and only that
///     word.set(dirty);                       // flags may be read and set whether the mutex is held or not
///
/// As CoMutex, it tells an owner who locks again instead of waiting for itself for ever. The owner is a number of our
/// own a thread: a thread keeps it in a forked process, and the number of one that has ended is given to another.
///
/// While the process has one thread nothing here is a locked instruction, which is most of what a setter costs, and
/// locking and unlocking are no calls: with them they cost as much as those of a pthread mutex, without a third of it
/// (bench/propertyBench.cpp).
#pragma once

#include "zrExport.h"

#include <atomic>
#include <cstdint>
#include <sys/single_threaded.h>

namespace DM
{

class ZR_DM_API CoLockWord
{
public:
    using Flags = std::uint32_t;
    /// Which bits are the owner's to use.
    static constexpr Flags allFlags = 0x7F;

    CoLockWord() = default;
    explicit CoLockWord(Flags flags)
        : _word(flags)
    {
    }
    CoLockWord(const CoLockWord&) = delete;
    CoLockWord& operator=(const CoLockWord&) = delete;

    /// Waits for the mutex. False when the calling thread holds it already: it is then not taken a second time.
    [[nodiscard]] bool lock()
    {
        const std::uint32_t word = _word.load(std::memory_order_relaxed);
        if (word > allFlags || _owner == 0 || !__libc_single_threaded)
            return lockSlowly();
        _word.store(word | _owner, std::memory_order_relaxed);
        return true;
    }
    /// Takes the mutex if nobody holds it, the calling thread included; never waits.
    [[nodiscard]] bool tryLock();
    /// Sets the flags, in one go with releasing the mutex. False when the calling thread does not hold it; nothing is
    /// released then.
    bool unlock(Flags flags = 0)
    {
        const std::uint32_t word = _word.load(std::memory_order_relaxed);
        if (_owner == 0 || (word & ~allFlags) != _owner || !__libc_single_threaded)
            return unlockSlowly(flags);
        _word.store((word & allFlags) | flags, std::memory_order_relaxed);
        return true;
    }

    /// Who sees a flag sees what was done before it was set.
    bool has(Flags flags) const { return (_word.load(std::memory_order_acquire) & flags) == flags; }
    void set(Flags flags);
    void clear(Flags flags);

private:
    class Number; ///< of the calling thread
    bool lockSlowly();
    bool unlockSlowly(Flags flags);

    /// The calling thread's number, where it stands in the word; 0 until the thread locks something.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local std::uint32_t _owner;

    /// The flags, whether somebody waits, the number of the thread that holds the mutex.
    std::atomic<std::uint32_t> _word{0};
};

/// Holds a CoLockWord's mutex for a scope. Inside a scope of the same thread that holds it already, does nothing.
class CoLockWordGuard
{
public:
    explicit CoLockWordGuard(CoLockWord& word)
        : _word(word)
        , _taken(word.lock())
    {
    }
    CoLockWordGuard(const CoLockWordGuard&) = delete;
    CoLockWordGuard& operator=(const CoLockWordGuard&) = delete;
    ~CoLockWordGuard()
    {
        if (_taken)
            _word.unlock(_flags);
        else if (_flags != 0)
            _word.set(_flags);
    }
    /// At the end of the scope.
    void set(CoLockWord::Flags flags) { _flags = flags; }

private:
    CoLockWord& _word;
    bool _taken;
    CoLockWord::Flags _flags = 0;
};

} // namespace DM
