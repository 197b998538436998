#include "dmBlocks.h"

#include "dmLargePagesImp.h"

#include "CoLockWord.h"
#include "envVar.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <pthread.h>
#include <sys/single_threaded.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZR_EACH_ALONE
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define ZR_EACH_ALONE
#endif
#endif

#ifdef ZR_EACH_ALONE

void* dmBlocks::take(std::size_t size)
{
    return ::operator new(size);
}

void dmBlocks::give(void* memory, std::size_t /*size*/) noexcept
{
    ::operator delete(memory);
}

#else

namespace
{

constexpr std::size_t grain = 8;
constexpr std::size_t largest = 512;
constexpr std::size_t blockSize = 8192;
/// What the C library's allocator keeps in front of each request: blocks then lie side by side. Asked for by itself,
/// because the aligned operator new asks for a multiple of the alignment, which leaves a hole as large as a block in
/// front of each (14 % of the memory of ten thousand graded segments).
constexpr std::size_t usable = blockSize - 16;
/// For how many blocks a heap that grows asks for large pages: for as many as it has, but at least and at most so many;
/// and again when it has grown by them and beyond what it asked for. At the end of that the allocator writes down what
/// is left, and so spoils one large page each time: two of five with the least alone, one of sixteen with the most.
/// Asking for 512 each time, whether what was asked for was used up or not, left three times the faults of small pages
/// and a copy of 100 000 plain clips took a sixth longer. The allocator maps more than the most apart from all else.
constexpr std::size_t leastAhead = 256;
constexpr std::size_t mostAhead = 960;
/// For how many bytes a block: of a tree, less than half are objects in blocks, the rest are texts and lists, which
/// come from the same allocator.
constexpr std::size_t bytesAhead = 4 * blockSize;

/// A place that no object has.
struct Place
{
    Place* next;
};

ZR_ENV_VAR(bool, eachObjectAlone, "ZR_EACH_OBJECT_ALONE", false);

bool areAlone()
{
    static const bool alone = eachObjectAlone().getValue();
    return alone;
}

struct Heap;

/// The head of a block; the places follow. In its heap's list while it has room.
struct Block
{
    Heap* heap;
    Block* before;
    Block* behind;
    Place* given;        ///< places that were given back
    std::uint32_t fresh; ///< where those begin that were never taken
    std::uint32_t taken; ///< objects
    std::uint32_t size;  ///< of a place

