#include "dmTrackBuilder.h"

#include "dmLayerStartsImp.h"
#include "dmMemoryImp.h"
#include "dmStepImp.h"

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

CoSharedPtr<DmTrackNode> DmTrackBuilder::makeTrack() const
{
    const CoSharedPtr<DmTrackNode> track =
        _isWhole ? DmTrackNode::create(_trackNum, _mediaType) : CoSharedPtr<DmTrackNode>();
    const auto fill = [&]
    {
        std::vector<CoSharedPtr<DmTreeNode>> layers;
        for (const DmLayerBuilder& builder : _layers)
            layers.emplace_back(builder._layer);
        return track->replaceChildren(0, 0, layers);
    };
    return track && dmWithMemory(fill) == DM_NO_ERROR ? track : CoSharedPtr<DmTrackNode>();
}

CoSharedPtr<DmTrackNode> DmTrackBuilder::finish()
{
    const CoSharedPtr<DmTrackNode> track = makeTrack();
    DmStep step;
    return track && DmLayerBuilder::finishAll(_layers, step) == DM_NO_ERROR ? track : CoSharedPtr<DmTrackNode>();
}

eDmErrorId DmTrackBuilder::addTo(DmCompositionNode& composition)
{
    const CoSharedPtr<DmTrackNode> track = makeTrack();
    if (!track)
        return DM_BAD_VALUE;
    // Where the composition begins depends on its tracks, this one among them.
    DmLayerStarts starts(composition);
    for (const DmLayerBuilder& builder : _layers)
        starts.add(*builder._layer, builder._start);
    const double startTC = composition.getStartTC();
    const double length = getEnd() - (starts.areAbsolute(startTC) ? startTC : 0.0);

    DmStep step;
    const auto add = [&]
    {
        step.splice(composition, DmCompositionNode::Children, composition.getNbChildren(), 0, {track});
        return DM_NO_ERROR;
    };
    if (const eDmErrorId status = dmWithMemory(add); status != DM_NO_ERROR)
        return status;
    step.set(composition, DmCompositionNode::CompLength, std::max(composition.getCompLength(), length));
    return DmLayerBuilder::finishAll(_layers, step);
}
