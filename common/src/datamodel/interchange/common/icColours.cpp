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

} // namespace interchange
