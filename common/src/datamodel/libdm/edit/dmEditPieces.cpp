// Pieces: split and joined, replaced, moved, filled in.
#include "dmEditImp.h"

#include "dmContainerNode.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>

DmStatus DmEdit::split(const DmLayerPlace& layer, const DmEditTime& at)
{
    return _imp->run(
        [&]
        {
            const double time = _imp->frames(at);
            DmLane lane = _imp->lane(layer);
            const int index = DmTimelineValue::indexAt(lane.layer().runs, time);
            if (index < 0)
                dmRefuse("Nothing plays at %s.", _imp->draft.label(time).c_str());
            if (lane.segment(index) && std::abs(lane.in(index)-time) <= dmEditTolerance &&
                !(index > 0 && lane.length(index - 1) > dmEditTolerance))
                dmRefuse("There is a seam at %s already.", _imp->draft.label(time).c_str());
            if (!lane.segment(index))
            {
                lane.seamAt(time);
                return;
            }
            for (const DmElementPlace& each : _imp->together({layer.track, layer.layer, index}))
            {
                DmLane partner = _imp->lane(each);
                if (time > partner.in(each.index) + dmEditTolerance && time < partner.out(each.index) - dmEditTolerance)
                    partner.splitSegment(each.index, time);
                else if (each.inLayer() == layer)
                    partner.seamAt(time);
            }
        });
}

namespace
{

bool sameMedium(const DmSegmentNode& a, const DmSegmentNode& b)
{
    const auto* const left = dynamic_cast<const DmSourceNode*>(&a);
    const auto* const right = dynamic_cast<const DmSourceNode*>(&b);
    if (!left || !right)
    {
        const auto* const container = dynamic_cast<const DmContainerNode*>(&a);
        const auto* const other = dynamic_cast<const DmContainerNode*>(&b);
        return container && other && container->getComposition() == other->getComposition();
    }
    const DmSourceNode::Input* const x = left->getSrcInput();
    const DmSourceNode::Input* const y = right->getSrcInput();
    if (x == y)
        return true;
    if (!x || !y || &x->classData() != &y->classData() || x->getName() != y->getName() || x->getFcm() != y->getFcm())
        return false;
    const DmSourceInfo* const from = x->getSrcInfo();
    const DmSourceInfo* const to = y->getSrcInfo();
    bool same = !from == !to;
    if (from && to && dmDeepEqual(*from, *to, same) != DM_NO_ERROR)
        same = false;
    return same;
}

/// Makes the segments beside a cut one, or refuses.
void joinOne(DmLane& lane, int seam, DM::FrameCodeModes fcm)
{
    if (lane.length(seam) > dmEditTolerance)
        dmRefuse("A transition lies on the seam.");
    const DmLane::Segment left = lane.ownSegment(seam - 1);
    const DmLane::Segment right = lane.ownSegment(seam + 1);
    const DmPlayed before(*left, fcm);
    const DmPlayed behind(*right, fcm);
    const double point = lane.in(seam + 1);
    const bool gaps = lane.isGap(seam - 1) && lane.isGap(seam + 1);
    if (!gaps)
    {
        if (left->whatIs() != right->whatIs() || !sameMedium(*left, *right))
            dmRefuse("The two segments are not of one medium.");
        const double leftBegin = dmMaterialOf(*left, fcm).begin;
        const double rightBegin = dmMaterialOf(*right, fcm).begin;
        const std::optional<double> ends = before.positionAt(point);
        const std::optional<double> begins = behind.positionAt(point);
        if (before.motion() == DmPlayed::Motion::Keyed || before.motion() != behind.motion() ||
            before.speed() != behind.speed() || !ends || !begins ||
            std::abs(*ends + leftBegin - *begins - rightBegin) > 1e-3)
            dmRefuse("The second segment does not go on where the first one stops.");
        // Keys of the second half count from its begin.
        const DmLane::Segment shifted = lane.ownSegment(seam + 1);
        DmSegmentChange::shiftKeys(*shifted, left->getRecLength());
        bool same =
            left->getEffects().count() == shifted->getEffects().count() && left->getMuted() == shifted->getMuted();
        for (int i = 0; same && i < left->getEffects().count(); ++i)
            if (dmDeepEqual(*left->getEffects().at(i), *shifted->getEffects().at(i), same) != DM_NO_ERROR)
                same = false;
        if (!same)
            dmRefuse("The two segments carry different effects.");
    }
    DmSegmentChange change = lane.change(left, seam - 1);
    change.moveTail(right->getRecLength());
    change.settle({lane.beside(seam - 1).before, lane.beside(seam + 1).behind});
    for (int i = 0; i < right->getSegmentMarks().count(); ++i)
        if (DmCueMark* const mark = right->getSegmentMarks().at(i))
            static_cast<void>(left->addSegmentMark(CoSharedPtr<DmCueMark>(mark)));
    lane.put(seam - 1, seam + 2, {left}, 0.0);
}

} // namespace

