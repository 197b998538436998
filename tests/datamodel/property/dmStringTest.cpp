#include "dmString.h"
#include "dmNodeId.h"
#include "dmPSetHelper.h"
#include "dmStatus.h"
#include "dmUtf8.h"
#include "dmVersion.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

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
    const DmString taken(std::move(moved));
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
    {
        EXPECT_EQ(empty.length(), 0U);
        EXPECT_EQ(empty.c_str(), DmString::defaultBuff_);
    }
    EXPECT_EQ(moved.c_str(), DmString::defaultBuff_); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move):
                                                      // what a moved-from string is
    EXPECT_TRUE(taken == L"text");
}

TEST(String, KeepsZerosInsideACountedText)
{
    const DmString text(L"a\0b", 3);
    EXPECT_EQ(text.length(), 3U);
    EXPECT_EQ(text[2], L'b');
    EXPECT_TRUE(text == L"a"); // against a bare pointer the first zero ends the text
    EXPECT_TRUE(DmString(text) == text);
}

TEST(String, TakesTextFromItsOwnBuffer)
{
    DmString doubled(L"abc");
    doubled += doubled;
    EXPECT_TRUE(doubled == L"abcabc");
    doubled += doubled.c_str() + 3;
    EXPECT_TRUE(doubled == L"abcabcabc");
    doubled = doubled.c_str() + 4;
    EXPECT_TRUE(doubled == L"bcabc");
    doubled = doubled.c_str() + 5;
    EXPECT_TRUE(doubled.empty());
    DmString same(L"same");
    const DmString& alias = same;
    same = alias;
    EXPECT_TRUE(same == L"same");
    DmString self(L"self");
    DmString& selfAlias = self;
    self = std::move(selfAlias);
    EXPECT_TRUE(self == L"self");
}

TEST(String, AppendsTextAndIgnoresNothing)
{
    DmString text(L"a");
    text += static_cast<const wchar_t*>(nullptr);
    text += L'\0';
    text += L"";
    EXPECT_TRUE(text == L"a");
    text += L'b';
    text += L"cd";
    EXPECT_TRUE(text == L"abcd");
    EXPECT_EQ(text.c_str()[4], L'\0');
}

TEST(String, SubstrClampsToTheEnd)
{
    const DmString text(L"abcde");
    const struct
    {
        unsigned pos, count;
        const wchar_t* result;
    } rows[] = {{5, 5, L""},   {6, 5, L""},           {2, 100, L"cde"}, {1, 0xFFFFFFFF, L"bcde"},
                {4, 1, L"e"},  {0, 5, L"abcde"},      {2, 0, L""},      {0xFFFFFFFF, 2, L""},
                {1, 2, L"bc"}, {3, 0xFFFFFFFE, L"de"}};
    for (const auto& row : rows)
        EXPECT_TRUE(text.substr(row.pos, row.count) == row.result) << row.pos << ", " << row.count;
    EXPECT_TRUE(DmString(L"a\0b", 3).substr(1, 2).empty());
}

TEST(String, ComparesByLengthAndCodeUnits)
{
    EXPECT_FALSE(DmString(L"a") == static_cast<const wchar_t*>(nullptr));
    EXPECT_TRUE(DmString(L"a") != static_cast<const wchar_t*>(nullptr));
    EXPECT_TRUE(DmString(L"ab") != DmString(L"abc"));
    EXPECT_TRUE(DmString(L"ab") < DmString(L"abc"));
    EXPECT_TRUE(DmString(L"B") < DmString(L"a"));
    EXPECT_FALSE(DmString(L"a") < DmString(L"a"));
}

TEST(String, MoveAssignmentGivesUpTheOldBuffer)
{
#if !defined(__SANITIZE_ADDRESS__)
    DmString target(L"lost");
    target = DmString(L"new");
    EXPECT_TRUE(target == L"new");
#endif
    DmString empty;
    empty = DmString(L"new");
    EXPECT_TRUE(empty == L"new");
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
    const DmStr2CStr empty{DmString()};
    EXPECT_EQ(empty.size(), 0U);
    EXPECT_STREQ(empty.c_str(), "");
    DmStr2CStr text(DmString(L"text"));
    const DmStr2CStr moved(std::move(text));
    EXPECT_STREQ(moved.c_str(), "text");
    EXPECT_STREQ(text.c_str(), ""); // NOLINT(bugprone-use-after-move): what a moved-from copy is
    EXPECT_STREQ(DmStr2CStr(DmString(L"\u00c9t\u00e9")).c_str(), "") << "the C locale has no accents";
}

