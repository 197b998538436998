/// The texts of a scene: each different one once.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

namespace view
{

using TextId = std::uint32_t; ///< 0 is the empty text

class Texts
{
public:
    Texts() { add({}); }
    Texts(Texts&&) = default;
    Texts& operator=(Texts&&) = default;

    TextId add(std::string_view text)
    {
        if (const auto known = _ids.find(text); known != _ids.end())
            return known->second;
        const auto id = static_cast<TextId>(_texts.size());
        _ids.emplace(_texts.emplace_back(text), id);
        return id;
    }
    const std::string& operator[](TextId id) const { return _texts[id]; }
    std::size_t size() const { return _texts.size(); }

private:
    std::deque<std::string> _texts; ///< stay where they are: the views below look at them
    std::unordered_map<std::string_view, TextId> _ids;
};

} // namespace view
