#include "dmEffectLayer.h"
#include "effectTools.h"

namespace
{

/// The simplest effect there is.
CoSharedPtr<DmEffectSettings> someEffect()
{
    return DmEffectLayer::create();
}

CoSharedPtr<DmSimpleChannel> attribut(const DmString& name, const DmString& value)
{
    auto made = DmSimpleChannel::create(value);
    EXPECT_EQ(made->setName(name), DM_NO_ERROR);
    return made;
}

CoSharedPtr<DmAnimationChannel> channel(const DmString& name)
{
    auto made = DmAnimationChannel::create();
    EXPECT_EQ(made->setName(name), DM_NO_ERROR);
    return made;
}

std::vector<std::wstring> channelNames(const DmEffectSettings& effect)
{
    DmStringArray names;
    names.resize(3);
    effect.getChannelNames(names);
    std::vector<std::wstring> result;
    for (const DmString& name : names)
        result.emplace_back(name.view());
    return result;
}

using Names = std::vector<std::wstring>;

} // namespace

TEST(FocusAlignment, TextsAreExactAndEverythingElseIsUndefined)
{
    const struct
    {
        const wchar_t* text;
        int code;
        int codeOfText;
    } cases[] = {{L"FOCUS_START", 0, 0},     {L"FOCUS_CENTER", 1, 1}, {L"FOCUS_END", 2, 2}, {L"FOCUS_CUSTOM", 3, 3},
                 {L"FOCUS_UNDEFINED", 4, 4}, {L"focus_start", 7, 4},  {L"", -1, 4},         {L"FOCUS_STARTS", 5, 4}};
    for (const auto& c : cases)
    {
        const bool known = c.code >= 0 && c.code < 4;
        EXPECT_EQ(dmFocusAlignmentText(static_cast<eDmFocusAlignment>(c.code)), known ? c.text : L"FOCUS_UNDEFINED")
            << c.code;
        EXPECT_EQ(dmFocusAlignmentFromText(c.text), c.codeOfText) << c.code;
    }
}

TEST(EffectChannels, AreMadeWhenTheyAreAskedForInTheCurrentFormat)
{
    const auto effect = someEffect();
    EXPECT_EQ(channelNames(*effect), Names());
    EXPECT_FALSE(effect->getExistingChannelByName(L"gain"));
    ChangeLog log(*effect);
    const auto made = effect->getChannelByName(L"gain");
    ASSERT_TRUE(made);
    EXPECT_EQ(made->getName(), L"gain");
    EXPECT_EQ(made->getVersion(), 2.0F);
    EXPECT_EQ(made->getInterpolation(), 1);
    EXPECT_EQ(made->getExtrapolation(), 0);
    EXPECT_EQ(made->getValue(), 0);
    EXPECT_EQ(effect->getChannelByName(L"gain"), made);
    EXPECT_EQ(effect->getExistingChannelByName(L"gain"), made);
    ASSERT_TRUE(effect->getChannelByName(L"alpha"));
    EXPECT_EQ(channelNames(*effect), (Names{L"alpha", L"gain"}));
    EXPECT_TRUE(log.changes.empty());
}

TEST(EffectChannels, AddingTellsListenersAndRefusesASecondOfTheName)
{
    const auto effect = someEffect();
    ChangeLog log(*effect);
    EXPECT_EQ(effect->addChannel(channel(L"gain")), DM_NO_ERROR);
    EXPECT_EQ(effect->addChannel(channel(L"gain")), DM_PROPERTY_ALREADY_EXIST);
    EXPECT_EQ(effect->addChannel(nullptr), DM_BAD_VALUE);
    EXPECT_EQ(effect->addAttribut(attribut(L"mode", L"a")), DM_NO_ERROR);
    EXPECT_EQ(effect->addAttribut(attribut(L"mode", L"b")), DM_PROPERTY_ALREADY_EXIST);
    EXPECT_EQ(effect->addAttribut(nullptr), DM_BAD_VALUE);
    EXPECT_EQ(log.changes, (Names{L"channelList", L"attributList"}));
    EXPECT_EQ(effect->getAttributByName(L"mode")->getValue(), L"a");
}

