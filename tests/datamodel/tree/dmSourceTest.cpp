#include "dmSourceInput.h"
#include "treeTools.h"

#include "zrCapturingRouter.h"
#include "zrTestEnv.h"
#include "zrTestInHouse.h"

#include <gtest/gtest.h>

#include <cmath>

using MediaInput = DmSourceNode::MediaInput;

namespace
{

std::vector<std::string> texts(const zrTest::CapturingRouter& router)
{
    std::vector<std::string> result;
    for (const DM::CoMsg::Msg& message : router.messages)
    {
        EXPECT_EQ(message.level(), DM::CoMsg::WarningLevel);
        result.push_back(message.text());
    }
    return result;
}

CoSharedPtr<DmSourceNode> source(double srcLength, double relIn, double recLength)
{
    const auto input = MediaInput::create(srcLength, 0, nullptr, L"25 fps", DM_MEDIA_VIDEO, true);
    auto node = DmSourceNode::create(input, 1000, recLength, relIn, false, false);
    EXPECT_EQ(node->setName(L"Été"), DM_NO_ERROR);
    return node;
}

struct Times
{
    double srcLength, relIn, recLength;
};

struct IntegrityCase
{
    Times before;
    Times after;
    std::vector<std::string> warnings;
    const char* assertion; ///< the first one
};

const IntegrityCase integrityCases[] = {
    {{100, 10, 20}, {100, 10, 20}, {}, nullptr},
    {{100, 10, 90}, {100, 10, 90}, {}, nullptr},
    {{1, 5, 10}, {1, 0, 10}, {}, nullptr},
    {{0.5, -5, 10}, {0.5, 0, 10}, {}, nullptr},
    {{-5, 7, 10}, {1, 0, 10}, {"Été: SrcLength: -5.000000 < 0.0"}, "Negative srcLength."},
    {{100, -3, 10}, {100, 0, 10}, {"Été: RelIn: -3.000000 < 0"}, "Negative relIn."},
    {{100, 100, 10},
     {100, 99, 1},
     {"Été: RelIn: 100.000000 >= SrcLength: 100.000000",
      "Été: RelIn: 99.000000 + RecLength: 10.000000 > SrcLength: 100.000000"},
     "Integrity between relIn and srcLength is bad."},
    {{100, 60, 50},
     {100, 60, 40},
     {"Été: RelIn: 60.000000 + RecLength: 50.000000 > SrcLength: 100.000000"},
     "Integrity between recLength and srcLength is bad."},
    {{100, -10, 200},
     {100, 0, 100},
     {"Été: RelIn: -10.000000 < 0", "Été: RelIn: 0.000000 + RecLength: 200.000000 > SrcLength: 100.000000"},
     "Negative relIn."},
    {{std::nan(""), 5, 10}, {std::nan(""), 5, 10}, {}, nullptr},
    {{100, -INFINITY, INFINITY},
     {100, 0, 100},
     {"Été: RelIn: -inf < 0", "Été: RelIn: 0.000000 + RecLength: inf > SrcLength: 100.000000"},
     "Negative relIn."},
};

void expectTimes(const DmSourceNode& node, const Times& times)
{
    const double srcLength = node.getSrcInput()->getSrcLength();
    EXPECT_TRUE(srcLength == times.srcLength || (std::isnan(srcLength) && std::isnan(times.srcLength))) << srcLength;
    EXPECT_EQ(node.getRelIn(), times.relIn);
    EXPECT_EQ(node.getRecLength(), times.recLength);
    EXPECT_EQ(node.getRecIn(), 1000);
}

} // namespace

TEST(TimeIntegrity, IsWarnedAboutAndRepaired)
{
    for (const IntegrityCase& c : integrityCases)
    {
        const auto node = source(c.before.srcLength, c.before.relIn, c.before.recLength);
        SCOPED_TRACE(testing::Message() << c.before.srcLength << ' ' << c.before.relIn << ' ' << c.before.recLength);
        if (c.assertion)
        {
            EXPECT_IN_HOUSE_DEATH(static_cast<void>(node->checkTimeIntegrity()),
                                  literally("( !\"" + std::string(c.assertion) + "\" )"));
        }
        const zrTest::CapturingRouter router;
        EXPECT_EQ(node->checkTimeIntegrity(), DM_NO_ERROR);
        EXPECT_EQ(texts(router), c.warnings);
        expectTimes(*node, c.after);
    }
}

