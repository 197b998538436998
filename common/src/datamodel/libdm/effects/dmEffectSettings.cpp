#include "dmEffectSettings.h"

#include "dmDeclare.h"
#include "dmSetAccessImp.h"

#include "zrAssert.h"
#include "zrPost.h"

namespace
{

const DmString& focusAlignmentName()
{
    static constinit const DmNameTable name(L"focusAlignment");
    return name[0];
}

CoSharedPtr<DmSimpleChannel> makeAttribut(const DmString& name, const DmString& text)
{
    CoSharedPtr<DmSimpleChannel> attribut = DmSimpleChannel::create(text);
    if (attribut && attribut->setName(name) != DM_NO_ERROR)
        attribut.reset();
    return attribut;
}

CoSharedPtr<DmAnimationChannel> makeChannel(const DmString& name)
{
    CoSharedPtr<DmAnimationChannel> channel =
        DmAnimationChannel::create(DmAnimationChannel::DeprecatedInterpType{1},
                                   DmAnimationChannel::ExtrapolationType{0}, DmKeyFrame::DM_KEY_CUR_VERSION, 0);
    if (channel && channel->setName(name) != DM_NO_ERROR)
        channel.reset();
    return channel;
}

} // namespace

DmEffectSettings::DmEffectSettings(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : DmPropertySet(id, classData)
{
}

eDmErrorId DmEffectSettings::createList()
{
    return declare(*this)
        .mandatory<AttributList>(L"attributList", _attributs, "The static parameters by name.")
        .mandatory<ChannelList>(L"channelList", _channels, "The animated parameters by name.")
        .optional<SetupFileName>(L"setupFileName", rare()->setupFileName, rare(), "The file of the effect's setup.")
        .optionalCdata<Setup>(L"setup", rare()->setup, rare(), "The setup itself.")
        .optional<Comment>(L"comment", rare()->comment, rare(), "Free text.")
        .optional<Muted>(L"muted", _muted, "The effect is bypassed.")
        .mandatory<Output>(L"output", rare()->output, rare(), "The media that the effect produced.")
        .status();
}

eDmErrorId DmEffectSettings::createAttributes()
{
    if (!isTrxCompatible())
        return DM_NO_ERROR;
    const DmString& name = focusAlignmentName();
    return name.empty() ? DM_BAD_VALUE : addAttribut(makeAttribut(name, dmFocusAlignmentText(DM_FOCUS_START)));
}

eDmErrorId DmEffectSettings::mayName(const DmString& name)
{
    return DmSetAccess::checkKey(name);
}

eDmErrorId DmEffectSettings::addAttribut(const CoSharedPtr<DmSimpleChannel>& attribut)
{
    if (!attribut)
        return DM_BAD_VALUE;
    const DmString& name = attribut->getName();
    ZR_ASSERT_PLAIN(!name.empty());
    const DmPropertySetPtr entry(attribut);
    return addValueInPropertyMap(AttributList, DM_MAP_PROPERTY_SET, name, &entry);
}

CoSharedPtr<DmSimpleChannel> DmEffectSettings::getAttributByName(const DmString& name) const
{
    ZR_ASSERT_PLAIN(!name.empty());
    return CoSharedPtr<DmSimpleChannel>(_attributs.at(name));
}

eDmErrorId DmEffectSettings::setAttributByName(const DmString& name, const CoSharedPtr<DmSimpleChannel>& attribut)
{
    ZR_ASSERT_PLAIN(!name.empty());
    return putSilently(AttributList, name, attribut);
}

eDmErrorId DmEffectSettings::removeAttribut(const DmString& name)
{
    return removeValueFromPropertyMap(AttributList, DM_MAP_PROPERTY_SET, name);
}

DmString DmEffectSettings::getAttributText(const DmString& name) const
{
    const CoSharedPtr<DmSimpleChannel> attribut = attributAt(name);
    return attribut ? attribut->getValue() : DmString();
}

eDmErrorId DmEffectSettings::setAttributText(const DmString& name, const DmString& text)
{
    if (const CoSharedPtr<DmSimpleChannel> attribut = attributAt(name))
        return attribut->setValue(text);
    // Not addAttribut: a null entry under the name would be in its way.
    const DmPropertySetPtr entry(makeAttribut(name, text));
    return entry ? setValueFromPropertyMap(AttributList, DM_MAP_PROPERTY_SET, name, &entry) : DM_BAD_VALUE;
}

eDmFocusAlignment DmEffectSettings::getFocusAlignment() const
{
    return dmFocusAlignmentFromText(getAttributText(focusAlignmentName()));
}

eDmErrorId DmEffectSettings::setFocusAlignment(eDmFocusAlignment alignment)
{
    return setAttributText(focusAlignmentName(), dmFocusAlignmentText(alignment));
}

eDmErrorId DmEffectSettings::addChannel(const CoSharedPtr<DmAnimationChannel>& channel)
{
    if (!channel)
        return DM_BAD_VALUE;
    const DmString& name = channel->getName();
    ZR_ASSERT_PLAIN(name != L"");
    const DmPropertySetPtr entry(channel);
    return addValueInPropertyMap(ChannelList, DM_MAP_PROPERTY_SET, name, &entry);
}

CoSharedPtr<DmAnimationChannel> DmEffectSettings::getExistingChannelByName(const DmString& name) const
{
    ZR_ASSERT_PLAIN(!name.empty());
    return CoSharedPtr<DmAnimationChannel>(_channels.at(name));
}

CoSharedPtr<DmAnimationChannel> DmEffectSettings::getChannelByName(const DmString& name) const
{
    auto& self = const_cast<DmEffectSettings&>(*this);
    CoSharedPtr<DmAnimationChannel> channel;
    const auto find = [&] { channel = getExistingChannelByName(name); };
    // Who asks may make one: asking is held against other threads that do. A constant's map stays.
    if (isFrozen() || self.changeSilently(find) != DM_NO_ERROR)
        find();
    if (channel)
        return channel;
    channel = makeChannel(name);
    if (!channel)
        return channel;
    DmPropertySetPtr entry(channel);
    // Asking changes what the effect holds, although nobody sees a difference: its curves are made when they are
    // wanted.
    switch (self.putIfAbsentSilently(ChannelList, name, entry))
    {
    case DM_NO_ERROR:
        return staticPointerCast<DmAnimationChannel>(entry); // another thread's, if that was first
    case DM_CANNOT_LOCK:
        channel->freeze();
        return channel;
    default:
        return {};
    }
}

eDmErrorId DmEffectSettings::setChannelByName(const DmString& name, const CoSharedPtr<DmAnimationChannel>& channel)
{
    ZR_ASSERT_PLAIN(!name.empty());
    return putSilently(ChannelList, name, channel);
}

eDmErrorId DmEffectSettings::removeChannel(const DmString& name)
{
    return removeValueFromPropertyMap(ChannelList, DM_MAP_PROPERTY_SET, name);
}

void DmEffectSettings::getChannelNames(DmStringArray& names) const
{
    if (_channels.empty())
        names.resize(0);
    else // without memory the array stays as it was
        static_cast<void>(getKeysFromPropertyMap(ChannelList, DM_MAP_PROPERTY_SET, names));
}

void DmEffectSettings::dumpChannels() const
{
    for (const auto& [name, entry] : _channels)
        if (const auto* const channel = static_cast<const DmAnimationChannel*>(entry.get()))
            ZR_POST_DEBUG("channel %ls nbKeyFrames %d value %f", name.c_str(), channel->getNbKeyFrames(),
                          static_cast<double>(channel->getValue()));
}

void DmEffectSettings::setOutput(const CoSharedPtr<DmMediaNode>& output)
{
    static_cast<void>(setSilently(Output, output)); // a constant effect keeps what it has
}

CoSharedPtr<DmSimpleChannel> DmEffectSettings::attributAt(const DmString& name) const
{
    return name.empty() ? CoSharedPtr<DmSimpleChannel>() : getAttributByName(name);
}

eDmErrorId DmEffectSettings::setAttributAt(const DmString& name, const CoSharedPtr<DmSimpleChannel>& attribut)
{
    return name.empty() ? DM_BAD_INDEX : setAttributByName(name, attribut);
}

CoSharedPtr<DmAnimationChannel> DmEffectSettings::channelAt(const DmString& name) const
{
    return name.empty() ? CoSharedPtr<DmAnimationChannel>() : getChannelByName(name);
}

CoSharedPtr<DmAnimationChannel> DmEffectSettings::existingChannelAt(const DmString& name) const
{
    return name.empty() ? CoSharedPtr<DmAnimationChannel>() : getExistingChannelByName(name);
}

eDmErrorId DmEffectSettings::setChannelAt(const DmString& name, const CoSharedPtr<DmAnimationChannel>& channel)
{
    return name.empty() ? DM_BAD_INDEX : setChannelByName(name, channel);
}

eDmErrorId DmEffectSettings::addEmptyAttribut(const DmString& name)
{
    return name.empty() ? DM_BAD_VALUE : addAttribut(makeAttribut(name, DmString()));
}
