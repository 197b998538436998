/// Looks between cut lists and the model.
#pragma once

#include "dmColourEffects.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

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

    bool isFinite() const;
    friend bool operator==(const Look&, const Look&) = default;
};

/// Its comment says which of the two a list had, where it had only one.
CoSharedPtr<DmLookSettings> toLookSettings(const Look& look);
/// Both, unless the comment says otherwise and the other one is as every fresh one.
Look toLook(const DmLookSettings& settings);

// Text

/// The numbers of a text in which nothing but blanks, commas and brackets stands between them; none of any other.
std::vector<double> numbersOf(std::string_view text);
/// The shortest that reads back to the value.
std::string numberText(double value);
/// "(1.1 1 1)(0 0 0)(1 1 1)": slope, offset and power.
std::string sopText(const Look& look);
/// The same, or with the saturation behind it, which is set then too. False, and nothing, of any other text.
bool readSop(std::string_view text, Look& look);

} // namespace interchange
