/// Fits a picture of one size into another.
#pragma once

#include "dmEffect.h"

/// What both resizes have: how the picture is converted, as attributes.
class ZR_DM_API DmConvertSettings : public DmEffectSettings
{
public:
    static constexpr const wchar_t* className = dmClassName<DmConvertSettings>;
    static constexpr DmEffectUse use = dmOnVideoSegments;
    ZR_DM_NAMES(enum class AttributId, attributNames, convert_type, convert_filter, alpha, blur, adaptive_state,
                adaptive_tolerance, fieldUsed, widescreenMode, aspect_ratio, destination_width, destination_height,
                destination_aspect, destination_depth)

    ZR_DM_NAMES(enum ConvertType, convertTypeNames, RESIZE_CROP, RESIZE_FIT, RESIZE_FIT_ALL, RESIZE_FIT_BOTH,
                RESIZE_FIT_PAN, RESIZE_FIT_PIXEL_BASED, RESIZE_FIT_ALL_PIXEL_BASED, RESIZE_INVALID_TYPE)
    ZR_DM_NAMES(enum ConvertFilter, convertFilterNames, RESIZE_ALL_PIXEL_BASED, RESIZE_BICUBIC, RESIZE_MITCHELL,
                RESIZE_TRIANGLE, RESIZE_IMPULSE, RESIZE_INVALID_FILTER)

    /// The attribute "convert_type": RESIZE_INVALID_TYPE when there is none, or when it holds another text.
    ConvertType getConvertType() const;
    /// Stores any text.
    eDmErrorId setConvertType(const DmString& text);
    /// The attribute "convert_filter": RESIZE_INVALID_FILTER when there is none, or when it holds another text.
    ConvertFilter getConvertFilter() const;
    /// Stores any text.
    eDmErrorId setConvertFilter(const DmString& text);

protected:
    DmConvertSettings(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData);
};

/// The resize that is rendered with the segment's other post-processing effects. A fresh one keeps proportions, on
/// black.
class ZR_DM_API DmPPFxResizeSettings final : public DmEffect<DmPPFxResizeSettings, DmConvertSettings>
{
public:
    static constexpr const wchar_t* typeName = L"PPFxResize";
    ZR_DM_NAMES(enum class ChannelId, channelNames, pos_x, pos_y, scale_x, scale_y, width, height, center_x, center_y)

    enum Property : int
    {
        BackgroundColourRed = FirstOwn,
        BackgroundColourGreen,
        BackgroundColourBlue,
        PropScaling,
        PreserveAspect,
        PropertyCount
    };

    static constexpr float defaultBackgroundColourRed = 0;
    static constexpr float defaultBackgroundColourGreen = 0;
    static constexpr float defaultBackgroundColourBlue = 0;
    static constexpr bool defaultPropScaling = true;
    static constexpr bool defaultPreserveAspect = true;

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// What shows around the picture: components from 0 to 1.
    float getBackgroundColourRed() const { return _backgroundColourRed; }
    eDmErrorId setBackgroundColourRed(float red) { return set(BackgroundColourRed, red); }
    float getBackgroundColourGreen() const { return _backgroundColourGreen; }
    eDmErrorId setBackgroundColourGreen(float green) { return set(BackgroundColourGreen, green); }
    float getBackgroundColourBlue() const { return _backgroundColourBlue; }
    eDmErrorId setBackgroundColourBlue(float blue) { return set(BackgroundColourBlue, blue); }
    /// Width and height scale together.
    bool getPropScaling() const { return _propScaling; }
    eDmErrorId setPropScaling(bool on) { return set(PropScaling, on); }
    /// The picture keeps the aspect ratio that it is shown with.
    bool getPreserveAspect() const { return _preserveAspect; }
    eDmErrorId setPreserveAspect(bool on) { return set(PreserveAspect, on); }

private:
    float _backgroundColourRed = defaultBackgroundColourRed;
    float _backgroundColourGreen = defaultBackgroundColourGreen;
    float _backgroundColourBlue = defaultBackgroundColourBlue;
    bool _propScaling = defaultPropScaling;
    bool _preserveAspect = defaultPreserveAspect;
};

class ZR_DM_API DmResizeSettings final : public DmEffect<DmResizeSettings, DmConvertSettings>
{
public:
    static constexpr const wchar_t* typeName = L"Resize";
    ZR_DM_NAMES(enum class ChannelId, channelNames, width, height, left, right, bottom, top, center_x, center_y,
                scale_x, scale_y)

    enum Property : int
    {
        Length = FirstOwn,
        PreserveAspect,
        BorderColorRed,
        BorderColorGreen,
        BorderColorBlue,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// In frames.
    double getLength() const { return _length; }
    eDmErrorId setLength(double frames) { return set(Length, frames); }
    /// The picture keeps the aspect ratio that it is shown with; a fresh resize does.
    bool getPreserveAspect() const { return _preserveAspect; }
    eDmErrorId setPreserveAspect(bool on) { return set(PreserveAspect, on); }
    /// What shows around the picture: components from 0 to 1, black in a fresh resize.
    float getBorderColorRed() const { return _borderColorRed; }
    eDmErrorId setBorderColorRed(float red) { return set(BorderColorRed, red); }
    float getBorderColorGreen() const { return _borderColorGreen; }
    eDmErrorId setBorderColorGreen(float green) { return set(BorderColorGreen, green); }
    float getBorderColorBlue() const { return _borderColorBlue; }
    eDmErrorId setBorderColorBlue(float blue) { return set(BorderColorBlue, blue); }

private:
    double _length = 0;
    float _borderColorRed = 0;
    float _borderColorGreen = 0;
    float _borderColorBlue = 0;
    bool _preserveAspect = true;
};
