#include "dmAudioProperties.h"

#include "dmDeclare.h"

DmAudioProperties::DmAudioProperties(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmAudioProperties>::data())
{
}

eDmErrorId DmAudioProperties::createList()
{
    return declare(*this)
        .mandatory<SamplingRate>(L"samplingRate", _samplingRate, "The sampling rate.", dmHertz)
        .optional<StorageFormat>(L"storageFormat", _storageFormat, "How samples are stored.")
        .mandatory<NbSamples>(L"nbSamples", _nbSamples, "The number of samples.", dmSamples)
        .mandatory<StartSample>(L"startSample", _startSample, "The first sample that is meant.", dmSamples)
        .mandatory<NbChannels>(L"nbChannels", _nbChannels, "The number of channels.", dmNotNegative)
        .mandatory<ChannelIdx>(L"channelIdx", _channelIdx, "The channel that is meant.", dmNotNegative)
        .status();
}
