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
    EXPECT_EQ(read("out.edl"), list);
    // The rate that nobody named, and a list that is only put in order.
    convert({{"in.EDL", "tidy.edl"}, 0, "", "...in.EDL: notice: ..."});
    EXPECT_EQ(read("tidy.edl"), list);
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
        {{"wrong.json", "there.edl"}, "wrong.json:2: JSON parse error : ..."},
        {{"none.json", "there.edl"}, "none.json: the document holds no composition\n"},
        {{"absent.edl", "there.json"}, "dmtree: absent.edl: No such file or directory\n..."},
        {{"list.edl", "there.xml"}, "dmtree: there.xml: the extension names no format that there is; ..."},
        {{"list", "there.json"}, "dmtree: list: the extension names no format that there is; ..."},
        {{"--fcm", "25 fps", "list.edl", "no/where.edl"}, "dmtree: no/where.edl: No such file or directory\n..."},
        {{"--fcm", "26 fps", "list.edl", "there.json"}, "--fcm: '26 fps' is no frame-code mode. ..."},
        {{"list.edl"}, "OUT is required..."},
    };
    for (const auto& [arguments, err] : cases)
        convert({arguments, 2, "", err});
    EXPECT_EQ(read("there.json") + read("there.edl"), "oldold");
    convert({{"--fcm", "25 fps", "--lenient", "wrong.edl", "there.json"}, 0, "", "wrong.edl:7: warning: ..."});
    EXPECT_NE(read("there.json"), "old");
}

TEST_F(DmtreeConvert, ReplacesAListAsAWholeAndKeepsItsModeAndLink)
{
    write("list.edl", list);
    const std::string real = write("real.edl", "old");
    ASSERT_EQ(::chmod(real.c_str(), 0640), 0);
    std::filesystem::create_symlink("real.edl", _folder.path("link.edl"));
    convert({{"--fcm", "25 fps", "list.edl", "link.edl"}});
    EXPECT_TRUE(std::filesystem::is_symlink(_folder.path("link.edl")));
    EXPECT_EQ(read("real.edl"), list);
    struct stat info = {};
    ASSERT_EQ(::stat(real.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(_folder.path()), {}), 3);
}
