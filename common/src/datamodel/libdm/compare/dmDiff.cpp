#include "dmDiff.h"

#include "dmMatchImp.h"
#include "dmSetCompareImp.h"

#include "dmContainerNode.h"
#include "dmCueMark.h"
#include "dmEffectSettings.h"
#include "dmMaterial.h"
#include "dmReelNode.h"
#include "dmRoot.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmTimeline.h"
#include "dmTimewarpSettings.h"
#include "dmUtf8.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <map>
#include <tuple>
#include <unordered_set>

namespace
{

using namespace dmCompare;
using Kind = DmChangeKind;

constexpr DmChangeKindName kinds[] = {
    {Kind::Added, "added", "added", "shot"},
    {Kind::Removed, "removed", "removed", "shot"},
    {Kind::Moved, "moved", "moved", "shot"},
    {Kind::Shifted, "shifted", "shifted", "shot"},
    {Kind::Head, "head", "head trimmed", "trim"},
    {Kind::Tail, "tail", "tail trimmed", "trim"},
    {Kind::Slipped, "slipped", "slipped", "trim"},
    {Kind::Speed, "speed", "speed changed", "speed"},
    {Kind::Replaced, "replaced", "replaced", "replaced"},
    {Kind::Renamed, "renamed", "renamed", "renamed"},
    {Kind::Muted, "muted", "muted or unmuted", "muted"},
    {Kind::TransitionAdded, "transition-added", "transition added", "transition"},
    {Kind::TransitionRemoved, "transition-removed", "transition removed", "transition"},
    {Kind::TransitionChanged, "transition-changed", "transition changed", "transition"},
    {Kind::EffectAdded, "effect-added", "effect added", "effect"},
    {Kind::EffectRemoved, "effect-removed", "effect removed", "effect"},
    {Kind::EffectChanged, "effect-changed", "effect changed", "effect"},
    {Kind::MarkAdded, "mark-added", "mark added", "mark"},
    {Kind::MarkRemoved, "mark-removed", "mark removed", "mark"},
    {Kind::MarkChanged, "mark-changed", "mark changed", "mark"},
    {Kind::TrackAdded, "track-added", "track added", "track"},
    {Kind::TrackRemoved, "track-removed", "track removed", "track"},
    {Kind::TrackMoved, "track-moved", "track reordered", "track"},
    {Kind::LayerAdded, "layer-added", "layer added", "track"},
    {Kind::LayerRemoved, "layer-removed", "layer removed", "track"},
    {Kind::LayerMoved, "layer-moved", "layer reordered", "track"},
    {Kind::CompositionAdded, "composition-added", "composition added", "composition"},
    {Kind::CompositionRemoved, "composition-removed", "composition removed", "composition"},
    {Kind::Rate, "rate", "rate changed", "rate"},
    {Kind::Property, "property", "property changed", "property"},
};

/// Differences of times below this are noise of arithmetic.
constexpr double leastTime = 1e-4;

std::string framesText(double frames)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.10g", std::round(std::abs(frames) * 1000.0) / 1000.0);
    return std::string(text) + (std::string_view(text) == "1" ? " frame" : " frames");
}

std::string quoted(const std::string& text)
{
    return '"' + text + '"';
}

struct PlacedComposition
{
    const DmCompositionNode* node;
    std::string path;
};

std::string childPath(const std::string& above, int position)
{
    return (above.empty() ? above : above + '/') + "children[" + std::to_string(position) + ']';
}

bool holdsCompositions(const DmTreeNode& node)
{
    return node.whatIs() == DM_ROOT_NODE || node.whatIs() == DM_REEL_NODE;
}

/// Those of a tree, those inside containers aside. A reel that holds itself is met once.
void findCompositions(const DmTreeNode& node, const std::string& path, std::vector<const DmTreeNode*>& above,
                      std::vector<PlacedComposition>& found)
{
    if (node.whatIs() == DM_COMPOSITION_NODE)
        found.push_back({static_cast<const DmCompositionNode*>(&node), path});
    if (!holdsCompositions(node) || std::ranges::find(above, &node) != above.end())
        return;
    above.push_back(&node);
    for (int i = 0; i < node.getNbChildren(); ++i)
        if (const DmTreeNode* const child = node.getChild(i))
            findCompositions(*child, childPath(path, i), above, found);
    above.pop_back();
}

const DmTimewarpSettings* warpOf(const DmSegmentNode& segment)
{
    for (const auto& effect : segment.getEffects())
        if (const auto* const warp = dynamic_cast<const DmTimewarpSettings*>(effect.get()); warp && !warp->isMuted())
            return warp;
    return nullptr;
}

std::string speedText(const Shot& shot)
{
    if (shot.isKeyed)
        return "keyed";
    if (shot.speed == 0.0)
        return "freeze";
    char text[40];
    std::snprintf(text, sizeof text, "%.6g%%", shot.speed * 100.0);
    return text;
}

std::string effectName(const DmPropertySet* effect)
{
    const auto* const settings = dynamic_cast<const DmEffectSettings*>(effect);
    return settings ? dmUtf8(settings->getName()) : "nothing";
}

/// `channelList["gain"]/keyFrameList[2]/value` is "gain key at 2 value".
std::string parameterText(std::string path)
{
    for (const std::string_view list : {"attributList[\"", "channelList[\""})
        if (path.starts_with(list))
        {
            const std::size_t end = path.find("\"]", list.size());
            std::string rest = end == path.npos ? "" : path.substr(std::min(path.size(), end + 3));
            if (rest == "value")
                rest.clear();
            constexpr std::string_view keys = "keyFrameList[";
            if (rest.starts_with(keys))
            {
                const std::size_t close = rest.find(']');
                const std::string tail = close + 2 <= rest.size() ? rest.substr(close + 2) : "";
                rest = "key at " + rest.substr(keys.size(), close - keys.size()) + (tail.empty() ? "" : " " + tail);
            }
            return path.substr(list.size(), end - list.size()) + (rest.empty() ? "" : ' ' + rest);
        }
    return path;
}

class Comparer
{
public:
    Comparer(const Cut& before, const Cut& after, double tolerance, std::vector<DmChange>& changes)
        : _before(before)
        , _after(after)
        , _tolerance(std::max(tolerance, leastTime))
        , _changes(changes)
        , _match(matchShots(before.shots(), after.shots()))
        , _lanes(matchLanes(before, after, _match))
    {
        const double old = rateOf(before.fcm());
        const double now = rateOf(after.fcm());
        if (old > 0.0 && now > 0.0)
            _toOld = old / now;
    }

