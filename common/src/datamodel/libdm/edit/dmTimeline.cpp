#include "dmTimeline.h"

#include "dmTimelineTreeImp.h"

#include "dmStoredLabel.h"
#include "tuLabel.h"

DmTimeline::DmTimeline(std::shared_ptr<const DmTimelineValue> value, const DmTimeline& before)
    : _state(std::make_shared<State>(std::move(value), before._state.get()))
{
}

const DmTimelineValue* DmTimeline::value() const
{
    return _state ? _state->value.get() : nullptr;
}

std::shared_ptr<const DmTimelineValue> DmTimeline::shareValue() const
{
    return _state ? _state->value : nullptr;
}

DmTimeline DmTimeline::withElements(std::span<const DmPlacedElement> elements) const
{
    if (!_state)
        return {};
    auto changed = std::make_shared<DmTimelineValue>(*value());
    for (const DmPlacedElement& each : elements)
    {
        DmTimelineValue::Layer* const layer = changed->layer(each.place.inLayer());
        if (!each.element || !layer || each.place.index < 0 || each.place.index >= layer->runs.count())
            return {};
        changed->splice(*layer, each.place.index, each.place.index + 1, {&each.element, 1}, 0.0);
    }
    return DmTimeline(std::move(changed), *this);
}

bool DmTimeline::operator==(const DmTimeline& other) const
{
    return value() == other.value();
}

CoSharedPtr<DmTreeNode> DmTimeline::tree() const
{
    return _state ? _state->tree() : CoSharedPtr<DmTreeNode>();
}

CoSharedPtr<DmRoot> DmTimeline::root() const
{
    return DM::dynamicPointerCast<DmRoot>(tree());
}

CoSharedPtr<DmCompositionNode> DmTimeline::composition() const
{
    CoSharedPtr<DmTreeNode> node = tree();
    if (node)
        for (const int step : value()->path)
            node = CoSharedPtr<DmTreeNode>(node->getChild(step));
    return DM::dynamicPointerCast<DmCompositionNode>(node);
}

DmStatus DmTimeline::readLabel(std::string_view label, double& recordTime) const
{
    DmStatus status;
    const std::string text(label);
    if (!value())
    {
        status.fail(DM_BAD_VALUE, "%s: there is no timeline", text.c_str());
        return status;
    }
    DM::TimeUnit time;
    const DM::FrameCodeModes fcm = dmModeOrDefault(dmFcmFromText(value()->bare->getFCM()));
    if (const DM::TimeLabel::Status read = DM::TimeLabel::read(label, fcm, time); read != DM::TimeLabel::Good)
        status.fail(DM_BAD_VALUE, "%s: %s", text.c_str(), DM::TimeLabel::reason(read));
    else
        recordTime = time.getFrames() - value()->labelShift();
    return status;
}

std::string DmTimeline::labelOf(double recordTime) const
{
    if (!value() || !dmIsTime(recordTime))
        return {};
    return DM::TimeLabel::text(DM::TimeUnit(recordTime + value()->labelShift()),
                               dmModeOrDefault(dmFcmFromText(value()->bare->getFCM())));
}

int DmTimeline::trackCount() const
{
    return _state ? int(value()->tracks.size()) : 0;
}

int DmTimeline::layerCount(int track) const
{
    return _state && std::size_t(track) < value()->tracks.size()
               ? int(value()->tracks[std::size_t(track)].layers.size())
               : 0;
}

int DmTimeline::elementCount(const DmLayerPlace& layer) const
{
    const DmTimelineValue::Layer* const found = _state ? value()->layer(layer) : nullptr;
    return found ? found->runs.count() : 0;
}

const DmTrackNode* DmTimeline::track(int index) const
{
    return _state && std::size_t(index) < value()->tracks.size() ? value()->tracks[std::size_t(index)].bare.get()
                                                                 : nullptr;
}

const DmLayerNode* DmTimeline::layer(const DmLayerPlace& place) const
{
    const DmTimelineValue::Layer* const found = _state ? value()->layer(place) : nullptr;
    return found ? found->bare.get() : nullptr;
}

CoSharedPtr<DmTreeNode> DmTimeline::element(const DmElementPlace& place) const
{
    if (!_state || !value()->layer(place.inLayer()))
        return {};
    return CoSharedPtr<DmTreeNode>(_state->layerNode(place.inLayer())->getChild(place.index));
}

const DmTreeNode* DmTimeline::storedElement(const DmElementPlace& place) const
{
    const DmTimelineValue::Layer* const layer = _state ? value()->layer(place.inLayer()) : nullptr;
    return layer ? layer->runs.at(place.index).node : nullptr;
}

double DmTimeline::recIn(const DmElementPlace& place) const
{
    const DmTimelineValue::Layer* const layer = _state ? value()->layer(place.inLayer()) : nullptr;
    return layer ? layer->runs.at(place.index).recIn() : dmNoTime;
}

double DmTimeline::recOut(const DmElementPlace& place) const
{
    const DmTimelineValue::Layer* const layer = _state ? value()->layer(place.inLayer()) : nullptr;
    return layer ? dmRecOut(layer->runs.at(place.index)) : dmNoTime;
}

std::optional<DmElementPlace> DmTimeline::find(const DmString& segmentId) const
{
    return _state && !segmentId.empty() ? value()->find(segmentId) : std::nullopt;
}

std::optional<DmElementPlace> DmTimeline::placeOf(const DmSegmentNode& segment) const
{
    if (!_state)
        return {};
    if (!segment.getSegmentId().empty())
        return find(segment.getSegmentId());
    for (int t = 0; t < trackCount(); ++t)
        for (int l = 0; l < layerCount(t); ++l)
            if (const DmTimelineValue::Layer* const layer = value()->layer({t, l}))
                for (int i = layer->runs.lastBeginningBy(segment.getRecIn()); i >= 0; --i)
                {
                    const DmElementPlace place{t, l, i};
                    if (layer->runs.at(i).recIn() < segment.getRecIn())
                        break;
                    if (layer->runs.at(i).node == &segment || element(place).get() == &segment)
                        return place;
                }
    return {};
}

std::optional<DmElementPlace> DmTimeline::at(const DmLayerPlace& layer, double time) const
{
    const DmTimelineValue::Layer* const found = _state ? value()->layer(layer) : nullptr;
    const int index = found ? DmTimelineValue::indexAt(found->runs, time) : -1;
    return index >= 0 ? std::optional(DmElementPlace{layer.track, layer.layer, index}) : std::nullopt;
}

std::vector<DmElementPlace> DmTimeline::linkedWith(const DmString& segmentId) const
{
    return _state && !segmentId.empty() ? value()->group(segmentId) : std::vector<DmElementPlace>();
}

bool DmTimeline::sharesLayer(const DmTimeline& other, const DmLayerPlace& layer) const
{
    const DmTimelineValue::Layer* const ours = _state ? value()->layer(layer) : nullptr;
    const DmTimelineValue::Layer* const theirs = other._state ? other.value()->layer(layer) : nullptr;
    return ours && theirs && ours->bare == theirs->bare && ours->runs == theirs->runs;
}
