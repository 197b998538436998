#include "dmAnimationChannel.h"
#include "effectTools.h"

#include <limits>

TEST(KeyFrame, Create2FillsEveryFieldAndIgnoresTheGapsBetweenTheFlags)
{
    const struct
    {
        unsigned flags;
        bool breakVel, autoRight, autoLeft, breakValue, plateau;
    } cases[] = {{0, false, false, false, false, false},    {0x187, true, true, true, true, true},
                 {0x78, false, false, false, false, false}, {0xFFFFFE78, false, false, false, false, false},
                 {0x1, true, false, false, false, false},   {0x2, false, true, false, false, false},
                 {0x4, false, false, true, false, false},   {0x80, false, false, false, true, false},
                 {0x100, false, false, false, false, true}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.flags);
        const auto key =
            DmKeyFrame::create2(1, 2, DmKeyFrame::InterpMode{3}, DmKeyFrame::InterpOrder{4}, 5, 6, 7, 8, c.flags);
        ASSERT_TRUE(key);
        EXPECT_EQ(key->getFrame(), 1);
        EXPECT_EQ(key->getValue(), 2);
        EXPECT_EQ(key->getInterpMode(), 3);
        EXPECT_EQ(key->getInterpOrder(), 4);
        EXPECT_EQ(key->getRightHandleDX(), 5);
        EXPECT_EQ(key->getRightHandleDY(), 6);
        EXPECT_EQ(key->getLeftHandleDX(), 7);
        EXPECT_EQ(key->getLeftHandleDY(), 8);
        EXPECT_EQ(key->getBreakVel(), c.breakVel);
        EXPECT_EQ(key->getAutoRightVel(), c.autoRight);
        EXPECT_EQ(key->getAutoLeftVel(), c.autoLeft);
        EXPECT_EQ(key->getBreakValue(), c.breakValue);
        EXPECT_EQ(key->getPlateauVel(), c.plateau);
        EXPECT_TRUE(key->isDirty());
    }
    EXPECT_EQ(DmKeyFrame::getCurrentVersion(), 2.0F);
}

TEST(KeyFrame, SettersReachTheirOwnPropertyAndTellListeners)
{
    const auto key = DmKeyFrame::create();
    ChangeLog log(*key);
    EXPECT_EQ(key->setFrame(1), DM_NO_ERROR);
    EXPECT_EQ(key->setValue(2), DM_NO_ERROR);
    EXPECT_EQ(key->setInterpMode(DmKeyFrame::InterpMode{3}), DM_NO_ERROR);
    EXPECT_EQ(key->setInterpOrder(DmKeyFrame::InterpOrder{4}), DM_NO_ERROR);
    EXPECT_EQ(key->setRightHandleDX(5), DM_NO_ERROR);
    EXPECT_EQ(key->setRightHandleDY(6), DM_NO_ERROR);
    EXPECT_EQ(key->setLeftHandleDX(7), DM_NO_ERROR);
    EXPECT_EQ(key->setLeftHandleDY(8), DM_NO_ERROR);
    EXPECT_EQ(key->setBreakVel(true), DM_NO_ERROR);
    EXPECT_EQ(key->setAutoRightVel(false), DM_NO_ERROR);
    EXPECT_EQ(key->setAutoLeftVel(false), DM_NO_ERROR);
    EXPECT_EQ(key->setBreakValue(true), DM_NO_ERROR);
    EXPECT_EQ(key->setPlateauVel(true), DM_NO_ERROR);
    const std::vector<std::wstring> expected{
        L"frame",       L"value",       L"interpMode", L"interpOrder",       L"rightHandleX",     L"rightHandleY",
        L"leftHandleX", L"leftHandleY", L"breakVel",   L"autoRightVelocity", L"autoLeftVelocity", L"breakValue",
        L"autoPlateau"};
    EXPECT_EQ(log.changes, expected);
    const auto other =
        DmKeyFrame::create2(1, 2, DmKeyFrame::InterpMode{3}, DmKeyFrame::InterpOrder{4}, 5, 6, 7, 8,
                            DmKeyFrame::BreakVelocityFlag | DmKeyFrame::BreakValueFlag | DmKeyFrame::AutoPlateauFlag);
    EXPECT_EQ(difference(*key, *other), "");
}

