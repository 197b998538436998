#include "dmAudioProperties.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmAudioProperties> registration;

DmAudioProperties::DmAudioProperties(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmAudioProperties>::data())
{
}

eDmErrorId DmAudioProperties::createList()
{
    return declare(*this)
        .mandatory(L"samplingRate", _samplingRate)
        .optional(L"storageFormat", _storageFormat)
        .mandatory(L"nbSamples", _nbSamples)
        .mandatory(L"startSample", _startSample)
        .mandatory(L"nbChannels", _nbChannels)
        .mandatory(L"channelIdx", _channelIdx)
        .status();
}
