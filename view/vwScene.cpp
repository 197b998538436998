#include "vwScene.h"

#include <algorithm>

namespace view
{

const Axis& Composition::axisOf(Version of) const
{
    static const Axis inStep;
    if (!versions)
        return inStep;
    return versions->axes[of == Version::Old ? 0 : 1];
}

std::uint32_t rowOf(const Composition& composition, std::uint32_t segment)
{
    const auto row = std::ranges::upper_bound(composition.rows, segment, {}, &Row::last);
    return static_cast<std::uint32_t>(row - composition.rows.begin());
}

const Piece* firstPiece(const Composition& composition, std::uint32_t segment)
{
    const auto found = std::ranges::lower_bound(composition.pieces, segment, {}, &Piece::segment);
    return found != composition.pieces.end() && found->segment == segment ? &*found : nullptr;
}

} // namespace view
