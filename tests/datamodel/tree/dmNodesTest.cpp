#include "dmBatchFxNode.h"
#include "dmBlobNode.h"
#include "dmContainerNode.h"
#include "dmCutNode.h"
#include "dmEffectLayer.h"
#include "dmGapNode.h"
#include "dmLayerNode.h"
#include "dmRoot.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmTrackNode.h"
#include "dmTrxEffectNode.h"
#include "treeTools.h"

#include "zrCapturingRouter.h"
#include "zrTestEnv.h"
#include "zrTestInHouse.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

CoSharedPtr<DmEffectSettings> someEffect()
{
    return DmEffectLayer::create();
}

CoSharedPtr<DmLayerNode> layer(eDmTreeMediaType type)
{
    return DmLayerNode::create(0, type, 0, false);
}

} // namespace

TEST(Collection, CountsItsChildrenAndRefusesWhatIsNotThere)
{
    const auto reel = DmReelNode::create();
    EXPECT_EQ(reel->addChild(DmBlobNode::create()), 1);
    EXPECT_EQ(reel->addChild(DmGapNode::create()), 2);
    const auto first = DmCutNode::create();
    EXPECT_EQ(reel->insertChild(first, 0), 3);
    EXPECT_EQ(reel->insertChild(DmCutNode::create(), 3), 4) << "at the end";
    EXPECT_EQ(reel->getChild(0), first.get());
    EXPECT_EQ(first->refCount(), 2);

    // What does not exist changes nothing.
    EXPECT_EQ(reel->addChild(nullptr), 4);
    EXPECT_EQ(reel->addChild(CoSharedPtr<DmTreeNode>()), 4);
    for (const int index : {-1, 5, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
    {
        EXPECT_EQ(reel->insertChild(DmCutNode::create(), index), 4) << index;
        EXPECT_EQ(reel->removeChild(index), 4) << index;
        EXPECT_EQ(reel->getChild(index), nullptr) << index;
    }
    EXPECT_EQ(reel->removeChild(4), 4);
    EXPECT_EQ(reel->getChild(4), nullptr);

    EXPECT_EQ(reel->removeChild(0), 3);
    EXPECT_EQ(first->refCount(), 1);
    EXPECT_EQ(reel->getChild(0)->whatIs(), DM_BLOB_NODE);

    // A raw node is taken over; a leaf has no children.
    DmPropertySet* raw = nullptr;
    ASSERT_EQ(DmPropertyFactory::getInstance().createPropertySetInstance(L"DmGapNode", DmNodeId(), 0, raw),
              DM_NO_ERROR);
    EXPECT_EQ(reel->addChild(static_cast<DmGapNode*>(raw)), 4);
    EXPECT_EQ(raw->refCount(), 1);
    EXPECT_EQ(first->getNbChildren(), 0);
    EXPECT_EQ(first->getChild(0), nullptr);
}

TEST(Collection, LeavesAConstantOneAlone)
{
    const auto reel = DmReelNode::create();
    reel->freeze();
    const auto child = DmCutNode::create();
    EXPECT_EQ(reel->addChild(child), 0);
    EXPECT_EQ(child->refCount(), 1);
    const auto marked = layer(DM_MEDIA_VIDEO);
    marked->freeze();
    EXPECT_EQ(marked->addCueMark(DmCueMark::create()), DM_CANNOT_LOCK);
}

TEST(Containment, StopsTheProcessUnlessTheHostOpensTheGate)
{
    const struct
    {
        const char* report; ///< what stops the process; null: nothing does
        const char* cond;   ///< what the host is asked
        CoSharedPtr<DmCollectionNode> parent;
        CoSharedPtr<DmTreeNode> child;
    } cases[] = {
        {nullptr, nullptr, DmCompositionNode::create(), DmTrackNode::create()},
        {nullptr, nullptr, DmTrackNode::create(1, DM_MEDIA_AUDIO), layer(DM_MEDIA_AUDIO)},
        {nullptr, nullptr, layer(DM_MEDIA_VIDEO), DmGapNode::create(DM_MEDIA_VIDEO, 0, 1)},
        {nullptr, nullptr, layer(DM_MEDIA_VIDEO), DmCutNode::create(DM_MEDIA_VIDEO, 0)},
        {nullptr, nullptr, DmRoot::create(), DmBlobNode::create()},
        {"(node->whatIs() == DM_LAYER_NODE) || zrAssertLogFlush()", "node->whatIs() == DM_LAYER_NODE",
         DmTrackNode::create(1, DM_MEDIA_VIDEO), DmGapNode::create(DM_MEDIA_VIDEO, 0, 1)},
        {"(layerNode->getMediaType() == getMediaType()) || zrAssertLogFlush()",
         "layerNode->getMediaType() == getMediaType()", DmTrackNode::create(1, DM_MEDIA_VIDEO), layer(DM_MEDIA_AUDIO)},
        {"(segmentNode->getMediaType() == getMediaType()) || zrAssertLogFlush()",
         "segmentNode->getMediaType() == getMediaType()", layer(DM_MEDIA_AUDIO),
         DmGapNode::create(DM_MEDIA_VIDEO, 0, 1)},
        {"(transitionNode->getMediaType() == getMediaType()) || zrAssertLogFlush()",
         "transitionNode->getMediaType() == getMediaType()", layer(DM_MEDIA_AUDIO),
         DmCutNode::create(DM_MEDIA_VIDEO, 0)},
        {"(\"A layer only contains transition or segment nodes\" == 0) || zrAssertLogFlush()",
         "\"A layer only contains transition or segment nodes\" == 0", layer(DM_MEDIA_VIDEO), DmBatchFxNode::create()},
        {"(\"A layer only contains transition or segment nodes\" == 0) || zrAssertLogFlush()",
         "\"A layer only contains transition or segment nodes\" == 0", layer(DM_MEDIA_VIDEO),
         DmCompositionNode::create()},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.report ? c.report : "allowed");
        if (c.report)
        {
            EXPECT_DEATH(c.parent->addChild(c.child), literally(c.report));
            EXPECT_DEATH(c.parent->insertChild(c.child, 0), literally(c.report));
        }
        OpenGate gate;
        EXPECT_EQ(c.parent->addChild(c.child), 1);
        EXPECT_EQ(c.parent->insertChild(c.child.get(), 0), 2);
        EXPECT_EQ(gate.failed, std::vector<std::string>(c.report ? 2 : 0, c.cond ? c.cond : ""));
        EXPECT_EQ(c.parent->removeChild(0), 1);
    }
}

TEST(Containment, OfACompositionHasNoGate)
{
    const auto composition = DmCompositionNode::create();
    EXPECT_DEATH(
        {
            const OpenGate gate;
            composition->addChild(layer(DM_MEDIA_VIDEO));
        },
        "Assertion `node->whatIs\\(\\) == DM_TRACK_NODE' failed");
    EXPECT_DEATH(composition->insertChild(DmGapNode::create(), 0), "`node->whatIs\\(\\) == DM_TRACK_NODE'");
}

TEST(Containment, LetsDocumentsPutAnyNodeAnywhere)
{
    const auto composition = DmCompositionNode::create();
    const DmPropertySetPtr child = DmGapNode::create();
    EXPECT_EQ(composition->addValueInPropertyList(L"children", DM_VECTOR_PROPERTY_SET, &child), DM_NO_ERROR);
    const DmPropertySetPtr none;
    EXPECT_EQ(composition->addValueInPropertyList(L"children", DM_VECTOR_PROPERTY_SET, &none), DM_NO_ERROR);
    EXPECT_EQ(composition->getNbChildren(), 2);
    EXPECT_EQ(composition->getChild(0), child.get());
    EXPECT_EQ(composition->getChild(1), nullptr);
}

TEST(Creation, SetsWhatItIsGiven)
{
    const auto resolution = DmFrameResolution::create();
    const auto composition = DmCompositionNode::create(L"Été", L"29.97 fps DF", resolution);
    EXPECT_EQ(composition->getName(), L"Été");
    EXPECT_EQ(composition->getFCM(), L"29.97 fps DF");
    EXPECT_EQ(composition->getStartTcFcm(), L"29.97 fps DF");
    EXPECT_EQ(composition->getStartTCStr(), L"00;00;00;00");
    EXPECT_EQ(composition->getResolution(), resolution.get());
    EXPECT_EQ(DmCompositionNode::create(L"", L"", nullptr)->getStartTCStr(), L"");

    const auto track = DmTrackNode::create(3, DM_MEDIA_AUDIO);
    EXPECT_EQ(track->getTrackNum(), 3);
    EXPECT_EQ(track->getMediaType(), DM_MEDIA_AUDIO);
    const auto result = DmLayerNode::create(2, DM_MEDIA_VIDEO, 5, true);
    EXPECT_EQ(result->getLayerNum(), 2);
    EXPECT_EQ(result->getMediaType(), DM_MEDIA_VIDEO);
    EXPECT_EQ(result->getStereoOutputChannel(), 5);
    EXPECT_TRUE(result->isResultLayer());

    const auto container = DmContainerNode::create(composition, DM_MEDIA_VIDEO, 10, 20, 3);
    EXPECT_EQ(container->getComposition(), composition.get());
    EXPECT_EQ(container->getMediaType(), DM_MEDIA_VIDEO);
    EXPECT_EQ(container->getRecIn(), 10);
    EXPECT_EQ(container->getRecOut(), 30);
    EXPECT_EQ(container->getRelIn(), 3);
    const auto effect = someEffect();
    const auto dissolve = DmTrxEffectNode::create(effect, 10, 20, 3);
    EXPECT_EQ(dissolve->getEffect(), effect.get());
    EXPECT_EQ(dissolve->getMediaType(), effect->getMediaType());
    EXPECT_EQ(dissolve->getRecOut(), 30);
    EXPECT_EQ(dissolve->getRelIn(), 3);
    EXPECT_EQ(DmTrxEffectNode::create(nullptr, 0, 0)->getEffect(), nullptr);
    EXPECT_EQ(DmCueMark::create(L"a", 5)->getCueMarkTime(), 5);
    EXPECT_EQ(DmFrameNode::create(7, L"p")->getPath(), L"p");
}

TEST(Clone, OfANodeLosesItsComment)
{
    const auto blob = DmBlobNode::create(L"type", L"data");
    const auto reel = DmReelNode::create();
    ASSERT_EQ(reel->setName(L"reel"), DM_NO_ERROR);
    ASSERT_EQ(reel->setComment(L"mine"), DM_NO_ERROR);
    ASSERT_EQ(reel->setBaseBlob(blob), DM_NO_ERROR);
    reel->addChild(DmBlobNode::create());
    const auto copy = DM::staticPointerCast<DmReelNode>(reel->clone());
    EXPECT_EQ(copy->whatIs(), DM_REEL_NODE);
    EXPECT_EQ(copy->getName(), L"reel");
    EXPECT_EQ(copy->getComment(), L"");
    EXPECT_EQ(copy->getBaseBlob(), blob.get());
    EXPECT_EQ(blob->refCount(), 3);
    // A snapshot: the same children in a list of its own.
    EXPECT_EQ(copy->getChild(0), reel->getChild(0));
    EXPECT_EQ(copy->addChild(DmBlobNode::create()), 2);
    EXPECT_EQ(reel->getNbChildren(), 1);
}

TEST(Clone, OwnsItsMarksEffectsAndRecords)
{
    const auto mark = DmCueMark::create(L"mark", 5);

    const auto composition = DmCompositionNode::create();
    ASSERT_EQ(composition->addCueMark(mark), DM_NO_ERROR);
    ASSERT_EQ(composition->getResolution()->setWidth(1920), DM_NO_ERROR);
    const auto compositionCopy = DM::staticPointerCast<DmCompositionNode>(composition->clone());
    EXPECT_EQ(compositionCopy->getCueMarks().at(0)->getCueMarkName(), L"mark");
    EXPECT_NE(compositionCopy->getCueMarks().at(0), mark.get());
    EXPECT_NE(compositionCopy->getResolution(), composition->getResolution());
    int width = 0;
    compositionCopy->getResolution()->getWidth(width);
    EXPECT_EQ(width, 1920);

    const auto original = layer(DM_MEDIA_VIDEO);
    ASSERT_EQ(original->addCueMark(mark), DM_NO_ERROR);
    EXPECT_EQ(original->addCueMark(nullptr), DM_BAD_VALUE);
    const auto layerCopy = DM::staticPointerCast<DmLayerNode>(original->clone());
    ASSERT_EQ(layerCopy->getCueMarks().count(), 1);
    EXPECT_NE(layerCopy->getCueMarks().at(0), mark.get());

    const auto source = DmSourceNode::create(DmSourceNode::MediaInput::create(), 10, 20, 3, true, true);
    ASSERT_EQ(source->addSegmentMark(mark), DM_NO_ERROR);
    ASSERT_EQ(source->addEffect(someEffect()), DM_NO_ERROR);
    ASSERT_EQ(source->addSrcMultiInput(DmSourceNode::RelinkedInput::create()), DM_NO_ERROR);
    ASSERT_EQ(source->setSegmentId(L"id"), DM_NO_ERROR);
    const auto copy = DM::staticPointerCast<DmSourceNode>(source->clone());
    EXPECT_NE(copy->getSegmentMarks().at(0), mark.get());
    EXPECT_NE(copy->getEffects().at(0), source->getEffects().at(0));
    EXPECT_EQ(copy->getSrcInput(), source->getSrcInput()) << "the material is shared";
    EXPECT_EQ(copy->getSrcMultiInput().at(0), source->getSrcMultiInput().at(0));
    EXPECT_EQ(copy->getSegmentId(), L"id");
    ASSERT_EQ(copy->setRecIn(99), DM_NO_ERROR);
    EXPECT_EQ(source->getRecIn(), 10);
    bool equal = false;
    ASSERT_EQ(copy->setRecIn(10), DM_NO_ERROR);
    ASSERT_EQ(dmDeepEqual(*source, *copy, equal), DM_NO_ERROR);
    EXPECT_TRUE(equal);

    const auto dissolve = DmTrxEffectNode::create(someEffect(), 0, 10);
    EXPECT_NE(DM::staticPointerCast<DmTrxEffectNode>(dissolve->clone())->getEffect(), dissolve->getEffect());
    const auto container = DmContainerNode::create(composition, DM_MEDIA_VIDEO, 0, 10);
    EXPECT_EQ(DM::staticPointerCast<DmContainerNode>(container->clone())->getComposition(), composition.get());
    const auto root = DmRoot::create();
    EXPECT_NE(DM::staticPointerCast<DmRoot>(root->clone())->getIdentification(), root->getIdentification());
}

TEST(SharedDefault, IsNeverHandedOutForChange)
{
    const auto a = DmCompositionNode::create();
    const auto b = DmCompositionNode::create();
    const DmCompositionNode& constant = *a;
    EXPECT_EQ(constant.getResolution(), std::as_const(*b).getResolution()) << "one for all";
    EXPECT_EQ(constant.getResolution(), constant.getAltResolution());

    ASSERT_EQ(a->getResolution()->setWidth(1920), DM_NO_ERROR);
    int width = 0;
    constant.getResolution()->getWidth(width);
    EXPECT_EQ(width, 1920);
    constant.getAltResolution()->getWidth(width);
    EXPECT_EQ(width, 0);
    b->getResolution()->getWidth(width);
    EXPECT_EQ(width, 0);
    EXPECT_EQ(a->getResolution(), constant.getResolution()) << "copied once";
    EXPECT_TRUE(a->isPropertyRelevant(DmCompositionNode::Resolution));
    EXPECT_FALSE(a->isPropertyRelevant(DmCompositionNode::AltResolution));
    EXPECT_FALSE(b->isPropertyRelevant(DmCompositionNode::Resolution)) << "a copy that nobody changed";

    const auto info = DmSourceInfo::create();
    ASSERT_EQ(info->getKkInfo()->setCount(3), DM_NO_ERROR);
    EXPECT_EQ(DmSourceInfo::create()->getKkInfo()->getCount(), 0);
    const auto input = DmSourceNode::MediaInput::create();
    EXPECT_EQ(input->getPrimaryRes(), nullptr);
    ASSERT_EQ(input->getAltRes()->setWidth(1), DM_NO_ERROR);
    ASSERT_EQ(input->getAudioProperties()->setNbChannels(1), DM_NO_ERROR);
    EXPECT_EQ(DmSourceNode::MediaInput::create()->getAudioProperties()->getNbChannels(), 0);

    // A constant object keeps what it has.
    const auto frozen = DmCompositionNode::create();
    frozen->freeze();
    EXPECT_EQ(frozen->getResolution(), std::as_const(*frozen).getResolution());
    EXPECT_EQ(frozen->getResolution()->setWidth(2), DM_CANNOT_LOCK);
}

TEST(StartTimeCode, IsSetInThreeForms)
{
    const struct
    {
        double frames;
        const wchar_t* fcm;
        const wchar_t* label;
        double stored;
    } cases[] = {
        {90000, L"25 fps", L"01:00:00:00", 90000},
        {107892, L"29.97 FPS df", L"01;00;00;00", 107892},
        {-30, L"30 fps", L"-00:00:01:00", -30},
        {1.23456, L"24 fps", L"00:00:00+01", 1.235},
        {90000, L"", L"", 90000},
        {90000, L"26 fps", L"", 90000},
        {1e12, L"24 fps", L"24855:08:05+0", 2147483647}, // 13 characters
        {std::nan(""), L"25 fps", L"00:00:00:00", 0},
    };
    for (const auto& c : cases)
    {
        const auto composition = DmCompositionNode::create();
        EXPECT_EQ(composition->setStartTC(c.frames, c.fcm), DM_NO_ERROR);
        EXPECT_EQ(composition->getStartTcFcm(), c.fcm);
        EXPECT_EQ(composition->getStartTCStr(), c.label) << c.frames;
        double stored = 0;
        EXPECT_EQ(composition->getPropertyValue(L"startTC", DM_DOUBLE, &stored), DM_NO_ERROR);
        EXPECT_DOUBLE_EQ(stored, c.stored) << c.frames;
    }
}

TEST(StartTimeCode, IsReadFromItsLabelWhereTheCountIsNotPositive)
{
    const ZrTestEnv noDefault("ZR_DEFAULT_FCM", nullptr);
    const struct
    {
        double count;
        const wchar_t* label;
        const wchar_t* fcm;
        DM::FrameCodeModes defaultFcm;
        double frames;
        const char* assertion;
    } cases[] = {
        {5, L"01:00:00:00", L"25 fps", DM::FCM_NOT_DEFINED, 5, nullptr},
        {0, L"01:00:00:00", L"25 fps", DM::FCM_NOT_DEFINED, 90000, nullptr},
        {-1, L"01:00:00:00", L"25 FPS", DM::FCM_NOT_DEFINED, 90000, nullptr},
        {0, L"-00:00:01:00", L"25 fps", DM::FCM_NOT_DEFINED, -25, nullptr},
        {0, L"", L"25 fps", DM::FCM_NOT_DEFINED, 0, nullptr},
        {0, L"00:00:00:00", L"???", DM::FCM_NOT_DEFINED, 0, nullptr},
        {0, L"no label", L"", DM::FCM_NOT_DEFINED, 0, nullptr},
        {0, L"01:00:00:00", L"???", DM::FCM_NOT_DEFINED, 0, "startTcFcm != FCM_NOT_DEFINED"},
        {0, L"01:00:00:00", L"", DM::FCM_25, 90000, "startTcFcm != FCM_NOT_DEFINED"},
        {0, L"01:00:61:00", L"25 fps", DM::FCM_NOT_DEFINED, 0, "Invalid timecode"},
        {0, L"01:00:00:25", L"25 fps", DM::FCM_NOT_DEFINED, 0, "Invalid timecode"},
        {0, L"00;01;00;00", L"29.97 fps DF", DM::FCM_NOT_DEFINED, 0, "Invalid timecode"},
        {0, L"9999999999:00:00:00", L"25 fps", DM::FCM_NOT_DEFINED, 2147483647.0 * 90000, nullptr},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.label << ' ' << c.fcm);
        const DefaultFcm mode(c.defaultFcm);
        const auto composition = DmCompositionNode::create();
        ASSERT_EQ(composition->setPropertyValue(L"startTC", DM_DOUBLE, &c.count), DM_NO_ERROR);
        ASSERT_EQ(composition->setStartTCStr(c.label), DM_NO_ERROR);
        ASSERT_EQ(composition->setStartTcFcm(c.fcm), DM_NO_ERROR);
        EXPECT_EQ(composition->getStartTC(), c.frames);
        if (c.assertion)
        {
            EXPECT_IN_HOUSE_DEATH(composition->getStartTC(), c.assertion);
        }
    }
}

