#include "zrCapturingRouter.h"
#include "zrTest.h"

using DM::CoLastErrLogger;
using DM::CoMsg;

namespace
{

TEST(LastError, IsRememberedAndForwarded)
{
    const zrTest::CapturingRouter router;
    CoLastErrLogger logger;
    EXPECT_FALSE(logger.hasError());
    EXPECT_STREQ(logger.lastError(), "");

    logger.postError("no clip '%ls'", L"Été");
    EXPECT_TRUE(logger.hasError());
    EXPECT_STREQ(logger.lastError(), "no clip 'Été'");
    logger.setModule("builder", 12);
    CoMsg::setFilterLevel(CoMsg::UserLevel);
    logger.postError("again");
    CoMsg::setFilterLevel(CoMsg::NoticeLevel);
    EXPECT_STREQ(logger.lastError(), "again");

    ASSERT_EQ(router.messages.size(), 2u) << "the router filters, not the logger";
    EXPECT_EQ(router.messages[0].text(), "no clip 'Été'");
    EXPECT_EQ(router.messages[0].file(), "");
    EXPECT_EQ(router.messages[0].line(), 0);
    const CoMsg::Msg& second = router.messages[1];
    EXPECT_TRUE(second.file() == "builder" && second.line() == 12 && second.family().empty());
    EXPECT_EQ(second.level(), CoMsg::ErrorLevel);

    logger.clearLastError();
    EXPECT_FALSE(logger.hasError());
}

TEST(LastError, SilenceRemembersAndTellsNobody)
{
    const zrTest::CapturingRouter router;
    CoLastErrLogger logger(true);
    EXPECT_TRUE(logger.getSilentMode());
    logger.postError("%s", std::string(3000, 'x').c_str());
    EXPECT_EQ(logger.lastError(), std::string(2047, 'x'));
    EXPECT_TRUE(router.messages.empty());
    logger.setSilentMode(false);
    logger.postError("heard");
    EXPECT_EQ(router.messages.size(), 1u);
    EXPECT_FALSE(CoLastErrLogger().getSilentMode());
}

TEST(LastError, CopiesAreIndependentAndMovesTakeAll)
{
    const zrTest::CapturingRouter router;
    CoLastErrLogger original(true);
    original.postError("first");
    CoLastErrLogger copy = original;
    copy.postError("second");
    EXPECT_STREQ(original.lastError(), "first");
    EXPECT_TRUE(copy.getSilentMode());

    original.assignError(copy);
    EXPECT_STREQ(original.lastError(), "second");
    original.assignError(*&original);
    EXPECT_STREQ(original.lastError(), "second");
    const CoLastErrLogger moved = std::move(copy);
    EXPECT_STREQ(moved.lastError(), "second");
    original = CoLastErrLogger();
    EXPECT_FALSE(original.hasError());
    EXPECT_FALSE(original.getSilentMode());
}

} // namespace