    bool run()
    {
        compareCompositions();
        compareTracks();
        for (std::size_t lane = 0; lane < _lanes.size(); ++lane)
            if (_lanes[lane] >= 0)
                collectOrder(int(lane));
        for (const bool tells : {false, true})
            for (std::size_t lane = 0; lane < _lanes.size(); ++lane)
                if (_lanes[lane] >= 0)
                    compareTimes(int(lane), tells);
        compareMarks(_before.composition().getCueMarks(), _after.composition().getCueMarks(), _after.path(), {}, {},
                     [&](const DmCueMark& mark, bool isOld)
                     {
                         const Cut& cut = isOld ? _before : _after;
                         return cut.label(cut.composition().getLabelTime(mark.getCueMarkTime()));
                     });
        for (std::size_t i = 0; i < _before.shots().size(); ++i)
        {
            const Shot& shot = _before.shots()[i];
            if (const int at = _match.toNew[i]; at < 0)
                tellOne(Kind::Removed, shot, nullptr, shot.out - shot.in);
            else
                compareShots(shot, _after.shots()[std::size_t(at)], int(i));
        }
        for (std::size_t i = 0; i < _after.shots().size(); ++i)
            if (_match.toOld[i] < 0)
                tellOne(Kind::Added, _after.shots()[i], nullptr, _after.shots()[i].out - _after.shots()[i].in);
        compareSeams();
        return _isSound;
    }

private:
    /// What a pair of shots says about what each plays: by how much its edges moved over the material, in record
    /// frames, transitions not considered.
    struct Edges
    {
        double head = 0.0;
        double tail = 0.0;
        bool isSlip = false;
    };

    static double rateOf(DM::FrameCodeModes fcm)
    {
        return fcm == DM::FCM_NOT_DEFINED ? 0.0 : DM::FcmUtil::getDoubleFPS(fcm);
    }
    bool isNothing(double frames) const { return std::abs(frames) <= _tolerance; }

    DmChange& tell(Kind kind)
    {
        DmChange& change = _changes.emplace_back();
        change.kind = kind;
        change.composition = dmUtf8(_before.composition().getName());
        return change;
    }
    /// About a shot that is in one cut, or a matched pair.
    DmChange& tellOne(Kind kind, const Shot& shot, const Shot* now, double frames)
    {
        const bool isOld = kind == Kind::Removed || now;
        const Cut& cut = isOld ? _before : _after;
        const Shot& named = now ? *now : shot;
        const Cut& namedCut = now ? _after : cut;
        DmChange& change = tell(kind);
        change.track = namedCut.laneOf(named).name;
        change.clip = clipName(*named.node);
        change.frames = std::round(frames * 1e6) / 1e6;
        change.oldRecord = isOld ? shot.in : named.in * _toOld;
        change.newRecord = now ? now->in : shot.in;
        if (isOld)
        {
            change.oldLabel = _before.label(shot.in);
            change.oldPath = _before.pathOf(shot);
        }
        if (now || !isOld)
        {
            change.newLabel = _after.label(named.in);
            change.newPath = _after.pathOf(named);
        }
        return change;
    }
    void tellProperty(const std::string& path, const Difference& difference, const std::string& track)
    {
        DmChange& change = tell(Kind::Property);
        change.track = track;
        change.oldPath = change.newPath = path;
        change.property = difference.path;
        change.was = difference.was;
        change.became = difference.became;
    }
    void compareAny(const DmPropertySet& a, const DmPropertySet& b, const std::string& path, const std::string& track,
                    const LeftOut& leftOut)
    {
        const Tell sink = [&](const Difference& difference) { tellProperty(path, difference, track); };
        _isSound = compareSets(a, b, {}, leftOut, sink) && _isSound;
    }

    // The composition, its tracks and layers

    static double endOf(const DmLayerNode& layer)
    {
        double end = layer.getLayerStartTC();
        for (const DmTreeNode* const node : layer.getChildren())
            if (const DmSegmentNode* const segment = node ? node->asSegment() : nullptr)
                end = std::max(end, segment->getRecOut());
        return end;
    }
    /// A length that says where the last shot ends follows from the shots.
    static bool followsFromShots(const Cut& cut)
    {
        double end = 0.0;
        for (const Lane& lane : cut.lanes())
            end = std::max(end, endOf(*lane.layer) - cut.composition().getRecordStart());
        return std::abs(end - cut.composition().getCompLength()) < 0.5;
    }

    /// Record times that are label times begin with the first shot.
    static bool beginsWithFirstShot(const Cut& cut)
    {
        double first = HUGE_VAL;
        for (const Shot& shot : cut.shots())
            first = std::min(first, shot.in);
        return cut.composition().countsAbsolutely() && std::abs(first - cut.composition().getStartTC()) < 0.5;
    }
    static bool beginsWithCut(const Cut& cut, const Lane& lane)
    {
        return lane.layer->getLayerStartTC() == cut.composition().getRecordStart();
    }