    bool hasRoom() const { return given || fresh + size <= usable; }
};

/// The blocks that some of the threads take from. Who gives a place back does so to the heap that it is from.
struct Heap
{
    DM::CoLockWord lock;
    std::array<Block*, largest / grain> withRoom{}; ///< by size
    std::size_t blocks = 0;
    std::size_t asked = leastAhead; ///< up to how many blocks large pages have been asked for
    dmLargePages::Range large;      ///< where they were asked for last
};

/// Threads that make trees side by side seldom wait for each other.
constinit std::array<Heap, 16> heaps{};
constinit std::atomic<unsigned> threads{0};
[[gnu::tls_model("initial-exec")]] constinit thread_local Heap* ownHeap = nullptr;

/// Locks nothing while there is one thread, which took a fiftieth of the instructions of an import.
class HeapGuard
{
public:
    explicit HeapGuard(Heap& heap)
        : _lock(__libc_single_threaded ? nullptr : &heap.lock)
    {
        if (_lock)
            static_cast<void>(_lock->lock());
    }
    ~HeapGuard()
    {
        if (_lock)
            _lock->unlock();
    }
    HeapGuard(const HeapGuard&) = delete;
    HeapGuard& operator=(const HeapGuard&) = delete;

private:
    DM::CoLockWord* const _lock;
};

/// A forked process has only one of the threads: none of the others may hold a heap then.
void lockAll()
{
    for (Heap& heap : heaps)
        static_cast<void>(heap.lock.lock());
}

void unlockAll()
{
    for (Heap& heap : heaps)
        heap.lock.unlock();
}

[[gnu::noinline]] Heap& chooseHeap()
{
    static const int isReady = pthread_atfork(lockAll, unlockAll, unlockAll);
    static_cast<void>(isReady); // without memory for it, forks while other threads make objects are not safe
    ownHeap = &heaps[threads.fetch_add(1, std::memory_order_relaxed) % heaps.size()];
    return *ownHeap;
}

Block& blockOf(void* place)
{
    return *reinterpret_cast<Block*>(reinterpret_cast<std::uintptr_t>(place) & ~(blockSize - 1));
}

std::size_t indexOf(std::size_t size)
{
    return (size - 1) / grain;
}

void insert(Block& block)
{
    Block*& first = block.heap->withRoom[indexOf(block.size)];
    block.before = nullptr;
    block.behind = first;
    if (first)
        first->before = &block;
    first = &block;
}

void remove(Block& block)
{
    (block.before ? block.before->behind : block.heap->withRoom[indexOf(block.size)]) = block.behind;
    if (block.behind)
        block.behind->before = block.before;
}

void askForLargePages(Heap& heap)
{
    // The first request of a size is mapped apart from all else; when it is given back, the allocator learns that such
    // ones come again, and serves them from where it serves small ones.
    static constinit std::atomic<std::size_t> learnt{0};
    const std::size_t ahead = std::clamp(heap.blocks, leastAhead, mostAhead);
    if (learnt.load(std::memory_order_relaxed) < ahead)
    {
        dmLargePages::askForNext(ahead * bytesAhead);
        learnt.store(ahead, std::memory_order_relaxed);
    }
    heap.large = dmLargePages::askForNext(ahead * bytesAhead);
    heap.asked = heap.blocks + ahead;
}

[[gnu::noinline]] Block& newBlock(Heap& heap, std::size_t index)
{
    constexpr std::uint32_t first = (sizeof(Block) + grain - 1) / grain * grain;
    void* memory = nullptr;
    if (posix_memalign(&memory, blockSize, usable) != 0)
        throw std::bad_alloc();
    const auto size = static_cast<std::uint32_t>((index + 1) * grain);
    Block* const block = new (memory) Block{&heap, nullptr, nullptr, nullptr, first, 0, size};
    insert(*block);
    if (++heap.blocks > heap.asked && !heap.large.holds(block))
        askForLargePages(heap);
    return *block;
}

void release(Block& block)
{
    Heap& heap = *block.heap;
    if (--heap.blocks + leastAhead < heap.asked)
    {
        heap.asked = heap.blocks + leastAhead;
        heap.large = {}; // what is given back to the system comes again in small pages
    }
    std::free(&block);
}

} // namespace

void* dmBlocks::take(std::size_t size)
{
    if (size > largest || size == 0 || areAlone())
        return ::operator new(size);
    Heap& heap = ownHeap ? *ownHeap : chooseHeap();
    const std::size_t index = indexOf(size);
    const HeapGuard guard(heap);
    Block& block = heap.withRoom[index] ? *heap.withRoom[index] : newBlock(heap, index);
    void* place = block.given;
    if (block.given)
        block.given = block.given->next;
    else
    {
        place = reinterpret_cast<char*>(&block) + block.fresh;
        block.fresh += block.size;
    }
    ++block.taken;
    if (!block.hasRoom())
        remove(block);
    return place;
}

void dmBlocks::give(void* memory, std::size_t size) noexcept
{
    if (size > largest || size == 0 || !memory || areAlone())
        return ::operator delete(memory);
    Block& block = blockOf(memory);
    const HeapGuard guard(*block.heap);
    const bool hadRoom = block.hasRoom();
    block.given = new (memory) Place{block.given};
    if (--block.taken == 0)
    {
        if (hadRoom)
            remove(block);
        release(block);
    }
    else if (!hadRoom)
        insert(block);
}

#endif
