/// Effects: what a channel and a key frame cost beside the container and the object underneath.
#include "dmAudioEffects.h"
#include "dmTransformEffects.h"
#include "zrAllocations.h"
#include "zrRatio.h"

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <map>

namespace
{

using ChannelId = DmAxisSettings::ChannelId;
constexpr int channelCount = 64;
constexpr int keysPerChannel = 8;

CoSharedPtr<DmKeyFrame> makeKey(int frame)
{
    return DmKeyFrame::create2(static_cast<float>(frame), 0.5F, {}, DmKeyFrame::InterpOrder{1}, 4, 0, -4, 0, 0x6);
}

DmPropertySetPtr makeBare(const DmString& className)
{
    DmPropertySet* set = nullptr;
    static_cast<void>(DmPropertyFactory::getInstance().createPropertySetInstance(className, DmNodeId(), 0, set));
    return DmPropertySetPtr(set);
}

/// An effect with every one of its channels.
CoSharedPtr<DmAxisSettings> makeAnimated(int keys)
{
    CoSharedPtr<DmAxisSettings> effect = DmAxisSettings::create();
    for (int id = 0; id < channelCount; ++id)
    {
        const CoSharedPtr<DmAnimationChannel> channel = effect->getChannel(ChannelId{id});
        for (int i = 0; i < keys; ++i)
            static_cast<void>(channel->addKeyFrame(makeKey(i)));
    }
    return effect;
}

void benchLookUp()
{
    const CoSharedPtr<DmAxisSettings> effect = makeAnimated(0);
    std::map<DmString, DmPropertySetPtr> map;
    for (int id = 0; id < channelCount; ++id)
        map.emplace(DmAxisSettings::getChannelName(ChannelId{id}), effect->getChannel(ChannelId{id}));
    zrRatio::print(
        "getChannel of an existing channel, to a look-up in a map", 2,
        [&]
        {
            for (int id = 0; id < channelCount * 16; ++id)
                benchmark::DoNotOptimize(effect->getChannel(ChannelId{id % channelCount}).get());
        },
        [&]
        {
            for (int id = 0; id < channelCount * 16; ++id)
                benchmark::DoNotOptimize(map.find(DmAxisSettings::getChannelName(ChannelId{id % channelCount})));
        });
}

void benchKeyFrames()
{
    constexpr int count = 1000;
    const DmString className(DmKeyFrame::className);
    std::vector<DmPropertySetPtr> kept(count);
    zrRatio::print(
        "create2, to the bare creation of a key frame", 2,
        [&]
        {
            for (int i = 0; i < count; ++i)
                kept[static_cast<std::size_t>(i)] = makeKey(i);
        },
        [&]
        {
            for (int i = 0; i < count; ++i)
                kept[static_cast<std::size_t>(i)] = makeBare(className);
        });

    const CoSharedPtr<DmAnimationChannel> channel = DmAnimationChannel::create();
    for (int i = 0; i < count; ++i)
        static_cast<void>(channel->addKeyFrame(makeKey(i)));
    zrAllocations::print("read 1000 key frames", 0,
                         [&]
                         {
                             float sum = 0;
                             for (int i = 0; i < channel->getNbKeyFrames(); ++i)
                                 sum += channel->getKeyFrame(i)->getFrame() * channel->getKeyFrame(i)->getValue();
                             benchmark::DoNotOptimize(sum);
                         });

    kept.assign(count, {});
    const std::size_t before = mallinfo2().uordblks;
    for (auto& key : kept)
        key = makeKey(1);
    std::printf("a key frame, allocator overhead included: bytes %zu (limit 320)\n",
                (mallinfo2().uordblks - before) / count);
}

void benchEffects()
{
    static_cast<void>(DmAudioGainSettings::create()); // the first of a class declares it
    zrAllocations::print("create an effect that nobody has touched (the object itself)", 1,
                         [] { benchmark::DoNotOptimize(DmAudioGainSettings::create()); });

    const CoSharedPtr<DmAxisSettings> effect = makeAnimated(keysPerChannel);
    const DmString effectName(DmAxisSettings::className);
    const DmString channelName(DmAnimationChannel::className);
    const DmString keyName(DmKeyFrame::className);
    constexpr int objects = 1 + channelCount * (1 + keysPerChannel);
    std::vector<DmPropertySetPtr> kept(objects);
    DmPropertySetPtr clone;
    zrRatio::print(
        "clone of 64 channels of 8 key frames, to creating the objects bare", 3, [&] { clone = effect->clone(); },
        [&]
        {
            std::size_t next = 0;
            kept[next++] = makeBare(effectName);
            for (int id = 0; id < channelCount; ++id)
            {
                kept[next++] = makeBare(channelName);
                for (int i = 0; i < keysPerChannel; ++i)
                    kept[next++] = makeBare(keyName);
            }
        });
}

} // namespace

int main()
{
    benchLookUp();
    benchKeyFrames();
    benchEffects();
}
