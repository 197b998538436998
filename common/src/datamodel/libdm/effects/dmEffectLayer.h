/// One layer of a text or paint effect: when it shows, and the onion skin that an artist draws over. Times are frames
/// of the effect.
#pragma once

#include "dmEffect.h"

class ZR_DM_API DmEffectLayer : public DmEffect<DmEffectLayer>
{
public:
    static constexpr const wchar_t* typeName = L"Effect";
    static constexpr DmEffectUse use = dmInVideoEffects;

    enum Property : int
    {
        StartFrame = FirstOwn,
        Duration,
        Hold,
        Ghost,
        GhostAfter,
        GhostBefore,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    int getStartFrame() const { return _startFrame; }
    unsigned getDuration() const { return _duration; }
    /// Tells no listener.
    void setFrameRange(int start, unsigned duration);

    /// The first frame stands still.
    bool getHold() const { return _hold; }
    eDmErrorId setHold(bool hold) { return set(Hold, hold); }
    /// Shows neighbouring frames through the layer: how many of them, after and before.
    bool getGhost() const { return _ghost; }
    eDmErrorId setGhost(bool ghost) { return set(Ghost, ghost); }
    unsigned getGhostAfter() const { return _ghostAfter; }
    eDmErrorId setGhostAfter(unsigned frames) { return set(GhostAfter, frames); }
    unsigned getGhostBefore() const { return _ghostBefore; }
    eDmErrorId setGhostBefore(unsigned frames) { return set(GhostBefore, frames); }

private:
    int _startFrame = 0;
    unsigned _duration = 0;
    bool _hold = false;
    bool _ghost = false;
    unsigned _ghostAfter = 3;
    unsigned _ghostBefore = 3;
};