DmStatus DmEdit::join(const DmElementPlace& seam)
{
    return _imp->run(
        [&]
        {
            for (const DmElementPlace& each : _imp->seamsTogether(seam))
            {
                DmLane lane = _imp->lane(each);
                joinOne(lane, each.index, _imp->draft.fcm);
            }
        });
}

void dmNeedMaterial(const DmSegmentNode& segment, DM::FrameCodeModes fcm, DmPlayedBeside beside)
{
    const DmReach reach(segment, fcm, {});
    if (reach.played().motion() != DmPlayed::Motion::Constant || !reach.material().isLimited())
        return;
    const double pace = std::abs(reach.played().speed()) * reach.played().rate();
    const double low = reach.played().begin() - (reach.played().isReverse() ? beside.behind : beside.before) * pace;
    const double high = reach.played().end() + (reach.played().isReverse() ? beside.before : beside.behind) * pace;
    if (low < -1e-3 || high > reach.material().length + 1e-3)
        dmRefuse("\"%s\" is too short: frames %g to %g of its material are wanted, there are %g.",
                 dmUtf8(segment.getName()).c_str(), low, high, reach.material().length);
}

DmStatus DmEdit::replace(const DmElementPlace& segment, const CoSharedPtr<DmSegmentNode>& material)
{
    return _imp->run(
        [&]
        {
            DmLane lane = _imp->lane(segment);
            const DmSegmentNode& old = lane.needSegment(segment.index);
            lane.needWhole(segment.index);
            if (!material || !material->isSegment() || material->getMediaType() != lane.mediaType())
                dmRefuse("That is no material for the layer.");
            const DmLane::Segment own = dmEditCopy(*material);
            static_cast<void>(own->setRecIn(lane.in(segment.index)));
            static_cast<void>(own->setRecLength(old.getRecLength()));
            static_cast<void>(own->setSegmentId(old.getSegmentId()));
            static_cast<void>(own->setOriginalID(old.getOriginalID()));
            static_cast<void>(own->setSegmentPreviousIds(old.getSegmentPreviousIds()));
            dmNeedMaterial(*own, _imp->draft.fcm, lane.beside(segment.index));
            DmSegmentChange(*own, _imp->draft.fcm, lane.beside(segment.index)).settle(lane.beside(segment.index));
            lane.put(segment.index, segment.index + 1, {own}, 0.0);
            lane.dropAttached(segment.index + 1);
        });
}

namespace
{

/// Makes the transitions beside a segment cuts where its material does not reach as far.
void cutWhereShort(DmLane& lane, int& index, DM::FrameCodeModes fcm)
{
    const auto isShort = [&]
    {
        const DmReach reach(lane.needSegment(index), fcm, {});
        return std::pair(lane.beside(index).before > reach.before() + dmEditTolerance,
                         lane.beside(index).behind > reach.behind() + dmEditTolerance);
    };
    // At the end of the transition in front, and at the begin of the one behind: no more of this segment is asked for.
    if (isShort().first)
        lane.cutTransition(index - 1, lane.out(index - 1));
    if (isShort().second)
        lane.cutTransition(index + 1, lane.in(index + 1));
}

} // namespace

