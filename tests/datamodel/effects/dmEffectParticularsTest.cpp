/// What is particular to single effect classes.
#include "dmADissolveSettings.h"
#include "dmPPFxFlexletSettings.h"
#include "dmPPFxStereoToolboxSettings.h"
#include "dmResizeSettings.h"
#include "dmTimewarpSettings.h"
#include "dmVDissolveSettings.h"
#include "dmWipeSettings.h"
#include "effectTools.h"
#include "envVar.h"
#include "zrCapturingRouter.h"
#include "zrTestInHouse.h"

#include <limits>

namespace
{

/// Stores a null attribute under a name, as a document may.
void nullAttribut(DmEffectSettings& effect, const wchar_t* name)
{
    const DmPropertySetPtr null;
    EXPECT_EQ(effect.setValueFromPropertyMap(DmEffectSettings::AttributList, DM_MAP_PROPERTY_SET, name, &null),
              DM_NO_ERROR);
}

} // namespace

TEST(ConvertSettings, CodesComeFromTheAttributesTexts)
{
    const struct
    {
        const wchar_t* type;
        const wchar_t* filter;
        int typeCode;
        int filterCode;
    } rows[] = {{L"RESIZE_CROP", L"RESIZE_ALL_PIXEL_BASED", 0, 0},
                {L"RESIZE_FIT", L"RESIZE_BICUBIC", 1, 1},
                {L"RESIZE_FIT_ALL", L"RESIZE_MITCHELL", 2, 2},
                {L"RESIZE_FIT_BOTH", L"RESIZE_TRIANGLE", 3, 3},
                {L"RESIZE_FIT_PAN", L"RESIZE_IMPULSE", 4, 4},
                {L"RESIZE_FIT_PIXEL_BASED", L"RESIZE_CROP", 5, 5},
                {L"RESIZE_FIT_ALL_PIXEL_BASED", L"", 6, 5},
                {L"RESIZE_INVALID_TYPE", L"RESIZE_INVALID_FILTER", 7, 5},
                {L"resize_fit", L"bicubic", 7, 5},
                {L"", L" RESIZE_BICUBIC", 7, 5}};
    const auto resize = DmResizeSettings::create();
    const auto ppfx = DmPPFxResizeSettings::create();
    for (const CoSharedPtr<DmConvertSettings>& effect : {CoSharedPtr<DmConvertSettings>(resize), {ppfx}})
    {
        EXPECT_EQ(effect->getConvertType(), 7) << "no attribute";
        EXPECT_EQ(effect->getConvertFilter(), 5) << "no attribute";
        for (const auto& row : rows)
        {
            EXPECT_EQ(effect->setConvertType(row.type), DM_NO_ERROR);
            EXPECT_EQ(effect->setConvertFilter(row.filter), DM_NO_ERROR);
            EXPECT_EQ(effect->getAttributText(L"convert_type"), row.type);
            EXPECT_EQ(effect->getConvertType(), row.typeCode);
            EXPECT_EQ(effect->getConvertFilter(), row.filterCode);
        }
        nullAttribut(*effect, L"convert_type");
        EXPECT_EQ(effect->getConvertType(), DmConvertSettings::RESIZE_INVALID_TYPE);
        EXPECT_EQ(effect->setConvertType(L"RESIZE_FIT"), DM_NO_ERROR);
        EXPECT_EQ(effect->getConvertType(), DmConvertSettings::RESIZE_FIT);
    }
}

TEST(StereoToolbox, BothPerspectiveIdsMeanOneChannel)
{
    const auto effect = DmPPFxStereoToolboxSettings::create();
    using Id = DmPPFxStereoToolboxSettings::ChannelId;
    const auto channel = effect->getChannel(Id::FloatingWindow_PRS);
    EXPECT_EQ(effect->getChannel(Id::FloatingWindow_PRS2), channel);
    EXPECT_NE(effect->getChannel(Id::FloatingWindow_Offset), channel);
}

