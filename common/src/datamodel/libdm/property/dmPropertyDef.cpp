#include "dmPropertyDef.h"

#include <utility>

void DmNameIndex::add(std::wstring_view name, int index)
{
    if ((_count + 1) * 2 > _slots.size())
    {
        const std::vector<Entry> before = std::exchange(_slots, std::vector<Entry>(_slots.size() * 2));
        _mask = _slots.size() - 1;
        _count = 0;
        for (const Entry& entry : before)
            if (entry.index >= 0)
                add(entry.name, entry.index);
    }
    std::size_t slot = hash(name);
    while (_slots[slot & _mask].index >= 0)
        ++slot;
    _slots[slot & _mask] = {name, index};
    ++_count;
}
