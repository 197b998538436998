#include "dmEditImp.h"

#include "CoNumber.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmUtf8.h"
#include "tuLabel.h"

#include <algorithm>
#include <cmath>

DmEdit::Imp::Imp(DmTimeline opened, DmEditOptions options)
    : _timeline(std::move(opened))
{
    draft.options = std::move(options);
    if (!_timeline)
        return;
    draft.value = *_timeline.value();
    draft.fcm = dmModeOrDefault(dmFcmFromText(draft.value.bare->getFCM()));
}

namespace
{

/// What a label counts to.
double read(const std::string& label, DM::FrameCodeModes fcm)
{
    DM::TimeUnit time;
    if (const DM::TimeLabel::Status status = DM::TimeLabel::read(label, fcm, time); status != DM::TimeLabel::Good)
        dmRefuse("%.80s: %s.", label.c_str(), DM::TimeLabel::reason(status));
    return time.getFrames();
}

} // namespace

double DmEdit::Imp::frames(const DmEditTime& time) const
{
    return time.label() ? read(*time.label(), draft.fcm) - draft.value.labelShift() : time.frames();
}

double DmEdit::Imp::frames(const DmEditAmount& amount, double from) const
{
    const std::string* const text = amount.value().label();
    double by = amount.value().frames();
    if (amount.isTo() || (text && text->starts_with('@')))
    {
        if (!dmIsTime(from))
            dmRefuse("This takes an amount, and no time to go to.");
        by = frames(amount.isTo() ? amount.value() : DmEditTime(text->substr(1))) - from;
    }
    else if (text)
    {
        const std::optional<double> number = DM::CoNumber::whole(text->starts_with('+') ? text->substr(1) : *text);
        by = number ? *number : read(*text, draft.fcm);
    }
    if (!std::isfinite(by))
        dmRefuse("The amount is no number of frames.");
    return by;
}

double DmEdit::Imp::positionOf(const DmEditTime& time, const DmSegmentNode& material) const
{
    if (!time.label())
        return time.frames();
    const DmMaterial there = dmMaterialOf(material, draft.fcm);
    return read(*time.label(), there.fcm == DM::FCM_NOT_DEFINED ? draft.fcm : there.fcm) - there.begin;
}

namespace
{

/// By name or by path, as far as inputs say them.
bool isOneMedium(const DmSourceNode::Input& a, const DmSourceNode::Input& b)
{
    const auto pathOf = [](const DmSourceNode::Input& input)
    { return input.getSrcInfo() ? input.getSrcInfo()->getPath() : DmString(); };
    return (!a.getName().empty() && a.getName() == b.getName()) || (!pathOf(a).empty() && pathOf(a) == pathOf(b));
}

} // namespace

std::vector<DmElementPlace> DmEdit::Imp::together(const DmElementPlace& place)
{
    std::vector<DmElementPlace> all{place};
    const DmLane lane(draft, place.inLayer());
    const DmSegmentNode& segment = lane.needSegment(place.index);
    if (!options().linked)
        return all;
    const auto add = [&](const DmElementPlace& other)
    {
        if (other != place)
            all.push_back(other);
    };
    if (!dmLinkGroupOf(segment.getSegmentId()).empty())
    {
        for (const DmElementPlace& other : draft.value.group(segment.getSegmentId()))
            add(other);
        return all;
    }
    const auto* const source = dynamic_cast<const DmSourceNode*>(&segment);
    if (!options().linkByMedium || !source || !source->getSrcInput())
        return all;
    // Picture and sound of one medium that are in sync: record minus source in-time is the same.
    const double record = lane.in(place.index);
    const double offset = record - dmMaterialOf(*source, draft.fcm).begin - source->getRelIn();
    for (int t = 0; t < int(draft.value.tracks.size()); ++t)
        for (int l = 0; l < int(draft.value.tracks[std::size_t(t)].layers.size()); ++l)
        {
            if (!draft.value.layer({t, l}))
                continue;
            const DmLane other(draft, {t, l});
            if (other.mediaType() == lane.mediaType())
                continue;
            for (int index = other.layer().runs.lastBeginningBy(lane.out(place.index) - dmEditTolerance);
                 index >= 0 && other.out(index) > record + dmEditTolerance; --index)
            {
                const auto* const partner = dynamic_cast<const DmSourceNode*>(other.segment(index));
                if (!partner || !partner->getSrcInput() || !dmLinkGroupOf(partner->getSegmentId()).empty() ||
                    !isOneMedium(*partner->getSrcInput(), *source->getSrcInput()))
                    continue;
                const double theirs = other.in(index)-dmMaterialOf(*partner, draft.fcm).begin - partner->getRelIn();
                if (std::abs(theirs - offset) < dmEditTolerance)
                    add({t, l, index});
            }
        }
    return all;
}

