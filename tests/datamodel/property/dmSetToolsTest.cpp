#include "testSets.h"

#include "dmNesting.h"
#include "dmSetTools.h"
#include "zrTestSmallStack.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace
{

/// A set with something in each of its properties.
CoSharedPtr<TestEvery> full()
{
    auto set = TestEvery::create();
    const struct
    {
        const wchar_t* name;
        const wchar_t* text;
    } values[] = {{L"int", L"-5"},      {L"uint", L"5"},      {L"short", L"-6"},   {L"ushort", L"6"},
                  {L"int64", L"-7"},    {L"uint64", L"7"},    {L"char", L"c"},     {L"uchar", L"u"},
                  {L"float", L"0.5"},   {L"bool", L"true"},   {L"double", L"0.1"}, {L"string", L"text"},
                  {L"ints", L"1"},      {L"shorts", L"2"},    {L"uint64s", L"3"},  {L"floats", L"4.5"},
                  {L"doubles", L"5.5"}, {L"strings", L"six"}, {L"cdata", L"a\nb"}, {L"enum", L"2"}};
    for (const auto& value : values)
        EXPECT_EQ(set->setPropertyValueFromStr(value.name, value.text), DM_NO_ERROR);
    const DmPropertySetPtr point = stored(TestPoint::create());
    const DmPropertySetPtr null;
    EXPECT_EQ(set->setPropertyValue(L"point", DM_PROPERTY_SET, &point), DM_NO_ERROR);
    for (const DmPropertySetPtr& element : {stored(TestPoint::create()), null, point})
        EXPECT_EQ(set->addValueInPropertyList(L"points", DM_VECTOR_PROPERTY_SET, &element), DM_NO_ERROR);
    for (const wchar_t* const key : {L"b", L"a"})
    {
        const DmPropertySetPtr entry = stored(TestPoint::create());
        EXPECT_EQ(set->addValueInPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, key, &entry), DM_NO_ERROR);
    }
    return set;
}

DmPropertySetPtr pointIn(const DmPropertySet& set, const wchar_t* name, int element)
{
    DmPropertySetPtr value;
    EXPECT_EQ(set.getValueFromPropertyList(name, DM_VECTOR_PROPERTY_SET, element, &value), DM_NO_ERROR);
    return value;
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

/// A chain of sets, each in the "any" of the one above.
CoSharedPtr<TestOptional> chain(int length)
{
    CoSharedPtr<TestOptional> top = TestOptional::create();
    for (int i = 1; i < length; ++i)
    {
        const auto above = TestOptional::create();
        const DmPropertySetPtr held = top;
        EXPECT_EQ(above->setPropertyValue(TestOptional::Any, DM_PROPERTY_SET, &held), DM_NO_ERROR);
        top = above;
    }
    return top;
}

} // namespace

TEST(DeepCopy, IsEqualAndIndependent)
{
    const auto source = full();
    DmPropertySetPtr copy;
    ASSERT_EQ(dmDeepCopy(*source, copy), DM_NO_ERROR);
    bool equal = false;
    EXPECT_EQ(dmDeepEqual(*source, *copy, equal), DM_NO_ERROR);
    EXPECT_TRUE(equal);
    EXPECT_FALSE(source->getNodeId() == copy->getNodeId());
    EXPECT_FALSE(pointIn(*source, L"points", 0) == pointIn(*copy, L"points", 0));
    EXPECT_EQ(pointIn(*copy, L"points", 1), nullptr);
    EXPECT_EQ(static_cast<TestPoint&>(*pointIn(*copy, L"points", 2)).setX(77), DM_NO_ERROR);
    DmPropertySetPtr nested;
    EXPECT_EQ(copy->getPropertyValue(L"point", DM_PROPERTY_SET, &nested), DM_NO_ERROR);
    EXPECT_EQ(static_cast<TestPoint&>(*nested).getX(), 77) << "what the source holds twice, the copy holds twice";
    EXPECT_EQ(static_cast<TestPoint&>(*pointIn(*source, L"points", 2)).getX(), 1.5);
}