TEST(StartTimeCode, WithoutAnyModeAsksTheHostTwice)
{
    const ZrTestEnv noDefault("ZR_DEFAULT_FCM", nullptr);
    const DefaultFcm mode(DM::FCM_NOT_DEFINED);
    if (!ZrTestInHouse::available())
        GTEST_SKIP() << "soft assertions cannot be switched on";
    const auto composition = DmCompositionNode::create();
    ASSERT_EQ(composition->setStartTCStr(L"01:00:00:00"), DM_NO_ERROR);
    const ZrTestInHouse inHouse;
    const OpenGate gate;
    EXPECT_EQ(composition->getStartTC(), 0);
    EXPECT_EQ(gate.failed, (std::vector<std::string>{"startTcFcm != FCM_NOT_DEFINED",
                                                     "TimeUnit::getDefaultFcm() != FCM_NOT_DEFINED"}));
}

TEST(Identification, IsTheRootsOwnUntilOneIsShared)
{
    const auto root = DmRoot::create();
    EXPECT_NE(root->getIdentification(), DmRoot::create()->getIdentification());
    const auto shared = DmIdentification::create();
    EXPECT_EQ(root->setIdentification(shared), DM_NO_ERROR);
    EXPECT_EQ(root->getIdentification(), shared.get());
    EXPECT_EQ(root->setIdentification(shared.get()), DM_NO_ERROR);
    EXPECT_EQ(shared->refCount(), 2);
    const auto reel = DmReelNode::create();
    EXPECT_EQ(root->addReel(reel), 1);
    EXPECT_EQ(root->addReel(reel.get()), 2);
}

