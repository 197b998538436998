#include "effectTools.h"

namespace
{

using Names = std::vector<std::wstring>;

/// The simplest effect there is.
CoSharedPtr<DmEffectSettings> someEffect()
{
    return DmEffectLayer::create();
}

/// A channel or an attribute of a name.
template <class Channel>
CoSharedPtr<Channel> named(const DmString& name)
{
    auto made = Channel::create();
    EXPECT_EQ(made->setName(name), DM_NO_ERROR);
    return made;
}

Names channelNames(const DmEffectSettings& effect)
{
    DmStringArray names;
    names.resize(3);
    effect.getChannelNames(names);
    Names result;
    for (const DmString& name : names)
        result.emplace_back(name.view());
    return result;
}

} // namespace

TEST(FocusAlignment, TextsAreExactAndEverythingElseIsUndefined)
{
    const wchar_t* const texts[] = {L"FOCUS_START", L"FOCUS_CENTER", L"FOCUS_END", L"FOCUS_CUSTOM", L"FOCUS_UNDEFINED"};
    for (int code = -1; code < 8; ++code)
        EXPECT_EQ(dmFocusAlignmentText(static_cast<eDmFocusAlignment>(code)), texts[code < 0 || code > 4 ? 4 : code]);
    for (int code = 0; code < 5; ++code)
        EXPECT_EQ(dmFocusAlignmentFromText(texts[code]), code);
    for (const wchar_t* const other : {L"focus_start", L"", L"FOCUS_STARTS"})
        EXPECT_EQ(dmFocusAlignmentFromText(other), DM_FOCUS_UNDEFINED);
}

TEST(EffectChannels, AreMadeWhenTheyAreAskedForInTheCurrentFormat)
{
    const auto effect = someEffect();
    EXPECT_EQ(channelNames(*effect), Names());
    ChangeLog log(*effect);
    const auto made = effect->getChannelByName(L"gain");
    ASSERT_TRUE(made);
    EXPECT_EQ(made->getName(), L"gain");
    EXPECT_EQ(made->getVersion(), DmKeyFrame::getCurrentVersion());
    EXPECT_EQ(made->getInterpolation(), 1);
    EXPECT_EQ(made->getExtrapolation(), 0);
    EXPECT_EQ(made->getValue(), 0);
    EXPECT_EQ(effect->getChannelByName(L"gain"), made);
    ASSERT_TRUE(effect->getChannelByName(L"alpha"));
    EXPECT_EQ(channelNames(*effect), (Names{L"alpha", L"gain"}));
    EXPECT_TRUE(log.changes.empty());
}

TEST(EffectChannels, AddingTellsListenersAndRefusesASecondOfTheName)
{
    const auto effect = someEffect();
    const auto first = named<DmSimpleChannel>(L"mode");
    ChangeLog log(*effect);
    EXPECT_EQ(effect->addChannel(named<DmAnimationChannel>(L"gain")), DM_NO_ERROR);
    EXPECT_EQ(effect->addChannel(named<DmAnimationChannel>(L"gain")), DM_PROPERTY_ALREADY_EXIST);
    EXPECT_EQ(effect->addChannel(nullptr), DM_BAD_VALUE);
    EXPECT_EQ(effect->addAttribut(first), DM_NO_ERROR);
    EXPECT_EQ(effect->addAttribut(named<DmSimpleChannel>(L"mode")), DM_PROPERTY_ALREADY_EXIST);
    EXPECT_EQ(effect->addAttribut(nullptr), DM_BAD_VALUE);
    EXPECT_EQ(log.changes, (Names{L"channelList", L"attributList"}));
    EXPECT_EQ(effect->getAttributByName(L"mode"), first);
}

