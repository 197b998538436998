#include "commandCases.h"
#include "zrTempDir.h"

#include <sys/stat.h>

namespace
{

const std::string list = "TITLE: Reel 1\n"
                         "FCM: NON-DROP FRAME\n"
                         "001  A        AA/V  C        01:00:00:00 01:00:02:00 10:00:00:00 10:00:02:00\n"
                         "* FROM CLIP NAME: Été\n"
                         "002  A        V     C        01:00:02:00 01:00:02:00 10:00:02:00 10:00:02:00\n"
                         "002  B        V     D    024 02:00:00:00 02:00:02:00 10:00:02:00 10:00:04:00\n";

/// As it is written: with its rate.
const std::string rated = std::string(list).insert(list.find("001"), "* FRAME RATE: 25 fps\n");

/// A folder of its own for a test, in which the commands run.
class DmtreeConvert : public testing::Test
{
protected:
    void convert(CommandCase row) const
    {
        row.arguments.insert(row.arguments.begin(), "convert");
        check(row, {.directory = _folder.path()});
    }
    std::string write(const char* name, const std::string& text) const { return _folder.write(name, text); }
    std::string read(const char* name) const { return ZrTempDir::read(_folder.path(name)); }

    const ZrTempDir _folder;
};

} // namespace

TEST_F(DmtreeConvert, TurnsAListIntoADocumentAndBack)
{
    write("in.EDL", list);
    convert({{"--fcm", "25 fps", "in.EDL", "edit.json"}});
    EXPECT_TRUE(matches(read("edit.json"), "...\"25 fps\"..."));
    convert({{"edit.json", "out.edl"}});
    EXPECT_EQ(read("out.edl"), rated);
    // The rate that nobody named, and a list that is only put in order.
    convert({{"in.EDL", "tidy.edl"}, 0, "", "...in.EDL: note: ..."});
    convert({{"--fcm", "25 fps", "in.EDL", "tidy.edl"}});
    convert({{"tidy.edl", "-", "--to", "edl"}, 0, rated, ""});
}

TEST_F(DmtreeConvert, NamesMistakesAndLeavesTheOutputAsItWas)
{
    write("wrong.edl", list + "003  A        V     C        01:00:00:00 01:00:03:00 10:00:04:00 10:00:06:00\n");
    write("wrong.json", "{\"DmRoot\":\n");
    write("none.json", "{\"DmRoot\": {\"classId\": 10, \"name\": \"untitled\", \"comment\": \"\", \"children\": []}}");
    write("list.edl", list);
    write("there.json", "old");
    write("there.edl", "old");
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--fcm", "25 fps", "wrong.edl", "there.json"},
         "wrong.edl:7: the source has 75 frames, the record side 50..."},
        {{"wrong.json", "there.edl"}, "wrong.json:2:1: JSON parse error : ..."},
        {{"none.json", "there.edl"}, "none.json: the document holds no composition\n"},
        {{"absent.edl", "there.json"}, "absent.edl: No such file or directory\n"},
        {{"list.edl", "there.mov"}, "...list.edl: there.mov: the extension names no format that there is; ..."},
        {{"list", "there.json"}, "list: No such file or directory\n"},
        {{"--fcm", "25 fps", "list.edl", "no/where.edl"}, "list.edl: no/where.edl: No such file or directory\n"},
        {{"--fcm", "26 fps", "list.edl", "there.json"}, "--fcm: '26 fps' is no frame-code mode. ..."},
        {{"list.edl"}, "FILE: ..."},
    };
    for (const auto& [arguments, err] : cases)
        convert({arguments, 2, "", err});
    EXPECT_EQ(read("there.json") + read("there.edl"), "oldold");
    convert({{"--fcm", "25 fps", "--lenient", "wrong.edl", "there.json"}, 0, "", "wrong.edl:7: warning: ..."});
    EXPECT_NE(read("there.json"), "old");
    // For scripts.
    convert({{"--fcm", "25 fps", "--lenient", "--fail-on-warning", "--json", "wrong.edl", "there.json"},
             1,
             "{\"in\":\"wrong.edl\",\"out\":\"there.json\",\"result\":\"converted\",\"findings\":[{\"severity\":"
             "\"warning\",\"code\":\"DM602\",\"line\":7,\"path\":\"children[0]/children[0]/children[0]/children[4]\","
             "\"clip\":\"A\",\"track\":\"V1\",\"record\":\"10:00:04:00\",\"text\":\"...\"}]}\n",
             ""});
}

TEST_F(DmtreeConvert, TakesStandardInputAndOutputAndWritesManyIntoADirectory)
{
    write("a.edl", list);
    write("b", list); // told by its first bytes
    convert({{"--fcm", "25 fps", "a.edl", "b", "out/", "--to", "otio"}});
    EXPECT_TRUE(matches(read("out/a.otio"), "...\"Timeline.1\"..."));
    EXPECT_EQ(read("out/a.otio"), read("out/b.otio"));
    convert({{"out/a.otio", "-", "--to", "edl"}, 0, "TITLE: Reel 1\n...", ""});
    convert({{"a.edl", "b/a.otio", "out/", "--to", "edl"},
             2,
             "",
             "dmtree: out/a.edl: both a.edl and b/a.otio would be..."});
    convert({{"a.edl", "b", "c.json"}, 2, "", "dmtree: c.json: no directory, ..."});
    convert({{"a.edl", "b", "out"}, 2, "", "dmtree: out: a directory has no extension: ..."});
    convert({{"--fcm", "25 fps", "--split-tracks", "a.edl", "split.edl"}});
    EXPECT_TRUE(matches(read("split-A2.edl"), "...001  A        A2    C ..."));
    EXPECT_TRUE(matches(read("split-V1.edl"), "...001  A        V     C ...002  B        V     D ..."));
    convert(
        {{"--split-tracks", "a.edl", "-", "--to", "edl"}, 2, "", "dmtree: --split-tracks writes a file a track..."});
    convert({{"--reel-length", "0", "a.edl", "c.edl"}, 2, "", "--reel-length: ..."});
    convert({{"--track", "V2", "a.edl", "c.edl"}, 2, "", "...a.edl: there is no track V2\n"});
    convert({{"--track", "A1", "--fcm", "25 fps", "a.edl", "-", "--to", "edl"}, 0, "...001  A        A     C ...", ""});
}

TEST_F(DmtreeConvert, ReplacesAListAsAWholeAndKeepsItsModeAndLink)
{
    write("list.edl", list);
    const std::string real = write("real.edl", "old");
    ASSERT_EQ(::chmod(real.c_str(), 0640), 0);
    std::filesystem::create_symlink("real.edl", _folder.path("link.edl"));
    convert({{"--fcm", "25 fps", "list.edl", "link.edl"}});
    EXPECT_TRUE(std::filesystem::is_symlink(_folder.path("link.edl")));
    EXPECT_EQ(read("real.edl"), rated);
    struct stat info = {};
    ASSERT_EQ(::stat(real.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(_folder.path()), {}), 3);
}
