#include "dmEditImp.h"

#include "dmContainerNode.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>

// DmEdit::Imp

DmEdit::Imp::Imp(DmTimeline opened, DmEditOptions options)
    : _timeline(std::move(opened))
{
    draft.options = std::move(options);
    if (!_timeline)
        return;
    draft.value = *_timeline.value();
    draft.fcm = dmModeOrDefault(dmFcmFromText(draft.value.bare->getFCM()));
}

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
            const int index = DmTimelineValue::indexAt(other.layer().runs, record);
            const auto* const partner = index >= 0 ? dynamic_cast<const DmSourceNode*>(other.segment(index)) : nullptr;
            if (!partner || !partner->getSrcInput() || !dmLinkGroupOf(partner->getSegmentId()).empty() ||
                other.mediaType() == lane.mediaType() ||
                partner->getSrcInput()->getName() != source->getSrcInput()->getName())
                continue;
            const double theirs = other.in(index)-dmMaterialOf(*partner, draft.fcm).begin - partner->getRelIn();
            if (std::abs(theirs - offset) < dmEditTolerance)
                add({t, l, index});
        }
    return all;
}

double DmEdit::Imp::within(double wanted, double there, const char* what) const
{
    if (wanted <= there + dmEditTolerance)
        return wanted;
    if (!options().clamp)
        dmRefuse("%s: %g frames are wanted, there are %g.", what, wanted, std::max(0.0, there));
    return std::max(0.0, std::floor(there + dmEditTolerance));
}

DmLane::Segment DmEdit::Imp::incoming(DmLane& lane, const DmSegmentNode* segment)
{
    if (!segment)
        dmRefuse("There is no segment to put in.");
    if (!segment->isSegment())
        dmRefuse("A layer takes no %s.", dmUtf8(segment->getPSetName()).c_str());
    if (segment->getMediaType() != lane.mediaType())
        dmRefuse("\"%s\" is not of the layer's media type.", dmUtf8(segment->getName()).c_str());
    if (!std::isfinite(segment->getRecLength()))
        dmRefuse("\"%s\" has no length.", dmUtf8(segment->getName()).c_str());
    lane.needLength(*segment);
    const DmReach reach(*segment, draft.fcm, {});
    const double overshoot = reach.material().isLimited() && reach.played().motion() == DmPlayed::Motion::Constant
                                 ? reach.played().end() - reach.material().length
                                 : 0.0;
    if (overshoot > 1e-3)
        dmRefuse("\"%s\" has only %g frames of material.", dmUtf8(segment->getName()).c_str(), reach.material().length);
    const DmLane::Segment copy = dmEditCopy(*segment);
    if (copy->getSegmentId().empty() ? segment->whatIs() != DM_GAP_NODE : bool(draft.value.find(copy->getSegmentId())))
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
    for (int t = 0; t < int(draft.value.tracks.size()); ++t)
    {
        const bool isOff = std::ranges::find(options().unlockedTracks, t) != options().unlockedTracks.end();
        if (!tracksDone.contains(t) && (!options().syncLock || isOff))
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
            const double out = std::min(time, lane.end());
            if (!options().cutSynced)
            {
                const int end = lane.layer().runs.lastBeginningBy(out - dmEditTolerance);
                for (int i = end; i >= 0 && lane.out(i) > in + dmEditTolerance; --i)
                    if (!lane.isGap(i) && lane.length(i) > dmEditTolerance)
                        dmRefuse("Closing %g frames would take material of track %d: %s plays there.", -by, t + 1,
                                 lane.called(i).c_str());
            }
            close({t, l}, in, out);
        }
    }
    shiftMarks(time, by);
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

