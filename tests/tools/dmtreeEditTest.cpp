// dmtree edit, on the example documents.
#include "commandCases.h"
#include "zrTempDir.h"

#include <cctype>

namespace
{

const std::string soda = ZR_EXAMPLES "/commercial-25.json";

std::string dumped(const std::string& path)
{
    return zrTest::runDmtree({"dump", path}).out;
}

std::string textOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

CoSharedPtr<DmCompositionNode> made(const wchar_t* name, const std::vector<CoSharedPtr<DmLayerNode>>& layers,
                                    double length)
{
    const auto composition = DmCompositionNode::create(name, L"25 fps", nullptr);
    int numbers[3] = {};
    for (const CoSharedPtr<DmLayerNode>& layer : layers)
    {
        const auto track = DmTrackNode::create(++numbers[layer->getMediaType()], layer->getMediaType());
        track->addChild(layer);
        composition->addChild(track);
    }
    EXPECT_EQ(composition->setCompLength(length), DM_NO_ERROR);
    return composition;
}

CoSharedPtr<DmLayerNode> filled(const std::vector<CoSharedPtr<DmTreeNode>>& nodes,
                                eDmTreeMediaType type = DM_MEDIA_VIDEO)
{
    DmLayerBuilder builder(0, type);
    for (const auto& node : nodes)
        EXPECT_EQ(builder.append(node), DM_NO_ERROR);
    return builder.finish();
}

void replaceAll(std::string& text, const std::string& from, const std::string& to)
{
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
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
    check({{"edit", soda, "-o", out, "cut", "V1@10:00:03:20"}, 0});
    EXPECT_NE(dumped(out).find("DmCutNode \"untitled\" 10:00:03:19 - 10:00:03:19"), std::string::npos);
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

TEST(DmtreeEdit, ReadsListsInTheModeThatIsNamed)
{
    const ZrTempDir dir;
    const std::string in = dir.path("in.edl");
    std::ofstream(in) << "TITLE: Promo\nFCM: NON-DROP FRAME\n"
                         "001  A001 V     C        01:00:00:00 01:00:04:00 10:00:00:00 10:00:04:00\n";
    const std::string out = dir.path("out.json");
    check({{"edit", "--fcm", "25", in, "-o", out, "append", in, "conform", "50", "clock"}, 0});
    EXPECT_NE(dumped(out).find("\"50 fps\" from 10:00:00:00 length 00:00:08:00"), std::string::npos) << dumped(out);
    // Labels mean what they meant when nothing is left.
    check({{"edit", "--fcm", "25", in, "-o", out, "extract", "V1@10:00:00:00", "10:00:04:00", "insert",
            "V1@10:00:00:00", "black:10"},
           0});
    EXPECT_NE(dumped(out).find("\"black\" 10:00:00:00 - 10:00:00:10"), std::string::npos) << dumped(out);
}

TEST(DmtreeEdit, AsksOfEachOperationByItself)
{
    check({{"edit", soda, "--can", "--no-sync", "roll", "V1@10:00:03:20", "5", "roll", "V1@10:00:03:20", "500", "slip",
            "V9@10:00:07:00", "1"},
           1,
           "roll V1@10:00:03:20 5: can be done\nroll V1@10:00:03:20 500: ...frames are wanted, there are ...\n"
           "slip V9@10:00:07:00 1: V9: no such track\n"});
}

TEST(DmtreeEdit, EditsInsideContainers)
{
    const ZrTempDir dir;
    const std::string in = dir.path("in.json");
    const auto root = DmRoot::create();
    const auto black = [](double length)
    {
        return DmSourceNode::create(DmSourceNode::GeneratedInput::create(L"INPUT_BLACK", length, DM_MEDIA_VIDEO), 0.0,
                                    length, 0.0, false, false);
    };
    const auto inner = made(L"inner", {filled({black(25), black(25)})}, 50);
    root->addChild(made(L"cut",
                        {filled({DmContainerNode::create(inner, DM_MEDIA_VIDEO, 0, 50),
                                 DmContainerNode::create(inner, DM_MEDIA_VIDEO, 0, 50)})},
                        100));
    ASSERT_TRUE(DmTreeJsonBuilder::generate(root.get(), in.c_str()).ok());

    check(
        {{"edit", in, "-o", dir.path("out.json"), "inside", "V1@00:00:02:00", "rename", "V1@00:00:01:00", "night"}, 0});
    const std::string text = textOf(dir.path("out.json"));
    EXPECT_EQ(text.find("\"night\""), text.rfind("\"night\"")) << "the other container has a composition of its own";
    EXPECT_NE(text.find("\"night\""), std::string::npos);
    // A copy plays the same composition, unless it is asked for one of its own.
    for (const bool own : {false, true})
    {
        std::vector<std::string> words = {"edit", in, "-o", dir.path("out.json")};
        if (own)
            words.emplace_back("--own");
        for (const char* const word : {"overwrite", "V1@00:00:00:00", "V1@00:00:02:00", "inside", "V1@00:00:02:00",
                                       "rename", "V1@00:00:01:00", "night"})
            words.emplace_back(word);
        check({words, 0});
        const std::string both = textOf(dir.path("out.json"));
        EXPECT_EQ(both.find("\"night\"") == both.rfind("\"night\""), own);
    }
    check({{"edit", in, "-o", "-", "inside", "V1@00:00:02:00", "roll", "V1@00:00:01:00", "99"},
           2,
           "",
           "...inside V1@00:00:02:00 roll V1@00:00:01:00 99: ...there are 24..."});
    check({{"edit", in, "-o", "-", "inside", "V1@00:00:02:00"}, 2, "", "...inside: wants SEGMENT OPERATION..."});
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

TEST(DmtreeEdit, RedactingLeavesNoOldWordInAnyFormat)
{
    const ZrTempDir dir;
    // A word that no format has of itself, wherever a document or a list takes one.
    std::ofstream(dir.path("cut.edl"))
        << "TITLE: SECRET TITLE\nFCM: NON-DROP FRAME\n* FRAME RATE: 25 fps\n* A SECRET NOTE IN FRONT\n"
           "001  SECRET1 AA/V  C        01:00:00:00 01:00:04:00 10:00:00:00 10:00:04:00\n"
           "* FROM CLIP NAME: Secret wide\n* SOURCE FILE: secret.mov\n* LOC: 10:00:01:00 RED     SECRET FOCUS\n"
           "002  SECRET1 V     C        01:00:04:00 01:00:04:00 10:00:04:00 10:00:04:00\n"
           "002  SECRET2 V     D    025 02:10:00:00 02:10:03:00 10:00:04:00 10:00:07:00\n"
           "EFFECTS NAME IS CROSS DISSOLVE\n* FROM CLIP NAME: Secret wide\n* TO CLIP NAME: Secret gulls\n"
           "003  SECRET3 V     C        03:00:00:00 03:00:04:00 10:00:07:00 10:00:09:00\n"
           "M2   SECRET3       050.0                03:00:00:00\n* a secret, until the shot is there\n";
    std::string otio = textOf(ZR_EXAMPLES "/../lists/promo.otio");
    replaceAll(otio, "\"metadata\": {}", "\"metadata\": {\"secret key\": {\"a\": \"secret\"}}");
    replaceAll(otio, "\"metadata\": {\n", "\"metadata\": {\"secret key\": \"secret\",\n");
    for (const char* const key : {"name", "reel", "target_url", "comment"})
        replaceAll(otio, '"' + std::string(key) + "\": \"", '"' + std::string(key) + "\": \"secret ");
    std::ofstream(dir.path("cut.otio")) << otio;
    std::string document = textOf(soda);
    for (const char* const key : {"name", "comment", "reelName", "path", "cueMarkName", "cueMarkComment", "segmentId",
                                  "originalID", "shotName", "user", "hostName", "application"})
    {
        const std::string begin = '"' + std::string(key) + "\": \"";
        for (std::size_t at = document.find(begin); at != std::string::npos; at = document.find(begin, at + 1))
        {
            // Channels are called as their effect's class says.
            const std::size_t opens = document.rfind('{', at);
            if (document.substr(opens - 12, 12).find("Channel") == std::string::npos)
                document.insert(at + begin.size(), "secret ");
        }
    }
    std::ofstream(dir.path("cut.json")) << document;
    check({{"convert", dir.path("cut.edl"), dir.path("cut.xml")}, 0, "...", "..."});

    for (const char* const from : {"cut.edl", "cut.otio", "cut.json", "cut.xml"})
        for (const char* const to : {"out.edl", "out.otio", "out.json", "out.xml", "out.ale"})
        {
            SCOPED_TRACE(std::string(from) + " to " + to);
            std::string words = textOf(dir.path(from));
            ASSERT_NE(words.find("ecret"), std::string::npos);
            check({{"edit", dir.path(from), "-o", dir.path(to), "redact"}, 0, "", "..."});
            words = textOf(dir.path(to));
            ASSERT_FALSE(words.empty());
            std::ranges::transform(words, words.begin(), [](unsigned char c) { return char(std::tolower(c)); });
            const std::size_t at = words.find("secret");
            EXPECT_EQ(at, std::string::npos) << words.substr(at < 60 ? 0 : at - 60, 140);
        }
}

namespace
{

/// From 01:00:00:00 on: shots at 0, 4 and 8 seconds, a container at 2; a title above, and sound with a gap from 2 to 6.
CoSharedPtr<DmRoot> cutOfTheHelp()
{
    const auto shot = [](double length, eDmTreeMediaType type = DM_MEDIA_VIDEO) -> CoSharedPtr<DmTreeNode>
    {
        const auto info = DmSourceInfo::create();
        EXPECT_EQ(info->setPath(L"/mnt/old/A001C003.mov"), DM_NO_ERROR);
        EXPECT_EQ(info->setReelName(L"TAPE01"), DM_NO_ERROR);
        const auto input = DmSourceNode::MediaInput::create(500, 0, info, L"25 fps", type, true);
        EXPECT_EQ(input->setName(L"A001C003"), DM_NO_ERROR);
        return DmSourceNode::create(input, 0, length, 100, false, false);
    };
    const auto gap = [](double length, eDmTreeMediaType type = DM_MEDIA_VIDEO) -> CoSharedPtr<DmTreeNode>
    { return DmGapNode::create(type, 0, length); };
    const auto inner = made(L"inner", {filled({shot(100), shot(100)})}, 200);
    const auto cut =
        made(L"cut",
             {filled({shot(50), DmContainerNode::create(inner, DM_MEDIA_VIDEO, 0, 50, 50), shot(100), shot(100)}),
              filled({gap(125), shot(25), gap(150)}),
              filled({shot(50, DM_MEDIA_AUDIO), gap(100, DM_MEDIA_AUDIO), shot(150, DM_MEDIA_AUDIO)}, DM_MEDIA_AUDIO)},
             300);
    EXPECT_EQ(cut->setStartTC(90000, L"25 fps"), DM_NO_ERROR);
    const auto root = DmRoot::create();
    root->addChild(cut);
    return root;
}

} // namespace

TEST(DmtreeEdit, EveryExampleOfTheHelpCanBeDone)
{
    const ZrTempDir dir;
    const std::string in = dir.path("in.json");
    ASSERT_TRUE(DmTreeJsonBuilder::generate(cutOfTheHelp().get(), in.c_str()).ok());
    // What some of them go on from.
    const std::pair<const char*, const char*> before[] = {{"join", "split V1@01:00:02:12"},
                                                          {"cut", "dissolve V1@01:00:04:00 12"},
                                                          {"drop-effect", "effect V1@01:00:02:00 DmResizeSettings"},
                                                          {"key", "effect V1@01:00:02:00 DmResizeSettings"}};
    std::istringstream help(zrTest::runDmtree({"edit", "--help"}).out);
    int tried = 0;
    bool isList = false;
    for (std::string line; std::getline(help, line);)
    {
        isList = isList || line.starts_with("Operations, each with an example");
        const std::size_t column = line.find_last_not_of(' ');
        if (!isList || !line.starts_with("  ") || column == std::string::npos)
            continue;
        if (line.starts_with("  dmtree")) // of whole commands, with files of their own
            break;
        // Behind the widest of what the operations want; an example of "inside" stands in a line of its own.
        std::string example = line.substr(line.find_first_not_of(' '));
        const std::string name = example.substr(0, example.find(' '));
        if (line.starts_with("  inside"))
            continue;
        if (!line.starts_with("    "))
        {
            const std::size_t at = example.rfind("  " + name);
            ASSERT_NE(at, std::string::npos) << line;
            example.erase(0, at + 2);
        }
        for (const char* const other : {"reel2.json", "titles.json"})
            replaceAll(example, other, in);
        std::string script;
        for (const auto& [operation, first] : before)
            if (name == operation)
                script = std::string(first) + "\n";
        std::ofstream(dir.path("script.txt")) << script << example << '\n';
        SCOPED_TRACE(example);
        check({{"edit", in, "-o", dir.path("out.json"), "--script", dir.path("script.txt")}, 0, "", "..."});
        check({{"check", "--all", dir.path("out.json")}, 0, "..."});
        ++tried;
    }
    EXPECT_GT(tried, 40);
}
