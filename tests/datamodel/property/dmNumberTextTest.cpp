/// Holds the text forms against what a wide stream of the classic locale does, value for value and text for text.
#include "testSets.h"

#include "dmNumberText.h"
#include "dmUtf8.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <string>

namespace
{

constexpr int rounds = 200000;

class Stream
{
public:
    Stream()
    {
        _stream.imbue(std::locale::classic());
        _stream << std::boolalpha;
        _stream.precision(10);
    }

    template <class T>
    std::wstring write(T value)
    {
        restart(L"");
        if constexpr (sizeof(T) == 1 && !std::is_same_v<T, bool>)
            _stream << static_cast<int>(value);
        else
            _stream << value;
        return _stream.str();
    }

    template <class T>
    T read(const std::wstring& text)
    {
        restart(text);
        if constexpr (sizeof(T) == 1 && !std::is_same_v<T, bool>)
        {
            wchar_t character = 0;
            _stream >> character;
            return static_cast<T>(static_cast<std::uint32_t>(character) < 256 ? character : L'_');
        }
        else
        {
            T value{};
            _stream >> value;
            return value;
        }
    }

private:
    void restart(const std::wstring& text)
    {
        _stream.clear();
        _stream.str(text);
    }

    std::wstringstream _stream;
};

template <class T>
bool same(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>)
        return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
    else
        return a == b;
}

template <class T>
T randomValue(std::mt19937_64& random)
{
    const std::uint64_t bits = random();
    if constexpr (std::is_same_v<T, bool>)
        return (bits & 1) != 0;
    else if constexpr (std::is_same_v<T, double>)
        return bits & 1 ? std::bit_cast<double>(random())
                        : static_cast<double>(static_cast<std::int32_t>(bits >> 8)) / 64;
    else if constexpr (std::is_same_v<T, float>)
        return bits & 1 ? std::bit_cast<float>(static_cast<std::uint32_t>(random()))
                        : static_cast<float>(static_cast<std::int16_t>(bits >> 8)) / 16;
    else
        return static_cast<T>(bits >> (random() % 64));
}

/// Texts made of what numbers are made of, and of what they are not.
std::wstring randomText(std::mt19937_64& random)
{
    static const std::wstring characters = L"00112345678999..eE+-- \t\nx,truefalsinfa\u00e9\u2003";
    std::wstring text;
    const std::size_t length = random() % 14;
    for (std::size_t i = 0; i < length; ++i)
        text += characters[random() % characters.size()];
    return text;
}

const wchar_t* const specialTexts[] = {
    L"",
    L" ",
    L"-1",
    L"70000",
    L"-70000",
    L"1e21",
    L"true",
    L"false",
    L"1",
    L"True",
    L"trueish",
    L"tru",
    L"fals",
    L"falsehood",
    L"1e300",
    L"-1e300",
    L"1e-300",
    L"1e-400",
    L"-1e-400",
    L"1e400",
    L"4.9e-324",
    L"2.4e-324",
    L"1e",
    L"1e+",
    L"1e+ 5",
    L".",
    L".5",
    L"5.",
    L"-.5e1",
    L"+7",
    L"++7",
    L"- 7",
    L"0x1F",
    L"inf",
    L"nan",
    L"-inf",
    L"infinity",
    L"007",
    L"1.5.2",
    L"1e5e5",
    L"1,5",
    L"2147483648",
    L"-2147483649",
    L"4294967296",
    L"-4294967295",
    L"-4294967296",
    L"18446744073709551615",
    L"18446744073709551616",
    L"-18446744073709551615",
    L"-18446744073709551616",
    L"9223372036854775808",
    L"-9223372036854775808",
    L"-9223372036854775809",
    L"32768",
    L"-32769",
    L"65536",
    L"-65535",
    L"3.4028236e38",
    L"3.4028235677973366e38",
    L"1.17549435e-38",
    L"7e-46",
    L"8e-46",
    L"  \v\f\r\n\t42abc",
    L"0.30000000000000004",
    L"123456789012345678901234567890",
    L"0.1e-1000000",
    L"1e1000000",
    L"e5",
    L"-",
    L"+",
    L"-e",
    L"0000000000000000000000000000000000000000000000000000000000000000000000000000000000001.25",
    L"3.141592653589793238462643383279502884197169399375105820974944592307816406286208998628034825e0",
    L"\u0661",
    L"A",
    L"\u00e9",
    L"\u0100",
    L" \u00ff"};

template <class T>
class NumberText : public testing::Test
{
};

