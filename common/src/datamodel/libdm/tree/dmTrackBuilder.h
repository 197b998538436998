/// Makes a track, layer by layer, each of which keeps the rules (dmLayerBuilder.h), and puts it into a composition.
///
///     DmTrackBuilder builder(1, DM_MEDIA_VIDEO);
///     for (const CoSharedPtr<DmTreeNode>& element : {source, dissolve, next})
///         if (const eDmErrorId status = builder.append(element); status != DM_NO_ERROR)
///             return status;
///     builder.beginLayer();
///     if (const eDmErrorId status = builder.place(title); status != DM_NO_ERROR)
///         return status;
///     return builder.addTo(*composition);
#pragma once

#include "dmCompositionNode.h"
#include "dmLayerBuilder.h"
#include "dmTrackNode.h"

#include <vector>

class ZR_DM_API DmTrackBuilder
{
public:
    /// The track's first layer is begun. Layers are numbered from 0; each begins at the record time `start`.
    DmTrackBuilder(int trackNum, eDmTreeMediaType mediaType, double start = 0.0);

    // Into the layer that was begun last; as DmLayerBuilder's.

    eDmErrorId append(const CoSharedPtr<DmTreeNode>& element)
    {
        return canTake(element) ? _layers.back().append(element) : DM_BAD_VALUE;
    }
    eDmErrorId place(const CoSharedPtr<DmTreeNode>& element)
    {
        return canTake(element) ? _layers.back().place(element) : DM_BAD_VALUE;
    }
    eDmErrorId fillTo(double time) { return _isWhole ? _layers.back().fillTo(time) : DM_BAD_VALUE; }

    /// Without memory for it, the builder takes nothing more, and there is no track.
    void beginLayer(int stereoOutputChannel = 0, bool isResultLayer = false);
    /// Where the layer that goes furthest ends.
    double getEnd() const;

    /// The track with all its layers. More may be put in behind, and finish() called again, which gives another track
    /// with the same layers. Null when it could not be made.
    CoSharedPtr<DmTrackNode> finish();
    bool holds(const DmTreeNode* element) const;
    bool holds(const CoSharedPtr<DmTreeNode>& element) const { return holds(element.get()); }
    /// Finishes the track, adds it to a composition, and makes the composition as long as it takes to reach the track's
    /// end from its own begin (DmCompositionNode::getRecordStart), if it is shorter: all of it happens, before any
    /// listener hears of it, or nothing. Set the start time code first.
    eDmErrorId addTo(DmCompositionNode& composition);

private:
    /// With the layers as they are, unfinished; null without memory.
    CoSharedPtr<DmTrackNode> makeTrack() const;
    bool canTake(const CoSharedPtr<DmTreeNode>& element) const { return _isWhole && !holds(element); }

    int _trackNum;
    eDmTreeMediaType _mediaType;
    double _start;
    std::vector<DmLayerBuilder> _layers;
    bool _isWhole = true; ///< every layer was begun
};