TEST(TimeIntegrity, ChangesNothingWhenItIsSwitchedOff)
{
    const SwitchedOn off("ZR_NO_SOURCE_TIME_CHECK");
    for (const IntegrityCase& c : integrityCases)
    {
        const auto node = source(c.before.srcLength, c.before.relIn, c.before.recLength);
        SCOPED_TRACE(testing::Message() << c.before.srcLength << ' ' << c.before.relIn << ' ' << c.before.recLength);
        node->cleanDirty();
        const ZrTestInHouse inHouse; // no assertion either
        const zrTest::CapturingRouter router;
        EXPECT_EQ(node->checkTimeIntegrity(), DM_NO_ERROR);
        const std::vector<std::string> warnings = texts(router);
        ASSERT_EQ(warnings.empty(), c.warnings.empty());
        EXPECT_EQ(warnings.empty() ? "" : warnings[0], c.warnings.empty() ? "" : c.warnings[0]);
        expectTimes(*node, c.before);
        EXPECT_FALSE(node->isDirty());
    }
}

TEST(TimeIntegrity, LeavesASourceWithoutInputAloneAndTellsOfARefusedRepair)
{
    const auto node = DmSourceNode::create(nullptr, 0, 10, -5, false, false);
    EXPECT_EQ(node->getSrcInput(), nullptr);
    EXPECT_EQ(node->getMediaType(), DM_MEDIA_UNDEFINED);
    EXPECT_EQ(node->checkTimeIntegrity(), DM_NO_ERROR);
    EXPECT_EQ(node->getRelIn(), -5);

    const auto constant = source(100, 60, 50);
    constant->freeze();
    const zrTest::CapturingRouter router;
    EXPECT_EQ(constant->checkTimeIntegrity(), DM_CANNOT_LOCK);
}

TEST(TapeSourceIn, IsReadFromItsLabelWhereTheCountIsNotPositive)
{
    const ZrTestEnv noDefault("ZR_DEFAULT_FCM", nullptr);
    const struct
    {
        double srcIn;
        const wchar_t* label;
        const wchar_t* fcm;
        DM::FrameCodeModes defaultFcm;
        double frames;
        std::vector<std::string> warnings;
        const char* assertion;
    } cases[] = {
        {5, L"01:00:00:00", L"25 fps", DM::FCM_NOT_DEFINED, 5, {}, nullptr},
        {0, L"01:00:00:00", L"25 fps", DM::FCM_NOT_DEFINED, 90000, {}, nullptr},
        {0, L"-00:00:01:00", L"25 fps", DM::FCM_NOT_DEFINED, -25, {}, nullptr},
        {0, L"", L"???", DM::FCM_NOT_DEFINED, 0, {}, nullptr},
        {0, L"00:00:00:00", L"???", DM::FCM_NOT_DEFINED, 0, {"Invalid src in fps (??\?) for source 'Été'"}, nullptr},
        {0,
         L"01:00:00:00",
         L"nö",
         DM::FCM_NOT_DEFINED,
         0,
         {"Invalid src in fps (nö) for source 'Été'"},
         "srcInFcm != FCM_NOT_DEFINED"},
        {0,
         L"01:00:00:00",
         L"",
         DM::FCM_25,
         90000,
         {"Invalid src in fps () for source 'Été'"},
         "srcInFcm != FCM_NOT_DEFINED"},
        {0,
         L"01:00:00:25",
         L"25 fps",
         DM::FCM_NOT_DEFINED,
         0,
         {"Invalid timecode (01:00:00:25) for source 'Été'"},
         nullptr},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.label << ' ' << c.fcm);
        const DefaultFcm mode(c.defaultFcm);
        const auto input = MediaInput::create(100, c.srcIn, nullptr, c.fcm, DM_MEDIA_VIDEO, true);
        ASSERT_EQ(input->setName(L"Été"), DM_NO_ERROR);
        ASSERT_EQ(input->setSrcInStr(c.label), DM_NO_ERROR);
        if (c.assertion)
        {
            EXPECT_IN_HOUSE_DEATH(input->getTapeSrcIn(), c.assertion);
        }
        const zrTest::CapturingRouter router;
        EXPECT_EQ(input->getTapeSrcIn(), c.frames);
        EXPECT_EQ(texts(router), c.warnings);
    }
}

