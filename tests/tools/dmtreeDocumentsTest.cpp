// Commands that are one line, and what they do beside what tests/tools/*.md show of them.
#include "commandCases.h"
#include "zrTempDir.h"

using zrTest::runDmtree;

/// Commands that need no files but the examples, among which they run.
TEST(DmtreeCommands, AnswerAsIsWrittenDown)
{
    for (const ZrRow& row : zrRowsOf("commands.txt"))
        check({zrWordsOf(row[0]), static_cast<int>(row.number(1)), row[2], row[3]}, {.directory = ZR_EXAMPLES});
}

TEST(DmtreeDocuments, ALargeFileShowsABarOnATerminalAndNowhereElse)
{
    std::string gaps = R"({"DmGapNode":{"classId":5,"mediaType":1,"recLength":10}})";
    for (int i = 1; i < 40000; ++i)
        gaps += R"(,{"DmCutNode":{"classId":6,"mediaType":1}},{"DmGapNode":{"classId":5,"mediaType":1,"recIn":)" +
                std::to_string(10 * i) + R"(,"recLength":10,"segmentId":""}})";
    const std::string document =
        R"({"DmRoot":{"children":[{"DmCompositionNode":{"fcm":"25 fps","children":[{"DmTrackNode":{"mediaType":1,)"
        R"("children":[{"DmLayerNode":{"mediaType":1,"children":[)" +
        gaps + "]}}]}}]}}]}}";
    const ZrTempDir directory;
    const std::string file = directory.write("long.json", document);
    ASSERT_GT(document.size(), 5000000u);

    check({{"check", "--ignore", "empty-track", "-", file}, 0, "-: valid\n" + file + ": valid\n"}, {.input = document});
    const std::string onTerminal = std::string(zrTest::dmtreeProgram()) + " check --ignore DM309 " + file;
    const auto seen = zrTest::runCommand({"script", "-qec", onTerminal, "/dev/null"});
    EXPECT_TRUE(matches(seen.out, "...[#########################] 100 %\r\x1b[K" + file + ": valid...")) << seen.out;
    // What is wrong at the beginning ends the reading.
    EXPECT_EQ(runDmtree({"check", "-"}, {.input = "}" + document}).exitCode, 2);
}

// Without Node the page is missing, and nothing else is.
TEST(DmtreeView, SaysThatItHasNoPageWhereItHasNone)
{
    const bool hasPage = ZR_PAGE_BUILT;
    const char* const why = hasPage ? "" : "...built without Node...--svg needs none\n";
    const std::string commercial = ZR_EXAMPLES "/commercial-25.json";
    check({{"view", "-o", "/dev/null", commercial}, hasPage ? 0 : 2, "", why});
    check({{"diff", "-o", "/dev/null", commercial, commercial}, hasPage ? 0 : 2, "", why});
}
