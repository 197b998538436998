// dmtree diff, on lists and documents, and as git's external diff in a repository.
#include "commandCases.h"
#include "zrTempDir.h"

namespace
{

const std::string soda = ZR_EXAMPLES "/commercial-25.json";

constexpr const char* list = "TITLE: Promo\nFCM: NON-DROP FRAME\n"
                             "001  A001C001 V     C        01:00:00:00 01:00:04:00 10:00:00:00 10:00:04:00\n"
                             "002  A001C002 V     C        02:00:00:00 02:00:04:00 10:00:04:00 10:00:08:00\n"
                             "003  A001C003 V     C        03:00:00:00 03:00:04:00 10:00:08:00 10:00:12:00\n";
/// An event in front of all others, which numbers them anew.
constexpr const char* inFront = "TITLE: Promo\nFCM: NON-DROP FRAME\n"
                                "001  B001C009 V     C        05:00:00:00 05:00:02:00 10:00:00:00 10:00:02:00\n"
                                "002  A001C001 V     C        01:00:00:00 01:00:04:00 10:00:02:00 10:00:06:00\n"
                                "003  A001C002 V     C        02:00:00:00 02:00:04:00 10:00:06:00 10:00:10:00\n"
                                "004  A001C003 V     C        03:00:00:00 03:00:04:00 10:00:10:00 10:00:14:00\n";

} // namespace

TEST(DmtreeDiff, ReadsLikeAChangeList)
{
    const ZrTempDir dir;
    const std::string old = dir.path("old.edl");
    const std::string now = dir.path("new.edl");
    std::ofstream(old) << list;
    std::ofstream(now) << inFront;
    const std::string changes = "V1\n  10:00:00:00  B001C009: added, 50 frames\n3 shifted 50 frames later\n"
                                "1 added; 3 shifted\n";
    const auto with = [&](std::vector<std::string> options)
    {
        options.insert(options.begin(), {"diff", "--fcm", "25", old, now});
        return options;
    };
    const CommandCase cases[] = {
        {with({}), 1, "--- " + old + "\n+++ " + now + "\n" + changes},
        {with({"--exit-zero"}), 0, "..."},
        {with({"--stat"}), 1, "1 added; 3 shifted\n"},
        {with({"--brief"}), 1, old + " and " + now + " differ\n"},
        {with({"--each"}), 1, "...10:00:04:00 -> 10:00:06:00  A001C002: shifted 50 frames later\n..."},
        {with({"--ignore", "added,shifted"}), 0, ""},
        {with({"--json"}), 1,
         "{\"same\":false,\"totals\":{\"added\":1,\"shifted\":3},...\"text\":\"added, 50 frames\"}...}\n"},
        {with({"--ignore", "colour"}), 2, "", "dmtree: diff: colour: no kind of change\n"},
        {{"diff", "--fcm", "25", old, old}, 0, ""},
        {{"diff", "--fcm", "25", old, "/dev/null", "--stat"}, 1, "1 composition removed\n"},
        {{"diff", "/dev/null", "/dev/null", "--stat"}, 0, "the same\n"},
        {{"diff", old, dir.path("none.edl")}, 2, "", "...none.edl..."},
        {{"diff", old, now, now}, 2, "", "dmtree: diff: wants two files: OLD NEW\n"},
    };
    for (const CommandCase& row : cases)
        check(row);
    // The list and the document that it becomes are the same cut.
    check({{"convert", "--fcm", "25", old, dir.path("old.json")}, 0});
    check({{"diff", "--fcm", "25", old, dir.path("old.json")}, 0, ""});
}

TEST(DmtreeDiff, TellsOfListsOfTwoFormatsWhatIsOfTheCut)
{
    const ZrTempDir dir;
    const std::string old = dir.path("old.edl");
    std::ofstream(old) << list;
    std::ofstream(dir.path("new.edl")) << inFront;
    for (const char* const format : {".xml", ".otio", ".json"})
    {
        SCOPED_TRACE(format);
        const std::string same = dir.path("same") + format;
        const std::string now = dir.path("new") + format;
        check({{"convert", "--fcm", "25", old, same}, 0, "", "..."});
        check({{"convert", "--fcm", "25", dir.path("new.edl"), now}, 0, "", "..."});
        check({{"diff", "--fcm", "25", old, same, "--stat"}, 0, "the same\n"});
        check({{"diff", "--fcm", "25", old, now, "--stat"}, 1, "1 added; 3 shifted\n"});
        check({{"diff", "--fcm", "25", now, old, "--stat"}, 1, "1 removed; 3 shifted\n"});
    }
}

