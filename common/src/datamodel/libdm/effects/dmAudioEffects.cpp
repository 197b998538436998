#include "dmAudioEffects.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmAudioGateSettings>;
template class DmEffect<DmAudioCompressionSettings>;
template class DmEffect<DmAudioEQSettings>;
template class DmEffect<DmAudioDeEsserSettings>;
template class DmEffect<DmAudioGainSettings>;
template class DmEffect<DmAudioReverbSendSettings>;
template class DmEffect<DmAudioDelaySendSettings>;
template class DmEffect<DmAudioModSendSettings>;
