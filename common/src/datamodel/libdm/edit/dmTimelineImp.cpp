#include "dmTimelineImp.h"

#include "dmNoTime.h"
#include "dmSetAccessImp.h"
#include "dmSourceNode.h"

#include <algorithm>
#include <cmath>
#include <new>

DmSourceNode* dmOwnAttached(DmTreeNode& copy)
{
    const auto* const attached = dynamic_cast<const DmSourceNode*>(copy.getBaseBlob());
    if (!attached)
        return nullptr;
    if (attached->isFrozen())
    {
        const CoSharedPtr<DmSourceNode> own = dmEditCopy(*attached);
        if (!own)
            throw std::bad_alloc();
        static_cast<void>(copy.setBaseBlob(own));
    }
    return static_cast<DmSourceNode*>(copy.getBaseBlob());
}

void dmStandAt(DmTreeNode& copy, double recIn)
{
    const double by = recIn - dmStoredRecIn(&copy);
    static_cast<void>(dmWithElement(&copy, [&](auto& node) { return node.setRecIn(recIn); }));
    if (DmSourceNode* const attached = by != 0.0 && dmIsTime(recIn) ? dmOwnAttached(copy) : nullptr)
        static_cast<void>(attached->setRecIn(attached->getRecIn() + by));
}

void dmAddUnchecked(DmCollectionNode& parent, const CoSharedPtr<DmTreeNode>& child)
{
    const DmPropertyDef& def = *parent.classData().at(DmCollectionNode::Children);
    static_cast<void>(
        DmSetAccess::append(parent, DmStore::Fresh, DmCollectionNode::Children, def, DmPropertySetPtr(child)));
}

void dmReplaceUnchecked(DmTreeNode& parent, int index, const CoSharedPtr<DmTreeNode>& child)
{
    const DmPropertyDef& def = *parent.classData().at(DmCollectionNode::Children);
    DmPropertySetPtr element(child);
    static_cast<void>(DmSetAccess::replace(parent, DmStore::Fresh, DmCollectionNode::Children, def, index, element));
}

const DmTimelineValue::Layer* DmTimelineValue::layer(const DmLayerPlace& place) const
{
    if (std::size_t(place.track) >= tracks.size())
        return nullptr;
    const Track& track = tracks[std::size_t(place.track)];
    if (std::size_t(place.layer) >= track.layers.size() || !track.layers[std::size_t(place.layer)].bare)
        return nullptr;
    return &track.layers[std::size_t(place.layer)];
}

namespace
{

const DmSegmentNode* identified(const DmTreeNode* node)
{
    const DmSegmentNode* const segment = dmSegment(const_cast<DmTreeNode*>(node));
    return segment && !segment->getSegmentId().empty() ? segment : nullptr;
}

DmPlaces::Place placeIn(const DmTimelineValue::Layer& layer, const DmSegmentNode& segment, std::uint64_t key)
{
    return {DmPlaces::hashOf(segment.getSegmentId()), key, layer.number};
}

} // namespace

void DmTimelineValue::splice(Layer& layer, int first, int last, std::span<const DmRuns::Node> nodes, double shiftBehind)
{
    layer.runs.forEach(first, last,
                       [&](const DmRuns::Element& element)
                       {
                           if (const DmSegmentNode* const segment = identified(element.node))
                               places.remove(placeIn(layer, *segment, element.key));
                       });
    for (const DmRuns::Node& node : nodes)
        node->freeze();
    struct Rekeyed
    {
        const DmSegmentNode* segment;
        std::uint64_t was, is;
    };
    std::vector<Rekeyed> all;
    layer.runs = layer.runs.spliced(first, last, nodes, shiftBehind,
                                    [&](const DmTreeNode& node, std::uint64_t was, std::uint64_t is)
                                    {
                                        if (const DmSegmentNode* const segment = identified(&node))
                                            all.push_back({segment, was, is});
                                    });
    // What goes first: one's new key may be another's old one.
    for (const Rekeyed& each : all)
        if (each.was != 0)
            places.remove(placeIn(layer, *each.segment, each.was));
    for (const Rekeyed& each : all)
        places.add(placeIn(layer, *each.segment, each.is));
}

