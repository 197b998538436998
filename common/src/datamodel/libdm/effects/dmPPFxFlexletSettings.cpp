#include "dmPPFxFlexletSettings.h"

#include "dmEffectDefinition.h"
#include "zrAssert.h"
#include "zrPost.h"

template class DmEffect<DmPPFxFlexletSettings, DmPPFxSettings>;

eDmErrorId DmPPFxFlexletSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<PresetName>(L"presetName", _presetName, "The name of the preset.")
        .status();
}

eDmErrorId DmPPFxFlexletSettings::addChannel(const DmString& name, const CoSharedPtr<DmAnimationChannel>& channel)
{
    if (!channel)
        return DM_BAD_VALUE;
    if (getExistingChannelByName(name))
    {
        ZR_POST_ERROR("FlexletSettings overwriting channel %ls", name.c_str());
        ZR_ASSERT_SOFT(!"FlexletSettings overwriting channel %ls");
    }
    const DmPropertySetPtr entry(channel);
    return setValueFromPropertyMap(ChannelList, DM_MAP_PROPERTY_SET, name, &entry);
}
