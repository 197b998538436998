#include "dmNodeId.h"

#include "CoInteger.h"

#include <string>

namespace
{

constexpr std::uint64_t largestPacked = ~std::uint64_t{0} >> 1;

/// The decimal number that a text begins with; 0 when it begins with none, the largest when it is too large.
std::uint64_t numberAt(std::wstring_view text)
{
    std::size_t length = 0;
    const bool hasSign = text.starts_with(L'-') || text.starts_with(L'+');
    return hasSign ? 0 : DM::CoInteger::read<std::uint64_t>(text, length);
}

} // namespace

DmNodeId::DmNodeId(const DmString& text)
{
    setText(text);
}

DmNodeId::DmNodeId(std::uint64_t number)
{
    if (number <= largestPacked)
        _rep = static_cast<std::uintptr_t>(number << 1 | 1);
    else
        setText(DmString(std::to_wstring(number)));
}

DmNodeId::DmNodeId(const DmNodeId& parent, int index, std::uint64_t number)
    : DmNodeId(parent)
{
    static_cast<void>(push_back(index, number)); // always succeeds
}

DmNodeId::DmNodeId(const DmNodeId& other)
    : _rep(other._rep)
{
    if (_rep != 0 && (_rep & 1) == 0)
        _rep = reinterpret_cast<std::uintptr_t>(new DmString(*reinterpret_cast<DmString*>(_rep)));
}

DmNodeId::~DmNodeId()
{
    if ((_rep & 1) == 0)
        delete reinterpret_cast<DmString*>(_rep);
}

void DmNodeId::setText(const DmString& text)
{
    DmNodeId fresh;
    if (!text.empty())
        fresh._rep = reinterpret_cast<std::uintptr_t>(new DmString(text));
    std::swap(_rep, fresh._rep);
}

eDmErrorId DmNodeId::push_back(int index, std::uint64_t number)
{
    std::wstring text(dump().view());
    text += L'.';
    text += std::to_wstring(index);
    text += L'/';
    text += std::to_wstring(number);
    setText(DmString(text));
    return DM_NO_ERROR;
}

eDmErrorId DmNodeId::back(std::uint64_t& number) const
{
    if (isEmpty())
        return DM_EMPTY_ID;
    if (_rep & 1)
    {
        number = _rep >> 1;
        return DM_NO_ERROR;
    }
    std::wstring_view text = reinterpret_cast<const DmString*>(_rep)->view();
    if (const std::size_t slash = text.rfind(L'/'); slash != text.npos)
        text.remove_prefix(slash + 1);
    number = numberAt(text);
    return DM_NO_ERROR;
}

eDmErrorId DmNodeId::pop_front(std::uint64_t& number, int& index)
{
    if (isEmpty())
        return DM_EMPTY_ID;
    const DmString text = dump();
    const std::wstring_view all = text.view();
    const std::size_t slash = all.find(L'/');
    const std::wstring_view first = all.substr(0, slash);
    number = numberAt(first);
    index = self;
    std::size_t length = 0;
    if (const std::size_t dot = first.find(L'.'); dot != first.npos)
        index = DM::CoInteger::read<int>(first.substr(dot + 1), length);
    setText(slash == all.npos ? DmString() : DmString(all.substr(slash + 1)));
    return DM_NO_ERROR;
}

bool DmNodeId::operator==(const DmNodeId& other) const
{
    return _rep == other._rep || dump() == other.dump();
}

DmString DmNodeId::dump() const
{
    if (_rep == 0)
        return {};
    if (_rep & 1)
        return DmString(std::to_wstring(static_cast<std::uint64_t>(_rep >> 1)));
    return *reinterpret_cast<const DmString*>(_rep);
}
