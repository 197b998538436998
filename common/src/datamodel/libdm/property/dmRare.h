/// Fields that keep their default for life in most objects: they lie in a block that all objects of a class share,
/// until one of them is written for the first time. The object then has a block of its own.
///
///     struct Rare
///     {
///         DmString imageLut;
///     };
///     DmRare<Rare> _rare;
///
///     .optional<ImageLut>(L"imageLut", _rare->imageLut, _rare, "The look-up table that is applied.")
///
///     const DmString& getImageLut() const { return _rare->imageLut; }
///     eDmErrorId setImageLut(const DmString& lut) { return set(ImageLut, lut); }
///
/// A declared field is made the object's own by the property layer, inside the object's mutex, and only by a value that
/// is another than the shared one. Reading a field while another one is written for the first time is no race; a
/// reference from a getter is good until the object's next setter.
///
/// What pays for it: the clips of real cuts set few of a source info's thirty-six properties, the same ones
/// throughout, and those stay in the object; beside its text a clip takes less than half of what it took with all
/// fields in the objects (sourceBench).
#pragma once

#include "dmString.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <new>

template <class Block>
class DmRare
{
public:
    DmRare()
        : _block(reinterpret_cast<std::uintptr_t>(&shared()))
    {
    }
    DmRare(const DmRare& other)
        : _block(other.isOwn() ? reinterpret_cast<std::uintptr_t>(make(*other)) | ownBit
                               : other._block.load(std::memory_order_relaxed))
    {
    }
    DmRare& operator=(const DmRare&) = delete;
    ~DmRare()
    {
        if (isOwn())
            delete &own();
    }

    const Block* operator->() const
    {
        return reinterpret_cast<const Block*>(_block.load(std::memory_order_acquire) & ~ownBit);
    }
    const Block& operator*() const { return *operator->(); }

    bool isOwn() const { return _block.load(std::memory_order_relaxed) & ownBit; }
    /// To be written: by one thread at a time. Throws when memory runs out, for a text of the block either.
    Block& own()
    {
        if (!isOwn())
            _block.store(reinterpret_cast<std::uintptr_t>(make(**this)) | ownBit, std::memory_order_release);
        return const_cast<Block&>(**this);
    }

private:
    /// Blocks are aligned, so the lowest bit of an address is free.
    static constexpr std::uintptr_t ownBit = 1;

    static const Block& shared()
    {
        static const Block& block = *make();
        return block;
    }

    /// A text without memory only becomes empty: a block with such a one is none.
    template <class... Original>
    static Block* make(const Original&... original)
    {
        const unsigned lost = DmString::lost();
        auto block = std::make_unique<Block>(original...);
        if (lost != DmString::lost())
            throw std::bad_alloc();
        return block.release();
    }

    std::atomic<std::uintptr_t> _block;
};

/// What the property layer knows of a class's rare block: where it is, and how an object gets its own.
struct DmRareBlock
{
    const void* (*read)(const void* rare);
    void* (*own)(void* rare);
    bool (*isOwn)(const void* rare);

    template <class Block>
    static const DmRareBlock* of()
    {
        static constexpr DmRareBlock functions{
            [](const void* rare) -> const void* { return &**static_cast<const DmRare<Block>*>(rare); },
            [](void* rare) -> void* { return &static_cast<DmRare<Block>*>(rare)->own(); },
            [](const void* rare) { return static_cast<const DmRare<Block>*>(rare)->isOwn(); }};
        return &functions;
    }
};
