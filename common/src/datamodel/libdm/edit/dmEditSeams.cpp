#include "dmEditImp.h"

#include "dmADissolveSettings.h"
#include "dmATimewarpSettings.h"
#include "dmTimewarpSettings.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "dmVDissolveSettings.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

/// How much of a transition lies in front of its cut.
double inFront(double length, eDmSeamAlignment alignment)
{
    switch (alignment)
    {
    case DM_BEGINS_AT_CUT:
        return 0.0;
    case DM_CENTRED_ON_CUT:
        return std::floor(length / 2.0);
    case DM_ENDS_AT_CUT:
        break;
    }
    return length;
}

constexpr eDmFocusAlignment focusOf(eDmSeamAlignment alignment)
{
    return alignment == DM_BEGINS_AT_CUT    ? DM_FOCUS_START
           : alignment == DM_CENTRED_ON_CUT ? DM_FOCUS_CENTER
                                            : DM_FOCUS_END;
}

} // namespace

double dmCutTimeOf(const DmTransitionNode& node, double recIn)
{
    const auto* const effect = dynamic_cast<const DmTrxEffectNode*>(&node);
    switch (effect && effect->getEffect() ? effect->getEffect()->getFocusAlignment() : DM_FOCUS_UNDEFINED)
    {
    case DM_FOCUS_CENTER:
        return recIn + inFront(node.getRecLength(), DM_CENTRED_ON_CUT);
    case DM_FOCUS_END:
        return recIn + node.getRecLength();
    case DM_FOCUS_START:
    case DM_FOCUS_CUSTOM:
    case DM_FOCUS_UNDEFINED:
        break;
    }
    return recIn;
}

namespace
{

/// Where effects keep their length; those of other classes have none.
void setEffectLength(DmEffectSettings& effect, double length)
{
    static_cast<void>(effect.setPropertyValue(L"length", DM_DOUBLE, &length));
}

} // namespace

double DmEdit::cutOf(const DmTimeline& timeline, const DmElementPlace& seam)
{
    const auto* const node = dmTransition(const_cast<DmTreeNode*>(timeline.storedElement(seam)));
    return node ? dmCutTimeOf(*node, timeline.recIn(seam)) : dmNoTime;
}

DmStatus DmEdit::transition(const DmElementPlace& seam, const DmEditAmount& wanted, eDmSeamAlignment alignment,
                            const CoSharedPtr<DmEffectSettings>& effect)
{
    return _imp->run(
        [&]
        {
            const double length = _imp->frames(wanted);
            const std::vector<DmElementPlace> seams = _imp->seamsTogether(seam);
            for (const DmElementPlace& each : seams)
            {
                // What is linked and of the other media type gets a dissolve of its own.
                const bool fits =
                    each == seams.front() || !effect || effect->getMediaType() == _imp->lane(each).mediaType();
                _imp->putTransition(each, length, alignment, fits ? effect : CoSharedPtr<DmEffectSettings>());
            }
        });
}

