/// Holds the text forms against what a wide stream of the classic locale does, value for value and text for text.
#include "testSets.h"
#include "zrTest.h"

#include <locale>

namespace
{

constexpr int rounds = 200000;

template <class T>
constexpr bool isCharacter = sizeof(T) == 1 && !std::is_same_v<T, bool>;

/// The one stream (to make one takes long), as good as new.
std::wstringstream& stream(const std::wstring& text = {})
{
    static std::wstringstream made;
    made.imbue(std::locale::classic());
    made << std::boolalpha;
    made.precision(10);
    made.clear();
    made.str(text);
    return made;
}

template <class T>
std::wstring written(T value)
{
    std::wstringstream& out = stream();
    if constexpr (isCharacter<T>)
        out << static_cast<int>(value);
    else
        out << value;
    return out.str();
}

template <class T>
T read(const std::wstring& text)
{
    std::conditional_t<isCharacter<T>, wchar_t, T> value{};
    stream(text) >> value;
    if constexpr (isCharacter<T>)
        return static_cast<T>(static_cast<std::uint32_t>(value) < 256 ? value : L'_');
    else
        return value;
}

template <class T>
bool same(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>)
        return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
    else
        return a == b;
}

/// Of any size; a floating value has any bits half of the time.
template <class T>
T randomValue(std::mt19937_64& random)
{
    const std::uint64_t bits = random() >> random() % 64;
    if constexpr (std::is_floating_point_v<T>)
    {
        T value = static_cast<T>(static_cast<std::int32_t>(bits >> 1)) / 64;
        if (const std::uint64_t any = random(); bits % 2 == 0)
            std::memcpy(&value, &any, sizeof(T));
        return value;
    }
    else if constexpr (std::is_same_v<T, bool>)
        return bits % 2 != 0;
    else
        return static_cast<T>(bits);
}

/// Texts made of what numbers are made of, and of what they are not.
std::wstring randomText(std::mt19937_64& random)
{
    static const std::wstring characters = L"00112345678999..eE+-- \t\nx,truefalsinfa\u00e9\u2003";
    std::wstring text(random() % 14, L' ');
    for (wchar_t& character : text)
        character = characters[random() % characters.size()];
    return text;
}

// clang-format off
const wchar_t* const specialTexts[] = {
    L"", L" ", L"-1", L"70000", L"-70000", L"1e21", L"true", L"false", L"1", L"True", L"trueish", L"tru", L"fals",
    L"falsehood", L"1e300", L"-1e300", L"1e-300", L"1e-400", L"-1e-400", L"1e400", L"4.9e-324", L"2.4e-324", L"1e",
    L"1e+", L"1e+ 5", L".", L".5", L"5.", L"-.5e1", L"+7", L"++7", L"- 7", L"0x1F", L"inf", L"nan", L"-inf",
    L"infinity", L"007", L"1.5.2", L"1e5e5", L"1,5", L"2147483648", L"-2147483649", L"4294967296", L"-4294967295",
    L"-4294967296", L"18446744073709551615", L"18446744073709551616", L"-18446744073709551615",
    L"-18446744073709551616", L"9223372036854775808", L"-9223372036854775808", L"-9223372036854775809", L"32768",
    L"-32769", L"65536", L"-65535", L"3.4028236e38", L"3.4028235677973366e38", L"1.17549435e-38", L"7e-46", L"8e-46",
    L"  \v\f\r\n\t42abc", L"0.30000000000000004", L"123456789012345678901234567890", L"0.1e-1000000", L"1e1000000",
    L"e5", L"-", L"+", L"-e",
    L"0000000000000000000000000000000000000000000000000000000000000000000000000000000000001.25",
    L"3.141592653589793238462643383279502884197169399375105820974944592307816406286208998628034825e0", L"\u0661", L"A",
    L"\u00e9", L"\u0100", L" \u00ff"
};
// clang-format on

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
    std::mt19937_64 random(1);
    const auto check = [&](T value)
    {
        char buffer[dmNumberText::maxChars];
        const std::string_view narrow = dmNumberText::format(value, buffer);
        ASSERT_EQ(written(value), std::wstring(narrow.begin(), narrow.end()));
    };
    for (int i = 0; i < rounds; ++i)
        check(randomValue<T>(random));
    using Limits = std::numeric_limits<T>;
    for (const T value : {Limits::max(), Limits::lowest(), Limits::infinity(), Limits::quiet_NaN(),
                          Limits::denorm_min(), Limits::min()})
        check(value);
    if constexpr (std::is_floating_point_v<T>)
        for (const double value : {-0.0, 0.1, 1e20, 123456789.5, 9999999999.5})
            check(static_cast<T>(value));
}

