/// Fades one picture into the next one, or from or to a colour. The channel "mix" is the curve of it.
#pragma once

#include "dmEffect.h"

class ZR_DM_API DmVDissolveSettings final : public DmEffect<DmVDissolveSettings>
{
public:
    static constexpr const wchar_t* typeName = L"VDissolve";
    static constexpr DmEffectUse use = dmOnVideo;
    ZR_DM_NAMES(enum class AttributId, attributNames, focusAlignment, renderMode, type, curve_type, blend_type)
    ZR_DM_NAMES(enum class ChannelId, channelNames, mix)

    enum Property : int
    {
        Length = FirstOwn,
        HasToFromColor,
        ToFromColorRed,
        ToFromColorGreen,
        ToFromColorBlue,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;
    /// All five attributes, with empty values; the focus alignment then reads as DM_FOCUS_UNDEFINED.
    eDmErrorId createAttributes() override;

    /// In frames; 0 until it is set.
    double getLength() const { return _length; }
    eDmErrorId setLength(double frames) { return set(Length, frames); }
    /// Fades from or to the colour instead of between two pictures.
    bool hasToFromColor() const { return _hasToFromColor; }
    eDmErrorId setHasToFromColor(bool has) { return set(HasToFromColor, has); }

    /// The colour, black until it is set, on the caller's scale: a component of `limit` is full intensity (1 for
    /// normalised values, 255 for eight bits). A stored component below 0 or above 1, as a document may bring it, comes
    /// back as 0 or `limit`. One that is no number is DM_BAD_VALUE and black; so is a limit of zero, a programming
    /// error.
    eDmErrorId getToFromColor(float limit, float& red, float& green, float& blue) const;
    /// Components from 0 to `limit`; others, and a limit of zero, are DM_BAD_VALUE and change nothing.
    eDmErrorId setToFromColor(float limit, float red, float green, float blue);

private:
    double _length = 0;
    float _toFromColorRed = 0;
    float _toFromColorGreen = 0;
    float _toFromColorBlue = 0;
    bool _hasToFromColor = false;
};
