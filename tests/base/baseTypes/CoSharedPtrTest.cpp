#include "zrTest.h"

#include <unordered_set>

using DM::CoSharedPtr;

namespace
{

struct Base : DM::CoRefCountedMT
{
    explicit Base(int& liveCount)
        : live(liveCount)
    {
        ++live;
    }
    Base(const Base& other)
        : Base(other.live)
    {
    }
    Base& operator=(const Base& other)
    {
        CoRefCountedMT::operator=(other);
        return *this;
    }
    ~Base() override { --live; }

    int& live;
};

struct Derived : Base
{
    using Base::Base;
};

static_assert(std::is_convertible_v<CoSharedPtr<Derived>, CoSharedPtr<Base>>);
static_assert(!std::is_convertible_v<CoSharedPtr<Base>, CoSharedPtr<Derived>>);
static_assert(!std::is_convertible_v<CoSharedPtr<Base>, Base*>);
static_assert(!std::is_convertible_v<Base*, CoSharedPtr<Base>>);
static_assert(sizeof(CoSharedPtr<Base>) == sizeof(void*));

TEST(SharedPtr, WhatLivesForEverIsNotCounted)
{
    int live = 0;
    Derived object(live);
    {
        const CoSharedPtr<Base> counted(&object);
        object.liveForever();
        object.liveForever();
        const CoSharedPtr<Base> uncounted = counted;
        EXPECT_EQ(counted->refCount(), uncounted->refCount());
    }
    EXPECT_TRUE(object.isUncounted() && !object.unref());
    EXPECT_GT(object.refCount(), 1) << "it reads as shared";
    EXPECT_EQ(live, 1);
}

TEST(SharedPtr, TheLastReferenceDeletes)
{
    int live = 0;
    CoSharedPtr<Derived> first(new Derived(live));
    EXPECT_EQ(first->refCount(), 1);
    {
        const CoSharedPtr<Base> second = first;
        EXPECT_EQ(first->refCount(), 2);
        EXPECT_TRUE(second == first);
    }
    EXPECT_EQ(first->refCount(), 1);
    CoSharedPtr<Base> third = std::move(first);
    EXPECT_TRUE(first == nullptr); // NOLINT(bugprone-use-after-move): a moved-from pointer is empty
    EXPECT_EQ(third->refCount(), 1);
    third = *&third;
    EXPECT_EQ(third->refCount(), 1);
    third.reset(new Derived(live));
    EXPECT_EQ(live, 1);
    third = nullptr;
    EXPECT_EQ(live, 0);
}

TEST(SharedPtr, HandsOutWithAndWithoutItsReference)
{
    int live = 0;
    CoSharedPtr<Base> pointer(new Base(live));
    Base* const uncounted = pointer.release();
    EXPECT_FALSE(pointer);
    EXPECT_EQ(uncounted->refCount(), 0);
    pointer.reset(uncounted);

    Base* const counted = pointer.detach();
    EXPECT_EQ(counted->refCount(), 1);
    EXPECT_TRUE(counted->unref());
    delete counted;
    EXPECT_EQ(live, 0);
    EXPECT_EQ(pointer.release(), nullptr);
}

TEST(SharedPtr, ACopiedObjectStartsUncounted)
{
    int live = 0;
    const CoSharedPtr<Base> original(new Base(live));
    original->ref();
    const CoSharedPtr<Base> copy(new Base(*original));
    EXPECT_EQ(copy->refCount(), 1);
    *copy = *original;
    EXPECT_EQ(copy->refCount(), 1);
    EXPECT_FALSE(original->unref());
}

TEST(SharedPtr, CastsShareTheObject)
{
    int live = 0;
    const CoSharedPtr<Base> derived(new Derived(live));
    const CoSharedPtr<Base> base(new Base(live));
    EXPECT_TRUE(DM::dynamicPointerCast<Derived>(derived) == derived);
    EXPECT_TRUE(DM::staticPointerCast<Derived>(derived) == derived);
    EXPECT_TRUE(DM::dynamicPointerCast<Derived>(base) == nullptr);
    EXPECT_EQ(derived->refCount(), 1);
    EXPECT_EQ((std::unordered_set<CoSharedPtr<Base>>{derived, base, derived}.size()), 2u);
}

TEST(SharedPtr, CountsFromManyThreads)
{
    int live = 0;
    CoSharedPtr<Base> shared(new Base(live));
    {
        std::jthread threads[4];
        for (std::jthread& thread : threads)
            thread = std::jthread(
                [mine = shared]
                {
                    for (int turn = 0; turn < 10000; ++turn)
                        CoSharedPtr<Base>(mine).reset();
                });
    }
    EXPECT_EQ(shared->refCount(), 1);
    shared.reset();
    EXPECT_EQ(live, 0);
}

} // namespace
