/// A timeline as a value: a tree that is published once, constant all the way down, and from then on only read.
///
///     DmTimeline timeline = DmTimeline::publish(root);          // a copy of the tree; the caller keeps theirs
///     DmEdit edit(timeline);                                    // dmEdit.h
///     if (edit.rippleTrim(place, DM_TAIL, -12).ok())
///         timeline = edit.timeline();                           // a new value that shares what did not change
///
/// Copies are cheap and may be taken, read and dropped on any thread; no reader waits. Setters of its nodes answer
/// DM_CANNOT_LOCK: a tree to change in place is made by DmTreeTool::deepClone.
///
/// A value is about one composition, by default the first of the tree. What stands beside it goes along untouched.
/// Times are record times: frames of that composition's mode.
#pragma once

#include "dmCompositionNode.h"
#include "dmLayerNode.h"
#include "dmRoot.h"
#include "dmSegmentNode.h"
#include "dmStatus.h"
#include "dmTrackNode.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// A layer of a timeline, by position: the track among the composition's children, the layer among the track's.
struct DmLayerPlace
{
    int track = 0;
    int layer = 0;

    bool operator==(const DmLayerPlace&) const = default;
};

/// An element of a layer, by position.
struct DmElementPlace
{
    int track = 0;
    int layer = 0;
    int index = 0;

    DmLayerPlace inLayer() const { return {track, layer}; }
    bool operator==(const DmElementPlace&) const = default;
};

/// An element for a place.
struct DmPlacedElement
{
    DmElementPlace place;
    CoSharedPtr<DmTreeNode> element;
};

/// A node for one of a timeline's tree that stands above its elements.
struct DmRenewedNode
{
    const DmTreeNode* was;
    CoSharedPtr<DmTreeNode> is;
};

class DmTimelineValue;

class ZR_DM_API DmTimeline
{
public:
    /// No timeline.
    DmTimeline() = default;

    /// Copies the tree, with the marks of its layers: what is shared inside it is shared inside the copy, what is
    /// constant already is shared with it. `composition`: which one the value is about, in the order of a walk. No
    /// timeline, with a status that says why, for a tree that holds itself and for one without such a composition.
    static DmTimeline publish(const DmTreeNode* tree, int composition = 0, DmStatus* status = nullptr);
    template <class Node>
    static DmTimeline publish(const CoSharedPtr<Node>& tree, int composition = 0, DmStatus* status = nullptr)
    {
        return publish(static_cast<const DmTreeNode*>(tree.get()), composition, status);
    }
    /// For a tree that its owner hands over: what this pointer alone holds becomes constant in place, what others hold
    /// too is copied, so that nobody else's tree becomes constant. Nobody may change the tree meanwhile.
    static DmTimeline takeOver(CoSharedPtr<DmTreeNode>&& tree, int composition = 0, DmStatus* status = nullptr);

    /// The same timeline with other elements in the place of some, which become constant: as they stand, edits ask more
    /// (DmEdit::change). It shares all else with this one. No timeline where there is no such place.
    DmTimeline withElements(std::span<const DmPlacedElement> elements) const;
    /// The same timeline with what other nodes say of themselves in the place of some nodes of its tree: of the
    /// composition, a track or a layer all but their children, a layer's marks too; of what stands above the
    /// composition all but the way to it. What they hold becomes constant. No timeline where one stands elsewhere, or
    /// is of another class.
    DmTimeline withNodes(std::span<const DmRenewedNode> nodes) const;

    explicit operator bool() const { return _state != nullptr; }
    /// Whether both are one version: nothing was edited in between.
    bool operator==(const DmTimeline& other) const;

    /// The tree, as it was published or as edits left it; null for no timeline. It stays whole as long as somebody
    /// holds it.
    CoSharedPtr<DmTreeNode> tree() const;
    /// The tree, where it is a root; else null.
    CoSharedPtr<DmRoot> root() const;
    CoSharedPtr<DmCompositionNode> composition() const;

    int trackCount() const;
    int layerCount(int track) const;
    int elementCount(const DmLayerPlace& layer) const;
    /// Null for what is no track, or no layer, and for none. These have no children: those are the tree's.
    const DmTrackNode* track(int index) const;
    const DmLayerNode* layer(const DmLayerPlace& place) const;
    /// The element with the times that it has in this value; null when there is none.
    CoSharedPtr<DmTreeNode> element(const DmElementPlace& place) const;
    /// The element as it is stored, which may have stood elsewhere when it was: for all but its "recIn", and at once.
    const DmTreeNode* storedElement(const DmElementPlace& place) const;
    double recIn(const DmElementPlace& place) const;
    double recOut(const DmElementPlace& place) const;

    /// The record time of a label of its composition ("10:00:04:00"), to the letter: what is none of the mode is told,
    /// and never taken for another. Edits take labels themselves (dmEditTime.h).
    DmStatus readLabel(std::string_view label, double& recordTime) const;
    /// The label of a record time.
    std::string labelOf(double recordTime) const;

    // In O(log n).

    /// The segment of an id.
    std::optional<DmElementPlace> find(const DmString& segmentId) const;
    /// The place of a segment of this value, by its id, or by its time where it has none.
    std::optional<DmElementPlace> placeOf(const DmSegmentNode& segment) const;
    /// The element that plays at a time: in [in, out); a cut plays at none.
    std::optional<DmElementPlace> at(const DmLayerPlace& layer, double time) const;
    /// The segments of an id's link group (the part before its last '#'), that one among them; that one alone where it
    /// has no group.
    std::vector<DmElementPlace> linkedWith(const DmString& segmentId) const;

    /// The elements that hold any of the sets, in any depth: what a change of shared media touches. Looks at all.
    std::vector<DmElementPlace> holdersOf(std::span<const DmPropertySet* const> sets) const;

    /// Whether a layer is one version in both, whatever happened to others.
    bool sharesLayer(const DmTimeline& other, const DmLayerPlace& layer) const;

private:
    friend class DmDiff;
    friend class DmEdit;
    friend class DmHistory;
    class State;

    explicit DmTimeline(std::shared_ptr<const DmTimelineValue> value, const DmTimeline& before = {});
    const DmTimelineValue* value() const;
    std::shared_ptr<const DmTimelineValue> shareValue() const;

    std::shared_ptr<State> _state;
};