void DmEdit::Imp::shiftMarks(double time, double by)
{
    const CoSharedPtr<DmCompositionNode> composition = ownComposition();
    const std::vector<DmPropertySetPtr> marks = movedMarks(draft.value.bare->getCueMarks(), time, by);
    for (std::size_t i = 0; i < marks.size(); ++i)
        static_cast<void>(composition->setValueFromPropertyList(DmCompositionNode::CueMarks, DM_VECTOR_PROPERTY_SET,
                                                                int(i), &marks[i]));
    bool isMoved = !marks.empty();
    for (const int mark : {DmCompositionNode::InMark, DmCompositionNode::OutMark, DmCompositionNode::EmbInMark,
                           DmCompositionNode::EmbOutMark})
    {
        double was = dmNoTime;
        static_cast<void>(composition->getPropertyValue(mark, DM_DOUBLE, &was));
        const double now = moved(was, time, by);
        if (now == was)
            continue;
        isMoved = true;
        static_cast<void>(composition->setPropertyValue(mark, DM_DOUBLE, &now));
    }
    if (isMoved)
        setComposition(composition);
    for (DmTimelineValue::Track& track : draft.value.tracks)
        for (DmTimelineValue::Layer& layer : track.layers)
            if (layer.bare && layer.bare->getCueMarks().count() > 0)
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

/// "layerLength" and "compLength" follow the elements.
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
                if (layer.bare && layer.runs.count() > 0)
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
            const double length = endOf(layer) - layer.bare->getLayerStartTC();
            if (length == layer.bare->getLayerLength())
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

// DmEdit

DmEdit::DmEdit(DmTimeline timeline, DmEditOptions options)
    : _imp(std::make_unique<Imp>(std::move(timeline), std::move(options)))
{
}

DmEdit::~DmEdit() = default;

DmEditOptions& DmEdit::options()
{
    return _imp->draft.options;
}

const DmEditOptions& DmEdit::options() const
{
    return _imp->draft.options;
}

DmTimeline DmEdit::timeline() const
{
    if (_imp->isChanged)
    {
        _imp->_timeline = DmTimeline(std::make_shared<const DmTimelineValue>(_imp->draft.value), _imp->_timeline);
        _imp->isChanged = false;
    }
    return _imp->_timeline;
}

void DmEdit::seedIds(std::uint64_t seed)
{
    _imp->draft.seeded.emplace(seed);
}

const std::vector<DmEdit::Change>& DmEdit::changes() const
{
    return _imp->draft.changes;
}

const std::vector<DmString>& DmEdit::notes() const
{
    return _imp->notes;
}

std::size_t DmEdit::bytes() const
{
    return _imp->draft.bytes;
}

void DmEdit::setProgress(std::function<bool(double)> progress)
{
    _imp->host = std::move(progress);
}

// Pieces of time

DmStatus DmEdit::insert(const DmLayerPlace& layer, double time, const CoSharedPtr<DmSegmentNode>& segment)
{
    return _imp->run(
        [&]
        {
            DmLane lane = _imp->lane(layer);
            const DmLane::Segment copy = _imp->incoming(lane, segment.get());
            const double length = copy->getRecLength();
            const int index = lane.seamAt(time);
            lane.replace(index, index, {copy}, length);
            lane.tidy(index);
            _imp->ripple(time, length, {dmKeyOf(layer)});
        });
}

DmStatus DmEdit::overwrite(const DmLayerPlace& layer, double time, const CoSharedPtr<DmSegmentNode>& segment)
{
    return _imp->run(
        [&]
        {
            DmLane lane = _imp->lane(layer);
            const DmLane::Segment copy = _imp->incoming(lane, segment.get());
            const double out = time + copy->getRecLength();
            lane.seamAt(time);
            const double end = lane.end();
            const int last = lane.seamAt(std::min(out, end));
            const int first = lane.seamAt(time);
            lane.replace(first, last, {copy}, 0.0);
            lane.tidy(first);
        });
}

namespace
{

void needRange(double in, double out)
{
    if (!dmIsTime(in) || !dmIsTime(out) || !(in < out))
        dmRefuse("The range is empty.");
}

void lift(DmLane lane, double in, double out)
{
    needRange(in, out);
    out = std::min(out, lane.end());
    if (in >= out - dmEditTolerance)
        dmRefuse("Nothing of the layer lies in the range.");
    lane.seamAt(in);
    const int last = lane.seamAt(out);
    const int first = lane.seamAt(in);
    lane.replace(first, last, {lane.makeGap(in, out - in)}, 0.0);
    lane.tidy(first);
}

} // namespace

DmStatus DmEdit::lift(const DmLayerPlace& layer, double in, double out)
{
    return _imp->run([&] { ::lift(_imp->lane(layer), in, out); });
}

DmStatus DmEdit::extract(const DmLayerPlace& layer, double in, double out)
{
    return _imp->run(
        [&]
        {
            needRange(in, out);
            const double end = _imp->lane(layer).end();
            if (in >= end - dmEditTolerance)
                dmRefuse("Nothing of the layer lies in the range.");
            const double last = std::min(out, end);
            _imp->close(layer, in, last);
            _imp->ripple(last, in - last, {dmKeyOf(layer)});
        });
}

DmStatus DmEdit::liftSegment(const DmElementPlace& segment)
{
    return _imp->run(
        [&]
        {
            // By time: what is done to one layer may move positions in another that is linked twice.
            std::vector<std::pair<DmLayerPlace, std::pair<double, double>>> ranges;
            for (const DmElementPlace& each : _imp->together(segment))
            {
                const DmLane lane = _imp->lane(each);
                lane.needWhole(each.index);
                ranges.push_back({each.inLayer(), {lane.in(each.index), lane.out(each.index)}});
            }
            for (const auto& [layer, range] : ranges)
                ::lift(_imp->lane(layer), range.first, range.second);
        });
}

DmStatus DmEdit::extractSegment(const DmElementPlace& segment)
{
    return _imp->run(
        [&]
        {
            std::vector<std::pair<DmLayerPlace, std::pair<double, double>>> ranges;
            std::set<std::pair<int, int>> done;
            for (const DmElementPlace& each : _imp->together(segment))
            {
                const DmLane lane = _imp->lane(each);
                lane.needWhole(each.index);
                ranges.push_back({each.inLayer(), {lane.in(each.index), lane.out(each.index)}});
                if (!done.insert(dmKeyOf(each.inLayer())).second)
                    dmRefuse("Two linked segments lie on one layer; edit them unlinked.");
                if (std::abs(ranges.back().second.second - ranges.back().second.first -
                             (ranges.front().second.second - ranges.front().second.first)) > dmEditTolerance)
                    dmRefuse("Linked segments of different lengths would lose their sync; edit them unlinked.");
            }
            for (const auto& [layer, range] : ranges)
                _imp->close(layer, range.first, range.second);
            const auto& [in, out] = ranges.front().second;
            _imp->ripple(out, in - out, done);
        });
}

// Edges

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
    static_cast<void>(between->setRecIn(between->getRecIn() + by));
    lane.put(seam - 1, seam + 2, {left, between, right}, 0.0);
    lane.tidy(seam);
}