    void compareCompositions()
    {
        const DmCompositionNode& a = _before.composition();
        const DmCompositionNode& b = _after.composition();
        if (_before.fcm() != _after.fcm())
        {
            DmChange& change = tell(Kind::Rate);
            change.property = "fcm";
            change.was = DM::FcmUtil::getFCMString(_before.fcm());
            change.became = DM::FcmUtil::getFCMString(_after.fcm());
        }
        const bool lengthFollows = followsFromShots(_before) && followsFromShots(_after);
        const bool startFollows = beginsWithFirstShot(_before) && beginsWithFirstShot(_after);
        compareAny(a, b, _after.path(), {},
                   [&](int index)
                   {
                       return index == DmCompositionNode::Children || index == DmCompositionNode::Fcm ||
                              index == DmCompositionNode::CueMarks ||
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
                compareAny(*one, *two, childPath(_after.path(), i), {}, {});
            else if (one || two)
                tellProperty(_after.path(),
                             {"children[" + std::to_string(i) + ']', one ? dmUtf8(one->getPSetName()) : "",
                              two ? dmUtf8(two->getPSetName()) : ""},
                             {});
        }
    }

    void compareTracks()
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
                pairTracks(_before.lanes()[i].trackAt, _after.lanes()[std::size_t(_lanes[i])].trackAt);
        std::map<std::tuple<int, int>, std::vector<int>> left;
        const auto trackAt = [](const Cut& cut, int i) -> const DmTrackNode*
        {
            const DmTreeNode* const node = cut.composition().getChild(i);
            return node && node->whatIs() == DM_TRACK_NODE ? static_cast<const DmTrackNode*>(node) : nullptr;
        };
        const auto key = [](const DmTrackNode& track)
        { return std::tuple<int, int>(track.getMediaType(), track.getTrackNum()); };
        for (int b = _after.composition().getNbChildren(); b-- > 0;)
            if (const DmTrackNode* const track = trackAt(_after, b); track && track->getNbChildren() == 0)
                left[key(*track)].push_back(b);
        std::vector<int> order;
        std::vector<int> olds;
        for (int a = 0; a < _before.composition().getNbChildren(); ++a)
        {
            const DmTrackNode* const track = trackAt(_before, a);
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
            const DmTrackNode& track = *trackAt(_before, olds[i]);
            if (order[i] < 0)
            {
                DmChange& change = tell(Kind::TrackRemoved);
                change.track = laneName(track, 0);
                change.oldPath = childPath(_before.path(), olds[i]);
                continue;
            }
            const DmTrackNode& now = *trackAt(_after, order[i]);
            if (!keeps[i])
            {
                DmChange& change = tell(Kind::TrackMoved);
                change.track = laneName(now, 0);
                change.oldPath = childPath(_before.path(), olds[i]);
                change.newPath = childPath(_after.path(), order[i]);
                change.was = std::to_string(olds[i] + 1);
                change.became = std::to_string(order[i] + 1);
            }
            compareAny(track, now, childPath(_after.path(), order[i]), laneName(now, 0),
                       [](int index) { return index == DmTrackNode::Children; });
        }
        for (int b = 0; b < _after.composition().getNbChildren(); ++b)
            if (const DmTrackNode* const track = trackAt(_after, b); track && !backwards.contains(b))
            {
                DmChange& change = tell(Kind::TrackAdded);
                change.track = laneName(*track, 0);
                change.newPath = childPath(_after.path(), b);
            }
        compareLayers(tracks, backwards);
    }

    void compareLayers(const std::map<int, int>& tracks, const std::map<int, int>& backwards)
    {
        std::vector<bool> isKept(_after.lanes().size(), false);
        std::map<int, std::vector<int>> orders;
        for (std::size_t i = 0; i < _lanes.size(); ++i)
        {
            const Lane& lane = _before.lanes()[i];
            const auto track = tracks.find(lane.trackAt);
            if (_lanes[i] < 0)
            {
                if (track == tracks.end())
                    continue; // gone with its track
                DmChange& change = tell(Kind::LayerRemoved);
                change.track = lane.name;
                change.oldPath = _before.pathOf(lane, -1);
                continue;
            }
            const Lane& now = _after.lanes()[std::size_t(_lanes[i])];
            isKept[std::size_t(_lanes[i])] = true;
            std::vector<int>& order = orders[lane.trackAt];
            const bool goesBack = !order.empty() && order.back() > _lanes[i];
            if (track == tracks.end() || track->second != now.trackAt || goesBack)
            {
                DmChange& change = tell(Kind::LayerMoved);
                change.track = now.name;
                change.oldTrack = lane.name;
                change.oldPath = _before.pathOf(lane, -1);
                change.newPath = _after.pathOf(now, -1);
            }
            if (!goesBack)
                order.push_back(_lanes[i]);
            const auto follows = [](const Lane& each) {
                return std::abs(each.layer->getLayerStartTC() + each.layer->getLayerLength() - endOf(*each.layer)) <
                       0.5;
            };
            const bool lengthFollows = follows(lane) && follows(now);
            const bool sameStart = isNothing(now.start * _toOld - lane.start) ||
                                   (beginsWithCut(_before, lane) && beginsWithCut(_after, now));
            compareAny(*lane.layer, *now.layer, _after.pathOf(now, -1), now.name,
                       [&](int index)
                       {
                           return index == DmLayerNode::Children ||
                                  (index == DmLayerNode::LayerLength && lengthFollows) ||
                                  (index == DmLayerNode::LayerStartTC && sameStart);
                       });
            compareOthers(lane, now);
        }
        for (std::size_t i = 0; i < isKept.size(); ++i)
            if (const Lane& lane = _after.lanes()[i]; !isKept[i] && backwards.contains(lane.trackAt))
            {
                DmChange& change = tell(Kind::LayerAdded);
                change.track = lane.name;
                change.newPath = _after.pathOf(lane, -1);
            }
    }

    /// What a layer holds that is neither segment nor transition, which documents may.
    void compareOthers(const Lane& before, const Lane& after)
    {
        const auto others = [](const Lane& lane)
        {
            std::vector<std::string> all;
            for (const DmTreeNode* const node : lane.layer->getChildren())
                if (!node || (!node->isSegment() && !node->isTransition()))
                    all.push_back(node ? dmUtf8(node->getPSetName()) : "nothing");
            return all;
        };
        const std::vector<std::string> a = others(before);
        const std::vector<std::string> b = others(after);
        if (a != b)
            tellProperty(_after.pathOf(after, -1),
                         {"children", std::to_string(a.size()) + " without a place in a layer",
                          std::to_string(b.size()) + " without a place in a layer"},
                         after.name);
    }

    // Times

    void collectOrder(int lane)
    {
        const Lane& before = _before.lanes()[std::size_t(lane)];
        std::vector<int> order;
        for (int i = before.first; i < before.last; ++i)
        {
            const int at = _match.toNew[std::size_t(i)];
            order.push_back(at >= 0 && _after.shots()[std::size_t(at)].lane == _lanes[std::size_t(lane)] ? at : -1);
        }
        const std::vector<bool> keeps = keepsOrder(order);
        _inOrder.resize(_before.shots().size(), false);
        for (int i = before.first; i < before.last; ++i)
            _inOrder[std::size_t(i)] = keeps[std::size_t(i - before.first)];
    }

