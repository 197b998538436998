/// Effects that move a picture in space, in front of another one. Positions are pixels, rotations degrees, scales 1 at
/// the picture's own size; all of them are channels.
#pragma once

#include "dmEffect.h"

/// A picture on a surface in space, with its shadow, its blur and its key.
class ZR_DM_API DmAxisSettings final : public DmEffect<DmAxisSettings>
{
public:
    static constexpr const wchar_t* typeName = L"Axis";
    static constexpr DmEffectUse use = dmOnVideo;
    ZR_DM_NAMES(enum class AttributId, attributNames, focusAlignment, renderMode, surfaceBlendMode, iPrsAlign,
                iPartialAxis)
    ZR_DM_NAMES(enum class ChannelId, channelNames, layerPositionX, layerPositionY, layerPositionZ, layerScaleX,
                layerScaleY, layerScaleZ, layerRotationX, layerRotationY, layerRotationZ, layerShearX, layerShearY,
                layerShearZ, transparency, cropLeft, cropRight, cropBottom, cropTop, cropSoftness, surfacePositionTLX,
                surfacePositionTLY, surfacePositionBLX, surfacePositionBLY, surfacePositionTRX, surfacePositionTRY,
                surfacePositionBRX, surfacePositionBRY, offsetPositionX, offsetPositionY, offsetPositionZ, offsetScaleX,
                offsetScaleY, offsetScaleZ, offsetRotationX, offsetRotationY, offsetRotationZ, offsetShearX,
                offsetShearY, offsetShearZ, shadowColorRed, shadowColorGreen, shadowColorBlue, shadowSoftness,
                shadowTransparency, shadowPosX, shadowPosY, blurX, blurY, keyerAxisPosX, keyerAxisPosY, keyerAxisScaleX,
                keyerAxisScaleY, keyerLumTolerance, iPosX, iPosY, iScaleX, iScaleY, iRotZ, iPrs, iPrsOffset, iPrsAux,
                iFwBL, iFwTL, iFwTR, iFwBR)

    enum Property : int
    {
        KeyerSetupFile = FirstOwn,
        KeyerSetupOutside,
        PropScaling,
        Length,
        Swap,
        Convergence,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    const DmString& getKeyerSetupFile() const { return _keyerSetupFile; }
    eDmErrorId setKeyerSetupFile(const DmString& file) { return set(KeyerSetupFile, file); }
    /// The keyer's setup stands in a file of its own.
    bool getKeyerSetupOutside() const { return _keyerSetupOutside; }
    eDmErrorId setKeyerSetupOutside(bool outside) { return set(KeyerSetupOutside, outside); }
    /// The axes scale together; in a fresh effect they do.
    bool getPropScaling() const { return _propScaling; }
    eDmErrorId setPropScaling(bool on) { return set(PropScaling, on); }
    /// In frames.
    double getLength() const { return _length; }
    eDmErrorId setLength(double frames) { return set(Length, frames); }
    /// Front and back change places.
    bool getSwap() const { return _swap; }
    eDmErrorId setSwap(bool on) { return set(Swap, on); }
    /// Of the two eyes of a stereoscopic picture.
    float getConvergence() const { return _convergence; }
    eDmErrorId setConvergence(float convergence) { return set(Convergence, convergence); }

private:
    DmString _keyerSetupFile;
    double _length = 0;
    float _convergence = 0;
    bool _keyerSetupOutside = false;
    bool _propScaling = true;
    bool _swap = false;
};

/// A picture in space over a background, rendered with the segment's other post-processing effects.
class ZR_DM_API DmPPFxActionSettings final : public DmEffect<DmPPFxActionSettings>
{
public:
    static constexpr const wchar_t* typeName = L"PPFxAction";
    static constexpr DmEffectUse use = dmOnVideo;
    ZR_DM_NAMES(enum class AttributId, attributNames, focusAlignment, renderMode, surfaceBlendMode)
    ZR_DM_NAMES(enum class ChannelId, channelNames, imagePositionX, imagePositionY, imagePositionZ, imageScaleX,
                imageScaleY, imageScaleZ, imageRotationX, imageRotationY, imageRotationZ, imageShearX, imageShearY,
                imageShearZ, transparency, cropLeft, cropRight, cropBottom, cropTop, cropSoftnessLeft,
                cropSoftnessRight, cropSoftnessBottom, cropSoftnessTop, shadowColorRed, shadowColorGreen,
                shadowColorBlue, shadowSoftnessX, shadowSoftnessY, shadowTransparency, shadowPosX, shadowPosY,
                blurWidth, blurHeight, blurMWidth, blurMHeight)

