#include "dmTrackBuilder.h"

#include "dmMemoryImp.h"

#include <algorithm>

DmTrackBuilder::DmTrackBuilder(int trackNum, eDmTreeMediaType mediaType, double start)
    : _trackNum(trackNum)
    , _mediaType(mediaType)
    , _start(start)
{
    beginLayer();
}

void DmTrackBuilder::beginLayer(int stereoOutputChannel, bool isResultLayer)
{
    const auto begin = [&]
    {
        _layers.emplace_back(static_cast<int>(_layers.size()), _mediaType, _start, stereoOutputChannel, isResultLayer);
        return DM_NO_ERROR;
    };
    _isWhole = _isWhole && dmWithMemory(begin) == DM_NO_ERROR;
}

double DmTrackBuilder::getEnd() const
{
    double end = _start;
    for (const DmLayerBuilder& layer : _layers)
        end = std::max(end, layer.getEnd());
    return end;
}

bool DmTrackBuilder::holds(const DmTreeNode* element) const
{
    return std::any_of(_layers.begin(), _layers.end(),
                       [element](const DmLayerBuilder& layer) { return layer.holds(element); });
}

CoSharedPtr<DmTrackNode> DmTrackBuilder::finish()
{
    CoSharedPtr<DmTrackNode> track;
    if (_isWhole)
        track = DmTrackNode::create(_trackNum, _mediaType);
    for (DmLayerBuilder& builder : _layers)
    {
        const CoSharedPtr<DmLayerNode> layer = builder.finish();
        const int before = track ? track->getNbChildren() : 0;
        if (!track || !layer || track->addChild(layer) == before)
            return {};
    }
    return track;
}

eDmErrorId DmTrackBuilder::addTo(DmCompositionNode& composition)
{
    const CoSharedPtr<DmTrackNode> track = finish();
    if (!track)
        return DM_BAD_VALUE;
    const int before = composition.getNbChildren();
    if (composition.addChild(track) == before)
        return DM_CANNOT_LOCK;
    // Where the composition begins depends on its tracks: this one is among them now.
    const double length = getEnd() - composition.getRecordStart();
    const eDmErrorId status = composition.setCompLength(std::max(composition.getCompLength(), length));
    if (status != DM_NO_ERROR)
        composition.removeChild(before);
    return status;
}