    Edges edgesOf(const Shot& a, const Shot& b) const
    {
        Edges edges;
        const double longer = (b.out - b.in) * _toOld - (a.out - a.in);
        const bool comparable = a.plays() && b.plays() && !a.isKeyed && !b.isKeyed && a.speed != 0.0 &&
                                std::abs(a.speed - b.speed) < 1e-9 && agree(a.medium, b.medium) != Agreement::No;
        if (comparable)
        {
            const double toOld = rateOf(_after.fcm()) > 0.0 ? a.rate / b.rate * _toOld : 1.0;
            const double frame = a.rate * std::abs(a.speed);
            const double in = (b.srcIn * toOld - a.srcIn) / frame;
            const double out = (b.srcOut * toOld - a.srcOut) / frame;
            edges.head = a.speed > 0.0 ? in : -out;
            edges.tail = a.speed > 0.0 ? out : -in;
            edges.isSlip = isNothing(longer) && !isNothing(edges.head) && isNothing(edges.head - edges.tail) &&
                           isNothing(b.lengthInFront() * _toOld - a.lengthInFront()) &&
                           isNothing(b.lengthBehind() * _toOld - a.lengthBehind());
            return edges;
        }
        const bool endStays = isNothing(b.out * _toOld - a.out) && !isNothing(b.in * _toOld - a.in);
        (endStays ? edges.head : edges.tail) = endStays ? -longer : longer;
        return edges;
    }

    /// A lane's shots in order: a time that moved with the one in front of it, or by what happened between them, or as
    /// much as something did on another track, was shifted; another one was moved by itself.
    void compareTimes(int laneAt, bool tells)
    {
        const Lane& lane = _before.lanes()[std::size_t(laneAt)];
        const Lane& now = _after.lanes()[std::size_t(_lanes[std::size_t(laneAt)])];
        double shiftInFront = now.start * _toOld - lane.start;
        bool isMove = false; ///< what is followed moved by itself
        int lastOld = lane.first - 1;
        int lastNew = now.first - 1;
        for (int i = lane.first; i < lane.last; ++i)
        {
            if (!_inOrder[std::size_t(i)])
                continue;
            const int at = _match.toNew[std::size_t(i)];
            const Shot& a = _before.shots()[std::size_t(i)];
            const Shot& b = _after.shots()[std::size_t(at)];
            const Edges edges = edgesOf(a, b);
            const double shift = b.in * _toOld - a.in;
            const double inSync = edges.isSlip ? shift : shift - edges.head;
            const bool others = i != lastOld + 1 || at != lastNew + 1;
            if (!isNothing(shift) && !isNothing(inSync))
            {
                const long long amount = std::llround(inSync);
                const bool follows = isNothing(shift - shiftInFront);
                const bool isShift = follows || others || (tells && _explained.contains(amount));
                isMove = others ? false : follows ? isMove : !isShift;
                if (tells)
                    tellOne(isShift ? Kind::Shifted : Kind::Moved, a, &b, shift);
                if (!isMove || tells)
                    _explained.insert(amount);
            }
            shiftInFront = (b.out + b.lengthBehind()) * _toOld - (a.out + a.lengthBehind());
            lastOld = i;
            lastNew = at;
        }
    }

    // Shots

    void compareShots(const Shot& a, const Shot& b, int i)
    {
        if (int(_inOrder.size()) <= i || !_inOrder[std::size_t(i)])
        {
            DmChange& change = tellOne(Kind::Moved, a, &b, b.in * _toOld - a.in);
            if (_lanes[std::size_t(a.lane)] != b.lane)
                change.oldTrack = _before.laneOf(a).name;
        }
        const bool isSamePiece = a.node == b.node;
        if (!isSamePiece || a.in != b.in)
            compareEdges(a, b);
        if (isSamePiece)
            return;
        if (isReplaced(a, b))
        {
            DmChange& change = tellOne(Kind::Replaced, a, &b, 0.0);
            change.was = mediumName(*a.node);
            change.became = mediumName(*b.node);
        }
        if (a.node->getName().view() != b.node->getName().view())
        {
            DmChange& change = tellOne(Kind::Renamed, a, &b, 0.0);
            change.was = dmUtf8(a.node->getName());
            change.became = dmUtf8(b.node->getName());
        }
        if (a.node->getMuted() != b.node->getMuted())
        {
            DmChange& change = tellOne(Kind::Muted, a, &b, 0.0);
            change.was = a.node->getMuted() ? "muted" : "heard";
            change.became = b.node->getMuted() ? "muted" : "heard";
        }
        compareEffects(a, b);
        const auto record = [&](const DmCueMark&, bool isOld)
        { return isOld ? _before.label(a.in) : _after.label(b.in); };
        compareMarks(a.node->getSegmentMarks(), b.node->getSegmentMarks(), _after.pathOf(b), _after.laneOf(b).name,
                     clipName(*b.node), record);
        compareRest(a, b);
    }

    static bool isReplaced(const Shot& a, const Shot& b)
    {
        const Agreement agreement = agree(a.medium, b.medium);
        return agreement == Agreement::No || a.node->whatIs() != b.node->whatIs() ||
               (a.medium.path != 0 && a.medium.path == b.medium.path && a.medium.version != b.medium.version);
    }

    void compareEdges(const Shot& a, const Shot& b)
    {
        const Edges edges = edgesOf(a, b);
        if (edges.isSlip)
        {
            tellOne(Kind::Slipped, a, &b, edges.head);
            return;
        }
        // How far apart a point, or a transition, and the other lie.
        const auto apart = [](double oldLow, double oldHigh, double newLow, double newHigh) {
            return newLow > oldHigh ? newLow - oldHigh : newHigh < oldLow ? newHigh - oldLow : 0.0;
        };
        const double head = apart(-a.lengthInFront(), 0.0, edges.head - b.lengthInFront() * _toOld, edges.head);
        const double tail = apart(0.0, a.lengthBehind(), edges.tail, edges.tail + b.lengthBehind() * _toOld);
        if (!isNothing(head))
            tellOne(Kind::Head, a, &b, head);
        if (!isNothing(tail))
            tellOne(Kind::Tail, a, &b, tail);
    }

    void compareEffects(const Shot& a, const Shot& b)
    {
        const bool speedChanged = std::abs(a.speed - b.speed) > 1e-9 || a.isKeyed != b.isKeyed;
        if (speedChanged)
        {
            DmChange& change = tellOne(Kind::Speed, a, &b, 0.0);
            change.was = speedText(a);
            change.became = speedText(b);
        }
        std::map<std::wstring, std::vector<const DmPropertySet*>> left;
        const auto isTold = [&](const Shot& shot, const DmPropertySet* effect)
        { return speedChanged && !a.isKeyed && !b.isKeyed && effect == warpOf(*shot.node); };
        const auto className = [](const DmPropertySet* effect)
        { return effect ? std::wstring(effect->getPSetName().view()) : std::wstring(); };
        const auto& now = b.node->getEffects();
        for (auto effect = now.rbegin(); effect != now.rend(); ++effect)
            if (!isTold(b, effect->get()))
                left[className(effect->get())].push_back(effect->get());
        for (const auto& effect : a.node->getEffects())
        {
            if (isTold(a, effect.get()))
                continue;
            std::vector<const DmPropertySet*>& same = left[className(effect.get())];
            if (same.empty())
            {
                tellOne(Kind::EffectRemoved, a, &b, 0.0).property = effectName(effect.get());
                continue;
            }
            compareEffect(a, b, effect.get(), same.back(), Kind::EffectChanged);
            same.pop_back();
        }
        for (const auto& effect : now)
            if (const auto found = left.find(className(effect.get()));
                found != left.end() && std::ranges::find(found->second, effect.get()) != found->second.end())
                tellOne(Kind::EffectAdded, a, &b, 0.0).property = effectName(effect.get());
    }

