// dmtree edit, on the example documents.
#include "commandCases.h"
#include "zrTempDir.h"

#include <fstream>

namespace
{

const std::string soda = ZR_EXAMPLES "/commercial-25.json";

std::string dumped(const std::string& path)
{
    return zrTest::runDmtree({"dump", path}).out;
}

} // namespace

TEST(DmtreeEdit, EditsSeveralTimesInARow)
{
    const ZrTempDir dir;
    const std::string out = dir.path("out.json");
    check({{"edit", soda, "-o", out, "--no-sync", "ripple", "V1@10:00:07:00", "tail", "-12", "roll", "V1@10:00:06:12",
            "+3", "rename", "V1@10:00:07:00", "crate, tighter"},
           0});
    const std::string text = dumped(out);
    EXPECT_NE(text.find("\"crate, tighter\" 10:00:06:15 - 10:00:08:00"), std::string::npos) << text;
    EXPECT_NE(text.find("\"slice macro\" 10:00:08:00 - 10:00:11:09"), std::string::npos) << text;
    check({{"check", "--all", out}, 0, "..."});
    check({{"edit", soda, "-o", "-", "rename", "V1@10:00:07:00", "crate, tighter"}, 0, "{\n...\"crate, tighter\"..."});
    // A time to go to, instead of an amount.
    check({{"edit", soda, "-o", out, "--no-sync", "ripple", "V1@10:00:07:00", "tail", "@10:00:08:00"}, 0});
    EXPECT_NE(dumped(out).find("\"slice macro\" 10:00:08:00"), std::string::npos);
}

TEST(DmtreeEdit, LeavesUnlockedTracksAndFitsFourPoints)
{
    const ZrTempDir dir;
    const std::string out = dir.path("out.json");
    // Of both sound tracks: else material of theirs would be taken out.
    check({{"edit", soda, "-o", out, "ripple", "V1@10:00:07:00", "tail", "-12"}, 2, "", "...would take material..."});
    check({{"edit", soda, "-o", out, "--unlocked", "A1,A2", "ripple", "V1@10:00:07:00", "tail", "-12"}, 0});
    EXPECT_NE(dumped(out).find("\"slice macro\" 10:00:08:00"), std::string::npos);
    check({{"edit", soda, "-o", out, "--unlocked", "A9", "slip", "V1@10:00:07:00", "1"}, 2, "", "...no such track..."});
    const std::vector<std::string> fill{"fill", "V1@10:00:08:00", "10:00:09:00", "V1@10:00:07:00", "0", "50"};
    std::vector<std::string> words{"edit", soda, "-o", out, "--fit"};
    words.insert(words.end(), fill.begin(), fill.end());
    check({words, 0});
    check({{"check", "--all", out}, 0, "..."});
    EXPECT_NE(dumped(out).find("\"crate drop\" 10:00:08:00 - 10:00:09:00"), std::string::npos) << dumped(out);
}

TEST(DmtreeEdit, RefusesWithTheReasonAndWritesNothing)
{
    const ZrTempDir dir;
    const std::string out = dir.path("out.json");
    const CommandCase cases[] = {
        {{"edit", soda, "-o", out, "trim", "V1@10:00:07:00", "tail", "5"}, 2, "", "...is in the way..."},
        {{"edit", soda, "-o", out, "roll", "V1@10:00:07:00", "5"}, 2, "", "...no seam there..."},
        {{"edit", soda, "-o", out, "roll", "V9@10:00:07:00", "5"}, 2, "", "...no such track..."},
        {{"edit", soda, "-o", out, "slip", "V1@99:00:00:61", "5"}, 2, "", "...out of range..."},
        {{"edit", soda, "-o", out, "bend", "V1@10:00:07:00"}, 2, "", "...bend: no operation..."},
        {{"edit", soda, "-o", out, "slip", "V1@10:00:07:00"}, 2, "", "...slip: wants SEGMENT AMOUNT..."},
        {{"edit", soda, "flatten"}, 2, "", "...-o..."},
        {{"edit", soda, "-o", out}, 2, "", "...no operation..."},
        {{"edit", dir.path("none.json"), "-o", out, "flatten"}, 2, "", "...none.json..."},
    };
    for (const CommandCase& row : cases)
        check(row);
    EXPECT_FALSE(std::ifstream(out).good());
}

TEST(DmtreeEdit, ReadsScriptsAndTriesThem)
{
    const ZrTempDir dir;
    const std::string script = dir.path("changes.txt");
    const std::string out = dir.path("out.json");
    std::ofstream(script) << "# tighten\n\nripple V1@10:00:07:00 tail -12 # half a second\r\n"
                             "rename V1@10:00:07:00 \"crate, tighter\"\n";
    check({{"edit", soda, "--dry-run", "--no-sync", "--script", script},
           0,
           "ripple V1@10:00:07:00 tail -12: can be done\n...crate, tighter: can be done\n"});
    check({{"edit", soda, "-o", out, "--no-sync", "--script", script}, 0});
    EXPECT_NE(dumped(out).find("crate, tighter"), std::string::npos);
    std::ofstream(script) << "\nslip V1@10:00:07:00 1\nroll V1@10:00:07:00 2\n";
    check({{"edit", soda, "-o", out, "--script", script}, 2, "", "...changes.txt:3: roll...no seam there..."});
    std::ofstream(script) << "rename V1@10:00:07:00 \"open\nflatten\n";
    check({{"edit", soda, "-o", out, "--script", script}, 2, "", "...changes.txt:1: a quote..."});
}

TEST(DmtreeEdit, EditsBesideDissolvesGoOutAsCutLists)
{
    const ZrTempDir dir;
    const struct
    {
        std::vector<std::string> operation;
        const char* edl; ///< of the event behind the edit
    } cases[] = {
        {{"ripple", "V1@10:00:05:00", "head", "5"}, "10:00:06:07"},
        {{"roll", "V1@10:00:03:20", "5"}, "10:00:03:18"},
        {{"split", "V1@10:00:05:00"}, "10:00:05:00"},
        {{"remove", "V1@10:00:05:00"}, "10:00:00:00 - 10:00:04:00"},
    };
    for (const auto& each : cases)
        for (const char* const name : {"out.edl", "out.otio"})
        {
            std::vector<std::string> arguments{"edit", soda, "-o", dir.path(name), "--no-sync"};
            arguments.insert(arguments.end(), each.operation.begin(), each.operation.end());
            check({arguments, 0, "", "..."});
            const std::string back = dir.path("back.json");
            check({{"convert", dir.path(name), back, "--fcm", "25 fps"}, 0, "...", "..."});
            check({{"check", "--all", back}, 0, "..."});
            EXPECT_NE(dumped(back).find(each.edl), std::string::npos) << each.operation[0] << " as " << name << "\n"
                                                                      << dumped(back);
        }
}
