#include "testSets.h"
#include "zrTest.h"
#include "zrThreads.h"

namespace
{

/// One way to change a collection, and how many elements it adds when it succeeds; `resets` where that depends.
struct Mutator
{
    const char* name;
    std::function<eDmErrorId(TestEvery&)> change;
    int adds;
    bool resets = false;
};

/// Each mutator against each, two threads on one collection: every answer is a success or one of `refusals`, and the
/// elements are as many as the answers say.
void holdAgainstEachOther(const std::vector<Mutator>& mutators, const std::vector<eDmErrorId>& refusals,
                          const std::function<int(const TestEvery&)>& sizeOf)
{
    constexpr int rounds = 200;
    for (const Mutator& a : mutators)
        for (const Mutator& b : mutators)
        {
            const auto set = TestEvery::create();
            std::atomic<int> expected{0};
            std::atomic<int> strange{0};
            runOn(2,
                  [&](int thread)
                  {
                      const Mutator& mutator = thread == 0 ? a : b;
                      for (int i = 0; i < rounds; ++i)
                      {
                          const eDmErrorId status = mutator.change(*set);
                          if (status == DM_NO_ERROR)
                              expected += mutator.adds;
                          else if (std::find(refusals.begin(), refusals.end(), status) == refusals.end())
                              ++strange;
                      }
                  });
            EXPECT_EQ(strange, 0) << a.name << " against " << b.name;
            if (!a.resets && !b.resets)
            {
                EXPECT_EQ(sizeOf(*set), expected) << a.name << " against " << b.name;
            }
            DmPropertySetPtr copy;
            EXPECT_EQ(dmDeepCopy(*set, copy), DM_NO_ERROR) << a.name << " against " << b.name;
        }
}

} // namespace

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
    runOn(threads, work);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end()) << "an id given twice";
}

TEST(PropertySetThreads, ChangeOneVectorInEveryWay)
{
    const auto table = []<class T>(const wchar_t* name, eDmPropType type, const T& value)
    {
        const std::vector<T> whole{value, value};
        const auto size = [=](const TestEvery& set)
        {
            int count = -1;
            EXPECT_EQ(set.getListSize(name, type, count), DM_NO_ERROR);
            return count;
        };
        holdAgainstEachOther(
            {{"append", [=](TestEvery& set) { return set.addValueInPropertyList(name, type, &value); }, 1},
             {"insert", [=](TestEvery& set) { return set.insertValueInPropertyList(name, type, 0, &value); }, 1},
             {"insert at 3", [=](TestEvery& set) { return set.insertValueInPropertyList(name, type, 3, &value); }, 1},
             {"replace", [=](TestEvery& set) { return set.setValueFromPropertyList(name, type, 0, &value); }, 0},
             {"remove", [=](TestEvery& set) { return set.removeValueFromPropertyList(name, type, 0); }, -1},
             {"clear", [=](TestEvery& set) { return set.clearList(name, type); }, 0, true},
             {"set whole", [=](TestEvery& set) { return set.setPropertyList(name, type, &whole); }, 0, true}},
            {DM_BAD_INDEX}, size);
    };
    table(L"ints", DM_VECTOR_INT, std::int32_t{7});
    table(L"strings", DM_VECTOR_STRING, DmString(L"text"));
    table(L"points", DM_VECTOR_PROPERTY_SET, stored(TestPoint::create()));
}

TEST(PropertySetThreads, ChangeOneMapInEveryWay)
{
    constexpr eDmPropType type = DM_MAP_PROPERTY_SET;
    const DmString name(L"pointMap");
    const DmString key(L"key");
    const DmPropertySetPtr entry = stored(TestPoint::create());
    holdAgainstEachOther(
        {{"add", [&](TestEvery& set) { return set.addValueInPropertyMap(name, type, key, &entry); }, 1},
         {"set", [&](TestEvery& set) { return set.setValueFromPropertyMap(name, type, key, &entry); }, 0, true},
         {"remove", [&](TestEvery& set) { return set.removeValueFromPropertyMap(name, type, key); }, -1},
         {"clear", [&](TestEvery& set) { return set.clearMap(name, type); }, 0, true}},
        {DM_BAD_INDEX, DM_PROPERTY_ALREADY_EXIST},
        [&](const TestEvery& set)
        {
            int count = -1;
            EXPECT_EQ(set.getMapSize(name, type, count), DM_NO_ERROR);
            return count;
        });
}