    void compareEffect(const Shot& a, const Shot& b, const DmPropertySet* one, const DmPropertySet* other, Kind kind)
    {
        if (!one || !other || one == other)
            return;
        // A key counts from the shot's first frame: it stays on its picture when the head is trimmed.
        std::vector<Difference> found;
        std::vector<Difference> onPicture;
        const auto into = [](std::vector<Difference>& to)
        { return Tell([&to](const Difference& difference) { to.push_back(difference); }); };
        _isSound = compareSets(*one, *other, {}, {}, into(found)) && _isSound;
        const Edges edges = edgesOf(a, b);
        if (!found.empty() && !edges.isSlip && edges.head != 0.0)
        {
            _isSound = compareSets(*one, *other, {}, {}, into(onPicture), -edges.head) && _isSound;
            if (onPicture.size() < found.size())
                found = std::move(onPicture);
        }
        for (const Difference& difference : found)
        {
            DmChange& change = tellOne(kind, a, &b, 0.0);
            change.property = effectName(other) + ' ' + parameterText(difference.path);
            change.was = difference.was;
            change.became = difference.became;
        }
    }

    /// All of a segment that has no word of its own.
    void compareRest(const Shot& a, const Shot& b)
    {
        const bool replaced = isReplaced(a, b);
        const bool otherId = isMadeUp(a.node->getSegmentId()) || isMadeUp(b.node->getSegmentId());
        const auto isLeftover = [](const DmPropertySet* blob)
        { return !blob || (blob->getPSetName() == L"DmBlobNode"); };
        const bool leftovers = isLeftover(a.node->getBaseBlob()) && isLeftover(b.node->getBaseBlob());
        const std::string path = _after.pathOf(b);
        const std::string track = _after.laneOf(b).name;
        if (a.node->getPSetName() != b.node->getPSetName())
            return;
        const Tell sink = [&](const Difference& difference)
        {
            DmChange& change = tellOne(Kind::Property, a, &b, 0.0);
            change.property = difference.path;
            change.was = difference.was;
            change.became = difference.became;
        };
        const bool told = a.plays() && b.plays();
        const LeftOut segment = [&](int index)
        {
            switch (index)
            {
            case DmSegmentNode::Name:
            case DmSegmentNode::RecIn:
            case DmSegmentNode::RecLength:
            case DmSegmentNode::Effects:
            case DmSegmentNode::SegmentMarks:
            case DmSegmentNode::Muted:
                return true;
            case DmSegmentNode::BaseBlob:
                return leftovers;
            case DmSegmentNode::SegmentId:
                return otherId;
            case DmSegmentNode::RelIn:
                return told;
            case DmSourceNode::SrcInput:
                return a.node->whatIs() == DM_SOURCE_NODE;
            default:
                return false;
            }
        };
        _isSound = compareSets(*a.node, *b.node, {}, segment, sink) && _isSound;
        if (a.node->whatIs() != DM_SOURCE_NODE || replaced)
            return;
        const auto* const one = static_cast<const DmSourceNode*>(a.node)->getSrcInput();
        const auto* const other = static_cast<const DmSourceNode*>(b.node)->getSrcInput();
        if (!one || !other)
        {
            if (one != other)
                sink({"srcInput", one ? dmUtf8(one->getPSetName()) : "", other ? dmUtf8(other->getPSetName()) : ""});
            return;
        }
        const DmMaterial old = dmMaterialOf(*a.node, _before.fcm());
        const DmMaterial now = dmMaterialOf(*b.node, _after.fcm());
        const auto* const oneMedia = dynamic_cast<const DmSourceNode::MediaInput*>(one);
        const auto* const otherMedia = dynamic_cast<const DmSourceNode::MediaInput*>(other);
        const bool isMedia = oneMedia && otherMedia;
        const bool otherStart = isMedia && oneMedia->getSrcIn() != otherMedia->getSrcIn();
        // A length that goes as far behind what plays as before says what a list knows: what is played.
        const double handle = now.begin + now.length - b.srcOut - (old.begin + old.length - a.srcOut);
        const LeftOut input = [&](int index)
        {
            if (index == DmSourceNode::Input::SrcLength)
                return !old.known || !now.known || std::abs(handle) < 0.5;
            return isMedia && ((told && index == DmSourceNode::MediaInput::SrcIn) ||
                               (otherStart && index == DmSourceNode::MediaInput::SrcInStr));
        };
        const Tell inputSink = [&](const Difference& difference)
        {
            if (difference.path.find("extraDataDictionary") == std::string::npos || old.known || now.known)
                sink(difference);
        };
        _isSound = compareSets(*one, *other, "srcInput", input, inputSink) && _isSound;
    }

