/// Looks between cut lists and the model.
#pragma once

#include "dmColourEffects.h"

#include <array>

namespace interchange
{

/// A primary colour correction: ASC_SOP (red, green, blue each) and ASC_SAT comments, or one of them.
struct Look
{
    std::array<double, 3> slope{1, 1, 1};
    std::array<double, 3> offset{0, 0, 0};
    std::array<double, 3> power{1, 1, 1};
    double saturation = 1;
    bool hasSop = false;
    bool hasSaturation = false;

    friend bool operator==(const Look&, const Look&) = default;
};

/// Its comment says which of the two a list had, where it had only one.
CoSharedPtr<DmLookSettings> toLookSettings(const Look& look);
/// Both, unless the comment says otherwise and the other one is as every fresh one.
Look toLook(const DmLookSettings& settings);

} // namespace interchange
