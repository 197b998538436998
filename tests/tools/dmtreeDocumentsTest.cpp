#include "commandCases.h"
#include "zrTempDir.h"

using zrTest::runDmtree;

namespace
{

const std::string commercial = ZR_EXAMPLES "/commercial-25.json";
const std::string mistakes = ZR_EXAMPLES "/commercial-with-mistakes.json";

/// A document of one composition whose layer has these elements.
std::string layerOf(const std::string& elements, int origin = 0)
{
    const std::string layer = R"({"DmLayerNode":{"classId":2,"mediaType":1,"children":[)" + elements + "]}}";
    const std::string track = R"({"DmTrackNode":{"classId":1,"mediaType":1,"children":[)" + layer + "]}}";
    return R"({"DmRoot":{"children":[{"DmCompositionNode":{"classId":0,"fcm":"25 fps","origin":)" +
           std::to_string(origin) + R"(,"children":[)" + track + "]}}]}}";
}

std::string gapAt(int recIn, const char* id)
{
    return R"({"DmGapNode":{"classId":5,"mediaType":1,"segmentId":")" + std::string(id) + R"(","recIn":)" +
           std::to_string(recIn) + R"(,"recLength":10}})";
}

std::string sourceOf(int srcLength, int relIn)
{
    return R"({"DmSourceNode":{"classId":3,"name":"shot","mediaType":1,"recIn":0,"recLength":20,"relIn":)" +
           std::to_string(relIn) + R"(,"srcInput":{"MediaInput":{"mediaType":1,"srcLength":)" +
           std::to_string(srcLength) + R"(,"srcInfo":{"DmSourceInfo":{"path":"/a.mov"}}}}}})";
}

const std::string twoGaps = gapAt(0, "a") + "," + gapAt(10, "b");
const std::string sameId = gapAt(0, "a") + R"(,{"DmCutNode":{"classId":6,"mediaType":1,"recIn":10}},)" + gapAt(10, "a");

} // namespace

TEST(DmtreeCheck, FindsWhatBreaksTheRulesAndSaysWhere)
{
    const std::string sameIdText =
        ": V1, 00:00:00:10: Its id \"a\" is that of the segment at 00:00:00:00, too [DM111]\n";
    const std::string emptyTrack = "-: note: children[0]: There is nothing on the track V1 [DM309]\n";
    const std::string sameIdFound = emptyTrack + "-: error" + sameIdText + "-: 1 violation\n";
    const struct
    {
        std::string document;
        CommandCase command;
    } cases[] = {
        {layerOf(""), {{}, 0, emptyTrack + "-: valid\n"}},
        {layerOf(twoGaps),
         {{},
          1,
          emptyTrack + "-: error: V1, 00:00:00:10: Between it and the segment in front a cut is missing [DM103]\n"
                       "-: 1 violation\n"}},
        {layerOf(sameId), {{}, 0, emptyTrack + "-: warning" + sameIdText + "-: valid\n"}},
        {layerOf(sameId), {{"--fail-on-warning"}, 1, "..."}},
        {layerOf(sameId, 5), {{"--exit-zero"}, 0, sameIdFound}},
        {layerOf(sameId, 5), {{"--ignore", "id-twice,DM309"}, 0, "-: valid\n"}},
        {layerOf(sameId, 5), {{"--select", "times,DM2"}, 0, "-: valid\n"}},
        {layerOf(sameId, 5), {{}, 1, sameIdFound}},
        {layerOf(sameId), {{"--all"}, 1, sameIdFound}},
        {R"({"DmRoot":{"children":[{}]}})",
         {{}, 1, "-: error: children[0]: Nothing stands here [DM101]\n-: 1 violation\n"}},
        {R"({"DmRoot":{"children":[{"DmReelNode":{"children":[{"DmTrackNode":{}}]}}]}})",
         {{}, 1, "-: error: children[0]/children[0]: It stands outside of a composition [DM101]\n-: 1 violation\n"}},
        {layerOf(sourceOf(100, -5)),
         {{}, 1, "-: error: shot, V1, 00:00:00:00: It begins 5 frames before its material [DM201]\n-: 1 violation\n"}},
        {"", {{}, 2, "-: unreadable: line 1, column 1: JSON parse error : The document is empty.\n"}},
        {R"({"DmRoot":{"chidren":[]}})",
         {{}, 2, "-: unreadable: line 1, column 22: Could not get property type 'chidren': Property not found\n"}},
    };
    for (auto [document, command] : cases)
    {
        command.arguments.insert(command.arguments.begin(), {"check", "-"});
        check(command, {.input = document});
    }
}

