#include "dmPropertyDef.h"

#include <algorithm>
#include <utility>

namespace
{

wchar_t lowered(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c;
}

} // namespace

bool DmTextTable::contains(std::wstring_view text) const
{
    return std::any_of(texts.begin(), texts.end(),
                       [&](std::wstring_view known)
                       {
                           return std::equal(known.begin(), known.end(), text.begin(), text.end(),
                                             [this](wchar_t a, wchar_t b)
                                             { return a == b || (ignoresCase && lowered(a) == lowered(b)); });
                       });
}

void DmNameIndex::clear()
{
    std::fill(_slots.begin(), _slots.end(), Entry());
    _count = 0;
}

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