std::vector<DmElementPlace> DmEdit::Imp::seamsTogether(const DmElementPlace& given)
{
    DmLane own = lane(given);
    const DmElementPlace seam{given.track, given.layer, own.closeEnds(given.index)};
    own.needSeam(seam.index);
    std::vector<DmElementPlace> seams{seam};
    const int side = own.isGap(seam.index + 1) ? -1 : 1;
    for (const DmElementPlace& each : together({seam.track, seam.layer, seam.index + side}))
    {
        const DmLane other = lane(each);
        const int theirs = each.index - side;
        if (each.inLayer() != seam.inLayer() && other.transition(theirs) && other.segment(theirs - 1) &&
            other.segment(theirs + 1) && std::abs(other.in(theirs)-own.in(seam.index)) <= dmEditTolerance)
            seams.push_back({each.track, each.layer, theirs});
    }
    return seams;
}

double DmEdit::Imp::within(double wanted, double there, const char* what) const
{
    if (wanted <= there + dmEditTolerance)
        return wanted;
    if (!options().clamp)
        dmRefuse("%s: %g frames are wanted, there are %g.", what, wanted, std::max(0.0, there));
    return std::max(0.0, std::floor(there + dmEditTolerance));
}

DmLane::Segment DmEdit::Imp::incoming(const DmLane& lane, const DmSegmentNode& segment)
{
    if (!segment.isSegment())
        dmRefuse("A layer takes no %s.", dmUtf8(segment.getPSetName()).c_str());
    if (segment.getMediaType() != lane.mediaType())
        dmRefuse("\"%s\" is not of the layer's media type.", dmUtf8(segment.getName()).c_str());
    if (!std::isfinite(segment.getRecLength()))
        dmRefuse("\"%s\" has no length.", dmUtf8(segment.getName()).c_str());
    lane.needLength(segment);
    const DmReach reach(segment, draft.fcm, {});
    const double overshoot = reach.material().isLimited() && reach.played().motion() == DmPlayed::Motion::Constant
                                 ? reach.played().end() - reach.material().length
                                 : 0.0;
    if (overshoot > 1e-3)
        dmRefuse("\"%s\" has only %g frames of material.", dmUtf8(segment.getName()).c_str(), reach.material().length);
    DmLane::Segment copy = dmEditCopy(segment);
    if (copy->getSegmentId().empty() ? segment.whatIs() != DM_GAP_NODE : bool(draft.value.find(copy->getSegmentId())))
        draft.reidentify(*copy);
    return copy;
}

void DmEdit::Imp::close(const DmLayerPlace& place, double in, double out)
{
    DmLane lane(draft, place);
    if (in >= lane.end() - dmEditTolerance)
        return;
    out = std::min(out, lane.end());
    lane.seamAt(in);
    const int last = lane.seamAt(out);
    const int first = lane.seamAt(in);
    lane.replace(first, last, {}, -(out - in));
    lane.tidy(first);
}

