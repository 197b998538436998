#include "zrRunCommand.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

using zrTest::runDmtree;

namespace
{

std::vector<std::string> linesOf(const std::string& text)
{
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

/// The line of a variable, "" if it has none.
std::string lineOf(const std::vector<std::string>& lines, const std::string& name)
{
    const auto found = std::find_if(lines.begin(), lines.end(),
                                    [&](const std::string& line) { return line.rfind(name + " ", 0) == 0; });
    return found == lines.end() ? "" : *found;
}

/// What stands under a title, up to the next blank.
std::string under(const std::string& title, const std::vector<std::string>& lines, const std::string& name)
{
    const std::string line = lineOf(lines, name);
    const std::size_t column = lines.front().find(title);
    return column < line.size() ? line.substr(column, line.find(' ', column) - column) : "";
}

TEST(DmtreeEnv, ListsEveryVariableWithValueDefaultAndFile)
{
    const auto result = runDmtree({"env"}, {.environment = {"ZR_MSG_LEVEL=warn", "ZR_MSG_VERBOSE=1"}});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const std::vector<std::string> lines = linesOf(result.out);
    const struct
    {
        const char* name;
        const char* value;
        const char* defaultValue;
        const char* file;
    } cases[] = {
        {"ZR_MSG_LEVEL", "warn", "\"\"", "common/src/base/loggerBase/src/CoMsg"},
        {"ZR_MSG_VERBOSE", "true", "false", "common/src/base/loggerBase/src/CoMsg"},
        {"ZR_ASSERT_STACK_SIZE", "100", "100", "common/src/base/osal/src/zrAssert"},
        {"ZR_VERBOSE_EXCEPTIONS", "false", "false", "common/src/base/osal/src/CoException"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(under("VALUE", lines, c.name), c.value) << result.out;
        EXPECT_EQ(under("DEFAULT", lines, c.name), c.defaultValue) << result.out;
        EXPECT_EQ(under("FILE", lines, c.name), c.file) << result.out;
    }
    EXPECT_TRUE(std::is_sorted(lines.begin() + 1, lines.end()));
}

TEST(DmtreeEnv, AValueStaysOnItsLine)
{
    const auto result = runDmtree({"env"}, {.environment = {"ZR_MSG_LEVEL=a\nb\x1b[31m" + std::string(300, 'x')}});
    EXPECT_NE(lineOf(linesOf(result.out), "ZR_MSG_LEVEL").find("  a\\x0ab\\x1b[31m" + std::string(300, 'x') + "  \"\""),
              std::string::npos)
        << result.out;
}

TEST(DmtreeEnv, HtmlEscapesValues)
{
    const auto result = runDmtree({"env", "--html"}, {.environment = {"ZR_MSG_LEVEL=<b>&"}});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out.rfind("<html>", 0), 0u);
    EXPECT_NE(result.out.find("<td align=left>ZR_MSG_LEVEL</td><td align=center>&lt;b&gt;&amp;</td>"),
              std::string::npos)
        << result.out;
    EXPECT_EQ(result.out.find("<b>"), std::string::npos);
}

} // namespace
