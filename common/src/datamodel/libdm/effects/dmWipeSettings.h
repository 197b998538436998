/// Replaces one picture by another behind an edge that moves across it.
#pragma once

#include "dmEffect.h"

class ZR_DM_API DmWipeSettings final : public DmEffect<DmWipeSettings>
{
public:
    static constexpr const wchar_t* typeName = L"Wipe";
    static constexpr DmEffectUse use = dmOnVideo;
    ZR_DM_NAMES(enum class AttributId, attributNames, focusAlignment, renderMode, startPosition)
    ZR_DM_NAMES(enum class ChannelId, channelNames, dummy)

    enum Property : int
    {
        Length = FirstOwn,
        SmptePattern,
        PositionX,
        PositionY,
        RotationZ,
        Softness,
        Inverted,
        ScaleX,
        ScaleY,
        ScaleZ,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// In frames; 0 until it is set.
    double getLength() const { return _length; }
    eDmErrorId setLength(double frames) { return set(Length, frames); }
    /// The SMPTE number of the edge's shape. A fresh wipe has that of ZR_DEFAULT_DM_WIPE_PATTERN, 1 (a vertical edge)
    /// when that is unset or no number above 0; documents always say it.
    int getSmptePattern() const { return _smptePattern; }
    eDmErrorId setSmptePattern(int pattern) { return set(SmptePattern, pattern); }
    /// Where the shape's centre is: off the picture's centre, in pixels.
    float getPositionX() const { return _positionX; }
    eDmErrorId setPositionX(float x) { return set(PositionX, x); }
    float getPositionY() const { return _positionY; }
    eDmErrorId setPositionY(float y) { return set(PositionY, y); }
    /// Of the shape, in degrees.
    float getRotationZ() const { return _rotationZ; }
    eDmErrorId setRotationZ(float degrees) { return set(RotationZ, degrees); }
    /// Of the edge; 0 is hard.
    float getSoftness() const { return _softness; }
    eDmErrorId setSoftness(float softness) { return set(Softness, softness); }
    /// The edge moves the other way.
    bool getInverted() const { return _inverted; }
    eDmErrorId setInverted(bool on) { return set(Inverted, on); }
    /// Of the shape; 1 is its own size.
    float getScaleX() const { return _scaleX; }
    eDmErrorId setScaleX(float scale) { return set(ScaleX, scale); }
    float getScaleY() const { return _scaleY; }
    eDmErrorId setScaleY(float scale) { return set(ScaleY, scale); }
    float getScaleZ() const { return _scaleZ; }
    eDmErrorId setScaleZ(float scale) { return set(ScaleZ, scale); }

private:
    static int defaultPattern();

    double _length = 0;
    int _smptePattern = defaultPattern();
    float _positionX = 0;
    float _positionY = 0;
    float _rotationZ = 0;
    float _softness = 0;
    float _scaleX = 1;
    float _scaleY = 1;
    float _scaleZ = 1;
    bool _inverted = false;
};
