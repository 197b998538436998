#include "vwAxis.h"

#include <algorithm>

namespace view
{
namespace
{

using Knots = std::vector<Axis::Knot>;

/// The place of a record time, between the knot `behind` and the one in front of it.
double placeAt(const Axis& axis, Knots::const_iterator behind, double record)
{
    const Knots& knots = axis.knots;
    if (behind == knots.begin())
        return behind->place + (record - behind->record) * axis.slope;
    const Axis::Knot& front = *(behind - 1);
    const double slope =
        behind == knots.end() ? axis.slope : (behind->place - front.place) / (behind->record - front.record);
    return front.place + (record - front.record) * slope;
}

Knots::const_iterator knotBehind(const Knots& knots, double place)
{
    return std::ranges::upper_bound(knots, place, {}, &Axis::Knot::place);
}

} // namespace

double Axis::placeOfIn(double record) const
{
    return knots.empty() ? record : placeAt(*this, std::ranges::upper_bound(knots, record, {}, &Knot::record), record);
}

double Axis::placeOfOut(double record) const
{
    return knots.empty() ? record : placeAt(*this, std::ranges::lower_bound(knots, record, {}, &Knot::record), record);
}

double Axis::recordAt(double place) const
{
    if (knots.empty())
        return place;
    const auto behind = knotBehind(knots, place);
    if (behind == knots.begin())
        return behind->record + (place - behind->place) / slope;
    const Knot& front = *(behind - 1);
    if (behind == knots.end())
        return front.record + (place - front.place) / slope;
    return front.record + (place - front.place) * (behind->record - front.record) / (behind->place - front.place);
}

bool Axis::isHole(double place) const
{
    const auto behind = knotBehind(knots, place);
    return behind != knots.begin() && behind != knots.end() && (behind - 1)->record == behind->record;
}

} // namespace view