void needSeam(const DmLane& lane, int seam)
{
    if (!lane.transition(seam))
        dmRefuse("Element %d of the layer is no seam.", seam);
    if (!lane.segment(seam - 1) || !lane.segment(seam + 1))
        dmRefuse("The seam has no segment on one of its sides.");
    lane.needWhole(seam - 1);
    lane.needWhole(seam + 1);
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
            needSeam(_imp->lane(seam), seam.index);
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
                if (lane.needSegment(each.index).whatIs() == DM_GAP_NODE)
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
                        static_cast<void>(between->setRecIn(between->getRecIn() + move));
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
                lane.tidy(i);
            }
        });
}

// Pieces

DmStatus DmEdit::split(const DmLayerPlace& layer, double time)
{
    return _imp->run(
        [&]
        {
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

} // namespace

DmStatus DmEdit::join(const DmElementPlace& seam)
{
    return _imp->run(
        [&]
        {
            DmLane lane = _imp->lane(seam);
            needSeam(lane, seam.index);
            if (lane.length(seam.index) > dmEditTolerance)
                dmRefuse("A transition lies on the seam.");
            const DmLane::Segment left = lane.ownSegment(seam.index - 1);
            const DmLane::Segment right = lane.ownSegment(seam.index + 1);
            const DmPlayed before(*left, _imp->draft.fcm);
            const DmPlayed behind(*right, _imp->draft.fcm);
            const double point = lane.in(seam.index + 1);
            const bool gaps = lane.isGap(seam.index - 1) && lane.isGap(seam.index + 1);
            if (!gaps)
            {
                if (left->whatIs() != right->whatIs() || !sameMedium(*left, *right))
                    dmRefuse("The two segments are not of one medium.");
                const double leftBegin = dmMaterialOf(*left, _imp->draft.fcm).begin;
                const double rightBegin = dmMaterialOf(*right, _imp->draft.fcm).begin;
                const std::optional<double> ends = before.positionAt(point);
                const std::optional<double> begins = behind.positionAt(point);
                if (before.motion() == DmPlayed::Motion::Keyed || before.motion() != behind.motion() ||
                    before.speed() != behind.speed() || !ends || !begins ||
                    std::abs(*ends + leftBegin - *begins - rightBegin) > 1e-3)
                    dmRefuse("The second segment does not go on where the first one stops.");
                // Keys of the second half count from its begin.
                const DmLane::Segment shifted = lane.ownSegment(seam.index + 1);
                DmSegmentChange::shiftKeys(*shifted, left->getRecLength());
                bool same = left->getEffects().count() == shifted->getEffects().count() &&
                            left->getMuted() == shifted->getMuted();
                for (int i = 0; same && i < left->getEffects().count(); ++i)
                    if (dmDeepEqual(*left->getEffects().at(i), *shifted->getEffects().at(i), same) != DM_NO_ERROR)
                        same = false;
                if (!same)
                    dmRefuse("The two segments carry different effects.");
            }
            DmSegmentChange change = lane.change(left, seam.index - 1);
            change.moveTail(right->getRecLength());
            change.settle({lane.beside(seam.index - 1).before, lane.beside(seam.index + 1).behind});
            for (int i = 0; i < right->getSegmentMarks().count(); ++i)
                if (DmCueMark* const mark = right->getSegmentMarks().at(i))
                    static_cast<void>(left->addSegmentMark(CoSharedPtr<DmCueMark>(mark)));
            lane.put(seam.index - 1, seam.index + 2, {left}, 0.0);
        });
}

namespace
{

/// Refuses material that does not reach as far as it is to play, transitions beside it included.
void needMaterial(const DmSegmentNode& segment, DM::FrameCodeModes fcm, DmPlayedBeside beside)
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

} // namespace

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
            needMaterial(*own, _imp->draft.fcm, lane.beside(segment.index));
            DmSegmentChange(*own, _imp->draft.fcm, lane.beside(segment.index)).settle(lane.beside(segment.index));
            lane.put(segment.index, segment.index + 1, {own}, 0.0);
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

DmStatus DmEdit::swap(const DmElementPlace& a, const DmElementPlace& b)
{
    return _imp->run(
        [&]
        {
            if (a == b)
                dmRefuse("A segment cannot change places with itself.");
            DmLane first = _imp->lane(a);
            DmLane second = _imp->lane(b);
            const double lengthA = first.needSegment(a.index).getRecLength();
            const double lengthB = second.needSegment(b.index).getRecLength();
            first.needWhole(a.index);
            second.needWhole(b.index);
            if (first.mediaType() != second.mediaType())
                dmRefuse("The two segments are of different media types.");
            const bool oneLayer = a.inLayer() == b.inLayer();
            if (!oneLayer && std::abs(lengthA - lengthB) > dmEditTolerance)
                dmRefuse("Segments of different tracks must be of one length to change places.");
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
            cutWhereShort(first, indexA, _imp->draft.fcm);
            cutWhereShort(second, indexB, _imp->draft.fcm);
            for (const auto& [place, index] : {std::pair(a.inLayer(), indexA), std::pair(b.inLayer(), indexB)})
            {
                DmLane lane = _imp->lane(place);
                const DmLane::Segment own = lane.ownSegment(index);
                lane.change(own, index).settle(lane.beside(index));
                lane.put(index, index + 1, {own}, 0.0);
            }
        });
}

DmStatus DmEdit::move(const DmElementPlace& segment, const DmLayerPlace& to, double time)
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
            const double by = time - _imp->lane(segment).in(segment.index);
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
            std::set<std::pair<int, int>> left;
            std::set<std::pair<int, int>> entered;
            for (const Moved& each : all)
            {
                if (insert)
                    _imp->close(each.from, each.in, each.out);
                else
                    ::lift(_imp->lane(each.from), each.in, each.out);
                left.insert(dmKeyOf(each.from));
            }
            double length = all.front().out - all.front().in;
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
                lane.seamAt(each.target);
                const int last = lane.seamAt(insert ? each.target : std::min(each.target + length, lane.end()));
                const int first = lane.seamAt(each.target);
                lane.replace(first, last, {each.node}, insert ? each.out - each.in : 0.0);
                lane.tidy(first);
                entered.insert(dmKeyOf(each.to));
            }
            if (insert)
                _imp->ripple(all.front().target, length, entered);
        });
}

