/// Counts the allocations of a benchmark program and of the library under it. Replaces the global operator new: include
/// it from one source file of a program.
///
///     zrAllocations::print("parse a label", 0, [] { parseAll(); });
///     // parse a label: allocations 0 (limit 0)
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace zrAllocations
{

inline std::atomic<long> total{0};

/// How often `work` allocates.
template <class Work>
long of(const Work& work)
{
    const long before = total;
    work();
    return total - before;
}

template <class Work>
void print(const char* name, long limit, const Work& work)
{
    std::printf("%s: allocations %ld (limit %ld)\n", name, of(work), limit);
}

} // namespace zrAllocations

// Not inlined: where g++ sees free() beside the library's own new (std::nothrow), it takes the two for a mismatch.

[[gnu::noinline]] void* operator new(std::size_t size)
{
    ++zrAllocations::total;
    if (void* const memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
