/// What stands between two segments of a layer, in the record time between them: "recIn", "recLength" and "relIn" are
/// frames of the composition's mode. "relIn" is how much of it lies before the cut that it covers. A cut has no length.
#pragma once

#include "dmLeafNode.h"
#include "dmMediaType.h"

class ZR_DM_API DmTransitionNode : public DmLeafNode
{
public:
    static constexpr const wchar_t* className = dmClassName<DmTransitionNode>;
    enum Property : int
    {
        RecIn = DmLeafNode::PropertyCount,
        RecLength,
        RelIn,
        MediaType,
        PropertyCount
    };

    using DmTreeNode::asTransition;
    DmTransitionNode* asTransition() final { return this; }

    eDmErrorId createList() override;

    double getRecIn() const { return _recIn; }
    eDmErrorId setRecIn(double frames) { return set(RecIn, frames); }
    double getRecLength() const { return _recLength; }
    eDmErrorId setRecLength(double frames) { return set(RecLength, frames); }
    /// The record time at which the transition has ended.
    double getRecOut() const { return _recIn + _recLength; }
    double getRelIn() const { return _relIn; }
    eDmErrorId setRelIn(double frames) { return set(RelIn, frames); }
    /// That of the layer.
    eDmTreeMediaType getMediaType() const { return _mediaType; }
    eDmErrorId setMediaType(eDmTreeMediaType type) { return set(MediaType, type); }

protected:
    using DmLeafNode::DmLeafNode;

private:
    double _recIn = 0.0;
    double _recLength = 0.0;
    double _relIn = 0.0;
    eDmTreeMediaType _mediaType = DM_MEDIA_UNDEFINED;
};
