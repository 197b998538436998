#include "commandCases.h"

TEST(DmtreeEnv, ListsEveryVariableWithValueDefaultAndFile)
{
    const auto result = zrTest::runDmtree({"env"}, {.environment = {"ZR_MSG_LEVEL=warn", "ZR_MSG_VERBOSE=1"}});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    std::istringstream in(result.out);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    EXPECT_TRUE(std::is_sorted(lines.begin() + 1, lines.end()));
    EXPECT_TRUE(matches(lines[0], "NAME ... VALUE ... DEFAULT ... FILE")) << result.out;
    for (const char* const line : {"ZR_MSG_LEVEL ... warn ... \"\" ... common/src/base/loggerBase/src/CoMsg",
                                   "ZR_MSG_VERBOSE ... true ... false ... common/src/base/loggerBase/src/CoMsg",
                                   "ZR_ASSERT_STACK_SIZE ... 100 ... 100 ... common/src/base/osal/src/zrAssert"})
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [line](const auto& each) { return matches(each, line); }))
            << line << '\n'
            << result.out;
}

TEST(DmtreeEnv, AValueStaysOnItsLineAndHtmlIsEscaped)
{
    const std::string longText(300, 'x');
    check({{"env"}, 0, "...ZR_MSG_LEVEL ...  a\\x0ab\\x1b[31m" + longText + "  \"\"..."},
          {.environment = {"ZR_MSG_LEVEL=a\nb\x1b[31m" + longText}});
    const zrTest::CommandOptions markup = {.environment = {"ZR_MSG_LEVEL=<b>&"}};
    check({{"env", "--html"}, 0, "<html>...<td align=left>ZR_MSG_LEVEL</td><td align=center>&lt;b&gt;&amp;</td>..."},
          markup);
    EXPECT_FALSE(matches(zrTest::runDmtree({"env", "--html"}, markup).out, "...<b>..."));
}

TEST(DmtreeEnv, SaysWhatEachVariableTakesAndDoes)
{
    std::ifstream file(ZR_DOCS "/environment.md");
    const std::string page((std::istreambuf_iterator<char>(file)), {});
    std::istringstream in(zrTest::runDmtree({"env"}).out);
    std::string line;
    std::getline(in, line);
    const std::size_t takes = line.find("TAKES");
    const std::size_t meaning = line.find("MEANING");
    ASSERT_NE(meaning, std::string::npos);
    while (std::getline(in, line))
    {
        EXPECT_NE(line[takes], ' ') << line;
        EXPECT_NE(line[meaning], ' ') << line;
        EXPECT_NE(page.find("| `" + line.substr(0, line.find(' ')) + "` |"), std::string::npos) << line;
    }
}
