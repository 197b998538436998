#include "dmPlayListIterator.h"

#include "dmStoredLabel.h"
#include "dmTrackNode.h"

namespace
{

const DmLayerNode* layerAt(const DmTrackNode& track, int position)
{
    return dynamic_cast<const DmLayerNode*>(track.getChild(position));
}

const DmLayerNode* findLayer(const DmCompositionNode* composition, int trackPosition, int layerPosition)
{
    const auto* const track =
        composition ? dynamic_cast<const DmTrackNode*>(composition->getChild(trackPosition)) : nullptr;
    if (!track)
        return nullptr;
    if (layerPosition != DmPlayListIterator::playedLayer)
        return layerAt(*track, layerPosition);
    for (int i = 0; i < track->getNbChildren(); ++i)
        if (const DmLayerNode* const layer = layerAt(*track, i); layer && layer->isResultLayer())
            return layer;
    return layerAt(*track, 0);
}

} // namespace

DmPlayListIterator::DmPlayListIterator(const DmCompositionNode* composition, int track, int layer)
    : _layer(findLayer(composition, track, layer))
    , _fcm(composition ? dmFcmFromText(composition->getFCM()) : DM::FCM_NOT_DEFINED)
{
    skipNull();
}

DmPlayListIterator::DmPlayListIterator(const CoSharedPtr<DmCompositionNode>& composition, int track, int layer)
    : DmPlayListIterator(composition.get(), track, layer)
{
}

void DmPlayListIterator::next()
{
    if (_layer && _position < _layer->getNbChildren())
        ++_position;
    skipNull();
}

void DmPlayListIterator::first()
{
    _position = 0;
    skipNull();
}

bool DmPlayListIterator::seek(double recordTime)
{
    const int found = DmTreeTool::getElementIndexAt(_layer.get(), recordTime);
    _position = found >= 0 ? found : _layer ? _layer->getNbChildren() : 0;
    return found >= 0;
}

void DmPlayListIterator::skipNull()
{
    while (_layer && _position < _layer->getNbChildren() && !_layer->getChild(_position))
        ++_position;
}