TYPED_TEST(NumberText, IsReadAsAStreamReadsIt)
{
    using T = TypeParam;
    std::mt19937_64 random(2);
    const auto check = [&](const std::wstring& text)
    {
        const T expected = read<T>(text);
        const T value = dmNumberText::parse<T, wchar_t>(text);
        ASSERT_TRUE(same(value, expected)) << testing::PrintToString(text) << ": " << +value << " for " << +expected;
    };
    for (const wchar_t* const text : specialTexts)
        check(text);
    for (int i = 0; i < rounds; ++i)
        check(randomText(random));
    for (int i = 0; i < rounds / 4; ++i)
        check(written(randomValue<T>(random)));
}

TEST(PropertyText, IsDefinedByType)
{
    const auto set = TestEvery::create();
    // clang-format off
    const struct
    {
        const wchar_t *name, *given, *text;
    } rows[] = {
        {L"float", L"0.1", L"0.1000000015"}, {L"double", L"0.1", L"0.1"}, {L"double", L"1e20", L"1e+20"},
        {L"bool", L"true", L"true"}, {L"bool", L"1", L"false"}, {L"char", L"  A", L"A"},
        {L"char", L"\u00e9", L"\u00e9"}, {L"char", L"\u0100", L"_"}, {L"uchar", L"A", L"65"}, {L"uchar", L"65", L"54"},
        {L"uchar", L"\u0100", L"95"}, {L"enum", L"1000", L"1000"}, {L"string", L" as it is ", L" as it is "},
        {L"cdata", L"two\nlines\n", L"two\nlines\n"}, {L"int", L"0x10", L"0"}, {L"uint", L"-1", L"4294967295"},
        {L"short", L"70000", L"32767"}, {L"int", L"1e21", L"1"}
    };
    // clang-format on
    for (const auto& row : rows)
    {
        EXPECT_EQ(set->setPropertyValueFromStr(row.name, row.given), DM_NO_ERROR);
        DmString text(L"before");
        bool hasSerializer = true;
        const int index = set->classData().find(row.name);
        EXPECT_EQ(set->getStrFromPropertyValue(index, set->classData().at(index)->_type, text, &hasSerializer),
                  DM_NO_ERROR);
        EXPECT_TRUE(text == row.text && !hasSerializer) << dmUtf8(text);
    }
}

TEST(PropertyText, OfAVectorIsItsFirstElementAndAppends)
{
    const auto set = TestEvery::create();
    DmString text;
    const int index = set->classData().find(L"ints");
    EXPECT_EQ(set->getStrFromPropertyValue(index, DM_VECTOR_INT, text, nullptr), DM_BAD_INDEX) << "nothing in it yet";
    for (const wchar_t* const element : {L"7", L"8", L"9"})
        EXPECT_EQ(set->setPropertyValueFromStr(L"ints", DM_VECTOR_INT, element), DM_NO_ERROR);
    EXPECT_EQ(set->getStrFromPropertyValue(index, DM_VECTOR_INT, text, nullptr), DM_NO_ERROR);
    EXPECT_TRUE(text == L"7");
    EXPECT_EQ(*static_cast<const std::vector<std::int32_t>*>(set->fieldOf(index)),
              (std::vector<std::int32_t>{7, 8, 9}));
}

TEST(PropertyText, MisuseHasACode)
{
    const auto set = TestEvery::create();
    DmString text;
    for (const auto& [index, type] : {std::pair{-1, DM_INT}, {set->classData().size(), DM_INT}, {0, DM_UINT}})
        EXPECT_EQ(set->getStrFromPropertyValue(index, type, text, nullptr), DM_BAD_PROPERTY_TYPE) << index;
    for (const wchar_t* const name : {L"point", L"points", L"pointMap"})
    {
        const int index = set->classData().find(name);
        EXPECT_EQ(set->getStrFromPropertyValue(index, set->classData().at(index)->_type, text, nullptr),
                  DM_TYPE_NOT_IMPLEMENTED);
        EXPECT_EQ(set->setPropertyValueFromStr(name, L"text"), DM_TYPE_NOT_IMPLEMENTED);
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
    EXPECT_EQ(set->setPropertyValueFromStr(L"hex", L"0x1f"), DM_NO_ERROR);
    EXPECT_EQ(set->setPropertyValueFromStr(L"hex", L"31"), DM_BAD_VALUE);
    EXPECT_EQ(set->getStrFromPropertyValue(TestOptional::Hex, DM_INT, text, &hasSerializer), DM_NO_ERROR);
    EXPECT_TRUE(hasSerializer && text == L"0x1f") << "a text that is refused changes nothing";
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
