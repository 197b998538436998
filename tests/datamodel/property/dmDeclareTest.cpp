#include "testSets.h"
#include "zrTest.h"

namespace
{

enum eTestSize : int
{
    TEST_SMALL,
    TEST_LARGE
};

constexpr DmNamedValue testSizes[] = {{TEST_SMALL, "TEST_SMALL", "small"}, {TEST_LARGE, "TEST_LARGE", "large"}};
constexpr const wchar_t* testWordList[] = {L"", L"one"};
constexpr DmTextTable testWords{testWordList, true, true};

/// Nothing but the class itself: no object registers it.
class TestDeclared : public DmConcrete<TestDeclared>
{
public:
    enum Property : int
    {
        Size,
        Word,
        Speed,
        Count,
        Nested,
        PropertyCount
    };

    explicit TestDeclared(const DmNodeId& id)
        : TestDeclared(id, DmPropertySetInit<TestDeclared>::data())
    {
    }
    eDmErrorId createList() override
    {
        return declare(*this)
            .mandatory<Size>(L"size", _size, "How large it is.", testSizes)
            .mandatory<Word>(L"word", _word, "A word.", testWords)
            .optional<Speed>(L"speed", _speed, "How fast it is.", dmFrames, DmRange{-2, 2})
            .optional<Count>(L"count", _count)
            .optional<Nested>(L"nested", _nested)
            .status();
    }

    TestPoint* nested() const { return _nested.get(); }
    template <class Number>
    eDmErrorId store(int property, Number number)
    {
        return set(property, number);
    }

protected:
    TestDeclared(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& data)
        : DmConcrete(id, data)
        , _nested(TestPoint::create())
    {
    }

private:
    eTestSize _size = TEST_SMALL;
    DmString _word;
    double _speed = 1;
    std::uint16_t _count = 3;
    DmNested<TestPoint> _nested;
};

class TestDerived final : public DmConcrete<TestDerived, TestDeclared>
{
public:
    enum Property : int
    {
        Own = FirstOwn,
        PropertyCount
    };

    explicit TestDerived(const DmNodeId& id)
        : DmConcrete(id, DmPropertySetInit<TestDerived>::data())
    {
    }
    eDmErrorId createList() override
    {
        return declare(*this, TestDeclared::createList()).mandatory<Own>(L"own", _own).status();
    }

private:
    int _own = 0;
};

/// A class that only a function of its own can make.
class TestMade final : public DmPropertySet
{
public:
    TestMade(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& data)
        : DmPropertySet(id, data)
    {
    }
    eDmErrorId createList() override { return declare(*this).mandatory(L"text", text).status(); }
    [[nodiscard]] DmPropertySetPtr clone() const override { return DmPropertySetPtr(new TestMade(*this)); }
    DmString getPSetName() const override { return L"TestMade"; }

    static eDmErrorId make(const DmNodeId& id, DmPropertySet*& out, bool /*createAttributes*/)
    {
        static CoSharedPtr<DmPropertySetData> data;
        const bool isFirst = !data;
        out = new TestMade(id, data);
        return isFirst ? out->createList() : DM_NO_ERROR;
    }

    DmString text;
};

} // namespace

TEST(Declaration, SaysWhatItTellsPeople)
{
    const CoSharedPtr<TestDerived> set = TestDerived::create();
    ASSERT_TRUE(set) << "a class registers itself";
    const DmPropertySetData& data = set->classData();
    ASSERT_EQ(data.size(), TestDerived::PropertyCount);
    EXPECT_EQ(data.className(), L"TestDerived");
    EXPECT_STREQ(data.at(TestDeclared::Size)->_meaning, "How large it is.");
    ASSERT_EQ(data.at(TestDeclared::Size)->_values.size(), 2U);
    EXPECT_STREQ(data.at(TestDeclared::Size)->_values[TEST_LARGE].text, "large");
    EXPECT_TRUE(data.at(TestDeclared::Word)->_texts->contains(L"ONE"));
    EXPECT_FALSE(data.at(TestDeclared::Word)->_texts->contains(L"onerous"));
    EXPECT_STREQ(data.at(TestDeclared::Speed)->_unit, "frames");
    EXPECT_EQ(data.at(TestDeclared::Speed)->_range->least, -2);
    EXPECT_FALSE(data.at(TestDeclared::Count)->_range);
    EXPECT_STREQ(data.at(TestDerived::Own)->_meaning, "");
    EXPECT_EQ(data.find(L"own"), TestDerived::Own);
}

TEST(Declaration, LeavesTheFirstObjectLikeAllLaterOnes)
{
    const CoSharedPtr<TestDeclared> first = TestDeclared::create();
    const CoSharedPtr<TestDeclared> second = TestDeclared::create();
    for (const auto& set : {first, second})
    {
        EXPECT_FALSE(set->isPropertyRelevant(TestDeclared::Nested));
        EXPECT_EQ(set->nested()->setX(4), DM_NO_ERROR);
        EXPECT_TRUE(set->isPropertyRelevant(TestDeclared::Nested));
    }
}

TEST(Declaration, TakesWholeNumbersForWhatCountsInAnyNumber)
{
    const CoSharedPtr<TestDeclared> set = TestDeclared::create();
    EXPECT_EQ(set->store(TestDeclared::Speed, 0), DM_NO_ERROR);
    EXPECT_EQ(*static_cast<const double*>(set->fieldOf(TestDeclared::Speed)), 0);
    EXPECT_EQ(set->store(TestDeclared::Count, 65535), DM_NO_ERROR);
    EXPECT_EQ(*static_cast<const std::uint16_t*>(set->fieldOf(TestDeclared::Count)), 65535);
    EXPECT_EQ(set->store(TestDeclared::Count, 65536), DM_BAD_VALUE);
    EXPECT_EQ(set->store(TestDeclared::Count, -1), DM_BAD_VALUE);
    EXPECT_EQ(set->store(TestDeclared::Word, 1), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(set->store(TestDeclared::Count, 1.0), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(set->store(99, 1), DM_PROPERTY_NOT_FOUND);
}

TEST(Factory, CopiesWhatAFunctionAloneMakes)
{
    ASSERT_EQ(DmPropertyFactory::getInstance().registerCreator(L"TestMade", &TestMade::make), DM_NO_ERROR);
    DmPropertySet* made = nullptr;
    ASSERT_EQ(DmPropertyFactory::getInstance().createPropertySetInstance(L"TestMade", DmNodeId(), 0, made),
              DM_NO_ERROR);
    const DmPropertySetPtr source(made);
    static_cast<TestMade*>(made)->text = L"kept";
    DmPropertySetPtr copy;
    ASSERT_EQ(dmDeepCopy(*source, copy), DM_NO_ERROR);
    EXPECT_EQ(static_cast<TestMade*>(copy.get())->text, L"kept");
}
