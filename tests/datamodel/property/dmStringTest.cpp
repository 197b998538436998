#include "zrTest.h"

namespace
{

/// Allocations of this many bytes and more fail while it lives: how a string meets the end of memory.
thread_local std::size_t refusedFrom = 0;

struct RefuseAllocations
{
    explicit RefuseAllocations(std::size_t bytes) { refusedFrom = bytes; }
    ~RefuseAllocations() { refusedFrom = 0; }
};

} // namespace

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define ZR_CAN_INJECT 1
extern "C" void* __libc_malloc(std::size_t);
extern "C" void* __libc_realloc(void*, std::size_t);
extern "C" void* malloc(std::size_t bytes)
{
    return refusedFrom != 0 && bytes >= refusedFrom ? nullptr : __libc_malloc(bytes);
}
extern "C" void* realloc(void* block, std::size_t bytes)
{
    return refusedFrom != 0 && bytes >= refusedFrom ? nullptr : __libc_realloc(block, bytes);
}
#endif

TEST(String, EmptyInEveryWayIsTheSharedBuffer)
{
    DmString moved(L"text");
    DmString taken(L"what it lets go of");
    taken = DmString(std::move(moved));
    DmString cleared(L"text");
    cleared.clear();
    DmString assignedNull(L"text");
    assignedNull = static_cast<const wchar_t*>(nullptr);
    const DmString empties[] = {DmString(),
                                DmString(""),
                                DmString(static_cast<const char*>(nullptr)),
                                DmString(L""),
                                DmString(static_cast<const wchar_t*>(nullptr)),
                                DmString(L"text", 0),
                                DmString(L"\0text", 5),
                                DmString("\xff\xfe"), // no text in the "C" locale
                                cleared,
                                assignedNull};
    for (const DmString& empty : empties)
        EXPECT_TRUE(empty.length() == 0 && empty.c_str() == DmString::defaultBuff_);
    EXPECT_EQ(moved.c_str(), DmString::defaultBuff_); // NOLINT(bugprone-use-after-move): what a moved-from string is
    EXPECT_TRUE(taken == L"text");
}

TEST(String, TakesTextFromItsOwnBuffer)
{
    DmString text(L"abc");
    DmString& alias = text;
    text += text;
    text += text.c_str() + 3;
    EXPECT_TRUE(text == L"abcabcabc");
    text = text.c_str() + 4;
    EXPECT_TRUE(text == L"bcabc");
    text = static_cast<const DmString&>(alias);
    text = std::move(alias);
    EXPECT_TRUE(text == L"bcabc");
    text = text.c_str() + 5;
    EXPECT_TRUE(text.empty());
}

TEST(String, AppendsTextAndIgnoresNothing)
{
    DmString text(L"a");
    text += static_cast<const wchar_t*>(nullptr);
    text += L'\0';
    text += L"";
    text += L'b';
    text += L"cd";
    EXPECT_TRUE(text == DmString(L"abcd"));
    EXPECT_EQ(text.c_str()[4], L'\0');
}

TEST(String, SubstrClampsToTheEnd)
{
    const DmString text(L"abcde");
    const struct
    {
        unsigned pos, count;
        const wchar_t* result;
    } rows[] = {{5, 5, L""}, {6, 5, L""},          {2, 100, L"cde"}, {1, 0xFFFFFFFF, L"bcde"}, {0, 5, L"abcde"},
                {2, 0, L""}, {0xFFFFFFFF, 2, L""}, {1, 2, L"bc"},    {3, 0xFFFFFFFE, L"de"}};
    for (const auto& row : rows)
        EXPECT_TRUE(text.substr(row.pos, row.count) == row.result) << row.pos << ", " << row.count;
    EXPECT_TRUE(DmString(L"a\0b", 3).substr(1, 2).empty());
}

TEST(String, ComparesByLengthAndCodeUnits)
{
    EXPECT_FALSE(DmString(L"a") == static_cast<const wchar_t*>(nullptr));
    EXPECT_TRUE(DmString(L"a") != static_cast<const wchar_t*>(nullptr));
    EXPECT_TRUE(DmString(L"ab") != DmString(L"abc"));
    EXPECT_TRUE(DmString(L"ab") < DmString(L"abc") && DmString(L"B") < DmString(L"a"));
    EXPECT_FALSE(DmString(L"a") < DmString(L"a"));
    const DmString zeros(L"a\0b", 3);
    EXPECT_TRUE(zeros.length() == 3 && zeros[2] == L'b' && DmString(zeros) == zeros);
    EXPECT_TRUE(zeros == L"a") << "against a bare pointer the first zero ends the text";
}

