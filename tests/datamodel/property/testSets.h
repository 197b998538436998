/// Property sets of the tests' own: one with a property of every type, and what it holds.
#pragma once

#include "dmDeclare.h"
#include "dmPropertySetInit.h"
#include "dmSlots.h"

enum eTestColour : int
{
    TEST_RED = 0,
    TEST_BLUE = 2
};

/// Held by others; three scalars.
class TestPoint final : public DmConcrete<TestPoint>
{
public:
    static constexpr const wchar_t* className = L"TestPoint";
    // clang-format off
    enum Property : int { X, Y, Label };
    // clang-format on

    explicit TestPoint(const DmNodeId& id);
    eDmErrorId createList() override;

    double getX() const { return _x; }
    eDmErrorId setX(double x) { return set(X, x); }
    eDmErrorId setLabel(const DmString& label) { return set(Label, label); }
    /// The value given is not of the type in which the property is stored.
    eDmErrorId setXAsText(const DmString& x) { return set(X, x); }

private:
    double _x = 1.5;
    double _y = 0;
    DmString _label{L"point"};
};

/// One property of every type, in the order of the types; all mandatory.
class TestEvery final : public DmConcrete<TestEvery>
{
public:
    static constexpr const wchar_t* className = L"TestEvery";

    explicit TestEvery(const DmNodeId& id);
    eDmErrorId createList() override;
    eDmErrorId createAttributes() override;

    static int listsCreated;

private:
    std::int32_t _int = 0;
    std::uint32_t _uint = 0;
    eTestColour _enum = TEST_BLUE;
    std::int16_t _short = 0;
    std::uint16_t _ushort = 0;
    std::int64_t _int64 = 0;
    std::uint64_t _uint64 = 0;
    char _char = 0;
    unsigned char _uchar = 0;
    float _float = 0;
    bool _bool = false;
    double _double = 0;
    DmString _string;
    DmNested<TestPoint> _point;
    std::vector<std::int32_t> _ints;
    std::vector<std::int16_t> _shorts;
    std::vector<std::uint64_t> _uint64s;
    std::vector<float> _floats;
    std::vector<double> _doubles;
    std::vector<DmString> _strings;
    DmSetList<TestPoint> _points;
    DmSetMap<TestPoint> _pointMap;
    DmString _cdata;
};

/// Optional properties, a constant one, a shared default, a text form of its own, and slots for any property set.
class TestOptional final : public DmConcrete<TestOptional>
{
public:
    static constexpr const wchar_t* className = L"TestOptional";
    // clang-format off
    enum Property : int { Kind, Number, NotANumber, Shared, List, Hex, Any, Anything };
    // clang-format on

    explicit TestOptional(const DmNodeId& id);
    eDmErrorId createList() override;

    const TestPoint* getShared() const { return _shared.get(); }
    TestPoint* ownShared() { return _shared.own(*this, Shared); }
    eDmErrorId setShared(const CoSharedPtr<TestPoint>& point) { return set(Shared, point); }
    eDmErrorId setNumber(float number) { return set(Number, number); }

private:
    std::int32_t _kind = 7;
    float _number = 0.25F;
    float _nan;
    DmNested<TestPoint> _shared;
    DmSetList<TestPoint> _list;
    std::int32_t _hex = 16;
    DmPropertySetPtr _any;
    DmPropertySetVector _anything;
};

/// Fields that objects share until they are written.
class TestRare final : public DmConcrete<TestRare>
{
public:
    enum Property : int
    {
        Often,
        Number,
        Text,
        Points,
        Shared,
        Map,
        PropertyCount
    };

    explicit TestRare(const DmNodeId& id)
        : DmConcrete(id, DmPropertySetInit<TestRare>::data())
    {
    }
    eDmErrorId createList() override
    {
        return declare(*this)
            .mandatory<Often>(L"often", _often)
            .mandatory<Number>(L"number", rare()->number, rare())
            .optional<Text>(L"text", rare()->text, rare())
            .mandatory<Points>(L"points", rare()->points, rare())
            .optional<Shared>(L"shared", rare()->shared, rare())
            .mandatory<Map>(L"map", rare()->map, rare())
            .status();
    }

    bool hasOwnBlock() const { return _rares.isOwn<Rare>(); }
    int getNumber() const { return rare()->number; }
    eDmErrorId setNumber(int number) { return set(Number, number); }
    const DmString& getText() const { return rare()->text; }
    eDmErrorId setText(const DmString& text) { return set(Text, text); }
    eDmErrorId setOften(int often) { return set(Often, often); }
    int pointCount() const { return rare()->points.count(); }

private:
    struct Rare
    {
        static constexpr int place = 0;
        int number = 5;
        DmString text{L"usual"};
        DmSetList<TestPoint> points;
        DmNested<TestPoint> shared{TestPoint::create()};
        DmSetMap<TestPoint> map;
    };
    DmRareView<Rare> rare() const { return _rares.of<Rare>(); }

    int _often = 0;
    DmRares _rares;
};

/// A fresh object of a class, as the property layer stores it.
template <class T>
DmPropertySetPtr stored(const CoSharedPtr<T>& set)
{
    return set;
}