TEST(Flexlet, ReplacingAChannelIsReportedAndDone)
{
    const zrTest::CapturingRouter router;
    const auto effect = DmPPFxFlexletSettings::create();
    const auto first = DmAnimationChannel::create();
    const auto second = DmAnimationChannel::create();
    EXPECT_EQ(effect->addChannel(L"Größe", first), DM_NO_ERROR);
    EXPECT_TRUE(router.messages.empty());
    EXPECT_EQ(effect->addChannel(L"Größe", second), DM_NO_ERROR);
    ASSERT_EQ(router.messages.size(), 1U);
    EXPECT_EQ(router.messages[0].text(), "FlexletSettings overwriting channel Größe");
    EXPECT_EQ(router.messages[0].level(), DM::CoMsg::ErrorLevel);
    EXPECT_EQ(effect->getChannelByName(L"Größe"), second);
    EXPECT_EQ(effect->addChannel(L"Größe", nullptr), DM_BAD_VALUE);
    EXPECT_EQ(second->setName(L"own"), DM_NO_ERROR);
    EXPECT_EQ(effect->addChannel(second), DM_NO_ERROR) << "by its own name";
    EXPECT_EQ(effect->getExistingChannelByName(L"own"), second);
}

TEST(FlexletDeathTest, ReplacingAChannelStopsInHouse)
{
    const auto effect = DmPPFxFlexletSettings::create();
    EXPECT_EQ(effect->addChannel(L"gain", DmAnimationChannel::create()), DM_NO_ERROR);
    EXPECT_IN_HOUSE_DEATH(static_cast<void>(effect->addChannel(L"gain", DmAnimationChannel::create())),
                          "FlexletSettings overwriting channel");
}

TEST(Dissolves, FocusAlignmentIsUndefinedUntilItIsSet)
{
    const auto video = DmVDissolveSettings::create();
    const auto audio = DmADissolveSettings::create();
    for (const CoSharedPtr<DmEffectSettings>& effect : {CoSharedPtr<DmEffectSettings>(video), {audio}})
    {
        EXPECT_EQ(effect->getFocusAlignment(), DM_FOCUS_UNDEFINED);
        EXPECT_EQ(effect->setFocusAlignment(DM_FOCUS_CENTER), DM_NO_ERROR);
        EXPECT_EQ(effect->getAttributText(L"focusAlignment"), L"FOCUS_CENTER");
        EXPECT_EQ(effect->setAttributText(L"focusAlignment", L"somewhere"), DM_NO_ERROR);
        EXPECT_EQ(effect->getFocusAlignment(), DM_FOCUS_UNDEFINED);
        nullAttribut(*effect, L"focusAlignment");
        EXPECT_EQ(effect->getFocusAlignment(), DM_FOCUS_UNDEFINED);
    }
    EXPECT_EQ(DmWipeSettings::create()->getFocusAlignment(), DM_FOCUS_START);
}

TEST(VDissolve, ColourIsOnTheCallersScaleAndStaysInIt)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const struct
    {
        float limit, red, green, blue;
        eDmErrorId status;
    } rows[] = {{1, 0.25F, 0.5F, 1, DM_NO_ERROR},  {255, 0, 51, 255, DM_NO_ERROR}, {1, 0, 0, 1.5F, DM_BAD_VALUE},
                {255, -1, 0, 0, DM_BAD_VALUE},     {1, 0, nan, 0, DM_BAD_VALUE},   {0, 0, 0, 0, DM_BAD_VALUE},
                {0.00005F, 0, 0, 0, DM_BAD_VALUE}, {nan, 0, 0, 0, DM_BAD_VALUE},   {infinity, 1, 1, 1, DM_BAD_VALUE}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.limit << ' ' << row.red << ' ' << row.green << ' ' << row.blue);
        const auto effect = DmVDissolveSettings::create();
        EXPECT_EQ(effect->setToFromColor(row.limit, row.red, row.green, row.blue), row.status);
        const bool kept = row.status == DM_NO_ERROR;
        float red = -1;
        float green = -1;
        float blue = -1;
        EXPECT_EQ(effect->getToFromColor(kept ? row.limit : 1, red, green, blue), DM_NO_ERROR);
        EXPECT_FLOAT_EQ(red, kept ? row.red : 0);
        EXPECT_FLOAT_EQ(green, kept ? row.green : 0);
        EXPECT_FLOAT_EQ(blue, kept ? row.blue : 0);
    }

    const auto effect = DmVDissolveSettings::create();
    for (const float stray : {7.0F, -0.5F, nan})
    {
        EXPECT_EQ(effect->setToFromColor(1, 0.5F, 0.5F, 0.5F), DM_NO_ERROR);
        EXPECT_EQ(effect->setPropertyValue(L"toFromColorRed", &stray), DM_NO_ERROR);
        float red = -1;
        float green = -1;
        float blue = -1;
        EXPECT_EQ(effect->getToFromColor(100, red, green, blue), DM_NO_ERROR);
        EXPECT_EQ(red, 0);
        EXPECT_EQ(green, 50);
        EXPECT_EQ(effect->getToFromColor(0, red, green, blue), DM_BAD_VALUE);
        EXPECT_EQ(green, 0);
    }
}

