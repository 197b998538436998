/// Stands for an effect that the model does not describe; at home everywhere in a video track.
#pragma once

#include "dmEffect.h"

class ZR_DM_API DmDefaultFxSettings final : public DmEffect<DmDefaultFxSettings>
{
public:
    static constexpr const wchar_t* typeName = L"DefaultFx";
    static constexpr DmEffectUse use = dmOnVideo;

    enum Property : int
    {
        Length = FirstOwn,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// In frames.
    double getLength() const { return _length; }
    eDmErrorId setLength(double frames) { return set(Length, frames); }

private:
    double _length = 0;
};
