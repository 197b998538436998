/// Fields that keep their default for life in most objects: they lie in blocks that all objects of a class share, until
/// one of them is written for the first time. The object then has a block of its own. One pointer serves the blocks of
/// all of an object's classes.
///
///     struct Rare
///     {
///         static constexpr int place = FirstOwn; // where the class's properties begin
///         DmString imageLut;
///     };
///     auto rare() const { return _rares.of<Rare>(); }
///     DmRares _rares; // in the first class that has rare fields
///
///     .optional<ImageLut>(L"imageLut", rare()->imageLut, rare(), "The look-up table that is applied.")
///
///     const DmString& getImageLut() const { return rare()->imageLut; }
///     eDmErrorId setImageLut(const DmString& lut) { return set(ImageLut, lut); }
///
/// A declared field is made the object's own by the property layer, inside the object's mutex, and only by a value that
/// is another than the shared one. Reading a field while another one is written for the first time is no race; a
/// reference from a getter is good until the object's next setter.
///
/// What pays for it: the clips of real cuts set few of a source info's thirty-six properties, the same ones
/// throughout, and those stay in the object; beside its text a clip takes less than half of what it took with all
/// fields in the objects, and the one pointer saves another 24 bytes of the three that its classes had (sourceBench).
#pragma once

#include "dmBlocks.h"
#include "dmString.h"

#include <atomic>
#include <memory>
#include <new>
#include <utility>

template <class Block>
class DmRareView;

class DmRares
{
public:
    DmRares() = default;
    DmRares(const DmRares& other) { copy(other._first.load(std::memory_order_acquire)); }
    DmRares& operator=(const DmRares&) = delete;
    ~DmRares()
    {
        for (const Link* link = _first.load(std::memory_order_relaxed); link;)
            delete std::exchange(link, link->next);
    }

    /// The block of one of the object's classes.
    template <class Block>
    DmRareView<Block> of() const
    {
        return DmRareView<Block>(*this);
    }
    template <class Block>
    bool isOwn() const
    {
        return find<Block>() != nullptr;
    }
    template <class Block>
    const Block& read() const
    {
        const Own<Block>* const own = find<Block>();
        return own ? own->block : shared<Block>();
    }
    /// To be written: by one thread at a time. Throws when memory runs out, for a text of the block either.
    template <class Block>
    Block& own()
    {
        if (const Own<Block>* const own = find<Block>())
            return const_cast<Own<Block>*>(own)->block;
        auto made = whole<Own<Block>>(shared<Block>());
        made->next = _first.load(std::memory_order_relaxed);
        _first.store(made.get(), std::memory_order_release);
        return made.release()->block;
    }

private:
    /// A block of the object's own, and the one that it got before.
    struct Link
    {
        Link() = default;
        Link(const Link&) = delete;
        Link& operator=(const Link&) = delete;
        virtual ~Link() = default;
        virtual int place() const = 0;
        virtual std::unique_ptr<Link> copy() const = 0;

        static void* operator new(std::size_t size) { return dmBlocks::take(size); }
        static void operator delete(void* memory, std::size_t size) { dmBlocks::give(memory, size); }

        const Link* next = nullptr;
    };
    template <class Block>
    struct Own final : Link
    {
        explicit Own(const Block& original)
            : block(original)
        {
        }
        int place() const override { return Block::place; }
        std::unique_ptr<Link> copy() const override { return whole<Own>(block); }

        Block block;
    };

    template <class Block>
    const Own<Block>* find() const
    {
        const Link* link = _first.load(std::memory_order_acquire);
        while (link && link->place() != Block::place)
            link = link->next;
        return static_cast<const Own<Block>*>(link);
    }
    template <class Block>
    static const Block& shared()
    {
        static const Block& block = *whole<const Block>().release();
        return block;
    }
    /// A text without memory only becomes empty: a block with such a one is none.
    template <class Made, class... Original>
    static std::unique_ptr<Made> whole(const Original&... original)
    {
        const unsigned lost = DmString::lost();
        std::unique_ptr<Made> made(new Made(original...));
        if (lost != DmString::lost())
            throw std::bad_alloc();
        return made;
    }
    void copy(const Link* link)
    {
        if (!link)
            return;
        copy(link->next); // at most one a class
        std::unique_ptr<Link> made = link->copy();
        made->next = _first.load(std::memory_order_relaxed);
        _first.store(made.release(), std::memory_order_relaxed);
    }

    std::atomic<const Link*> _first{nullptr};
};

/// One block, as a class's getters and its declaration see it.
template <class Block>
class DmRareView
{
public:
    explicit DmRareView(const DmRares& rares)
        : _rares(rares)
    {
    }
    const Block* operator->() const { return &_rares.template read<Block>(); }
    const DmRares& all() const { return _rares; }

private:
    const DmRares& _rares;
};

/// What the property layer knows of a class's rare block: how to read it, and how an object gets its own.
struct DmRareBlock
{
    const void* (*read)(const void* rares);
    void* (*own)(void* rares);
    bool (*isOwn)(const void* rares);

    template <class Block>
    static const DmRareBlock* of()
    {
        static constexpr DmRareBlock functions{
            [](const void* rares) -> const void* { return &static_cast<const DmRares*>(rares)->read<Block>(); },
            [](void* rares) -> void* { return &static_cast<DmRares*>(rares)->own<Block>(); },
            [](const void* rares) { return static_cast<const DmRares*>(rares)->isOwn<Block>(); }};
        return &functions;
    }
};
