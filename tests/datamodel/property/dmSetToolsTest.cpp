#include "testSets.h"
#include "zrTest.h"
#include "zrTestSmallStack.h"

namespace
{

/// A set with something in each of its properties.
CoSharedPtr<TestEvery> full()
{
    auto set = TestEvery::create();
    // clang-format off
    const std::pair<const wchar_t*, const wchar_t*> values[] = {
        {L"int", L"-5"}, {L"uint", L"5"}, {L"short", L"-6"}, {L"ushort", L"6"}, {L"int64", L"-7"}, {L"uint64", L"7"},
        {L"char", L"c"}, {L"uchar", L"u"}, {L"float", L"0.5"}, {L"bool", L"true"}, {L"double", L"0.1"},
        {L"string", L"text"}, {L"ints", L"1"}, {L"shorts", L"2"}, {L"uint64s", L"3"}, {L"floats", L"4.5"},
        {L"doubles", L"5.5"}, {L"strings", L"six"}, {L"cdata", L"a\nb"}, {L"enum", L"0"}
    };
    // clang-format on
    for (const auto& [name, text] : values)
        EXPECT_EQ(set->setPropertyValueFromStr(name, text), DM_NO_ERROR);
    const DmPropertySetPtr point = stored(TestPoint::create());
    EXPECT_EQ(set->setPropertyValue(L"point", DM_PROPERTY_SET, &point), DM_NO_ERROR);
    for (const DmPropertySetPtr& element : {stored(TestPoint::create()), DmPropertySetPtr(), point})
        EXPECT_EQ(set->addValueInPropertyList(L"points", DM_VECTOR_PROPERTY_SET, &element), DM_NO_ERROR);
    for (const wchar_t* const key : {L"b", L"a"})
    {
        const DmPropertySetPtr entry = stored(TestPoint::create());
        EXPECT_EQ(set->addValueInPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, key, &entry), DM_NO_ERROR);
    }
    return set;
}

TestPoint& pointIn(const DmPropertySet& set, int element)
{
    DmPropertySetPtr value;
    EXPECT_EQ(set.getValueFromPropertyList(L"points", DM_VECTOR_PROPERTY_SET, element, &value), DM_NO_ERROR);
    return static_cast<TestPoint&>(*value);
}

/// The paths that a walk calls back for, one a line, with '>' before a held set.
class Writer : public DmPropertyWalker
{
public:
    DmWalkStep property(const DmPropertyPath& path) override
    {
        text += path.text() + '\n';
        return path.text() == stopAt ? DmWalkStep::Stop : path.text() == passOver ? DmWalkStep::Over : DmWalkStep::Into;
    }
    DmWalkStep held(const DmPropertyPath& path, const DmPropertySet& set) override
    {
        text += '>' + path.text() + ' ' + set.classData().utf8ClassName() + '\n';
        return DmWalkStep::Into;
    }

    std::string text;
    std::string stopAt;
    std::string passOver;
};

/// Lets `above` hold a set once more.
void hold(TestOptional& above, const DmPropertySetPtr& held)
{
    EXPECT_EQ(above.addValueInPropertyList(TestOptional::Anything, DM_VECTOR_PROPERTY_SET, &held), DM_NO_ERROR);
}

/// Sets that each hold the next one, so many times; with the last one's address, if that is asked for.
CoSharedPtr<TestOptional> chain(int length, int times = 1, TestOptional** bottom = nullptr)
{
    CoSharedPtr<TestOptional> top = TestOptional::create();
    if (bottom)
        *bottom = top.get();
    for (int i = 1; i < length; ++i)
    {
        const auto above = TestOptional::create();
        for (int time = 0; time < times; ++time)
            hold(*above, top);
        top = above;
    }
    return top;
}

/// The factory has not made one before the test does.
class TestLate final : public DmConcrete<TestLate>
{
public:
    explicit TestLate(const DmNodeId& id)
        : DmConcrete(id, DmPropertySetInit<TestLate>::data())
    {
    }
    eDmErrorId createList() override { return declare(*this).mandatory(L"number", number).status(); }
    int number = 0;
};

bool areEqual(const DmPropertySet& a, const DmPropertySet& b)
{
    bool equal = false;
    EXPECT_EQ(dmDeepEqual(a, b, equal), DM_NO_ERROR);
    return equal;
}

} // namespace

