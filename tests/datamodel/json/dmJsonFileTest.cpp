/// Documents in files: what a save leaves behind when it works, when it fails and when it is killed.
#include "jsonSets.h"
#include "zrTempDir.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

/// A directory of the test's own, in which an ordinary user has no more rights than its files say.
class JsonFile : public testing::Test
{
protected:
    void SetUp() override
    {
        if (_superuser)
        {
            ASSERT_EQ(chown(_directory.path().c_str(), nobody, nobody), 0);
            ASSERT_EQ(setegid(nobody) + seteuid(nobody), 0);
        }
    }
    void TearDown() override
    {
        if (_superuser)
        {
            ASSERT_EQ(seteuid(0) + setegid(0), 0);
        }
    }

    fs::path file(const char* name = "edit.json") const { return _directory.path(name); }
    void write(const char* name, const std::string& text) const { _directory.write(name, text); }
    static std::string contents(const fs::path& path) { return ZrTempDir::read(path); }
    auto filesInDirectory() const
    {
        return std::distance(fs::directory_iterator(_directory.path()), fs::directory_iterator());
    }
    static struct stat statOf(const fs::path& path)
    {
        struct stat status;
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        return status;
    }

    /// A box with that name, and more text than fits the buffers if it is large.
    static CoSharedPtr<JsonBox> box(const wchar_t* name, bool large = false)
    {
        auto made = JsonBox::create();
        made->_name = name;
        if (large)
            for (int i = 0; i < 100'000; ++i)
                made->_numbers.push_back(i);
        return made;
    }
    static std::string textOf(const CoSharedPtr<JsonBox>& set)
    {
        std::string text;
        EXPECT_TRUE(DmTreeJsonBuilder::generateUtf8(set.get(), text).ok());
        return text;
    }
    static std::string save(const CoSharedPtr<JsonBox>& set, const fs::path& path)
    {
        return dmUtf8(DmTreeJsonBuilder::generate(set, path.c_str()).info());
    }
    static std::string open(const fs::path& path, DmPropertySetPtr* set = nullptr)
    {
        DmPropertySetPtr made;
        const DmStatus status = DmJsonImporter::importSetFromFile(path.c_str(), made);
        EXPECT_EQ(made == nullptr, status.failed());
        if (set)
            *set = made;
        return dmUtf8(status.info());
    }

    static constexpr unsigned nobody = 65534;
    const bool _superuser = geteuid() == 0;

private:
    const ZrTempDir _directory;
};

} // namespace

TEST_F(JsonFile, ASaveReplacesTheFileAndKeepsItsMode)
{
    EXPECT_EQ(save(box(L"large", true), file()), "");
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(statOf(file()).st_mode & 07777, 0666 & ~mask);
    ASSERT_EQ(chmod(file().c_str(), 0640), 0);
    const auto small = box(L"small");
    EXPECT_EQ(save(small, file()), "");
    EXPECT_EQ(contents(file()), textOf(small));
    EXPECT_EQ(statOf(file()).st_mode & 07777, 0640U);
    EXPECT_EQ(filesInDirectory(), 1);
}

TEST_F(JsonFile, ASaveByTheSuperuserLeavesTheFileItsOwner)
{
    if (!_superuser)
        GTEST_SKIP() << "no one else may give files away";
    write("edit.json", "old");
    ASSERT_EQ(seteuid(0) + setegid(0), 0);
    EXPECT_EQ(save(box(L"new"), file()), "");
    EXPECT_EQ(save(box(L"new"), file("another.json")), "");
    ASSERT_EQ(setegid(nobody) + seteuid(nobody), 0);
    EXPECT_EQ(contents(file()), textOf(box(L"new")));
    EXPECT_EQ(std::pair(statOf(file()).st_uid, statOf(file()).st_gid), std::pair(nobody, nobody));
    EXPECT_EQ(statOf(file("another.json")).st_uid, 0U);
}

