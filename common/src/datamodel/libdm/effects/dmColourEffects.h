/// Effects that change a picture's colours and leave its shapes alone.
#pragma once

#include "dmEffect.h"

/// A primary correction: of the picture as a whole, and gain, offset and gamma of red, green and blue by themselves.
class ZR_DM_API DmColourSettings final : public DmEffect<DmColourSettings>
{
public:
    static constexpr const wchar_t* typeName = L"Colour";
    static constexpr DmEffectUse use = dmOnVideoSegments;
    ZR_DM_NAMES(enum class AttributId, attributNames, rewireModeRed, rewireModeGreen, rewireModeBlue)
    ZR_DM_NAMES(enum class ChannelId, channelNames, hueShift, saturation, contrast, gain, offset, redGain, redOffset,
                greenGain, greenOffset, blueGain, blueOffset, gamma, redGamma, greenGamma, blueGamma, balanceGain,
                balanceHue)

    enum Property : int
    {
        CorrectionType = FirstOwn,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// A code of the renderer.
    int getCorrectionType() const { return _correctionType; }
    eDmErrorId setCorrectionType(int code) { return set(CorrectionType, code); }

private:
    int _correctionType = 0;
};

/// A look as the ASC CDL defines it: (in * slope + offset) ^ power, then saturation. A fresh one changes nothing.
class ZR_DM_API DmLookSettings final : public DmEffect<DmLookSettings>
{
public:
    static constexpr const wchar_t* typeName = L"Look";
    static constexpr DmEffectUse use = dmOnVideo;

    enum Property : int
    {
        SlopeR = FirstOwn,
        SlopeG,
        SlopeB,
        OffsetR,
        OffsetG,
        OffsetB,
        PowerR,
        PowerG,
        PowerB,
        Saturation,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    double getSlopeR() const { return _slopeR; }
    eDmErrorId setSlopeR(double slope) { return set(SlopeR, slope); }
    double getSlopeG() const { return _slopeG; }
    eDmErrorId setSlopeG(double slope) { return set(SlopeG, slope); }
    double getSlopeB() const { return _slopeB; }
    eDmErrorId setSlopeB(double slope) { return set(SlopeB, slope); }
    double getOffsetR() const { return _offsetR; }
    eDmErrorId setOffsetR(double offset) { return set(OffsetR, offset); }
    double getOffsetG() const { return _offsetG; }
    eDmErrorId setOffsetG(double offset) { return set(OffsetG, offset); }
    double getOffsetB() const { return _offsetB; }
    eDmErrorId setOffsetB(double offset) { return set(OffsetB, offset); }
    double getPowerR() const { return _powerR; }
    eDmErrorId setPowerR(double power) { return set(PowerR, power); }
    double getPowerG() const { return _powerG; }
    eDmErrorId setPowerG(double power) { return set(PowerG, power); }
    double getPowerB() const { return _powerB; }
    eDmErrorId setPowerB(double power) { return set(PowerB, power); }
    double getSaturation() const { return _saturation; }
    eDmErrorId setSaturation(double saturation) { return set(Saturation, saturation); }

private:
    double _slopeR = 1;
    double _slopeG = 1;
    double _slopeB = 1;
    double _offsetR = 0;
    double _offsetG = 0;
    double _offsetB = 0;
    double _powerR = 1;
    double _powerG = 1;
    double _powerB = 1;
    double _saturation = 1;
};