TEST(SourceIn, IsGivenInTheModeOfTheMaterial)
{
    const ZrTestEnv noDefault("ZR_DEFAULT_FCM", nullptr);
    constexpr auto plain = DmSourceInfo::Reel;
    constexpr auto varicam = DmSourceInfo::Varicam;
    const struct
    {
        double srcIn;
        const wchar_t* srcInFcm;
        const wchar_t* srcFcm;
        DmSourceInfo::SourceType type;
        DM::FrameCodeModes defaultFcm;
        const wchar_t* varicamFcm;
        double expected;
    } cases[] = {
        // The same clock time in the other mode.
        {100, L"25 fps", L"25 fps", plain, DM::FCM_NOT_DEFINED, L"", 100},
        {100, L"25 fps", L"50 fps", plain, DM::FCM_NOT_DEFINED, L"", 200},
        {100, L"50 fps", L"25 fps", plain, DM::FCM_NOT_DEFINED, L"", 50},
        {1001, L"24 fps", L"23.976 fps", plain, DM::FCM_NOT_DEFINED, L"", 1000},
        {1800, L"29.97 fps DF", L"29.97 fps NDF", plain, DM::FCM_NOT_DEFINED, L"", 1800},
        // A mode that is not defined is the default mode.
        {100, L"???", L"25 fps", plain, DM::FCM_NOT_DEFINED, L"", 100},
        {100, L"25 fps", L"", plain, DM::FCM_NOT_DEFINED, L"", 100},
        {100, L"", L"25 fps", plain, DM::FCM_50, L"", 50},
        {100, L"25 fps", L"", plain, DM::FCM_50, L"", 200},
        // A camera's labels at 60 stand for frames at 30.
        {3601, L"59.94 fps NDF", L"29.97 fps NDF", varicam, DM::FCM_NOT_DEFINED, L"59.94 fps NDF", 1800},
        {3601, L"59.94 fps NDF", L"29.97 fps NDF", varicam, DM::FCM_NOT_DEFINED, L"", 1800},
        {3601, L"59.94 fps NDF", L"29.97 fps NDF", plain, DM::FCM_NOT_DEFINED, L"59.94 fps NDF", 1800.5},
        {1800, L"29.97 fps NDF", L"29.97 fps NDF", varicam, DM::FCM_NOT_DEFINED, L"29.97 fps NDF", 1800},
        // One second and three frames of a tape of 30 are one second and two frames at 24.
        {33, L"23.976 fps", L"23.976 fps", varicam, DM::FCM_NOT_DEFINED, L"23.976 fps", 26},
        {100, L"", L"25 fps", varicam, DM::FCM_NOT_DEFINED, L"", 100},
    };
    for (const auto& c : cases)
    {
        const DefaultFcm mode(c.defaultFcm);
        const auto info = DmSourceInfo::create();
        ASSERT_EQ(info->setSourceType(c.type), DM_NO_ERROR);
        ASSERT_EQ(info->setVaricamFcm(c.varicamFcm), DM_NO_ERROR);
        const auto input = MediaInput::create(100, c.srcIn, info, c.srcInFcm, DM_MEDIA_VIDEO, true);
        ASSERT_EQ(input->setFcm(c.srcFcm), DM_NO_ERROR);
        const zrTest::CapturingRouter router;
        EXPECT_EQ(input->getSrcIn(), c.expected) << c.srcIn << ' ' << c.srcInFcm << ' ' << c.srcFcm;
        EXPECT_TRUE(router.messages.empty());
        const SwitchedOn off("ZR_DISABLE_TCC");
        EXPECT_EQ(input->getSrcIn(), c.srcIn);
    }
}

TEST(SourceIn, OfACameraInAnotherModeIsReportedAndKept)
{
    const auto info = DmSourceInfo::create();
    ASSERT_EQ(info->setVaricamCaptureMode(true), DM_NO_ERROR);
    const auto input = MediaInput::create(100, 100, info, L"25 fps", DM_MEDIA_VIDEO, true);
    ASSERT_EQ(input->setFcm(L"50 fps"), DM_NO_ERROR);
    const zrTest::CapturingRouter router;
    EXPECT_EQ(input->getSrcIn(), 200);
    ASSERT_EQ(router.messages.size(), 1U);
    EXPECT_EQ(router.messages[0].text(), "EdlTCToVaricam: Unsupported fcm 25");
}