DmStatus DmEdit::fill(const DmLayerPlace& layer, const CoSharedPtr<DmSegmentNode>& material, double recordIn,
                      double recordOut, double sourceIn, double sourceOut)
{
    CoSharedPtr<DmSegmentNode> copy;
    double at = recordIn;
    const DmStatus prepared = _imp->run(
        [&]
        {
            if (!material || !material->isSegment())
                dmRefuse("There is no material.");
            const int given = dmIsTime(recordIn) + dmIsTime(recordOut) + dmIsTime(sourceIn) + dmIsTime(sourceOut);
            if (given < 3)
                dmRefuse("Three points are needed, %d are given.", given);
            copy = dmEditCopy(*material);
            const double rate = DmPlayed(*copy, _imp->draft.fcm).rate();
            const bool recordRange = dmIsTime(recordIn) && dmIsTime(recordOut);
            const double length = recordRange ? recordOut - recordIn : (sourceOut - sourceIn) / rate;
            if (!(length >= dmLeastLength))
                dmRefuse("The range is empty.");
            at = dmIsTime(recordIn) ? recordIn : recordOut - length;
            const double begin = dmIsTime(sourceIn) ? sourceIn : sourceOut - length * rate;
            if (given == 4 && _imp->options().fit && sourceOut <= sourceIn)
                dmRefuse("The source range is empty.");
            static_cast<void>(copy->setRecLength(length));
            static_cast<void>(copy->setRelIn(begin));
        });
    if (!prepared.ok())
        return prepared;
    const bool fits =
        _imp->options().fit && dmIsTime(recordIn) && dmIsTime(recordOut) && dmIsTime(sourceIn) && dmIsTime(sourceOut);
    if (fits)
    {
        const double rate = DmPlayed(*copy, _imp->draft.fcm).rate();
        if (const DmStatus status = dmSetSpeedOf(*copy, (sourceOut - sourceIn) / rate / (recordOut - recordIn));
            !status.ok())
            return status;
    }
    if (copy->getRelIn() < 0.0)
    {
        const DmMaterial there = dmMaterialOf(*copy, _imp->draft.fcm);
        if (there.isLimited())
        {
            DmStatus status;
            status.fail(DM_BAD_VALUE, "The material has %g frames too few in front.", -copy->getRelIn());
            return status;
        }
        DmSegmentChange(*copy, _imp->draft.fcm, {}).settle({});
    }
    return _imp->options().insert ? insert(layer, at, copy) : overwrite(layer, at, copy);
}