    template <class Marks, class Record>
    void compareMarks(const Marks& before, const Marks& after, const std::string& path, const std::string& track,
                      const std::string& clip, const Record& record)
    {
        using Key = std::pair<std::wstring, long long>;
        const auto keyOf = [](const DmCueMark& mark, bool byTime)
        {
            const double time = std::clamp(mark.getCueMarkTime(), -1e12, 1e12);
            return Key(std::wstring(mark.getCueMarkName().view()), byTime ? std::llround(time * 1000.0) : 0);
        };
        std::vector<const DmCueMark*> olds;
        std::vector<const DmCueMark*> news;
        for (const auto& mark : before)
            if (mark)
                olds.push_back(static_cast<const DmCueMark*>(mark.get()));
        for (const auto& mark : after)
            if (mark)
                news.push_back(static_cast<const DmCueMark*>(mark.get()));
        const auto note = [&](Kind kind, const DmCueMark& mark) -> DmChange&
        {
            DmChange& change = tell(kind);
            change.track = track;
            change.clip = clip;
            change.oldPath = change.newPath = path;
            change.oldRecord = change.newRecord = mark.getCueMarkTime();
            (kind == Kind::MarkRemoved ? change.oldLabel : change.newLabel) = record(mark, kind == Kind::MarkRemoved);
            change.property = dmUtf8(mark.getCueMarkName());
            return change;
        };
        for (const bool byTime : {true, false})
        {
            std::map<Key, std::vector<const DmCueMark*>> left;
            for (auto mark = news.rbegin(); mark != news.rend(); ++mark)
                left[keyOf(**mark, byTime)].push_back(*mark);
            std::erase_if(olds,
                          [&](const DmCueMark* mark)
                          {
                              const auto found = left.find(keyOf(*mark, byTime));
                              if (found == left.end() || found->second.empty())
                                  return false;
                              const DmCueMark* const other = found->second.back();
                              found->second.pop_back();
                              std::erase(news, other);
                              const double later = other->getCueMarkTime() * _toOld - mark->getCueMarkTime();
                              const bool isShift =
                                  clip.empty() && !isNothing(later) && _explained.contains(std::llround(later));
                              if (isShift)
                              {
                                  DmChange& change = note(Kind::Shifted, *other);
                                  change.clip = "mark " + change.property;
                                  change.frames = later;
                              }
                              const Tell sink = [&](const Difference& difference)
                              {
                                  if (difference.path == "cueMarkTime" && (isShift || isNothing(later)))
                                      return;
                                  DmChange& change = note(Kind::MarkChanged, *other);
                                  change.property += ' ' + difference.path;
                                  change.was = difference.was;
                                  change.became = difference.became;
                              };
                              _isSound = compareSets(*mark, *other, {}, {}, sink) && _isSound;
                              return true;
                          });
        }
        for (const DmCueMark* const mark : olds)
            note(Kind::MarkRemoved, *mark);
        for (const DmCueMark* const mark : news)
            note(Kind::MarkAdded, *mark);
    }

    // Seams: known by the shot that they lead to, else by the one that they lead out of

    void compareSeams()
    {
        std::unordered_set<const DmTransitionNode*> told;
        const auto compare =
            [&](const Shot& a, const Shot& b, const DmTransitionNode* was, const DmTransitionNode* is, double offset)
        {
            if ((was && told.contains(was)) || (is && told.contains(is)))
                return;
            if (was)
                told.insert(was);
            if (is)
                told.insert(is);
            compareSeam(a, b, was, is, offset);
        };
        const auto forPairs = [&](const auto& visit)
        {
            for (std::size_t i = 0; i < _before.shots().size(); ++i)
                if (const int at = _match.toNew[i]; at >= 0)
                    visit(_before.shots()[i], _after.shots()[std::size_t(at)]);
        };
        forPairs(
            [&](const Shot& a, const Shot& b)
            {
                if (a.inFront && b.inFront)
                    compare(a, b, a.inFront, b.inFront,
                            edgesOf(a, b).head - b.lengthInFront() * _toOld + a.lengthInFront());
            });
        forPairs(
            [&](const Shot& a, const Shot& b)
            {
                if (a.behind && b.behind)
                    compare(a, b, a.behind, b.behind, edgesOf(a, b).tail);
            });
        forPairs(
            [&](const Shot& a, const Shot& b)
            {
                compare(a, b, a.inFront, nullptr, 0.0);
                compare(a, b, nullptr, b.inFront, 0.0);
            });
        forPairs(
            [&](const Shot& a, const Shot& b)
            {
                compare(a, b, a.behind, nullptr, 0.0);
                compare(a, b, nullptr, b.behind, 0.0);
            });
        // Between shots of which neither has a partner, they come and go with these.
    }

    static std::string kindOf(const DmTransitionNode& node)
    {
        const auto* const effect = dynamic_cast<const DmTrxEffectNode*>(&node);
        return effect && effect->getEffect() ? dmUtf8(effect->getEffect()->getName()) : dmUtf8(node.getPSetName());
    }

    void compareSeam(const Shot& a, const Shot& b, const DmTransitionNode* was, const DmTransitionNode* is,
                     double offset)
    {
        if (!was && !is)
            return;
        const auto at = [&](DmChange& change)
        {
            if (was)
                change.oldRecord = _before.composition().getLabelTime(was->getRecIn());
            change.newRecord = is ? _after.composition().getLabelTime(is->getRecIn()) : change.oldRecord;
            if (!was)
                change.oldRecord = change.newRecord * _toOld;
            change.oldLabel = was ? _before.label(change.oldRecord) : "";
            change.newLabel = is ? _after.label(change.newRecord) : "";
        };
        if (!was || !is)
        {
            DmChange& change = tellOne(was ? Kind::TransitionRemoved : Kind::TransitionAdded, a, &b,
                                       was ? was->getRecLength() : is->getRecLength());
            change.property = kindOf(was ? *was : *is);
            at(change);
            return;
        }
        const double longer = is->getRecLength() * _toOld - was->getRecLength();
        const auto note = [&](const char* what, std::string old, std::string now, double frames)
        {
            DmChange& change = tellOne(Kind::TransitionChanged, a, &b, frames);
            change.property = what;
            change.was = std::move(old);
            change.became = std::move(now);
            at(change);
        };
        if (!isNothing(longer))
            note("length", framesText(was->getRecLength()), framesText(is->getRecLength()), longer);
        else if (!isNothing(offset))
            note("place on the cut", "", "", offset);
        if (was == is)
            return;
        if (kindOf(*was) != kindOf(*is))
        {
            note("kind", kindOf(*was), kindOf(*is), 0.0);
            return;
        }
        const auto* const one = dynamic_cast<const DmTrxEffectNode*>(was);
        const auto* const other = dynamic_cast<const DmTrxEffectNode*>(is);
        const Tell sink = [&](const Difference& difference)
        {
            if (difference.path == "length" || difference.path.ends_with("/length"))
                return; // said already
            note(difference.path.c_str(), difference.was, difference.became, 0.0);
        };
        if (one && other && one->getEffect() && other->getEffect())
        {
            const Tell parameter = [&](const Difference& difference)
            {
                Difference named = difference;
                named.path = parameterText(difference.path);
                sink(named);
            };
            _isSound = compareSets(*one->getEffect(), *other->getEffect(), {}, {}, parameter) && _isSound;
        }
        const LeftOut leftOut = [](int index)
        {
            return index == DmTransitionNode::RecIn || index == DmTransitionNode::RecLength ||
                   index == DmTransitionNode::BaseBlob || index == DmTrxEffectNode::Effect;
        };
        _isSound = compareSets(*was, *is, {}, leftOut, sink) && _isSound;
    }