void DmEdit::Imp::putTransition(const DmElementPlace& seam, double length, eDmSeamAlignment alignment,
                                const CoSharedPtr<DmEffectSettings>& effect)
{
    DmLane lane = this->lane(seam);
    const DmTransitionNode* const was = lane.transition(seam.index);
    lane.needWhole(seam.index - 1);
    lane.needWhole(seam.index + 1);
    if (!(length >= dmLeastLength))
        dmRefuse("A transition lasts a frame at least.");
    const double a = lane.in(seam.index);
    const double b = lane.out(seam.index);
    const double point = dmCutTimeOf(*was, a);
    const int left = seam.index - 1;
    const int right = seam.index + 1;

    // Both neighbours keep a frame of their own, and have the material to play all along.
    const double most = [&]
    {
        double frames = std::min(length, std::floor(lane.out(right) - lane.in(left)));
        for (;; --frames)
        {
            const double newA = point - inFront(frames, alignment);
            const double newB = newA + frames;
            // What the transition takes already, nobody asks for again.
            const bool fits = (newA >= a - dmEditTolerance ||
                               (newA - lane.in(left) >= (lane.isGap(left) ? -dmEditTolerance : 1.0) &&
                                lane.in(right)-newA <= lane.reach(right).before() + dmEditTolerance)) &&
                              (newB <= b + dmEditTolerance ||
                               (lane.out(right) - newB >= (lane.isGap(right) ? -dmEditTolerance : 1.0) &&
                                newB - lane.out(left) <= lane.reach(left).behind() + dmEditTolerance));
            if (fits || frames < 1.0)
                return frames < 1.0 ? 0.0 : frames;
        }
    }();
    if (most < length - dmEditTolerance)
        for (const int index : {left, right})
            lane.needFrames(index);
    const double taken = within(length, most, ("A transition on the cut at " + draft.label(point)).c_str());
    if (taken < dmLeastLength)
        dmRefuse("There are no frames for a transition on the cut at %s.", draft.label(point).c_str());
    const double newA = point - inFront(taken, alignment);
    const double newB = newA + taken;

    CoSharedPtr<DmEffectSettings> settings;
    const auto* const old = dynamic_cast<const DmTrxEffectNode*>(was);
    if (effect)
        settings = DM::staticPointerCast<DmEffectSettings>(effect->clone());
    else if (old && old->getEffect())
        settings = DM::staticPointerCast<DmEffectSettings>(old->getEffect()->clone());
    else if (lane.mediaType() == DM_MEDIA_AUDIO)
        settings = DmADissolveSettings::create();
    else
        settings = DmVDissolveSettings::create();
    if (!settings || !settings->isTrxCompatible() || settings->getMediaType() != lane.mediaType())
        dmRefuse("The effect is none for a transition of this layer.");
    setEffectLength(*settings, taken);
    static_cast<void>(settings->setFocusAlignment(focusOf(alignment)));

    CoSharedPtr<DmTrxEffectNode> node;
    if (old)
    {
        node = lane.own<DmTrxEffectNode>(seam.index);
        static_cast<void>(node->setEffect(settings));
        dmStandAt(*node, newA);
        static_cast<void>(node->setRecLength(taken));
        static_cast<void>(node->setRelIn(0.0));
    }
    else
        node = DmTrxEffectNode::create(settings, newA, taken);
    const DmLane::Segment first = lane.ownSegment(left);
    const DmLane::Segment second = lane.ownSegment(right);
    DmSegmentChange firstChange = lane.change(first, left);
    DmSegmentChange secondChange = lane.change(second, right);
    firstChange.moveTail(newA - a);
    secondChange.moveHead(newB - b);
    firstChange.settle({lane.beside(left).before, taken});
    secondChange.settle({taken, lane.beside(right).behind});
    lane.put(left, right + 1, {first, node, second}, 0.0);
    lane.attachedFollows(seam.index, newA - a);
}

void DmEdit::Imp::cutSeam(const DmElementPlace& seam)
{
    DmLane lane = this->lane(seam);
    const DmTransitionNode* const was = lane.transition(seam.index);
    if (was->getRecLength() <= dmEditTolerance)
        dmRefuse("The seam at %s is a cut already.", draft.label(lane.in(seam.index)).c_str());
    const double a = lane.in(seam.index);
    lane.cutTransition(seam.index, std::clamp(dmCutTimeOf(*was, a), a, lane.out(seam.index)));
    lane.tidy(seam.index);
}

DmStatus DmEdit::cut(const DmElementPlace& seam)
{
    return _imp->run(
        [&]
        {
            const std::vector<DmElementPlace> seams = _imp->seamsTogether(seam);
            for (const DmElementPlace& each : seams)
                if (each == seams.front() || _imp->lane(each).length(each.index) > dmEditTolerance)
                    _imp->cutSeam(each);
        });
}

// What a segment plays

namespace
{

bool isTimewarp(const DmEffectSettings* effect)
{
    return dynamic_cast<const DmTimewarpSettings*>(effect) || dynamic_cast<const DmATimewarpSettings*>(effect);
}

} // namespace

