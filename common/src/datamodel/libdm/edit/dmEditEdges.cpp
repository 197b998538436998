// Edges of segments: trims, rolls, slips and slides.
#include "dmEditImp.h"

#include <algorithm>
#include <cmath>

namespace
{

/// How far a segment can give frames away and be left with one.
double spare(const DmLane& lane, int index)
{
    return lane.length(index) - (lane.isGap(index) ? 0.0 : 1.0);
}

double edgeTime(const DmLane& lane, int index, eDmEdge edge)
{
    return edge == DM_TAIL ? lane.out(index) : lane.in(index);
}

} // namespace

DmStatus DmEdit::trim(const DmElementPlace& segment, eDmEdge edge, const DmEditAmount& wanted)
{
    return _imp->run(
        [&]
        {
            const std::vector<DmElementPlace> all = _imp->together(segment);
            const double by = _imp->frames(wanted, edgeTime(_imp->lane(segment), segment.index, edge));
            double amount = std::abs(by);
            const bool grows = (edge == DM_TAIL) == (by > 0.0);
            const bool tail = edge == DM_TAIL;
            for (const DmElementPlace& each : all)
            {
                DmLane lane = _imp->lane(each);
                lane.needWhole(each.index);
                const int neighbour = each.index + (tail ? 2 : -2);
                if (lane.isGap(each.index))
                    dmRefuse("A gap opens no gap; trim what is beside it.");
                if (!grows)
                    amount =
                        _imp->within(amount, spare(lane, each.index), ("Trimming " + lane.called(each.index)).c_str());
                else
                {
                    const bool atEnd = tail && neighbour >= lane.count();
                    if (!atEnd && !lane.isGap(neighbour))
                        dmRefuse("%s is in the way; a roll moves the seam, a ripple trim pushes it.",
                                 neighbour < 0 ? "The begin of the layer" : lane.called(neighbour).c_str());
                    lane.needFrames(each.index);
                    const DmPlayedBeside sides = lane.beside(each.index);
                    const double inTransition = tail ? sides.behind : sides.before;
                    if (!atEnd)
                        amount = _imp->within(amount, lane.length(neighbour) + inTransition,
                                              ("The gap beside " + lane.called(each.index)).c_str());
                    amount =
                        _imp->within(amount, (tail ? lane.reach(each.index).behind() : lane.reach(each.index).before()),
                                     ("Material of " + lane.called(each.index)).c_str());
                }
            }
            if (amount <= 0.0)
                dmRefuse("There is nothing to trim.");
            const double move = by > 0.0 ? amount : -amount;
            for (const DmElementPlace& each : all)
            {
                DmLane lane = _imp->lane(each);
                const int index = each.index;
                const double was = tail ? lane.out(index) : lane.in(index);
                const double is = was + move;
                // A transition at the edge becomes a cut there.
                if (const int seam = index + (tail ? 1 : -1); lane.length(seam) > dmEditTolerance)
                    lane.cutTransition(seam, was);
                const DmLane::Segment own = lane.ownSegment(index);
                DmSegmentChange change = lane.change(own, index);
                if (tail)
                    change.moveTail(move);
                else
                    change.moveHead(move);
                change.settle(lane.beside(index));

                // From the segment on, as its tail goes; a head's are the other way round.
                std::vector<DmLane::Node> nodes{own};
                int gap = index;
                if (const int neighbour = index + (tail ? 2 : -2); !grows)
                    nodes.insert(nodes.end(), {lane.makeCut(is), lane.makeGap(std::min(was, is), amount)});
                else if (lane.segment(neighbour))
                {
                    gap = neighbour;
                    const DmLane::Segment rest = lane.ownSegment(gap);
                    static_cast<void>(rest->setRecLength(rest->getRecLength() - amount));
                    if (tail)
                        static_cast<void>(rest->setRecIn(is));
                    nodes.insert(nodes.end(), {lane.makeCut(is), rest});
                }
                if (!tail)
                    std::ranges::reverse(nodes);
                lane.put(std::min(index, gap), std::max(index, gap) + 1, std::move(nodes), 0.0);
                lane.tidy(index);
            }
        });
}

