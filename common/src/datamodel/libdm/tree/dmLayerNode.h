/// A layer of a track: in record order segments, and between two of them a transition, all of the layer's media type.
///
/// Times are frames of the composition's mode. The layer's cue marks live in memory only: they are no property, and so
/// are neither saved nor compared.
#pragma once

#include "dmCollectionNode.h"
#include "dmCueMark.h"
#include "dmMediaType.h"
#include "dmOwned.h"

class ZR_DM_API DmLayerNode final
    : public DmNode<DmLayerNode, DmCollectionNode, &DmTreeVisitor::visitLayerNode, &DmTreeVisitor::postProcessLayerNode>
{
public:
    enum Property : int
    {
        LayerNum = FirstOwn,
        MediaType,
        LayerStartTC,
        LayerLength,
        LayerStereoOutputChannel,
        IsResultLayer,
        PropertyCount
    };

    explicit DmLayerNode(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmNode::create;
    static CoSharedPtr<DmLayerNode> create(int layerNum, eDmTreeMediaType mediaType, int stereoOutputChannel,
                                           bool isResultLayer);

    int getLayerNum() const { return _layerNum; }
    eDmErrorId setLayerNum(int number) { return set(LayerNum, number); }
    eDmTreeMediaType getMediaType() const { return _mediaType; }
    eDmErrorId setMediaType(eDmTreeMediaType type) { return set(MediaType, type); }
    /// The record time at which the layer starts.
    double getLayerStartTC() const { return _layerStartTC; }
    eDmErrorId setLayerStartTC(double frames) { return set(LayerStartTC, frames); }
    double getLayerLength() const { return _layerLength; }
    eDmErrorId setLayerLength(double frames) { return set(LayerLength, frames); }
    int getStereoOutputChannel() const { return _stereoOutputChannel; }
    eDmErrorId setStereoOutputChannel(int channel) { return set(LayerStereoOutputChannel, channel); }
    /// The layer holds what its track's layers amount to.
    bool isResultLayer() const { return _isResultLayer; }
    eDmErrorId setIsResultLayer(bool is) { return set(IsResultLayer, is); }

    const DmSetList<DmCueMark>& getCueMarks() const { return _cueMarks; }
    /// Null is DM_BAD_VALUE.
    eDmErrorId addCueMark(const CoSharedPtr<DmCueMark>& mark);
    /// DM_BAD_INDEX when there is no such mark.
    eDmErrorId removeCueMark(int index);

    /// A segment or a transition of the layer's media type.
    eDmErrorId mayHold(const DmTreeNode* node) const override;

protected:
    /// Stops the process, unless the host's assertion gate is open.
    void checkChild(const DmTreeNode* node) const override;

private:
    int _layerNum = 0;
    eDmTreeMediaType _mediaType = DM_MEDIA_UNDEFINED;
    double _layerStartTC = 0.0;
    double _layerLength = 0.0;
    int _stereoOutputChannel = 0;
    bool _isResultLayer = false;
    DmOwnedList<DmCueMark> _cueMarks;
};
