#include "CoException.h"
#include "CoFloatUtil.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

using DM::CoException;

namespace
{

class Verbose
{
public:
    explicit Verbose(bool on)
        : _before(CoException::enableVerboseExceptions(on))
    {
    }
    ~Verbose() { CoException::enableVerboseExceptions(_before); }

private:
    bool _before;
};

template <class T>
std::string failedCheck(T a, T b, T c)
{
    try
    {
        DM::FloatUtil::ThrowAssertionFailed::throwAssertionFailed("gain", 7, "a", "b", "c", a, b, c);
    }
    catch (const CoException& error)
    {
        return error.what();
    }
}

} // namespace

TEST(Exception, SharesItsBufferBetweenMessageLocationAndExpertData)
{
    const std::string location = " f:reader l:12";
    static const struct
    {
        std::size_t message;
        std::size_t expert; // npos: no format
        std::size_t keptMessage;
        bool verbose;
        bool keepsExpert;
    } cases[] = {
        {5, 4, 5, false, true},
        {5, 4, 5, true, true},
        {5, std::string::npos, 5, true, false},
        {0, 1598, 0, false, true},
        {0, 1599, 0, false, false},
        {1597, 1, 1597, false, true},
        {1597, 2, 1597, false, false},
        {1598, 1, 1598, false, false},
        {1599, 1, 1599, false, false},
        {1600, 1, 1599, false, false},
        {5000, 5000, 1599, false, false},
        {1584, 1, 1584, true, false},
        {1583, 1, 1583, true, true},
        {1583, 2, 1583, true, false},
    };
    for (const auto& c : cases)
    {
        const Verbose verbose(c.verbose);
        const std::string message(c.message, 'm');
        const std::string expert(c.expert == std::string::npos ? 0 : c.expert, 'e');
        CoException error(12, "reader");
        error.setWhat(message.c_str(), c.expert == std::string::npos ? nullptr : "%s", expert.c_str());

        std::string what = message.substr(0, c.keptMessage);
        if (c.verbose)
            what += location;
        if (c.verbose && c.keepsExpert)
            what += " " + expert;
        const std::string context = testing::PrintToString(c.message) + "/" + testing::PrintToString(c.expert);
        EXPECT_EQ(std::string(error.what()).substr(0, what.size()), what) << context;
        if (!c.verbose)
        {
            EXPECT_EQ(error.what(), what) << context;
        }
        EXPECT_EQ(error.expertData(), c.keepsExpert ? expert : "") << context;
    }
}

TEST(Exception, MayBuildItsTextFromItsOwn)
{
    CoException error("first", 12, "reader");
    error.setWhat(error.what(), "%s and %ls", error.what(), L"\u00c9t\u00e9");
    EXPECT_STREQ(error.what(), "first");
    EXPECT_STREQ(error.expertData(), "first and \u00c9t\u00e9");
    error.setWhat("second", nullptr);
    EXPECT_STREQ(error.what(), "second");
    EXPECT_STREQ(error.expertData(), "");
}

TEST(Exception, FiresACopyOfItself)
{
    try
    {
        CoException(12, std::string(500, 'f').c_str()).fire("no such clip", "reel %d", 7);
    }
    catch (const std::exception& error)
    {
        const auto& thrown = dynamic_cast<const CoException&>(error);
        EXPECT_STREQ(error.what(), "no such clip");
        EXPECT_STREQ(thrown.expertData(), "reel 7");
        EXPECT_EQ(thrown.file(), std::string(127, 'f'));
        EXPECT_EQ(thrown.line(), 12);
    }
}

TEST(NumericCheck, NamesThreeQuantitiesExactly)
{
    EXPECT_EQ(failedCheck<float>(0.1f, -2, 1e20f), "Assertion failed: a = 0.1, b = -2, c = 1e+20");
    EXPECT_EQ(failedCheck<double>(0.1, 1.0 / 3, std::numeric_limits<double>::infinity()),
              "Assertion failed: a = 0.1, b = 0.3333333333333333, c = inf");
    EXPECT_EQ(failedCheck<std::int8_t>(-128, 65, 127), "Assertion failed: a = -128, b = 65, c = 127");
    EXPECT_EQ(failedCheck<std::uint8_t>(0, 65, 255), "Assertion failed: a = 0, b = 65, c = 255");
    EXPECT_EQ(failedCheck<std::int16_t>(-32768, 0, 32767), "Assertion failed: a = -32768, b = 0, c = 32767");
    EXPECT_EQ(failedCheck<std::uint16_t>(0, 1, 65535), "Assertion failed: a = 0, b = 1, c = 65535");
    EXPECT_EQ(failedCheck<std::int32_t>(-1, 0, 1), "Assertion failed: a = -1, b = 0, c = 1");
    EXPECT_EQ(failedCheck<std::uint32_t>(0, 1, 4294967295u), "Assertion failed: a = 0, b = 1, c = 4294967295");
    EXPECT_EQ(failedCheck<std::int64_t>(std::numeric_limits<std::int64_t>::min(), 0, 1),
              "Assertion failed: a = -9223372036854775808, b = 0, c = 1");
    EXPECT_EQ(failedCheck<std::uint64_t>(~std::uint64_t{0}, 0, 1),
              "Assertion failed: a = 18446744073709551615, b = 0, c = 1");
}
