#include "zrEditCases.h"

using namespace zrEditCases;

namespace
{

void step(DmHistory& history, const wchar_t* name, double time)
{
    DmEdit edit(history.current());
    ASSERT_TRUE(edit.insert({0, 0}, time, five()).ok());
    history.add(name, edit);
}

} // namespace

TEST(History, GoesBackAndForth)
{
    const DmTimeline start = timeline("AAAA|BBBB");
    DmHistory history(start);
    EXPECT_FALSE(history.undo());
    EXPECT_TRUE(history.isSaved());
    step(history, L"one", 0);
    step(history, L"two", 0);
    EXPECT_EQ(dmUtf8(history.undoName()), "two");
    history.markSaved();
    const std::string two = draw(history.current());
    ASSERT_TRUE(history.undo() && history.undo());
    EXPECT_EQ(dmUtf8(history.redoName()), "one");
    EXPECT_TRUE(DmTreeTool::areEqual(history.current().tree().get(), start.tree().get()));
    EXPECT_TRUE(history.current() == start);
    EXPECT_FALSE(history.isSaved());
    ASSERT_TRUE(history.redo() && history.redo());
    EXPECT_EQ(draw(history.current()), two);
    EXPECT_TRUE(history.isSaved());

    // An edit after an undo drops the redo steps, or keeps them as a branch.
    history.undo();
    history.keepBranches(true);
    step(history, L"three", 4);
    EXPECT_FALSE(history.canRedo());
    ASSERT_EQ(history.branchCount(), 1U);
    EXPECT_FALSE(history.takeBranch(1));
    ASSERT_TRUE(history.takeBranch(0));
    EXPECT_EQ(dmUtf8(history.redoName()), "two");
    ASSERT_TRUE(history.redo());
    EXPECT_EQ(draw(history.current()), two);
    EXPECT_EQ(history.branchCount(), 1U) << "what the branch replaced";
}

TEST(History, AnOpenStepBeginsAnewEachTime)
{
    DmHistory history(timeline("AAAA|BBBB", "A0/40 B10/40"));
    history.open(L"Roll");
    for (const double by : {1.0, 2.0, 3.0})
    {
        DmEdit edit(history.start());
        ASSERT_TRUE(edit.roll(at(1), by).ok());
        history.update(edit);
        EXPECT_FALSE(history.canUndo());
    }
    EXPECT_EQ(draw(history.current()), "AAAAAAA|B");
    history.close();
    EXPECT_EQ(history.count(), 1U);
    ASSERT_TRUE(history.undo());
    EXPECT_EQ(draw(history.current()), "AAAA|BBBB");
    history.open(L"Roll");
    DmEdit edit(history.start());
    ASSERT_TRUE(edit.roll(at(1), 1).ok());
    history.update(edit);
    history.abandon();
    EXPECT_EQ(draw(history.current()), "AAAA|BBBB");
    EXPECT_TRUE(history.canRedo()) << "an abandoned step changes nothing";
    history.open(L"Nothing");
    history.close();
    EXPECT_EQ(history.count(), 1U);
}

TEST(History, LimitsDropTheOldest)
{
    DmHistory history(timeline("AAAA"));
    history.setLimit(3);
    for (int i = 0; i < 10; ++i)
        step(history, L"insert", 0);
    EXPECT_EQ(history.count(), 3U);
    while (history.undo())
    {
    }
    EXPECT_EQ(history.current().elementCount({0, 0}), 15);
    history.setLimit(0);
    for (int i = 0; i < 10; ++i)
        step(history, L"insert", 0);
    const std::size_t bytes = history.bytes();
    EXPECT_GT(bytes, 0U);
    history.setByteLimit(bytes / 2);
    EXPECT_LE(history.bytes(), bytes / 2);
    EXPECT_LT(history.count(), 10U);

    // Branches count, and go first; and with the step that they left.
    history.setByteLimit(0);
    history.keepBranches(true);
    ASSERT_TRUE(history.undo());
    const std::size_t count = history.count();
    const std::size_t before = history.bytes();
    step(history, L"another", 0);
    EXPECT_EQ(history.branchCount(), 1U);
    EXPECT_GT(history.bytes(), before);
    history.setByteLimit(before);
    EXPECT_EQ(history.branchCount(), 0U);
    EXPECT_EQ(history.count(), count);
    history.setByteLimit(0);
    ASSERT_TRUE(history.undo());
    step(history, L"a third", 0);
    EXPECT_EQ(history.branchCount(), 1U);
    history.setLimit(1);
    EXPECT_EQ(history.branchCount(), 1U) << "the step that it left is the start now";
    step(history, L"a fourth", 0);
    EXPECT_EQ(history.branchCount(), 0U);
}
