#include "dmAnimationChannel.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmAnimationChannel> registration;

DmAnimationChannel::DmAnimationChannel(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmAnimationChannel>::data())
{
}

DmAnimationChannel& DmAnimationChannel::operator=(const DmAnimationChannel& other)
{
    if (this == &other || isFrozen())
        return *this;
    _name = other._name;
    _curve = other._curve;
    return *this;
}

eDmErrorId DmAnimationChannel::createList()
{
    return declare(*this, DmChannel::createList())
        .mandatory(L"interpolation", _curve.interpolation)
        .mandatory(L"extrapolation", _curve.extrapolation)
        .mandatory(L"version", _curve.version)
        .mandatory(L"value", _curve.value)
        .mandatory(L"keyFrameList", _curve.keyFrames)
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

float DmAnimationChannel::storedValueAt(float frame) const
{
    for (int i = 0; i < _curve.keyFrames.count(); ++i)
        if (const DmKeyFrame* const key = _curve.keyFrames.at(i); key && key->getFrame() == frame)
            return key->getValue();
    return _curve.value;
}
