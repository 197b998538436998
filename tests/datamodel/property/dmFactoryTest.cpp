#include "testSets.h"
#include "zrTest.h"

namespace
{

std::uint64_t numberOf(const DmPropertySet& set)
{
    std::uint64_t number = 0;
    EXPECT_EQ(set.getNodeId().back(number), DM_NO_ERROR);
    return number;
}

CoSharedPtr<DmPropertySet> make(const wchar_t* name, const DmNodeId& parent = DmNodeId(), int index = 0)
{
    DmPropertySet* made = nullptr;
    EXPECT_EQ(DmPropertyFactory::getInstance().createPropertySetInstance(name, parent, index, made), DM_NO_ERROR);
    return CoSharedPtr<DmPropertySet>(made);
}

/// Derived from the base directly; with 1 it hands over another class's table, with 2 it says another's name.
template <int mistake>
class TestMistaken final : public DmPropertySet
{
public:
    static constexpr const wchar_t* className = mistake == 0   ? L"TestMistaken"
                                                : mistake == 1 ? L"TestTable"
                                                               : L"TestName";

    explicit TestMistaken(const DmNodeId& id)
        : DmPropertySet(id,
                        mistake == 1 ? DmPropertySetInit<TestPoint>::data() : DmPropertySetInit<TestMistaken>::data())
    {
    }
    eDmErrorId createList() override { return DM_NO_ERROR; }
    [[nodiscard]] DmPropertySetPtr clone() const override { return cloneAs(*this); }
    DmString getPSetName() const override { return mistake == 2 ? L"TestPoint" : className; }
};

const auto early = dmCreate<TestMistaken<0>>(); // in front of the class's own registration

} // namespace

TEST(Factory, MakesNoNullObjectOfAClass)
{
    EXPECT_TRUE(early);
    EXPECT_DEATH(dmCreate<TestMistaken<1>>(), "constructor of TestTable hands DmPropertySetInit<TestTable>::data");
    EXPECT_DEATH(dmCreate<TestMistaken<2>>(), "TestName::getPSetName\\(\\) returns its className, not \"TestPoint\"");
}

TEST(Factory, CountsIdsOfRegisteredClassesOnly)
{
    const auto first = make(L"TestPoint");
    DmPropertySet* untouched = first.get();
    for (const wchar_t* const unknown : {L"Testpoint", L""})
        EXPECT_EQ(DmPropertyFactory::getInstance().createPropertySetInstance(unknown, DmNodeId(), 0, untouched),
                  DM_PROPERTY_NOT_FOUND);
    EXPECT_EQ(untouched, first.get());
    const auto second = make(L"TestPoint");
    EXPECT_EQ(numberOf(*second), numberOf(*first) + 1);
    const auto child = make(L"TestPoint", second->getNodeId(), 4);
    EXPECT_TRUE(child->getNodeId() == DmNodeId(second->getNodeId(), 4, numberOf(*second) + 1));
}

TEST(Factory, BuildsAClassesTableOnce)
{
    const auto first = make(L"TestEvery");
    const auto second = make(L"TestEvery");
    EXPECT_EQ(TestEvery::listsCreated, 1);
    EXPECT_EQ(&first->classData(), &second->classData());
    EXPECT_TRUE(first->getPSetName() == L"TestEvery" && first->classData().className() == L"TestEvery");
}

TEST(Factory, KeepsTheFirstRegistrationOfAName)
{
    DmPropertyFactory& factory = DmPropertyFactory::getInstance();
    EXPECT_EQ(factory.registerCreator(L"TestPoint", nullptr), DM_PROPERTYSET_ALREADY_EXIST);
    EXPECT_TRUE(make(L"TestPoint"));
    const std::vector<DmString> names = factory.classNames();
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end(), [](const auto& a, const auto& b) { return a < b; }));
    EXPECT_NE(std::find(names.begin(), names.end(), DmString(L"TestPoint")), names.end());
    EXPECT_DEATH(const DmPropertySetInit<TestPoint> again, "status == DM_NO_ERROR");
}