TEST(DeepCopy, SharesFrozenDefaultsAndKeepsThemFrozen)
{
    const auto source = TestOptional::create();
    DmPropertySetPtr copy;
    ASSERT_EQ(dmDeepCopy(*source, copy), DM_NO_ERROR);
    EXPECT_EQ(static_cast<const TestOptional&>(*copy).getShared(),
              static_cast<const TestOptional&>(*source).getShared());
    EXPECT_EQ(static_cast<TestOptional&>(*copy).getShared()->setX(3), DM_NO_ERROR);
    EXPECT_EQ(static_cast<const TestOptional&>(*source).getShared()->getX(), 1.5);
}

TEST(DeepEquality, FindsAnyDifferenceAndSaysWhere)
{
    const struct
    {
        const char* path;
        std::function<void(TestEvery&)> change;
    } rows[] = {
        {"double", [](TestEvery& set) { EXPECT_EQ(set.setPropertyValueFromStr(L"double", L"0.2"), DM_NO_ERROR); }},
        {"char", [](TestEvery& set) { EXPECT_EQ(set.setPropertyValueFromStr(L"char", L"d"), DM_NO_ERROR); }},
        {"string", [](TestEvery& set) { EXPECT_EQ(set.setPropertyValueFromStr(L"string", L"texT"), DM_NO_ERROR); }},
        {"ints", [](TestEvery& set) { EXPECT_EQ(set.setPropertyValueFromStr(L"ints", L"2"), DM_NO_ERROR); }},
        {"strings[0]",
         [](TestEvery& set)
         {
             const DmString other(L"seven");
             EXPECT_EQ(set.setValueFromPropertyList(L"strings", DM_VECTOR_STRING, 0, &other), DM_NO_ERROR);
         }},
        {"point",
         [](TestEvery& set)
         {
             const DmPropertySetPtr null;
             EXPECT_EQ(set.setPropertyValue(L"point", DM_PROPERTY_SET, &null), DM_NO_ERROR);
         }},
        {"points[0]/label", [](TestEvery& set)
         { EXPECT_EQ(static_cast<TestPoint&>(*pointIn(set, L"points", 0)).setLabel(L"other"), DM_NO_ERROR); }},
        {"points", [](TestEvery& set) { EXPECT_EQ(set.clearList(L"points", DM_VECTOR_PROPERTY_SET), DM_NO_ERROR); }},
        {"pointMap[\"a\"]/x",
         [](TestEvery& set)
         {
             DmPropertySetPtr entry;
             EXPECT_EQ(set.getValueFromPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, L"a", &entry), DM_NO_ERROR);
             EXPECT_EQ(static_cast<TestPoint&>(*entry).setX(9), DM_NO_ERROR);
         }},
        {"pointMap[\"a\"]", [](TestEvery& set)
         {
             DmPropertySetPtr entry;
             EXPECT_EQ(set.getValueFromPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, L"a", &entry), DM_NO_ERROR);
             EXPECT_EQ(set.removeValueFromPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, L"a"), DM_NO_ERROR);
             EXPECT_EQ(set.addValueInPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, L"c", &entry), DM_NO_ERROR);
         }}};
    const auto source = full();
    for (const auto& row : rows)
    {
        DmPropertySetPtr copy;
        ASSERT_EQ(dmDeepCopy(*source, copy), DM_NO_ERROR);
        row.change(static_cast<TestEvery&>(*copy));
        bool equal = true;
        std::string difference;
        EXPECT_EQ(dmDeepEqual(*source, *copy, equal, &difference), DM_NO_ERROR);
        EXPECT_FALSE(equal) << row.path;
        EXPECT_EQ(difference, row.path);
    }
    bool equal = true;
    EXPECT_EQ(dmDeepEqual(*source, *TestPoint::create(), equal), DM_NO_ERROR);
    EXPECT_FALSE(equal) << "another class";
}

