/// What is particular to single effect classes.
#include "effectTools.h"
#include "zrCapturingRouter.h"
#include "zrTestInHouse.h"

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
    // clang-format off
    const wchar_t* const types[] = {
        L"RESIZE_CROP", L"RESIZE_FIT", L"RESIZE_FIT_ALL", L"RESIZE_FIT_BOTH", L"RESIZE_FIT_PAN",
        L"RESIZE_FIT_PIXEL_BASED", L"RESIZE_FIT_ALL_PIXEL_BASED", L"RESIZE_INVALID_TYPE"
    };
    // clang-format on
    const wchar_t* const filters[] = {L"RESIZE_ALL_PIXEL_BASED", L"RESIZE_BICUBIC", L"RESIZE_MITCHELL",
                                      L"RESIZE_TRIANGLE",        L"RESIZE_IMPULSE", L"RESIZE_INVALID_FILTER"};
    const auto effect = DmPPFxResizeSettings::create();
    const auto check = [&](const wchar_t* text, int type, int filter)
    {
        EXPECT_EQ(effect->setConvertType(text), DM_NO_ERROR);
        EXPECT_EQ(effect->setConvertFilter(text), DM_NO_ERROR);
        EXPECT_EQ(effect->getAttributText(L"convert_type"), text);
        EXPECT_EQ(effect->getConvertType(), type);
        EXPECT_EQ(effect->getConvertFilter(), filter);
    };
    EXPECT_EQ(effect->getConvertType(), 7) << "no attribute";
    for (int code = 0; code < 8; ++code)
        check(types[code], code, 5);
    for (int code = 0; code < 6; ++code)
        check(filters[code], 7, code);
    for (const wchar_t* const other : {L"resize_fit", L"", L" RESIZE_BICUBIC"})
        check(other, 7, 5);
    nullAttribut(*effect, L"convert_type");
    EXPECT_EQ(effect->getConvertType(), 7);
    check(L"RESIZE_FIT", 1, 5);
}

TEST(Flexlet, ReplacingAChannelIsReportedAndDone)
{
    const zrTest::CapturingRouter router;
    const auto effect = DmPPFxFlexletSettings::create();
    const auto second = DmAnimationChannel::create();
    EXPECT_EQ(effect->addChannel(L"Größe", DmAnimationChannel::create()), DM_NO_ERROR);
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
    EXPECT_IN_HOUSE_DEATH(static_cast<void>(effect->addChannel(L"own", second)), "FlexletSettings overwriting channel");
}

TEST(ADissolve, FocusAlignmentIsUndefinedUntilItIsSet)
{
    const auto effect = DmADissolveSettings::create();
    EXPECT_EQ(effect->getFocusAlignment(), DM_FOCUS_UNDEFINED);
    EXPECT_EQ(effect->setFocusAlignment(DM_FOCUS_CENTER), DM_NO_ERROR);
    EXPECT_EQ(effect->getFocusAlignment(), DM_FOCUS_CENTER);
    EXPECT_EQ(effect->getAttributText(L"focusAlignment"), L"FOCUS_CENTER");
    EXPECT_EQ(effect->setAttributText(L"focusAlignment", L"somewhere"), DM_NO_ERROR);
    EXPECT_EQ(effect->getFocusAlignment(), DM_FOCUS_UNDEFINED);
}

TEST(VDissolve, ColourIsOnTheCallersScaleAndStaysInIt)
{
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    using Colour = std::array<float, 3>;
    const auto effect = DmVDissolveSettings::create();
    const auto colour = [&](float limit, eDmErrorId status)
    {
        Colour read{-1, -1, -1};
        EXPECT_EQ(effect->getToFromColor(limit, read[0], read[1], read[2]), status);
        return read;
    };
    const struct
    {
        float limit;
        Colour given;
        eDmErrorId status;
    } rows[] = {
        {1, {0, 0, 1.5F}, DM_BAD_VALUE},     {255, {-1, 0, 0}, DM_BAD_VALUE},     {1, {0, nan, 0}, DM_BAD_VALUE},
        {0, {0, 0, 0}, DM_BAD_VALUE},        {0.00005F, {0, 0, 0}, DM_BAD_VALUE}, {nan, {0, 0, 0}, DM_BAD_VALUE},
        {infinity, {1, 1, 1}, DM_BAD_VALUE}, {1, {0.25F, 0.5F, 1}, DM_NO_ERROR},  {255, {255, 51, 102}, DM_NO_ERROR}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(testing::Message() << row.limit << testing::PrintToString(row.given));
        EXPECT_EQ(effect->setToFromColor(row.limit, row.given[0], row.given[1], row.given[2]), row.status);
        const bool kept = row.status == DM_NO_ERROR;
        const Colour read = colour(kept ? row.limit : 1, DM_NO_ERROR);
        for (int i = 0; i < 3; ++i)
            EXPECT_FLOAT_EQ(read[i], kept ? row.given[i] : 0);
    }
    const std::tuple<float, eDmErrorId, Colour> strays[] = {{1.00001F, DM_NO_ERROR, {100, 50, 50}},
                                                            {7, DM_NO_ERROR, {100, 50, 50}},
                                                            {-0.5F, DM_NO_ERROR, {0, 50, 50}},
                                                            {nan, DM_BAD_VALUE, {0, 0, 0}}};
    for (const auto& [stray, status, read] : strays)
    {
        EXPECT_EQ(effect->setToFromColor(1, 0.5F, 0.5F, 0.5F), DM_NO_ERROR);
        EXPECT_EQ(effect->setPropertyValue(L"toFromColorRed", &stray), DM_NO_ERROR);
        EXPECT_EQ(colour(100, status), read);
        EXPECT_EQ(colour(0, DM_BAD_VALUE), (Colour{0, 0, 0}));
    }
    const char* const text = "!EQUAL\\( limit, 0\\.0f \\)";
    EXPECT_IN_HOUSE_DEATH(static_cast<void>(colour(0.00009F, DM_BAD_VALUE)), text);
    EXPECT_IN_HOUSE_DEATH(static_cast<void>(effect->setToFromColor(0, 0, 0, 0)), text);
}

TEST(Wipe, DefaultPatternIsThatOfTheEnvironmentAndIsAlwaysWritten)
{
    auto& registry = DM::EnvVarRegistryImp::getInstance();
    registry.useDeclared();
    const auto found = registry.search("ZR_DEFAULT_DM_WIPE_PATTERN");
    ASSERT_EQ(found.size(), 1U);
    for (const auto& [value, pattern] : {std::pair{101, 101}, {0, 1}, {-4, 1}, {1, 1}})
    {
        found[0]->dynSetValue(value);
        const auto wipe = DmWipeSettings::create();
        EXPECT_EQ(wipe->getSmptePattern(), pattern) << value;
        EXPECT_TRUE(wipe->isPropertyRelevant(DmWipeSettings::SmptePattern));
    }
}

TEST(Timewarp, SettingsAndChannelsAreDumpedAsDebugMessages)
{
    const zrTest::CapturingRouter router;
    const auto effect = DmPPFxTWSettings::create();
    using Id = DmPPFxTWSettings::ChannelId;
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
    EXPECT_EQ(router.messages[2].level(), DM::CoMsg::DebugLevel);
}
