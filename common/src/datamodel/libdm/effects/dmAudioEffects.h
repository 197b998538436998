/// The plug-ins of an audio track, all on segments. Every parameter, a band's type and mute included, is an animated
/// channel.
#pragma once

#include "dmEffect.h"

/// Noise gate: closes below a level.
class ZR_DM_API DmAudioGateSettings final : public DmEffect<DmAudioGateSettings>
{
public:
    static constexpr const wchar_t* className = L"DmAudioGateSettings";
    static constexpr const wchar_t* typeName = L"AudioGate";
    static constexpr DmEffectUse use = dmOnAudioSegments;
    ZR_DM_NAMES(enum class ChannelId, channelNames, threshold, floor, ratio, attack, hold, release, output_gain)

    using DmEffect::DmEffect;
};

class ZR_DM_API DmAudioCompressionSettings final : public DmEffect<DmAudioCompressionSettings>
{
public:
    static constexpr const wchar_t* className = L"DmAudioCompressionSettings";
    static constexpr const wchar_t* typeName = L"AudioCompression";
    static constexpr DmEffectUse use = dmOnAudioSegments;
    ZR_DM_NAMES(enum class ChannelId, channelNames, threshold, knee, type, ratio, attack, release, auto_release,
                output_gain)

    using DmEffect::DmEffect;
};

/// Three-band equaliser.
class ZR_DM_API DmAudioEQSettings final : public DmEffect<DmAudioEQSettings>
{
public:
    static constexpr const wchar_t* className = L"DmAudioEQSettings";
    static constexpr const wchar_t* typeName = L"AudioEQ";
    static constexpr DmEffectUse use = dmOnAudioSegments;
    ZR_DM_NAMES(enum class ChannelId, channelNames, high_type, high_freq, high_gain, high_Q, high_mute, mid_type,
                mid_freq, mid_gain, mid_Q, mid_mute, low_type, low_freq, low_gain, low_Q, low_mute)

    using DmEffect::DmEffect;
};

class ZR_DM_API DmAudioDeEsserSettings final : public DmEffect<DmAudioDeEsserSettings>
{
public:
    static constexpr const wchar_t* className = L"DmAudioDeEsserSettings";
    static constexpr const wchar_t* typeName = L"AudioDeEsser";
    static constexpr DmEffectUse use = dmOnAudioSegments;
    ZR_DM_NAMES(enum class ChannelId, channelNames, type, freq, range, threshold, monitor)

    using DmEffect::DmEffect;
};

class ZR_DM_API DmAudioGainSettings final : public DmEffect<DmAudioGainSettings>
{
public:
    static constexpr const wchar_t* className = L"DmAudioGainSettings";
    static constexpr const wchar_t* typeName = L"AudioGain";
    static constexpr DmEffectUse use = dmOnAudioSegments;
    ZR_DM_NAMES(enum class ChannelId, channelNames, gain)

    using DmEffect::DmEffect;
};

/// How much of the segment goes to the track's reverb.
class ZR_DM_API DmAudioReverbSendSettings final : public DmEffect<DmAudioReverbSendSettings>
{
public:
    static constexpr const wchar_t* className = L"DmAudioReverbSendSettings";
    static constexpr const wchar_t* typeName = L"AudioReverbSend";
    static constexpr DmEffectUse use = dmOnAudioSegments;
    ZR_DM_NAMES(enum class ChannelId, channelNames, reverb_amount)

    using DmEffect::DmEffect;
};

/// How much of the segment goes to the track's delay.
class ZR_DM_API DmAudioDelaySendSettings final : public DmEffect<DmAudioDelaySendSettings>
{
public:
    static constexpr const wchar_t* className = L"DmAudioDelaySendSettings";
    static constexpr const wchar_t* typeName = L"AudioDelaySend";
    static constexpr DmEffectUse use = dmOnAudioSegments;
    ZR_DM_NAMES(enum class ChannelId, channelNames, delay_amount)

    using DmEffect::DmEffect;
};

/// How much of the segment goes to the track's modulation.
class ZR_DM_API DmAudioModSendSettings final : public DmEffect<DmAudioModSendSettings>
{
public:
    static constexpr const wchar_t* className = L"DmAudioModSendSettings";
    static constexpr const wchar_t* typeName = L"AudioModSend";
    static constexpr DmEffectUse use = dmOnAudioSegments;
    ZR_DM_NAMES(enum class ChannelId, channelNames, mod_amount)

    using DmEffect::DmEffect;
};
