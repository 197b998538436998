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

TEST(ViewStill, SaysWhyThereIsNothingToSee)
{
    const ZrTempDir folder;
    struct Row
    {
        const char* text;
        const char* note;
    };
    const std::vector<Row> rows = {
        {R"({"DmRoot": {"children": []}})", "The document holds no composition."},
        {R"({"DmRoot": {"children": [{"DmCompositionNode": {"name": "Empty", "children": []}}]}})",
         "The composition &quot;Empty&quot; holds no segment."},
    };
    for (const Row& row : rows)
        EXPECT_TRUE(matches(still({"--lenient"}, folder.write("a.json", row.text)),
                            std::string("...<rect class=\"page\"...") + row.note + "</text>...</svg>\n"));
}

// What the range cuts keeps its shape: a dissolve that began before it goes on where it was.
TEST(ViewStill, CutsATransitionWithoutBendingIt)
{
    const std::string part = still({"--range", "10:00:03:20-10:00:06:00", "--tracks", "V1", "--width", "1000"});
    double left = 0.0;
    double end = 0.0;
    const std::size_t slope = part.find("class=\"slope\"");
    ASSERT_NE(slope, part.npos);
    ASSERT_EQ(std::sscanf(part.c_str() + slope, "class=\"slope\" d=\"M%lf %*fL%lf", &left, &end), 2);
    const double lane = 1000.0 - 24.0 - 132.0;
    EXPECT_NEAR(end - left, lane * 12.0 / 55.0, 0.02);
    EXPECT_LT(left, 144.0);
    EXPECT_TRUE(matches(part, "...<svg x=\"144\"..."));
}

TEST(ViewStill, DrawsEachKindOfTransition)
{
    const auto shot = [](const char* name, const char* recIn)
    {
        return R"({"DmSourceNode": {"recIn": )" + std::string(recIn) +
               R"(, "recLength": 20, "mediaType": 1, "segmentId": ")" + name +
               R"(", "srcInput": {"MediaInput": {"name": ")" + name + R"(", "mediaType": 1}}}})";
    };
    const auto seam = [](const char* recIn, const char* effect)
    {
        return R"(, {"DmTrxEffectNode": {"recIn": )" + std::string(recIn) +
               R"(, "recLength": 20, "mediaType": 1, "effect": {)" + effect + "}}}, ";
    };
    const ZrTempDir folder;
    const std::string document = folder.write(
        "a.json", R"({"DmRoot": {"children": [{"DmCompositionNode": {"fcm": "25 fps", "children": [{"DmTrackNode": )"
                  R"({"mediaType": 1, "children": [{"DmLayerNode": {"mediaType": 1, "children": [)" +
                      shot("A", "0") + seam("20", R"("DmWipeSettings": {})") + shot("B", "40") +
                      seam("60", R"("DmVDissolveSettings": {"muted": true})") + shot("C", "80") +
                      seam("100", R"("DmVDissolveSettings": {"hasToFromColor": true})") + shot("D", "120") +
                      "]}}]}}]}}]}}");
    const std::string drawn = still({"--lenient"}, document);
    const char* const shapes[] = {
        "...<g>\n<title>Wipe\n...</title>\n<path class=\"t0\" ...>\n<path class=\"t1\" ...>\n<path class=\"slope\" ...",
        "...<g class=\"muted\">\n<title>VDissolve\n...</title>\n<path class=\"t1\" ...>\n<path class=\"t2\" ...",
        "...<g>\n<title>VDissolve\n00:00:04:00...</title>\n<path class=\"t2\" ...>\n<path class=\"mine\" ...",
    };
    for (const char* const shape : shapes)
        EXPECT_TRUE(matches(drawn, shape)) << shape << drawn.substr(drawn.find("data-row"));
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
    const std::string list = folder.write("a.edl", "TITLE: A\nFCM: NON-DROP FRAME\n"
                                                   "001  TAPE1 V C 01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
                                                   "002  TAPE1 V C 01:00:99:00 01:00:02:00 10:00:02:00 10:00:04:00\n");
    EXPECT_TRUE(
        matches(still({"--findings"}, list), "...<title>line 4, TAPE1, V1, 10:00:02:00\n...[DM6...]</title>..."));
}

const std::string list = ZR_EXAMPLES "/../lists/reel1.edl";
const std::string newList = ZR_EXAMPLES "/../lists/reel1-v2.edl";

std::string stillOfBoth(const std::string& before, const std::string& after, int exitCode = 1,
                        const char* width = "2000")
{
    const auto result =
        zrTest::runDmtree({"diff", "--fcm", "25 fps", "--svg", "--width", width, "-o", "-", before, after});
    EXPECT_EQ(result.exitCode, exitCode) << result.err;
    return result.out;
}

/// A list of shots of two seconds each, "A B C", laid one behind the other.
std::string listOf(const std::string& shots)
{
    std::string text = "TITLE: Drawn\nFCM: NON-DROP FRAME\n";
    int event = 0;
    for (const char shot : shots)
    {
        char line[200];
        std::snprintf(line, sizeof line,
                      "%03d  TAPE%c V C 01:00:00:00 01:00:02:00 10:%02d:%02d:00 10:%02d:%02d:00\n"
                      "* FROM CLIP NAME: SHOT %c\n",
                      event + 1, shot, event * 2 / 60, event * 2 % 60, (event * 2 + 2) / 60, (event * 2 + 2) % 60,
                      shot);
        text += line;
        ++event;
    }
    return text;
}

/// The left edge of a shot in a row of a still.
double leftOf(const std::string& svg, const std::string& row, const std::string& shot)
{
    const std::size_t from = svg.find("<g data-row=\"" + row + '"');
    const std::size_t title = svg.find("<title>" + shot + '\n', from);
    const std::size_t at = svg.find(" x=\"", title);
    return title == svg.npos || at == svg.npos ? -1.0 : std::atof(svg.c_str() + at + 4);
}

