// dmtree merge, on files and as git's merge driver, for the branches of three editors.
#include "commandCases.h"
#include "zrTempDir.h"

namespace
{

const std::string soda = ZR_EXAMPLES "/commercial-25.json";

} // namespace

TEST(DmtreeMerge, PutsTwoEditsTogetherAndNamesConflicts)
{
    const ZrTempDir dir;
    const std::string ours = dir.path("ours.json");
    const std::string theirs = dir.path("theirs.json");
    const std::string out = dir.path("out.json");
    check({{"edit", soda, "-o", ours, "--no-sync", "ripple", "V1@10:00:07:00", "tail", "-12"}, 0});
    check({{"edit", soda, "-o", theirs, "--no-sync", "ripple", "V1@10:00:18:00", "tail", "-5", "rename",
            "V1@10:00:07:00", "crate, tighter"},
           0});
    check({{"merge", soda, ours, theirs, "-o", out}, 0});
    check({{"diff", soda, out, "--stat", "--ignore", "shifted"}, 1, "2 tail trimmed, 1 renamed\n"});
    check({{"check", "--all", out}, 0, "..."});

    check({{"edit", soda, "-o", theirs, "rename", "V1@10:00:07:00", "drop"}, 0});
    check({{"edit", ours, "-o", ours, "rename", "V1@10:00:07:00", "crate"}, 0});
    check({{"merge", soda, ours, theirs, "-o", out},
           1,
           "",
           "conflict: V1 10:00:06:12 crate: both changed it; ours: crate, theirs: drop\n"});
    check({{"diff", ours, out}, 1, "...mark \"conflict\" added..."});
    check({{"merge", soda, ours, theirs, "-o", theirs, "--theirs"}, 1, "", "..."});
    check({{"diff", ours, theirs, "--stat"}, 1, "1 renamed\n"});
    check({{"merge", soda, ours, dir.path("none.json"), "-o", out}, 2, "", "...none.json..."});
    check({{"merge", "/dev/null", ours, ours, "-o", out}, 0});
    check({{"diff", ours, out}, 0});

    const std::string odd = dir.write("odd.json", R"({"DmRoot": {"children": [{"DmGapNode": {"recIn": "4"}}]}})");
    check({{"merge", odd, odd, odd}, 2, "", "...--lenient..."});
    check({{"merge", "--lenient", odd, odd, odd}, 0, "...\"recIn\": 4.0...", "...became 4..."});
}

TEST(DmtreeMerge, ServesGitForThreeEditors)
{
    const ZrTempDir dir;
    const std::vector<std::string> environment = {"HOME=" + dir.path(""),    "GIT_AUTHOR_NAME=a",
                                                  "GIT_AUTHOR_EMAIL=a@b",    "GIT_COMMITTER_NAME=a",
                                                  "GIT_COMMITTER_EMAIL=a@b", "GIT_CONFIG_NOSYSTEM=1"};
    const auto git = [&](std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "git");
        const auto result = zrTest::runCommand(arguments, {.environment = environment, .directory = dir.path("")});
        return std::pair(result.exitCode, result.out + result.err);
    };
    const auto run = [&](const std::vector<std::string>& arguments)
    {
        const auto [code, text] = git(arguments);
        ASSERT_EQ(code, 0) << testing::PrintToString(arguments) << text;
    };
    const std::string cut = dir.path("cut.json");
    run({"init", "-q", "-b", "main"});
    run({"config", "merge.cut.driver", std::string(zrTest::dmtreeProgram()) + " merge %O %A %B -o %A --name %P"});
    std::ofstream(dir.path(".gitattributes")) << "cut.json merge=cut\n";
    check({{"fmt", soda, "-o", cut}, 0});
    run({"add", "."});
    run({"commit", "-q", "-m", "first"});
    const std::vector<std::vector<std::string>> edits = {
        {"--no-sync", "ripple", "V1@10:00:07:00", "tail", "-12"},
        {"--no-sync", "ripple", "V1@10:00:18:00", "tail", "-5", "rename", "V1@10:00:07:00", "crate, tighter"},
        {"--no-sync", "mute", "V1@10:00:10:00"},
    };
    for (std::size_t i = 0; i < edits.size(); ++i)
    {
        run({"checkout", "-q", "-b", "editor" + std::to_string(i), "main"});
        std::vector<std::string> edit{"edit", cut, "-o", cut};
        edit.insert(edit.end(), edits[i].begin(), edits[i].end());
        check({edit, 0});
        run({"commit", "-q", "-a", "-m", "edit"});
    }
    run({"checkout", "-q", "main"});
    for (std::size_t i = 0; i < edits.size(); ++i)
        run({"merge", "-q", "--no-edit", "--no-ff", "editor" + std::to_string(i)});
    check({{"diff", soda, cut, "--stat", "--ignore", "shifted"}, 1, "2 tail trimmed, 1 renamed, 1 muted or unmuted\n"});
    check({{"check", "--all", cut}, 0, "..."});
    // A conflict leaves the merge open, with ours and a mark.
    run({"checkout", "-q", "-b", "fourth", "editor1"});
    check({{"edit", cut, "-o", cut, "rename", "V1@10:00:07:00", "drop"}, 0});
    run({"commit", "-q", "-a", "-m", "edit"});
    run({"checkout", "-q", "-b", "fifth", "editor1"});
    check({{"edit", cut, "-o", cut, "rename", "V1@10:00:07:00", "crate"}, 0});
    run({"commit", "-q", "-a", "-m", "edit"});
    EXPECT_EQ(git({"merge", "-q", "--no-edit", "fourth"}).first, 1);
    const auto dumped = zrTest::runDmtree({"dump", cut}).out;
    EXPECT_NE(dumped.find("\"crate\""), std::string::npos) << dumped;
}
