#include "testSets.h"
#include "zrTest.h"
#include "zrTestInHouse.h"

namespace
{

/// Writes down what it is told, and may do something the first time.
class Recorder : public DmPropertyListener
{
public:
    void onPropertyChanged(const DmNodeId& id, eDmPropType type, const DmString& propertyName) override
    {
        changes.push_back(dmUtf8(id.dump()) + ' ' + std::to_string(type) + ' ' + dmUtf8(propertyName));
        if (const auto action = std::exchange(once, nullptr))
            action();
    }

    std::vector<std::string> changes;
    std::function<void()> once;
};

/// A class that declares by hand, to reach what declare() rules out, and that nobody registers.
class TestByHand final : public DmPropertySet
{
public:
    static constexpr const wchar_t* className = L"TestByHand";

    explicit TestByHand(const DmNodeId& id)
        : DmPropertySet(id, DmPropertySetInit<TestByHand>::data())
    {
    }
    eDmErrorId createList() override { return DM_NO_ERROR; }
    [[nodiscard]] DmPropertySetPtr clone() const override { return cloneAs(*this); }
    DmString getPSetName() const override { return className; }

    eDmErrorId add(const wchar_t* name, int index) { return addProperty(name, DM_INT, &_value, index, false, nullptr); }

private:
    int _value = 0;
};

/// Holds an object of T that is its own default.
template <class T>
class TestNesting final : public DmConcrete<TestNesting<T>>
{
public:
    static constexpr const wchar_t* className = std::same_as<T, TestPoint>   ? L"TestNestingPoint"
                                                : std::same_as<T, TestEvery> ? L"TestNestingEvery"
                                                                             : L"TestNestingOptional";

    explicit TestNesting(const DmNodeId& id)
        : DmConcrete<TestNesting<T>>(id, DmPropertySetInit<TestNesting>::data())
    {
        static const CoSharedPtr<T> shared = T::create();
        shared->freezeAsSharedDefault();
        _held = shared;
    }
    eDmErrorId createList() override { return declare(*this).optional(L"held", _held).status(); }

private:
    DmNested<T> _held;
};

} // namespace

TEST(PropertyDeclaration, RefusesWhatCannotBeDeclared)
{
    const auto set = dmCreate<TestByHand>();
    ASSERT_TRUE(set) << "a class registers itself";
    EXPECT_EQ(set->add(L"VERSION", 0), DM_PROPERTY_ALREADY_EXIST);
    EXPECT_EQ(set->classData().size(), 0);
    EXPECT_EQ(set->add(L"version", 0), DM_NO_ERROR);
    EXPECT_EQ(set->add(L"version", 1), DM_NO_ERROR) << "a duplicate is reported, and adds nothing";
    EXPECT_EQ(set->add(L"b", 5), DM_NO_ERROR) << "a bad index likewise";
    EXPECT_EQ(set->add(L"b", -1), DM_NO_ERROR);
    EXPECT_EQ(set->classData().size(), 1);
    EXPECT_IN_HOUSE_DEATH(static_cast<void>(set->add(L"VERSION", 1)), "Reserved property name");
    EXPECT_IN_HOUSE_DEATH(static_cast<void>(set->add(L"version", 1)), "outcome == DM_NO_ERROR");
}

TEST(PropertyDeclaration, FollowsFromTheMembers)
{
    const auto set = TestOptional::create();
    std::string all;
    int count = 0;
    EXPECT_EQ(set->getNumberOfProps(count), DM_NO_ERROR);
    for (int i = 0; i < count; ++i)
    {
        DmPropertyDef def;
        DmString name;
        int index = -1;
        EXPECT_TRUE(set->getPropertyDef(i, def) == DM_NO_ERROR && set->getPropertyName(i, name) == DM_NO_ERROR);
        EXPECT_TRUE(set->getPropertyIndex(name, index) == DM_NO_ERROR && index == i);
        all += dmUtf8(name) + ' ' + dmUtf8(DmPSetHelper::getInstance().getStrFromType(def._type)) +
               (def._held ? " of " + dmUtf8(DmString(def._held->name)) : "") + (def._skipIfDefault ? "?\n" : "\n");
    }
    EXPECT_EQ(all,
              "kind Int\nnumber Float?\nnotANumber Float?\nshared Property-Set of TestPoint?\n"
              "list Vector-Property-Set of TestPoint?\nhex Int?\nany Property-Set\nanything Vector-Property-Set\n");
}

