#include "dmEditImp.h"

#include "dmATimewarpSettings.h"
#include "dmContainerNode.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmTimewarpSettings.h"
#include "dmTreeTool.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace
{

template <class Visit>
void forEachLayer(const DmTimelineValue& value, Visit&& visit)
{
    for (int t = 0; t < int(value.tracks.size()); ++t)
        for (int l = 0; l < int(value.tracks[std::size_t(t)].layers.size()); ++l)
            if (value.layer({t, l}))
                visit(DmLayerPlace{t, l});
}

/// The earliest begin of the layers that hold elements, and the latest end of these; nothing, at their begin, where no
/// layer holds any.
std::pair<double, double> extent(DmEditDraft& draft)
{
    double begin = dmNoTime;
    double emptyBegin = dmNoTime;
    double end = -dmNoTime;
    forEachLayer(draft.value,
                 [&](const DmLayerPlace& place)
                 {
                     const DmLane lane(draft, place);
                     double& first = lane.count() > 0 ? begin : emptyBegin;
                     first = std::min(first, lane.begin());
                     if (lane.count() > 0)
                         end = std::max(end, lane.end());
                 });
    if (dmIsTime(begin))
        return {begin, end};
    return dmIsTime(emptyBegin) ? std::pair(emptyBegin, emptyBegin) : std::pair(0.0, 0.0);
}

/// An element of another timeline for this one: at another time, and with an id of its own where its group is known
/// here.
DmRuns::Node adopted(DmEditDraft& draft, const DmTimelineValue& before, const DmRuns::Element& element, double shift)
{
    DmRuns::Node copy = dmEditCopy(*element.node);
    dmStandAt(*copy, element.recIn() + shift);
    if (DmSegmentNode* const segment = dmSegment(copy.get()))
        if (!segment->getSegmentId().empty() && !before.group(segment->getSegmentId()).empty())
            draft.reidentify(*segment);
    return copy;
}

/// Another timeline, to go with this one: of its mode. `none`: what is said where there is no other.
DmEditDraft draftOf(const DmTimelineValue* other, const DmEditDraft& ours, const char* none)
{
    if (!other)
        dmRefuse("%s", none);
    DmEditDraft theirs;
    theirs.value = *other;
    if (dmModeOrDefault(dmFcmFromText(theirs.value.bare->getFCM())) != ours.fcm)
        dmRefuse("The other timeline is of another mode; conform it first.");
    return theirs;
}

/// Copies of marks, for a composition or a layer whose times lie elsewhere.
template <class Holder>
void addMarks(Holder& holder, const DmSetList<DmCueMark>& marks, double shift)
{
    for (int i = 0; i < marks.count(); ++i)
        if (const DmCueMark* const mark = marks.at(i))
        {
            const CoSharedPtr<DmCueMark> copy = DM::staticPointerCast<DmCueMark>(mark->clone());
            if (dmIsTime(copy->getCueMarkTime()))
                static_cast<void>(copy->setCueMarkTime(copy->getCueMarkTime() + shift));
            static_cast<void>(holder.addCueMark(copy));
        }
}

/// A track without its layers, for another timeline: with the next number of its media type there.
CoSharedPtr<DmTrackNode> adopted(const DmTrackNode& track, const std::vector<DmTimelineValue::Track>& among)
{
    const CoSharedPtr<DmTrackNode> bare = dmEditCopy(track);
    int number = 0;
    for (const DmTimelineValue::Track& each : among)
        if (each.bare && each.bare->getMediaType() == track.getMediaType())
            number = std::max(number, each.bare->getTrackNum());
    static_cast<void>(bare->setTrackNum(number + 1));
    bare->freeze();
    return bare;
}

/// A layer without its elements, for another timeline.
CoSharedPtr<DmLayerNode> adopted(const DmLayerNode& layer, double start, double shift)
{
    const CoSharedPtr<DmLayerNode> bare = dmEditCopy(layer);
    static_cast<void>(bare->setLayerStartTC(start));
    for (int i = 0; i < bare->getCueMarks().count(); ++i)
        if (DmCueMark* const mark = bare->getCueMarks().at(i); mark && dmIsTime(mark->getCueMarkTime()))
            static_cast<void>(mark->setCueMarkTime(mark->getCueMarkTime() + shift));
    bare->freeze();
    return bare;
}

/// Takes marks away that lie outside of a range; of one that reaches into it, what lies inside stays.
template <class Holder>
void trimMarks(Holder& holder, double in, double out)
{
    for (int i = holder.getCueMarks().count(); i-- > 0;)
    {
        DmCueMark* const mark = holder.getCueMarks().at(i);
        if (!mark || !dmIsTime(mark->getCueMarkTime()))
            continue;
        const double time = mark->getCueMarkTime();
        const double length = dmIsTime(mark->getCueMarkDuration()) ? mark->getCueMarkDuration() : 0.0;
        if (time >= out - dmEditTolerance || (time < in - dmEditTolerance && time + length <= in + dmEditTolerance))
            static_cast<void>(holder.removeCueMark(i));
        else if (time < in - dmEditTolerance)
        {
            static_cast<void>(mark->setCueMarkTime(in));
            static_cast<void>(mark->setCueMarkDuration(time + length - in));
        }
    }
}

/// Where something is taken off, in front of `in` or from `out` on.
void trimMarks(DmEditDraft& draft, double in, double out)
{
    const auto trimmed = [&]<class Node>(const Node& was)
    {
        const CoSharedPtr<Node> bare = dmEditCopy(was);
        trimMarks(*bare, in, out);
        bare->freeze();
        return bare;
    };
    if (draft.value.bare->getCueMarks().count() > 0)
        draft.value.bare = trimmed(*draft.value.bare);
    for (DmTimelineValue::Track& track : draft.value.tracks)
        for (DmTimelineValue::Layer& layer : track.layers)
            if (layer.bare && layer.bare->getCueMarks().count() > 0)
                layer.bare = trimmed(*layer.bare);
}

} // namespace