TEST(FrameResolution, SetsItsDepthInOne)
{
    const auto resolution = DmFrameResolution::create();
    EXPECT_EQ(resolution->setDepth(16, 3, true, false), DM_NO_ERROR);
    int bits = 0;
    int channels = 0;
    bool isFloat = false;
    bool byteOrder = true;
    resolution->getDepth(bits, channels, isFloat, byteOrder);
    EXPECT_EQ(bits, 16);
    EXPECT_EQ(channels, 3);
    EXPECT_TRUE(isFloat);
    EXPECT_FALSE(byteOrder);
    EXPECT_EQ(resolution->setDepth(8, 1, false, true), DM_NO_ERROR);
    resolution->getDepth(bits, channels, isFloat, byteOrder);
    EXPECT_FALSE(isFloat);
    EXPECT_TRUE(byteOrder);
}

TEST(TreeVisitor, IsTracedOnRequest)
{
    const auto gap = DmGapNode::create();
    ASSERT_EQ(gap->setName(L"Été"), DM_NO_ERROR);
    const zrTest::CapturingRouter router;
    DmTreeVisitor quiet("Quiet");
    gap->accept(quiet);
    const SwitchedOn trace("ZR_DEBUG_DM_TREE_VISITOR");
    DmTreeVisitor traced("Traced");
    gap->accept(traced);
    ASSERT_EQ(router.messages.size(), 1U);
    EXPECT_EQ(router.messages[0].text(), "DmTree VISITOR Traced: Visiting DmGapNode \"Été\"");
}