TEST(DeepCopy, IsEqualAndIndependent)
{
    const auto source = full();
    DmPropertySetPtr copy;
    ASSERT_EQ(dmDeepCopy(*source, copy), DM_NO_ERROR);
    EXPECT_TRUE(areEqual(*source, *copy));
    EXPECT_FALSE(source->getNodeId() == copy->getNodeId());
    EXPECT_NE(&pointIn(*source, 0), &pointIn(*copy, 0));
    EXPECT_EQ(pointIn(*copy, 2).setX(77), DM_NO_ERROR);
    DmPropertySetPtr nested;
    EXPECT_EQ(copy->getPropertyValue(L"point", DM_PROPERTY_SET, &nested), DM_NO_ERROR);
    EXPECT_EQ(nested.get(), &pointIn(*copy, 2)) << "what the source holds twice, the copy holds twice";
    EXPECT_EQ(pointIn(*source, 2).getX(), 1.5);
}

TEST(DeepCopy, OfTheFirstObjectOfAClassThatTheFactoryHasNotMadeYet)
{
    const CoSharedPtr<TestLate> early(new TestLate(DmNodeId()));
    early->number = 5;
    for (int i = 0; i < 2; ++i)
    {
        DmPropertySetPtr copy;
        ASSERT_EQ(dmDeepCopy(*early, copy), DM_NO_ERROR);
        EXPECT_EQ(static_cast<const TestLate&>(*copy).number, 5);
    }
}

TEST(DeepCopy, SharesFrozenDefaultsAndKeepsThemFrozen)
{
    const auto source = TestOptional::create();
    const TestOptional& constant = *source;
    DmPropertySetPtr made;
    ASSERT_EQ(dmDeepCopy(*source, made), DM_NO_ERROR);
    auto& copy = static_cast<TestOptional&>(*made);
    EXPECT_EQ(const_cast<const TestOptional&>(copy).getShared(), constant.getShared());
    EXPECT_TRUE(areEqual(*source, copy)) << "both hold a NaN";
    EXPECT_EQ(copy.ownShared()->setX(3), DM_NO_ERROR);
    EXPECT_EQ(constant.getShared()->getX(), 1.5);
}

TEST(DeepCopy, OfAConstantMayBeChanged)
{
    const auto source = TestOptional::create();
    hold(*source, DmPropertySetPtr(TestPoint::create()));
    source->freeze();
    DmPropertySetPtr made;
    ASSERT_EQ(dmDeepCopy(*source, made), DM_NO_ERROR);
    auto& copy = static_cast<TestOptional&>(*made);
    EXPECT_FALSE(copy.isFrozen());
    EXPECT_TRUE(areEqual(*source, copy));
    EXPECT_EQ(copy.setNumber(3), DM_NO_ERROR);
    EXPECT_EQ(static_cast<TestPoint*>(copy.elementsOf(TestOptional::Anything).at(0))->setX(3), DM_NO_ERROR);
    EXPECT_EQ(copy.getShared(), source->getShared()) << "the default of the class";
    EXPECT_TRUE(copy.getShared()->isSharedDefault() && !source->isSharedDefault());
    ASSERT_EQ(dmDeepCopy(*source->getShared(), made), DM_NO_ERROR);
    EXPECT_EQ(static_cast<TestPoint&>(*made).setX(3), DM_NO_ERROR) << "asked for by itself it is copied too";
}

TEST(DeepEquality, FindsAnyDifferenceAndSaysWhere)
{
    const auto text = [](const wchar_t* name, const wchar_t* value) -> std::function<eDmErrorId(TestEvery&)>
    { return [=](TestEvery& set) { return set.setPropertyValueFromStr(name, value); }; };
    const DmString seven(L"seven");
    const DmPropertySetPtr null;
    const DmPropertySetPtr other = stored(TestPoint::create());
    ASSERT_EQ(static_cast<TestPoint&>(*other).setX(9), DM_NO_ERROR);
    const struct
    {
        const char* path;
        std::function<eDmErrorId(TestEvery&)> change;
    } rows[] = {{"double", text(L"double", L"0.2")},
                {"char", text(L"char", L"d")},
                {"string", text(L"string", L"texT")},
                {"ints", text(L"ints", L"2")},
                {"strings[0]",
                 [&](TestEvery& set) { return set.setValueFromPropertyList(L"strings", DM_VECTOR_STRING, 0, &seven); }},
                {"point", [&](TestEvery& set) { return set.setPropertyValue(L"point", DM_PROPERTY_SET, &null); }},
                {"points[0]/label", [](TestEvery& set) { return pointIn(set, 0).setLabel(L"other"); }},
                {"points", [](TestEvery& set) { return set.clearList(L"points", DM_VECTOR_PROPERTY_SET); }},
                {"pointMap[\"a\"]/x", [&](TestEvery& set)
                 { return set.setValueFromPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, L"a", &other); }},
                {"pointMap[\"a\"]", [&](TestEvery& set)
                 {
                     EXPECT_EQ(set.removeValueFromPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, L"a"), DM_NO_ERROR);
                     return set.addValueInPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, L"c", &other);
                 }}};
    const auto source = full();
    for (const auto& row : rows)
    {
        DmPropertySetPtr copy;
        ASSERT_EQ(dmDeepCopy(*source, copy), DM_NO_ERROR);
        EXPECT_EQ(row.change(static_cast<TestEvery&>(*copy)), DM_NO_ERROR);
        bool equal = true;
        std::string difference;
        EXPECT_EQ(dmDeepEqual(*source, *copy, equal, &difference), DM_NO_ERROR);
        EXPECT_FALSE(equal) << row.path;
        EXPECT_EQ(difference, row.path);
    }
    EXPECT_FALSE(areEqual(*source, *TestPoint::create())) << "another class";
}