void DmTimelineValue::enter(const Layer& layer)
{
    layer.runs.forEach(0, layer.runs.count(),
                       [&](const DmRuns::Element& element)
                       {
                           if (const DmSegmentNode* const segment = identified(element.node))
                               places.add(placeIn(layer, *segment, element.key));
                       });
}

void DmTimelineValue::leave(const Layer& layer)
{
    layer.runs.forEach(0, layer.runs.count(),
                       [&](const DmRuns::Element& element)
                       {
                           if (const DmSegmentNode* const segment = identified(element.node))
                               places.remove(placeIn(layer, *segment, element.key));
                       });
}

template <class Visit>
void DmTimelineValue::forEachOfHash(std::uint64_t hash, Visit&& visit) const
{
    places.forEach(hash,
                   [&](const DmPlaces::Place& place)
                   {
                       for (std::size_t t = 0; t < tracks.size(); ++t)
                           for (std::size_t l = 0; l < tracks[t].layers.size(); ++l)
                           {
                               const Layer& layer = tracks[t].layers[l];
                               if (!layer.bare || layer.number != place.layer)
                                   continue;
                               const int index = layer.runs.indexOf(place.key);
                               if (const DmSegmentNode* const segment = identified(layer.runs.at(index).node))
                                   return visit(*segment, DmElementPlace{int(t), int(l), index});
                           }
                       return true;
                   });
}

std::optional<DmElementPlace> DmTimelineValue::find(const DmString& id) const
{
    std::optional<DmElementPlace> found;
    forEachOfHash(DmPlaces::hashOf(id),
                  [&](const DmSegmentNode& segment, const DmElementPlace& place)
                  {
                      if (segment.getSegmentId() == id)
                          found = place;
                      return !found;
                  });
    return found;
}

std::vector<DmElementPlace> DmTimelineValue::group(const DmString& id) const
{
    std::vector<DmElementPlace> places_;
    const std::wstring_view group = dmLinkGroupOf(id);
    forEachOfHash(DmPlaces::hashOf(id),
                  [&](const DmSegmentNode& segment, const DmElementPlace& place)
                  {
                      if (group.empty() ? segment.getSegmentId() == id : dmLinkGroupOf(segment.getSegmentId()) == group)
                          places_.push_back(place);
                      return true;
                  });
    return places_;
}

double dmRecOut(const DmRuns::Element& element)
{
    auto* const node = const_cast<DmTreeNode*>(element.node);
    if (const DmSegmentNode* const segment = dmSegment(node))
        return element.recIn() + segment->getRecLength();
    if (const DmTransitionNode* const transition = dmTransition(node))
        return element.recIn() + transition->getRecLength();
    return element.recIn();
}

double DmTimelineValue::labelShift() const
{
    double least = dmNoTime;
    double leastEmpty = dmNoTime;
    for (const Track& track : tracks)
        for (const Layer& layer : track.layers)
            if (layer.bare)
            {
                double& start = layer.runs.count() > 0 ? least : leastEmpty;
                start = std::min(start, layer.bare->getLayerStartTC());
            }
    // An edit that took all elements out changes no label.
    least = least < dmNoTime ? least : leastEmpty;
    const double start = bare->getStartTC();
    const bool isAbsolute = least < dmNoTime && std::abs(least - start) < std::abs(least);
    return isAbsolute ? 0.0 : start;
}

int DmTimelineValue::indexAt(const DmRuns& runs, double time)
{
    for (int index = runs.lastBeginningBy(time); index >= 0; --index)
    {
        const DmRuns::Element element = runs.at(index);
        if (!dmIsTime(element.recIn()))
            continue;
        const double out = dmRecOut(element);
        if (time < out)
            return index;
        // Cuts and gaps of no length stand at the out-time of what is in front of them.
        if (out > element.recIn())
            break;
    }
    return -1;
}
