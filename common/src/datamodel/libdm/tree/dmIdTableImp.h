/// Segments by "segmentId", for those who meet a million of them: open addressing over the segments themselves, so that
/// entering one copies no text and, most of the time, allocates nothing.
///
/// A segment is kept alive by its place here. One whose id was changed since it was entered is not found.
#pragma once

#include "dmSegmentNode.h"

#include <bit>
#include <vector>

class DmIdTable
{
public:
    void clear()
    {
        _slots.clear();
        _count = 0;
    }

    /// Makes room for so many more.
    void reserve(std::size_t count)
    {
        const std::size_t slots = std::bit_ceil(2 * (_count + count));
        if (slots > _slots.size())
            growTo(slots);
    }

    /// The segment that has this one's id already; null when there was none, and this one is entered.
    DmSegmentNode* add(DmSegmentNode* segment)
    {
        reserve(1);
        const std::wstring_view id = segment->getSegmentId().view();
        const std::size_t hash = std::hash<std::wstring_view>()(id);
        Slot& slot = _slots[placeOf(id, hash)];
        if (slot.segment)
            return slot.segment.get();
        slot.hash = hash;
        slot.segment.reset(segment);
        ++_count;
        return nullptr;
    }

    /// Null when there is none.
    DmSegmentNode* find(std::wstring_view id) const
    {
        return _slots.empty() ? nullptr : _slots[placeOf(id, std::hash<std::wstring_view>()(id))].segment.get();
    }

private:
    struct Slot
    {
        std::size_t hash = 0;
        CoSharedPtr<DmSegmentNode> segment;
    };

    /// The slot of the id, or the free one where it belongs: at least half of the slots are free.
    std::size_t placeOf(std::wstring_view id, std::size_t hash) const
    {
        std::size_t place = hash & (_slots.size() - 1);
        while (_slots[place].segment &&
               (_slots[place].hash != hash || _slots[place].segment->getSegmentId().view() != id))
            place = (place + 1) & (_slots.size() - 1);
        return place;
    }

    void growTo(std::size_t slots)
    {
        std::vector<Slot> before(slots);
        before.swap(_slots);
        for (Slot& slot : before)
        {
            if (!slot.segment)
                continue;
            std::size_t place = slot.hash & (_slots.size() - 1);
            while (_slots[place].segment)
                place = (place + 1) & (_slots.size() - 1);
            _slots[place] = std::move(slot);
        }
    }

    std::vector<Slot> _slots; ///< a power of two
    std::size_t _count = 0;
};
