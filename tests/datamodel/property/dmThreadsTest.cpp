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
    std::vector<std::uint64_t> ids(std::size_t{threads} * rounds * 2);
    const auto work = [&](int thread)
    {
        for (int i = thread * rounds; i < (thread + 1) * rounds; ++i)
        {
            const auto every = TestEvery::create();
            const auto optional = TestOptional::create();
            const auto point = TestPoint::create();
            const DmPropertySetPtr held = point;
            const std::int32_t value = i;
            DmPropertySetPtr copy;
            for (const eDmErrorId status :
                 {point->setX(i), optional->ownShared()->setX(i),
                  every->setPropertyValue(L"point", DM_PROPERTY_SET, &held),
                  every->setPropertyValueFromStr(L"string", L""), common->setPropertyValue(L"int", DM_INT, &value),
                  dmDeepCopy(*every, copy), every->getNodeId().back(ids[2 * i]),
                  copy->getNodeId().back(ids[2 * i + 1])})
                ASSERT_EQ(status, DM_NO_ERROR);
        }
    };
    {
        std::vector<std::jthread> running;
        running.reserve(threads);
        for (int thread = 0; thread < threads; ++thread)
            running.emplace_back(work, thread);
    }
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end()) << "an id given twice";
}