#ifdef ZR_CAN_INJECT
TEST(String, IsEmptyWhereMemoryRunsOut)
{
    const DmString big(std::wstring(1000, L'x'));
    DmString grown(L"owned");
    DmString fresh;
    {
        const RefuseAllocations refuse(2000);
        grown += big;
        fresh = big;
        EXPECT_TRUE(DmString(big).empty());
        EXPECT_TRUE(big.substr(0, 900).empty());
        EXPECT_FALSE(DmString().allocNewBuff(5000));
    }
    EXPECT_TRUE(grown.empty());
    EXPECT_TRUE(fresh.empty());
    fresh += L"usable";
    EXPECT_TRUE(fresh == L"usable");
}
#endif

TEST(NarrowCopy, IsNeverNull)
{
    EXPECT_STREQ(DmStr2CStr(DmString()).c_str(), "");
    DmStr2CStr text(DmString(L"text"));
    DmStr2CStr moved(DmString(L"what it lets go of"));
    moved = std::move(text);
    EXPECT_TRUE(moved.size() == 4 && moved.c_str() == std::string("text"));
    EXPECT_STREQ(text.c_str(), ""); // NOLINT(bugprone-use-after-move): what a moved-from copy is
    EXPECT_STREQ(DmStr2CStr(DmString(L"\u00c9t\u00e9")).c_str(), "") << "the C locale has no accents";
}

TEST(Utf8, ConvertsExactlyWhatIsWellFormed)
{
    // clang-format off
    const struct
    {
        std::string utf8;
        const wchar_t* text; ///< null: ill-formed
    } rows[] = {
        {"", L""}, {"abc", L"abc"}, {"\xC3\x89t\xC3\xA9", L"\u00c9t\u00e9"}, {"\xE2\x82\xAC", L"\u20ac"},
        {"\xF0\x9F\x8E\xAC", L"\U0001F3AC"}, {"\xF4\x8F\xBF\xBF", L"\U0010FFFF"},
        {"\xC0\x80", nullptr}, {"\xE0\x9F\xBF", nullptr}, // overlong
        {"\xED\xA0\x80", nullptr}, // a surrogate
        {"\xF4\x90\x80\x80", nullptr}, {"\xF5\x80\x80\x80", nullptr}, // beyond the last character
        {"\x80", nullptr}, {"a\xC3", nullptr}, {"\xE2\x82", nullptr}, {"\xE2\x28\xA1", nullptr}
    };
    // clang-format on
    for (const auto& row : rows)
    {
        DmString text(L"before");
        EXPECT_EQ(dmFromUtf8(row.utf8, text), row.text != nullptr) << row.utf8;
        EXPECT_TRUE(text == (row.text ? row.text : L"before")) << row.utf8;
        std::string back;
        EXPECT_TRUE(!row.text || (dmToUtf8(text.view(), back) && back == row.utf8)) << row.utf8;
    }
    std::string out;
    const wchar_t surrogate[] = {0xD800, 0};
    EXPECT_FALSE(dmToUtf8(surrogate, out));
    EXPECT_EQ(dmUtf8(std::wstring_view(surrogate)), "\xEF\xBF\xBD");
}

