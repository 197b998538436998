/// An intrusive, thread-safe reference count: the base of everything that a CoSharedPtr holds.
///
/// A new object counts zero: an interface that hands out a raw pointer hands it out uncounted, and the caller puts it
/// in a CoSharedPtr, which deletes it with its last reference.
///
/// While the process has one thread no count is a locked instruction.
#pragma once

#include "zrExport.h"

#include <atomic>
#include <sys/single_threaded.h>

namespace DM
{

class ZR_DM_API CoRefCountedMT
{
public:
    CoRefCountedMT() = default;
    virtual ~CoRefCountedMT() = default;

    virtual void ref() const final
    {
        const int count = _count.load(std::memory_order_relaxed);
        if (count >= uncounted)
            return;
        if (__libc_single_threaded)
            _count.store(count + 1, std::memory_order_relaxed);
        else
            _count.fetch_add(1, std::memory_order_relaxed);
    }
    /// Gives one reference back; true when it was the last, and the caller then deletes the object.
    [[nodiscard]] virtual bool unref() const final
    {
        const int count = _count.load(std::memory_order_relaxed);
        if (count >= uncounted)
            return false;
        if (!__libc_single_threaded)
            return _count.fetch_sub(1, std::memory_order_acq_rel) == 1;
        _count.store(count - 1, std::memory_order_relaxed);
        return count == 1;
    }
    virtual int refCount() const final { return _count.load(std::memory_order_acquire); }

    /// For what lives as long as the process and is held by everybody: from now on it is not counted, since threads
    /// that count one thing wait for each other. It reads as held very often.
    void liveForever() const
    {
        if (!isUncounted())
            _count.fetch_add(2 * uncounted, std::memory_order_relaxed);
    }
    bool isUncounted() const { return _count.load(std::memory_order_relaxed) >= uncounted; }

protected:
    /// A copy is a new object: it starts uncounted, and an assignment leaves both counts alone.
    CoRefCountedMT(const CoRefCountedMT& /*other*/) {}
    CoRefCountedMT& operator=(const CoRefCountedMT& /*other*/) { return *this; }

private:
    /// More references than anybody takes. Those that are counted while the counting ends stay far from it.
    static constexpr int uncounted = 1 << 29;

    mutable std::atomic<int> _count{0};
};

} // namespace DM