TEST(DmtreeCheck, GoesThroughAllFilesAndEndsWithTheWorst)
{
    check({{"check", commercial, "/nowhere.json", ZR_EXAMPLES, mistakes, "-"},
           2,
           commercial +
               ": valid\n/nowhere.json: unreadable: No such file or directory\n" ZR_EXAMPLES
               ": unreadable: Is a directory\n..." +
               mistakes + ": 2 violations\n-: valid\n"},
          {.input = R"({"DmRoot":{"children":[]}})"});
    constexpr int many = 3000;
    std::vector<std::string> command(many, "/nowhere.json");
    command.insert(command.begin(), {"check", "--json"});
    const auto unreadable = runDmtree(command);
    EXPECT_EQ(std::count(unreadable.out.begin(), unreadable.out.end(), '\n'), many);
}

TEST(DmtreeCheck, PrintsAnObjectALineForSchedulers)
{
    check(
        {{"check", "--json", "-", commercial, "/nowhere.json"},
         2,
         R"({"file":"-","result":"violations","violations":[{"path":"children[0]/children[0]/children[0]/children[1]",)"
         R"("record":"00:00:00:10","message":"Between it and the segment in front a cut is missing","code":"DM103",)"
         R"("track":"V1"}],"warnings":[],"notes":[{"path":"children[0]","message":)"
         R"("There is nothing on the track V1","code":"DM309"}]})"
         "\n{\"file\":\"" +
             commercial +
             R"(","result":"valid","violations":[],"warnings":[]})"
             "\n{\"file\":\"/nowhere.json\",\"result\":\"unreadable\",\"error\":\"No such file or directory\"}\n"},
        {.input = layerOf(twoGaps)});
}

TEST(DmtreeCheck, RepairsTheTimesOfSources)
{
    const ZrTempDir directory;
    const std::string before = layerOf(sourceOf(15, 0));
    const std::string file = directory.write("edit.json", before);
    EXPECT_EQ(runDmtree({"check", file}).exitCode, 1); // the rule about the length of the material
    const std::string repaired = directory.path("repaired.json");
    check({{"check", "--repair", "-o", repaired, file},
           0,
           file + ": mended: shot, V1, 00:00:00:00: It plays ...5 frames beyond the material's end... [DM201]\n" +
               file + ": valid\n"});
    EXPECT_EQ(ZrTempDir::read(file), before);
    EXPECT_TRUE(matches(ZrTempDir::read(repaired), "...\"recLength\": 15.0..."));
    check({{"check", repaired}, 0, repaired + ": valid\n"});
    // Onto itself. An origin is no thing to repair, although --all looks past it.
    for (const char* const option : {"--json", "--all"})
    {
        EXPECT_EQ(runDmtree({"check", option, "--repair", "-o", file, file}).exitCode, 0);
        EXPECT_EQ(ZrTempDir::read(file), ZrTempDir::read(repaired));
    }
}

TEST(DmtreeFmt, WritesTheCanonicalFormWhereverItIsAskedTo)
{
    const ZrTempDir directory;
    const std::string pretty = ZrTempDir::read(commercial);
    const std::string compact = runDmtree({"fmt", "--compact", commercial}).out;
    EXPECT_FALSE(matches(compact, "...\n..."));
    EXPECT_TRUE(runDmtree({"fmt", "-"}, {.input = compact}).out == pretty);
    const std::string file = directory.write("edit.json", compact);
    ASSERT_EQ(runDmtree({"fmt", file, "-o", file}).exitCode, 0);
    EXPECT_TRUE(ZrTempDir::read(file) == pretty);
    ASSERT_EQ(runDmtree({"fmt", "--compact", "-o", file, file}).exitCode, 0);
    EXPECT_TRUE(ZrTempDir::read(file) == compact);
}

