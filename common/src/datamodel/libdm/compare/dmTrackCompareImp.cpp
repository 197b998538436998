#include "dmTrackCompareImp.h"

#include "dmMatchImp.h"

#include "dmCueMark.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace dmCompare
{
namespace
{

/// A length that says where the last shot ends follows from the shots.
bool followsFromShots(const Cut& cut)
{
    double end = 0.0;
    const double start = cut.composition().getRecordStart();
    for (const Lane& lane : cut.lanes())
        end = std::max(end, lane.end - start);
    return std::abs(end - cut.composition().getCompLength()) < 0.5;
}

/// Record times that are label times begin with the first shot.
bool beginsWithFirstShot(const Cut& cut)
{
    double first = HUGE_VAL;
    for (const Shot& shot : cut.shots())
        first = std::min(first, shot.in);
    return cut.composition().countsAbsolutely() && std::abs(first - cut.composition().getStartTC()) < 0.5;
}
bool beginsWithCut(const Cut& cut, const Lane& lane)
{
    return lane.layer->getLayerStartTC() == cut.composition().getRecordStart();
}

} // namespace

void TrackCompare::run()
{
    compareCompositions();
    compareTracks();
}

void TrackCompare::compareCompositions()
{
    const DmCompositionNode& a = _changes.before().composition();
    const DmCompositionNode& b = _changes.after().composition();
    if (_changes.before().fcm() != _changes.after().fcm())
    {
        DmChange& change = _changes.add(Kind::Rate);
        change.property = "fcm";
        change.was = DM::FcmUtil::getFCMString(_changes.before().fcm());
        change.became = DM::FcmUtil::getFCMString(_changes.after().fcm());
    }
    const bool lengthFollows = followsFromShots(_changes.before()) && followsFromShots(_changes.after());
    const bool startFollows = beginsWithFirstShot(_changes.before()) && beginsWithFirstShot(_changes.after());
    _changes.compareAny(a, b, _changes.after().path(), {},
                        [&](int index)
                        {
                            return index == DmCompositionNode::Children || index == DmCompositionNode::Fcm ||
                                   index == DmCompositionNode::CueMarks ||
                                   (index == DmCompositionNode::BaseBlob && haveLeftovers(a, b)) ||
                                   (startFollows &&
                                    (index == DmCompositionNode::StartTC || index == DmCompositionNode::StartTCStr)) ||
                                   (index == DmCompositionNode::CompLength && lengthFollows);
                        });
    // Children that are no tracks stand for themselves.
    for (int i = 0; i < std::max(a.getNbChildren(), b.getNbChildren()); ++i)
    {
        const auto other = [](const DmTreeNode* node)
        { return node && node->whatIs() != DM_TRACK_NODE ? node : nullptr; };
        const DmTreeNode* const one = other(a.getChild(i));
        const DmTreeNode* const two = other(b.getChild(i));
        if (one && two)
            _changes.compareAny(*one, *two, childPath(_changes.after().path(), i), {}, {});
        else if (one || two)
            _changes.tellProperty(_changes.after().path(),
                                  {"children[" + std::to_string(i) + ']', one ? dmUtf8(one->getPSetName()) : "",
                                   two ? dmUtf8(two->getPSetName()) : ""},
                                  {});
    }
}

void TrackCompare::compareTracks()
{
    // A track is where its layers are; one without any is known by its number.
    std::map<int, int> tracks;
    std::map<int, int> backwards;
    const auto pairTracks = [&](int a, int b)
    {
        if (!tracks.contains(a) && !backwards.contains(b))
        {
            tracks[a] = b;
            backwards[b] = a;
        }
    };
    for (std::size_t i = 0; i < _lanes.size(); ++i)
        if (_lanes[i] >= 0)
            pairTracks(_changes.before().lanes()[i].trackAt, _changes.after().lanes()[std::size_t(_lanes[i])].trackAt);
    std::map<std::tuple<int, int>, std::vector<int>> left;
    const auto trackAt = [](const Cut& cut, int i) -> const DmTrackNode*
    {
        const DmTreeNode* const node = cut.composition().getChild(i);
        return node && node->whatIs() == DM_TRACK_NODE ? static_cast<const DmTrackNode*>(node) : nullptr;
    };
    const auto key = [](const DmTrackNode& track)
    { return std::tuple<int, int>(track.getMediaType(), track.getTrackNum()); };
    for (int b = _changes.after().composition().getNbChildren(); b-- > 0;)
        if (const DmTrackNode* const track = trackAt(_changes.after(), b); track && track->getNbChildren() == 0)
            left[key(*track)].push_back(b);
    std::vector<int> order;
    std::vector<int> olds;
    for (int a = 0; a < _changes.before().composition().getNbChildren(); ++a)
    {
        const DmTrackNode* const track = trackAt(_changes.before(), a);
        if (!track)
            continue;
        if (auto found = left.find(key(*track));
            track->getNbChildren() == 0 && found != left.end() && !found->second.empty())
        {
            pairTracks(a, found->second.back());
            found->second.pop_back();
        }
        const auto pair = tracks.find(a);
        order.push_back(pair == tracks.end() ? -1 : pair->second);
        olds.push_back(a);
    }
    const std::vector<bool> keeps = keepsOrder(order);
    for (std::size_t i = 0; i < order.size(); ++i)
    {
        const DmTrackNode& track = *trackAt(_changes.before(), olds[i]);
        if (order[i] < 0)
        {
            DmChange& change = _changes.add(Kind::TrackRemoved);
            change.track = laneName(track, 0);
            change.oldPath = childPath(_changes.before().path(), olds[i]);
            continue;
        }
        const DmTrackNode& now = *trackAt(_changes.after(), order[i]);
        if (!keeps[i])
        {
            DmChange& change = _changes.add(Kind::TrackMoved);
            change.track = laneName(now, 0);
            change.oldPath = childPath(_changes.before().path(), olds[i]);
            change.newPath = childPath(_changes.after().path(), order[i]);
            change.was = std::to_string(olds[i] + 1);
            change.became = std::to_string(order[i] + 1);
        }
        _changes.compareAny(track, now, childPath(_changes.after().path(), order[i]), laneName(now, 0),
                            [&](int index) {
                                return index == DmTrackNode::Children ||
                                       (index == DmTrackNode::BaseBlob && haveLeftovers(track, now));
                            });
    }
    for (int b = 0; b < _changes.after().composition().getNbChildren(); ++b)
        if (const DmTrackNode* const track = trackAt(_changes.after(), b); track && !backwards.contains(b))
        {
            DmChange& change = _changes.add(Kind::TrackAdded);
            change.track = laneName(*track, 0);
            change.newPath = childPath(_changes.after().path(), b);
        }
    compareLayers(tracks, backwards);
}

void TrackCompare::compareLayers(const std::map<int, int>& tracks, const std::map<int, int>& backwards)
{
    std::vector<bool> isKept(_changes.after().lanes().size(), false);
    std::map<int, std::vector<int>> orders;
    for (std::size_t i = 0; i < _lanes.size(); ++i)
    {
        const Lane& lane = _changes.before().lanes()[i];
        const auto track = tracks.find(lane.trackAt);
        if (_lanes[i] < 0)
        {
            if (track == tracks.end())
                continue; // gone with its track
            DmChange& change = _changes.add(Kind::LayerRemoved);
            change.track = lane.name;
            change.oldPath = _changes.before().pathOf(lane, -1);
            continue;
        }
        const Lane& now = _changes.after().lanes()[std::size_t(_lanes[i])];
        isKept[std::size_t(_lanes[i])] = true;
        std::vector<int>& order = orders[lane.trackAt];
        const bool goesBack = !order.empty() && order.back() > _lanes[i];
        if (track == tracks.end() || track->second != now.trackAt || goesBack)
        {
            DmChange& change = _changes.add(Kind::LayerMoved);
            change.track = now.name;
            change.oldTrack = lane.name;
            change.oldPath = _changes.before().pathOf(lane, -1);
            change.newPath = _changes.after().pathOf(now, -1);
        }
        if (!goesBack)
            order.push_back(_lanes[i]);
        const auto follows = [](const Lane& each)
        { return std::abs(each.layer->getLayerStartTC() + each.layer->getLayerLength() - each.end) < 0.5; };
        const bool lengthFollows = follows(lane) && follows(now);
        const bool sameStart = _changes.isNothing(now.start * _changes.toOld() - lane.start) ||
                               (beginsWithCut(_changes.before(), lane) && beginsWithCut(_changes.after(), now));
        _changes.compareAny(*lane.layer, *now.layer, _changes.after().pathOf(now, -1), now.name,
                            [&](int index)
                            {
                                return index == DmLayerNode::Children ||
                                       (index == DmLayerNode::BaseBlob && haveLeftovers(*lane.layer, *now.layer)) ||
                                       (index == DmLayerNode::LayerLength && lengthFollows) ||
                                       (index == DmLayerNode::LayerStartTC && sameStart);
                            });
        compareOthers(lane, now);
        _changes.compareMarks(lane.layer->getCueMarks(), now.layer->getCueMarks(), _changes.after().pathOf(now, -1),
                              now.name, {},
                              [&](const DmCueMark& mark, bool isOld)
                              {
                                  const Cut& cut = isOld ? _changes.before() : _changes.after();
                                  return cut.label(cut.composition().getLabelTime(mark.getCueMarkTime()));
                              });
    }
    for (std::size_t i = 0; i < isKept.size(); ++i)
        if (const Lane& lane = _changes.after().lanes()[i]; !isKept[i] && backwards.contains(lane.trackAt))
        {
            DmChange& change = _changes.add(Kind::LayerAdded);
            change.track = lane.name;
            change.newPath = _changes.after().pathOf(lane, -1);
        }
}

/// What a layer holds that is neither segment nor transition, which documents may.
void TrackCompare::compareOthers(const Lane& before, const Lane& after)
{
    const std::vector<std::string>& a = before.others;
    const std::vector<std::string>& b = after.others;
    if (a != b)
        _changes.tellProperty(_changes.after().pathOf(after, -1),
                              {"children", std::to_string(a.size()) + " without a place in a layer",
                               std::to_string(b.size()) + " without a place in a layer"},
                              after.name);
}

} // namespace dmCompare
