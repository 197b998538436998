/// What a timeline consists of: the tree above its layers, and each layer's elements.
#pragma once

#include "dmPlacesImp.h"
#include "dmRunsImp.h"
#include "dmTimeline.h"

#include <map>

class DmSourceNode;

/// A node for an edit to change: equal in all but its listeners, its comment, its ids and its channels' members
/// included, and not constant.
template <class Node>
CoSharedPtr<Node> dmEditCopy(const Node& node)
{
    CoSharedPtr<Node> copy = DM::staticPointerCast<Node>(node.clone());
    if (copy && !node.getComment().empty())
        static_cast<void>(copy->setComment(node.getComment())); // a fresh copy is locked by nobody
    return copy;
}

/// The source that readers of lists attach to a gap or a transition, as the copy's own; null where there is none.
DmSourceNode* dmOwnAttached(DmTreeNode& copy);
/// Moves a copy of an element, and the source that may be attached to it, to a record time.
void dmStandAt(DmTreeNode& copy, double recIn);

/// Adds a child as it stands in the document, an empty one too: what classes take is no concern of a copy.
void dmAddUnchecked(DmCollectionNode& parent, const CoSharedPtr<DmTreeNode>& child);
/// Likewise, in place of a child of a copy.
void dmReplaceUnchecked(DmTreeNode& parent, int index, const CoSharedPtr<DmTreeNode>& child);

/// Where an element ends.
double dmRecOut(const DmRuns::Element& element);

class DmTimelineValue
{
public:
    struct Layer
    {
        int number = 0;                ///< of this layer in `places`
        CoSharedPtr<DmLayerNode> bare; ///< without its elements; null for a child that is no layer
        DmRuns runs;
        CoSharedPtr<DmTreeNode> other; ///< such a child; null where the document has an empty one
    };
    struct Track
    {
        CoSharedPtr<DmTrackNode> bare;
        std::vector<Layer> layers;
        CoSharedPtr<DmTreeNode> other;
    };

    CoSharedPtr<DmTreeNode> top;         ///< the tree, in which the composition stands empty
    std::vector<int> path;               ///< to it
    CoSharedPtr<DmCompositionNode> bare; ///< without its tracks
    std::vector<Track> tracks;
    DmPlaces places;
    int nextLayer = 0;
    int number = 0; ///< of the composition, in the order of a walk

    /// Null when there is none.
    const Layer* layer(const DmLayerPlace& place) const;
    Layer* layer(const DmLayerPlace& place)
    {
        return const_cast<Layer*>(static_cast<const DmTimelineValue*>(this)->layer(place));
    }
    /// The layer's elements [first, last) replaced, all behind shifted; the places of segments follow. The nodes become
    /// constant.
    void splice(Layer& layer, int first, int last, std::span<const DmRuns::Node> nodes, double shiftBehind);
    void enter(const Layer& layer);
    void leave(const Layer& layer);

    std::optional<DmElementPlace> find(const DmString& id) const;
    std::vector<DmElementPlace> group(const DmString& id) const;
    /// What leads from a record time to its label's, as DmCompositionNode::getLabelTime says.
    double labelShift() const;
    /// The position of the element that plays at a time; -1 for none.
    static int indexAt(const DmRuns& runs, double time);

private:
    template <class Visit>
    void forEachOfHash(std::uint64_t hash, Visit&& visit) const;
};