TEST(PropertyValue, IsReachedByIndexAndByNameWithItsTypeOnly)
{
    const auto set = TestEvery::create();
    std::int32_t value = 42;
    std::int32_t read = 0;
    EXPECT_EQ(set->setPropertyValue(0, DM_INT, &value), DM_NO_ERROR);
    EXPECT_TRUE(set->getPropertyValue(L"int", DM_INT, &read) == DM_NO_ERROR && read == 42);
    value = 43;
    EXPECT_EQ(set->setPropertyValue(L"int", &value), DM_NO_ERROR);
    EXPECT_TRUE(set->getPropertyValue(0, DM_INT, &read) == DM_NO_ERROR && read == 43);

    eDmPropType type = DM_NB_TYPES;
    DmPropertyDef def;
    DmString name;
    for (const int index :
         {-1, set->classData().size(), std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
    {
        for (const eDmErrorId status :
             {set->getPropertyValue(index, DM_INT, &read), set->setPropertyValue(index, DM_INT, &value),
              set->getPropertyName(index, name), set->getPropertyDef(index, def), set->getPropertyType(index, type)})
            EXPECT_EQ(status, DM_PROPERTY_NOT_FOUND);
        EXPECT_TRUE(set->isPropertyRelevant(index));
    }
    EXPECT_EQ(set->getPropertyValue(L"Int", DM_INT, &read), DM_PROPERTY_NOT_FOUND);
    EXPECT_EQ(set->setPropertyValue(DmString(), &value), DM_PROPERTY_NOT_FOUND);
    for (const eDmPropType other : {DM_UINT, DM_STRING, DM_VECTOR_INT, DM_NB_TYPES, static_cast<eDmPropType>(99)})
    {
        EXPECT_EQ(set->getPropertyValue(0, other, &read), DM_BAD_PROPERTY_TYPE);
        EXPECT_EQ(set->setPropertyValue(0, other, &value), DM_BAD_PROPERTY_TYPE);
    }
}

TEST(PropertyValue, OfACollectionIsNotSetWholeButAnnounced)
{
    const auto set = TestEvery::create();
    Recorder recorder;
    ASSERT_EQ(set->registerListener(&recorder), DM_NO_ERROR);
    std::vector<std::int32_t> list;
    EXPECT_EQ(set->getPropertyValue(L"ints", DM_VECTOR_INT, &list), DM_TYPE_NOT_IMPLEMENTED);
    EXPECT_TRUE(recorder.changes.empty());
    EXPECT_EQ(set->setPropertyValue(L"ints", DM_VECTOR_INT, &list), DM_TYPE_NOT_IMPLEMENTED);
    EXPECT_TRUE(recorder.changes.size() == 1 && set->isDirty());
}

TEST(TypedSetter, ChecksTheStoredType)
{
    const auto point = TestPoint::create();
    EXPECT_EQ(point->setX(3), DM_NO_ERROR);
    EXPECT_EQ(point->setXAsText(L"4"), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(point->getX(), 3);
}

TEST(ConstantProperty, TakesNoOtherValueByAnyRoute)
{
    const auto set = TestOptional::create();
    std::int32_t kind = 8;
    EXPECT_EQ(set->setPropertyValue(TestOptional::Kind, DM_INT, &kind), DM_BAD_VALUE);
    EXPECT_EQ(set->setPropertyValue(L"kind", &kind), DM_BAD_VALUE);
    EXPECT_EQ(set->setPropertyValueFromStr(L"kind", L"8"), DM_BAD_VALUE);
    EXPECT_FALSE(set->isDirty());
    EXPECT_EQ(set->setPropertyValueFromStr(L"kind", L"7"), DM_NO_ERROR);
}

TEST(Relevance, IsDifferenceFromTheDefault)
{
    const auto set = TestOptional::create();
    const bool fresh[] = {true, false, true /* NaN equals nothing */, false, false, false, true, true};
    for (int i = 0; i < static_cast<int>(std::size(fresh)); ++i)
        EXPECT_EQ(set->isPropertyRelevant(i), fresh[i]) << i;
    for (const auto& [number, relevant] : {std::pair{0.5F, true}, {0.25F, false}})
    {
        EXPECT_EQ(set->setNumber(number), DM_NO_ERROR);
        EXPECT_EQ(set->isPropertyRelevant(TestOptional::Number), relevant);
    }
    const auto point = TestPoint::create();
    EXPECT_EQ(set->setShared(point), DM_NO_ERROR);
    EXPECT_FALSE(set->isPropertyRelevant(TestOptional::Shared)) << "another object with the same values";
    EXPECT_EQ(point->setLabel(L"other"), DM_NO_ERROR);
    EXPECT_TRUE(set->isPropertyRelevant(TestOptional::Shared));
    EXPECT_EQ(set->setShared(nullptr), DM_NO_ERROR);
    EXPECT_TRUE(set->isPropertyRelevant(TestOptional::Shared));

    const DmPropertySetPtr element;
    EXPECT_EQ(set->addValueInPropertyList(L"list", DM_VECTOR_PROPERTY_SET, &element), DM_NO_ERROR);
    EXPECT_TRUE(set->isPropertyRelevant(TestOptional::List));
}

TEST(Relevance, OfADefaultThatDoesNotEqualItselfIsAlways)
{
    const auto isRelevant = []<class T>(std::type_identity<T>)
    {
        const auto set = TestNesting<T>::create();
        EXPECT_EQ(set->classData().size(), 1);
        return set->isPropertyRelevant(0);
    };
    EXPECT_FALSE(isRelevant(std::type_identity<TestPoint>()));
    EXPECT_TRUE(isRelevant(std::type_identity<TestEvery>())) << "it holds collections";
    EXPECT_TRUE(isRelevant(std::type_identity<TestOptional>())) << "it holds a NaN";
}

TEST(SharedDefault, IsFrozenAndCopiedForChange)
{
    const auto set = TestOptional::create();
    const auto other = TestOptional::create();
    const TestOptional& constant = *set;
    const TestPoint* const shared = constant.getShared();
    EXPECT_EQ(shared, const_cast<const TestOptional&>(*other).getShared());
    auto* const frozen = const_cast<TestPoint*>(shared);
    double x = 9;
    for (const eDmErrorId status :
         {frozen->setX(9), frozen->setPropertyValue(L"x", DM_DOUBLE, &x), frozen->setPropertyValueFromStr(L"x", L"9")})
        EXPECT_EQ(status, DM_CANNOT_LOCK);

    EXPECT_EQ(set->getShared(), shared) << "reading changes nothing";
    Recorder recorder;
    EXPECT_EQ(set->registerListener(&recorder), DM_NO_ERROR);
    EXPECT_EQ(set->ownShared()->setX(9), DM_NO_ERROR);
    EXPECT_EQ(set->ownShared(), constant.getShared()) << "copied once";
    EXPECT_EQ(recorder.changes.size(), 1U);
    EXPECT_EQ(set->unregisterListener(&recorder), DM_NO_ERROR);
    EXPECT_EQ(constant.getShared()->getX(), 9);
    EXPECT_EQ(other->getShared()->getX(), 1.5);
    EXPECT_TRUE(set->isPropertyRelevant(TestOptional::Shared));
    EXPECT_FALSE(other->isPropertyRelevant(TestOptional::Shared));
    EXPECT_EQ(other->setShared(nullptr), DM_NO_ERROR);
    EXPECT_EQ(other->ownShared(), nullptr);
    const auto handed = TestPoint::create();
    EXPECT_EQ(other->setShared(handed), DM_NO_ERROR);
    EXPECT_EQ(other->ownShared(), handed.get()) << "what a setter shared stays shared";
    set->freeze();
    EXPECT_EQ(set->ownShared(), nullptr);
}

TEST(Constant, KeepsWhatItHasAndHearsNobody)
{
    const auto set = TestEvery::create();
    const auto held = TestPoint::create();
    const DmPropertySetPtr point = held;
    Recorder early;
    Recorder late;
    ASSERT_EQ(set->registerListener(&early), DM_NO_ERROR);
    ASSERT_EQ(set->addValueInPropertyList(L"points", DM_VECTOR_PROPERTY_SET, &point), DM_NO_ERROR);
    set->freeze();
    set->cleanDirty();
    EXPECT_TRUE(set->isDirty());
    EXPECT_FALSE(held->isDirty());
    early.changes.clear();
    const std::vector<std::int32_t> whole{1, 2};
    const std::int32_t value = 1;
    for (const eDmErrorId status :
         {set->registerListener(&late), set->setPropertyValue(0, DM_INT, &value), held->setX(1),
          set->setPropertyValue(L"ints", DM_VECTOR_INT, &whole), set->setPropertyList(L"ints", DM_VECTOR_INT, &whole),
          set->addValueInPropertyList(L"ints", DM_VECTOR_INT, &value),
          set->clearList(L"points", DM_VECTOR_PROPERTY_SET),
          set->removeValueFromPropertyList(L"points", DM_VECTOR_PROPERTY_SET, 0),
          set->addValueInPropertyMap(L"pointMap", DM_MAP_PROPERTY_SET, L"a", &point),
          set->clearMap(L"pointMap", DM_MAP_PROPERTY_SET)})
        EXPECT_EQ(status, DM_CANNOT_LOCK);
    EXPECT_TRUE(early.changes.empty());
    EXPECT_EQ(set->lockPropertySet(true), DM_NO_ERROR) << "a constant's mutex is taken like any other";
    EXPECT_EQ(set->lockPropertySet(false), DM_NO_ERROR);
    EXPECT_EQ(set->unregisterListener(&early), DM_NO_ERROR);
}

TEST(Constant, MayHoldItself)
{
    const auto top = TestOptional::create();
    const DmPropertySetPtr self = top;
    ASSERT_EQ(top->addValueInPropertyList(TestOptional::Anything, DM_VECTOR_PROPERTY_SET, &self), DM_NO_ERROR);
    top->freeze();
    EXPECT_EQ(top->clearList(TestOptional::Anything, DM_VECTOR_PROPERTY_SET), DM_CANNOT_LOCK);
    // Nothing else takes it apart any more.
    static_cast<DmPropertySetVector*>(const_cast<void*>(top->fieldOf(TestOptional::Anything)))->clear();
}

TEST(Slot, RefusesAnotherClassAtEveryDoor)
{
    const auto set = TestEvery::create();
    const DmPropertySetPtr wrong = TestOptional::create();
    const DmPropertySetPtr right = TestPoint::create();
    const auto doors = [&](const DmPropertySetPtr& value)
    {
        constexpr eDmPropType list = DM_VECTOR_PROPERTY_SET;
        constexpr eDmPropType map = DM_MAP_PROPERTY_SET;
        return std::vector<eDmErrorId>{set->setPropertyValue(L"point", DM_PROPERTY_SET, &value),
                                       set->setPropertyValue(DmString(L"point"), &value),
                                       set->addValueInPropertyList(L"points", list, &value),
                                       set->insertValueInPropertyList(L"points", list, 0, &value),
                                       set->setValueFromPropertyList(L"points", list, 0, &value),
                                       set->addValueInPropertyMap(L"pointMap", map, L"key", &value),
                                       set->setValueFromPropertyMap(L"pointMap", map, L"key", &value)};
    };
    EXPECT_EQ(doors(right), std::vector<eDmErrorId>(7, DM_NO_ERROR));
    set->cleanDirty();
    EXPECT_EQ(doors(wrong), std::vector<eDmErrorId>(7, DM_BAD_PROPERTY_TYPE));
    EXPECT_FALSE(set->isDirty());
    const auto any = TestOptional::create();
    EXPECT_EQ(any->setPropertyValue(L"any", DM_PROPERTY_SET, &wrong), DM_NO_ERROR) << "a slot for any property set";
}

TEST(Listener, IsToldOfEachChangeInOrder)
{
    const auto set = TestEvery::create();
    Recorder first;
    Recorder second;
    EXPECT_EQ(set->registerListener(nullptr), DM_LISTENER_IS_NULL);
    EXPECT_EQ(set->unregisterListener(&first), DM_LISTENER_NOT_FOUND);
    EXPECT_EQ(set->registerListener(&first), DM_NO_ERROR);
    EXPECT_EQ(set->registerListener(&first), DM_LISTENER_ALREADY_REGISTERED);
    EXPECT_EQ(set->unregisterListener(&second), DM_LISTENER_NOT_FOUND);
    EXPECT_EQ(set->registerListener(&second), DM_NO_ERROR);

    std::int32_t value = 1;
    EXPECT_EQ(set->setPropertyValue(0, DM_UINT, &value), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(set->setPropertyValue(0, DM_INT, &value), DM_NO_ERROR);
    EXPECT_EQ(first.changes, std::vector<std::string>{dmUtf8(set->getNodeId().dump()) + " 0 int"});
    EXPECT_EQ(second.changes, first.changes);

    const CoSharedPtr<TestEvery> copy(new TestEvery(*set));
    EXPECT_TRUE(copy->isDirty() && copy->getNodeId() == set->getNodeId());
    EXPECT_EQ(copy->setPropertyValue(0, DM_INT, &value), DM_NO_ERROR);
    EXPECT_EQ(first.changes.size(), 1U) << "a copy has no listeners";
}

TEST(Listener, MayUnregisterSetAndDropInsideANotification)
{
    auto set = TestEvery::create();
    Recorder first;
    Recorder second;
    Recorder third;
    for (Recorder* const recorder : {&first, &second, &third})
        ASSERT_EQ(set->registerListener(recorder), DM_NO_ERROR);
    DmPropertySet* const raw = set.get();
    std::int32_t value = 1;
    first.once = [&]
    {
        EXPECT_EQ(raw->unregisterListener(&first), DM_NO_ERROR);
        EXPECT_EQ(raw->unregisterListener(&second), DM_NO_ERROR);
        EXPECT_EQ(raw->setPropertyValue(0, DM_INT, &value), DM_NO_ERROR);
        set.reset(); // the last reference but the notification's own
    };
    EXPECT_EQ(raw->setPropertyValue(L"short", DM_SHORT, &value), DM_NO_ERROR);
    EXPECT_EQ(first.changes.size(), 1U);
    EXPECT_TRUE(second.changes.empty());
    EXPECT_EQ(third.changes.size(), 2U);
}

TEST(Lock, KeepsItsAsymmetries)
{
    const auto set = TestEvery::create();
    std::int32_t value = 5;
    EXPECT_EQ(set->lockPropertySet(true), DM_NO_ERROR);
    EXPECT_EQ(set->lockPropertySet(true), DM_CANNOT_LOCK);
    EXPECT_EQ(set->setPropertyValue(0, DM_INT, &value), DM_NO_ERROR) << "the owner of the lock may set";
    EXPECT_EQ(set->lockPropertySet(true), DM_CANNOT_LOCK) << "and holds it still";
    EXPECT_EQ(set->unlockPropertySet(), DM_CANNOT_UNLOCK) << "what it always says";
    for (const bool lock : {true, false, false})
        EXPECT_EQ(set->lockPropertySet(lock), DM_NO_ERROR);
}

TEST(NodeIdLookup, FollowsThePathThroughLists)
{
    const auto other = TestPoint::create(); // takes number 0, which a text without a number stands for
    const auto top = TestOptional::create();
    DmPropertySet* made = nullptr;
    ASSERT_EQ(DmPropertyFactory::getInstance().createPropertySetInstance(L"TestPoint", top->getNodeId(),
                                                                         TestOptional::List, made),
              DM_NO_ERROR);
    const DmPropertySetPtr child(made);
    for (const DmPropertySetPtr& element : {DmPropertySetPtr(), stored(other), child})
        ASSERT_EQ(top->addValueInPropertyList(L"list", DM_VECTOR_PROPERTY_SET, &element), DM_NO_ERROR);
    std::uint64_t number = 0;
    ASSERT_EQ(top->getNodeId().back(number), DM_NO_ERROR);
    const struct
    {
        DmNodeId id;
        eDmErrorId status;
        DmPropertySet* set;
    } rows[] = {{top->getNodeId(), DM_NO_ERROR, top.get()},
                {child->getNodeId(), DM_NO_ERROR, made},
                {DmNodeId(), DM_EMPTY_ID, made},
                {DmNodeId(number + 100), DM_NOT_ME, made},
                {DmNodeId(top->getNodeId(), TestOptional::List, 999999), DM_NOT_ME, made},
                {DmNodeId(top->getNodeId(), 99, number), DM_PROPERTY_NOT_FOUND, made},
                {DmNodeId(top->getNodeId(), TestOptional::Number, number), DM_BAD_PROPERTY_TYPE, made},
                {DmNodeId(DmString(L"no number at all")), DM_NOT_ME, made}};
    for (const auto& row : rows)
    {
        DmPropertySet* found = made;
        EXPECT_EQ(top->getPropertySetFromNodeId(row.id, found), row.status) << dmUtf8(row.id.dump());
        EXPECT_EQ(found, row.set);
    }
}