    const Cut& _before;
    const Cut& _after;
    double _tolerance;
    double _toOld = 1.0; ///< from frames of the new cut
    std::vector<DmChange>& _changes;
    Match _match;
    std::vector<int> _lanes;
    std::vector<bool> _inOrder; ///< of old shots: in their lane, and in their order
    std::unordered_set<long long> _explained;
    bool _isSound = true;
};

/// Roots, reels, and what else stands around compositions.
class Around
{
public:
    explicit Around(std::vector<DmChange>& changes)
        : _changes(changes)
    {
    }

    bool compare(const DmTreeNode& a, const DmTreeNode& b, const std::string& path)
    {
        const bool collections = holdsCompositions(a) && holdsCompositions(b) && a.whatIs() == b.whatIs();
        const Tell sink = [&](const Difference& difference) { tell(path, difference); };
        const LeftOut leftOut = [&](int index) { return collections && index == DmCollectionNode::Children; };
        if (!compareSets(a, b, {}, leftOut, sink) || ++_depth > limit)
            return false;
        if (!collections)
            return true;
        const auto others = [](const DmTreeNode& node)
        {
            std::vector<std::pair<int, const DmTreeNode*>> all;
            for (int i = 0; i < node.getNbChildren(); ++i)
                if (const DmTreeNode* const child = node.getChild(i); !child || child->whatIs() != DM_COMPOSITION_NODE)
                    all.emplace_back(i, child);
            return all;
        };
        const auto before = others(a);
        const auto after = others(b);
        for (std::size_t i = 0; i < std::max(before.size(), after.size()); ++i)
        {
            const DmTreeNode* const one = i < before.size() ? before[i].second : nullptr;
            const DmTreeNode* const other = i < after.size() ? after[i].second : nullptr;
            const int at = i < after.size() ? after[i].first : before[i].first;
            if (one && other)
            {
                if (!compare(*one, *other, childPath(path, at)))
                    return false;
            }
            else if (one || other || before.size() != after.size())
                tell(childPath(path, at), {"",
                                           one                 ? dmUtf8(one->getPSetName())
                                           : i < before.size() ? "nothing"
                                                               : "",
                                           other              ? dmUtf8(other->getPSetName())
                                           : i < after.size() ? "nothing"
                                                              : ""});
        }
        --_depth;
        return true;
    }

private:
    static constexpr int limit = 512; ///< reels inside each other

    void tell(const std::string& path, const Difference& difference)
    {
        DmChange& change = _changes.emplace_back();
        change.oldPath = change.newPath = path;
        change.property = difference.path;
        change.was = difference.was;
        change.became = difference.became;
    }

    std::vector<DmChange>& _changes;
    int _depth = 0;
};

void tellWhole(Kind kind, const PlacedComposition& composition, std::vector<DmChange>& changes)
{
    DmChange& change = changes.emplace_back();
    change.kind = kind;
    change.composition = dmUtf8(composition.node->getName());
    change.clip = change.composition;
    (kind == Kind::CompositionAdded ? change.newPath : change.oldPath) = composition.path;
    change.frames = composition.node->getCompLength();
}

/// Pairs compositions by name, then in order.
std::vector<std::pair<int, int>> pairCompositions(const std::vector<PlacedComposition>& before,
                                                  const std::vector<PlacedComposition>& after)
{
    std::vector<std::pair<int, int>> pairs;
    std::vector<int> partner(before.size(), -1);
    std::vector<bool> taken(after.size(), false);
    std::map<std::wstring, std::vector<int>> named;
    for (int i = int(after.size()); i-- > 0;)
        named[std::wstring(after[std::size_t(i)].node->getName().view())].push_back(i);
    for (std::size_t i = 0; i < before.size(); ++i)
        if (std::vector<int>& same = named[std::wstring(before[i].node->getName().view())]; !same.empty())
        {
            partner[i] = same.back();
            taken[std::size_t(same.back())] = true;
            same.pop_back();
        }
    std::size_t next = 0;
    for (int& at : partner)
    {
        while (next < taken.size() && taken[next])
            ++next;
        if (at < 0 && next < taken.size())
        {
            at = int(next);
            taken[next] = true;
        }
    }
    for (std::size_t i = 0; i < partner.size(); ++i)
        pairs.emplace_back(int(i), partner[i]);
    for (std::size_t i = 0; i < taken.size(); ++i)
        if (!taken[i])
            pairs.emplace_back(-1, int(i));
    return pairs;
}

bool isIgnored(const DmChange& change, const std::vector<std::string>& ignored)
{
    const DmChangeKindName& kind = kinds[std::size_t(change.kind)];
    return std::ranges::any_of(ignored,
                               [&](const std::string& name) { return name == kind.name || name == kind.group; });
}

} // namespace

std::span<const DmChangeKindName> dmChangeKinds()
{
    return kinds;
}

DmDiff DmDiff::between(const DmTimeline& before, const DmTimeline& after, const DmDiffOptions& options,
                       DmStatus* status)
{
    if (before == after)
        return {};
    return between(before.tree().get(), after.tree().get(), options, status);
}