TEST(DmtreeDiff, TellsEditsAndNothingElse)
{
    const ZrTempDir dir;
    const std::string out = dir.path("out.json");
    check({{"edit", soda, "-o", out, "--no-sync", "ripple", "V1@10:00:07:00", "tail", "-12", "roll", "V1@10:00:03:20",
            "+3", "rename", "V1@10:00:07:00", "crate, tighter"},
           0});
    check({{"diff", soda, out, "--stat"}, 1, "1 tail trimmed, 1 renamed, 1 transition changed; 8 shifted\n"});
}

TEST(DmtreeDiff, WritesPatchesThatLeadToTheOtherFile)
{
    const ZrTempDir dir;
    const std::string out = dir.path("out.json");
    const std::string other = dir.path("other.json");
    const std::string patch = dir.path("patch.json");
    check({{"edit", soda, "-o", out, "--no-sync", "ripple", "V1@10:00:07:00", "tail", "-12", "roll", "V1@10:00:03:20",
            "+3", "rename", "V1@10:00:07:00", "crate, tighter"},
           0});
    const auto made = zrTest::runDmtree({"diff", "--patch", soda, out});
    EXPECT_EQ(made.exitCode, 1);
    std::ofstream(patch) << made.out;
    check({{"patch", soda, patch, "-o", dir.path("back.json")}, 0});
    EXPECT_EQ(zrTest::runDmtree({"fmt", dir.path("back.json")}).out, zrTest::runDmtree({"fmt", out}).out);
    // Where the shot has another name by now, that change is named and the others are made.
    check({{"edit", soda, "-o", other, "rename", "V1@10:00:07:00", "drop"}, 0});
    check(
        {{"patch", other, patch, "-o", other}, 1, "", "left out: crate drop: .../name: another value stands there\n"});
    check({{"diff", other, out, "--stat"}, 1, "1 renamed\n"});
    check({{"patch", out, patch, "-o", other}, 0});
    EXPECT_EQ(zrTest::runDmtree({"fmt", other}).out, zrTest::runDmtree({"fmt", out}).out);
    check({{"patch", soda, out, "-o", other}, 2, "", "...out.json: It is no patch.\n"});
    check({{"diff", "--patch", soda, soda}, 0, "{\"patch\":1,\"shots\":[],\"changes\":[]}\n"});
}

