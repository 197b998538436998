#include "commandCases.h"
#include "zrTempDir.h"

using zrTest::runDmtree;

namespace
{

const std::string commercial = ZR_EXAMPLES "/commercial-25.json";
const std::string mistakes = ZR_EXAMPLES "/commercial-with-mistakes.json";

} // namespace

TEST(DmtreeCheckRules, ThePageIsWhatTheRulesSay)
{
    const std::string page = ZrTempDir::read(ZR_DOCS "/rules.md");
    const auto rules = runDmtree({"check", "--explain", "all"});
    ASSERT_EQ(rules.exitCode, 0);
    EXPECT_TRUE(page.ends_with("\n\n" + rules.out)) << "docs/rules.md: its sections are dmtree check --explain all";
    const CommandCase cases[] = {
        {{"check", "--explain", "DM112"}, 0, "## DM112 hole\n\n...Why...Example...Mending..."},
        {{"check", "--explain", "hole"}, 0, "## DM112 hole\n..."},
        {{"check", "--explain", "DM607"}, 0, "## DM607\n..."},
        {{"check", "--explain", "DM999"}, 2, "", "...no rule \"DM999\"..."},
        {{"check", "--select", "cuts", commercial}, 2, "", "...\"cuts\"..."},
    };
    for (const CommandCase& row : cases)
        check(row);
}

TEST(DmtreeCheckForms, SayTheSame)
{
    const CommandCase cases[] = {
        {{"check", "--output-format", "github", mistakes},
         1,
         "::error file=" + mistakes +
             ",title=DM201::crate drop, V1, 10:00:06:12: It plays ...\n::error file=" + mistakes + ",title=DM103::..."},
        {{"check", "--output-format", "json", mistakes}, 1, "{\"file\":...\"code\":\"DM201\"...\"code\":\"DM103\"..."},
        {{"check", "--statistics", mistakes, commercial, mistakes}, 1, "2\tDM103\terror\t...\n2\tDM201\terror\t...\n"},
        {{"check", "--output-format", "yaml", mistakes}, 2, "", "...yaml..."},
    };
    for (const CommandCase& row : cases)
        check(row);
}

TEST(DmtreeCheckJobs, ReportsKeepTheOrderOfTheFiles)
{
    std::vector<std::string> arguments = {"check", "--jobs", "4"};
    std::string expected;
    for (int i = 0; i < 40; ++i)
    {
        const bool isThere = i % 3 != 0;
        arguments.push_back(isThere ? commercial : "/nowhere/" + std::to_string(i));
        expected += arguments.back() + (isThere ? ": valid\n" : ": unreadable: No such file or directory\n");
    }
    check({arguments, 2, expected});
}
