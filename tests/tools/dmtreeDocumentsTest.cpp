#include "zrRunCommand.h"
#include "zrTempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

using zrTest::runDmtree;

namespace
{

const std::string commercial = ZR_EXAMPLES "/commercial-25.json";
const std::string mistakes = ZR_EXAMPLES "/commercial-with-mistakes.json";

bool has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

/// A document of one composition whose layer has these elements.
std::string layerOf(const std::string& elements, int origin)
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
           std::to_string(srcLength) + "}}}}";
}

const std::string twoGaps = gapAt(0, "a") + "," + gapAt(10, "b");
const std::string sameId = gapAt(0, "a") + R"(,{"DmCutNode":{"classId":6,"mediaType":1,"recIn":10}},)" + gapAt(10, "a");

} // namespace

TEST(DmtreeCheck, FindsWhatBreaksTheRulesAndSaysWhere)
{
    const struct
    {
        std::string document;
        std::vector<std::string> options;
        int exitCode;
        std::string out; ///< FILE stands for the path
    } cases[] = {
        {layerOf("", 0), {}, 0, "FILE: valid\n"},
        {layerOf(twoGaps, 0),
         {},
         1,
         "FILE: violation: children[0]/children[0]/children[0]/children[1] at 00:00:00:10: Missing transition.\n"
         "FILE: 1 violation\n"},
        {layerOf(sameId, 0), {}, 0, "FILE: valid\n"},
        {layerOf(sameId, 5),
         {},
         1,
         "FILE: violation: children[0]/children[0]/children[0]/children[2] at 00:00:00:10: Segment \"untitled\" has "
         "non-unique ID: a.\nFILE: 1 violation\n"},
        {layerOf(sameId, 0),
         {"--all"},
         1,
         "FILE: violation: children[0]/children[0]/children[0]/children[2] at 00:00:00:10: Segment \"untitled\" has "
         "non-unique ID: a.\nFILE: 1 violation\n"},
        {R"({"DmRoot":{"children":[{}]}})",
         {},
         1,
         "FILE: violation: children[0]: Nothing stands here.\nFILE: 1 violation\n"},
        {R"({"DmRoot":{"children":[{"DmReelNode":{"children":[{"DmTrackNode":{}}]}}]}})",
         {},
         1,
         "FILE: violation: children[0]/children[0]: It stands outside of a composition.\nFILE: 1 violation\n"},
        {layerOf(sourceOf(100, -5), 0),
         {},
         0,
         "FILE: warning: children[0]/children[0]/children[0]/children[0]: shot: RelIn: -5.000000 < 0\n"
         "FILE: valid\n"},
        {"", {}, 2, "FILE: unreadable: line 1, column 1: JSON parse error : The document is empty.\n"},
        {R"({"DmRoot":{"chidren":[]}})",
         {},
         2,
         "FILE: unreadable: line 1, column 22: Could not get property type 'chidren': Property not found\n"},
    };
    const ZrTempDir directory;
    for (const auto& row : cases)
    {
        const std::string file = directory.write("edit.json", row.document);
        std::vector<std::string> command = {"check", file};
        command.insert(command.end(), row.options.begin(), row.options.end());
        const auto result = runDmtree(command);
        std::string expected = row.out;
        for (std::size_t at = 0; (at = expected.find("FILE", at)) != std::string::npos;)
            expected.replace(at, 4, file);
        EXPECT_EQ(result.exitCode, row.exitCode) << row.document;
        EXPECT_EQ(result.out, expected) << row.document;
        EXPECT_EQ(result.err, "");
    }
}

TEST(DmtreeCheck, GoesThroughAllFilesAndEndsWithTheWorst)
{
    const auto result = runDmtree({"check", commercial, "/nowhere.json", ZR_EXAMPLES, mistakes, "-"},
                                  {.input = R"({"DmRoot":{"children":[]}})"});
    EXPECT_EQ(result.exitCode, 2);
    for (const std::string& line :
         {commercial + ": valid\n", std::string("/nowhere.json: unreadable: No such file or directory\n"),
          std::string(ZR_EXAMPLES ": unreadable: Is a directory\n"), mistakes + ": 2 violations\n",
          std::string("-: valid\n")})
        EXPECT_TRUE(has(result.out, line)) << result.out;

    constexpr int many = 3000;
    std::vector<std::string> command(many, "/nowhere.json");
    command.insert(command.begin(), {"check", "--json"});
    const auto unreadable = runDmtree(command);
    EXPECT_EQ(std::count(unreadable.out.begin(), unreadable.out.end(), '\n'), many);
}

