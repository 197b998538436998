#include "testSets.h"
#include "zrTest.h"

namespace
{

/// A vector property of its own set, and three values of its element type.
template <class T>
struct VectorCase
{
    const wchar_t* name;
    eDmPropType type;
    T a, b, c;
    CoSharedPtr<TestEvery> set = TestEvery::create();

    eDmErrorId add(const T& value) const { return set->addValueInPropertyList(name, type, &value); }
    eDmErrorId insert(int at, const T& value) const { return set->insertValueInPropertyList(name, type, at, &value); }
    eDmErrorId replace(int at, const T& value) const { return set->setValueFromPropertyList(name, type, at, &value); }
    eDmErrorId remove(int at) const { return set->removeValueFromPropertyList(name, type, at); }
    eDmErrorId get(int at, T& value) const { return set->getValueFromPropertyList(name, type, at, &value); }
    const std::vector<T>& contents() const
    {
        return *static_cast<const std::vector<T>*>(set->fieldOf(set->classData().find(name)));
    }
};

template <class T>
void checkVector(const VectorCase<T>& row)
{
    SCOPED_TRACE(dmUtf8(DmString(row.name)));
    int size = -1;
    T value = row.a;
    EXPECT_EQ(row.get(0, value), DM_BAD_INDEX);
    EXPECT_EQ(row.remove(0), DM_BAD_INDEX);
    EXPECT_FALSE(row.set->isDirty());
    for (const eDmErrorId status : {row.add(row.a), row.add(row.c), row.insert(1, row.b), row.insert(3, row.a)})
        EXPECT_EQ(status, DM_NO_ERROR);
    EXPECT_TRUE(row.set->isDirty());
    EXPECT_EQ(row.contents(), (std::vector<T>{row.a, row.b, row.c, row.a}));
    for (const eDmErrorId status : {row.replace(0, row.c), row.remove(1), row.get(2, value)})
        EXPECT_EQ(status, DM_NO_ERROR);
    EXPECT_EQ(row.contents(), (std::vector<T>{row.c, row.c, row.a}));
    EXPECT_EQ(value, row.a);

    row.set->cleanDirty();
    for (const int bad : {-1, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        for (const eDmErrorId status :
             {row.get(bad, value), row.replace(bad, value), row.remove(bad), row.insert(bad == 3 ? 4 : bad, value)})
            EXPECT_EQ(status, DM_BAD_INDEX) << bad;
    EXPECT_FALSE(row.set->isDirty());

    EXPECT_TRUE(row.set->getListSize(row.name, row.type, size) == DM_NO_ERROR && size == 3);
    EXPECT_EQ(row.set->clearList(row.name, row.type), DM_NO_ERROR);
    EXPECT_TRUE(row.contents().empty() && row.set->isDirty());
}

/// Keeps a list of points in its field, or, as a constant, in runs of two that are made when they are asked for.
class TestElsewhere final : public DmConcrete<TestElsewhere>
{
public:
    static constexpr const wchar_t* className = L"TestElsewhere";

    explicit TestElsewhere(const DmNodeId& id)
        : DmConcrete(id, DmPropertySetInit<TestElsewhere>::data())
    {
    }
    TestElsewhere(const TestElsewhere& other)
        : DmConcrete(other)
        , _points(other._points)
        , _seldom(other._seldom)
    {
    }

    eDmErrorId createList() override
    {
        const eDmErrorId status = declare(*this).mandatory(L"points", _points).optional(L"seldom", _seldom).status();
        for (const int list : {0, 1})
            mayKeepElsewhere(list,
                             [](const DmPropertySet& owner) -> const DmListForm*
                             { return &static_cast<const TestElsewhere&>(owner)._form; });
        return status;
    }
    /// So many points, of which the x counts up.
    void keepElsewhere(int count)
    {
        freeze();
        _form.runs.resize(static_cast<std::size_t>(count + 1) / 2);
        _form.count = count;
        keepListsElsewhere();
    }

    int runsMade() const { return _form.made; }

private:
    struct Form : DmListForm
    {
        int size() const override { return count; }
        DmListRun runAt(int element) const override
        {
            std::vector<DmPropertySetPtr>& run = runs[static_cast<std::size_t>(element / 2)];
            const int first = element / 2 * 2;
            if (run.empty())
            {
                ++made;
                for (int i = first; i < std::min(first + 2, count); ++i)
                {
                    const auto point = TestPoint::create();
                    EXPECT_EQ(point->setX(i), DM_NO_ERROR);
                    run.push_back(point);
                }
            }
            return {run.data(), first, static_cast<int>(run.size())};
        }

        mutable std::vector<std::vector<DmPropertySetPtr>> runs;
        mutable int made = 0;
        int count = 0;
    };

    DmSetList<TestPoint> _points;
    DmSetList<TestPoint> _seldom;
    Form _form;
};

std::vector<double> xOf(const DmListWindow<DmPropertySet>& window)
{
    std::vector<double> all;
    for (const TestPoint* const point : DmListWindow<TestPoint>(window))
        all.push_back(point ? point->getX() : -1);
    return all;
}

} // namespace

TEST(ListWindow, ShowsSizeElementsAndRangesInEitherForm)
{
    const auto inField = TestElsewhere::create();
    for (int i = 0; i < 5; ++i)
    {
        const auto point = TestPoint::create();
        EXPECT_EQ(point->setX(i), DM_NO_ERROR);
        const DmPropertySetPtr element = point;
        ASSERT_EQ(inField->addValueInPropertyList(0, DM_VECTOR_PROPERTY_SET, &element), DM_NO_ERROR);
    }
    const auto elsewhere = TestElsewhere::create();
    EXPECT_TRUE(elsewhere->elementsOf(0).empty());
    EXPECT_FALSE(elsewhere->isPropertyRelevant(1));
    elsewhere->keepElsewhere(5);
    EXPECT_TRUE(elsewhere->isPropertyRelevant(1));
    EXPECT_EQ(elsewhere->runsMade(), 0) << "none is made before it is asked for";
    EXPECT_EQ(xOf(elsewhere->elementsOf(0).range(3, 1)), std::vector<double>{3});
    EXPECT_EQ(elsewhere->runsMade(), 1);
    for (const auto& set : {inField, elsewhere})
    {
        const DmListWindow<DmPropertySet> window = set->elementsOf(0);
        EXPECT_EQ(window.size(), 5U);
        EXPECT_EQ(xOf(window), (std::vector<double>{0, 1, 2, 3, 4}));
        EXPECT_EQ(xOf(window.range(1, 3)), (std::vector<double>{1, 2, 3}));
        EXPECT_EQ(xOf(window.range(1, 3).range(1, 99)), (std::vector<double>{2, 3}));
        EXPECT_TRUE(window.range(5, 1).empty() && window.range(-1, 0).empty() && window.range(9, 1).empty());
        EXPECT_EQ(DmListWindow<TestPoint>(window.range(3, 2)).at(1)->getX(), 4);
        EXPECT_TRUE(!window.at(-1) && !window.at(5) && !window.range(0, 2).at(2));
        EXPECT_TRUE(set->elementsOf(7).empty());

        int size = 0;
        DmPropertySetPtr element;
        EXPECT_EQ(set->getListSize(0, DM_VECTOR_PROPERTY_SET, size), DM_NO_ERROR);
        EXPECT_EQ(size, 5);
        EXPECT_EQ(set->getValueFromPropertyList(0, DM_VECTOR_PROPERTY_SET, 4, &element), DM_NO_ERROR);
        EXPECT_EQ(static_cast<const TestPoint&>(*element).getX(), 4);
        EXPECT_EQ(set->getValueFromPropertyList(0, DM_VECTOR_PROPERTY_SET, 5, &element), DM_BAD_INDEX);
    }
    EXPECT_EQ(elsewhere->clearList(0, DM_VECTOR_PROPERTY_SET), DM_CANNOT_LOCK);
    DmPropertySetPtr copy;
    ASSERT_EQ(dmDeepCopy(*elsewhere, copy), DM_NO_ERROR);
    EXPECT_EQ(xOf(copy->elementsOf(0)), xOf(elsewhere->elementsOf(0)));
    EXPECT_EQ(copy->clearList(0, DM_VECTOR_PROPERTY_SET), DM_NO_ERROR) << "a copy has a list of its own";
    bool equal = false;
    std::string difference;
    EXPECT_EQ(dmDeepEqual(*inField, *elsewhere, equal, &difference), DM_NO_ERROR);
    EXPECT_EQ(difference, "seldom");
}

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

TEST(VectorProperty, IsSetWholeInOneStep)
{
    class Counter : public DmPropertyListener
    {
    public:
        void onPropertyChanged(const DmNodeId&, eDmPropType, const DmString&) override { ++count; }
        int count = 0;
    } counter;
    const auto set = TestEvery::create();
    const int doubles = set->classData().find(L"doubles");
    ASSERT_EQ(set->registerListener(&counter), DM_NO_ERROR);
    const std::vector<double> numbers{1.5, 2.5};
    EXPECT_EQ(set->setPropertyList(L"doubles", DM_VECTOR_DOUBLE, &numbers), DM_NO_ERROR);
    EXPECT_EQ(counter.count, 1);
    const auto values = set->valuesOf<double>(doubles);
    EXPECT_EQ(std::vector<double>(values.begin(), values.end()), numbers);
    EXPECT_TRUE(set->valuesOf<float>(doubles).empty());

    const DmPropertySetVector wrong{DmPropertySetPtr(TestPoint::create()), DmPropertySetPtr(TestEvery::create())};
    EXPECT_EQ(set->setPropertyList(L"points", DM_VECTOR_PROPERTY_SET, &wrong), DM_BAD_PROPERTY_TYPE);
    EXPECT_TRUE(counter.count == 1 && set->elementsOf(set->classData().find(L"points")).empty());
    EXPECT_EQ(set->setPropertyList(L"doubles", DM_VECTOR_FLOAT, &numbers), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(set->unregisterListener(&counter), DM_NO_ERROR);
}

TEST(Collections, AreReachedWithTheirTypeOnly)
{
    const auto set = TestEvery::create();
    int size = 0;
    std::int32_t value = 0;
    EXPECT_EQ(set->addValueInPropertyList(L"ints", DM_VECTOR_SHORT, &value), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(set->addValueInPropertyList(L"nothing", DM_VECTOR_INT, &value), DM_PROPERTY_NOT_FOUND);
    EXPECT_EQ(set->addValueInPropertyList(-1, DM_VECTOR_INT, &value), DM_PROPERTY_NOT_FOUND);
    EXPECT_EQ(set->addValueInPropertyList(L"int", DM_INT, &value), DM_TYPE_NOT_IMPLEMENTED);
    EXPECT_EQ(set->getListSize(L"pointMap", DM_MAP_PROPERTY_SET, size), DM_TYPE_NOT_IMPLEMENTED);
    const DmPropertySetPtr point = stored(TestPoint::create());
    DmStringArray keys;
    EXPECT_EQ(set->addValueInPropertyMap(L"points", DM_VECTOR_PROPERTY_SET, L"key", &point), DM_TYPE_NOT_IMPLEMENTED);
    EXPECT_EQ(set->addValueInPropertyMap(L"points", DM_MAP_PROPERTY_SET, L"key", &point), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(set->addValueInPropertyMap(L"nothing", DM_MAP_PROPERTY_SET, L"key", &point), DM_PROPERTY_NOT_FOUND);
    EXPECT_EQ(set->getKeysFromPropertyMap(-1, DM_MAP_PROPERTY_SET, keys), DM_PROPERTY_NOT_FOUND);
    EXPECT_EQ(set->getKeysFromPropertyMap(0, DM_MAP_PROPERTY_SET, keys), DM_BAD_PROPERTY_TYPE);
}

TEST(MapProperty, HoldsOneEntryAKeyInKeyOrder)
{
    const auto set = TestEvery::create();
    const int map = set->classData().find(L"pointMap");
    const DmPropertySetPtr a = stored(TestPoint::create());
    const DmPropertySetPtr b = stored(TestPoint::create());
    const auto add = [&](const DmString& key, const DmPropertySetPtr& value)
    { return set->addValueInPropertyMap(map, DM_MAP_PROPERTY_SET, key, &value); };
    const auto replace = [&](const DmString& key, const DmPropertySetPtr& value)
    { return set->setValueFromPropertyMap(map, DM_MAP_PROPERTY_SET, key, &value); };
    const auto at = [&](const wchar_t* key)
    {
        DmPropertySetPtr read;
        EXPECT_EQ(set->getValueFromPropertyMap(map, DM_MAP_PROPERTY_SET, key, &read), DM_NO_ERROR);
        return read;
    };
    DmStringArray keys;
    keys.resize(1);
    EXPECT_EQ(set->getKeysFromPropertyMap(map, DM_MAP_PROPERTY_SET, keys), DM_NO_ERROR);
    EXPECT_EQ(keys.size(), 1U) << "an empty map leaves the array";

    for (const eDmErrorId status : {add(L"gain", a), add(L"Gain", a), replace(L"attack", a)})
        EXPECT_EQ(status, DM_NO_ERROR);
    set->cleanDirty();
    EXPECT_EQ(add(L"gain", b), DM_PROPERTY_ALREADY_EXIST);
    EXPECT_EQ(set->removeValueFromPropertyMap(map, DM_MAP_PROPERTY_SET, L"absent"), DM_BAD_INDEX);
    EXPECT_EQ(add(L"", b), DM_EMPTY_ID);
    EXPECT_EQ(replace(DmString(std::wstring_view(L"a\0b", 3)), b), DM_BAD_VALUE);
    EXPECT_FALSE(set->isDirty());
    EXPECT_TRUE(at(L"gain") == a && !at(L"absent"));
    EXPECT_EQ(replace(L"gain", b), DM_NO_ERROR);
    EXPECT_EQ(at(L"gain"), b);

    EXPECT_EQ(set->getKeysFromPropertyMap(map, DM_MAP_PROPERTY_SET, keys), DM_NO_ERROR);
    ASSERT_EQ(keys.size(), 3U);
    EXPECT_TRUE(keys[0] == L"Gain" && keys[1] == L"attack" && keys[2] == L"gain");
    int size = -1;
    EXPECT_EQ(set->removeValueFromPropertyMap(map, DM_MAP_PROPERTY_SET, L"attack"), DM_NO_ERROR);
    EXPECT_TRUE(set->getMapSize(map, DM_MAP_PROPERTY_SET, size) == DM_NO_ERROR && size == 2);
    EXPECT_EQ(set->clearMap(map, DM_MAP_PROPERTY_SET), DM_NO_ERROR);
    EXPECT_TRUE(set->getMapSize(map, DM_MAP_PROPERTY_SET, size) == DM_NO_ERROR && size == 0);
    EXPECT_EQ(a->refCount(), 1);
}