using NumberTypes = testing::Types<std::int32_t, std::uint32_t, std::int16_t, std::uint16_t, std::int64_t,
                                   std::uint64_t, signed char, unsigned char, float, bool, double>;
TYPED_TEST_SUITE(NumberText, NumberTypes);

} // namespace

TYPED_TEST(NumberText, IsWrittenAsAStreamWritesIt)
{
    using T = TypeParam;
    Stream stream;
    std::mt19937_64 random(1);
    const auto check = [&](T value)
    {
        char buffer[dmNumberText::maxChars];
        const std::string_view narrow = dmNumberText::format(value, buffer);
        ASSERT_EQ(stream.write(value), std::wstring(narrow.begin(), narrow.end()));
    };
    for (int i = 0; i < rounds; ++i)
        check(randomValue<T>(random));
    check(std::numeric_limits<T>::max());
    check(std::numeric_limits<T>::lowest());
    if constexpr (std::is_floating_point_v<T>)
    {
        using Limits = std::numeric_limits<T>;
        for (const T value : {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), Limits::denorm_min(),
                              Limits::min(), T(-0.0), T(0.1), T(1e20), T(123456789.5), T(9999999999.5)})
            check(value);
    }
}

TYPED_TEST(NumberText, IsReadAsAStreamReadsIt)
{
    using T = TypeParam;
    Stream stream;
    std::mt19937_64 random(2);
    const auto check = [&](const std::wstring& text)
    {
        const T expected = stream.read<T>(text);
        const T value = dmNumberText::parse<T, wchar_t>(text);
        ASSERT_TRUE(same(value, expected)) << testing::PrintToString(text) << ": " << +value << " for " << +expected;
    };
    for (const wchar_t* const text : specialTexts)
        check(text);
    for (int i = 0; i < rounds; ++i)
        check(randomText(random));
    for (int i = 0; i < rounds / 4; ++i)
        check(stream.write(randomValue<T>(random)));
}

TEST(NumberTextTable, GivesWhatEditorsOfTheFormatRelyOn)
{
    using namespace dmNumberText;
    EXPECT_EQ((parse<std::uint32_t, wchar_t>(L"-1")), 4294967295U);
    EXPECT_EQ((parse<std::int16_t, wchar_t>(L"70000")), 32767);
    EXPECT_EQ((parse<std::int32_t, wchar_t>(L"1e21")), 1);
    EXPECT_EQ((parse<std::int32_t, wchar_t>(L"true")), 0);
    EXPECT_FALSE((parse<bool, wchar_t>(L"1")));
    EXPECT_EQ((parse<float, wchar_t>(L"1e300")), std::numeric_limits<float>::max());
    EXPECT_EQ((parse<double, char>("  86400.5 frames")), 86400.5);
    EXPECT_EQ((parse<signed char, wchar_t>(L"\u00e9")), static_cast<signed char>(0xE9));
    EXPECT_EQ((parse<unsigned char, wchar_t>(L"65")), '6');
    EXPECT_EQ((parse<unsigned char, wchar_t>(L"\u0100")), '_');
}

TEST(PropertyText, IsDefinedByType)
{
    const auto set = TestEvery::create();
    const struct
    {
        const wchar_t* name;
        const wchar_t* given;
        const wchar_t* text;
    } rows[] = {{L"float", L"0.1", L"0.1000000015"},
                {L"double", L"0.1", L"0.1"},
                {L"double", L"1e20", L"1e+20"},
                {L"bool", L"true", L"true"},
                {L"bool", L"1", L"false"},
                {L"char", L"  A", L"A"},
                {L"char", L"\u00e9", L"\u00e9"},
                {L"uchar", L"A", L"65"},
                {L"uchar", L"65", L"54"},
                {L"char", L"\u0100", L"_"},
                {L"enum", L"1000", L"1000"},
                {L"string", L" as it is ", L" as it is "},
                {L"cdata", L"two\nlines\n", L"two\nlines\n"},
                {L"int", L"0x10", L"0"}};
    for (const auto& row : rows)
    {
        int index = -1;
        eDmPropType type = DM_NB_TYPES;
        ASSERT_EQ(set->getPropertyIndex(row.name, index), DM_NO_ERROR);
        ASSERT_EQ(set->getPropertyType(index, type), DM_NO_ERROR);
        EXPECT_EQ(set->setPropertyValueFromStr(row.name, row.given), DM_NO_ERROR);
        DmString text(L"before");
        bool hasSerializer = true;
        EXPECT_EQ(set->getStrFromPropertyValue(index, type, text, &hasSerializer), DM_NO_ERROR);
        EXPECT_TRUE(text == row.text) << dmUtf8(text);
        EXPECT_FALSE(hasSerializer);
    }
}