TEST(DmtreeCheck, PrintsAnObjectALineForSchedulers)
{
    const ZrTempDir directory;
    const std::string file = directory.write("edit.json", layerOf(twoGaps, 0));
    const auto result = runDmtree({"check", "--json", file, commercial, "/nowhere.json"});
    EXPECT_EQ(result.out,
              R"({"file":")" + file +
                  R"(","result":"violations","violations":[{"path":"children[0]/children[0]/children[0]/children[1]",)"
                  R"("record":"00:00:00:10","message":"Missing transition."}],"warnings":[]})"
                  "\n"
                  R"({"file":")" +
                  commercial +
                  R"(","result":"valid","violations":[],"warnings":[]})"
                  "\n"
                  R"({"file":"/nowhere.json","result":"unreadable","error":"No such file or directory"})"
                  "\n");
}

TEST(DmtreeCheck, RepairsTheTimesOfSources)
{
    const ZrTempDir directory;
    const std::string file = directory.write("edit.json", layerOf(sourceOf(15, 0), 0));
    EXPECT_EQ(runDmtree({"check", file}).exitCode, 1); // the rule about the length of the material
    const std::string before = ZrTempDir::read(file);
    const std::string repaired = directory.path("repaired.json");
    const auto result = runDmtree({"check", "--repair", "-o", repaired, file});
    EXPECT_EQ(result.exitCode, 0) << result.out;
    EXPECT_TRUE(has(result.out, "warning: ") && has(result.out, "RecLength: 20.000000 > SrcLength: 15.000000"));
    EXPECT_EQ(ZrTempDir::read(file), before);
    EXPECT_TRUE(has(ZrTempDir::read(repaired), "\"recLength\": 15.0"));
    EXPECT_EQ(runDmtree({"check", repaired}).out, repaired + ": valid\n");
    // Onto itself.
    EXPECT_EQ(runDmtree({"check", "--repair", "-o", file, file}).exitCode, 0);
    EXPECT_EQ(ZrTempDir::read(file), ZrTempDir::read(repaired));
    // An origin is no thing to repair, although --all looks past it.
    EXPECT_EQ(runDmtree({"check", "--all", "--repair", "-o", repaired, file}).exitCode, 0);
    EXPECT_EQ(ZrTempDir::read(file), ZrTempDir::read(repaired));
}

TEST(DmtreeFmt, WritesTheCanonicalFormWhereverItIsAskedTo)
{
    const ZrTempDir directory;
    const std::string pretty = runDmtree({"fmt", commercial}).out;
    const std::string compact = runDmtree({"fmt", "--compact", commercial}).out;
    EXPECT_FALSE(has(compact, "\n"));
    EXPECT_LT(compact.size(), pretty.size());
    EXPECT_TRUE(runDmtree({"fmt", "-"}, {.input = compact}).out == pretty);
    const std::string file = directory.write("edit.json", compact);
    ASSERT_EQ(runDmtree({"fmt", file, "-o", file}).exitCode, 0);
    EXPECT_TRUE(ZrTempDir::read(file) == pretty);
    ASSERT_EQ(runDmtree({"fmt", "--compact", "-o", file, file}).exitCode, 0);
    EXPECT_TRUE(ZrTempDir::read(file) == compact);
}

TEST(DmtreeDump, ShowsTimesInTheModeOfTheEdit)
{
    const auto whole = runDmtree({"dump", ZR_EXAMPLES "/news-29.97df.json"});
    EXPECT_EQ(whole.exitCode, 0);
    EXPECT_TRUE(has(whole.out, "29.97 fps DF")) << whole.out.substr(0, 400);
    EXPECT_TRUE(has(whole.out, "00;00;07;00")) << whole.out.substr(0, 400);
    const auto top = runDmtree({"dump", "--depth", "1", ZR_EXAMPLES "/feature-23.976.json"});
    EXPECT_EQ(std::count(top.out.begin(), top.out.end(), '\n'), 2) << top.out;
}