DmStatus DmEdit::rippleTrim(const DmElementPlace& segment, eDmEdge edge, const DmEditAmount& wanted)
{
    return _imp->run(
        [&]
        {
            const std::vector<DmElementPlace> all = _imp->together(segment);
            const double by = _imp->frames(wanted, edgeTime(_imp->lane(segment), segment.index, edge));
            const bool tail = edge == DM_TAIL;
            const bool grows = tail == (by > 0.0);
            double amount = std::abs(by);
            std::set<std::pair<int, int>> done;
            for (const DmElementPlace& each : all)
            {
                const DmLane lane = _imp->lane(each);
                lane.needWhole(each.index);
                if (!done.insert(dmKeyOf(each.inLayer())).second)
                    dmRefuse("Two linked segments lie on one layer; edit them unlinked.");
                const double room = !grows ? spare(lane, each.index)
                                    : tail ? lane.roomBehind(each.index)
                                           : lane.roomBefore(each.index);
                amount = _imp->within(amount, room,
                                      ((grows ? "Material of " : "Trimming ") + lane.called(each.index)).c_str());
            }
            if (amount <= 0.0)
                dmRefuse("There is nothing to trim.");
            const DmLane primary = _imp->lane(segment);
            const double point = tail ? primary.out(segment.index) : primary.in(segment.index);
            for (const DmElementPlace& each : all)
            {
                DmLane lane = _imp->lane(each);
                const double in = lane.in(each.index);
                const DmLane::Segment own = lane.ownSegment(each.index);
                DmSegmentChange change = lane.change(own, each.index);
                if (tail)
                    change.moveTail(grows ? amount : -amount);
                else
                {
                    change.moveHead(grows ? -amount : amount);
                    change.moveTo(in);
                }
                change.settle(lane.beside(each.index));
                lane.put(each.index, each.index + 1, {own}, grows ? amount : -amount);
                if (tail)
                    lane.attachedFollows(each.index + 1, grows ? amount : -amount);
                lane.tidy(each.index);
            }
            if (grows)
                _imp->ripple(point, amount, done);
            else
                _imp->ripple(tail ? point : point + amount, -amount, done);
        });
}

namespace
{

/// Moves the seam of one layer; the amount was found possible.
void rollOne(DmLane& lane, int seam, double by)
{
    const DmLane::Segment left = lane.ownSegment(seam - 1);
    const DmLane::Segment right = lane.ownSegment(seam + 1);
    const CoSharedPtr<DmTransitionNode> between = lane.own<DmTransitionNode>(seam);
    DmSegmentChange leftChange = lane.change(left, seam - 1);
    DmSegmentChange rightChange = lane.change(right, seam + 1);
    leftChange.moveTail(by);
    rightChange.moveHead(by);
    leftChange.settle(lane.beside(seam - 1));
    rightChange.settle(lane.beside(seam + 1));
    dmStandAt(*between, between->getRecIn() + by);
    lane.put(seam - 1, seam + 2, {left, between, right}, 0.0);
    lane.attachedFollows(seam, by);
    lane.tidy(seam);
}

} // namespace

DmStatus DmEdit::roll(const DmElementPlace& seam, const DmEditAmount& wanted)
{
    return _imp->run(
        [&]
        {
            const std::vector<DmElementPlace> seams = _imp->seamsTogether(seam);
            const DmLane own = _imp->lane(seam);
            const int index = seams.front().index;
            const double by = _imp->frames(wanted, dmCutTimeOf(*own.transition(index), own.in(index)));
            double amount = std::abs(by);
            for (const DmElementPlace& each : seams)
            {
                const DmLane lane = _imp->lane(each);
                const int gives = each.index + (by > 0.0 ? 1 : -1);
                const int takes = each.index + (by > 0.0 ? -1 : 1);
                amount = _imp->within(amount, spare(lane, gives), ("Rolling into " + lane.called(gives)).c_str());
                amount = _imp->within(amount, by > 0.0 ? lane.roomBehind(takes) : lane.roomBefore(takes),
                                      ("Material of " + lane.called(takes)).c_str());
            }
            if (amount <= 0.0)
                dmRefuse("There is nothing to roll.");
            for (const DmElementPlace& each : seams)
            {
                DmLane lane = _imp->lane(each);
                rollOne(lane, each.index, by > 0.0 ? amount : -amount);
            }
        });
}

