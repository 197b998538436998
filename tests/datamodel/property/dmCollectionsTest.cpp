#include "testSets.h"

#include "dmUtf8.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace
{

/// A vector property, by name, and three values of its element type.
template <class T>
struct VectorCase
{
    using Element = T;
    const wchar_t* name;
    eDmPropType type;
    T a, b, c;
};

template <class T>
std::vector<T> contents(const DmPropertySet& set, const wchar_t* name)
{
    return *static_cast<const std::vector<T>*>(set.fieldOf(set.classData().find(name)));
}

template <class Case>
void checkVector(const Case& row)
{
    using T = typename Case::Element;
    SCOPED_TRACE(dmUtf8(DmString(row.name)));
    const auto set = TestEvery::create();
    int size = -1;
    T value = row.a;
    EXPECT_TRUE(set->getListSize(row.name, row.type, size) == DM_NO_ERROR && size == 0);
    EXPECT_EQ(set->getValueFromPropertyList(row.name, row.type, 0, &value), DM_BAD_INDEX);
    EXPECT_EQ(set->removeValueFromPropertyList(row.name, row.type, 0), DM_BAD_INDEX);
    EXPECT_FALSE(set->isDirty());

    EXPECT_EQ(set->addValueInPropertyList(row.name, row.type, &row.a), DM_NO_ERROR);
    EXPECT_TRUE(set->isDirty());
    EXPECT_EQ(set->addValueInPropertyList(row.name, row.type, &row.c), DM_NO_ERROR);
    EXPECT_EQ(set->insertValueInPropertyList(row.name, row.type, 1, &row.b), DM_NO_ERROR);
    EXPECT_EQ(set->insertValueInPropertyList(row.name, row.type, 3, &row.a), DM_NO_ERROR);
    EXPECT_EQ(contents<T>(*set, row.name), (std::vector<T>{row.a, row.b, row.c, row.a}));
    EXPECT_EQ(set->setValueFromPropertyList(row.name, row.type, 0, &row.c), DM_NO_ERROR);
    EXPECT_EQ(set->removeValueFromPropertyList(row.name, row.type, 1), DM_NO_ERROR);
    EXPECT_EQ(contents<T>(*set, row.name), (std::vector<T>{row.c, row.c, row.a}));
    EXPECT_EQ(set->getValueFromPropertyList(row.name, row.type, 2, &value), DM_NO_ERROR);
    EXPECT_EQ(value, row.a);

    set->cleanDirty();
    for (const int bad : {-1, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
    {
        EXPECT_EQ(set->getValueFromPropertyList(row.name, row.type, bad, &value), DM_BAD_INDEX);
        EXPECT_EQ(set->setValueFromPropertyList(row.name, row.type, bad, &value), DM_BAD_INDEX);
        EXPECT_EQ(set->removeValueFromPropertyList(row.name, row.type, bad), DM_BAD_INDEX);
        EXPECT_EQ(set->insertValueInPropertyList(row.name, row.type, bad == 3 ? 4 : bad, &value), DM_BAD_INDEX);
    }
    EXPECT_FALSE(set->isDirty());

    EXPECT_EQ(set->clearList(row.name, row.type), DM_NO_ERROR);
    EXPECT_TRUE(set->getListSize(row.name, row.type, size) == DM_NO_ERROR && size == 0);
    EXPECT_TRUE(set->isDirty());
}

class Counter : public DmPropertyListener
{
public:
    void onPropertyChanged(const DmNodeId&, eDmPropType, const DmString&) override { ++count; }
    int count = 0;
};

} // namespace

TEST(VectorProperty, AddsInsertsReplacesAndRemovesInOrder)
{
    checkVector(VectorCase<std::int32_t>{L"ints", DM_VECTOR_INT, 1, -2, 3});
    checkVector(VectorCase<std::int16_t>{L"shorts", DM_VECTOR_SHORT, 1, -2, 3});
    checkVector(VectorCase<std::uint64_t>{L"uint64s", DM_VECTOR_UINT64, 1, ~0ULL, 3});
    checkVector(VectorCase<float>{L"floats", DM_VECTOR_FLOAT, 1, 2.5F, 3});
    checkVector(VectorCase<double>{L"doubles", DM_VECTOR_DOUBLE, 1, 2.5, 3});
    checkVector(VectorCase<DmString>{L"strings", DM_VECTOR_STRING, L"one", L"two", L"three"});
    checkVector(VectorCase<DmPropertySetPtr>{L"points", DM_VECTOR_PROPERTY_SET, stored(TestPoint::create()),
                                             stored(TestPoint::create()), DmPropertySetPtr()});
}

TEST(VectorProperty, IsReachedWithItsTypeOnly)
{
    const auto set = TestEvery::create();
    int size = 0;
    std::int32_t value = 0;
    EXPECT_EQ(set->addValueInPropertyList(L"ints", DM_VECTOR_SHORT, &value), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(set->addValueInPropertyList(L"nothing", DM_VECTOR_INT, &value), DM_PROPERTY_NOT_FOUND);
    EXPECT_EQ(set->addValueInPropertyList(-1, DM_VECTOR_INT, &value), DM_PROPERTY_NOT_FOUND);
    EXPECT_EQ(set->addValueInPropertyList(L"int", DM_INT, &value), DM_TYPE_NOT_IMPLEMENTED);
    EXPECT_EQ(set->getListSize(L"pointMap", DM_MAP_PROPERTY_SET, size), DM_TYPE_NOT_IMPLEMENTED);
}

TEST(MapProperty, HoldsOneEntryAKeyInKeyOrder)
{
    const auto set = TestEvery::create();
    const int map = set->classData().find(L"pointMap");
    const DmPropertySetPtr a = stored(TestPoint::create());
    const DmPropertySetPtr b = stored(TestPoint::create());
    DmPropertySetPtr read;
    DmStringArray keys;
    keys.resize(1);
    keys[0] = L"as it was";
    EXPECT_EQ(set->getKeysFromPropertyMap(map, DM_MAP_PROPERTY_SET, keys), DM_NO_ERROR);
    EXPECT_TRUE(keys.size() == 1 && keys[0] == L"as it was") << "an empty map leaves the array";

    EXPECT_EQ(set->addValueInPropertyMap(map, DM_MAP_PROPERTY_SET, L"gain", &a), DM_NO_ERROR);
    EXPECT_EQ(set->addValueInPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, L"Gain", &a), DM_NO_ERROR);
    EXPECT_EQ(set->setValueFromPropertyMap(map, DM_MAP_PROPERTY_SET, L"attack", &a), DM_NO_ERROR);
    set->cleanDirty();
    EXPECT_EQ(set->addValueInPropertyMap(map, DM_MAP_PROPERTY_SET, L"gain", &b), DM_PROPERTY_ALREADY_EXIST);
    EXPECT_EQ(set->removeValueFromPropertyMap(map, DM_MAP_PROPERTY_SET, L"absent"), DM_BAD_INDEX);
    EXPECT_EQ(set->addValueInPropertyMap(map, DM_MAP_PROPERTY_SET, L"", &b), DM_EMPTY_ID);
    EXPECT_EQ(set->setValueFromPropertyMap(map, DM_MAP_PROPERTY_SET, DmString(std::wstring_view(L"a\0b", 3)), &b),
              DM_BAD_VALUE);
    EXPECT_FALSE(set->isDirty());
    EXPECT_TRUE(set->getValueFromPropertyMap(map, DM_MAP_PROPERTY_SET, L"gain", &read) == DM_NO_ERROR && read == a);
    EXPECT_EQ(set->setValueFromPropertyMap(map, DM_MAP_PROPERTY_SET, L"gain", &b), DM_NO_ERROR);
    EXPECT_TRUE(set->getValueFromPropertyMap(map, DM_MAP_PROPERTY_SET, L"gain", &read) == DM_NO_ERROR && read == b);
    EXPECT_TRUE(set->getValueFromPropertyMap(map, DM_MAP_PROPERTY_SET, L"absent", &read) == DM_NO_ERROR && !read);

    EXPECT_EQ(set->getKeysFromPropertyMap(map, DM_MAP_PROPERTY_SET, keys), DM_NO_ERROR);
    ASSERT_EQ(keys.size(), 3U);
    EXPECT_TRUE(keys[0] == L"Gain" && keys[1] == L"attack" && keys[2] == L"gain");
    int size = 0;
    EXPECT_EQ(set->removeValueFromPropertyMap(map, DM_MAP_PROPERTY_SET, L"attack"), DM_NO_ERROR);
    EXPECT_TRUE(set->getMapSize(map, DM_MAP_PROPERTY_SET, size) == DM_NO_ERROR && size == 2);
    EXPECT_EQ(set->clearMap(map, DM_MAP_PROPERTY_SET), DM_NO_ERROR);
    EXPECT_TRUE(set->getMapSize(map, DM_MAP_PROPERTY_SET, size) == DM_NO_ERROR && size == 0);
    EXPECT_EQ(a->refCount(), 1);
}

TEST(MapProperty, IsReachedWithItsTypeOnly)
{
    const auto set = TestEvery::create();
    const DmPropertySetPtr point = stored(TestPoint::create());
    DmStringArray keys;
    EXPECT_EQ(set->addValueInPropertyMap(L"points", DM_VECTOR_PROPERTY_SET, L"key", &point), DM_TYPE_NOT_IMPLEMENTED);
    EXPECT_EQ(set->addValueInPropertyMap(L"points", DM_MAP_PROPERTY_SET, L"key", &point), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(set->addValueInPropertyMap(L"nothing", DM_MAP_PROPERTY_SET, L"key", &point), DM_PROPERTY_NOT_FOUND);
    EXPECT_EQ(set->getKeysFromPropertyMap(-1, DM_MAP_PROPERTY_SET, keys), DM_PROPERTY_NOT_FOUND);
    EXPECT_EQ(set->getKeysFromPropertyMap(0, DM_MAP_PROPERTY_SET, keys), DM_BAD_PROPERTY_TYPE);
}

TEST(Collections, TellListenersOfSuccessOnly)
{
    const auto set = TestEvery::create();
    Counter counter;
    ASSERT_EQ(set->registerListener(&counter), DM_NO_ERROR);
    const DmPropertySetPtr point = stored(TestPoint::create());
    const std::int32_t value = 1;
    EXPECT_EQ(set->addValueInPropertyList(L"ints", DM_VECTOR_INT, &value), DM_NO_ERROR);
    EXPECT_EQ(set->setValueFromPropertyList(L"ints", DM_VECTOR_INT, 0, &value), DM_NO_ERROR);
    EXPECT_EQ(set->setValueFromPropertyList(L"ints", DM_VECTOR_INT, 1, &value), DM_BAD_INDEX);
    EXPECT_EQ(set->removeValueFromPropertyList(L"ints", DM_VECTOR_INT, 0), DM_NO_ERROR);
    EXPECT_EQ(set->clearList(L"ints", DM_VECTOR_INT), DM_NO_ERROR);
    EXPECT_EQ(set->addValueInPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, L"key", &point), DM_NO_ERROR);
    EXPECT_EQ(set->addValueInPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, L"key", &point), DM_PROPERTY_ALREADY_EXIST);
    EXPECT_EQ(set->clearMap(L"pointMap", DM_MAP_PROPERTY_SET), DM_NO_ERROR);
    EXPECT_EQ(counter.count, 6);
}
