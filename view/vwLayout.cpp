#include "vwLayout.h"

#include "vwLook.h"

#include "tuTimeUnit.h"

#include <algorithm>
#include <cmath>

namespace view
{
namespace
{

/// How far apart labels may be, in frames: frames, then seconds, minutes, hours of the label's own count.
double tickStep(const Mode& mode, double least)
{
    const double fps = mode.fps > 0 ? mode.fps : 25.0;
    for (const double frames : {1.0, 2.0, 5.0, 10.0})
        if (frames >= least && frames < fps)
            return frames;
    for (const double seconds : {1.0, 2.0, 5.0, 10.0, 15.0, 30.0, 60.0, 120.0, 300.0, 600.0, 900.0, 1800.0})
        if (seconds * fps >= least)
            return seconds * fps;
    double hours = 1.0;
    while (hours * 3600.0 * fps < least)
        hours *= 2.0;
    return hours * 3600.0 * fps;
}

/// The frame of a label that is given as if none were dropped; the next label for one that is.
double frameOf(const Mode& mode, double label)
{
    if (mode.drop == 0)
        return label;
    if (label < 0.0)
        return -frameOf(mode, -label);
    const double perMinute = 60.0 * mode.fps;
    const double minutes = std::floor(label / perMinute);
    const bool isDropped = label - minutes * perMinute < mode.drop && std::fmod(minutes, 10.0) != 0.0;
    const double there = isDropped ? minutes * perMinute + mode.drop : label;
    return there - mode.drop * (minutes - std::floor(minutes / 10.0));
}

} // namespace

std::vector<Box> boxesOf(const Composition& composition, const Row& row, const Window& window)
{
    std::vector<Box> boxes;
    const Segments& segments = composition.segments;
    const Axis& axis = composition.axisOf(row);
    bool grows = false; // the last box stands for small segments and may take more
    for (std::uint32_t i = row.first; i < row.last; ++i)
    {
        const double in = axis.placeOfIn(segments.in[i]);
        const double out = std::max(axis.placeOfOut(segments.out(i)), in);
        if (in >= window.out)
            break;
        if (out < window.in)
            continue;
        const double left = window.x(in);
        const double right = window.x(out);
        const bool small = right - left < sizes.smallBox && segments.kind[i] != Kind::Gap;
        if (small && grows && left - boxes.back().right < 1.0)
        {
            boxes.back().right = std::max(boxes.back().right, std::max(right, left + 1.0));
            ++boxes.back().count;
            continue;
        }
        boxes.push_back({left, std::max(right, left + 1.0), i, 1});
        grows = small;
    }
    return boxes;
}

std::vector<Tick> ticksOf(const Mode& mode, double labelStart, const Window& window)
{
    std::vector<Tick> ticks;
    const double step = tickStep(mode, sizes.tickApart / window.scale());
    const double parts = step < 5.0 ? step : 5.0;
    const double fine = step / parts;
    for (double at = std::ceil((window.in + labelStart) / fine);; at += 1.0)
    {
        const double time = frameOf(mode, at * fine) - labelStart;
        if (time > window.out)
            return ticks;
        if (time >= window.in)
            ticks.push_back({time, std::fmod(at, parts) == 0.0});
    }
}

std::vector<Tick> ticksOf(const Scene& scene, const Composition& composition, const Window& window)
{
    const Mode& mode = scene.modes[composition.mode];
    if (!composition.versions)
        return ticksOf(mode, composition.labelStart, window);
    // Each straight piece of the axis has labels of its own; holes and folds have none.
    const Axis& axis = composition.axisOf(composition.version);
    std::vector<double> bends = {window.in, window.out};
    for (const Axis::Knot& knot : axis.knots)
        if (knot.place > window.in && knot.place < window.out)
            bends.push_back(knot.place);
    std::ranges::sort(bends);
    const auto isFolded = [&](double place)
    {
        return std::ranges::any_of(composition.versions->folds,
                                   [&](const Fold& fold) { return place > fold.in && place < fold.out; });
    };
    std::vector<Tick> ticks;
    double lastLabel = window.in - sizes.tickApart / window.scale();
    for (std::size_t i = 0; i + 1 < bends.size(); ++i)
    {
        const double middle = (bends[i] + bends[i + 1]) / 2.0;
        const double width = (bends[i + 1] - bends[i]) * window.scale();
        if (width < 1.0 || axis.isHole(middle) || isFolded(middle))
            continue;
        const double in = axis.recordAt(bends[i]);
        const double out = in + (axis.recordAt(middle) - in) * 2.0;
        for (Tick tick : ticksOf(mode, composition.labelStart, {in, out, width}))
        {
            tick.time = bends[i] + (tick.time - in) * (bends[i + 1] - bends[i]) / (out - in);
            tick.hasLabel = tick.hasLabel && tick.time - lastLabel >= 0.8 * sizes.tickApart / window.scale();
            if (tick.hasLabel)
                lastLabel = tick.time;
            ticks.push_back(tick);
        }
    }
    return ticks;
}

std::string labelOf(const Mode& mode, double labelTime)
{
    const DM::TimeUnit time(labelTime);
    if (mode.fps == 0)
        return std::to_string(time.getFrameCount());
    char text[DM::TimeUnit::labelSize];
    const int length = time.toTimeCode(text, sizeof text, mode.fcm);
    return {text, static_cast<std::size_t>(length)};
}

} // namespace view
