/// What a track plays: the elements of a layer in record order, each with its place in record time and what it plays.
///
///     for (DmPlayListIterator it(composition, 0); !it.isDone(); it.next())
///         list(it.element(), it.recordRange(), it.sourceRange());
///
///     DmPlayListIterator it(composition, 0);
///     if (it.seek(playhead))
///         show(it.element());
///
/// Times are those of DmTreeTool::getRecordRange and getSourceRange. The iterator keeps the layer alive; children that
/// are added or removed while it goes shift it. Null children are passed over, containers are elements like others.
#pragma once

#include "dmTreeTool.h"
#include "tuFcm.h"

class ZR_DM_API DmPlayListIterator
{
public:
    /// The layer that an iterator is given no number for: the track's result layer, or its first where it has none.
    static constexpr int playedLayer = -1;

    /// Stands at the first element. `track` and `layer` are positions; what is not there has nothing to play.
    DmPlayListIterator(const DmCompositionNode* composition, int track, int layer = playedLayer);
    DmPlayListIterator(const CoSharedPtr<DmCompositionNode>& composition, int track, int layer = playedLayer);

    bool isDone() const { return !element(); }
    void next();
    void first();
    /// Goes to the element that plays at a record time, found as DmTreeTool::getElementIndexAt does. False, and done,
    /// when none plays.
    bool seek(double recordTime);

    /// Null behind the last one.
    DmTreeNode* element() const { return _layer ? _layer->getChild(_position) : nullptr; }
    /// Among the layer's children.
    int position() const { return _position; }
    DmTimeRange recordRange() const { return DmTreeTool::getRecordRange(element()); }
    DmTimeRange sourceRange() const { return DmTreeTool::getSourceRange(element(), _fcm); }

private:
    void skipNull();

    CoSharedPtr<const DmLayerNode> _layer;
    DM::FrameCodeModes _fcm; ///< of the composition
    int _position = 0;
};