// Properties

DmStatus DmEdit::change(const DmElementPlace& element, const std::function<eDmErrorId(DmTreeNode&)>& how)
{
    return _imp->run(
        [&]
        {
            DmLane lane = _imp->lane(element);
            if (!lane.segment(element.index) && !lane.transition(element.index))
                dmRefuse("There is no element %d in the layer.", element.index);
            const double in = lane.in(element.index);
            const double length = lane.length(element.index);
            const bool isSegment = lane.segment(element.index) != nullptr;
            DmRuns::Node own;
            if (isSegment)
                own = lane.ownSegment(element.index);
            else
                own = lane.own<DmTransitionNode>(element.index);
            if (how(*own) != DM_NO_ERROR)
                dmRefuse("%s takes no such change.", lane.called(element.index).c_str());
            static_cast<void>(dmWithElement(own.get(),
                                            [&](auto& node)
                                            {
                                                static_cast<void>(node.setRecIn(in));
                                                return node.setRecLength(length);
                                            }));
            lane.put(element.index, element.index + 1, {own}, 0.0);
        });
}

namespace
{

template <class Change>
std::function<eDmErrorId(DmTreeNode&)> onSegment(Change change)
{
    return [change](DmTreeNode& node)
    {
        DmSegmentNode* const segment = dmSegment(&node);
        return segment ? change(*segment) : DM_BAD_VALUE;
    };
}

} // namespace