TEST(DeepEquality, TakesNotANumberForItself)
{
    const auto a = TestOptional::create();
    const auto b = TestOptional::create();
    bool equal = false;
    EXPECT_EQ(dmDeepEqual(*a, *b, equal), DM_NO_ERROR);
    EXPECT_TRUE(equal) << "both hold a NaN";
}

TEST(Walk, MeetsEveryPropertyWithItsPath)
{
    const auto set = TestOptional::create();
    const DmPropertySetPtr null;
    const DmPropertySetPtr point = stored(TestPoint::create());
    for (const DmPropertySetPtr& element : {null, point})
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
    const auto set = chain(3);
    const DmPropertySetPtr itself = set;
    DmPropertySetPtr bottom;
    ASSERT_EQ(set->getPropertyValue(TestOptional::Any, DM_PROPERTY_SET, &bottom), DM_NO_ERROR);
    ASSERT_EQ(bottom->addValueInPropertyList(TestOptional::Anything, DM_VECTOR_PROPERTY_SET, &itself), DM_NO_ERROR);

    DmPropertySetPtr copy;
    bool equal = true;
    Writer writer;
    EXPECT_EQ(dmDeepCopy(*set, copy), DM_BAD_VALUE);
    EXPECT_FALSE(copy);
    EXPECT_EQ(dmWalk(*set, writer), DM_BAD_VALUE);
    const auto other = chain(3);
    DmPropertySetPtr otherBottom;
    ASSERT_EQ(other->getPropertyValue(TestOptional::Any, DM_PROPERTY_SET, &otherBottom), DM_NO_ERROR);
    const DmPropertySetPtr otherItself = other;
    ASSERT_EQ(otherBottom->addValueInPropertyList(TestOptional::Anything, DM_VECTOR_PROPERTY_SET, &otherItself),
              DM_NO_ERROR);
    EXPECT_EQ(dmDeepEqual(*set, *other, equal), DM_BAD_VALUE);
    EXPECT_FALSE(equal);
    for (const DmPropertySetPtr& end : {bottom, otherBottom})
        ASSERT_EQ(end->clearList(TestOptional::Anything, DM_VECTOR_PROPERTY_SET), DM_NO_ERROR);
}

TEST(WholeSet, IsTakenToTheNestingLimitOnASmallStack)
{
    zrTestOnSmallStack(
        []
        {
            const auto deepest = chain(dmMaxNesting);
            const auto deeper = chain(dmMaxNesting + 1);
            const auto twin = chain(dmMaxNesting);
            DmPropertySetPtr copy;
            bool equal = false;
            Writer walker;
            walker.passOver = "shared";
            EXPECT_EQ(dmDeepCopy(*deepest, copy), DM_NO_ERROR);
            EXPECT_EQ(dmDeepEqual(*deepest, *twin, equal), DM_NO_ERROR);
            EXPECT_TRUE(equal);
            EXPECT_EQ(dmDeepCopy(*deeper, copy), DM_BAD_VALUE);
            deepest->freeze();
            EXPECT_TRUE(deepest->isFrozen());
        });
}

TEST(WholeSet, ThatIsSharedManyTimesIsTakenOnce)
{
    // 60 levels that each hold the next one twice: a copy of every path would never end.
    CoSharedPtr<TestOptional> top = TestOptional::create();
    CoSharedPtr<TestOptional> twin = TestOptional::create();
    for (CoSharedPtr<TestOptional>* const set : {&top, &twin})
        for (int level = 0; level < 60; ++level)
        {
            const auto above = TestOptional::create();
            const DmPropertySetPtr held = *set;
            for (int i = 0; i < 2; ++i)
                ASSERT_EQ(above->addValueInPropertyList(TestOptional::Anything, DM_VECTOR_PROPERTY_SET, &held),
                          DM_NO_ERROR);
            *set = above;
        }
    DmPropertySetPtr copy;
    bool equal = false;
    EXPECT_EQ(dmDeepCopy(*top, copy), DM_NO_ERROR);
    EXPECT_EQ(dmDeepEqual(*top, *twin, equal), DM_NO_ERROR);
    EXPECT_TRUE(equal);
}