void DmEdit::Imp::ripple(double time, double by, const std::set<std::pair<int, int>>& done)
{
    if (by == 0.0)
        return;
    std::set<int> tracksDone;
    for (const auto& [track, layer] : done)
        tracksDone.insert(track);
    const auto moves = [&](int track)
    {
        const bool isOff = std::ranges::find(options().unlockedTracks, track) != options().unlockedTracks.end();
        return tracksDone.contains(track) || (options().syncLock && !isOff);
    };
    for (int t = 0; t < int(draft.value.tracks.size()); ++t)
    {
        if (!moves(t))
            continue;
        for (int l = 0; l < int(draft.value.tracks[std::size_t(t)].layers.size()); ++l)
        {
            if (done.contains({t, l}) || !draft.value.layer({t, l}))
                continue;
            DmLane lane(draft, {t, l});
            if (lane.count() == 0)
                continue;
            if (by > 0.0)
            {
                if (time >= lane.end() - dmEditTolerance)
                    continue;
                const int index = lane.seamAt(std::max(time, lane.begin()));
                lane.replace(index, index, {lane.makeGap(time, by)}, by);
                lane.tidy(index);
                continue;
            }
            const double in = std::max(time + by, lane.begin());
            if (in >= lane.end() - dmEditTolerance)
                continue;
            // A layer that begins in that time, or behind it, keeps its begin: what moves, moves into gaps there.
            const double out = std::min(std::max(time, in - by), lane.end());
            const double taken = options().cutSynced ? time : in;
            const int end = lane.layer().runs.lastBeginningBy(out - dmEditTolerance);
            for (int i = end; i >= 0 && lane.out(i) > in + dmEditTolerance; --i)
                if (!lane.isGap(i) && lane.length(i) > dmEditTolerance &&
                    std::min(lane.out(i), out) > taken + dmEditTolerance)
                    dmRefuse("Closing %g frames would take material of track %d: %s plays there.", -by, t + 1,
                             lane.called(i).c_str());
            close({t, l}, in, out);
        }
    }
    shiftMarks(time, by, moves);
}

namespace
{

/// Where a mark goes when time opens at a record time, or closes in front of it.
double moved(double mark, double time, double by)
{
    if (!dmIsTime(mark))
        return mark;
    if (by > 0.0)
        return mark >= time - dmEditTolerance ? mark + by : mark;
    if (mark >= time - dmEditTolerance)
        return mark + by;
    return std::min(mark, time + by);
}

/// A list of marks with their times moved; empty where none moves.
std::vector<DmPropertySetPtr> movedMarks(const DmSetList<DmCueMark>& marks, double time, double by)
{
    std::vector<DmPropertySetPtr> all;
    bool any = false;
    for (int i = 0; i < marks.count(); ++i)
    {
        const DmCueMark* const mark = marks.at(i);
        CoSharedPtr<DmCueMark> copy = mark ? DM::staticPointerCast<DmCueMark>(mark->clone()) : nullptr;
        if (mark && moved(mark->getCueMarkTime(), time, by) != mark->getCueMarkTime())
        {
            any = true;
            static_cast<void>(copy->setCueMarkTime(moved(mark->getCueMarkTime(), time, by)));
        }
        all.push_back(copy);
    }
    return any ? all : std::vector<DmPropertySetPtr>();
}

} // namespace

void DmEdit::Imp::shiftMarks(double time, double by, const std::function<bool(int track)>& isMoved)
{
    const CoSharedPtr<DmCompositionNode> composition = ownComposition();
    const std::vector<DmPropertySetPtr> marks = movedMarks(draft.value.bare->getCueMarks(), time, by);
    for (std::size_t i = 0; i < marks.size(); ++i)
        static_cast<void>(composition->setValueFromPropertyList(DmCompositionNode::CueMarks, DM_VECTOR_PROPERTY_SET,
                                                                int(i), &marks[i]));
    bool any = !marks.empty();
    for (const int mark : {DmCompositionNode::InMark, DmCompositionNode::OutMark, DmCompositionNode::EmbInMark,
                           DmCompositionNode::EmbOutMark})
    {
        double was = dmNoTime;
        static_cast<void>(composition->getPropertyValue(mark, DM_DOUBLE, &was));
        const double now = moved(was, time, by);
        if (now == was)
            continue;
        any = true;
        static_cast<void>(composition->setPropertyValue(mark, DM_DOUBLE, &now));
    }
    if (any)
        setComposition(composition);
    for (std::size_t t = 0; t < draft.value.tracks.size(); ++t)
        for (DmTimelineValue::Layer& layer : draft.value.tracks[t].layers)
            if (layer.bare && layer.bare->getCueMarks().count() > 0 && isMoved(int(t)))
            {
                const std::vector<DmPropertySetPtr> layerMarks = movedMarks(layer.bare->getCueMarks(), time, by);
                if (layerMarks.empty())
                    continue;
                // A copy's marks are its own, and not constant.
                const CoSharedPtr<DmLayerNode> bare = dmEditCopy(*layer.bare);
                for (int i = 0; i < bare->getCueMarks().count(); ++i)
                    if (const auto* const mark = static_cast<const DmCueMark*>(layerMarks[std::size_t(i)].get()))
                        static_cast<void>(bare->getCueMarks().at(i)->setCueMarkTime(mark->getCueMarkTime()));
                bare->freeze();
                layer.bare = bare;
            }
}

