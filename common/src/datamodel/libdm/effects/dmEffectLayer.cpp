#include "dmEffectLayer.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmEffectLayer>;

eDmErrorId DmEffectLayer::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"startFrame", _startFrame)
        .mandatory(L"duration", _duration)
        .mandatory(L"hold", _hold)
        .mandatory(L"ghost", _ghost)
        .mandatory(L"ghostAfter", _ghostAfter)
        .mandatory(L"ghostBefore", _ghostBefore)
        .status();
}

void DmEffectLayer::setFrameRange(int start, unsigned duration)
{
    if (isFrozen())
        return;
    _startFrame = start;
    _duration = duration;
}