    enum Property : int
    {
        PropScaling = FirstOwn,
        Length,
        Swap,
        BackgroundColourRed,
        BackgroundColourGreen,
        BackgroundColourBlue,
        UseBack,
        ActiveShadow,
        MatteInvert,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// The axes scale together; in a fresh effect they do.
    bool getPropScaling() const { return _propScaling; }
    eDmErrorId setPropScaling(bool on) { return set(PropScaling, on); }
    /// In frames.
    double getLength() const { return _length; }
    eDmErrorId setLength(double frames) { return set(Length, frames); }
    /// Front and back change places.
    bool getSwap() const { return _swap; }
    eDmErrorId setSwap(bool on) { return set(Swap, on); }
    /// Components from 0 to 1, black in a fresh effect.
    float getBackgroundColourRed() const { return _backgroundColourRed; }
    eDmErrorId setBackgroundColourRed(float red) { return set(BackgroundColourRed, red); }
    float getBackgroundColourGreen() const { return _backgroundColourGreen; }
    eDmErrorId setBackgroundColourGreen(float green) { return set(BackgroundColourGreen, green); }
    float getBackgroundColourBlue() const { return _backgroundColourBlue; }
    eDmErrorId setBackgroundColourBlue(float blue) { return set(BackgroundColourBlue, blue); }
    /// The background is the picture below, not the colour; by default it is the colour.
    bool getUseBack() const { return _useBack; }
    eDmErrorId setUseBack(bool on) { return set(UseBack, on); }
    /// By default there is no shadow.
    bool getActiveShadow() const { return _activeShadow; }
    eDmErrorId setActiveShadow(bool on) { return set(ActiveShadow, on); }
    /// By default the matte is taken as it is.
    bool getMatteInvert() const { return _matteInvert; }
    eDmErrorId setMatteInvert(bool on) { return set(MatteInvert, on); }

private:
    double _length = 0;
    float _backgroundColourRed = 0;
    float _backgroundColourGreen = 0;
    float _backgroundColourBlue = 0;
    bool _propScaling = true;
    bool _swap = false;
    bool _useBack = false;
    bool _activeShadow = false;
    bool _matteInvert = false;
};

/// A transformation without an own background: where the picture is, how large, how it is turned, sheared and cropped.
class ZR_DM_API DmDDTransformSettings final : public DmEffect<DmDDTransformSettings>
{
public:
    static constexpr const wchar_t* typeName = L"DDTransform";
    static constexpr DmEffectUse use = dmOnVideoSegments;
    ZR_DM_NAMES(enum class ChannelId, channelNames, positionX, positionY, positionZ, scaleX, scaleY, scaleZ, rotationX,
                rotationY, rotationZ, shearX, shearY, shearZ, centerX, centerY, centerZ, transparency, cropLeft,
                cropRight, cropBottom, cropTop, cropSoftness)

    enum Property : int
    {
        PropScaling = FirstOwn,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// The axes scale together; by default they do.
    bool getPropScaling() const { return _propScaling; }
    eDmErrorId setPropScaling(bool on) { return set(PropScaling, on); }

private:
    bool _propScaling = true;
};
