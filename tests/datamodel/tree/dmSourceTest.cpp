#include "treeTools.h"
#include "zrCapturingRouter.h"
#include "zrTestEnv.h"
#include "zrTestInHouse.h"

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
    ok(node->setName(L"Été"));
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
    const char* assertion = nullptr;        ///< the first one
    std::vector<std::string> warnings = {}; ///< each begins with the source's name
};

std::vector<std::string> warned(const char* one, const char* two = nullptr)
{
    return two ? std::vector<std::string>{one, two} : std::vector<std::string>{one};
}

const IntegrityCase integrityCases[] = {
    {{100, 10, 90}, {100, 10, 90}},
    {{1, 5, 10}, {1, 0, 10}},
    {{0.5, -5, 10}, {0.5, 0, 10}},
    {{-5, 7, 10}, {1, 0, 10}, "Negative srcLength.", warned("Été: SrcLength: -5.000000 < 0.0")},
    {{100, -3, 10}, {100, 0, 10}, "Negative relIn.", warned("Été: RelIn: -3.000000 < 0")},
    {{100, 100, 10},
     {100, 99, 1},
     "Integrity between relIn and srcLength is bad.",
     warned("Été: RelIn: 100.000000 >= SrcLength: 100.000000",
            "Été: RelIn: 99.000000 + RecLength: 10.000000 > SrcLength: 100.000000")},
    {{100, 60, 50},
     {100, 60, 40},
     "Integrity between recLength and srcLength is bad.",
     warned("Été: RelIn: 60.000000 + RecLength: 50.000000 > SrcLength: 100.000000")},
    {{std::nan(""), 5, 10}, {std::nan(""), 5, 10}},
    {{100, -INFINITY, INFINITY},
     {100, 0, 100},
     "Negative relIn.",
     warned("Été: RelIn: -inf < 0", "Été: RelIn: 0.000000 + RecLength: inf > SrcLength: 100.000000")},
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

TEST(TimeIntegrity, IsWarnedAboutAndRepairedUnlessItIsSwitchedOff)
{
    for (const IntegrityCase& c : integrityCases)
    {
        const auto node = source(c.before.srcLength, c.before.relIn, c.before.recLength);
        SCOPED_TRACE(testing::Message() << c.before.srcLength << ' ' << c.before.relIn << ' ' << c.before.recLength);
        node->cleanDirty();
        {
            const SwitchedOn off("ZR_NO_SOURCE_TIME_CHECK");
            const ZrTestInHouse inHouse; // no assertion either
            const zrTest::CapturingRouter router;
            ok(node->checkTimeIntegrity());
            const std::vector<std::string> warnings = texts(router);
            ASSERT_EQ(warnings.empty(), c.warnings.empty());
            EXPECT_EQ(warnings.empty() ? "" : warnings[0], c.warnings.empty() ? "" : c.warnings[0]);
            expectTimes(*node, c.before);
            EXPECT_FALSE(node->isDirty());
        }
        if (c.assertion)
        {
            EXPECT_IN_HOUSE_DEATH(static_cast<void>(node->checkTimeIntegrity()),
                                  literally("( !\"" + std::string(c.assertion) + "\" )"));
        }
        const zrTest::CapturingRouter router;
        ok(node->checkTimeIntegrity());
        EXPECT_EQ(texts(router), c.warnings);
        expectTimes(*node, c.after);
    }
}

TEST(TimeIntegrity, IsLookedAtWithoutMendingAndMendedInSilence)
{
    for (const IntegrityCase& c : integrityCases)
    {
        const auto node = source(c.before.srcLength, c.before.relIn, c.before.recLength);
        SCOPED_TRACE(testing::Message() << c.before.srcLength << ' ' << c.before.relIn << ' ' << c.before.recLength);
        const ZrTestInHouse inHouse; // an assertion would stop it
        const zrTest::CapturingRouter router;
        std::vector<std::string> found;
        for (const DmTimeFault& fault : std::as_const(*node).findTimeFaults())
            found.push_back("Été: " + fault.text());
        EXPECT_EQ(found, c.warnings);
        expectTimes(*node, c.before);
        ok(node->repairTimes());
        expectTimes(*node, c.after);
        EXPECT_TRUE(node->findTimeFaults().empty());
        EXPECT_TRUE(router.messages.empty());
    }
    // What can be repaired is, whatever cannot.
    const auto half = source(-5, 7, 10);
    half->getSrcInput()->freeze();
    EXPECT_EQ(half->repairTimes(), DM_CANNOT_LOCK);
    EXPECT_EQ(half->getRelIn(), 0);
    EXPECT_TRUE(DmSourceNode::create(nullptr, 0, 10, -5, false, false)->findTimeFaults().empty());

    // Of a tree: those in containers, each once, with where they stand and when.
    const auto inside = DmCompositionNode::create(L"inside", L"25 fps", nullptr);
    ok(inside->setStartTC(90000, L"25 fps"));
    DmTrackBuilder shots(1, DM_MEDIA_VIDEO);
    ok(shots.append(source(100, 60, 50)));
    ok(shots.addTo(*inside));
    const auto root = DmRoot::create();
    root->addChild(inside);
    root->addChild(inside);
    const std::vector<DmFaultySource> faulty = DmTreeTool::findTimeFaults(root);
    ASSERT_EQ(faulty.size(), 1U);
    EXPECT_EQ(faulty[0].path, "children[0]/children[0]/children[0]/children[0]");
    EXPECT_EQ(faulty[0].record, "01:00:00:00");
    EXPECT_EQ(faulty[0].faults.size(), 1U);
    ok(DmTreeTool::repairTimes(root));
    EXPECT_TRUE(DmTreeTool::findTimeFaults(root).empty());
    ok(DmTreeTool::repairTimes(nullptr));
}

TEST(TimeIntegrity, LeavesASourceWithoutInputAloneAndTellsOfARefusedRepair)
{
    const auto node = DmSourceNode::create(nullptr, 0, 10, -5, false, false);
    EXPECT_EQ(node->getMediaType(), DM_MEDIA_UNDEFINED);
    ok(node->checkTimeIntegrity());
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
        double frames;
        const char* warning = nullptr;
        const char* assertion = nullptr;
        DM::FrameCodeModes defaultFcm = DM::FCM_NOT_DEFINED;
    } cases[] = {
        {5, L"01:00:00:00", L"25 fps", 5},
        {0, L"-00:00:01:00", L"25 fps", -25},
        {0, L"", L"???", 0},
        {0, L"00:00:00:00", L"???", 0, "Invalid src in fps (??\?) for source 'Été'"},
        {0, L"01:00:00:00", L"nö", 0, "Invalid src in fps (nö) for source 'Été'", "srcInFcm != FCM_NOT_DEFINED"},
        {0, L"01:00:00:00", L"", 90000, "Invalid src in fps () for source 'Été'", "srcInFcm != FCM_NOT_DEFINED",
         DM::FCM_25},
        {0, L"01:00:00:25", L"25 fps", 0, "Invalid timecode (01:00:00:25) for source 'Été'"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.label << ' ' << c.fcm);
        const DefaultFcm mode(c.defaultFcm);
        const auto input = MediaInput::create(100, c.srcIn, nullptr, c.fcm, DM_MEDIA_VIDEO, true);
        ok(input->setName(L"Été"));
        ok(input->setSrcInStr(c.label));
        if (c.assertion)
        {
            EXPECT_IN_HOUSE_DEATH(input->getTapeSrcIn(), c.assertion);
        }
        const zrTest::CapturingRouter router;
        EXPECT_EQ(input->getTapeSrcIn(), c.frames);
        EXPECT_EQ(texts(router), c.warning ? warned(c.warning) : std::vector<std::string>());
    }
}