DmStatus DmEdit::mute(const DmElementPlace& segment, bool muted)
{
    return change(segment, onSegment([muted](DmSegmentNode& node) { return node.setMuted(muted); }));
}

DmStatus DmEdit::rename(const DmElementPlace& element, const DmString& name)
{
    return change(element, [&name](DmTreeNode& node) { return node.setName(name); });
}

DmStatus DmEdit::addMark(const DmElementPlace& segment, const CoSharedPtr<DmCueMark>& mark)
{
    return change(segment, onSegment(
                               [&mark](DmSegmentNode& node) {
                                   return mark ? node.addSegmentMark(DM::staticPointerCast<DmCueMark>(mark->clone()))
                                               : DM_BAD_VALUE;
                               }));
}

DmStatus DmEdit::addMark(const CoSharedPtr<DmCueMark>& mark)
{
    return _imp->run(
        [&]
        {
            if (!mark)
                dmRefuse("There is no mark.");
            const CoSharedPtr<DmCompositionNode> composition = _imp->ownComposition();
            static_cast<void>(composition->addCueMark(DM::staticPointerCast<DmCueMark>(mark->clone())));
            _imp->setComposition(composition);
        });
}

DmStatus DmEdit::addEffect(const DmElementPlace& segment, const CoSharedPtr<DmEffectSettings>& effect)
{
    return change(segment, onSegment(
                               [&effect](DmSegmentNode& node)
                               {
                                   if (!effect || !effect->isSegmentCompatible() ||
                                       effect->getMediaType() != node.getMediaType())
                                       return DM_BAD_VALUE;
                                   return node.addEffect(DM::staticPointerCast<DmEffectSettings>(effect->clone()));
                               }));
}

DmStatus DmEdit::removeEffect(const DmElementPlace& segment, int index)
{
    return change(segment, onSegment([index](DmSegmentNode& node) { return node.removeEffect(index); }));
}

DmStatus DmEdit::addKeyFrame(const DmElementPlace& segment, int effect, const DmString& channel,
                             const CoSharedPtr<DmKeyFrame>& key)
{
    return change(segment, onSegment(
                               [&](DmSegmentNode& node)
                               {
                                   DmEffectSettings* const settings = node.getEffects().at(effect);
                                   if (!settings || !key || channel.empty())
                                       return DM_BAD_VALUE;
                                   const CoSharedPtr<DmAnimationChannel> curve = settings->getChannelByName(channel);
                                   return curve ? curve->addKeyFrame(DM::staticPointerCast<DmKeyFrame>(key->clone()))
                                                : DM_BAD_VALUE;
                               }));
}