TEST_F(JsonFile, LinksAreFollowed)
{
    fs::create_directory(file("there"));
    fs::create_symlink("there/edit.json", file("second"));
    fs::create_symlink(file("second"), file("first"));
    for (const wchar_t* const name : {L"new", L"old"}) // a link that leads nowhere yet, and one to a file
    {
        EXPECT_EQ(save(box(name), file("first")), "");
        EXPECT_EQ(contents(file("there/edit.json")), textOf(box(name)));
    }
    EXPECT_TRUE(fs::is_symlink(file("first")) && fs::is_symlink(file("second")));
    EXPECT_EQ(filesInDirectory(), 3);
}

TEST_F(JsonFile, AFailedSaveLeavesTheOldFile)
{
    write("edit.json", "old");
    EXPECT_EQ(save(box(L"\xD800", true), file()), "Json exception");
    EXPECT_EQ(dmUtf8(DmTreeJsonBuilder::generate(static_cast<DmPropertySet*>(nullptr), nullptr).info()),
              "Cannot generate JSON for a null DmTree");

    // A write that fails half-way.
    const rlimit limit{100'000, RLIM_INFINITY};
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    const std::string failure = save(box(L"large", true), file());
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(failure, "Could not write file '" + file().string() + "': File too large");

    EXPECT_EQ(contents(file()), "old");
    EXPECT_EQ(filesInDirectory(), 1);
    EXPECT_EQ(save(box(L"large", true), "/dev/full"), "Could not write file '/dev/full': No space left on device");
}

TEST_F(JsonFile, AKilledSaveLeavesTheOldFile)
{
    write("edit.json", "old");
    const auto large = box(L"large", true);
    const pid_t child = fork();
    if (child == 0)
    {
        const rlimit limit{100'000, 100'000}; // its signal kills in the middle of the write
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_DFL);
        const rlimit noCore{0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        static_cast<void>(DmTreeJsonBuilder::generate(large, file().c_str()));
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(contents(file()), "old");
}

TEST_F(JsonFile, WhatCannotBeOpenedIsSaid)
{
    fs::create_directory(file("directory"));
    write("locked", "old");
    ASSERT_EQ(chmod(file("locked").c_str(), 0), 0);
    fs::create_symlink(file("loop"), file("pool"));
    fs::create_symlink(file("pool"), file("loop"));
    const std::string longName(300, 'n');
    for (const fs::path& path : {file("directory"), file("missing/edit.json"), file("locked"), fs::path(), file("loop"),
                                 file(longName.c_str())})
    {
        EXPECT_EQ(save(box(L"box"), path), "Could not open file '" + path.string() + "'");
        EXPECT_EQ(open(path), "Could not open file '" + path.string() + "'");
    }
    EXPECT_TRUE(fs::is_symlink(file("loop")) && fs::is_symlink(file("pool")));
    // What is not UTF-8 cannot be shown.
    EXPECT_EQ(open("/nowhere/\xE9t\xE9/\xC3\xA9"), "Could not open file '/nowhere/\xEF\xBF\xBDt\xEF\xBF\xBD/\xC3\xA9'");
    EXPECT_EQ(open(file()), "Could not open file '" + file().string() + "'");
    write("edit.json", "");
    EXPECT_EQ(open(file()), "JSON parse error : The document is empty.");
    DmPropertySetPtr set;
    EXPECT_TRUE(DmJsonImporter::importSetFromFile(nullptr, set).failed());
}

TEST(JsonFileRead, AFailedReadIsNotTheEndOfTheDocument) // by one who may open it
{
    DmPropertySetPtr set;
    EXPECT_EQ(dmUtf8(DmJsonImporter::importSetFromFile("/proc/self/mem", set).info()),
              "Could not read file '/proc/self/mem': Input/output error");
}

TEST_F(JsonFile, WithoutRoomForATemporaryFileItIsWrittenInPlace)
{
    fs::create_directory(file("closed"));
    write("closed/edit.json", "a text that is longer than nothing");
    fs::permissions(file("closed"), fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(save(box(L"\xD800"), file("closed/edit.json")), "Json exception");
    EXPECT_EQ(contents(file("closed/edit.json")), "a text that is longer than nothing");
    EXPECT_EQ(save(box(L"new"), file("closed/edit.json")), "");
    EXPECT_EQ(contents(file("closed/edit.json")), textOf(box(L"new")));
    EXPECT_NE(save(box(L"new"), file("closed/other.json")), "");
    fs::permissions(file("closed"), fs::perms::owner_all); // for the end of the directory
}

TEST_F(JsonFile, PipesAndOpenFilesAreWrittenInPlace)
{
    ASSERT_EQ(mkfifo(file("pipe").c_str(), 0600), 0);
    const auto large = box(L"large", true);
    std::string read;
    std::thread reader([&] { read = contents(file("pipe")); });
    EXPECT_EQ(save(large, file("pipe")), "");
    reader.join();
    EXPECT_EQ(read, textOf(large));

    // What a shell makes of /dev/stdout when it sends the output to a file.
    write("out", "");
    const int out = ::open(file("out").c_str(), O_RDWR);
    ASSERT_GE(out, 0);
    EXPECT_EQ(save(large, "/dev/fd/" + std::to_string(out)), "");
    struct stat open;
    ASSERT_EQ(fstat(out, &open), 0);
    ::close(out);
    EXPECT_EQ(open.st_ino, statOf(file("out")).st_ino);
    EXPECT_EQ(contents(file("out")), textOf(large));
}

/// The parser decodes in the buffer: whatever stands across the seam of two pieces is read as elsewhere.
TEST_F(JsonFile, NothingIsLostBetweenTwoPieces)
{
    const std::string document =
        R"({"JsonBox":{"name":"a\tb\u00e9 longer than eight","kind":7, "numbers" : ["123456789"],)"
        "\n\t\t\t\t\t\t\t\t\t\t\t\t\"leaf\":{\"JsonLeaf\":{\"when\":-12345.678e-1}}}}";
    const std::string expected = written(*imported(document));
    constexpr std::size_t piece = 65536;
    for (std::size_t at = 0; at <= document.size(); ++at)
    {
        write("edit.json", std::string(piece - at, ' ') + document);
        DmPropertySetPtr set;
        ASSERT_EQ(open(file(), &set), "") << at;
        EXPECT_EQ(written(*set), expected) << at;
    }
    // A string over many pieces, with escapes throughout.
    std::string text;
    for (int i = 0; i < 60'000; ++i)
        text += "ab\\n\xC3\xA9";
    write("edit.json", "{\"JsonLeaf\":{\"text\":\"" + text + "\",\"when\":5.0}}");
    DmPropertySetPtr set;
    ASSERT_EQ(open(file(), &set), "");
    EXPECT_TRUE(written(*set).starts_with("{\"JsonLeaf\":{\"text\":\"" + text + "\",\"when\":5.0}"));
}

TEST_F(JsonFile, ATreeComesBackUncounted)
{
    const auto root = DmRoot::create();
    ASSERT_EQ(root->setName(DmString(L"Été")), DM_NO_ERROR);
    ASSERT_TRUE(DmTreeJsonBuilder::generate(root, file().c_str()).ok());
    DmRoot* back = nullptr;
    ASSERT_TRUE(DmJsonImporter::importRootFromFile(file().c_str(), back).ok());
    EXPECT_EQ(back->refCount(), 0);
    const CoSharedPtr<DmRoot> owner(back);
    EXPECT_EQ(owner->getName(), L"Été");
    CoSharedPtr<DmRoot> same;
    ASSERT_TRUE(DmJsonImporter::importRootFromStr(contents(file()).c_str(), same).ok());
    EXPECT_EQ(same->getName(), L"Été");

    const std::pair<const char*, const char*> faults[] = {
        {R"({"JsonBox":{}})", "The document holds a 'JsonBox', not a tree"},
        {"{}", "The document holds no property set"},
        {nullptr, "JSON parse error : The document is empty."}};
    for (const auto& [json, message] : faults)
        EXPECT_EQ(dmUtf8(DmJsonImporter::importRootFromStr(json, back).info()), message);
    EXPECT_EQ(back, owner.get());
}