TEST(DmtreeInfo, SaysWhatADocumentHolds)
{
    const auto text = runDmtree({"info", ZR_EXAMPLES "/feature-23.976.json"});
    EXPECT_EQ(text.exitCode, 0) << text.err;
    for (const char* const part : {"m.okafor", "Reel 3, locked cut", "23.976 fps", "03:00:00+00", "4096x1716",
                                   "  VFX0340", "/scans/B115/042B-1.0172800.dpx", "DmPPFxTWSettings"})
        EXPECT_TRUE(has(text.out, part)) << part << '\n' << text.out;
    const auto json = runDmtree({"info", "--json", "-"}, {.input = layerOf(sourceOf(50, 0), 0)});
    EXPECT_TRUE(has(json.out, R"({"file":"-","identification":{},"compositions":[{"name":"untitled","rate":"25 fps",)"
                              R"("start":"00:00:00:00","duration":"00:00:00:20","picture":"","videoTracks":1,)"
                              R"("audioTracks":0,"nested":false}],"media":[{"name":"","kind":"video","reel":"",)"
                              R"("path":"","uses":1}],"classes":{)"))
        << json.out;
}

TEST(DmtreeDocuments, WhatIsUnreadableOrUnwritableIsNamed)
{
    const ZrTempDir directory;
    const struct
    {
        std::vector<std::string> arguments;
        std::string message;
    } cases[] = {
        {{"fmt", "/nowhere.json"}, "/nowhere.json: No such file or directory"},
        {{"dump", ZR_EXAMPLES}, "documents: Is a directory"},
        {{"info", directory.write("half.json", "{\"DmRoot\":")}, "half.json: line 1, column 11: JSON parse error : "},
        {{"fmt", commercial, "-o", "/nowhere/out.json"}, "/nowhere/out.json: Could not open file"},
        {{"fmt", commercial, "-o", "/dev/full"}, "/dev/full: "},
        {{"check", "--repair", commercial}, "-o"},
        {{"check", "-o", "x", commercial}, "--repair"},
        {{"check", "--repair", "-o", "-", commercial}, "standard output"},
        {{"check", "--repair", "-o", "x", commercial, commercial}, "one FILE"},
        {{"check"}, "FILE is required"},
        {{"dump", "--depth", "-1", commercial}, "--depth"},
    };
    for (const auto& row : cases)
    {
        const auto result = runDmtree(row.arguments);
        EXPECT_EQ(result.exitCode, 2) << row.message;
        EXPECT_EQ(result.out, "") << row.message;
        EXPECT_TRUE(has(result.err, row.message)) << row.message << '\n' << result.err;
    }
}

TEST(DmtreeDocuments, ALargeFileShowsABarOnATerminalAndNowhereElse)
{
    std::string gaps = gapAt(0, "x");
    for (int i = 1; i < 40000; ++i)
        gaps += R"(,{"DmCutNode":{"classId":6,"mediaType":1}},)" + gapAt(10 * i, "");
    const std::string document = layerOf(gaps, 0);
    const ZrTempDir directory;
    const std::string file = directory.write("long.json", document);
    ASSERT_GT(document.size(), 5000000u);

    const auto piped = runDmtree({"check", "-", file}, {.input = document});
    EXPECT_EQ(piped.out, "-: valid\n" + file + ": valid\n");
    EXPECT_EQ(piped.err, "");
    const std::string onTerminal = std::string(zrTest::dmtreeProgram()) + " check " + file;
    const auto seen = zrTest::runCommand({"script", "-qec", onTerminal, "/dev/null"});
    EXPECT_TRUE(has(seen.out, "[#########################] 100 %\r\x1b[K" + file + ": valid")) << seen.out;
    // What is wrong at the beginning ends the reading.
    EXPECT_EQ(runDmtree({"check", "-"}, {.input = "}" + document}).exitCode, 2);
}
