// dmtree diff, on lists and documents, and as git's external diff in a repository.
#include "commandCases.h"
#include "zrTempDir.h"

#include <fstream>

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
