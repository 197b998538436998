#include "dmNameTable.h"

const DmString* DmNameTable::make() const
{
    auto* const names = new DmString[static_cast<std::size_t>(_size) + 1];
    std::wstring_view rest(_list);
    for (int i = 0; i < _size; ++i)
    {
        const std::wstring_view field = rest.substr(0, rest.find(L','));
        rest.remove_prefix(i + 1 < _size ? field.size() + 1 : field.size());
        const std::size_t first = field.find_first_not_of(L' ');
        if (first != field.npos)
            names[i] = DmString(field.substr(first, field.find_last_not_of(L' ') - first + 1));
    }
    const DmString* made = nullptr;
    if (_names.compare_exchange_strong(made, names, std::memory_order_acq_rel))
        return names;
    delete[] names; // another thread was first
    return made;
}

int DmNameTable::find(const DmString& name, int otherwise) const
{
    for (int i = 0; i < _size; ++i)
        if ((*this)[i] == name)
            return i;
    return otherwise;
}
