#include "icColours.h"

#include <array>

namespace interchange
{

std::span<const NamedColour> namedColours()
{
    static constexpr std::array<NamedColour, 16> colours{{{"RED", 255, 0, 0},
                                                          {"GREEN", 0, 255, 0},
                                                          {"BLUE", 0, 0, 255},
                                                          {"CYAN", 0, 255, 255},
                                                          {"MAGENTA", 255, 0, 255},
                                                          {"YELLOW", 255, 255, 0},
                                                          {"BLACK", 0, 0, 0},
                                                          {"WHITE", 255, 255, 255},
                                                          {"PINK", 255, 192, 203},
                                                          {"FOREST", 34, 139, 34},
                                                          {"DENIM", 21, 96, 189},
                                                          {"VIOLET", 238, 130, 238},
                                                          {"PURPLE", 128, 0, 128},
                                                          {"ORANGE", 255, 165, 0},
                                                          {"GREY", 128, 128, 128},
                                                          {"GOLD", 255, 215, 0}}};
    return colours;
}

std::span<const NamedColour> markColours()
{
    static constexpr std::array<NamedColour, 9> colours{{{"FUCHSIA", 255, 0, 255},
                                                         {"ROSE", 255, 0, 127},
                                                         {"LAVENDER", 230, 230, 250},
                                                         {"SKY", 135, 206, 235},
                                                         {"MINT", 62, 180, 137},
                                                         {"LEMON", 255, 247, 0},
                                                         {"SAND", 194, 178, 128},
                                                         {"COCOA", 210, 105, 30},
                                                         {"CREAM", 255, 253, 208}}};
    return colours;
}

} // namespace interchange
