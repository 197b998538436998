/// A track of a composition: its layers, all of the track's media type.
#pragma once

#include "dmCollectionNode.h"
#include "dmMediaType.h"

class ZR_DM_API DmTrackNode final
    : public DmNode<DmTrackNode, DmCollectionNode, &DmTreeVisitor::visitTrackNode, &DmTreeVisitor::postProcessTrackNode>
{
public:
    enum Property : int
    {
        TrackNum = FirstOwn,
        TrackChannel,
        MediaType,
        HasStereoFx,
        PropertyCount
    };

    explicit DmTrackNode(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmNode::create;
    static CoSharedPtr<DmTrackNode> create(int trackNum, eDmTreeMediaType mediaType);

    int getTrackNum() const { return _trackNum; }
    eDmErrorId setTrackNum(int number) { return set(TrackNum, number); }
    /// The output channel.
    int getTrackChannel() const { return _trackChannel; }
    eDmErrorId setTrackChannel(int channel) { return set(TrackChannel, channel); }
    eDmTreeMediaType getMediaType() const { return _mediaType; }
    eDmErrorId setMediaType(eDmTreeMediaType type) { return set(MediaType, type); }
    bool hasStereoFx() const { return _hasStereoFx; }
    eDmErrorId setHasStereoFx(bool has) { return set(HasStereoFx, has); }

    /// A layer of the track's media type.
    eDmErrorId mayHold(const DmTreeNode* node) const override;

protected:
    /// Stops the process, unless the host's assertion gate is open.
    void checkChild(const DmTreeNode* node) const override;

private:
    int _trackNum = 0;
    int _trackChannel = 0;
    eDmTreeMediaType _mediaType = DM_MEDIA_UNDEFINED;
    bool _hasStereoFx = false;
};