TEST(VDissolveDeathTest, AColourScaleOfZeroStopsInHouse)
{
    const auto effect = DmVDissolveSettings::create();
    float component = 0;
    const char* const text = "!EQUAL\\( limit, 0\\.0f \\)";
    EXPECT_IN_HOUSE_DEATH(static_cast<void>(effect->getToFromColor(0.00009F, component, component, component)), text);
    EXPECT_IN_HOUSE_DEATH(static_cast<void>(effect->setToFromColor(0, 0, 0, 0)), text);
}

TEST(Wipe, DefaultPatternIsThatOfTheEnvironmentAndIsAlwaysWritten)
{
    auto& registry = DM::EnvVarRegistryImp::getInstance();
    registry.useDeclared();
    const auto found = registry.search("ZR_DEFAULT_DM_WIPE_PATTERN");
    ASSERT_EQ(found.size(), 1U);
    const struct
    {
        int value;
        int pattern;
    } rows[] = {{101, 101}, {0, 1}, {-4, 1}, {1, 1}};
    for (const auto& row : rows)
    {
        found[0]->dynSetValue(row.value);
        const auto wipe = DmWipeSettings::create();
        EXPECT_EQ(wipe->getSmptePattern(), row.pattern) << row.value;
        EXPECT_TRUE(wipe->isPropertyRelevant(DmWipeSettings::SmptePattern));
    }
}

TEST(Timewarp, SettingsAndChannelsAreDumpedAsDebugMessages)
{
    const zrTest::CapturingRouter router;
    const auto effect = DmPPFxTWSettings::create();
    using Id = DmPPFxTWSettings::ChannelId;
    effect->dump();
    EXPECT_TRUE(router.messages.empty());

    const DM::CoMsg::Level level = DM::CoMsg::filterLevel();
    DM::CoMsg::setFilterLevel(DM::CoMsg::DebugLevel);
    EXPECT_EQ(effect->setSpeed(-0.5), DM_NO_ERROR);
    EXPECT_EQ(effect->setMix(0.25F), DM_NO_ERROR);
    EXPECT_EQ(effect->getChannel(Id::timing)->addKeyFrame(key(1)), DM_NO_ERROR);
    EXPECT_EQ(effect->getChannel(Id::mix)->setValue(0.5F), DM_NO_ERROR);
    effect->dump();
    effect->dumpChannels();
    DM::CoMsg::setFilterLevel(level);
    ASSERT_EQ(router.messages.size(), 3U);
    EXPECT_EQ(router.messages[0].text(), "DmPPFxTWSettings segcomp 1 trxcomp 0 mt 1 strobeMode 0 cs 1 speed -0.500000 "
                                         "strobeRepeat 1 mix 0.250000");
    EXPECT_EQ(router.messages[1].text(), "channel mix nbKeyFrames 0 value 0.500000");
    EXPECT_EQ(router.messages[2].text(), "channel timing nbKeyFrames 1 value 0.000000");
    for (const auto& message : router.messages)
        EXPECT_EQ(message.level(), DM::CoMsg::DebugLevel);
}
