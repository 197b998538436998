#include "zrTest.h"

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

template <class T>
void expectExact()
{
    constexpr T least = std::numeric_limits<T>::min();
    constexpr T most = std::numeric_limits<T>::max();
    EXPECT_EQ(failedCheck<T>(least, 65, most),
              "Assertion failed: a = " + std::to_string(least) + ", b = 65, c = " + std::to_string(most));
}

} // namespace

TEST(Exception, SharesItsBufferBetweenMessageLocationAndExpertData)
{
    const std::string location = " f:reader l:12";
    constexpr std::size_t none = std::string::npos;
    static const struct
    {
        std::size_t message, expert, keptMessage; // expert: none when there is no format
        bool verbose, keepsExpert;
    } cases[] = {{5, 4, 5, false, true},           {5, 4, 5, true, true},         {5, none, 5, true, false},
                 {0, 1598, 0, false, true},        {0, 1599, 0, false, false},    {1597, 1, 1597, false, true},
                 {1597, 2, 1597, false, false},    {1598, 1, 1598, false, false}, {1600, 1, 1599, false, false},
                 {5000, 5000, 1599, false, false}, {1584, 1, 1584, true, false},  {1583, 1, 1583, true, true},
                 {1583, 2, 1583, true, false}};
    for (const auto& c : cases)
    {
        const Verbose verbose(c.verbose);
        const std::string message(c.message, 'm');
        const std::string expert(c.expert == none ? 0 : c.expert, 'e');
        CoException error(12, "reader");
        error.setWhat(message.c_str(), c.expert == none ? nullptr : "%s", expert.c_str());
        std::string what = message.substr(0, c.keptMessage);
        what += c.verbose ? location : "";
        what += c.verbose && c.keepsExpert ? " " + expert : "";
        const std::string context = testing::PrintToString(c.message) + "/" + testing::PrintToString(c.expert);
        EXPECT_EQ(std::string(error.what()).substr(0, what.size()), what) << context;
        EXPECT_TRUE(c.verbose || error.what() == what) << context;
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
    const auto exact = []<class... T>(std::tuple<T...>) { (expectExact<T>(), ...); };
    exact(std::tuple<std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t, std::uint32_t, std::int64_t,
                     std::uint64_t>());
}
