/// The plug-ins of an audio track, all on segments. Every parameter, a band's type and mute included, is an animated
/// channel.
#pragma once

#include "dmEffect.h"

/// Noise gate: closes below a level.
ZR_DM_CHANNEL_EFFECT(DmAudioGateSettings, L"AudioGate", dmOnAudioSegments, threshold, floor, ratio, attack, hold,
                     release, output_gain)

ZR_DM_CHANNEL_EFFECT(DmAudioCompressionSettings, L"AudioCompression", dmOnAudioSegments, threshold, knee, type, ratio,
                     attack, release, auto_release, output_gain)

/// Three-band equaliser.
ZR_DM_CHANNEL_EFFECT(DmAudioEQSettings, L"AudioEQ", dmOnAudioSegments, high_type, high_freq, high_gain, high_Q,
                     high_mute, mid_type, mid_freq, mid_gain, mid_Q, mid_mute, low_type, low_freq, low_gain, low_Q,
                     low_mute)

ZR_DM_CHANNEL_EFFECT(DmAudioDeEsserSettings, L"AudioDeEsser", dmOnAudioSegments, type, freq, range, threshold, monitor)

ZR_DM_CHANNEL_EFFECT(DmAudioGainSettings, L"AudioGain", dmOnAudioSegments, gain)

/// How much of the segment goes to the track's reverb.
ZR_DM_CHANNEL_EFFECT(DmAudioReverbSendSettings, L"AudioReverbSend", dmOnAudioSegments, reverb_amount)

/// How much of the segment goes to the track's delay.
ZR_DM_CHANNEL_EFFECT(DmAudioDelaySendSettings, L"AudioDelaySend", dmOnAudioSegments, delay_amount)

/// How much of the segment goes to the track's modulation.
ZR_DM_CHANNEL_EFFECT(DmAudioModSendSettings, L"AudioModSend", dmOnAudioSegments, mod_amount)
