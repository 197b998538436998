/// Effects that cover a part of the picture, or let another one through.
#pragma once

#include "dmEffect.h"

/// Bars that give the picture another aspect ratio. A fresh one has the ratio of a 16:9 picture and is black.
class ZR_DM_API DmPPFxLetterboxSettings final : public DmEffect<DmPPFxLetterboxSettings>
{
public:
    static constexpr const wchar_t* typeName = L"PPFxLetterbox";
    static constexpr DmEffectUse use = dmOnVideoSegments;

    enum Property : int
    {
        AspectMode = FirstOwn,
        Offset,
        Ratio,
        ColourRed,
        ColourGreen,
        ColourBlue,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// A code of the renderer.
    int getAspectMode() const { return _aspectMode; }
    eDmErrorId setAspectMode(int code) { return set(AspectMode, code); }
    /// How far the opening is off the picture's centre; 0 is not at all.
    double getOffset() const { return _offset; }
    eDmErrorId setOffset(double offset) { return set(Offset, offset); }
    /// Width to height of the opening.
    double getRatio() const { return _ratio; }
    eDmErrorId setRatio(double ratio) { return set(Ratio, ratio); }
    /// Of the bars: components from 0 to 1.
    float getColourRed() const { return _colourRed; }
    eDmErrorId setColourRed(float red) { return set(ColourRed, red); }
    float getColourGreen() const { return _colourGreen; }
    eDmErrorId setColourGreen(float green) { return set(ColourGreen, green); }
    float getColourBlue() const { return _colourBlue; }
    eDmErrorId setColourBlue(float blue) { return set(ColourBlue, blue); }

private:
    double _offset = 0;
    double _ratio = 16.0 / 9.0;
    int _aspectMode = 0;
    float _colourRed = 0;
    float _colourGreen = 0;
    float _colourBlue = 0;
};

/// A straight edge through a point of the picture. By default at the origin, not turned.
class ZR_DM_API DmAngularMaskSettings final : public DmEffect<DmAngularMaskSettings>
{
public:
    static constexpr const wchar_t* typeName = L"AngularMask";
    static constexpr DmEffectUse use = dmOnVideoSegments;

    enum Property : int
    {
        PivotX = FirstOwn,
        PivotY,
        AngleInRadians,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    double getPivotX() const { return _pivotX; }
    eDmErrorId setPivotX(double x) { return set(PivotX, x); }
    double getPivotY() const { return _pivotY; }
    eDmErrorId setPivotY(double y) { return set(PivotY, y); }
    float getAngleInRadians() const { return _angleInRadians; }
    eDmErrorId setAngleInRadians(float angle) { return set(AngleInRadians, angle); }

private:
    double _pivotX = 0;
    double _pivotY = 0;
    float _angleInRadians = 0;
};

/// Composites the segment over what lies below it, through its matte.
class ZR_DM_API DmCompSettings final : public DmEffect<DmCompSettings>
{
public:
    static constexpr const wchar_t* typeName = L"Comp";
    static constexpr DmEffectUse use = dmOnVideoSegments;
    ZR_DM_NAMES(enum class AttributId, attributNames, compositeMode)
    ZR_DM_NAMES(enum class ChannelId, channelNames, transparency)

    enum Property : int
    {
        MatteInvert = FirstOwn,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// By default the matte is taken as it is.
    bool getMatteInvert() const { return _matteInvert; }
    eDmErrorId setMatteInvert(bool on) { return set(MatteInvert, on); }

private:
    bool _matteInvert = false;
};
