// dmtree view: stills, and what is wrong with asking for them. The page itself is tested in a browser (view/page/test).
#include "commandCases.h"
#include "zrTempDir.h"

namespace
{

const std::string commercial = ZR_EXAMPLES "/commercial-25.json";

std::string still(const std::vector<std::string>& options, const std::string& document = commercial)
{
    std::vector<std::string> arguments{"view", "--svg", "-o", "-", document};
    arguments.insert(arguments.begin() + 2, options.begin(), options.end());
    const auto result = zrTest::runDmtree(arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result.out;
}

std::size_t countOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST(ViewStill, ShowsWhatIsAskedFor)
{
    const std::string all = still({});
    EXPECT_EQ(countOf(all, "<g data-row="), 3U);
    EXPECT_EQ(countOf(all, "data-segment="), 13U);
    EXPECT_TRUE(matches(all, "...orchard dawn\n10:00:00:00 - 10:00:03:13\nA001C002 \xC2\xB7 10:00:09:00\nfx..."));
    EXPECT_TRUE(matches(all, "...VDissolve\n10:00:03:13 - 10:00:04:00..."));

    const std::string sound = still({"--tracks", "A1,A2", "--width", "640"});
    EXPECT_EQ(countOf(sound, "<g data-row=\"A"), 2U);
    EXPECT_EQ(countOf(sound, "<g data-row="), 2U);
    EXPECT_TRUE(matches(sound, "...width=\"640\"..."));

    // From a label, or from a frame: the same shots.
    const std::string part = still({"--range", "10:00:04:00-10:00:06:00", "--tracks", "V1"});
    EXPECT_EQ(countOf(part, "data-segment="), 1U);
    EXPECT_EQ(part, still({"--range", "100-150", "--tracks", "V1"}));
}

TEST(ViewStill, ShowsFindingsAtTheirPlace)
{
    const std::string mistakes = ZR_EXAMPLES "/commercial-with-mistakes.json";
    EXPECT_EQ(countOf(still({}, mistakes), "<g class=\"sign\">"), 0U);
    const std::string found = still({"--findings"}, mistakes);
    const auto check = zrTest::runDmtree({"check", "--no-config", mistakes});
    EXPECT_EQ(countOf(found, "<g class=\"sign\">"), countOf(check.out, " [DM"));
    EXPECT_TRUE(matches(found, "...<title>crate drop, V1, ...[DM...]</title>...")) << check.out;
    // Of a row that is not shown, nothing.
    EXPECT_LT(countOf(still({"--findings", "--tracks", "A1"}, mistakes), "<g class=\"sign\">"),
              countOf(found, "<g class=\"sign\">"));
}

// Of a list with mistakes too: what could not be read stands on the picture of what could.
TEST(ViewStill, ShowsWhatReadingAListHadToSay)
{
    const ZrTempDir folder;
    const std::string list =
        folder.write("a.edl", "TITLE: A\nFCM: NON-DROP FRAME\n"
                              "001  TAPE1 V C 01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
                              "002  TAPE1 V C 01:00:99:00 01:00:02:00 10:00:02:00 10:00:04:00\n");
    EXPECT_TRUE(matches(still({"--findings"}, list), "...<title>line 4\n...[DM6...]</title>..."));
}

TEST(View, SaysWhatIsWrong)
{
    const std::vector<CommandCase> cases = {
        {{"view", commercial}, 2, "", "...-o FILE..."},
        {{"view", "--svg", "-o", "-", "nowhere.json"}, 2, "", "dmtree: nowhere.json: ...\n"},
        {{"view", "--svg", "--range", "10", "-o", "-", commercial}, 2, "", "...'10' is no IN-OUT\n"},
        {{"view", "--svg", "--range", "10:00:00:30-10:00:02:00", "-o", "-", commercial},
         2,
         "",
         "...is no label in 25 fps\n"},
        {{"view", "--svg", "--range", "50-50", "-o", "-", commercial}, 2, "", "...ends before it begins\n"},
        {{"view", "--svg", "--tracks", "V7", "-o", "-", commercial}, 2, "", "...there is no 'V7'\n"},
        {{"view", "--svg", "--composition", "none", "-o", "-", commercial}, 2, "", "...there is none called 'none'\n"},
        {{"view", "--width", "900", "-o", "-", commercial}, 2, "", "...--svg..."},
        {{"view", "--svg", "--width", "nan", "-o", "-", commercial}, 2, "", "...--width..."},
        {{"view", "--watch", "-"}, 2, "", "...standard input does not change\n"},
        {{"view", "--svg", "-o", "/nowhere/a.svg", commercial}, 2, "", "...No such file or directory\n"},
    };
    for (const CommandCase& row : cases)
        check(row);
}

} // namespace
