/// Where record times are drawn, when that is not simply in step: two versions of a cut are laid so that what they have
/// in common stands one over the other, and long stretches of it are folded.
#pragma once

#include "zrExport.h"

#include <vector>

namespace view
{

/// Monotone, in straight pieces. Without knots, a place is a record time.
struct ZR_DM_API Axis
{
    struct Knot
    {
        double record;
        double place;
    };
    double slope = 1.0;      ///< beyond the knots
    std::vector<Knot> knots; ///< ascending in both; between two of one record time lies a hole that plays nothing

    /// Of what begins at a record time: behind a hole.
    double placeOfIn(double record) const;
    /// Of what ends there: in front of it.
    double placeOfOut(double record) const;
    double recordAt(double place) const;
    bool isHole(double place) const;
};

} // namespace view