DmStatus DmEdit::trimToRange(const DmEditTime& from, const DmEditTime& to)
{
    return _imp->run(
        [&]
        {
            double in = _imp->frames(from);
            const double out = _imp->frames(to);
            dmNeedRange(in, out);
            const auto [first, last] = extent(_imp->draft);
            const double begin = first; // a lambda cannot take the binding itself
            const double end = last;
            if (in >= end || out <= begin)
                dmRefuse("Nothing lies in the range.");
            in = std::max(in, begin);
            const double by = in - begin;
            int all = 0;
            forEachLayer(_imp->draft.value, [&](const DmLayerPlace&) { ++all; });
            int done = 0;
            forEachLayer(_imp->draft.value,
                         [&](const DmLayerPlace& place)
                         {
                             _imp->progress(double(done++) / all);
                             DmLane lane = _imp->lane(place);
                             _imp->close(place, std::max(out, lane.begin()), dmNoTime / 2);
                             if (by <= 0.0 || lane.count() == 0)
                                 return;
                             lane.beginBy(begin);
                             _imp->close(place, begin, in);
                         });
            trimMarks(_imp->draft, by > 0.0 ? in : -HUGE_VAL, out < end ? out : HUGE_VAL);
            const auto all_ = [](int) { return true; };
            _imp->shiftMarks(end, -std::max(0.0, end - out), all_);
            _imp->shiftMarks(in, -by, all_);
        });
}

namespace
{

/// Puts the tracks of another timeline behind the end of a draft's.
class Concatenation
{
public:
    /// `begin` is where ours begins, `shift` what takes a time of theirs behind its end.
    Concatenation(DmEditDraft& ours, DmEditDraft& theirs, double begin, double shift)
        : _ours(ours)
        , _theirs(theirs)
        , _before(ours.value)
        , _begin(begin)
        , _shift(shift)
        , _taken(ours.value.tracks.size(), false)
    {
    }

    void add(std::size_t theirTrack)
    {
        const DmTimelineValue::Track& track = _theirs.value.tracks[theirTrack];
        if (!track.bare)
            return;
        const std::size_t ourTrack = trackFor(track);
        for (std::size_t layer = 0; layer < track.layers.size(); ++layer)
            if (track.layers[layer].bare)
            {
                const std::size_t ourLayer = layerFor(track.layers[layer], ourTrack, layer);
                addElements({int(theirTrack), int(layer)}, {int(ourTrack), int(ourLayer)});
            }
    }

private:
    /// The first track of its kind that nothing was added to, else a fresh one.
    std::size_t trackFor(const DmTimelineValue::Track& track)
    {
        const auto& before = _before.tracks;
        std::size_t ours = 0;
        while (ours < _taken.size() &&
               (_taken[ours] || !before[ours].bare || before[ours].bare->getMediaType() != track.bare->getMediaType()))
            ++ours;
        if (ours < _taken.size())
            _taken[ours] = true;
        else
        {
            _ours.value.tracks.push_back({adopted(*track.bare, _ours.value.tracks), {}, {}});
            ours = _ours.value.tracks.size() - 1;
        }
        return ours;
    }