TEST(EffectChannels, SettingReplacesUnderTheGivenKeyAndTellsNobody)
{
    const auto effect = someEffect();
    const auto first = channel(L"own name");
    const auto second = channel(L"");
    const auto text = attribut(L"own name", L"text");
    ChangeLog log(*effect);
    EXPECT_EQ(effect->setChannelByName(L"gain", first), DM_NO_ERROR);
    EXPECT_EQ(effect->setChannelByName(L"gain", second), DM_NO_ERROR);
    EXPECT_EQ(effect->setAttributByName(L"mode", text), DM_NO_ERROR);
    EXPECT_EQ(effect->getChannelByName(L"gain"), second);
    EXPECT_EQ(first->refCount(), 1);
    EXPECT_EQ(effect->getAttributByName(L"mode"), text);
    EXPECT_EQ(text->getName(), L"own name");
    EXPECT_EQ(channelNames(*effect), Names{L"gain"});
    EXPECT_TRUE(log.changes.empty());
    // Keys are text without zeros, whichever way they come.
    const DmString withZero(L"a\0b", 3);
    EXPECT_EQ(effect->setChannelByName(withZero, first), DM_BAD_VALUE);
    EXPECT_FALSE(effect->getChannelByName(withZero));
}

TEST(EffectChannels, ANullEntryCountsAsMissing)
{
    const auto effect = someEffect();
    const DmPropertySetPtr null;
    for (const int map : {DmEffectSettings::AttributList, DmEffectSettings::ChannelList})
        EXPECT_EQ(effect->addValueInPropertyMap(map, DM_MAP_PROPERTY_SET, L"focusAlignment", &null), DM_NO_ERROR);
    EXPECT_FALSE(effect->getAttributByName(L"focusAlignment"));
    EXPECT_FALSE(effect->getExistingChannelByName(L"focusAlignment"));
    EXPECT_EQ(effect->getFocusAlignment(), DM_FOCUS_UNDEFINED);
    effect->dumpChannels();
    EXPECT_TRUE(effect->clone());

    const auto made = effect->getChannelByName(L"focusAlignment");
    ASSERT_TRUE(made);
    EXPECT_EQ(effect->getExistingChannelByName(L"focusAlignment"), made);
    EXPECT_EQ(effect->setFocusAlignment(DM_FOCUS_END), DM_NO_ERROR);
    EXPECT_EQ(effect->getFocusAlignment(), DM_FOCUS_END);
}