TEST(Status, FailsWithTextAndForgets)
{
    DmStatus status;
    status.fail(5, "%d frames of %ls", 3, L"\u00c9t\u00e9");
    status.setReason(6);
    EXPECT_TRUE(status.failed() && status.reason() == 6 && status.info() == L"3 frames of \u00c9t\u00e9");
    status.fail(7, "%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(status.info().length(), 1023U);
    status.fail(7, "%ls", std::wstring(600, L'\u00e9').c_str());
    EXPECT_EQ(status.info().length(), 511U) << "cut at a character boundary";
    status.reset();
    EXPECT_TRUE(status.ok() && status.reason() == 0 && status.info().empty());
}

TEST(Texts, OfCodesAndTypesAreExact)
{
    // clang-format off
    const wchar_t* const errors[] = {
        L"Unknown DM error", L"No Error", L"Property not found", L"Property already exist", L"Empty Id",
        L"DmListener Not found", L"Bad Property Type", L"Propertyset already exist", L"Listener is NULL",
        L"Type not implemented", L"Bad Index", L"Listener already registered", L"DM_NOT_ME", L"Cannot lock",
        L"cannot unlock", L"Bad value", L"Binary error", L"Unknown DM error"
    };
    const wchar_t* const types[] = {
        L"Int", L"UInt", L"Enum", L"Short", L"UShort", L"Int64", L"UInt64", L"Char", L"UChar", L"Float", L"Bool",
        L"Double", L"String", L"Property-Set", L"Vector-Int", L"Vector-Short", L"Vector-UInt64", L"Vector-Float",
        L"Vector-double", L"Vector-String", L"Vector-Property-Set", L"Map-Property-Set", L"CDATA"
    };
    // clang-format on
    for (int code = -1; code < 17; ++code)
        EXPECT_TRUE(DmPSetHelper::getStrFromError(static_cast<eDmErrorId>(code)) == errors[code + 1]) << code;

    const DmPSetHelper& helper = DmPSetHelper::getInstance();
    for (int type = 0; type < DM_NB_TYPES; ++type)
    {
        EXPECT_TRUE(helper.getStrFromType(static_cast<eDmPropType>(type)) == types[type]) << type;
        EXPECT_EQ(helper.getTypeFromStr(types[type]), type);
    }
    EXPECT_EQ(helper.getTypeFromStr(L"Vector-Double"), DM_NB_TYPES);
    EXPECT_TRUE(helper.getStrFromType(DM_NB_TYPES) == L"N/A");
}

TEST(DefaultString, TakesNoMemoryUntilItIsChanged)
{
    const DmDefaultString name(DmString::Untitled);
    EXPECT_TRUE(name == L"untitled" && name.length() == 8 && name.isKept());
    EXPECT_TRUE(DmDefaultString(DmString::NoMode) == L"???");

    const std::function<void(DmString&)> changes[] = {
        [](DmString& text) { text += L" 2"; },
        [](DmString& text) { text += L'2'; },
        [](DmString& text) { text = text.c_str() + 2; },
        [](DmString& text) { static_cast<void>(text.reallocBuff(20)); },
        [](DmString& text) { text = L"other"; },
        [](DmString& text) { text.clear(); },
    };
    const wchar_t* const changed[] = {L"untitled 2", L"untitled2", L"titled", L"untitled", L"other", L""};
    for (std::size_t i = 0; i < std::size(changes); ++i)
    {
        DmDefaultString copy(name);
        EXPECT_EQ(copy.c_str(), name.c_str());
        changes[i](copy);
        EXPECT_STREQ(copy.c_str(), changed[i]);
        EXPECT_TRUE(name == L"untitled" && DmDefaultString(copy) == copy);
    }
    DmString own(name);
    own[0] = L'U';
    EXPECT_TRUE(own == L"Untitled" && name == L"untitled");
}

TEST(NodeId, IsAPathOfNumbers)
{
    constexpr std::uint64_t last = ~0ULL;
    std::uint64_t number = 77;
    int index = 0;
    DmNodeId id;
    EXPECT_EQ(id.back(number), DM_EMPTY_ID);
    EXPECT_EQ(id.pop_front(number, index), DM_EMPTY_ID);
    EXPECT_EQ(number, 77U);

    id = DmNodeId(DmString(L"42"));
    EXPECT_TRUE(id == DmNodeId(42));
    EXPECT_EQ(id.push_back(4, 57), DM_NO_ERROR);
    DmNodeId path(id, 20, last);
    EXPECT_TRUE(path.dump() == L"42.4/57.20/18446744073709551615");
    EXPECT_TRUE(path.back(number) == DM_NO_ERROR && number == last);
    for (const auto& component : {std::pair<std::uint64_t, int>{42, 4}, {57, 20}, {last, DmNodeId::self}})
    {
        EXPECT_EQ(path.pop_front(number, index), DM_NO_ERROR);
        EXPECT_EQ(std::pair(number, index), component);
    }
    EXPECT_TRUE(path.isEmpty());
}

TEST(Version, ComparesMajorFirst)
{
    EXPECT_GT(DmVersion(1, 0), DmVersion(0, 9));
    EXPECT_LT(DmVersion(0, 1), DmVersion(0, 2));
    EXPECT_EQ(DmVersion(0, 1), DmVersion::getCurrent());
    EXPECT_EQ(DmVersion::getCurrent().toString(), "0.1");
}