TEST(DmtreeDiff, AnswersOrRefusesWhateverItIsGiven)
{
    const ZrTempDir dir;
    const auto cutOf = [](const std::string& elements)
    {
        return R"({"DmCompositionNode":{"name":"a","children":[{"DmTrackNode":{"trackNum":1,"mediaType":0,"children":[)"
               R"({"DmLayerNode":{"mediaType":0,"children":[)" +
               elements + "]}}]}}]}}";
    };
    const auto rootOf = [](const std::string& children) { return R"({"DmRoot":{"children":[)" + children + "]}}"; };
    const auto gap = [](const char* in, const char* id)
    {
        return std::string(R"({"DmGapNode":{"recLength":4,"mediaType":0,"recIn":)") + in + R"(,"segmentId":")" + id +
               "\"}}";
    };
    const std::string shot = gap("0", "x");
    const std::pair<const char*, std::string> documents[] = {
        {"nothing", R"({"DmRoot":{}})"},
        {"empty elements", rootOf("{},{}")},
        {"two compositions of one name", rootOf(cutOf(shot) + ',' + cutOf(shot))},
        {"a composition and a reel", rootOf(cutOf(shot) + R"(,{"DmReelNode":{"children":[)" + cutOf(shot) + "]}}")},
        {"an id used twice, and empty elements", rootOf(cutOf(shot + ",{}," + gap("4", "x") + ',' + shot))},
        {"no ids", rootOf(cutOf(gap("0", "") + ',' + gap("4", "")))},
        {"out of order", rootOf(cutOf(gap("8", "z") + ',' + gap("0", "y") + ',' + gap("-4", "x")))},
        {"far away", rootOf(cutOf(gap("1e300", "x") + ',' + gap("-1e300", "y")))},
        {"a container in a container",
         rootOf(cutOf(R"({"DmContainerNode":{"recLength":4,"mediaType":0,"composition":)" +
                      cutOf(R"({"DmContainerNode":{"recLength":4,"mediaType":0,"composition":)" + cutOf(shot) + "}}") +
                      "}}"))},
    };
    const auto write = [&](const std::string& name, const std::string& text)
    {
        std::ofstream(dir.path(name)) << text;
        return dir.path(name);
    };
    const std::string patch = dir.path("patch.json");
    const std::string out = dir.path("out.json");
    for (std::size_t i = 0; i < std::size(documents); ++i)
        for (const std::size_t by : {0, 1, 4})
        {
            const auto& [oldName, oldText] = documents[i];
            const auto& [newName, newText] = documents[(i + by) % std::size(documents)];
            SCOPED_TRACE(std::string(oldName) + ", " + newName);
            const std::string a = write("a.json", oldText);
            const std::string b = write("b.json", newText);
            const std::string wanted = zrTest::runDmtree({"fmt", b}).out;
            const int same = oldText == newText ? 0 : 1;
            EXPECT_EQ(zrTest::runDmtree({"diff", a, b}).exitCode, same);
            const auto made = zrTest::runDmtree({"diff", "--patch", a, b});
            EXPECT_EQ(made.exitCode, same);
            std::ofstream(patch) << made.out;
            check({{"patch", a, patch, "-o", out}, 0});
            EXPECT_EQ(zrTest::runDmtree({"fmt", out}).out, wanted);
            EXPECT_LE(zrTest::runDmtree({"merge", soda, a, b, "-o", out}).exitCode, 1);
            check({{"merge", a, a, b, "-o", out}, 0});
            EXPECT_EQ(zrTest::runDmtree({"fmt", out}).out, wanted);
        }
    // What is no document, and no patch, is named, and nothing is written.
    const std::string good = write("good.json", documents[5].second);
    const std::string none = dir.path("none.json");
    for (const std::string& text :
         {std::string(), std::string("[]"), std::string("3"), std::string(5000, '['), cutOf(shot), shot,
          documents[4].second.substr(0, 150), std::string("{\"DmRoot\":{\"children\":[\xff]}}")})
    {
        SCOPED_TRACE(text.substr(0, 60));
        const std::string bad = write("bad.json", text);
        for (const std::vector<std::string>& words : {std::vector<std::string>{"diff", good, bad},
                                                      {"diff", bad, good},
                                                      {"diff", "--patch", good, bad},
                                                      {"patch", good, bad, "-o", none},
                                                      {"merge", good, good, bad, "-o", none},
                                                      {"merge", good, bad, good, "-o", none}})
            check({words, 2, "", "...bad.json..."});
    }
    const std::string whole = zrTest::runDmtree({"diff", "--patch", good, soda}).out;
    for (std::size_t end = 1; end + 2 < whole.size(); end += whole.size() / 20)
    {
        std::ofstream(patch) << whole.substr(0, end);
        check({{"patch", good, patch, "-o", none}, 2, "", "...patch.json..."});
    }
    EXPECT_FALSE(std::ifstream(none).good());
}

TEST(DmtreeDiff, ServesGitAsItsExternalDiff)
{
    const ZrTempDir dir;
    const std::vector<std::string> environment = {"GIT_EXTERNAL_DIFF=" + std::string(zrTest::dmtreeProgram()) +
                                                      " diff --fcm 25",
                                                  "HOME=" + dir.path(""),
                                                  "GIT_AUTHOR_NAME=a",
                                                  "GIT_AUTHOR_EMAIL=a@b",
                                                  "GIT_COMMITTER_NAME=a",
                                                  "GIT_COMMITTER_EMAIL=a@b",
                                                  "GIT_CONFIG_NOSYSTEM=1",
                                                  "GIT_PAGER=cat"};
    const auto git = [&](std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "git");
        return zrTest::runCommand(arguments, {.environment = environment, .directory = dir.path("")});
    };
    ASSERT_EQ(git({"init", "-q"}).exitCode, 0);
    std::ofstream(dir.path("reel.edl")) << list;
    ASSERT_EQ(git({"add", "reel.edl"}).exitCode, 0);
    ASSERT_EQ(git({"commit", "-q", "-m", "first"}).exitCode, 0);
    std::ofstream(dir.path("reel.edl")) << inFront;
    std::ofstream(dir.path("other.edl")) << list;
    ASSERT_EQ(git({"add", "-N", "other.edl"}).exitCode, 0);
    const auto result = git({"diff"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out,
              "--- a/other.edl\n+++ b/other.edl\n  Promo: composition added, 300 frames\n1 composition added\n"
              "--- a/reel.edl\n+++ b/reel.edl\nV1\n  10:00:00:00  B001C009: added, 50 frames\n"
              "3 shifted 50 frames later\n1 added; 3 shifted\n");
}