TEST(PropertyText, OfAVectorIsItsFirstElementAndAppends)
{
    const auto set = TestEvery::create();
    DmString text;
    int index = -1;
    ASSERT_EQ(set->getPropertyIndex(L"ints", index), DM_NO_ERROR);
    EXPECT_EQ(set->getStrFromPropertyValue(index, DM_VECTOR_INT, text, nullptr), DM_BAD_INDEX) << "nothing in it yet";
    for (const wchar_t* const element : {L"7", L"8", L"9"})
        EXPECT_EQ(set->setPropertyValueFromStr(L"ints", DM_VECTOR_INT, element), DM_NO_ERROR);
    EXPECT_EQ(set->getStrFromPropertyValue(index, DM_VECTOR_INT, text, nullptr), DM_NO_ERROR);
    EXPECT_TRUE(text == L"7");
    const std::vector<std::int32_t> expected{7, 8, 9};
    EXPECT_EQ(*static_cast<const std::vector<std::int32_t>*>(set->fieldOf(index)), expected);
}

TEST(PropertyText, MisuseHasACode)
{
    const auto set = TestEvery::create();
    const int count = set->classData().size();
    DmString text;
    const auto indexOf = [&](const wchar_t* name) { return set->classData().find(name); };
    EXPECT_EQ(set->getStrFromPropertyValue(-1, DM_INT, text, nullptr), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(set->getStrFromPropertyValue(count, DM_INT, text, nullptr), DM_BAD_PROPERTY_TYPE);
    EXPECT_EQ(set->getStrFromPropertyValue(0, DM_UINT, text, nullptr), DM_BAD_PROPERTY_TYPE);
    const struct
    {
        const wchar_t* name;
        eDmPropType type;
    } noText[] = {{L"point", DM_PROPERTY_SET}, {L"points", DM_VECTOR_PROPERTY_SET}, {L"pointMap", DM_MAP_PROPERTY_SET}};
    for (const auto& row : noText)
    {
        EXPECT_EQ(set->getStrFromPropertyValue(indexOf(row.name), row.type, text, nullptr), DM_TYPE_NOT_IMPLEMENTED);
        EXPECT_EQ(set->setPropertyValueFromStr(row.name, L"text"), DM_TYPE_NOT_IMPLEMENTED);
    }
    EXPECT_EQ(set->setPropertyValueFromStr(L"nothing", L"1"), DM_PROPERTY_NOT_FOUND);
    EXPECT_EQ(set->setPropertyValueFromStr(L"nothing", DM_INT, L"1"), DM_PROPERTY_NOT_FOUND);
    EXPECT_EQ(set->setPropertyValueFromStr(L"int", DM_UINT, L"1"), DM_BAD_PROPERTY_TYPE);
}

TEST(PropertyText, MayBeTheClassesOwn)
{
    const auto set = TestOptional::create();
    DmString text;
    bool hasSerializer = false;
    EXPECT_EQ(set->getStrFromPropertyValue(TestOptional::Hex, DM_INT, text, &hasSerializer), DM_NO_ERROR);
    EXPECT_TRUE(hasSerializer);
    EXPECT_TRUE(text == L"0x10");
    EXPECT_EQ(set->setPropertyValueFromStr(L"hex", L"0x1f"), DM_NO_ERROR);
    EXPECT_EQ(set->setPropertyValueFromStr(L"hex", L"31"), DM_BAD_VALUE);
    EXPECT_EQ(set->getStrFromPropertyValue(TestOptional::Hex, DM_INT, text, nullptr), DM_NO_ERROR);
    EXPECT_TRUE(text == L"0x1f") << "a text that is refused changes nothing";
}

TEST(PropertyText, DoesNotKnowTheHostsLocale)
{
    const auto set = TestEvery::create();
    struct CommaPoint : std::numpunct<wchar_t>
    {
        wchar_t do_decimal_point() const override { return L','; }
        wchar_t do_thousands_sep() const override { return L'.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    EXPECT_EQ(set->setPropertyValueFromStr(L"double", L"1234.5"), DM_NO_ERROR);
    DmString text;
    EXPECT_EQ(set->getStrFromPropertyValue(set->classData().find(L"double"), DM_DOUBLE, text, nullptr), DM_NO_ERROR);
    std::locale::global(before);
    EXPECT_TRUE(text == L"1234.5");
}