TEST(AnimationChannel, KeepsKeyFramesInTheOrderInWhichTheyWereAdded)
{
    const auto channel = DmAnimationChannel::create();
    EXPECT_EQ(channel->getVersion(), DmKeyFrame::DM_KEY_VERSION_1);
    ChangeLog log(*channel);
    const float frames[] = {10, 5, 10, std::numeric_limits<float>::quiet_NaN()};
    for (const float frame : frames)
        EXPECT_EQ(channel->addKeyFrame(key(frame)), DM_NO_ERROR);
    EXPECT_EQ(log.changes.size(), 4U);
    EXPECT_EQ(channel->addKeyFrame(nullptr), DM_BAD_VALUE);

    ASSERT_EQ(channel->getNbKeyFrames(), 4);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(channel->getKeyFrame(i)->getFrame(), frames[i]);
    for (const int absent : {-1, 4, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        EXPECT_FALSE(channel->getKeyFrame(absent)) << absent;
}

TEST(AnimationChannel, StoredValueIsThatOfTheKeyAtTheFrameElseTheConstant)
{
    const auto channel = DmAnimationChannel::create({}, {}, DmKeyFrame::DM_KEY_VERSION_2, 0.5F);
    EXPECT_EQ(channel->storedValueAt(5), 0.5F);
    const DmPropertySetPtr null;
    EXPECT_EQ(channel->addValueInPropertyList(DmAnimationChannel::KeyFrameList, DM_VECTOR_PROPERTY_SET, &null),
              DM_NO_ERROR);
    for (const float frame : {std::numeric_limits<float>::quiet_NaN(), 5.0F, 7.0F})
        EXPECT_EQ(channel->addKeyFrame(key(frame)), DM_NO_ERROR);
    EXPECT_EQ(channel->storedValueAt(5), 50);
    EXPECT_EQ(channel->storedValueAt(6), 0.5F);
    EXPECT_EQ(channel->storedValueAt(std::numeric_limits<float>::quiet_NaN()), 0.5F);
    EXPECT_FALSE(channel->getKeyFrame(0));
}

TEST(AnimationChannel, CopiesAndAssignmentsShareNoKeyFrame)
{
    const auto channel = DmAnimationChannel::create(DmAnimationChannel::DeprecatedInterpType{4},
                                                    DmAnimationChannel::ExtrapolationType{3}, 2, 0.5F);
    EXPECT_EQ(channel->setName(L"gain"), DM_NO_ERROR);
    EXPECT_EQ(channel->addKeyFrame(key(5)), DM_NO_ERROR);
    channel->setNeedsKeyOnEmptyChannels(false);
    channel->setDefaultKeyFrameFrame(12);

    const CoSharedPtr<DmAnimationChannel> assigned = DmAnimationChannel::create();
    EXPECT_EQ(assigned->addKeyFrame(key(1)), DM_NO_ERROR);
    *assigned = *channel;
    const CoSharedPtr<DmAnimationChannel> cloned = staticPointerCast<DmAnimationChannel>(channel->clone());
    for (const auto& copy : {assigned, cloned})
    {
        EXPECT_EQ(difference(*channel, *copy), "");
        EXPECT_TRUE(heldByBoth(*channel, *copy).empty());
        EXPECT_FALSE(copy->needsKeyOnEmptyChannels());
        EXPECT_EQ(copy->getDefaultKeyFrameFrame(), 12);
        EXPECT_EQ(copy->getKeyFrame(0)->setValue(1), DM_NO_ERROR);
        EXPECT_EQ(copy->addKeyFrame(key(9)), DM_NO_ERROR);
    }
    EXPECT_EQ(channel->getNbKeyFrames(), 1);
    EXPECT_EQ(channel->getKeyFrame(0)->getValue(), 50);
    *assigned = *DmAnimationChannel::create(); // what it held is released
    EXPECT_EQ(assigned->getNbKeyFrames(), 0);
}

TEST(Channel, SlotsRefuseOtherClasses)
{
    const auto channel = DmAnimationChannel::create();
    const DmPropertySetPtr notAKey = stored(DmSimpleChannel::create(L"1"));
    EXPECT_EQ(channel->addValueInPropertyList(DmAnimationChannel::KeyFrameList, DM_VECTOR_PROPERTY_SET, &notAKey),
              DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(channel->getNbKeyFrames(), 0);
}