TEST(EffectChannels, SettingReplacesUnderTheGivenKeyAndTellsNobody)
{
    const auto effect = someEffect();
    const auto first = named<DmAnimationChannel>(L"own name");
    const auto second = named<DmAnimationChannel>(L"");
    const auto text = named<DmSimpleChannel>(L"own name");
    ChangeLog log(*effect);
    EXPECT_EQ(effect->setChannelByName(L"gain", first), DM_NO_ERROR);
    EXPECT_EQ(effect->setChannelByName(L"gain", second), DM_NO_ERROR);
    EXPECT_EQ(effect->setAttributByName(L"mode", text), DM_NO_ERROR);
    EXPECT_EQ(effect->getChannelByName(L"gain"), second);
    EXPECT_EQ(first->refCount(), 1);
    EXPECT_EQ(effect->getAttributByName(L"mode"), text);
    EXPECT_EQ(text->getName(), L"own name");
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
    EXPECT_EQ(effect->getFocusAlignment(), DM_FOCUS_UNDEFINED);
    effect->dumpChannels();
    EXPECT_TRUE(effect->clone());

    const auto made = effect->getChannelByName(L"focusAlignment");
    ASSERT_TRUE(made);
    EXPECT_EQ(effect->getExistingChannelByName(L"focusAlignment"), made);
    EXPECT_EQ(effect->setFocusAlignment(DM_FOCUS_END), DM_NO_ERROR);
    EXPECT_EQ(effect->getFocusAlignment(), DM_FOCUS_END);
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
    EXPECT_DEATH(static_cast<void>(effect->setChannelByName(empty, animated)), text);
}

TEST(EffectSettings, BlobAttributesHaveTheirOwnIds)
{
    const auto effect = someEffect();
    using Id = DmEffectSettings::BlobAttributId;
    const wchar_t* const names[] = {L"", L"encoded_blob", L"blob_size", L"blob_checksum", L""};
    for (int id = -1; id < 4; ++id)
        EXPECT_EQ(DmEffectSettings::getAttributName(Id(id)), names[id + 1]);
    const auto size = DmSimpleChannel::create(L"12");
    EXPECT_EQ(effect->setAttribut(Id::blob_size, size), DM_NO_ERROR);
    EXPECT_EQ(effect->getAttribut(Id::blob_size), size);
    EXPECT_EQ(effect->getAttributByName(L"blob_size"), size);
}

TEST(EffectSettings, OutputIsSetWithoutTellingListeners)
{
    const auto effect = someEffect();
    const auto media = DmMediaNode::create();
    const ChangeLog log(*effect);
    effect->setOutput(media);
    EXPECT_EQ(effect->getOutput(), media);
    effect->setOutput(nullptr);
    EXPECT_EQ(media->refCount(), 1);
    EXPECT_TRUE(log.changes.empty());
}

TEST(EffectSettings, ACloneSharesNothingButTheOutput)
{
    const auto effect = someEffect();
    const auto media = DmMediaNode::create();
    effect->setOutput(media);
    EXPECT_EQ(effect->addAttribut(named<DmSimpleChannel>(L"mode")), DM_NO_ERROR);
    EXPECT_EQ(effect->getChannelByName(L"gain")->addKeyFrame(key(5)), DM_NO_ERROR);
    EXPECT_EQ(effect->setChannelByName(L"none", nullptr), DM_NO_ERROR);
    const DmPropertySetPtr clone = effect->clone();
    for (const DmPropertySetPtr& copy : {clone, clone->clone()})
    {
        EXPECT_EQ(difference(*effect, *copy), "");
        EXPECT_EQ(heldByBoth(*effect, *copy), std::vector<const DmPropertySet*>{media.get()});
    }
    ASSERT_TRUE(DM::staticPointerCast<DmEffectSettings>(clone)->getChannelByName(L"more"));
    EXPECT_EQ(channelNames(*effect), (Names{L"gain", L"none"}));
}

TEST(EffectSettings, AFrozenEffectStaysAsItIs)
{
    const auto effect = someEffect();
    const auto before = effect->clone();
    effect->freeze();
    // A loose channel: constant, as a new one is, and not in the map.
    const auto loose = effect->getChannelByName(L"gain");
    ASSERT_TRUE(loose);
    EXPECT_TRUE(loose->isFrozen() && loose->getName() == L"gain" && loose->getVersion() == 2.0F);
    EXPECT_EQ(loose->refCount(), 1);
    EXPECT_FALSE(effect->getExistingChannelByName(L"gain"));
    EXPECT_EQ(effect->setAttributByName(L"mode", named<DmSimpleChannel>(L"mode")), DM_CANNOT_LOCK);
    effect->setOutput(DmMediaNode::create());
    staticPointerCast<DmEffectLayer>(effect)->setFrameRange(1, 2);
    loose->setNeedsKeyOnEmptyChannels(false);
    loose->setDefaultKeyFrameFrame(3);
    EXPECT_TRUE(loose->needsKeyOnEmptyChannels() && loose->getDefaultKeyFrameFrame() == 0);
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
}
