/// Segments by "segmentId", for those who meet a million of them: open addressing over small slots, so that entering a
/// segment copies no text and touches little memory at random. One whose id was changed since it was entered is not
/// found.
///
/// `Kept` is how a segment stands here: by a CoSharedPtr, which keeps it alive; or, for who looks at a tree while
/// nobody changes it, by a plain pointer. (Counting each segment up and down is writing to all of a tree: validation of
/// a million elements took a tenth longer.)
#pragma once

#include "dmSegmentNode.h"

#include <bit>
#include <cstdint>
#include <vector>

template <class Kept>
class DmIdTable
{
public:
    void clear()
    {
        _slots.clear();
        _segments.clear();
    }

    /// Makes room for so many more.
    void reserve(std::size_t count)
    {
        const std::size_t slots = std::bit_ceil(2 * (_segments.size() + count));
        if (slots <= _slots.size())
            return;
        growTo(slots);
        _segments.reserve(slots / 2);
    }

    /// The segment that has this one's id already; null when there was none, and this one is entered.
    DmSegmentNode* add(DmSegmentNode* segment)
    {
        reserve(1);
        const std::wstring_view id = segment->getSegmentId().view();
        const std::uint32_t hash = hashOf(id);
        Slot& slot = _slots[placeOf(id, hash)];
        if (slot.number > 0)
            return at(slot);
        _segments.emplace_back(segment);
        slot = {hash, static_cast<std::uint32_t>(_segments.size())};
        return nullptr;
    }

    /// Null when there is none.
    DmSegmentNode* find(std::wstring_view id) const
    {
        if (_slots.empty())
            return nullptr;
        const Slot& slot = _slots[placeOf(id, hashOf(id))];
        return slot.number > 0 ? at(slot) : nullptr;
    }

    /// Has the memory fetched in which a segment of that id is looked for.
    void fetch(std::wstring_view id) const
    {
        if (!_slots.empty())
            __builtin_prefetch(&_slots[hashOf(id) & (_slots.size() - 1)]);
    }

private:
    struct Slot
    {
        std::uint32_t hash;
        std::uint32_t number; ///< of the segment, counted from 1; 0: the slot is free
    };

    static std::uint32_t hashOf(std::wstring_view id)
    {
        return static_cast<std::uint32_t>(std::hash<std::wstring_view>()(id));
    }
    DmSegmentNode* at(const Slot& slot) const { return &*_segments[slot.number - 1]; }

    /// The slot of the id, or the free one where it belongs: at least half of the slots are free.
    std::size_t placeOf(std::wstring_view id, std::uint32_t hash) const
    {
        const std::size_t mask = _slots.size() - 1;
        std::size_t place = hash & mask;
        while (_slots[place].number > 0 &&
               (_slots[place].hash != hash || at(_slots[place])->getSegmentId().view() != id))
            place = (place + 1) & mask;
        return place;
    }

    void growTo(std::size_t slots)
    {
        std::vector<Slot> before(slots);
        before.swap(_slots);
        for (const Slot& slot : before)
        {
            if (slot.number == 0)
                continue;
            std::size_t place = slot.hash & (slots - 1);
            while (_slots[place].number > 0)
                place = (place + 1) & (slots - 1);
            _slots[place] = slot;
        }
    }

    std::vector<Slot> _slots; ///< a power of two
    std::vector<Kept> _segments;
};
