#include "zrRunCommand.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

using zrTest::runDmtree;

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
    DmtreeConvert()
        : _folder(std::filesystem::temp_directory_path() / ("dmtreeConvert" + std::to_string(::getpid())))
    {
        std::filesystem::create_directories(_folder);
    }
    ~DmtreeConvert() override { std::filesystem::remove_all(_folder); }

    zrTest::CommandResult convert(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), "convert");
        return runDmtree(std::move(arguments), {.directory = _folder.string()});
    }
    void write(const char* name, const std::string& text) const { std::ofstream(_folder / name) << text; }
    std::string read(const char* name) const
    {
        std::ostringstream text;
        text << std::ifstream(_folder / name).rdbuf();
        return text.str();
    }
    std::filesystem::path file(const char* name) const { return _folder / name; }

private:
    std::filesystem::path _folder;
};

} // namespace

TEST_F(DmtreeConvert, TurnsAListIntoADocumentAndBack)
{
    write("in.EDL", list);
    const auto there = convert({"--fcm", "25 fps", "in.EDL", "edit.json"});
    EXPECT_EQ(there.exitCode, 0);
    EXPECT_EQ(there.out + there.err, "");
    EXPECT_NE(read("edit.json").find("\"25 fps\""), std::string::npos);
    const auto back = convert({"edit.json", "out.edl"});
    EXPECT_EQ(back.exitCode, 0);
    EXPECT_EQ(back.out + back.err, "");
    EXPECT_EQ(read("out.edl"), list);

    // The rate that nobody named, and a list that is only put in order.
    const auto guessed = convert({"in.EDL", "tidy.edl"});
    EXPECT_EQ(guessed.exitCode, 0);
    EXPECT_NE(guessed.err.find("in.EDL: notice: "), std::string::npos) << guessed.err;
    EXPECT_EQ(read("tidy.edl"), list);
}

TEST_F(DmtreeConvert, NamesMistakesAndLeavesTheOutputAsItWas)
{
    const std::string wrong = list + "003  A        V     C        01:00:00:00 01:00:03:00 10:00:04:00 10:00:06:00\n";
    write("wrong.edl", wrong);
    write("wrong.json", "{\"DmRoot\": ");
    write("none.json", "{\"DmRoot\": {\"classId\": 10, \"name\": \"untitled\", \"comment\": \"\", \"children\": []}}");
    write("list.edl", list);
    write("there.json", "old");
    write("there.edl", "old");
    struct Case
    {
        std::vector<std::string> arguments;
        const char* err; ///< how it begins
    };
    const Case cases[] = {
        {{"--fcm", "25 fps", "wrong.edl", "there.json"}, "wrong.edl:7: the source has 75 frames, the record side 50"},
        {{"wrong.json", "there.edl"}, "wrong.json: "},
        {{"none.json", "there.edl"}, ""},
        {{"absent.edl", "there.json"}, "dmtree: absent.edl: No such file or directory\n"},
        {{"list.edl", "there.xml"}, "dmtree: there.xml: the extension names no format that there is; "},
        {{"list", "there.json"}, "dmtree: list: the extension names no format that there is; "},
        {{"--fcm", "25 fps", "list.edl", "no/where.edl"}, "dmtree: no/where.edl: No such file or directory\n"},
        {{"--fcm", "26 fps", "list.edl", "there.json"}, "--fcm: '26 fps' is no frame-code mode. "},
        {{"list.edl"}, "OUT is required"},
    };
    for (const Case& c : cases)
    {
        const auto result = convert(c.arguments);
        EXPECT_EQ(result.exitCode, 2) << c.err;
        EXPECT_TRUE(result.err.starts_with(c.err)) << result.err;
        EXPECT_FALSE(result.err.empty());
    }
    EXPECT_EQ(read("there.json"), "old");
    EXPECT_EQ(read("there.edl"), "old");

    const auto lenient = convert({"--fcm", "25 fps", "--lenient", "wrong.edl", "there.json"});
    EXPECT_EQ(lenient.exitCode, 0);
    EXPECT_TRUE(lenient.err.starts_with("wrong.edl:7: warning: ")) << lenient.err;
    EXPECT_NE(read("there.json"), "old");
}

TEST_F(DmtreeConvert, ReplacesAListAsAWholeAndKeepsItsModeAndLink)
{
    write("list.edl", list);
    write("real.edl", "old");
    ASSERT_EQ(::chmod(file("real.edl").c_str(), 0640), 0);
    std::filesystem::create_symlink("real.edl", file("link.edl"));
    EXPECT_EQ(convert({"--fcm", "25 fps", "list.edl", "link.edl"}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(file("link.edl")));
    EXPECT_EQ(read("real.edl"), list);
    struct stat info = {};
    ASSERT_EQ(::stat(file("real.edl").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640U);
    std::size_t files = 0;
    for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator(file(".")))
        ++files;
    EXPECT_EQ(files, 3U);
}