TEST(SourceIn, IsGivenInTheModeOfTheMaterial)
{
    const ZrTestEnv noDefault("ZR_DEFAULT_FCM", nullptr);
    const struct
    {
        double srcIn;
        const wchar_t* srcInFcm;
        const wchar_t* srcFcm;
        double expected;
        DM::FrameCodeModes defaultFcm = DM::FCM_NOT_DEFINED;
        const wchar_t* varicamFcm = nullptr; ///< of a camera's source
        const char* posted = nullptr;
    } cases[] = {
        // The same clock time in the other mode.
        {100, L"25 fps", L"25 fps", 100},
        {100, L"25 fps", L"50 fps", 200},
        {1001, L"24 fps", L"23.976 fps", 1000},
        {1800, L"29.97 fps DF", L"29.97 fps NDF", 1800},
        // A mode that is not defined is the default mode.
        {100, L"???", L"25 fps", 100},
        {100, L"25 fps", L"", 100},
        {100, L"", L"25 fps", 50, DM::FCM_50},
        {100, L"25 fps", L"", 200, DM::FCM_50},
        // A camera's labels at 60 stand for frames at 30.
        {3601, L"59.94 fps NDF", L"29.97 fps NDF", 1800, DM::FCM_NOT_DEFINED, L"59.94 fps NDF"},
        {3601, L"59.94 fps NDF", L"29.97 fps NDF", 1800, DM::FCM_NOT_DEFINED, L""},
        {3601, L"59.94 fps NDF", L"29.97 fps NDF", 1800.5},
        {1800, L"29.97 fps NDF", L"29.97 fps NDF", 1800, DM::FCM_NOT_DEFINED, L"29.97 fps NDF"},
        // One second and three frames of a tape of 30 are one second and two frames at 24.
        {33, L"23.976 fps", L"23.976 fps", 26, DM::FCM_NOT_DEFINED, L"23.976 fps"},
        {33, L"24 fps", L"23.976 fps", 26, DM::FCM_NOT_DEFINED, L"24 fps"},
        {100, L"", L"25 fps", 100, DM::FCM_NOT_DEFINED, L""},
        {100, L"25 fps", L"50 fps", 200, DM::FCM_NOT_DEFINED, L"", "EdlTCToVaricam: Unsupported fcm 25"},
    };
    for (const auto& c : cases)
        for (const bool byType : {true, false})
        {
            const DefaultFcm mode(c.defaultFcm);
            const auto info = DmSourceInfo::create();
            ok(info->setSourceType(c.varicamFcm && byType ? DmSourceInfo::Varicam : DmSourceInfo::Reel));
            ok(info->setVaricamCaptureMode(c.varicamFcm && !byType));
            ok(info->setVaricamFcm(c.varicamFcm ? c.varicamFcm : L"59.94 fps NDF"));
            const auto input = MediaInput::create(100, c.srcIn, info, c.srcInFcm, DM_MEDIA_VIDEO, true);
            ok(input->setFcm(c.srcFcm));
            const zrTest::CapturingRouter router;
            EXPECT_EQ(input->getSrcIn(), c.expected) << c.srcIn << ' ' << c.srcInFcm << ' ' << c.srcFcm;
            EXPECT_EQ(router.messages.empty() ? "" : router.messages[0].text(), c.posted ? c.posted : "");
            const SwitchedOn off("ZR_DISABLE_TCC");
            EXPECT_EQ(input->getSrcIn(), c.srcIn);
        }
}