    /// The layer of that place with their marks, else a fresh one.
    std::size_t layerFor(const DmTimelineValue::Layer& theirs, std::size_t ourTrack, std::size_t place)
    {
        auto& layers = _ours.value.tracks[ourTrack].layers;
        if (place >= layers.size() || !layers[place].bare)
        {
            DmTimelineValue::Layer fresh;
            fresh.number = _ours.value.nextLayer++;
            fresh.bare = adopted(*theirs.bare, _begin, _shift);
            layers.push_back(fresh);
            return layers.size() - 1;
        }
        if (const auto& marks = theirs.bare->getCueMarks(); marks.count() > 0)
        {
            const CoSharedPtr<DmLayerNode> bare = dmEditCopy(*layers[place].bare);
            addMarks(*bare, marks, _shift);
            bare->freeze();
            layers[place].bare = bare;
        }
        return place;
    }

    void addElements(const DmLayerPlace& theirs, const DmLayerPlace& ours)
    {
        const DmRuns& runs = _theirs.value.layer(theirs)->runs;
        if (runs.count() == 0)
            return;
        DmLane(_theirs, theirs).closeEnds(0);
        DmLane lane(_ours, ours);
        lane.closeEnds(0);
        if (lane.count() == 0)
            lane.beginBy(_begin);
        lane.fillTo(runs.at(0).recIn() + _shift);
        std::vector<DmRuns::Node> nodes;
        if (lane.count() > 0)
            nodes.push_back(lane.makeCut(lane.end()));
        runs.forEach(0, runs.count(),
                     [&](const DmRuns::Element& element)
                     {
                         if (!element.node)
                             dmRefuse("The other timeline has an empty element.");
                         nodes.push_back(adopted(_ours, _before, element, _shift));
                     });
        lane.put(lane.count(), lane.count(), nodes, 0.0);
    }

    DmEditDraft& _ours;
    DmEditDraft& _theirs;
    const DmTimelineValue _before;
    const double _begin;
    const double _shift;
    std::vector<bool> _taken; ///< of the tracks that were there before
};

} // namespace

DmStatus DmEdit::concatenate(const DmTimeline& other)
{
    return _imp->run(
        [&]
        {
            DmEditDraft theirs =
                draftOf(other ? other.value() : nullptr, _imp->draft, "There is no timeline to put behind this one.");
            const auto [begin, end] = extent(_imp->draft);
            const auto [theirBegin, theirEnd] = extent(theirs);
            if (theirEnd <= theirBegin)
                return;
            const double shift = std::max(begin, end) - theirBegin;
            Concatenation concatenation(_imp->draft, theirs, begin, shift);
            for (std::size_t t = 0; t < theirs.value.tracks.size(); ++t)
            {
                concatenation.add(t);
                _imp->progress(double(t + 1) / double(theirs.value.tracks.size()));
            }
            const CoSharedPtr<DmCompositionNode> composition = _imp->ownComposition();
            addMarks(*composition, theirs.value.bare->getCueMarks(), shift);
            _imp->setComposition(composition);
        });
}

DmStatus DmEdit::stack(const DmTimeline& other)
{
    return _imp->run(
        [&]
        {
            DmEditDraft theirs = draftOf(other ? other.value() : nullptr, _imp->draft,
                                         "There is no timeline to put on top of this one.");
            const DmTimelineValue before = _imp->draft.value;
            const double shift = extent(_imp->draft).first - extent(theirs).first;
            std::size_t done = 0;
            for (const DmTimelineValue::Track& track : theirs.value.tracks)
            {
                _imp->progress(double(done++) / double(theirs.value.tracks.size()));
                if (!track.bare)
                    continue;
                DmTimelineValue::Track fresh;
                fresh.bare = adopted(*track.bare, _imp->draft.value.tracks);
                for (const DmTimelineValue::Layer& layer : track.layers)
                {
                    DmTimelineValue::Layer copy = layer;
                    copy.number = _imp->draft.value.nextLayer++;
                    if (layer.bare)
                    {
                        copy.bare = adopted(*layer.bare, layer.bare->getLayerStartTC() + shift, shift);
                        std::vector<DmRuns::Node> nodes;
                        layer.runs.forEach(0, layer.runs.count(),
                                           [&](const DmRuns::Element& element)
                                           {
                                               if (!element.node)
                                                   dmRefuse("The other timeline has an empty element.");
                                               nodes.push_back(adopted(_imp->draft, before, element, shift));
                                               nodes.back()->freeze();
                                           });
                        copy.runs = DmRuns(std::move(nodes));
                        _imp->draft.value.enter(copy);
                    }
                    fresh.layers.push_back(std::move(copy));
                }
                _imp->draft.value.tracks.push_back(std::move(fresh));
            }
        });
}

