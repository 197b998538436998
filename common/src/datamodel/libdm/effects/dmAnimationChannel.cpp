#include "dmAnimationChannel.h"

#include "dmDeclare.h"

DmAnimationChannel::DmAnimationChannel(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmAnimationChannel>::data())
{
}

DmAnimationChannel& DmAnimationChannel::operator=(const DmAnimationChannel& other)
{
    if (this == &other)
        return *this;
    // Copied before the mutex and released after it; without memory for the copy the channel keeps what it has.
    const CoSharedPtr<DmAnimationChannel> copy = staticPointerCast<DmAnimationChannel>(other.clone());
    if (copy)
        static_cast<void>(changeSilently(
            [&]
            {
                _name.swap(copy->_name);
                std::swap(_curve, copy->_curve);
            }));
    return *this;
}

eDmErrorId DmAnimationChannel::createList()
{
    return declare(*this, DmChannel::createList())
        .mandatory<Interpolation>(L"interpolation", _curve.interpolation,
                                  "The interpolation of the whole curve, kept for old data: a code of the renderer.")
        .mandatory<Extrapolation>(
            L"extrapolation", _curve.extrapolation,
            "How the curve goes on before its first and behind its last key: a code of the renderer.")
        .mandatory<Version>(L"version", _curve.version, "The format of the keys, 1 or 2.", DmRange{1, 2})
        .mandatory<Value>(L"value", _curve.value, "The value where there is no key.")
        .mandatory<KeyFrameList>(L"keyFrameList", _curve.keyFrames, "The keys, in the order in which they were added.")
        .status();
}

CoSharedPtr<DmAnimationChannel> DmAnimationChannel::create(DeprecatedInterpType interpolation,
                                                           ExtrapolationType extrapolation, float version, float value)
{
    CoSharedPtr<DmAnimationChannel> channel = dmCreate<DmAnimationChannel>();
    if (channel && (channel->setInterpolation(interpolation) != DM_NO_ERROR ||
                    channel->setExtrapolation(extrapolation) != DM_NO_ERROR ||
                    channel->setVersion(version) != DM_NO_ERROR || channel->setValue(value) != DM_NO_ERROR))
        channel.reset();
    return channel;
}

void DmAnimationChannel::setNeedsKeyOnEmptyChannels(bool needs)
{
    static_cast<void>(changeSilently([&] { _curve.needsKeyOnEmptyChannels = needs; }));
}

void DmAnimationChannel::setDefaultKeyFrameFrame(float frame)
{
    static_cast<void>(changeSilently([&] { _curve.defaultKeyFrameFrame = frame; }));
}

float DmAnimationChannel::storedValueAt(float frame) const
{
    for (int i = 0; i < _curve.keyFrames.count(); ++i)
        if (const DmKeyFrame* const key = _curve.keyFrames.at(i); key && key->getFrame() == frame)
            return key->getValue();
    return _curve.value;
}