TEST(ValueEquality, OfSetsIsThatOfTheirClassesAndProperties)
{
    const auto set = full();
    const auto equals = [&](const DmPropertySetPtr* other)
    { return DmPropertySet_Atomic_Utils::compareAtomicManip(*set, set->classData().find(L"point"), other); };
    const DmPropertySetPtr point(TestPoint::create());
    const DmPropertySetPtr other(TestOptional::create());
    EXPECT_TRUE(equals(&point));
    EXPECT_FALSE(equals(&other));
    EXPECT_FALSE(equals(nullptr));
}

TEST(Walk, MeetsEveryPropertyWithItsPath)
{
    const auto set = TestOptional::create();
    for (const DmPropertySetPtr& element : {DmPropertySetPtr(), stored(TestPoint::create())})
        ASSERT_EQ(set->addValueInPropertyList(L"list", DM_VECTOR_PROPERTY_SET, &element), DM_NO_ERROR);
    Writer all;
    EXPECT_EQ(dmWalk(*set, all), DM_NO_ERROR);
    EXPECT_EQ(all.text, "kind\nnumber\nnotANumber\nshared\n>shared TestPoint\nshared/x\nshared/y\nshared/label\nlist\n"
                        ">list[1] TestPoint\nlist[1]/x\nlist[1]/y\nlist[1]/label\nhex\nany\nanything\n");
    Writer stopping;
    stopping.stopAt = "shared/y";
    EXPECT_EQ(dmWalk(*set, stopping), DM_NO_ERROR);
    EXPECT_TRUE(stopping.text.ends_with("shared/x\nshared/y\n")) << stopping.text;
    Writer passing;
    passing.passOver = "shared";
    EXPECT_EQ(dmWalk(*set, passing), DM_NO_ERROR);
    EXPECT_EQ(passing.text.find("shared/x"), std::string::npos);
    EXPECT_NE(passing.text.find("list[1]/label"), std::string::npos);
}

TEST(WholeSet, ThatHoldsItselfIsRefused)
{
    TestOptional* bottoms[2];
    const CoSharedPtr<TestOptional> sets[] = {chain(3, 1, &bottoms[0]), chain(3, 1, &bottoms[1])};
    for (int i = 0; i < 2; ++i)
        hold(*bottoms[i], sets[i]);
    DmPropertySetPtr copy;
    bool equal = true;
    Writer writer;
    EXPECT_EQ(dmDeepCopy(*sets[0], copy), DM_BAD_VALUE);
    EXPECT_FALSE(copy);
    EXPECT_EQ(dmWalk(*sets[0], writer), DM_BAD_VALUE);
    EXPECT_EQ(dmDeepEqual(*sets[0], *sets[1], equal), DM_BAD_VALUE);
    EXPECT_FALSE(equal);
    for (TestOptional* const bottom : bottoms)
        ASSERT_EQ(bottom->clearList(TestOptional::Anything, DM_VECTOR_PROPERTY_SET), DM_NO_ERROR);
}

TEST(WholeSet, IsTakenToTheNestingLimitOnASmallStack)
{
    zrTestOnSmallStack(
        []
        {
            const auto deepest = chain(dmMaxNesting);
            DmPropertySetPtr copy;
            EXPECT_EQ(dmDeepCopy(*deepest, copy), DM_NO_ERROR);
            EXPECT_TRUE(areEqual(*deepest, *copy));
            EXPECT_EQ(dmDeepCopy(*chain(dmMaxNesting + 1), copy), DM_BAD_VALUE);
            deepest->freeze();
            EXPECT_TRUE(deepest->isFrozen());
        });
}

TEST(WholeSet, ThatIsSharedManyTimesIsTakenOnce)
{
    // Each level holds the next one twice: a copy of every path would never end.
    const auto top = chain(61, 2);
    DmPropertySetPtr copy;
    EXPECT_EQ(dmDeepCopy(*top, copy), DM_NO_ERROR);
    EXPECT_TRUE(areEqual(*top, *chain(61, 2)));
}
