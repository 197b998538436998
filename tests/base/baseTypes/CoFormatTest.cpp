#include "zrTest.h"

#include <clocale>
#include <cwchar>

namespace
{

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

template <class... Arguments>
std::string formatted(const char* format, Arguments... arguments)
{
    char buffer[256];
    const int length = DM::CoFormat::format(buffer, sizeof(buffer), format, arguments...);
    EXPECT_EQ(buffer[length], 0);
    return {buffer, static_cast<std::size_t>(length)};
}

/// What snprintf makes of the same, behind a wide argument that it can print in every locale.
template <class... Arguments>
std::string expected(const char* format, Arguments... arguments)
{
    char buffer[256];
    std::snprintf(buffer, sizeof(buffer), format, arguments...);
    return std::string("x") + buffer;
}

#pragma GCC diagnostic pop

TEST(Format, WideTextIsUtf8InEveryLocale)
{
    const struct
    {
        const char* format;
        const wchar_t* text;
        const char* result;
    } cases[] = {
        {"clip '%ls'", L"Été", "clip 'Été'"},
        {"%S", L"\u00e9\u20ac\U0001F3AC", "é€\U0001F3AC"},
        {"[%7ls]", L"Été", "[  Été]"}, // a width counts bytes, as snprintf's does
        {"[%2ls]", L"Été", "[Été]"},
        {"[%.3ls]", L"Été", "[Ét]"},
        {"[%.1ls]", L"Été", "[]"}, // half a character is no character
        {"[%.0ls]", L"Été", "[]"},
        {"[%6.2ls]", L"Été", "[    É]"},
        {"[%-+ #0'6.2ls]", L"Été", "[É    ]"},
        {"%ls", L"a\xD800z\x110000\xFFFFFFFF", "a\uFFFDz\uFFFD\uFFFD"},
        {"[%ls]", nullptr, "[(null)]"},
        {"100%% %ls %%", L"é", "100% é %"},
    };
    ASSERT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    for (const auto& c : cases)
        EXPECT_EQ(formatted(c.format, c.text), c.result) << c.format;

    EXPECT_EQ(formatted("[%lc|%3C|%-3lc]", L'é', L'é', static_cast<wint_t>(0xD800)), "[é| é|\uFFFD]");
    EXPECT_EQ(formatted("[%*ls|%-*.*ls]", -5, L"é", 4, 2, L"éé"), "[é   |é  ]");
}

TEST(Format, ReadsOnlyAsManyWideUnitsAsThePrecisionAllows)
{
    const wchar_t unterminated[] = {L'a', L'b', L'é'};
    EXPECT_EQ(formatted("%.4ls", unterminated), "abé");
    EXPECT_EQ(formatted("%.2ls", unterminated), "ab");
}

TEST(Format, OtherArgumentsBesideWideOnesPrintAsBySnprintf)
{
    EXPECT_EQ(formatted("%ls%d %5u %-6x| %#o %+i", L"x", -7, 42u, 255u, 8u, 3),
              expected("%d %5u %-6x| %#o %+i", -7, 42u, 255u, 8u, 3));
    EXPECT_EQ(formatted("%ls%hhd %hu %ld %llx %zu %jd %td", L"x", 300, 70000, -5000000000L, 1ULL << 40, sizeof(int),
                        intmax_t(-1), ptrdiff_t(9)),
              expected("%hhd %hu %ld %llx %zu %jd %td", 300, 70000, -5000000000L, 1ULL << 40, sizeof(int), intmax_t(-1),
                       ptrdiff_t(9)));
    EXPECT_EQ(formatted("%ls%f %.3e %10.2G %a %Lf", L"x", 1.5, 12345.678, 1e20, 0.1, 2.25L),
              expected("%f %.3e %10.2G %a %Lf", 1.5, 12345.678, 1e20, 0.1, 2.25L));
    EXPECT_EQ(formatted("%ls%c %s %.2s %*.*f %p", L"x", 'q', "narrow é", "narrow", 8, 1, 3.14159, nullptr),
              expected("%c %s %.2s %*.*f %p", 'q', "narrow é", "narrow", 8, 1, 3.14159, nullptr));
}

TEST(Format, CutsBetweenCharacters)
{
    const char* const results[] = {"untouched", "", "a", "a", "a", "a€", "a€", "a€é", "a€éz"};
    for (std::size_t size = 0; size < std::size(results); ++size)
    {
        const auto length = size ? static_cast<int>(std::strlen(results[size])) : 0;
        char wide[16] = "untouched";
        EXPECT_EQ(DM::CoFormat::format(wide, size, "%ls", L"a€éz"), length);
        EXPECT_STREQ(wide, results[size]);
        char narrow[16] = "untouched";
        EXPECT_EQ(DM::CoFormat::format(narrow, size, "%s", "a€éz"), length);
        EXPECT_STREQ(narrow, results[size]);
    }
    char latin1[4];
    EXPECT_EQ(DM::CoFormat::format(latin1, sizeof(latin1), "%s", "\xA9\xA9\xA9\xA9"), 3) << "no UTF-8: cut anyhow";
}

TEST(Format, AFormatThatCannotBePrintedIsCopied)
{
    EXPECT_EQ(formatted("%2$ls %1$d", 1, L"é"), "%2$ls %1$d");
    EXPECT_EQ(formatted("%ls %", L"é"), "%ls %");
}

} // namespace