TEST(SourceInput, CopiesTheInfoThatItIsGiven)
{
    const auto info = DmSourceInfo::create();
    const auto input = MediaInput::create(250, 10, info, L"25 fps", DM_MEDIA_AUDIO, true);
    EXPECT_TRUE(input->hasMedia());
    ASSERT_TRUE(input->getSrcInfo());
    EXPECT_NE(input->getSrcInfo(), info.get());
    ok(input->setSrcInfo(nullptr));
    EXPECT_EQ(input->getSrcInfo(), nullptr);
    const auto derived = DmSourceNode::DerivedInput::create();
    ok(derived->setSrcInfo(info));
    EXPECT_NE(derived->getSrcInfo(), info.get());
    EXPECT_EQ(DmSourceNode::RelinkedInput::create()->getSrcInfo(), nullptr);

    // Its media type is the source's, whatever the last argument.
    const auto node = DmSourceNode::create(input, 1, 2, 3, true, true);
    EXPECT_EQ(node->getMediaType(), DM_MEDIA_AUDIO);
    EXPECT_TRUE(node->isMultiChannel());
}

TEST(SourceInfo, HasATextForEveryType)
{
    const char* const expected[] = {"Unknown", "Unknown", "Reel",         "Varicam", "Spirit",
                                    "File",    "Files",   "FileSequence", "Module",  "Unknown"};
    for (int i = 0; i < 10; ++i)
        EXPECT_STREQ(DmSourceInfo::getSourceTypeStr(static_cast<DmSourceInfo::SourceType>(i - 1)), expected[i]);

    // Its own strings as the new ones.
    const auto info = DmSourceInfo::create();
    ok(info->addFile(L"a"));
    ok(info->setFileList(info->getFileList()));
    EXPECT_EQ(info->getFileList(), std::vector<DmString>{L"a"});
}