TEST(PropertySetThreads, ChangeSingleValuesOfOneObject)
{
    const auto set = TestEvery::create();
    const DmString texts[] = {L"a text", L"another, longer text"};
    const DmPropertySetPtr points[] = {stored(TestPoint::create()), DmPropertySetPtr()};
    runOn(4,
          [&](int thread)
          {
              for (std::int32_t i = 0; i < 500; ++i)
                  for (const eDmErrorId status :
                       {set->setPropertyValue(L"int", DM_INT, &i),
                        set->setPropertyValue(L"string", DM_STRING, &texts[(i + thread) % 2]),
                        set->setPropertyValue(L"point", DM_PROPERTY_SET, &points[(i + thread) % 2])})
                      ASSERT_EQ(status, DM_NO_ERROR);
          });
    DmString read;
    EXPECT_EQ(set->getPropertyValue(L"string", DM_STRING, &read), DM_NO_ERROR);
    EXPECT_TRUE(read == texts[0] || read == texts[1]);
}

TEST(PropertySetThreads, TellListenersThatComeAndGo)
{
    class Counter : public DmPropertyListener
    {
    public:
        void onPropertyChanged(const DmNodeId&, eDmPropType, const DmString&) override { ++heard; }
        std::atomic<int> heard{0};
    };
    constexpr int rounds = 1000;
    const auto set = TestEvery::create();
    std::array<Counter, 10> listeners; // more than are written down without memory
    Counter& always = listeners[0];
    ASSERT_EQ(set->registerListener(&always), DM_NO_ERROR);
    runOn(4,
          [&](int thread)
          {
              for (std::int32_t i = 0; i < rounds; ++i)
                  if (thread == 0)
                      ASSERT_EQ(set->setPropertyValue(L"int", DM_INT, &i), DM_NO_ERROR);
                  else if (thread == 1)
                      set->notify(set->getNodeId(), DM_INT, L"int");
                  else // each with listeners of its own
                      for (std::size_t k = static_cast<std::size_t>(thread) - 1; k < listeners.size(); k += 2)
                          ASSERT_EQ(i % 2 == 0 ? set->registerListener(&listeners[k])
                                               : set->unregisterListener(&listeners[k]),
                                    DM_NO_ERROR);
          });
    EXPECT_EQ(always.heard, 2 * rounds);
    EXPECT_EQ(set->unregisterListener(&always), DM_NO_ERROR);
}

TEST(PropertySetThreads, StoreNothingOnceAFreezeHasReturned)
{
    for (int round = 0; round < 50; ++round)
    {
        const auto top = TestEvery::create();
        const auto held = TestPoint::create();
        const DmPropertySetPtr point = stored(held);
        ASSERT_EQ(top->setPropertyValue(L"point", DM_PROPERTY_SET, &point), DM_NO_ERROR);
        std::atomic<bool> isFrozen{false};
        runOn(3,
              [&](int thread)
              {
                  if (thread == 0)
                  {
                      top->freeze();
                      isFrozen = true;
                      return;
                  }
                  for (std::int32_t i = 0; i < 2000; ++i)
                  {
                      const bool before = isFrozen;
                      const eDmErrorId below = held->setX(i);
                      const eDmErrorId above = top->addValueInPropertyList(L"ints", DM_VECTOR_INT, &i);
                      if (before)
                      {
                          ASSERT_TRUE(below == DM_CANNOT_LOCK && above == DM_CANNOT_LOCK);
                          return;
                      }
                  }
              });
        EXPECT_EQ(held->setX(-1), DM_CANNOT_LOCK);
        EXPECT_GE(held->getX(), 0);
    }
}

TEST(PropertySetThreads, ReturnFromFreezingASharedPartWhenAllOfItIsConstant)
{
    for (int round = 0; round < 50; ++round)
    {
        const CoSharedPtr<TestOptional> tops[] = {TestOptional::create(), TestOptional::create()};
        const auto shared = TestOptional::create();
        const auto below = TestPoint::create();
        const DmPropertySetPtr part = shared;
        const DmPropertySetPtr point = below;
        ASSERT_EQ(shared->addValueInPropertyList(TestOptional::Anything, DM_VECTOR_PROPERTY_SET, &point), DM_NO_ERROR);
        for (const auto& top : tops)
            ASSERT_EQ(top->addValueInPropertyList(TestOptional::Anything, DM_VECTOR_PROPERTY_SET, &part), DM_NO_ERROR);
        runOn(2,
              [&](int thread)
              {
                  tops[thread]->freeze();
                  EXPECT_EQ(below->setX(1), DM_CANNOT_LOCK);
              });
    }
}
