/// Colours that lists name.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace interchange
{

struct NamedColour
{
    std::string_view name;
    std::uint8_t red, green, blue;
};
/// Those of locators.
std::span<const NamedColour> namedColours();
/// Those that marks in notes have besides.
std::span<const NamedColour> markColours();

} // namespace interchange