void DmEdit::Imp::swap(const DmElementPlace& a, const DmElementPlace& b)
{
    if (a == b)
        dmRefuse("A segment cannot change places with itself.");
    DmLane first = this->lane(a);
    DmLane second = this->lane(b);
    const double lengthA = first.needSegment(a.index).getRecLength();
    const double lengthB = second.needSegment(b.index).getRecLength();
    first.needWhole(a.index);
    second.needWhole(b.index);
    if (first.mediaType() != second.mediaType())
        dmRefuse("The two segments are of different media types.");
    const bool oneLayer = a.inLayer() == b.inLayer();
    if (!oneLayer && std::abs(lengthA - lengthB) > dmEditTolerance)
        dmRefuse("Segments of different tracks must be of one length to change places.");
    const CoSharedPtr<DmSourceNode> goesOnA = first.attachedTo(a.index + 1);
    const CoSharedPtr<DmSourceNode> goesOnB = second.attachedTo(b.index + 1);
    const DmLane::Segment ownA = first.ownSegment(a.index);
    const DmLane::Segment ownB = second.ownSegment(b.index);
    const double inA = ownA->getRecIn();
    const double inB = ownB->getRecIn();
    int indexA = a.index;
    int indexB = b.index;
    static_cast<void>(ownA->setRecIn(inB));
    static_cast<void>(ownB->setRecIn(inA));
    if (oneLayer && lengthA != lengthB)
    {
        const bool aFirst = a.index < b.index;
        const int low = std::min(a.index, b.index);
        const int high = std::max(a.index, b.index);
        const double by = aFirst ? lengthB - lengthA : lengthA - lengthB;
        const DmLane::Segment& nowLow = aFirst ? ownB : ownA;
        const DmLane::Segment& nowHigh = aFirst ? ownA : ownB;
        static_cast<void>(nowHigh->setRecIn((aFirst ? inB : inA) + by));
        first.put(low, low + 1, {nowLow}, by);
        first.put(high, high + 1, {nowHigh}, -by);
    }
    else
    {
        first.put(a.index, a.index + 1, {ownB}, 0.0);
        second.put(b.index, b.index + 1, {ownA}, 0.0);
    }
    cutWhereShort(first, indexA, draft.fcm);
    cutWhereShort(second, indexB, draft.fcm);
    for (const auto& [place, index, goesOn] :
         {std::tuple(a.inLayer(), indexA, goesOnB), std::tuple(b.inLayer(), indexB, goesOnA)})
    {
        DmLane lane = this->lane(place);
        const DmLane::Segment own = lane.ownSegment(index);
        lane.change(own, index).settle(lane.beside(index));
        lane.put(index, index + 1, {own}, 0.0);
        lane.attachedIsOf(index, goesOn);
    }
}

DmStatus DmEdit::swap(const DmElementPlace& a, const DmElementPlace& b)
{
    return _imp->run(
        [&]
        {
            const auto lengthOf = [&](const DmElementPlace& place) { return _imp->lane(place).length(place.index); };
            std::vector<DmElementPlace> ofA = _imp->together(a);
            std::vector<DmElementPlace> ofB = _imp->together(b);
            std::erase_if(ofA, [&](const DmElementPlace& each) { return each == a || each == b; });
            std::erase_if(ofB, [&](const DmElementPlace& each) { return each == a || each == b; });
            std::vector<std::pair<DmElementPlace, DmElementPlace>> pairs{{a, b}};
            for (const DmElementPlace& each : ofA)
            {
                const auto partner = std::ranges::find_if(ofB, [&](const DmElementPlace& other)
                                                          { return other.inLayer() == each.inLayer(); });
                if (partner == ofB.end())
                    dmRefuse("%s is linked, and what it would change places with is not; swap them unlinked.",
                             _imp->lane(each).called(each.index).c_str());
                if (std::abs(lengthOf(*partner) - lengthOf(each) - (lengthOf(b) - lengthOf(a))) > dmEditTolerance)
                    dmRefuse("Linked segments of different lengths would lose their sync; edit them unlinked.");
                pairs.emplace_back(each, *partner);
                ofB.erase(partner);
            }
            for (const DmElementPlace& each : ofB)
                dmRefuse("%s is linked, and what it would change places with is not; swap them unlinked.",
                         _imp->lane(each).called(each.index).c_str());
            for (const auto& [one, other] : pairs)
                _imp->swap(one, other);
        });
}

