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
}

TEST(DmtreeCheckForms, CountByCode)
{
    check(
        {{"check", "--statistics", mistakes, commercial, mistakes}, 1, "2\tDM103\terror\t...\n2\tDM201\terror\t...\n"});
}

/// Of whatever there is to say: notes, lines and columns, names that are no plain text of an URI, what cannot be read.
TEST(DmtreeCheckForms, SarifIsValidByItsPublishedSchema)
{
    const ZrTempDir directory;
    const std::string list = directory.write("reel 1 #2%\u00e9.edl", "TITLE: r\n\n"
                                                                     "001  A001 V C 01:00:04:05 01:00:04:14 "
                                                                     "01:00:00:00 01:00:00:09\n"
                                                                     "002  A001 V C 01:00:04:14 01:00:x\n");
    const auto run = runDmtree({"check", "--output-format", "sarif", "--select", "all", "--fcm", "25", mistakes, list,
                                commercial, ZR_EXAMPLES "/../lists/reel1.edl", "/nowhere"});
    EXPECT_EQ(run.exitCode, 2);
    const auto validate = [&](const std::string& log) {
        return zrTest::runCommand({ZR_PYTHON, ZR_VALIDATOR, ZR_SARIF, directory.write("log.sarif", log)});
    };
    EXPECT_EQ(validate(run.out).out, "valid\n");
    for (const char* const part : {"\"level\": \"note\"", "\"startLine\": 4", "reel%201%20%232%25%C3%A9.edl"})
        EXPECT_NE(run.out.find(part), std::string::npos) << part << run.out;
    std::string wrong = run.out;
    wrong.replace(wrong.find("\"startLine\": 4"), 14, "\"startLine\": 0");
    EXPECT_EQ(validate(wrong).exitCode, 1);
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

TEST(DmtreeCheckFix, MendsSafelyOrAllAndLeavesNothingToMendAgain)
{
    const ZrTempDir directory;
    const std::string safe = directory.path("safe.json");
    const std::string all = directory.path("all.json");
    const std::string again = directory.path("again.json");
    const std::string cut = mistakes + ": mended: slice macro, V1, 10:00:08:12: ... [DM103]\n";
    const CommandCase cases[] = {
        {{"check", "--fix", "-o", safe, mistakes},
         1,
         cut + mistakes + ": error: crate drop, ... [DM201]\n...1 violation\n"},
        {{"check", "--unsafe-fixes", "-o", all, mistakes},
         0,
         mistakes + ": mended: crate drop, ...\n" + cut + "...valid\n"},
        {{"check", "--unsafe-fixes", "-o", again, all},
         0,
         all + ": warning: V1, 10:00:07:17: ...[DM304]\n" + all + ": valid\n"},
        {{"check", "--fix", mistakes}, 2, "", "...--fix requires -o..."},
        {{"check", "--fix", "-o", safe, mistakes, mistakes}, 2, "", "...one FILE..."},
    };
    for (const CommandCase& row : cases)
        check(row);
    EXPECT_EQ(ZrTempDir::read(all), ZrTempDir::read(again));
}

TEST(DmtreeCheckFix, ShowsBeforeAndAfterAndWritesOnlyWhereAsked)
{
    const ZrTempDir directory;
    const std::string out = directory.path("out.json");
    const CommandCase cases[] = {
        {{"check", "--fix", "--diff", mistakes},
         1,
         "...[DM103]\n...--- " + mistakes +
             "\n+++ ...\n@@ -1,12 +1,13 @@\n...-      DmLayerNode ...elements 16\n+      "
             "DmLayerNode ...elements 17\n...\n+        DmCutNode ...1 violation\n"},
        {{"check", "--fix", "--diff", commercial, commercial}, 0, commercial + ": valid\n" + commercial + ": valid\n"},
        {{"check", "--diff", commercial}, 2, "", "...--diff requires --fix..."},
        {{"check", "--fix", "--diff", "--json", "-o", out, mistakes}, 1, "{...\"diff\":\"--- ..."},
    };
    for (const CommandCase& row : cases)
        check(row);
    EXPECT_NE(ZrTempDir::read(out), "");
}

/// What was accepted stays so where it plays at another time, and not where other frames of it play.
TEST(DmtreeCheckBaseline, KnowsWhatWasAcceptedByMediumAndSourceRange)
{
    const ZrTempDir directory;
    const std::string accepted = directory.path("accepted.json");
    const auto list = [&directory](const char* first, const char* goesOn, const char* second)
    {
        return directory.write("cut.edl", std::string("TITLE: cut\n\n001  A001 V C 01:00:00:00 01:00:02:00 ") + first +
                                              "\n* FROM CLIP NAME: A\n002  A001 V C " + goesOn + second +
                                              "\n* FROM CLIP NAME: A\n");
    };
    const auto run = [&](std::vector<std::string> more)
    {
        more.insert(more.begin(), {"check", "--fcm", "25", "--fail-on-warning", directory.path("cut.edl")});
        return runDmtree(more);
    };
    list("10:00:00:00 10:00:02:00", "01:00:02:00 01:00:03:00", " 10:00:02:12 10:00:03:12");
    const auto first = run({"--write-baseline", accepted});
    EXPECT_EQ(first.exitCode, 0);
    EXPECT_EQ(first.err, accepted + ": 1 accepted\n");
    const struct
    {
        const char* first;
        const char* goesOn;
        const char* second;
        const char* out;
        int exitCode;
    } rows[] = {
        {"10:00:00:00 10:00:02:00", "01:00:02:00 01:00:03:00", " 10:00:02:12 10:00:03:12", "...: valid, 1 accepted\n",
         0},
        {"10:00:05:00 10:00:07:00", "01:00:02:00 01:00:03:00", " 10:00:07:12 10:00:08:12", "...: valid, 1 accepted\n",
         0},
        {"10:00:00:00 10:00:02:00", "01:00:02:00 01:00:03:01", " 10:00:02:12 10:00:03:13", "...[DM304]\n...: valid\n",
         1},
        {"10:00:00:00 10:00:02:00", "01:00:02:00 01:00:03:00", " 10:00:02:13 10:00:03:13", "...[DM304]\n...: valid\n",
         1},
    };
    for (const auto& row : rows)
    {
        list(row.first, row.goesOn, row.second);
        const auto result = run({"--baseline", accepted});
        EXPECT_EQ(result.exitCode, row.exitCode) << result.out;
        EXPECT_TRUE(matches(result.out, row.out)) << result.out;
    }
    const CommandCase cases[] = {
        {{"check", "--baseline", commercial, commercial}, 2, "", "...commercial-25.json: this is no baseline..."},
        {{"check", "--baseline", accepted, "--write-baseline", accepted, commercial}, 2, "", "...excludes..."},
        {{"check", "--write-baseline", accepted, mistakes, mistakes}, 0, "...", "...: 2 accepted\n"},
        {{"check", "--baseline", accepted, mistakes}, 0, mistakes + ": valid, 2 accepted\n"},
    };
    for (const CommandCase& row : cases)
        check(row);
}

TEST(DmtreeCheckConfig, IsThatOfTheNearestFolderAndNamesItsMistakes)
{
    const ZrTempDir directory;
    const CommandCase cases[] = {
        {{"ignore = [\"structure\", 'beyond-material']\n"}, 0, mistakes + ": valid\n"},
        {{"ignore = ['DM2']\nfail-on-warning = true\n"}, 1, "...[DM103]...1 violation\n"},
        {{"[per-path]\n'*with-mistakes*' = ['all']\n"}, 0, mistakes + ": valid\n"},
        {{"[per-path]\n'*without*' = ['all']\n"}, 1, "...2 violations\n"},
        {{"start-label = '10:00:00:01'\nselect = ['start-label']\n"},
         0,
         "...begins at 10:00:00:00 instead of 10:00:00:01..."},
        {{"handels = 5\n"}, 2, "", "....dmtree.toml:1: nobody asks for \"handels\"\n"},
        {{"\nhandles = 'five'\n"}, 2, "", "....dmtree.toml:2: this is not a number\n"},
        {{"handles = -1\n"}, 2, "", "....dmtree.toml:1: this is not 0 or more\n"},
        {{"ignore = 'DM2'\n"}, 2, "", "....dmtree.toml:1: this is no list of texts\n"},
        {{"ignore = ['DM2\n"}, 2, "", "....dmtree.toml:1: ..."},
        {{"per-path = 3\n"}, 2, "", "....dmtree.toml:1: this is no table of patterns\n"},
    };
    for (const CommandCase& row : cases)
    {
        directory.write(".dmtree.toml", row.arguments.front());
        check({{"check", mistakes}, row.exitCode, row.out, row.err}, {.directory = directory.path()});
    }
    check({{"check", "--no-config", commercial}, 0, commercial + ": valid\n"}, {.directory = directory.path()});
}

/// What a conversion loses, check says of its format.
TEST(DmtreeCheckProfile, NamesTheLossesThatAConversionNames)
{
    const ZrTempDir directory;
    std::size_t losses = 0;
    std::vector<std::string> files = {commercial, mistakes, ZR_EXAMPLES "/feature-23.976.json",
                                      ZR_EXAMPLES "/news-29.97df.json"};
    for (const char* const list : {"reel1.edl", "promo.otio"}) // of which reading says something, too
    {
        files.push_back(directory.path(list + std::string(".json")));
        runDmtree({"convert", "--fcm", "25", std::string(ZR_EXAMPLES "/../lists/") + list, files.back()});
    }
    for (const std::string& file : files)
        for (const char* const name : {"ale", "edl", "otio", "fcp7xml", "json"})
        {
            const std::string format = name;
            SCOPED_TRACE(file + " as " + format);
            const auto converted =
                runDmtree({"convert", "--to", format, "--each", file, directory.path("out." + format)});
            std::istringstream said(converted.err);
            const auto checked = runDmtree({"check", "--select", "writing", "--profile", format, file});
            std::size_t count = 0;
            for (std::string line; std::getline(said, line); ++count)
                EXPECT_NE(checked.out.find(line.substr(std::min(line.rfind(": "), line.size()))), std::string::npos)
                    << line;
            EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(checked.out, '\n')), count + 1) << checked.out;
            losses += count;
        }
    EXPECT_GT(losses, 10u);
    check({{"check", "--profile", "vhs", commercial}, 2, "", "...there is no format vhs..."});
}
