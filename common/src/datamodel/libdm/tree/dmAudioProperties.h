/// The format of sound: rate, storage, and which samples and channels of it are meant.
#pragma once

#include "dmPropertySetInit.h"

class ZR_DM_API DmAudioProperties final : public DmConcrete<DmAudioProperties>
{
public:
    enum Property : int
    {
        SamplingRate,
        StorageFormat,
        NbSamples,
        StartSample,
        NbChannels,
        ChannelIdx,
        PropertyCount
    };

    explicit DmAudioProperties(const DmNodeId& id);
    eDmErrorId createList() override;

    /// Samples per second.
    double getSamplingRate() const { return _samplingRate; }
    eDmErrorId setSamplingRate(double rate) { return set(SamplingRate, rate); }
    const DmString& getStorageFormat() const { return _storageFormat; }
    eDmErrorId setStorageFormat(const DmString& format) { return set(StorageFormat, format); }
    unsigned getNbSamples() const { return _nbSamples; }
    eDmErrorId setNbSamples(unsigned count) { return set(NbSamples, count); }
    unsigned getStartSample() const { return _startSample; }
    eDmErrorId setStartSample(unsigned sample) { return set(StartSample, sample); }
    int getNbChannels() const { return _nbChannels; }
    eDmErrorId setNbChannels(int count) { return set(NbChannels, count); }
    int getChannelIdx() const { return _channelIdx; }
    eDmErrorId setChannelIdx(int index) { return set(ChannelIdx, index); }

private:
    double _samplingRate = 0.0;
    DmString _storageFormat{L"unknown"};
    unsigned _nbSamples = 0;
    unsigned _startSample = 0;
    int _nbChannels = 0;
    int _channelIdx = 0;
};