DmStatus DmEdit::move(const DmElementPlace& segment, const DmLayerPlace& to, const DmEditTime& time)
{
    return _imp->run(
        [&]
        {
            struct Moved
            {
                DmLayerPlace from;
                DmLayerPlace to;
                double in, out, target;
                DmLane::Segment node;
            };
            std::vector<Moved> all;
            const double by = _imp->frames(time) - _imp->lane(segment).in(segment.index);
            if (!std::isfinite(by))
                dmRefuse("That is no time.");
            for (const DmElementPlace& each : _imp->together(segment))
            {
                const DmLane lane = _imp->lane(each);
                lane.needWhole(each.index);
                const DmLayerPlace target = each == segment ? to : each.inLayer();
                if (_imp->lane(target).mediaType() != lane.mediaType())
                    dmRefuse("The track is of another media type.");
                all.push_back({each.inLayer(), target, lane.in(each.index), lane.out(each.index),
                               lane.in(each.index) + by, lane.ownSegment(each.index)});
            }
            const bool insert = _imp->options().insert;
            for (const Moved& each : all)
                if (insert && std::abs(each.out - each.in - (all.front().out - all.front().in)) > dmEditTolerance)
                    dmRefuse("Linked segments of different lengths would lose their sync; edit them unlinked.");
            std::set<std::pair<int, int>> left;
            std::set<std::pair<int, int>> entered;
            for (const Moved& each : all)
            {
                if (insert)
                    _imp->close(each.from, each.in, each.out);
                else
                    _imp->lane(each.from).lift(each.in, each.out);
                left.insert(dmKeyOf(each.from));
            }
            const double length = all.front().out - all.front().in;
            if (insert)
                _imp->ripple(all.front().out, -length, left);
            for (Moved& each : all)
            {
                DmLane lane = _imp->lane(each.to);
                // What lay behind the segment has moved up into its place.
                if (insert && each.target >= each.out - dmEditTolerance)
                    each.target -= each.out - each.in;
                else if (insert && each.target > each.in)
                    each.target = each.in;
                const double own = each.out - each.in;
                lane.seamAt(each.target);
                const int last = lane.seamAt(insert ? each.target : std::min(each.target + own, lane.end()));
                const int first = lane.seamAt(each.target);
                lane.replace(first, last, {each.node}, insert ? own : 0.0);
                lane.tidy(first);
                entered.insert(dmKeyOf(each.to));
            }
            if (insert)
                _imp->ripple(all.front().target, length, entered);
        });
}

DmStatus DmEdit::fill(const DmLayerPlace& layer, const CoSharedPtr<DmSegmentNode>& material,
                      const DmEditTime& recordBegin, const DmEditTime& recordEnd, const DmEditTime& sourceBegin,
                      const DmEditTime& sourceEnd)
{
    return _imp->run(
        [&]
        {
            if (!material || !material->isSegment())
                dmRefuse("There is no material.");
            const double recordIn = _imp->frames(recordBegin);
            const double recordOut = _imp->frames(recordEnd);
            const double sourceIn = _imp->positionOf(sourceBegin, *material);
            const double sourceOut = _imp->positionOf(sourceEnd, *material);
            const int given = dmIsTime(recordIn) + dmIsTime(recordOut) + dmIsTime(sourceIn) + dmIsTime(sourceOut);
            if (given < 3)
                dmRefuse("Three points are needed, %d are given.", given);
            const DmLane::Segment copy = dmEditCopy(*material);
            DmSegmentChange change(*copy, _imp->draft.fcm, {});
            const DmMaterial there = dmMaterialOf(*copy, _imp->draft.fcm);
            const DmPlayed played(*copy, _imp->draft.fcm);
            const bool fits = given == 4 && _imp->options().fit;
            const double speed =
                played.motion() == DmPlayed::Motion::Constant && !fits ? std::abs(played.speed()) : 1.0;
            const double rate = speed * played.rate();
            const bool recordRange = dmIsTime(recordIn) && dmIsTime(recordOut);
            const double length = recordRange ? recordOut - recordIn : (sourceOut - sourceIn) / rate;
            if (!(length >= dmLeastLength))
                dmRefuse("The range is empty.");
            const double begin = dmIsTime(sourceIn) ? sourceIn : sourceOut - length * rate;
            if (begin < 0.0 && there.isLimited())
                dmRefuse("The material has %g frames too few in front.", -begin);
            static_cast<void>(copy->setRecLength(length));
            static_cast<void>(copy->setRelIn(begin));
            if (fits)
            {
                if (sourceOut <= sourceIn)
                    dmRefuse("The source range is empty.");
                dmSetSpeedOf(*copy, (sourceOut - sourceIn) / rate / length);
            }
            change.settle({});
            const double at = dmIsTime(recordIn) ? recordIn : recordOut - length;
            if (_imp->options().insert)
                _imp->insert(layer, at, *copy);
            else
                _imp->overwrite(layer, at, *copy);
        });
}
