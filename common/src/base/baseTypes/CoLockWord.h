/// A mutex and a few flags of its owner's in four bytes, for objects that there are a million of.
///
///     CoLockWord word;
///     const CoLockWordGuard guard(word);     // releases on scope exit what it took, and only that
///     word.set(dirty);                       // flags may be read and set whether the mutex is held or not
///
/// As CoMutex, it tells an owner who locks again instead of waiting for itself for ever. The owner is a number of our
/// own a thread: a thread keeps it in a forked process, and the number of one that has ended is given to another. While
/// the process has one thread nothing here is a locked instruction, which is most of what a setter costs
/// (bench/propertyBench.cpp: a lock and unlock against those of a pthread mutex).
#pragma once

#include "zrExport.h"

#include <atomic>
#include <cstdint>

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
    [[nodiscard]] bool lock();
    /// Takes the mutex if nobody holds it, the calling thread included; never waits.
    [[nodiscard]] bool tryLock();
    /// Sets the flags, in one go with releasing the mutex. False when the calling thread does not hold it; nothing is
    /// released then.
    bool unlock(Flags flags = 0);

    /// Who sees a flag sees what was done before it was set.
    bool has(Flags flags) const { return (_word.load(std::memory_order_acquire) & flags) == flags; }
    void set(Flags flags);
    void clear(Flags flags);

private:
    bool lockSlowly(std::uint32_t owner);

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