DmDiff DmDiff::between(const DmTreeNode* before, const DmTreeNode* after, const DmDiffOptions& options,
                       DmStatus* status)
{
    DmDiff diff;
    for (const std::string& name : options.ignored)
        if (std::ranges::none_of(kinds,
                                 [&](const DmChangeKindName& kind) { return name == kind.name || name == kind.group; }))
        {
            if (status)
                status->fail(DM_BAD_VALUE, "%s: no kind of change", name.c_str());
            return diff;
        }
    if (before == after)
        return diff;
    std::vector<PlacedComposition> olds;
    std::vector<PlacedComposition> news;
    std::vector<const DmTreeNode*> above;
    if (before)
        findCompositions(*before, {}, above, olds);
    if (after)
        findCompositions(*after, {}, above, news);
    bool isSound = true;
    const bool compositions =
        before && after && before->whatIs() == DM_COMPOSITION_NODE && after->whatIs() == DM_COMPOSITION_NODE;
    if (before && after && !compositions)
        isSound = Around(diff._changes).compare(*before, *after, {});
    for (const auto& [a, b] : pairCompositions(olds, news))
    {
        if (b < 0)
            tellWhole(Kind::CompositionRemoved, olds[std::size_t(a)], diff._changes);
        else if (a < 0)
            tellWhole(Kind::CompositionAdded, news[std::size_t(b)], diff._changes);
        else if (olds[std::size_t(a)].node != news[std::size_t(b)].node)
        {
            const Cut old(*olds[std::size_t(a)].node, olds[std::size_t(a)].path);
            const Cut now(*news[std::size_t(b)].node, news[std::size_t(b)].path);
            isSound = Comparer(old, now, options.tolerance, diff._changes).run() && isSound;
        }
    }
    // What is no part of a cut (notes that a list's reader kept, ids that it made up) still makes two documents.
    std::string path;
    bool equal = true;
    if (isSound && diff._changes.empty() && before && after && options.tolerance == 0.0)
    {
        isSound = dmDeepEqual(*before, *after, equal, &path) == DM_NO_ERROR;
        if (isSound && !equal)
            diff._changes.emplace_back().property = path + " differs";
    }
    if (!isSound)
    {
        diff._changes.clear();
        if (status)
            status->fail(DM_BAD_VALUE, "The tree holds itself.");
        return diff;
    }
    std::erase_if(diff._changes, [&](const DmChange& change) { return isIgnored(change, options.ignored); });
    std::ranges::stable_sort(diff._changes, {},
                             [](const DmChange& change) {
                                 return std::tuple(std::cref(change.composition).get(), change.track, change.oldRecord);
                             });
    return diff;
}

int DmDiff::count(DmChangeKind kind) const
{
    return static_cast<int>(std::ranges::count(_changes, kind, &DmChange::kind));
}

std::string DmChange::text() const
{
    const auto fromTo = [this](const std::string& what)
    {
        if (was.empty() && became.empty())
            return what;
        if (was.empty())
            return what + ": " + quoted(became);
        return what + ": " + quoted(was) + (became.empty() ? " is gone" : " -> " + quoted(became));
    };
    const auto plain = [this](const std::string& what) { return what + ": " + was + " -> " + became; };
    const auto longer = [](double by) { return framesText(by) + (by > 0.0 ? " longer" : " shorter"); };
    const auto later = [](double by) { return framesText(by) + (by > 0.0 ? " later" : " earlier"); };
    switch (kind)
    {
    case Kind::Added:
        return "added, " + framesText(frames);
    case Kind::Removed:
        return "removed, " + framesText(frames);
    case Kind::Moved:
    {
        std::string text = "moved";
        if (!oldTrack.empty())
            text += " from " + oldTrack;
        return frames == 0.0 ? text : text + (oldTrack.empty() ? " " : ", ") + later(frames);
    }
    case Kind::Shifted:
        return "shifted " + later(frames);
    case Kind::Head:
        return "head trimmed, " + longer(-frames);
    case Kind::Tail:
        return "tail trimmed, " + longer(frames);
    case Kind::Slipped:
        return "slipped, plays what is " + later(frames);
    case Kind::Speed:
        return plain("speed");
    case Kind::Replaced:
        return fromTo("replaced");
    case Kind::Renamed:
        return fromTo("renamed");
    case Kind::Muted:
        return became == "muted" ? "muted" : "unmuted";
    case Kind::TransitionAdded:
        return property + " added, " + framesText(frames);
    case Kind::TransitionRemoved:
        return property + " removed, " + framesText(frames);
    case Kind::TransitionChanged:
        return was.empty() && became.empty() ? "transition " + later(frames) + " on the cut"
                                             : plain("transition " + property);
    case Kind::EffectAdded:
    case Kind::MarkAdded:
        return (kind == Kind::EffectAdded ? "effect " + property : "mark " + quoted(property)) + " added";
    case Kind::EffectRemoved:
    case Kind::MarkRemoved:
        return (kind == Kind::EffectRemoved ? "effect " + property : "mark " + quoted(property)) + " removed";
    case Kind::EffectChanged:
        return fromTo("effect " + property);
    case Kind::MarkChanged:
        return fromTo("mark " + property);
    case Kind::TrackMoved:
        return "track reordered: " + was + " -> " + became;
    case Kind::LayerMoved:
        return "layer moved from " + oldTrack;
    case Kind::CompositionAdded:
    case Kind::CompositionRemoved:
        return kinds[std::size_t(kind)].text + (", " + framesText(frames));
    case Kind::Rate:
        return plain("rate") + "; compared by the clock";
    case Kind::Property:
        return fromTo(property.empty() ? newPath : property);
    default:
        return kinds[std::size_t(kind)].text;
    }
}

std::string DmDiff::stat() const
{
    std::string text;
    for (const DmChangeKindName& kind : kinds)
        if (const int number = count(kind.kind); number != 0 && kind.kind != Kind::Shifted)
            text += (text.empty() ? "" : ", ") + std::to_string(number) + ' ' + kind.text;
    if (const int shifted = count(Kind::Shifted); shifted != 0)
        text += (text.empty() ? "" : "; ") + std::to_string(shifted) + " shifted";
    return text;
}

std::string DmDiff::text(bool each) const
{
    std::string text;
    const std::string* composition = nullptr;
    const std::string* track = nullptr;
    std::map<double, int> shifts;
    const bool several = std::ranges::any_of(_changes, [&](const DmChange& change)
                                             { return change.composition != _changes.front().composition; });
    for (const DmChange& change : _changes)
    {
        if (change.kind == Kind::Shifted)
            ++shifts[change.frames];
        if (change.kind == Kind::Shifted && !each)
            continue;
        if (several && (!composition || *composition != change.composition))
        {
            text += change.composition.empty() ? "" : "== " + change.composition + '\n';
            track = nullptr;
        }
        composition = &change.composition;
        if (!track || *track != change.track)
            text += change.track.empty() ? "" : change.track + '\n';
        track = &change.track;
        std::string labels = change.oldLabel;
        if (!change.newLabel.empty() && change.newLabel != change.oldLabel)
            labels += (labels.empty() ? "" : " -> ") + change.newLabel;
        text += "  " + labels + (labels.empty() ? "" : "  ") + change.clip + (change.clip.empty() ? "" : ": ") +
                change.text() + '\n';
    }
    for (const auto& [frames, number] : shifts)
        text +=
            std::to_string(number) + " shifted " + framesText(frames) + (frames > 0.0 ? " later" : " earlier") + '\n';
    return text + (_changes.empty() ? "" : stat() + '\n');
}
