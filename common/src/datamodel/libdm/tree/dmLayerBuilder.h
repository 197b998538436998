/// Makes a layer in the order that the rules want: segments and transitions go in in record order, and the builder adds
/// the cuts and gaps that must stand between them. What an element lacks by itself, a source its input, stays so.
///
///     DmLayerBuilder builder(0, DM_MEDIA_VIDEO);
///     for (const eDmErrorId status :
///          {builder.append(source), builder.append(dissolve), builder.append(next), // at the end of what is there
///           title->setRecIn(500.0),
///           builder.place(title)}) // where it says: the hole in front of it becomes a gap, each seam a cut
///         if (status != DM_NO_ERROR)
///             return status;
///     CoSharedPtr<DmLayerNode> layer = builder.finish();
///
/// Between two transitions, and where a layer begins or ends with one, stands a gap of no length. Elements are
/// shared, not copied; each goes in once. Times are frames of the composition's mode.
///
/// An element goes in with all that must stand in front of it, in one change of the layer's children, or nothing has
/// changed, its own times included: then it is DM_BAD_VALUE, for an element that is null, that the layer holds already,
/// that is of another media type or of a kind that layers do not take, whose length is negative or infinite (of a
/// segment that is no gap: less than half a frame), or that is placed before the end of what is there, and where memory
/// runs out; DM_CANNOT_LOCK where element or layer is a constant. Listeners, of the element and of the layer, hear of
/// it when all of it has happened; so they do of finish(). ZR_DEBUG_DM_LAYER_BUILDER posts each step.
#pragma once

#include "dmLayerNode.h"

#include <span>
#include <unordered_set>

class DmStep;

class ZR_DM_API DmLayerBuilder
{
public:
    /// The layer begins at the record time `start`.
    DmLayerBuilder(int layerNum, eDmTreeMediaType mediaType, double start = 0.0, int stereoOutputChannel = 0,
                   bool isResultLayer = false);

    /// Goes on behind the last element of a layer that there is already, and changes that one; a null one takes
    /// nothing, nor does one whose elements there is no memory to know.
    explicit DmLayerBuilder(const CoSharedPtr<DmLayerNode>& layer);

    /// Puts a segment or a transition at the end: sets its "recIn".
    eDmErrorId append(const CoSharedPtr<DmTreeNode>& element);
    /// Puts it where its "recIn" says. A cut gets the length that cuts have, none.
    eDmErrorId place(const CoSharedPtr<DmTreeNode>& element);
    /// Adds a gap up to that record time, if there is something to fill.
    eDmErrorId fillTo(double time);

    double getStart() const { return _start; }
    /// Where the last element ends.
    double getEnd() const { return _end; }
    bool holds(const DmTreeNode* element) const { return _held.count(element) != 0; }
    bool holds(const CoSharedPtr<DmTreeNode>& element) const { return holds(element.get()); }
    /// The layer so far, its start and length set; a transition at its end gets a gap of no length behind it. More may
    /// be put in behind, and finish() called again: what follows stands behind the transition then, and that gap goes.
    /// Null when the layer could not be made.
    CoSharedPtr<DmLayerNode> finish();

private:
    friend class DmTrackBuilder;
    class Batch;

    /// Finishes layers in one step with what else it changes: all of it, or nothing.
    static eDmErrorId finishAll(std::span<DmLayerBuilder> builders, DmStep& step);
    template <class Element>
    eDmErrorId put(Element& element, double recIn);
    bool endsInSegment() const;
    bool endsInSpareGap() const;

    CoSharedPtr<DmLayerNode> _layer;
    double _start;
    double _end;
    std::unordered_set<const DmTreeNode*> _held; ///< all that the layer holds
};