DmStatus DmEdit::slip(const DmElementPlace& segment, const DmEditAmount& wanted)
{
    return _imp->run(
        [&]
        {
            const double by = _imp->frames(wanted);
            const std::vector<DmElementPlace> all = _imp->together(segment);
            double amount = std::abs(by);
            for (const DmElementPlace& each : all)
            {
                const DmLane lane = _imp->lane(each);
                if (lane.isGap(each.index))
                    dmRefuse("A gap has no material that could be slipped.");
                lane.needWhole(each.index);
                amount = _imp->within(amount, by > 0.0 ? lane.roomBehind(each.index) : lane.roomBefore(each.index),
                                      ("Material of " + lane.called(each.index)).c_str());
            }
            if (amount <= 0.0)
                dmRefuse("There is nothing to slip.");
            for (const DmElementPlace& each : all)
            {
                DmLane lane = _imp->lane(each);
                const DmLane::Segment own = lane.ownSegment(each.index);
                DmSegmentChange change = lane.change(own, each.index);
                change.slip(by > 0.0 ? amount : -amount, _imp->options().keysFollow);
                change.settle(lane.beside(each.index));
                lane.put(each.index, each.index + 1, {own}, 0.0);
                lane.attachedFollows(each.index + 1, by > 0.0 ? amount : -amount);
            }
        });
}

DmStatus DmEdit::slide(const DmElementPlace& segment, const DmEditAmount& wanted)
{
    return _imp->run(
        [&]
        {
            const std::vector<DmElementPlace> all = _imp->together(segment);
            const double by = _imp->frames(wanted, _imp->lane(segment).in(segment.index));
            double amount = std::abs(by);
            for (const DmElementPlace& each : all)
            {
                const DmLane lane = _imp->lane(each);
                if (!lane.segment(each.index - 2) || !lane.segment(each.index + 2))
                    dmRefuse("%s has no neighbour on one of its sides.", lane.called(each.index).c_str());
                lane.needWhole(each.index - 2);
                lane.needWhole(each.index);
                lane.needWhole(each.index + 2);
                const int gives = each.index + (by > 0.0 ? 2 : -2);
                const int takes = each.index + (by > 0.0 ? -2 : 2);
                amount = _imp->within(amount, spare(lane, gives), ("Sliding into " + lane.called(gives)).c_str());
                amount = _imp->within(amount, by > 0.0 ? lane.roomBehind(takes) : lane.roomBefore(takes),
                                      ("Material of " + lane.called(takes)).c_str());
            }
            if (amount <= 0.0)
                dmRefuse("There is nothing to slide.");
            const double move = by > 0.0 ? amount : -amount;
            for (const DmElementPlace& each : all)
            {
                DmLane lane = _imp->lane(each);
                const int i = each.index;
                std::vector<DmLane::Node> nodes;
                for (int k = i - 2; k <= i + 2; ++k)
                {
                    if (lane.transition(k))
                    {
                        const CoSharedPtr<DmTransitionNode> between = lane.own<DmTransitionNode>(k);
                        dmStandAt(*between, between->getRecIn() + move);
                        nodes.push_back(between);
                        continue;
                    }
                    const DmLane::Segment own = lane.ownSegment(k);
                    DmSegmentChange change = lane.change(own, k);
                    if (k < i)
                        change.moveTail(move);
                    else if (k > i)
                        change.moveHead(move);
                    else
                        dmStandAt(*own, own->getRecIn() + move);
                    change.settle(lane.beside(k));
                    nodes.push_back(own);
                }
                lane.put(i - 2, i + 3, nodes, 0.0);
                lane.attachedFollows(i - 1, move);
                lane.tidy(i);
            }
        });
}
