#include "testSets.h"

#include "dmSetTools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

TEST(PropertySetThreads, CreateSetAndCopyObjectsOfSeveralClasses)
{
    constexpr int threads = 8;
    constexpr int rounds = 2000;
    const auto common = TestEvery::create();
    std::vector<std::vector<std::uint64_t>> ids(threads);
    const auto work = [&](int thread)
    {
        for (int i = 0; i < rounds; ++i)
        {
            const auto every = TestEvery::create();
            const auto optional = TestOptional::create();
            const auto point = TestPoint::create();
            const DmPropertySetPtr held = point;
            const std::int32_t value = i;
            ASSERT_EQ(point->setX(i), DM_NO_ERROR);
            ASSERT_EQ(optional->getShared()->setX(i), DM_NO_ERROR);
            ASSERT_EQ(every->setPropertyValue(L"point", DM_PROPERTY_SET, &held), DM_NO_ERROR);
            ASSERT_EQ(every->setPropertyValueFromStr(L"string", L""), DM_NO_ERROR);
            ASSERT_EQ(common->setPropertyValue(L"int", DM_INT, &value), DM_NO_ERROR) << "an object of all threads";
            DmPropertySetPtr copy;
            ASSERT_EQ(dmDeepCopy(*every, copy), DM_NO_ERROR);
            for (const DmPropertySet* const set : {static_cast<DmPropertySet*>(every.get()), copy.get()})
            {
                std::uint64_t number = 0;
                ASSERT_EQ(set->getNodeId().back(number), DM_NO_ERROR);
                ids[static_cast<std::size_t>(thread)].push_back(number);
            }
        }
    };
    {
        std::vector<std::jthread> running;
        for (int thread = 0; thread < threads; ++thread)
            running.emplace_back(work, thread);
    }
    std::vector<std::uint64_t> all;
    for (const auto& of : ids)
        all.insert(all.end(), of.begin(), of.end());
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end()) << "an id given twice";
}