namespace
{

/// Effects by which a picture does not cover the one below it.
bool letsThrough(const DmSegmentNode& segment)
{
    static constexpr const wchar_t* classes[] = {L"DmCompSettings", L"DmChromaKeySettings", L"DmResizeSettings",
                                                 L"DmTextSettings", L"DmPaintSettings"};
    for (int i = 0; i < segment.getEffects().count(); ++i)
        if (const DmEffectSettings* const effect = segment.getEffects().at(i); effect && !effect->isMuted())
            for (const wchar_t* const name : classes)
                if (effect->getPSetName() == DmString(name))
                    return true;
    return false;
}

/// A muted segment plays nothing: a gap in its place.
void blankMuted(DmLane& lane)
{
    for (int i = 0; i < lane.count(); ++i)
        if (lane.segment(i) && !lane.isGap(i) && lane.segment(i)->getMuted())
        {
            lane.needWhole(i);
            lane.put(i, i + 1, {lane.makeGap(lane.in(i), lane.length(i))}, 0.0);
        }
}

/// Puts what `upper` shows over what `base` does, with the transitions between; notes what lets `base` through.
void layOver(DmLane& base, DmLane& upper, std::vector<DmString>& notes)
{
    const auto covers = [&](int i) { return upper.segment(i) && !upper.isGap(i) && !upper.segment(i)->getMuted(); };
    upper.closeEnds(0);
    // A transition to what covers nothing is the upper layer's own: it becomes a cut.
    for (int i = 1; i + 1 < upper.count(); ++i)
        if (upper.transition(i) && upper.length(i) > dmEditTolerance && covers(i - 1) != covers(i + 1))
            upper.cutTransition(i, covers(i - 1) ? upper.out(i) : upper.in(i));
    for (int i = 0; i < upper.count();)
    {
        if (!covers(i))
        {
            ++i;
            continue;
        }
        upper.needWhole(i);
        int last = i;
        while (last + 2 < upper.count() && covers(last + 2))
            upper.needWhole(last += 2);
        std::vector<DmRuns::Node> nodes;
        for (int k = i; k <= last; ++k)
        {
            if (const DmSegmentNode* const segment = upper.segment(k))
            {
                if (letsThrough(*segment))
                    notes.push_back(
                        DmString((upper.called(k) + " may let through what lies below it, which is gone.").c_str()));
                nodes.push_back(upper.ownSegment(k));
            }
            else
                nodes.push_back(upper.own<DmTransitionNode>(k));
        }
        const double in = upper.in(i);
        const double out = upper.out(last);
        base.seamAt(in);
        const int behind = base.seamAt(std::min(out, base.end()));
        const int first = base.seamAt(in);
        if (first == base.count() && first > 0)
            nodes.insert(nodes.begin(), base.makeCut(in));
        base.put(first, behind < base.count() ? behind - 1 : behind, nodes, 0.0);
        i = last + 1;
    }
}

/// Takes these layers, which are in order, away, and the tracks that have none left by it.
void dropLayers(DmTimelineValue& value, std::span<const DmLayerPlace> places)
{
    for (std::size_t p = places.size(); p-- > 0;)
    {
        auto& layers = value.tracks[std::size_t(places[p].track)].layers;
        value.leave(layers[std::size_t(places[p].layer)]);
        layers.erase(layers.begin() + places[p].layer);
    }
    for (int t = int(value.tracks.size()); t-- > 0;)
        if (std::ranges::find(places, t, &DmLayerPlace::track) != places.end() &&
            value.tracks[std::size_t(t)].layers.empty())
            value.tracks.erase(value.tracks.begin() + t);
}

} // namespace

