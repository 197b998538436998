#include "testSets.h"

#include <cwchar>
#include <limits>
#include <string>

namespace
{

const DmPropertySetInit<TestPoint> pointRegistration;
const DmPropertySetInit<TestEvery> everyRegistration;
const DmPropertySetInit<TestOptional> optionalRegistration;

eDmErrorId hexFromValue(const void* value, DmString& text)
{
    wchar_t digits[16];
    std::swprintf(digits, 16, L"0x%x", static_cast<unsigned>(*static_cast<const std::int32_t*>(value)));
    text = digits;
    return DM_NO_ERROR;
}

eDmErrorId valueFromHex(const DmString& text, void* value)
{
    if (!text.view().starts_with(L"0x"))
        return DM_BAD_VALUE;
    *static_cast<std::int32_t*>(value) = static_cast<std::int32_t>(std::wcstol(text.c_str(), nullptr, 16));
    return DM_NO_ERROR;
}

CoSharedPtr<TestPoint> sharedPoint()
{
    static const CoSharedPtr<TestPoint> point = []
    {
        CoSharedPtr<TestPoint> fresh = TestPoint::create();
        fresh->freezeAsSharedDefault();
        return fresh;
    }();
    return point;
}

} // namespace

int TestEvery::listsCreated = 0;

TestPoint::TestPoint(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<TestPoint>::data())
{
}

eDmErrorId TestPoint::createList()
{
    return declare(*this).mandatory(L"x", _x).optional(L"y", _y).optional(L"label", _label).status();
}

TestEvery::TestEvery(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<TestEvery>::data())
{
}

eDmErrorId TestEvery::createList()
{
    ++listsCreated;
    // clang-format off
    return declare(*this)
        .mandatory(L"int", _int).mandatory(L"uint", _uint).mandatory(L"enum", _enum).mandatory(L"short", _short)
        .mandatory(L"ushort", _ushort).mandatory(L"int64", _int64).mandatory(L"uint64", _uint64)
        .mandatory(L"char", _char).mandatory(L"uchar", _uchar).mandatory(L"float", _float)
        .mandatory(L"bool", _bool).mandatory(L"double", _double).mandatory(L"string", _string)
        .mandatory(L"point", _point).mandatory(L"ints", _ints).mandatory(L"shorts", _shorts)
        .mandatory(L"uint64s", _uint64s).mandatory(L"floats", _floats).mandatory(L"doubles", _doubles)
        .mandatory(L"strings", _strings).mandatory(L"points", _points).mandatory(L"pointMap", _pointMap)
        .mandatoryCdata(L"cdata", _cdata)
        .status();
    // clang-format on
}

eDmErrorId TestEvery::createAttributes()
{
    _string = L"attributes";
    return DM_NO_ERROR;
}

TestOptional::TestOptional(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<TestOptional>::data())
    , _nan(std::numeric_limits<float>::quiet_NaN())
    , _shared(sharedPoint())
{
}

eDmErrorId TestOptional::createList()
{
    return declare(*this)
        .constant(L"kind", _kind)
        .optional(L"number", _number)
        .optional(L"notANumber", _nan)
        .optional(L"shared", _shared)
        .optional(L"list", _list)
        .optional(L"hex", _hex)
        .textForm(hexFromValue, valueFromHex)
        .mandatory(L"any", _any)
        .mandatory(L"anything", _anything)
        .status();
}