TEST(DmtreeDump, ShowsTimesInTheModeOfTheEdit)
{
    check({{"dump", ZR_EXAMPLES "/news-29.97df.json"}, 0, "...29.97 fps DF...01:00:07;00..."});
    const auto top = runDmtree({"dump", "--depth", "1", ZR_EXAMPLES "/feature-23.976.json"});
    EXPECT_EQ(std::count(top.out.begin(), top.out.end(), '\n'), 2) << top.out;
}

TEST(DmtreeInfo, SaysWhatADocumentHolds)
{
    check({{"info", ZR_EXAMPLES "/feature-23.976.json"},
           0,
           "...m.okafor...Reel 3, locked cut...23.976 fps...03:00:00:00...4096x1716..."
           "/scans/B115/042B-1.0172800.dpx...DmPPFxTWSettings..."});
    check(
        {{"info", "--json", "-"},
         0,
         R"({"file":"-","identification":{},"compositions":[{"name":"untitled","rate":"25 fps",)"
         R"("start":"00:00:00:00","duration":"00:00:00:20","picture":"","videoTracks":1,"audioTracks":0,)"
         R"("nested":false}],"media":[{"name":"","kind":"video","reel":"","path":"/a.mov","uses":1}],"classes":{...)"},
        {.input = layerOf(sourceOf(50, 0))});
}

TEST(DmtreeDocuments, WhatIsUnreadableIsNamed)
{
    const ZrTempDir directory;
    check({{"info", directory.write("half.json", "{\"DmRoot\":")},
           2,
           "",
           "...half.json: line 1, column 11: JSON parse error : ..."});
    check({{"classes", "\xff"}, 2, "", "...\xff..."});
}

/// Commands that need no files but the examples, among which they run.
TEST(DmtreeCommands, AnswerAsIsWrittenDown)
{
    for (const ZrRow& row : zrRowsOf("commands.txt"))
        check({zrWordsOf(row[0]), static_cast<int>(row.number(1)), row[2], row[3]}, {.directory = ZR_EXAMPLES});
}

/// Values that their properties would not keep.
TEST(DmtreeDocuments, WhatWouldBeChangedIsRefusedUnlessThatIsAskedFor)
{
    const ZrTempDir directory;
    const std::string file =
        directory.write("edit.json", "{\"DmRoot\":\n{\"name\":null,\"comment\":5,\"name\":\"n\"}}");
    const std::string out = directory.path("out.json");
    const std::string copy = directory.path("copy.json");
    const std::string places = "...2 values would not be kept as they stand; --lenient..."
                               "\n  line 2, column 9: name: null is lost: the name stands again"
                               "\n  line 2, column 24: comment: 5 became \"5\"...";
    const CommandCase cases[] = {
        {{"fmt", file, "-o", out}, 2, "", places},
        {{"dump", file}, 2, "", places},
        {{"info", file}, 2, "", places},
        {{"check", "--repair", "-o", out, file}, 2, places},
        {{"convert", file, copy}, 2, "", "...:2:24: comment: 5 became \"5\"\n..."},
        {{"check", file},
         1,
         file + ":2:9: error: name: null is lost: the name stands again [DM607]\n" + file +
             ":2:24: error: comment: 5 became \"5\" [DM607]\n" + file + ": 2 violations\n"},
        {{"check", "--lenient", file}, 0, "...:2:9: warning: ...:2:24: warning: ...: valid\n"},
        {{"dump", "--lenient", file}, 0, "...", "...2:24: warning: comment: 5 became \"5\"\n"},
        {{"info", "--lenient", file}, 0, "...", "...2:24: warning: comment: 5 became \"5\"\n"},
        {{"convert", "--lenient", file, copy}, 0, "", "...:2:24: warning: comment: 5 became \"5\"\n..."},
        {{"fmt", "--lenient", file, "-o", file}, 0, "", "...2:24: warning: comment: 5 became \"5\"\n"},
        {{"check", file}, 0, file + ": valid\n"},
    };
    for (const CommandCase& row : cases)
        check(row);
}

TEST(DmtreeDocuments, ALargeFileShowsABarOnATerminalAndNowhereElse)
{
    std::string gaps = gapAt(0, "x");
    for (int i = 1; i < 40000; ++i)
        gaps += R"(,{"DmCutNode":{"classId":6,"mediaType":1}},)" + gapAt(10 * i, "");
    const std::string document = layerOf(gaps);
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
