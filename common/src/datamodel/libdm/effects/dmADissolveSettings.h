/// The audio transition: fades one segment's sound into the next one's, or from or to silence.
#pragma once

#include "dmEffect.h"

class ZR_DM_API DmADissolveSettings final : public DmEffect<DmADissolveSettings>
{
public:
    static constexpr const wchar_t* typeName = L"ADissolve";
    static constexpr DmEffectUse use = dmOnAudioTransitions;
    ZR_DM_NAMES(enum class AttributId, attributNames, focusAlignment)

    enum Property : int
    {
        Length = FirstOwn,
        HasToFromColor,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;
    /// "focusAlignment" with an empty value, which reads as DM_FOCUS_UNDEFINED.
    eDmErrorId createAttributes() override;

    /// In frames; 0 until it is set.
    double getLength() const { return _length; }
    eDmErrorId setLength(double frames) { return set(Length, frames); }
    /// Fades from or to silence, as the picture's dissolve does from or to a colour.
    bool hasToFromColor() const { return _hasToFromColor; }
    eDmErrorId setHasToFromColor(bool has) { return set(HasToFromColor, has); }

private:
    double _length = 0;
    bool _hasToFromColor = false;
};
