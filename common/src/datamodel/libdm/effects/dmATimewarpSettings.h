/// Plays a segment's sound faster or slower. Unlike those of dmAudioEffects.h its parameters do not change over time.
#pragma once

#include "dmEffect.h"

class ZR_DM_API DmATimewarpSettings final : public DmEffect<DmATimewarpSettings>
{
public:
    static constexpr const wchar_t* typeName = L"ATimewarp";
    static constexpr DmEffectUse use = dmOnAudioSegments;

    enum Property : int
    {
        Length = FirstOwn,
        Ratio,
        Pitch,
        Rhythm,
        Quality,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// In frames.
    double getLength() const { return _length; }
    eDmErrorId setLength(double frames) { return set(Length, frames); }
    /// Of the duration; 1 leaves it as it is.
    float getRatio() const { return _ratio; }
    eDmErrorId setRatio(float ratio) { return set(Ratio, ratio); }
    /// 1 leaves it as it is.
    float getPitch() const { return _pitch; }
    eDmErrorId setPitch(float pitch) { return set(Pitch, pitch); }
    float getRhythm() const { return _rhythm; }
    eDmErrorId setRhythm(float rhythm) { return set(Rhythm, rhythm); }
    /// A code of the renderer.
    int getQuality() const { return _quality; }
    eDmErrorId setQuality(int quality) { return set(Quality, quality); }

private:
    double _length = 0;
    float _ratio = 1;
    float _pitch = 1;
    float _rhythm = 0;
    int _quality = 2;
};