void dmSetSpeedOf(DmSegmentNode& segment, double speed)
{
    CoSharedPtr<DmEffectSettings> kept;
    int place = segment.getEffects().count();
    for (int i = segment.getEffects().count(); i-- > 0;)
        if (DmEffectSettings* const effect = segment.getEffects().at(i); isTimewarp(effect) && !effect->isMuted())
        {
            kept = CoSharedPtr<DmEffectSettings>(effect);
            place = i;
            static_cast<void>(segment.removeEffect(i));
        }
    if (speed == 1.0)
        return;
    if (segment.getMediaType() == DM_MEDIA_AUDIO)
    {
        CoSharedPtr<DmATimewarpSettings> warp = DM::dynamicPointerCast<DmATimewarpSettings>(kept);
        if (!warp)
            warp = DmATimewarpSettings::create();
        if (!warp || !(speed > 0.0))
            dmRefuse("Sound plays neither backwards nor still; edit it unlinked.");
        const double ratio = 1.0 / speed; // kept in single precision
        if (!(ratio >= std::numeric_limits<float>::min() && ratio <= std::numeric_limits<float>::max()) ||
            warp->setRatio(static_cast<float>(ratio)) != DM_NO_ERROR)
            dmRefuse("Sound does not play at that speed.");
        kept = warp;
    }
    else
    {
        CoSharedPtr<DmTimewarpSettings> warp = DM::dynamicPointerCast<DmTimewarpSettings>(kept);
        if (!warp)
            warp = DmVTimewarpSettings::create();
        if (!warp)
            dmRefuse("There is not enough memory for the edit.");
        static_cast<void>(warp->setConstantSpeed(true));
        static_cast<void>(warp->setStrobeMode(false));
        static_cast<void>(warp->setSpeed(speed));
        kept = warp;
    }
    const DmPropertySetPtr effect(kept);
    static_cast<void>(
        segment.insertValueInPropertyList(DmSegmentNode::Effects, DM_VECTOR_PROPERTY_SET, place, &effect));
}

DmStatus DmEdit::speed(const DmElementPlace& segment, double speed)
{
    return _imp->run(
        [&]
        {
            if (!std::isfinite(speed) || speed == 0.0)
                dmRefuse("That is no speed; a freeze holds a frame.");
            std::set<std::pair<int, int>> done;
            double shift = 0.0;
            double point = 0.0;
            for (const DmElementPlace& each : _imp->together(segment))
            {
                DmLane lane = _imp->lane(each);
                lane.needWhole(each.index);
                if (!done.insert(dmKeyOf(each.inLayer())).second)
                    dmRefuse("Two linked segments lie on one layer; edit them unlinked.");
                const DmPlayed was(lane.needSegment(each.index), _imp->draft.fcm);
                if (was.motion() == DmPlayed::Motion::None)
                    dmRefuse("%s plays no material.", lane.called(each.index).c_str());
                if (was.motion() == DmPlayed::Motion::Keyed && _imp->options().keepFrames)
                    dmRefuse("%s plays at a keyed speed, whose frames between the keys are not known.",
                             lane.called(each.index).c_str());
                const DmPlayedBeside sides = lane.beside(each.index);
                const DmMaterial material = dmMaterialOf(lane.needSegment(each.index), _imp->draft.fcm, sides);
                const DmLane::Segment own = lane.ownSegment(each.index);
                DmSegmentChange change = lane.change(own, each.index);
                dmSetSpeedOf(*own, speed);
                double length = own->getRecLength();
                double by = 0.0;
                if (_imp->options().keepFrames && was.motion() == DmPlayed::Motion::Constant)
                {
                    length = std::max(1.0, std::round(was.length() / was.rate() / std::abs(speed)));
                    by = length - own->getRecLength();
                    static_cast<void>(own->setRecLength(length));
                }
                // Length by plain numbers: what plays, with the transitions beside it.
                const DmPlayed now(*own, _imp->draft.fcm);
                if (material.isLimited())
                {
                    const double pace = std::abs(now.speed()) * now.rate();
                    const double low = now.begin() - (now.isReverse() ? sides.behind : sides.before) * pace;
                    const double high = now.end() + (now.isReverse() ? sides.before : sides.behind) * pace;
                    if (low < -1e-3 || high > material.length + 1e-3)
                        dmRefuse("At that speed %s plays frames %g to %g of its material; there are %g.",
                                 lane.called(each.index).c_str(), low, high, material.length);
                }
                change.settle(sides);
                const double out = lane.out(each.index);
                if (each == segment)
                {
                    shift = by;
                    point = out;
                }
                else if (std::abs(shift - by) > dmEditTolerance)
                    dmRefuse("Linked segments would become of different lengths; edit them unlinked.");
                if (by == 0.0 || _imp->options().ripple)
                {
                    lane.put(each.index, each.index + 1, {own}, by);
                    lane.attachedIsOf(each.index, {});
                    continue;
                }
                // Without a ripple the difference is a gap's.
                if (sides.behind > dmEditTolerance)
                    lane.cutTransition(each.index + 1, out);
                if (by < 0.0)
                    lane.put(each.index, each.index + 1, {own, lane.makeCut(out + by), lane.makeGap(out + by, -by)},
                             0.0);
                else if (each.index + 2 < lane.count())
                {
                    if (!lane.isGap(each.index + 2) || lane.length(each.index + 2) < by - dmEditTolerance)
                        dmRefuse("%s is in the way of %g frames more; a ripple pushes it.",
                                 lane.called(each.index + 2).c_str(), by);
                    const DmLane::Segment gap = lane.ownSegment(each.index + 2);
                    static_cast<void>(gap->setRecIn(out + by));
                    static_cast<void>(gap->setRecLength(gap->getRecLength() - by));
                    lane.put(each.index, each.index + 3, {own, lane.makeCut(out + by), gap}, 0.0);
                }
                else
                    lane.put(each.index, each.index + 1, {own}, 0.0);
                lane.tidy(each.index + 2);
            }
            if (shift != 0.0 && _imp->options().ripple)
                _imp->ripple(point, shift, done);
        });
}

