#include "testSets.h"
#include "zrTest.h"

namespace
{

/// What a document says of an object that has nothing unusual.
eDmErrorId storeWhatIsUsual(TestRare& set)
{
    const DmPropertySetPtr same = set.clone();
    for (int i = 0; i < TestRare::PropertyCount; ++i)
    {
        const eDmPropType type = set.classData().at(i)->_type;
        const eDmErrorId status = type == DM_VECTOR_PROPERTY_SET ? set.clearList(i, type)
                                  : type == DM_MAP_PROPERTY_SET  ? set.clearMap(i, type)
                                                                 : set.setPropertyValue(i, type, same->fieldOf(i));
        if (status != DM_NO_ERROR)
            return status;
    }
    return DM_NO_ERROR;
}

} // namespace

TEST(RareBlock, IsSharedUntilAnotherValueIsWritten)
{
    const DmPropertySetPtr point(TestPoint::create());
    const std::function<eDmErrorId(TestRare&)> changes[] = {
        [](TestRare& set) { return set.setNumber(6); },
        [](TestRare& set) { return set.setText(L"unusual"); },
        [&](TestRare& set) { return set.addValueInPropertyList(TestRare::Points, DM_VECTOR_PROPERTY_SET, &point); },
        [&](TestRare& set)
        { return set.insertValueInPropertyList(TestRare::Points, DM_VECTOR_PROPERTY_SET, 0, &point); },
        [&](TestRare& set) { return set.setPropertyValue(TestRare::Shared, DM_PROPERTY_SET, &point); },
        [&](TestRare& set) { return set.addValueInPropertyMap(TestRare::Map, DM_MAP_PROPERTY_SET, L"a", &point); },
        [&](TestRare& set) { return set.setValueFromPropertyMap(TestRare::Map, DM_MAP_PROPERTY_SET, L"a", &point); },
        [](TestRare& set) { return set.setPropertyValueFromStr(L"number", L"7"); },
    };
    const CoSharedPtr<TestRare> untouched = TestRare::create();
    for (const auto& change : changes)
    {
        SCOPED_TRACE(&change - changes);
        const CoSharedPtr<TestRare> set = TestRare::create();
        EXPECT_EQ(set->setOften(1), DM_NO_ERROR);
        EXPECT_EQ(storeWhatIsUsual(*set), DM_NO_ERROR);
        EXPECT_TRUE(!set->hasOwnBlock() && set->isDirty());
        EXPECT_EQ(change(*set), DM_NO_ERROR);
        EXPECT_TRUE(set->hasOwnBlock());

        bool equal = true;
        std::string difference;
        EXPECT_EQ(dmDeepEqual(*set, *untouched, equal, &difference), DM_NO_ERROR);
        EXPECT_FALSE(equal);
        DmPropertySetPtr copy;
        EXPECT_EQ(dmDeepCopy(*set, copy), DM_NO_ERROR);
        for (const DmPropertySetPtr& other : {copy, set->clone()})
        {
            EXPECT_EQ(dmDeepEqual(*set, *other, equal, &difference), DM_NO_ERROR);
            EXPECT_TRUE(equal) << difference;
        }
        EXPECT_FALSE(untouched->hasOwnBlock());
        EXPECT_TRUE(untouched->getNumber() == 5 && untouched->getText() == L"usual" && untouched->pointCount() == 0);
    }
    DmPropertySetPtr copy;
    EXPECT_EQ(dmDeepCopy(*untouched, copy), DM_NO_ERROR);
    EXPECT_FALSE(static_cast<TestRare*>(copy.get())->hasOwnBlock());
}

TEST(RareBlock, OfAConstantStaysShared)
{
    const CoSharedPtr<TestRare> set = TestRare::create();
    set->freeze();
    EXPECT_EQ(set->setNumber(6), DM_CANNOT_LOCK);
    EXPECT_TRUE(!set->hasOwnBlock() && set->getNumber() == 5);
    const auto* const base = static_cast<const char*>(set->getBase(TestRare::Number));
    EXPECT_EQ(base + set->classData().at(TestRare::Number)->_offset, set->fieldOf(TestRare::Number));
}

TEST(RareBlockThreads, ReadsOneFieldWhileAnotherIsFirstWritten)
{
    for (int round = 0; round < 200; ++round)
    {
        const CoSharedPtr<TestRare> set = TestRare::create();
        int wrong = 0;
        std::thread reader(
            [&]
            {
                for (int i = 0; i < 50; ++i)
                    wrong += set->getText() == L"usual" ? 0 : 1;
            });
        EXPECT_EQ(set->setNumber(round), DM_NO_ERROR);
        reader.join();
        EXPECT_EQ(wrong, 0);
        EXPECT_EQ(set->getNumber(), round);
    }
}
