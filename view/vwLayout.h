/// From record time to pixels: the boxes of a row, and the ruler's ticks, for a stretch of time at a width. The page
/// lays out by the same rules, and the tests hold the two against each other.
#pragma once

#include "vwScene.h"

namespace view
{

/// A stretch of record time, or of places, over a width of pixels.
struct Window
{
    double in;
    double out;
    double width;

    double scale() const { return width / (out - in); }
    double x(double time) const { return (time - in) * scale(); }
};

struct Box
{
    double left;
    double right;
    std::uint32_t first; ///< segment
    std::uint32_t count; ///< 1, or how many too small ones it stands for
};

/// What of a row is seen, from left to right. A segment that is at least `sizes.smallBox` wide, or a gap, or one that
/// touches no other small one, has a box of its own, at least a pixel wide.
ZR_DM_API std::vector<Box> boxesOf(const Composition& composition, const Row& row, const Window& window);

struct Tick
{
    double time;
    bool hasLabel;
};
/// Ticks at whole labels: frames, seconds, minutes or hours, as far apart as `sizes.tickApart` asks for.
ZR_DM_API std::vector<Tick> ticksOf(const Mode& mode, double labelStart, const Window& window);

/// The ruler of a composition, at places: of two versions it is the new one's.
ZR_DM_API std::vector<Tick> ticksOf(const Scene& scene, const Composition& composition, const Window& window);

/// The label of a label time in the mode.
ZR_DM_API std::string labelOf(const Mode& mode, double labelTime);

} // namespace view