DmStatus DmEdit::flatten()
{
    return _imp->run(
        [&]
        {
            std::vector<DmLayerPlace> pictures;
            forEachLayer(_imp->draft.value,
                         [&](const DmLayerPlace& place)
                         {
                             if (_imp->lane(place).mediaType() == DM_MEDIA_VIDEO)
                                 pictures.push_back(place);
                         });
            if (pictures.size() < 2)
                return;
            double begin = dmNoTime;
            for (const DmLayerPlace& place : pictures)
                if (_imp->lane(place).count() > 0)
                    begin = std::min(begin, _imp->lane(place).begin());
            DmLane base = _imp->lane(pictures.front());
            base.beginBy(dmIsTime(begin) ? begin : base.begin());
            blankMuted(base);
            for (std::size_t p = 1; p < pictures.size(); ++p)
            {
                _imp->progress(double(p) / double(pictures.size()));
                DmLane upper = _imp->lane(pictures[p]);
                layOver(base, upper, _imp->notes);
            }
            // Ids are the segments' own still: the layers that they came from go.
            dropLayers(_imp->draft.value, std::span(pictures).subspan(1));
            base.tidy(0);
        });
}

namespace
{

void drop(DmTimelineValue& value, const std::function<bool(int)>& isDropped)
{
    for (int t = int(value.tracks.size()); t-- > 0;)
    {
        if (!isDropped(t))
            continue;
        for (const DmTimelineValue::Layer& layer : value.tracks[std::size_t(t)].layers)
            if (layer.bare)
                value.leave(layer);
        value.tracks.erase(value.tracks.begin() + t);
    }
}

void needTracks(const DmTimelineValue& value, const std::vector<int>& tracks)
{
    for (const int track : tracks)
        if (std::size_t(track) >= value.tracks.size())
            dmRefuse("There is no track %d.", track + 1);
}

} // namespace

DmStatus DmEdit::keepTracks(const std::vector<int>& tracks)
{
    return _imp->run(
        [&]
        {
            needTracks(_imp->draft.value, tracks);
            drop(_imp->draft.value, [&](int t) { return std::ranges::find(tracks, t) == tracks.end(); });
        });
}

DmStatus DmEdit::dropTracks(const std::vector<int>& tracks)
{
    return _imp->run(
        [&]
        {
            needTracks(_imp->draft.value, tracks);
            drop(_imp->draft.value, [&](int t) { return std::ranges::find(tracks, t) != tracks.end(); });
        });
}

DmStatus DmEdit::dropTransitions()
{
    return _imp->run(
        [&]
        {
            forEachLayer(_imp->draft.value,
                         [&](const DmLayerPlace& place)
                         {
                             DmLane lane = _imp->lane(place);
                             for (int i = 1; i + 1 < lane.count(); ++i)
                             {
                                 _imp->progressOf(place, i, lane.count());
                                 if (lane.transition(i) && lane.length(i) > dmEditTolerance)
                                     lane.cutTransition(i, dmCutTimeOf(*lane.transition(i), lane.in(i)));
                             }
                             lane.tidy(0);
                             lane.tidy(lane.count() - 1);
                         });
        });
}

DmStatus DmEdit::dropEffects()
{
    return _imp->run(
        [&]
        {
            const auto isKept = [](const DmEffectSettings* effect) {
                return dynamic_cast<const DmTimewarpSettings*>(effect) ||
                       dynamic_cast<const DmATimewarpSettings*>(effect);
            };
            forEachLayer(_imp->draft.value,
                         [&](const DmLayerPlace& place)
                         {
                             DmLane lane = _imp->lane(place);
                             for (int i = 0; i < lane.count(); ++i)
                             {
                                 _imp->progressOf(place, i, lane.count());
                                 const DmSegmentNode* const segment = lane.segment(i);
                                 bool any = false;
                                 for (int e = 0; segment && e < segment->getEffects().count(); ++e)
                                     any = any || !isKept(segment->getEffects().at(e));
                                 if (!any)
                                     continue;
                                 const DmLane::Segment own = lane.ownSegment(i);
                                 for (int e = own->getEffects().count(); e-- > 0;)
                                     if (!isKept(own->getEffects().at(e)))
                                         static_cast<void>(own->removeEffect(e));
                                 lane.put(i, i + 1, {own}, 0.0);
                             }
                         });
        });
}
