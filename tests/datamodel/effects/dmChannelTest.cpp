#include "effectTools.h"

namespace
{

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr DmKeyFrame::InterpMode mode{3};
constexpr DmKeyFrame::InterpOrder order{4};

} // namespace

TEST(KeyFrame, Create2FillsEveryFieldAndIgnoresTheGapsBetweenTheFlags)
{
    const struct
    {
        unsigned flags;
        bool breakVel, autoRight, autoLeft, breakValue, plateau;
    } cases[] = {{0, false, false, false, false, false},          {0x187, true, true, true, true, true},
                 {0xFFFFFE78, false, false, false, false, false}, {0x1, true, false, false, false, false},
                 {0x2, false, true, false, false, false},         {0x4, false, false, true, false, false},
                 {0x80, false, false, false, true, false},        {0x100, false, false, false, false, true}};
    for (const auto& c : cases)
    {
        const auto key = DmKeyFrame::create2(1, 2, mode, order, 5, 6, 7, 8, c.flags);
        ASSERT_TRUE(key);
        EXPECT_EQ(std::tuple(key->getFrame(), key->getValue(), key->getInterpMode(), key->getInterpOrder(),
                             key->getRightHandleDX(), key->getRightHandleDY(), key->getLeftHandleDX(),
                             key->getLeftHandleDY()),
                  std::tuple(1, 2, mode, order, 5, 6, 7, 8));
        EXPECT_EQ(std::tuple(key->getBreakVel(), key->getAutoRightVel(), key->getAutoLeftVel(), key->getBreakValue(),
                             key->getPlateauVel()),
                  std::tuple(c.breakVel, c.autoRight, c.autoLeft, c.breakValue, c.plateau))
            << c.flags;
        EXPECT_TRUE(key->isDirty());
    }
}

TEST(AnimationChannel, KeepsKeyFramesInTheOrderInWhichTheyWereAdded)
{
    const auto channel = DmAnimationChannel::create();
    ChangeLog log(*channel);
    const float frames[] = {10, 5, 10, notANumber};
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
    const DmPropertySetPtr null;
    EXPECT_EQ(channel->addValueInPropertyList(DmAnimationChannel::KeyFrameList, DM_VECTOR_PROPERTY_SET, &null),
              DM_NO_ERROR);
    for (const float frame : {notANumber, 5.0F, 7.0F})
        EXPECT_EQ(channel->addKeyFrame(key(frame)), DM_NO_ERROR);
    EXPECT_EQ(channel->storedValueAt(5), 50);
    EXPECT_EQ(channel->storedValueAt(6), 0.5F);
    EXPECT_EQ(channel->storedValueAt(notANumber), 0.5F);
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
    for (const auto& copy : {assigned, staticPointerCast<DmAnimationChannel>(channel->clone())})
    {
        EXPECT_EQ(difference(*channel, *copy), "");
        EXPECT_TRUE(heldByBoth(*channel, *copy).empty());
        EXPECT_FALSE(copy->needsKeyOnEmptyChannels());
        EXPECT_EQ(copy->getDefaultKeyFrameFrame(), 12);
    }
}
