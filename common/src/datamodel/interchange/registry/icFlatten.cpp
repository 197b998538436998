#include "icFlatten.h"

#include "icTree.h"

#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmCutNode.h"
#include "dmEdit.h"
#include "dmGapNode.h"
#include "dmLayerBuilder.h"
#include "dmLayerNode.h"
#include "dmReelNode.h"
#include "dmStoredLabel.h"
#include "dmTrackNode.h"
#include "dmTransitionNode.h"
#include "dmTreeTool.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace interchange
{

namespace
{

constexpr Loss nested{"DM714", "they stay nested"};
constexpr double tolerance = 1e-6; ///< of frames

using Nodes = std::vector<CoSharedPtr<DmTreeNode>>;

/// What a track inside a container plays.
struct Part
{
    Nodes nodes;
    int channel = 0; ///< the track's, counted from that of the first
};

/// Of sound, a container's place among those that play the same of one composition at the same time, a track each:
/// each then stands for a track inside.
struct Rank
{
    std::size_t index = 0;
    std::size_t count = 1; ///< 0: others play something else of it at that time
};

class Flattener
{
public:
    explicit Flattener(Report& report)
        : _report(report)
    {
    }

    /// Of all compositions below a collection.
    void collection(DmTreeNode& node);

private:
    void composition(DmCompositionNode& node);
    void rankSound(const DmCompositionNode& node);
    void layer(DmCompositionNode& composition, const DmTrackNode& track, DmLayerNode& layer,
               std::vector<Part>& further);
    static void addTracks(DmCompositionNode& composition, std::vector<Part> further);
    static void takeMarks(DmCompositionNode& outer, const DmContainerNode& container, double inner);
    using Ids = std::set<std::wstring, std::less<>>;
    static void nameAnew(const Nodes& nodes, Ids& ids);

    Report& _report;
    std::set<const DmCompositionNode*> _done;
    std::map<const DmCompositionNode*, Ids> _ids;  ///< of the segments that stand there
    std::map<const DmContainerNode*, Rank> _ranks; ///< of those that do not stand alone
};

template <class Visit>
void forEachLayer(const DmCompositionNode& node, Visit&& visit)
{
    for (int t = 0; t < node.getNbChildren(); ++t)
        if (auto* const track = dynamic_cast<DmTrackNode*>(node.getChild(t)))
            for (int l = 0; l < track->getNbChildren(); ++l)
                if (auto* const layer = dynamic_cast<DmLayerNode*>(track->getChild(l)))
                    visit(*track, *layer);
}

/// The record length of a transition that stands at an index; 0 for a cut, and where there is none.
double mixAt(const DmLayerNode& layer, int index)
{
    const DmTreeNode* const node = layer.getChild(index);
    const DmTransitionNode* const transition = node ? node->asTransition() : nullptr;
    return transition ? transition->getRecLength() : 0.0;
}

/// Whether one segment of the layer plays all of [in, out).
bool playsThrough(const DmTimeline& timeline, const DmLayerPlace& place, double in, double out)
{
    for (int i = 0; i < timeline.elementCount(place); ++i)
        if (const DmElementPlace at{place.track, place.layer, i};
            timeline.recIn(at) <= in + tolerance && timeline.recOut(at) >= out - tolerance)
        {
            const auto node = timeline.storedElement(at);
            return node && node->isSegment();
        }
    return false;
}

/// The layers of this kind that hold something, picture made one.
std::vector<DmLayerPlace> layersOf(DmEdit& edit, eDmTreeMediaType mediaType)
{
    if (mediaType == DM_MEDIA_VIDEO && !edit.flatten().ok())
        return {};
    std::vector<DmLayerPlace> found;
    std::vector<DmLayerPlace> silent;
    const DmTimeline timeline = edit.timeline();
    const auto holdsSegment = [&timeline](const DmLayerPlace& place)
    {
        for (int i = 0; i < timeline.elementCount(place); ++i)
            if (const auto node = timeline.storedElement({place.track, place.layer, i});
                node && node->isSegment() && node->whatIs() != DM_GAP_NODE)
                return true;
        return false;
    };
    for (int t = 0; t < timeline.trackCount(); ++t)
        for (int l = 0; l < timeline.layerCount(t); ++l)
            if (const DmLayerPlace place{t, l};
                timeline.track(t) && timeline.track(t)->getMediaType() == mediaType && timeline.elementCount(place) > 0)
                (holdsSegment(place) ? found : silent).push_back(place);
    if (found.empty() && !silent.empty())
        found.push_back(silent.front());
    return found;
}

void move(DmTreeNode& node, double by)
{
    if (DmSegmentNode* const segment = node.asSegment())
        require(segment->setRecIn(segment->getRecIn() + by));
    else if (DmTransitionNode* const transition = node.asTransition())
        require(transition->setRecIn(transition->getRecIn() + by));
}

/// What a layer inside a container plays, at the container's record time; empty where that cannot stand in its place.
Nodes playedOf(DmEdit& edit, const DmLayerPlace& place, const DmContainerNode& container, double before, double behind)
{
    const eDmTreeMediaType mediaType = container.getMediaType();
    const double in = container.getComposition()->getRecordStart() + container.getRelIn();
    const double out = in + container.getRecLength();
    // What a transition shows beyond the seam is of the shot that stands there.
    constexpr double someOfIt = 0.5;
    if ((before > 0 && !playsThrough(edit.timeline(), place, in - before, in + someOfIt)) ||
        (behind > 0 && !playsThrough(edit.timeline(), place, out - someOfIt, out + behind)))
        return {};
    // Where nothing plays there is nothing to split.
    static_cast<void>(edit.split(place, in));
    static_cast<void>(edit.split(place, out));
    const DmTimeline timeline = edit.timeline();
    Nodes nodes;
    const double by = container.getRecIn() - in;
    double end = container.getRecIn();
    const auto fill = [&](double until)
    {
        if (until - end <= tolerance)
            return;
        if (!nodes.empty() && nodes.back()->isSegment())
            nodes.push_back(orBadAlloc(DmCutNode::create(mediaType, end)));
        nodes.push_back(orBadAlloc(DmGapNode::create(mediaType, end, until - end)));
        end = until;
    };
    for (int i = 0; i < timeline.elementCount(place); ++i)
    {
        const DmElementPlace at{place.track, place.layer, i};
        const double recIn = timeline.recIn(at);
        const double recOut = timeline.recOut(at);
        if (recIn < in - tolerance || recOut > out + tolerance || !timeline.storedElement(at))
            continue;
        const CoSharedPtr<DmTreeNode> node = DmTreeTool::deepClone(orBadAlloc(timeline.element(at)));
        // The seams at the ends are the container's own.
        if (node->isTransition() && (nodes.empty() || recOut >= out - tolerance))
            continue;
        if (nodes.empty())
        {
            fill(recIn + by);
            if (!nodes.empty())
                nodes.push_back(orBadAlloc(DmCutNode::create(mediaType, end)));
        }
        move(*node, by);
        nodes.push_back(node);
        end = recOut + by;
    }
    if (!nodes.empty() && nodes.back()->isTransition())
        return {};
    fill(container.getRecOut());
    return nodes;
}

/// What a container plays: of picture one part, of sound one a track. Empty where it cannot stand in its place.
std::vector<Part> insideOf(const DmContainerNode& container, double before, double behind, Rank rank)
{
    DmEditOptions options;
    options.linked = false;
    DmEdit edit(DmTimeline::publish(container.getComposition()), options);
    std::vector<DmLayerPlace> places = layersOf(edit, container.getMediaType());
    if (places.size() > 1 && rank.count == places.size())
        places = {places[rank.index]};
    else if (places.size() > 1 &&
             (rank.count != 1 || container.getMediaType() != DM_MEDIA_AUDIO || before > 0 || behind > 0))
        return {};
    std::vector<Part> parts;
    const auto channelOf = [&](const DmLayerPlace& place)
    { return edit.timeline().track(place.track)->getTrackChannel(); };
    for (const DmLayerPlace& place : places)
    {
        parts.push_back(
            {playedOf(edit, place, container, before, behind), channelOf(place) - channelOf(places.front())});
        if (parts.back().nodes.empty())
            return {};
    }
    return parts;
}

/// `inner`: what a mark's time counts from, which is the container's begin in the record.
void Flattener::takeMarks(DmCompositionNode& outer, const DmContainerNode& container, double inner)
{
    const auto take = [&](const auto& marks, double from)
    {
        for (const DmPropertySetPtr& each : marks)
            if (const auto* const mark = dynamic_cast<const DmCueMark*>(each.get()))
            {
                const double time = mark->getCueMarkTime() - from + container.getRecIn();
                if (mark->getCueMarkTime() == dmNoTime || time < container.getRecIn() || time >= container.getRecOut())
                    continue;
                const CoSharedPtr<DmPropertySet> copy = orBadAlloc(mark->clone());
                require(static_cast<DmCueMark&>(*copy).setCueMarkTime(time));
                require(outer.addCueMark(CoSharedPtr<DmCueMark>(static_cast<DmCueMark*>(copy.get()))));
            }
    };
    take(container.getComposition()->getCueMarks(), inner);
    take(container.getSegmentMarks(), container.getRelIn());
}

/// What a composition plays that stands there twice comes there twice: the ids of the second get a count, before the
/// part that tells linked ones apart.
void Flattener::nameAnew(const Nodes& nodes, Ids& ids)
{
    for (const CoSharedPtr<DmTreeNode>& node : nodes)
    {
        DmSegmentNode* const segment = node->asSegment();
        const std::wstring id(segment ? segment->getSegmentId().view() : std::wstring_view());
        if (id.empty() || ids.insert(id).second)
            continue;
        const std::size_t group = std::min(id.rfind(L'#'), id.size());
        std::wstring fresh;
        for (int count = 2; fresh.empty() || !ids.insert(fresh).second; ++count)
            fresh = id.substr(0, group) + L'/' + std::to_wstring(count) + id.substr(group);
        require(segment->addSegmentPreviousId(segment->getSegmentId()));
        require(segment->setSegmentId(DmString(fresh.c_str())));
    }
}

void Flattener::layer(DmCompositionNode& composition, const DmTrackNode& track, DmLayerNode& layer,
                      std::vector<Part>& further)
{
    const DM::FrameCodeModes fcm = dmFcmFromText(composition.getFCM());
    for (int i = 0; i < layer.getNbChildren(); ++i)
    {
        auto* const found = dynamic_cast<DmContainerNode*>(layer.getChild(i));
        if (!found || !found->getComposition())
            continue;
        const CoSharedPtr<DmContainerNode> container(found);
        auto& inside = const_cast<DmCompositionNode&>(*container->getComposition()); // the copy's own
        this->composition(inside);
        const DM::FrameCodeModes own = dmFcmFromText(inside.getFCM());
        std::vector<Part> parts;
        const auto rank = _ranks.find(container.get());
        if (!container->getMuted() && container->getEffects().count() == 0 &&
            (own == DM::FCM_NOT_DEFINED || DM::FcmUtil::toNonDrop(own) == DM::FcmUtil::toNonDrop(fcm)))
            parts = insideOf(*container, mixAt(layer, i - 1), mixAt(layer, i + 1),
                             rank == _ranks.end() ? Rank() : rank->second);
        const auto isOfLayer = [&layer](const Part& part) {
            return std::ranges::all_of(part.nodes,
                                       [&](const auto& node) { return layer.mayHold(node.get()) == DM_NO_ERROR; });
        };
        if (parts.empty() || !std::ranges::all_of(parts, isOfLayer))
        {
            _report.at({container.get(), track.getMediaType(), track.getTrackNum(),
                        composition.getLabelTime(container->getRecIn()), fcm});
            _report.lose(nested);
            _report.at({});
            continue;
        }
        for (const Part& part : parts)
            nameAnew(part.nodes, _ids[&composition]);
        takeMarks(composition, *container, inside.getRecordStart() + container->getRelIn());
        layer.removeChild(i);
        for (const CoSharedPtr<DmTreeNode>& each : parts.front().nodes)
            layer.insertChild(each, i++);
        --i;
        for (std::size_t n = 1; n < parts.size(); ++n)
        {
            parts[n].channel += track.getTrackChannel();
            further.push_back(std::move(parts[n]));
        }
    }
}

/// Finds the containers of sound that do not stand alone with what they play.
void Flattener::rankSound(const DmCompositionNode& node)
{
    struct Placed
    {
        const DmContainerNode* container;
        const DmTrackNode* track;
        std::size_t order;
    };
    std::vector<Placed> all;
    forEachLayer(node,
                 [&all](const DmTrackNode& track, const DmLayerNode& layer)
                 {
                     for (int i = 0; i < layer.getNbChildren() && track.getMediaType() == DM_MEDIA_AUDIO; ++i)
                         if (const auto* const container = dynamic_cast<const DmContainerNode*>(layer.getChild(i));
                             container && container->getComposition())
                             all.push_back({container, &track, all.size()});
                 });
    std::ranges::stable_sort(all, {}, [](const Placed& each) { return each.container->getRecIn(); });
    const auto playsTheSame = [](const DmContainerNode& a, const DmContainerNode& b)
    { return a.getRecIn() == b.getRecIn() && a.getRecLength() == b.getRecLength() && a.getRelIn() == b.getRelIn(); };
    const auto relate = [&](const Placed& one, const Placed& other)
    {
        const auto [rank, isNew] = _ranks.try_emplace(one.container);
        if (!playsTheSame(*one.container, *other.container))
            rank->second.count = 0;
        else if (rank->second.count != 0)
        {
            ++rank->second.count;
            rank->second.index += other.order < one.order ? 1 : 0;
        }
    };
    for (std::size_t i = 0; i < all.size(); ++i)
        for (std::size_t k = i + 1;
             k < all.size() && all[k].container->getRecIn() < all[i].container->getRecOut() - tolerance; ++k)
        {
            const DmCompositionNode* const one = all[i].container->getComposition();
            const DmCompositionNode* const other = all[k].container->getComposition();
            // Read from a document, each has a composition of its own.
            if (all[i].track == all[k].track ||
                (one != other && (one->getName() != other->getName() || !DmTreeTool::areEqual(one, other))))
                continue;
            relate(all[i], all[k]);
            relate(all[k], all[i]);
        }
}

/// Sound that finds no room on the tracks that there are: further ones of its channels.
void Flattener::addTracks(DmCompositionNode& composition, std::vector<Part> further)
{
    struct Lane
    {
        int channel;
        DmLayerBuilder layer;
    };
    const auto recIn = [](const Part& part)
    {
        const DmTreeNode& first = *part.nodes.front();
        return first.asSegment() ? first.asSegment()->getRecIn() : first.asTransition()->getRecIn();
    };
    std::ranges::stable_sort(further, {}, recIn);
    std::vector<Lane> lanes;
    for (const Part& part : further)
    {
        auto lane = std::ranges::find_if(
            lanes, [&](const Lane& each)
            { return each.channel == part.channel && each.layer.getEnd() <= recIn(part) + tolerance; });
        if (lane == lanes.end())
            lane = lanes.insert(lanes.end(),
                                {part.channel, DmLayerBuilder(0, DM_MEDIA_AUDIO, composition.getRecordStart())});
        for (const CoSharedPtr<DmTreeNode>& node : part.nodes)
            if (node->whatIs() != DM_CUT_NODE && (node->whatIs() != DM_GAP_NODE || node->getBaseBlob()))
                require(lane->layer.place(node));
    }
    int number = 0;
    for (int i = 0; i < composition.getNbChildren(); ++i)
        if (const auto* const track = dynamic_cast<const DmTrackNode*>(composition.getChild(i));
            track && track->getMediaType() == DM_MEDIA_AUDIO)
            number = std::max(number, track->getTrackNum());
    for (Lane& lane : lanes)
    {
        const auto track = orBadAlloc(DmTrackNode::create(++number, DM_MEDIA_AUDIO));
        require(track->setTrackChannel(lane.channel));
        track->addChild(orBadAlloc(lane.layer.finish()));
        composition.addChild(track);
    }
}

void Flattener::composition(DmCompositionNode& node)
{
    if (!_done.insert(&node).second)
        return;
    Ids& ids = _ids[&node];
    forEachLayer(node,
                 [&ids](const DmTrackNode&, DmLayerNode& layer)
                 {
                     for (int i = 0; i < layer.getNbChildren(); ++i)
                         if (const DmSegmentNode* const segment =
                                 layer.getChild(i) ? layer.getChild(i)->asSegment() : nullptr)
                             ids.insert(std::wstring(segment->getSegmentId().view()));
                 });
    rankSound(node);
    std::vector<Part> further;
    forEachLayer(node, [&](const DmTrackNode& track, DmLayerNode& layer) { this->layer(node, track, layer, further); });
    addTracks(node, std::move(further));
}

void Flattener::collection(DmTreeNode& node)
{
    for (int i = 0; i < node.getNbChildren(); ++i)
        if (DmTreeNode* const child = node.getChild(i); !child)
            continue;
        else if (child->whatIs() == DM_COMPOSITION_NODE)
            composition(static_cast<DmCompositionNode&>(*child));
        else if (child->whatIs() == DM_REEL_NODE)
            collection(*child);
}

} // namespace

CoSharedPtr<DmRoot> flatten(const DmRoot& root, Report& report)
{
    const CoSharedPtr<DmTreeNode> copy = DmTreeTool::deepClone(&root);
    if (!copy)
    {
        report.add("DM701", Report::Error, 0, "the document holds itself");
        return {};
    }
    Flattener(report).collection(*copy);
    return DM::staticPointerCast<DmRoot>(copy);
}

} // namespace interchange
