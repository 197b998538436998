/// Plays a segment's picture at another speed, constant or along the channel "timing". A fresh timewarp plays at normal
/// speed.
#pragma once

#include "dmEffect.h"

/// What both timewarps have.
class ZR_DM_API DmTimewarpSettings : public DmEffectSettings
{
public:
    static constexpr const wchar_t* className = dmClassName<DmTimewarpSettings>;
    static constexpr DmEffectUse use = dmOnVideoSegments;
    ZR_DM_NAMES(enum class AttributId, attributNames, renderType, renderMode, initCurveMode, fieldInterpMode,
                samplingMode)
    ZR_DM_NAMES(enum class ChannelId, channelNames, timing, speed, mix, pre_trail, pre_weight, post_trail, post_weight)

    enum Property : int
    {
        StrobeMode = DmEffectSettings::PropertyCount,
        IsConstantSpeed,
        Speed,
        StrobeRepeat,
        Mix,
        OriginalRelIn,
        PropertyCount
    };

    eDmErrorId createList() override;

    /// Holds each frame for several.
    bool getStrobeMode() const { return _strobeMode; }
    eDmErrorId setStrobeMode(bool on) { return set(StrobeMode, on); }
    /// The speed is that of getSpeed(), not that of the channels.
    bool isConstantSpeed() const { return _isConstantSpeed; }
    eDmErrorId setConstantSpeed(bool constant) { return set(IsConstantSpeed, constant); }
    /// 1 is normal, negative is backwards.
    double getSpeed() const { return _speed; }
    eDmErrorId setSpeed(double speed) { return set(Speed, speed); }
    /// For how many frames strobing holds a frame.
    int getStrobeRepeat() const { return _strobeRepeat; }
    eDmErrorId setStrobeRepeat(int frames) { return set(StrobeRepeat, frames); }
    /// How much neighbouring frames are blended, from 0.
    float getMix() const { return _mix; }
    eDmErrorId setMix(float mix) { return set(Mix, mix); }
    /// The segment's offset into its material before the timewarp, in frames.
    double getOriginalRelIn() const { return _originalRelIn; }
    eDmErrorId setOriginalRelIn(double frames) { return set(OriginalRelIn, frames); }

protected:
    DmTimewarpSettings(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData);

private:
    double _speed = 1;
    double _originalRelIn = 0;
    int _strobeRepeat = 1;
    float _mix = 0;
    bool _strobeMode = false;
    bool _isConstantSpeed = true;
};

class ZR_DM_API DmVTimewarpSettings final : public DmEffect<DmVTimewarpSettings, DmTimewarpSettings>
{
public:
    static constexpr const wchar_t* typeName = L"VTimewarp";

    using DmEffect::DmEffect;
};

/// The timewarp that is rendered with the segment's other post-processing effects.
class ZR_DM_API DmPPFxTWSettings final : public DmEffect<DmPPFxTWSettings, DmTimewarpSettings>
{
public:
    static constexpr const wchar_t* typeName = L"PPFxTW";

    enum Property : int
    {
        TwDuration = FirstOwn,
        ExtraTimingOffset,
        OffsetTimingWithRelIn,
        ForceDuration,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// In frames.
    double getTwDuration() const { return _twDuration; }
    eDmErrorId setTwDuration(double frames) { return set(TwDuration, frames); }
    /// Moves the channel "timing", in frames; by default not at all.
    double getExtraTimingOffset() const { return _extraTimingOffset; }
    eDmErrorId setExtraTimingOffset(double frames) { return set(ExtraTimingOffset, frames); }
    /// The channel "timing" begins at the segment's offset into its material; by default it does not.
    bool getOffsetTimingWithRelIn() const { return _offsetTimingWithRelIn; }
    eDmErrorId setOffsetTimingWithRelIn(bool on) { return set(OffsetTimingWithRelIn, on); }
    /// The duration is getTwDuration(), whatever the segment's is; by default it is not.
    bool getForceDuration() const { return _forceDuration; }
    eDmErrorId setForceDuration(bool on) { return set(ForceDuration, on); }

    /// Posts the settings as one debug message.
    void dump() const;

private:
    double _twDuration = 0;
    double _extraTimingOffset = 0;
    bool _offsetTimingWithRelIn = false;
    bool _forceDuration = false;
};