CoSharedPtr<DmCompositionNode> DmEdit::Imp::ownComposition() const
{
    return dmEditCopy(*draft.value.bare);
}

void DmEdit::Imp::setComposition(const CoSharedPtr<DmCompositionNode>& composition)
{
    composition->freeze();
    draft.value.bare = composition;
}

void DmEdit::Imp::progress(double done) const
{
    if (host && !host(done))
        dmRefuse("Cancelled.");
}

void DmEdit::Imp::progressOf(const DmLayerPlace& layer, int element, int count) const
{
    if (host && element % 256 == 0)
        progress((layer.track + double(element) / count) / double(draft.value.tracks.size()));
}

/// "layerLength" and "compLength" follow the elements, which must end where a label can say it.
void DmEdit::Imp::followLengths(const DmTimelineValue& before)
{
    const auto endOf = [](const DmTimelineValue::Layer& layer)
    {
        const int count = layer.runs.count();
        if (count == 0)
            return layer.bare->getLayerStartTC();
        const DmRuns::Element last = layer.runs.at(count - 1);
        double length = 0.0;
        static_cast<void>(dmWithElement(const_cast<DmTreeNode*>(last.node),
                                        [&](const auto& node)
                                        {
                                            length = node.getRecLength();
                                            return DM_NO_ERROR;
                                        }));
        return last.recIn() + length;
    };
    const auto lastEnd = [&](const DmTimelineValue& value)
    {
        double end = -dmNoTime;
        for (const DmTimelineValue::Track& track : value.tracks)
            for (const DmTimelineValue::Layer& layer : track.layers)
                if (layer.bare && layer.runs.count() > 0 && dmIsTime(endOf(layer)))
                    end = std::max(end, endOf(layer));
        return end;
    };
    for (std::size_t t = 0; t < draft.value.tracks.size(); ++t)
        for (std::size_t l = 0; l < draft.value.tracks[t].layers.size(); ++l)
        {
            DmTimelineValue::Layer& layer = draft.value.tracks[t].layers[l];
            const DmTimelineValue::Layer* const was = before.layer({int(t), int(l)});
            if (!layer.bare || (was && was->number == layer.number && was->runs == layer.runs))
                continue;
            const double end = endOf(layer);
            if (!dmIsTime(end) && !(was && !dmIsTime(endOf(*was))))
                dmRefuse("A track would end behind the last frame that can be counted.");
            const double length = end - layer.bare->getLayerStartTC();
            if (length == layer.bare->getLayerLength() || !dmIsTime(length))
                continue;
            const CoSharedPtr<DmLayerNode> bare = dmEditCopy(*layer.bare);
            static_cast<void>(bare->setLayerLength(length));
            bare->freeze();
            layer.bare = bare;
        }
    const double was = lastEnd(before);
    const double now = lastEnd(draft.value);
    if (was == now || draft.value.bare->getCompLength() != before.bare->getCompLength())
        return;
    const double start =
        draft.value.bare->getCompLength() > 0.0 && was > -dmNoTime ? was - draft.value.bare->getCompLength() : dmNoTime;
    if (!dmIsTime(start) && was > -dmNoTime)
        return; // not set before: not ours to set
    const CoSharedPtr<DmCompositionNode> composition = ownComposition();
    double length = 0.0;
    if (now > -dmNoTime)
    {
        double begin = start;
        if (!dmIsTime(begin))
        {
            begin = dmNoTime;
            for (const DmTimelineValue::Track& track : draft.value.tracks)
                for (const DmTimelineValue::Layer& layer : track.layers)
                    if (layer.bare && layer.runs.count() > 0)
                        begin = std::min(begin, layer.bare->getLayerStartTC());
        }
        length = now - begin;
    }
    static_cast<void>(composition->setCompLength(std::max(0.0, length)));
    setComposition(composition);
}
