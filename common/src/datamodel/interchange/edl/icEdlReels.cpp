#include "icEdlReels.h"

#include "CoUtf8.h"
#include "icText.h"

#include <algorithm>

namespace interchange
{

bool EdlReels::isPlain(std::string_view name)
{
    constexpr std::size_t longest = 8; // of CMX 3600
    return name.size() <= longest && std::ranges::none_of(name, isBlank);
}

void EdlReels::know(const std::string& name, const std::string& ofList)
{
    if (_names.emplace(name, ofList).second)
        _taken.insert(ofList);
}

std::string EdlReels::shortened(const std::string& name) const
{
    std::string made = name;
    std::ranges::replace_if(made, isBlank, '_');
    if (made.size() > _length)
        made.resize(DM::CoUtf8::cut(made.data(), _length));
    // Of two that would be the same, the later one ends in a number.
    for (std::size_t i = 1; _taken.contains(made); ++i)
    {
        const std::string digits = std::to_string(i);
        const std::size_t room = _length > digits.size() ? _length - digits.size() : 0;
        made.resize(made.size() > room ? DM::CoUtf8::cut(made.data(), room) : made.size());
        made += digits;
    }
    return made;
}

const std::string& EdlReels::ofList(const std::string& name)
{
    const auto known = _names.find(name);
    if (known != _names.end())
        return known->second;
    const std::string& made = _names.emplace(name, shortened(name)).first->second;
    _taken.insert(made);
    return made;
}

} // namespace interchange