/// How many of the seconds at which shots of two seconds begin the ruler names, each where its shot begins.
int labelsOf(const std::string& svg, const std::string& shots)
{
    int count = 0;
    for (std::size_t i = 0; i < shots.size(); ++i)
    {
        char label[64];
        std::snprintf(label, sizeof label, ">10:%02zu:%02zu:00</text>", i * 2 / 60, i * 2 % 60);
        const std::size_t at = svg.find(label);
        if (at == svg.npos)
            continue;
        ++count;
        const double left = leftOf(svg, "V1 new", std::string("SHOT ") + shots[i]);
        EXPECT_NEAR(std::atof(svg.c_str() + svg.rfind(" x=\"", at) + 4), left - 0.5, 0.05) << label;
    }
    return count;
}

TEST(ViewVersions, StandOneOverTheOtherWhereTheyAreTheSame)
{
    const ZrTempDir folder;
    struct Row
    {
        const char* before;
        const char* after;
        const char* same; ///< shots that stand at one place
        const char* hole; ///< in front of this shot, the row named next is empty
        const char* emptyRow;
    };
    const std::vector<Row> rows = {
        {"ABC", "ABC", "ABC", "", ""},
        {"ABC", "AXBC", "ABC", "SHOT B", "V1 old"}, // what was put in moves nothing apart
        {"AXBC", "ABC", "ABC", "SHOT B", "V1 new"},
        {"ABC", "XABC", "ABC", "", ""},
        {"ABCDE", "ACDBE", "ACDE", "", ""}, // one moved: the others keep their order
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.after);
        const std::string svg =
            stillOfBoth(folder.write("a.edl", listOf(row.before)), folder.write("b.edl", listOf(row.after)),
                        std::string(row.before) == row.after ? 0 : 1);
        for (const char shot : std::string(row.same))
        {
            const double old = leftOf(svg, "V1 old", std::string("SHOT ") + shot);
            EXPECT_GT(old, 0.0);
            EXPECT_NEAR(old, leftOf(svg, "V1 new", std::string("SHOT ") + shot), 0.02) << shot;
        }
        if (row.before == std::string(row.same)) // else what is no more leaves a hole in front of what follows
        {
            EXPECT_GT(labelsOf(svg, row.after), 1);
        }
        if (*row.hole)
        {
            EXPECT_NEAR(leftOf(svg, row.emptyRow, row.hole) - leftOf(svg, row.emptyRow, "SHOT A"),
                        2.0 * (leftOf(svg, std::string(row.emptyRow) == "V1 old" ? "V1 new" : "V1 old", "SHOT X") -
                               leftOf(svg, row.emptyRow, "SHOT A")),
                        0.05);
        }
    }
}

TEST(ViewVersions, HaveARulerHoweverShortTheShotsAre)
{
    const ZrTempDir folder;
    std::string shots;
    for (int i = 0; i < 1500; ++i)
        shots += static_cast<char>('A' + i % 26);
    const std::string path = folder.write("a.edl", listOf(shots));
    const std::string svg = stillOfBoth(path, path, 0, "640");
    EXPECT_TRUE(matches(svg, "...>10:10:00:00</text>...>10:40:00:00</text>...")) << svg.substr(0, 3000);
}

TEST(ViewVersions, ShowEachChangeInItsColourAndFoldTheRest)
{
    const std::string svg = stillOfBoth(list, newList);
    const auto told = zrTest::runDmtree({"diff", "--fcm", "25 fps", "--json", list, newList});
    const std::size_t changes = countOf(told.out, "\"kind\"") - countOf(told.out, "\"kind\": \"shifted\"") -
                                countOf(told.out, "\"kind\":\"shifted\"");
    EXPECT_EQ(countOf(svg, "<g class=\"sign\">"), changes) << told.out;
    EXPECT_GT(changes, 0U);

    // A long cut in which one shot went: all but what is beside it is folded, and says how long it is.
    const ZrTempDir folder;
    std::string shots;
    for (int i = 0; i < 60; ++i)
        shots += static_cast<char>(i < 26 ? 'A' + i : i < 52 ? 'a' + i - 26 : '0' + i - 52);
    std::string fewer = shots;
    fewer.erase(30, 1);
    const std::string folded = stillOfBoth(folder.write("a.edl", listOf(shots)), folder.write("b.edl", listOf(fewer)));
    EXPECT_EQ(countOf(folded, "<g class=\"fold\">"), 2U);
    EXPECT_TRUE(matches(folded, "...<title>00:00:57:00 unchanged</title>...")) << folded.substr(0, 3000);
    EXPECT_EQ(countOf(folded, "<g class=\"sign\">"), 1U);
    EXPECT_TRUE(matches(folded, "...>removed</text>..."));
}

// One side may be nothing, and documents may have several compositions.
TEST(ViewVersions, ShowWhatOnlyOneSideHas)
{
    EXPECT_TRUE(matches(stillOfBoth("/dev/null", list), "...V1...composition added..."));
    EXPECT_TRUE(matches(stillOfBoth(list, "/dev/null"), "...V1...composition removed..."));
}

// Without Node the page is missing, and nothing else is.
TEST(View, SaysThatItHasNoPageWhereItHasNone)
{
    const bool hasPage = ZR_PAGE_BUILT;
    const char* const why = hasPage ? "" : "...built without Node...--svg needs none\n";
    check({{"view", "-o", "/dev/null", commercial}, hasPage ? 0 : 2, "", why});
    check({{"diff", "-o", "/dev/null", commercial, commercial}, hasPage ? 0 : 2, "", why});
}

} // namespace
