/// The name of a class as its source spells it, without what it is nested in: `dmClassName<DmSourceNode::MediaInput>`
/// is L"MediaInput". A class's name in the factory and in documents is this, so nothing spells it a second time.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace dmClassNameDetail
{

/// "... [with T = DmSourceNode::MediaInput]", as both compilers say it.
template <class T>
constexpr std::string_view spelled()
{
    constexpr std::string_view function = __PRETTY_FUNCTION__;
    constexpr std::string_view before = "T = ";
    const std::size_t begin = function.find(before) + before.size();
    std::string_view name = function.substr(begin, function.find_first_of(";]", begin) - begin);
    return name.substr(name.rfind(':') + 1);
}

template <class T>
inline constexpr auto wide = []
{
    std::array<wchar_t, spelled<T>().size() + 1> text{};
    for (std::size_t i = 0; i + 1 < text.size(); ++i)
        text[i] = static_cast<wchar_t>(spelled<T>()[i]);
    return text;
}();

} // namespace dmClassNameDetail

template <class T>
inline constexpr const wchar_t* dmClassName = dmClassNameDetail::wide<T>.data();
