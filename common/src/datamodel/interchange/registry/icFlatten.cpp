#include "icFlatten.h"

#include "icTree.h"

#include "dmCompositionNode.h"
#include "dmContainerNode.h"
#include "dmCutNode.h"
#include "dmEdit.h"
#include "dmGapNode.h"
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
    void layer(DmCompositionNode& composition, const DmTrackNode& track, DmLayerNode& layer);
    static void takeMarks(DmCompositionNode& outer, const DmContainerNode& container, double inner);
    using Ids = std::set<std::wstring, std::less<>>;
    static void nameAnew(const Nodes& nodes, Ids& ids);

    Report& _report;
    std::set<const DmCompositionNode*> _done;
    std::map<const DmCompositionNode*, Ids> _ids; ///< of the segments that stand there
};

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
            return timeline.storedElement(at)->isSegment();
    return false;
}

/// The only layer of this kind that holds something, picture made one; none where sound has several.
std::optional<DmLayerPlace> onlyLayer(DmEdit& edit, eDmTreeMediaType mediaType)
{
    if (mediaType == DM_MEDIA_VIDEO && !edit.flatten().ok())
        return std::nullopt;
    std::optional<DmLayerPlace> found;
    const DmTimeline timeline = edit.timeline();
    for (int t = 0; t < timeline.trackCount(); ++t)
        for (int l = 0; l < timeline.layerCount(t); ++l)
            if (timeline.track(t) && timeline.track(t)->getMediaType() == mediaType &&
                timeline.elementCount({t, l}) > 0)
            {
                if (found)
                    return std::nullopt;
                found = DmLayerPlace{t, l};
            }
    return found;
}

void move(DmTreeNode& node, double by)
{
    if (DmSegmentNode* const segment = node.asSegment())
        require(segment->setRecIn(segment->getRecIn() + by));
    else if (DmTransitionNode* const transition = node.asTransition())
        require(transition->setRecIn(transition->getRecIn() + by));
}

/// What a container plays, at its record time; empty where that cannot stand in its place.
Nodes insideOf(const DmContainerNode& container, double before, double behind)
{
    const eDmTreeMediaType mediaType = container.getMediaType();
    const DmCompositionNode& inside = *container.getComposition();
    const double in = inside.getRecordStart() + container.getRelIn();
    const double out = in + container.getRecLength();
    DmEditOptions options;
    options.linked = false;
    DmEdit edit(DmTimeline::publish(&inside), options);
    const std::optional<DmLayerPlace> place = onlyLayer(edit, mediaType);
    if (!place)
        return {};
    // What a transition shows beyond the seam is of the shot that stands there.
    constexpr double someOfIt = 0.5;
    if ((before > 0 && !playsThrough(edit.timeline(), *place, in - before, in + someOfIt)) ||
        (behind > 0 && !playsThrough(edit.timeline(), *place, out - someOfIt, out + behind)))
        return {};
    // Where nothing plays there is nothing to split.
    static_cast<void>(edit.split(*place, in));
    static_cast<void>(edit.split(*place, out));
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
    for (int i = 0; i < timeline.elementCount(*place); ++i)
    {
        const DmElementPlace at{place->track, place->layer, i};
        const double recIn = timeline.recIn(at);
        const double recOut = timeline.recOut(at);
        if (recIn < in - tolerance || recOut > out + tolerance)
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

void Flattener::layer(DmCompositionNode& composition, const DmTrackNode& track, DmLayerNode& layer)
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
        Nodes nodes;
        if (!container->getMuted() && container->getEffects().count() == 0 &&
            (own == DM::FCM_NOT_DEFINED || DM::FcmUtil::toNonDrop(own) == DM::FcmUtil::toNonDrop(fcm)))
            nodes = insideOf(*container, mixAt(layer, i - 1), mixAt(layer, i + 1));
        if (nodes.empty())
        {
            _report.at({container.get(), track.getMediaType(), track.getTrackNum(),
                        composition.getLabelTime(container->getRecIn()), fcm});
            _report.lose(nested);
            _report.at({});
            continue;
        }
        nameAnew(nodes, _ids[&composition]);
        takeMarks(composition, *container, inside.getRecordStart() + container->getRelIn());
        layer.removeChild(i);
        for (const CoSharedPtr<DmTreeNode>& each : nodes)
            layer.insertChild(each, i++);
        --i;
    }
}

void Flattener::composition(DmCompositionNode& node)
{
    if (!_done.insert(&node).second)
        return;
    const auto forEachLayer = [&node](const auto& visit)
    {
        for (int t = 0; t < node.getNbChildren(); ++t)
            if (auto* const track = dynamic_cast<DmTrackNode*>(node.getChild(t)))
                for (int l = 0; l < track->getNbChildren(); ++l)
                    if (auto* const layer = dynamic_cast<DmLayerNode*>(track->getChild(l)))
                        visit(*track, *layer);
    };
    Ids& ids = _ids[&node];
    forEachLayer(
        [&ids](const DmTrackNode&, DmLayerNode& layer)
        {
            for (int i = 0; i < layer.getNbChildren(); ++i)
                if (const DmSegmentNode* const segment = layer.getChild(i) ? layer.getChild(i)->asSegment() : nullptr)
                    ids.insert(std::wstring(segment->getSegmentId().view()));
        });
    forEachLayer([&](const DmTrackNode& track, DmLayerNode& layer) { this->layer(node, track, layer); });
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
