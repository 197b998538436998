/// Colours that lists name: those of locators.
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
std::span<const NamedColour> namedColours();

} // namespace interchange
