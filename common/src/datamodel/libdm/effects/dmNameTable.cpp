#include "dmNameTable.h"

#include <new>

namespace
{

/// What a table answers while there is no memory to make it: the empty name, as often as the longest has names.
constexpr int mostNames = 512;
const DmString* withoutMemory()
{
    static const DmString none[mostNames];
    DmString::countLost();
    return none;
}

} // namespace

const DmString* DmNameTable::make() const
{
    const unsigned lost = DmString::lost();
    auto* const names = new (std::nothrow) DmString[static_cast<std::size_t>(_size) + 1];
    if (!names && _size < mostNames)
        return withoutMemory();
    if (!names)
        throw std::bad_alloc();
    std::wstring_view rest(_list);
    for (int i = 0; i < _size; ++i)
    {
        const std::wstring_view field = rest.substr(0, rest.find(L','));
        rest.remove_prefix(i + 1 < _size ? field.size() + 1 : field.size());
        const std::size_t first = field.find_first_not_of(L' ');
        if (first != field.npos)
            names[i] = DmString(field.substr(first, field.find_last_not_of(L' ') - first + 1));
    }
    if (DmString::lost() != lost)
    {
        delete[] names;
        return withoutMemory();
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
