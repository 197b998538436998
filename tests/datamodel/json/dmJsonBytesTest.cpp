#include "dmJsonBytesImp.h"
#include "zrTest.h"

namespace
{

using dmJson::Bytes;

bool isSpecial(unsigned c)
{
    return c < 0x20 || c == '"' || c == '\\';
}

/// Printable ASCII, and now and then one of `others`.
template <class Char>
std::basic_string<Char> randomText(std::mt19937& random, const std::basic_string<Char>& others)
{
    constexpr std::size_t most = 400;
    std::basic_string<Char> text(Bytes::manyBytes + random() % most, Char());
    const unsigned oneIn = 1 + random() % most;
    for (Char& c : text)
    {
        do
            c = static_cast<Char>(' ' + random() % 95);
        while (c == '"' || c == '\\');
        if (random() % oneIn == 0)
            c = others[random() % others.size()];
    }
    return text;
}

/// What each kind of registers makes of a text, against one character after the other.
class JsonBytes : public testing::TestWithParam<Bytes::Kind>
{
protected:
    static constexpr int rounds = 4000;
    static constexpr std::size_t behind = 32; ///< may be looked at

    void SetUp() override
    {
        if (!bytes)
            GTEST_SKIP() << "this processor has them not";
    }

    const Bytes* const bytes = Bytes::of(GetParam());
    std::mt19937 random{20};
};

TEST_P(JsonBytes, FindTheEndOfPlainText)
{
    const std::string others("\"\\\x01\x1f\x7f\x80\xc3\xff\0", 9);
    for (int i = 0; i < rounds; ++i)
    {
        const std::string text = randomText(random, others);
        const std::size_t begin = random() % text.size();
        const auto end = std::find_if(text.begin() + static_cast<std::ptrdiff_t>(begin), text.end(),
                                      [](char c) { return isSpecial(static_cast<unsigned char>(c)); });
        const bool isAscii = std::all_of(text.begin() + static_cast<std::ptrdiff_t>(begin), end,
                                         [](char c) { return static_cast<unsigned char>(c) < 0x80; });
        const std::string seen = text + std::string(behind, '\0');
        unsigned high = 0;
        EXPECT_EQ(bytes->plainEnd(&seen[begin], high) - seen.data(), end - text.begin());
        EXPECT_EQ(high == 0, isAscii);
    }
}

TEST_P(JsonBytes, WidenAndNarrow)
{
    const std::wstring others(L"\"\\\x01\x1f\x7f\x80\xff\u0100\u0141\u7fff\u8000\U0010ffff\0\x80000000\xffffffff", 15);
    for (int i = 0; i < rounds; ++i)
    {
        const std::wstring wide = randomText(random, others);
        const auto isPlain = [](wchar_t c)
        { return static_cast<unsigned>(c) < 0x80 && !isSpecial(static_cast<unsigned>(c)); };
        const auto plain = static_cast<std::size_t>(std::find_if_not(wide.begin(), wide.end(), isPlain) - wide.begin());
        std::string narrow(wide.size() + 1, '~');
        const std::size_t count = bytes->narrow(wide, narrow.data());
        ASSERT_LE(count, plain);
        EXPECT_LT(plain - count, behind);
        EXPECT_TRUE(std::equal(wide.begin(), wide.begin() + static_cast<std::ptrdiff_t>(count), narrow.begin()));
        EXPECT_EQ(narrow.back(), '~');
        if (plain < Bytes::manyBytes)
            continue;
        const std::string ascii(wide.begin(), wide.begin() + static_cast<std::ptrdiff_t>(plain));
        std::wstring again(plain + 1, L'~');
        bytes->widen(ascii, again.data());
        EXPECT_EQ(again, wide.substr(0, plain) + L'~');
    }
}

INSTANTIATE_TEST_SUITE_P(Registers, JsonBytes, testing::Values(Bytes::Sse2, Bytes::Avx2),
                         [](const auto& kind) { return kind.param == Bytes::Sse2 ? "Sse2" : "Avx2"; });

} // namespace