DmStatus DmEdit::freeze(const DmElementPlace& segment, const DmEditTime& at)
{
    return _imp->run(
        [&]
        {
            const double time = _imp->frames(at);
            if (_imp->lane(segment).mediaType() == DM_MEDIA_AUDIO)
                dmRefuse("Sound cannot be frozen.");
            for (const DmElementPlace& each : _imp->together(segment))
                if (each == segment || _imp->lane(each).mediaType() != DM_MEDIA_AUDIO)
                    _imp->freeze(each, time);
        });
}

void DmEdit::Imp::freeze(const DmElementPlace& segment, double time)
{
    DmLane lane = this->lane(segment);
    const DmPlayed played(lane.needSegment(segment.index), draft.fcm);
    const DmPlayedBeside sides = lane.beside(segment.index);
    if (time < lane.in(segment.index) - sides.before - dmEditTolerance ||
        time >= lane.out(segment.index) + sides.behind)
        dmRefuse("%s does not play at %s.", lane.called(segment.index).c_str(), draft.label(time).c_str());
    const DmLane::Segment own = lane.ownSegment(segment.index);
    // Stored in-times are the layer's: what plays there is asked of the copy, which stands at its time.
    const std::optional<double> frame = DmPlayed(*own, draft.fcm).frameAt(time);
    if (!frame)
        dmRefuse(played.motion() == DmPlayed::Motion::Keyed
                     ? "%s plays at a keyed speed, whose frames between the keys are not known."
                     : "%s plays no material.",
                 lane.called(segment.index).c_str());
    DmSegmentChange change = lane.change(own, segment.index);
    dmSetSpeedOf(*own, 0.0);
    change.setBegin(*frame);
    change.settle(lane.beside(segment.index));
    lane.put(segment.index, segment.index + 1, {own}, 0.0);
    lane.attachedIsOf(segment.index, {});
}

DmStatus DmEdit::reverse(const DmElementPlace& segment)
{
    return _imp->run(
        [&]
        {
            for (const DmElementPlace& each : _imp->together(segment))
            {
                DmLane lane = _imp->lane(each);
                const DmLane::Segment own = lane.ownSegment(each.index);
                const DmPlayed played(*own, _imp->draft.fcm);
                lane.needFrames(each.index);
                if (played.motion() != DmPlayed::Motion::Constant)
                    dmRefuse("%s does not play at a constant speed.", lane.called(each.index).c_str());
                const DmPlayedBeside sides = lane.beside(each.index);
                const DmReach reach(*own, _imp->draft.fcm, {});
                if (sides.before > reach.behind() + dmEditTolerance || sides.behind > reach.before() + dmEditTolerance)
                    dmRefuse("Backwards, %s has no frames for the transitions beside it.",
                             lane.called(each.index).c_str());
                DmSegmentChange change = lane.change(own, each.index);
                dmSetSpeedOf(*own, -played.speed());
                change.settle(sides);
                lane.put(each.index, each.index + 1, {own}, 0.0);
                lane.attachedIsOf(each.index, {});
            }
        });
}
