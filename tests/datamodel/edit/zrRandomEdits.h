/// A random cut, random operations on it, and what must hold after each, told by the naive model: for the tests, from a
/// seed, and for the fuzz target, from its input.
#pragma once

#include "zrDrawing.h"
#include "zrNaive.h"

#include "dmEdit.h"
#include "dmHistory.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <random>

namespace zrRandomEdits
{

/// Choices, from a seed or from bytes; 0 when these have run out.
class Source
{
public:
    explicit Source(unsigned seed)
        : _random(seed)
    {
    }
    Source(const unsigned char* data, std::size_t size)
        : _data(data)
        , _size(size)
    {
    }

    unsigned below(unsigned bound)
    {
        if (!_data)
            return static_cast<unsigned>(_random() % bound);
        return _at < _size ? _data[_at++] % bound : 0;
    }

private:
    std::mt19937 _random;
    const unsigned char* _data = nullptr;
    std::size_t _size = 0;
    std::size_t _at = 0;
};

inline std::string randomDrawing(Source& source)
{
    std::string drawing;
    const unsigned shots = 2 + source.below(6);
    for (unsigned i = 0; i < shots; ++i)
    {
        if (i > 0)
            drawing += source.below(3) == 0 ? std::string(1 + source.below(3), '/') : std::string("|");
        const bool gap = source.below(5) == 0;
        drawing += std::string(1 + source.below(7), gap ? '-' : static_cast<char>('A' + i));
    }
    return drawing;
}

/// Why the operation that led from one to the other broke something; empty when all is well.
inline std::string broken(const DmTimeline& before, const DmTimeline& after, int kind, double from, double to,
                          double shift)
{
    for (const DmTreeViolation& violation : DmTreeTool::findViolations(after.composition(), DM_VALIDATE_ALL))
        return violation.path + ": " + dmUtf8(violation.message);
    const std::string drawing = zrDrawing::draw(after);
    if (drawing.find('?') != std::string::npos)
        return "a hole or an overlap: " + drawing;
    const zrNaive::Frames was = zrNaive::framesOf(before, 0);
    const zrNaive::Frames now = zrNaive::framesOf(after, 0);
    const auto length = static_cast<double>(was.size());
    if (static_cast<double>(now.size()) != length + shift)
        return "length " + std::to_string(was.size()) + " became " + std::to_string(now.size());
    // What lies in front of the edit, and behind it, plays what it played; a transition at its edge may have become a
    // cut.
    for (std::size_t i = 0; i < was.size(); ++i)
    {
        const auto time = static_cast<double>(i);
        if (time >= from && time < to)
            continue;
        const std::size_t there = time < from ? i : static_cast<std::size_t>(time + shift);
        if (zrNaive::isTransition(was[i]) && there < now.size() && !zrNaive::isTransition(now[there]))
            continue;
        if (there >= now.size() || now[there] != was[i])
            return "operation " + std::to_string(kind) + ": frame " + std::to_string(i) + " played " + was[i] +
                   ", now " + (there < now.size() ? now[there] : "nothing") + "\n" + zrDrawing::draw(before) + "\n" +
                   drawing;
    }
    return {};
}

/// Empty when all is well.
inline std::string run(Source& source, int steps)
{
    const std::string drawing = randomDrawing(source);
    std::string materials;
    for (char name = 'A'; name < 'H'; ++name)
    {
        materials += std::string(1, name) + std::to_string(3 + source.below(4));
        if (source.below(2) == 0)
            materials += "/" + std::to_string(14 + source.below(12));
        materials += " ";
    }
    const DmTimeline start = zrDrawing::timeline(drawing, materials);
    // A cut whose transitions have no frames to play is nobody's to hold.
    DmHistory history(start);
    const CoSharedPtr<DmTreeNode> expected = DmTreeTool::deepClone(start.tree());
    for (int step = 0; step < steps; ++step)
    {
        const DmTimeline before = history.current();
        DmEditOptions options;
        options.clamp = source.below(4) == 0;
        DmEdit edit(before, options);
        edit.seedIds(static_cast<std::uint64_t>(step));
        const int count = before.elementCount({0, 0});
        const double end = count > 0 ? before.recOut({0, 0, count - 1}) : 0.0;
        const double time = source.below(static_cast<unsigned>(end) + 2);
        const double length = 1 + source.below(5);
        const DmElementPlace element{0, 0, static_cast<int>(source.below(static_cast<unsigned>(count) + 1))};
        const double in = before.recIn(element);
        const double out = before.recOut(element);
        const double by = static_cast<double>(source.below(9)) - 4.0;
        const auto fresh = zrDrawing::shot('X', 0, length, {3, 30});
        double from = 0.0;
        double to = end + 100.0;
        double shift = dmNoTime; // what the end of the layer moved by, unless the operation says
        const int other = static_cast<int>(source.below(static_cast<unsigned>(count) + 1));
        // With the transitions beside it, which play its frames.
        const auto lastOut = [&](int index) {
            return count > 0 ? before.recOut({0, 0, std::min(index, count - 1)}) : 0.0;
        };
        const double reachIn = before.recIn({0, 0, std::max(0, element.index - 1)});
        const double reachOut = lastOut(element.index + 1);
        const int kind = static_cast<int>(source.below(25));
        DmStatus status;
        switch (kind)
        {
        case 0:
            status = edit.insert({0, 0}, time, fresh);
            from = to = time;
            shift = length + std::max(0.0, time - end);
            break;
        case 1:
            status = edit.overwrite({0, 0}, time, fresh);
            from = time;
            to = time + length;
            shift = std::max(0.0, time + length - end);
            break;
        case 2:
            status = edit.lift({0, 0}, time, time + length);
            from = time;
            to = time + length;
            shift = 0.0;
            break;
        case 3:
            status = edit.extract({0, 0}, time, time + length);
            from = time;
            to = time + length;
            shift = -(std::min(end, time + length) - time);
            break;
        case 4:
            status = edit.split({0, 0}, time);
            from = to = time;
            shift = 0.0;
            break;
        case 5:
            status = edit.roll(element, by);
            from = in - 4;
            to = out + 4;
            shift = 0.0;
            break;
        case 6:
            status = edit.slip(element, by);
            from = in - before.recOut({0, 0, element.index - 1}) < 1 ? in - 4 : in;
            to = out + 4;
            shift = 0.0;
            break;
        case 7:
            status = edit.rippleTrim(element, DM_TAIL, by);
            from = out - 4;
            to = before.recOut({0, 0, element.index + 1}); // the transition goes along, with later frames
            if (!(to < dmNoTime) || before.element({0, 0, element.index + 1})->asSegment())
                to = out;
            break;
        case 8:
            status = edit.trim(element, DM_HEAD, by);
            from = in - 8;
            to = in + 8;
            shift = 0.0;
            break;
        case 9:
            status = edit.transition(element, length, static_cast<eDmSeamAlignment>(source.below(3)));
            from = in - 8;
            to = out + 8;
            shift = 0.0;
            break;
        case 10:
            status = edit.rippleTrim(element, DM_HEAD, by);
            from = reachIn;
            to = in; // and what is taken off
            break;
        case 11:
            status = edit.trim(element, DM_TAIL, by);
            from = out - 8;
            to = out + 8;
            shift = out == end ? std::max(0.0, edit.timeline().recOut({0, 0, element.index}) - end) : 0.0;
            break;
        case 12:
            status = edit.slide(element, by);
            from = before.recIn({0, 0, std::max(0, element.index - 3)});
            to = lastOut(element.index + 3);
            shift = 0.0;
            break;
        case 13:
            status = edit.join(element);
            from = to = in;
            shift = 0.0;
            break;
        case 14:
            status = edit.replace(element, fresh);
            from = reachIn;
            to = reachOut;
            shift = 0.0;
            break;
        case 15:
            status = edit.swap(element, {0, 0, other});
            from = before.recIn({0, 0, std::max(0, std::min(element.index, other) - 1)});
            to = lastOut(std::max(element.index, other) + 1);
            shift = 0.0;
            break;
        case 16:
            status = edit.move(element, {0, 0}, time);
            shift = std::max(0.0, time + out - in - end);
            from = 0.0; // two places at least
            break;
        case 17:
            status = edit.fill({0, 0}, fresh, time, time + length, 4, dmNoTime);
            from = time;
            to = time + length;
            shift = std::max(0.0, time + length - end);
            break;
        case 18:
            status = edit.speed(element, by / 2.0);
            from = reachIn;
            to = reachOut;
            shift = 0.0;
            break;
        case 19:
            status = edit.freeze(element, in + source.below(4));
            from = reachIn;
            to = reachOut;
            shift = 0.0;
            break;
        case 20:
            status = edit.reverse(element);
            from = reachIn;
            to = reachOut;
            shift = 0.0;
            break;
        case 21:
            status = edit.extractSegment(element);
            from = in;
            to = out;
            shift = in - out;
            break;
        case 22:
            status = edit.liftSegment(element);
            from = in;
            to = out;
            shift = 0.0;
            break;
        case 23:
            status = edit.dropTransitions();
            from = to = 0.0;
            shift = 0.0;
            break;
        default:
            status = edit.cut(element);
            from = in;
            to = out;
            shift = 0.0;
            break;
        }
        if (!status.ok())
        {
            if (!(edit.timeline() == before))
                return "a refused operation changed something";
            continue;
        }
        const DmTimeline after = edit.timeline();
        if (shift == dmNoTime)
            shift = edit.changes().empty() ? 0.0 : edit.changes().front().shift;
        if (kind == 10)
            to = in - std::min(0.0, shift);
        if (const std::string why = broken(before, after, kind, from, to, shift); !why.empty())
            return why;
        history.add(L"step", edit);
    }
    while (history.undo())
    {
    }
    std::string difference;
    if (!DmTreeTool::areEqual(history.current().tree().get(), expected.get(), &difference))
        return "undoing all did not lead back: " + difference;
    return {};
}

} // namespace zrRandomEdits
