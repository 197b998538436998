// Edges of segments: trims, rolls, slips and slides.
#include "dmEditImp.h"

#include <algorithm>
#include <cmath>

namespace
{

/// Removes the gap of no length that a trim may leave, with the cut behind it.
void dropEmpty(DmLane& lane, int gap)
{
    if (lane.isGap(gap) && lane.length(gap) <= dmEditTolerance)
        lane.tidy(gap);
}

} // namespace

DmStatus DmEdit::trim(const DmElementPlace& segment, eDmEdge edge, double by)
{
    return _imp->run(
        [&]
        {
            if (!std::isfinite(by) || by == 0.0)
                dmRefuse("The amount is no number of frames.");
            const std::vector<DmElementPlace> all = _imp->together(segment);
            double amount = std::abs(by);
            const bool grows = (edge == DM_TAIL) == (by > 0.0);
            const bool tail = edge == DM_TAIL;
            for (const DmElementPlace& each : all)
            {
                DmLane lane = _imp->lane(each);
                lane.needWhole(each.index);
                const int neighbour = each.index + (tail ? 2 : -2);
                if (!grows)
                    amount = _imp->within(amount, lane.length(each.index) - (lane.isGap(each.index) ? 0.0 : 1.0),
                                          ("Trimming " + lane.called(each.index)).c_str());
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
            for (const DmElementPlace& each : all)
            {
                DmLane lane = _imp->lane(each);
                int index = each.index;
                const double oldIn = lane.in(index);
                const double oldOut = lane.out(index);
                // A transition at the edge becomes a cut there.
                if (tail && lane.transition(index + 1) && lane.length(index + 1) > dmEditTolerance)
                    lane.cutTransition(index + 1, oldOut);
                if (!tail && lane.transition(index - 1) && lane.length(index - 1) > dmEditTolerance)
                    lane.cutTransition(index - 1, oldIn);
                const DmLane::Segment own = lane.ownSegment(index);
                DmSegmentChange change = lane.change(own, index);
                const DmPlayedBeside sides = lane.beside(index);
                if (tail)
                {
                    change.moveTail(grows ? amount : -amount);
                    change.settle(sides);
                    const double newOut = oldOut + (grows ? amount : -amount);
                    if (!grows)
                    {
                        lane.put(index, index + 1, {own, lane.makeCut(newOut), lane.makeGap(newOut, amount)}, 0.0);
                        lane.tidy(index + 2);
                    }
                    else if (index + 2 < lane.count())
                    {
                        const DmLane::Segment gap = lane.ownSegment(index + 2);
                        static_cast<void>(gap->setRecIn(newOut));
                        static_cast<void>(gap->setRecLength(gap->getRecLength() - amount));
                        lane.put(index, index + 3, {own, lane.makeCut(newOut), gap}, 0.0);
                        dropEmpty(lane, index + 2);
                    }
                    else
                        lane.put(index, index + 1, {own}, 0.0);
                    continue;
                }
                change.moveHead(grows ? -amount : amount);
                change.settle(sides);
                const double newIn = own->getRecIn();
                if (!grows)
                {
                    lane.put(index, index + 1, {lane.makeGap(oldIn, amount), lane.makeCut(newIn), own}, 0.0);
                    lane.tidy(index);
                }
                else
                {
                    const DmLane::Segment gap = lane.ownSegment(index - 2);
                    static_cast<void>(gap->setRecLength(gap->getRecLength() - amount));
                    lane.put(index - 2, index + 1, {gap, lane.makeCut(newIn), own}, 0.0);
                    dropEmpty(lane, index - 2);
                }
            }
        });
}

DmStatus DmEdit::rippleTrim(const DmElementPlace& segment, eDmEdge edge, double by)
{
    return _imp->run(
        [&]
        {
            if (!std::isfinite(by) || by == 0.0)
                dmRefuse("The amount is no number of frames.");
            const std::vector<DmElementPlace> all = _imp->together(segment);
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
                const double room = !grows ? lane.length(each.index) - (lane.isGap(each.index) ? 0.0 : 1.0)
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

/// How far a segment can give frames away and be left with one.
double spare(const DmLane& lane, int index)
{
    return lane.length(index) - (lane.isGap(index) ? 0.0 : 1.0);
}

} // namespace

DmStatus DmEdit::roll(const DmElementPlace& seam, double by)
{
    return _imp->run(
        [&]
        {
            if (!std::isfinite(by) || by == 0.0)
                dmRefuse("The amount is no number of frames.");
            _imp->lane(seam).needSeam(seam.index);
            // Partners whose seam lies at the same time move with it; others lie where the editor put them.
            std::vector<DmElementPlace> seams{seam};
            const double point = _imp->lane(seam).in(seam.index);
            const std::size_t side = _imp->lane(seam).isGap(seam.index + 1) ? 0 : 1;
            for (const DmElementPlace& each :
                 _imp->together({seam.track, seam.layer, seam.index + (side == 1 ? 1 : -1)}))
            {
                const DmLane lane = _imp->lane(each);
                const int theirs = each.index + (side == 1 ? -1 : 1);
                if (each.inLayer() != seam.inLayer() && lane.transition(theirs) && lane.segment(theirs - 1) &&
                    lane.segment(theirs + 1) && std::abs(lane.in(theirs)-point) <= dmEditTolerance)
                    seams.push_back({each.track, each.layer, theirs});
            }
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

DmStatus DmEdit::slip(const DmElementPlace& segment, double by)
{
    return _imp->run(
        [&]
        {
            if (!std::isfinite(by) || by == 0.0)
                dmRefuse("The amount is no number of frames.");
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

DmStatus DmEdit::slide(const DmElementPlace& segment, double by)
{
    return _imp->run(
        [&]
        {
            if (!std::isfinite(by) || by == 0.0)
                dmRefuse("The amount is no number of frames.");
            const std::vector<DmElementPlace> all = _imp->together(segment);
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
                        change.moveTo(own->getRecIn() + move);
                    change.settle(lane.beside(k));
                    nodes.push_back(own);
                }
                lane.put(i - 2, i + 3, nodes, 0.0);
                lane.attachedFollows(i - 1, move);
                lane.tidy(i);
            }
        });
}