TEST(Utf8, ConvertsExactlyWhatIsWellFormed)
{
    const struct
    {
        std::string utf8;
        const wchar_t* text; ///< null: ill-formed
    } rows[] = {{"", L""},
                {"abc", L"abc"},
                {"\xC3\x89t\xC3\xA9", L"\u00c9t\u00e9"},
                {"\xE2\x82\xAC", L"\u20ac"},
                {"\xF0\x9F\x8E\xAC", L"\U0001F3AC"},
                {"\xF4\x8F\xBF\xBF", L"\U0010FFFF"},
                {"\xC0\x80", nullptr},         // overlong
                {"\xE0\x9F\xBF", nullptr},     // overlong
                {"\xED\xA0\x80", nullptr},     // a surrogate
                {"\xF4\x90\x80\x80", nullptr}, // beyond the last character
                {"\xF5\x80\x80\x80", nullptr},
                {"\x80", nullptr},
                {"a\xC3", nullptr},
                {"\xE2\x82", nullptr},
                {"\xE2\x28\xA1", nullptr}};
    for (const auto& row : rows)
    {
        DmString text(L"before");
        EXPECT_EQ(dmFromUtf8(row.utf8, text), row.text != nullptr) << row.utf8;
        EXPECT_TRUE(text == (row.text ? row.text : L"before")) << row.utf8;
        std::string back;
        if (row.text)
        {
            EXPECT_TRUE(dmToUtf8(text.view(), back) && back == row.utf8) << row.utf8;
        }
    }
    std::string out;
    const wchar_t surrogate[] = {0xD800, 0};
    EXPECT_FALSE(dmToUtf8(surrogate, out));
    EXPECT_EQ(dmUtf8(std::wstring_view(surrogate)), "\xEF\xBF\xBD");
}

TEST(Status, FailsWithTextAndForgets)
{
    DmStatus status;
    EXPECT_TRUE(status.ok());
    status.fail(5, "%d frames of %ls", 3, L"\u00c9t\u00e9");
    EXPECT_TRUE(status.failed());
    EXPECT_EQ(status.reason(), 5);
    EXPECT_TRUE(status.info() == L"3 frames of \u00c9t\u00e9");
    status.setReason(6);
    EXPECT_TRUE(status.failed() && status.reason() == 6);
    status.fail(7, "%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(status.info().length(), 1023U);
    status.fail(7, "%ls", std::wstring(600, L'\u00e9').c_str());
    EXPECT_EQ(status.info().length(), 511U) << "cut at a character boundary";
    status.reset();
    EXPECT_TRUE(status.ok() && status.reason() == 0 && status.info().empty());
}

TEST(Texts, OfCodesAndTypesAreExact)
{
    const struct
    {
        int code;
        const wchar_t* text;
    } errors[] = {{0, L"No Error"},           {4, L"DmListener Not found"}, {11, L"DM_NOT_ME"},
                  {13, L"cannot unlock"},     {15, L"Binary error"},        {16, L"Unknown DM error"},
                  {100, L"Unknown DM error"}, {-1, L"Unknown DM error"}};
    for (const auto& row : errors)
        EXPECT_TRUE(DmPSetHelper::getStrFromError(static_cast<eDmErrorId>(row.code)) == row.text) << row.code;

    const DmPSetHelper& helper = DmPSetHelper::getInstance();
    for (int type = 0; type < DM_NB_TYPES; ++type)
        EXPECT_EQ(helper.getTypeFromStr(helper.getStrFromType(static_cast<eDmPropType>(type))), type);
    EXPECT_EQ(helper.getTypeFromStr(L"Vector-double"), DM_VECTOR_DOUBLE);
    EXPECT_EQ(helper.getTypeFromStr(L"Vector-Double"), DM_NB_TYPES);
    EXPECT_TRUE(helper.getStrFromType(DM_NB_TYPES) == L"N/A");
}

TEST(NodeId, IsAPathOfNumbers)
{
    std::uint64_t number = 77;
    int index = 0;
    DmNodeId id;
    EXPECT_EQ(id.back(number), DM_EMPTY_ID);
    EXPECT_EQ(id.pop_front(number, index), DM_EMPTY_ID);
    EXPECT_EQ(number, 77U);

    id = DmNodeId(42);
    EXPECT_TRUE(id.dump() == L"42");
    EXPECT_TRUE(id == DmNodeId(DmString(L"42")));
    EXPECT_EQ(id.push_back(4, 57), DM_NO_ERROR);
    const DmNodeId deeper(id, 20, 18446744073709551615ULL);
    EXPECT_TRUE(deeper.dump() == L"42.4/57.20/18446744073709551615");
    EXPECT_EQ(deeper.back(number), DM_NO_ERROR);
    EXPECT_EQ(number, 18446744073709551615ULL);

    DmNodeId path(deeper);
    const struct
    {
        std::uint64_t number;
        int index;
    } components[] = {{42, 4}, {57, 20}, {18446744073709551615ULL, DmNodeId::self}};
    for (const auto& component : components)
    {
        EXPECT_EQ(path.pop_front(number, index), DM_NO_ERROR);
        EXPECT_EQ(number, component.number);
        EXPECT_EQ(index, component.index);
    }
    EXPECT_TRUE(path.isEmpty());
    EXPECT_TRUE(DmNodeId(18446744073709551615ULL).dump() == L"18446744073709551615");
}

TEST(Version, ComparesMajorFirst)
{
    EXPECT_GT(DmVersion(1, 0), DmVersion(0, 9));
    EXPECT_LT(DmVersion(0, 1), DmVersion(0, 2));
    EXPECT_EQ(DmVersion(0, 1), DmVersion::getCurrent());
    EXPECT_EQ(DmVersion::getCurrent().toString(), "0.1");
    EXPECT_EQ(DmVersion(), DmVersion(0, 0));
}