TEST(EffectChannels, MapsRefuseOtherClasses)
{
    const auto effect = someEffect();
    const DmPropertySetPtr simple = stored(DmSimpleChannel::create(L"1"));
    const DmPropertySetPtr animated = stored(DmAnimationChannel::create());
    const DmPropertySetPtr media = stored(DmMediaNode::create());
    using E = DmEffectSettings;
    EXPECT_EQ(effect->addValueInPropertyMap(E::AttributList, DM_MAP_PROPERTY_SET, L"a", &animated),
              DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(effect->setValueFromPropertyMap(E::ChannelList, DM_MAP_PROPERTY_SET, L"a", &simple),
              DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(effect->setPropertyValue(E::Output, DM_PROPERTY_SET, &simple), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(effect->setPropertyValue(E::Output, DM_PROPERTY_SET, &media), DM_NO_ERROR);
}

TEST(EffectChannelsDeathTest, EmptyNamesStopTheProcess)
{
    const auto effect = someEffect();
    const DmString empty;
    const auto simple = DmSimpleChannel::create(L"1");
    const auto animated = DmAnimationChannel::create();
    const char* const text = "!name.empty\\(\\)";
    EXPECT_DEATH(static_cast<void>(effect->addAttribut(simple)), text);
    EXPECT_DEATH(static_cast<void>(effect->getAttributByName(empty)), text);
    EXPECT_DEATH(static_cast<void>(effect->setAttributByName(empty, simple)), text);
    EXPECT_DEATH(static_cast<void>(effect->addChannel(animated)), "name != L\"\"");
    EXPECT_DEATH(static_cast<void>(effect->getChannelByName(empty)), text);
    EXPECT_DEATH(static_cast<void>(effect->getExistingChannelByName(empty)), text);
    EXPECT_DEATH(static_cast<void>(effect->setChannelByName(empty, animated)), text);
}

TEST(EffectSettings, BlobAttributesHaveTheirOwnIds)
{
    const auto effect = someEffect();
    using Id = DmEffectSettings::BlobAttributId;
    EXPECT_EQ(DmEffectSettings::getAttributName(Id::encoded_blob), L"encoded_blob");
    EXPECT_EQ(DmEffectSettings::getAttributName(Id(1)), L"blob_size");
    EXPECT_EQ(DmEffectSettings::getAttributName(Id(2)), L"blob_checksum");
    const auto size = attribut(L"blob_size", L"12");
    EXPECT_EQ(effect->setAttribut(Id::blob_size, size), DM_NO_ERROR);
    EXPECT_EQ(effect->getAttribut(Id::blob_size), size);
    EXPECT_EQ(effect->getAttributByName(L"blob_size"), size);
    for (const int outside : {-1, 3})
    {
        EXPECT_TRUE(DmEffectSettings::getAttributName(Id(outside)).empty());
        EXPECT_FALSE(effect->getAttribut(Id(outside)));
        EXPECT_EQ(effect->setAttribut(Id(outside), size), DM_BAD_INDEX);
    }
}

TEST(EffectSettings, PlainSettingsGoThroughThePropertyLayerAndOutputDoesNot)
{
    const auto effect = someEffect();
    const auto media = DmMediaNode::create();
    {
        ChangeLog log(*effect);
        EXPECT_EQ(effect->setSetupFileName(L"/setups/a"), DM_NO_ERROR);
        EXPECT_EQ(effect->setSetup(L"line 1\nline 2"), DM_NO_ERROR);
        EXPECT_EQ(effect->setComment(L"first pass"), DM_NO_ERROR);
        EXPECT_EQ(effect->setMuted(true), DM_NO_ERROR);
        effect->setOutput(media);
        EXPECT_EQ(log.changes, (Names{L"setupFileName", L"setup", L"comment", L"muted"}));
    }
    EXPECT_EQ(effect->getSetupFileName(), L"/setups/a");
    EXPECT_EQ(effect->getSetup(), L"line 1\nline 2");
    EXPECT_EQ(effect->getComment(), L"first pass");
    EXPECT_TRUE(effect->isMuted());
    EXPECT_EQ(effect->getOutput(), media);
    effect->setOutput(nullptr);
    EXPECT_EQ(media->refCount(), 1);
    EXPECT_FALSE(effect->getOutput());
}

TEST(EffectSettings, ACloneSharesNothingButTheOutput)
{
    const auto effect = someEffect();
    const auto media = DmMediaNode::create();
    effect->setOutput(media);
    EXPECT_EQ(effect->addAttribut(attribut(L"mode", L"a")), DM_NO_ERROR);
    EXPECT_EQ(effect->getChannelByName(L"gain")->addKeyFrame(key(5)), DM_NO_ERROR);
    EXPECT_EQ(effect->setChannelByName(L"none", nullptr), DM_NO_ERROR);

    const auto clone = staticPointerCast<DmEffectSettings>(effect->clone());
    const auto cloneOfClone = staticPointerCast<DmEffectSettings>(clone->clone());
    for (const auto& copy : {clone, cloneOfClone})
    {
        EXPECT_EQ(difference(*effect, *copy), "");
        EXPECT_EQ(heldByBoth(*effect, *copy), std::vector<const DmPropertySet*>{media.get()});
    }
    EXPECT_EQ(clone->getAttributByName(L"mode")->setValue(L"b"), DM_NO_ERROR);
    EXPECT_EQ(clone->getChannelByName(L"gain")->getKeyFrame(0)->setValue(1), DM_NO_ERROR);
    ASSERT_TRUE(clone->getChannelByName(L"more"));
    EXPECT_EQ(effect->setComment(L"changed"), DM_NO_ERROR);
    EXPECT_EQ(effect->getAttributByName(L"mode")->getValue(), L"a");
    EXPECT_EQ(effect->getChannelByName(L"gain")->getKeyFrame(0)->getValue(), 50);
    EXPECT_EQ(channelNames(*effect), (Names{L"gain", L"none"}));
    EXPECT_EQ(clone->getComment(), L"");
}

TEST(EffectSettings, AFrozenEffectStaysAsItIs)
{
    const auto effect = someEffect();
    const auto before = effect->clone();
    effect->freeze();
    EXPECT_FALSE(effect->getChannelByName(L"gain"));
    EXPECT_EQ(effect->setAttributByName(L"mode", attribut(L"mode", L"a")), DM_CANNOT_LOCK);
    effect->setOutput(DmMediaNode::create());
    staticPointerCast<DmEffectLayer>(effect)->setFrameRange(1, 2);
    EXPECT_EQ(difference(*effect, *before), "");
}

TEST(EffectLayer, FrameRangeIsSetWithoutTellingListeners)
{
    const auto layer = DmEffectLayer::create();
    ChangeLog log(*layer);
    layer->setFrameRange(-12, 48);
    EXPECT_EQ(layer->getStartFrame(), -12);
    EXPECT_EQ(layer->getDuration(), 48U);
    EXPECT_TRUE(log.changes.empty());
    EXPECT_EQ(layer->getGhostAfter(), 3U);
    EXPECT_EQ(layer->getGhostBefore(), 3U);
    EXPECT_EQ(layer->setHold(true), DM_NO_ERROR);
    EXPECT_EQ(layer->setGhost(true), DM_NO_ERROR);
    EXPECT_EQ(layer->setGhostAfter(5), DM_NO_ERROR);
    EXPECT_EQ(layer->setGhostBefore(6), DM_NO_ERROR);
    EXPECT_EQ(log.changes, (Names{L"hold", L"ghost", L"ghostAfter", L"ghostBefore"}));
}