TEST(SourceInput, CopiesTheInfoThatItIsGiven)
{
    const auto info = DmSourceInfo::create();
    ASSERT_EQ(info->setReelName(L"A001"), DM_NO_ERROR);
    const auto input = MediaInput::create(250, 10, info, L"25 fps", DM_MEDIA_AUDIO, true);
    EXPECT_EQ(input->getSrcLength(), 250);
    EXPECT_EQ(input->getSrcInFcm(), L"25 fps");
    EXPECT_TRUE(input->hasMedia());
    ASSERT_TRUE(input->getSrcInfo());
    EXPECT_NE(input->getSrcInfo(), info.get());
    ASSERT_EQ(info->setReelName(L"A002"), DM_NO_ERROR);
    EXPECT_EQ(input->getSrcInfo()->getReelName(), L"A001");
    EXPECT_EQ(input->setSrcInfo(nullptr), DM_NO_ERROR);
    EXPECT_EQ(input->getSrcInfo(), nullptr);

    const auto derived = DmSourceNode::DerivedInput::create();
    EXPECT_EQ(derived->setSrcInfo(info), DM_NO_ERROR);
    EXPECT_NE(derived->getSrcInfo(), info.get());
    EXPECT_EQ(DmSourceNode::RelinkedInput::create()->getSrcInfo(), nullptr);

    // Its media type is the source's, whatever the last argument.
    const auto node = DmSourceNode::create(input, 1, 2, 3, true, true);
    EXPECT_EQ(node->getMediaType(), DM_MEDIA_AUDIO);
    EXPECT_EQ(node->getSrcInput(), input.get());
    EXPECT_TRUE(node->isMultiChannel());
}

TEST(SourceInput, IsCopiedWithAllThatItHolds)
{
    const auto input = MediaInput::create(250, 10, DmSourceInfo::create(), L"25 fps", DM_MEDIA_VIDEO, true);
    ASSERT_EQ(input->setPrimaryRes(DmFrameResolution::create()), DM_NO_ERROR);
    ASSERT_EQ(input->addPrimaryFrame(DmFrameNode::create(1, L"a.0001")), DM_NO_ERROR);
    ASSERT_EQ(input->addAltFrame(DmFrameNode::create(1, L"b.0001")), DM_NO_ERROR);
    ASSERT_EQ(input->addAudioFrame(DmFrameNode::create(1, L"c.0001")), DM_NO_ERROR);
    ASSERT_EQ(input->addExtraData(DmSourceNode::DictionaryEntry::create(L"key", L"value")), DM_NO_ERROR);
    EXPECT_EQ(input->addAltFrame(nullptr), DM_BAD_VALUE);
    EXPECT_EQ(input->getNumberOfPrimaryFrames(), 1);
    EXPECT_EQ(input->getNumberOfAltFrames(), 1);
    EXPECT_EQ(input->getNumberOfAudioFrames(), 1);

    const auto copy = DM::staticPointerCast<MediaInput>(input->clone());
    EXPECT_NE(copy->getPrimaryRes(), input->getPrimaryRes());
    EXPECT_NE(copy->getPrimaryFrames().at(0), input->getPrimaryFrames().at(0));
    EXPECT_EQ(copy->getAltFrames().at(0)->getPath(), L"b.0001");
    EXPECT_NE(copy->getSrcInfo(), input->getSrcInfo());
    EXPECT_EQ(copy->getExtraDataDictionary().at(0)->getValue(), L"value");
    EXPECT_EQ(std::as_const(*copy).getAltRes(), std::as_const(*input).getAltRes()) << "a default is nobody's";
}

TEST(SourceInfo, HasATextForEveryType)
{
    const char* const expected[] = {"Unknown", "Unknown", "Reel",         "Varicam", "Spirit",
                                    "File",    "Files",   "FileSequence", "Module",  "Unknown"};
    for (int i = 0; i < 10; ++i)
        EXPECT_STREQ(DmSourceInfo::getSourceTypeStr(static_cast<DmSourceInfo::SourceType>(i - 1)), expected[i]);

    // Its own strings as the new ones.
    const auto info = DmSourceInfo::create();
    ASSERT_EQ(info->addFile(L"a"), DM_NO_ERROR);
    ASSERT_EQ(info->setFileList(info->getFileList()), DM_NO_ERROR);
    EXPECT_EQ(info->getFileList(), std::vector<DmString>{L"a"});
}
