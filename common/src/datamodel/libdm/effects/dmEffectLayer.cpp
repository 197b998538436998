#include "dmEffectLayer.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmEffectLayer>;

eDmErrorId DmEffectLayer::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<StartFrame>(L"startFrame", _startFrame, "The first frame on which the layer shows.", dmFrames)
        .mandatory<Duration>(L"duration", _duration, "For how long it shows.", dmFrames)
        .mandatory<Hold>(L"hold", _hold, "The first frame stands still.")
        .mandatory<Ghost>(L"ghost", _ghost, "Neighbouring frames show through.")
        .mandatory<GhostAfter>(L"ghostAfter", _ghostAfter, "How many frames after show through.", dmFrames)
        .mandatory<GhostBefore>(L"ghostBefore", _ghostBefore, "How many frames before show through.", dmFrames)
        .status();
}

void DmEffectLayer::setFrameRange(int start, unsigned duration)
{
    // Both or none; a constant layer keeps its range.
    static_cast<void>(changeSilently(
        [&]
        {
            _startFrame = start;
            _duration = duration;
        }));
}
