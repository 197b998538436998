/// What every effect class promises alike, tried on each of them.
#include "effectTools.h"

namespace
{

void append(std::string& list, const std::string& text)
{
    list += list.empty() ? text : ", " + text;
}

std::string attributesOf(const DmEffectSettings& effect)
{
    DmStringArray keys;
    EXPECT_EQ(effect.getKeysFromPropertyMap(DmEffectSettings::AttributList, DM_MAP_PROPERTY_SET, keys), DM_NO_ERROR);
    std::string attributes;
    for (const DmString& key : keys)
    {
        EXPECT_EQ(effect.getAttributByName(key)->getName(), key);
        append(attributes, dmUtf8(key) + '=' + dmUtf8(effect.getAttributText(key)));
    }
    return attributes;
}

/// By class name, as an importer does.
CoSharedPtr<DmEffectSettings> createByName(const DmString& className)
{
    DmPropertySet* set = nullptr;
    EXPECT_EQ(DmPropertyFactory::getInstance().createPropertySetInstance(className, DmNodeId(), 0, set), DM_NO_ERROR);
    return DM::dynamicPointerCast<DmEffectSettings>(DmPropertySetPtr(set));
}

std::vector<DmString> effectClasses()
{
    std::vector<DmString> names;
    for (const DmString& name : DmPropertyFactory::getInstance().classNames())
        if (createByName(name))
            names.push_back(name);
    EXPECT_GT(names.size(), 30U);
    return names;
}

/// Gives every property, attribute and channel of an effect a value that it did not have.
void fill(DmEffectSettings& effect)
{
    for (int i = DmEffectSettings::SetupFileName; i < effect.classData().size(); ++i)
    {
        const DmPropertyDef& def = *effect.classData().at(i);
        if (def._type == DM_PROPERTY_SET || def._type == DM_VECTOR_PROPERTY_SET)
            continue;
        const wchar_t* const text = def._type != DM_BOOL ? L"42" : valueText(effect, i) == "true" ? L"false" : L"true";
        EXPECT_EQ(effect.setPropertyValueFromStr(def._name, def._type, text), DM_NO_ERROR) << def._utf8Name;
    }
    for (int id = 0; id < effect.getAttributTable().size(); ++id)
        EXPECT_EQ(effect.setAttributByName(effect.getAttributTable()[id], DmSimpleChannel::create(L"text")),
                  DM_NO_ERROR);
    for (int id = 0; id < effect.getChannelTable().size(); ++id)
        EXPECT_EQ(effect.getChannelByName(effect.getChannelTable()[id])->addKeyFrame(key(5)), DM_NO_ERROR);
}

} // namespace

TEST(EffectClasses, HaveTheirDefaultAttributesOnceHoweverTheyAreMade)
{
    EXPECT_EQ(attributesOf(*DmVDissolveSettings::create()),
              "blend_type=, curve_type=, focusAlignment=, renderMode=, type=");
    for (const DmString& name : effectClasses())
        for (const bool flag : {true, false})
        {
            SCOPED_TRACE(dmUtf8(name));
            EXPECT_EQ(DmPropertyFactory::getInstance().setCreateDefaultAttributes(flag), !flag);
            const std::string defaults = attributesOf(*dmCreateEffect(name.c_str()));
            EXPECT_EQ(attributesOf(*createByName(name)), flag ? defaults : "");
        }
}

TEST(EffectClasses, ClonesAreEqualAndShareNothing)
{
    for (const DmString& name : effectClasses())
    {
        SCOPED_TRACE(dmUtf8(name));
        const auto effect = dmCreateEffect(name.c_str());
        const DmPropertySetPtr untouched = effect->clone();
        EXPECT_EQ(difference(*effect, *untouched), "");
        fill(*effect);
        EXPECT_NE(difference(*effect, *untouched), "");
        const DmPropertySetPtr clone = effect->clone();
        EXPECT_EQ(difference(*effect, *clone), "");
        EXPECT_TRUE(heldByBoth(*effect, *clone).empty());
    }
}

TEST(EffectClasses, ReachAttributesAndChannelsById)
{
    const auto effect = DmPPFxResizeSettings::create();
    using Attribut = DmPPFxResizeSettings::AttributId;
    using Channel = DmPPFxResizeSettings::ChannelId;
    const auto attribut = DmSimpleChannel::create(L"text");
    EXPECT_EQ(effect->setAttribut(Attribut::blur, attribut), DM_NO_ERROR);
    EXPECT_EQ(effect->getAttribut(Attribut::blur), attribut);
    EXPECT_EQ(effect->getAttributByName(DmPPFxResizeSettings::getAttributName(Attribut::blur)), attribut);
    EXPECT_FALSE(effect->getExistingChannel(Channel::width));
    const auto channel = effect->getChannel(Channel::width);
    ASSERT_TRUE(channel);
    EXPECT_EQ(effect->getExistingChannelByName(DmPPFxResizeSettings::getChannelName(Channel::width)), channel);
    const auto other = DmAnimationChannel::create();
    EXPECT_EQ(effect->setChannel(Channel::width, other), DM_NO_ERROR);
    EXPECT_EQ(effect->getExistingChannel(Channel::width), other);
    EXPECT_EQ(effect->removeAttribut(Attribut::blur), DM_NO_ERROR);
    EXPECT_FALSE(effect->getAttribut(Attribut::blur));
    EXPECT_EQ(effect->removeChannel(Channel::width), DM_NO_ERROR);
    EXPECT_FALSE(effect->getExistingChannel(Channel::width));
    for (const int outside : {-1, 13, 100000})
    {
        EXPECT_FALSE(effect->getAttribut(Attribut(outside)));
        EXPECT_EQ(effect->setAttribut(Attribut(outside), attribut), DM_BAD_INDEX);
        EXPECT_EQ(effect->removeAttribut(Attribut(outside)), DM_BAD_INDEX);
        EXPECT_FALSE(effect->getChannel(Channel(outside)));
        EXPECT_FALSE(effect->getExistingChannel(Channel(outside)));
        EXPECT_EQ(effect->setChannel(Channel(outside), other), DM_BAD_INDEX);
        EXPECT_EQ(effect->removeChannel(Channel(outside)), DM_BAD_INDEX);
    }
    const auto stereo = DmPPFxStereoToolboxSettings::create();
    using Id = DmPPFxStereoToolboxSettings::ChannelId;
    EXPECT_EQ(stereo->getChannel(Id::FloatingWindow_PRS), stereo->getChannel(Id::FloatingWindow_PRS2));
}
