#include "zrCapturingRouter.h"
#include "zrTempDir.h"
#include "zrTest.h"

using DM::CoLocale;

namespace
{

class Locale : public testing::Test
{
protected:
    const zrTest::CapturingRouter _router;
    const ZrTempDir _directory;
    CoLocale::Entry _untitled{"tree.untitled", "untitled"};
    CoLocale::Entry _quit{"app.quit", "Quit # \"now\"\n"};
    CoLocale::Entry _later{"tree.untitled", "of the same tag"};
};

TEST_F(Locale, ATagHasTheTextOfItsFirstEntry)
{
    EXPECT_STREQ(CoLocale::lookupTag("tree.untitled"), "untitled");
    EXPECT_STREQ(CoLocale::lookupTag("no.such.tag"), "Unknown");
    {
        const CoLocale::Entry shortLived("no.such.tag", "here");
        EXPECT_STREQ(CoLocale::lookupTag("no.such.tag"), "here");
    }
    EXPECT_STREQ(CoLocale::lookupTag("no.such.tag"), "Unknown");
    EXPECT_DEATH(CoLocale::lookupTag(nullptr), "common/src/base/loggerBase/src/CoLocale:.*`tag != 0'");
}

TEST_F(Locale, AResourceFileReplacesTheTextsThatItNames)
{
    const std::string file = _directory.write(
        "texts", "[French]\ntree.untitled = sans titre\nno.such.tag = x\n[German]\napp.quit = Beenden\n");
    CoLocale::populateRegistry(file.c_str(), "French");
    EXPECT_STREQ(CoLocale::lookupTag("tree.untitled"), "sans titre");
    EXPECT_EQ(_later.text(), "sans titre");
    EXPECT_EQ(_quit.text(), "Quit # \"now\"\n");
    EXPECT_STREQ(CoLocale::lookupTag("no.such.tag"), "Unknown");
    ASSERT_EQ(_router.messages.size(), 1u);
    EXPECT_EQ(_router.messages[0].text(), "Loading localized 'French' strings from resource file '" + file + "'.");
    EXPECT_EQ(_router.messages[0].level(), DM::CoMsg::NoticeLevel);

    CoLocale::populateRegistry(file.c_str(), "Klingon");
    EXPECT_STREQ(CoLocale::lookupTag("tree.untitled"), "sans titre");
}

TEST_F(Locale, TheRegistryIsSortedByTag)
{
    for (const auto& [file, section] :
         {std::pair<const char*, const char*>{nullptr, "s"}, {"f", nullptr}, {"", "s"}, {"f", ""}})
    {
        const auto added = std::make_unique<CoLocale::Entry>("a.tag", "text");
        CoLocale::populateRegistry(file, section);
        EXPECT_TRUE(std::is_sorted(CoLocale::registry().begin(), CoLocale::registry().end(),
                                   [](const auto* a, const auto* b) { return *a < *b; }));
    }
    EXPECT_TRUE(_router.messages.empty()) << "nothing was loaded";
    EXPECT_STREQ(CoLocale::lookupTag("tree.untitled"), "untitled") << "entries of one tag keep their order";
}

TEST_F(Locale, AFileThatCannotBeReadIsThrownAndReplacesNothing)
{
    const std::string bad = _directory.write("bad", "[French]\ntree.untitled = sans titre\nnonsense\n");
    for (const std::string& path : {std::string("/no/such/file"), bad})
    {
        try
        {
            CoLocale::populateRegistry(path.c_str(), "French");
            ADD_FAILURE() << path;
        }
        catch (const DM::CoException& error)
        {
            EXPECT_EQ(std::string(error.what()).rfind(path, 0), 0u) << error.what();
        }
    }
    EXPECT_STREQ(CoLocale::lookupTag("tree.untitled"), "untitled");
}

TEST_F(Locale, ADumpReadsBack)
{
    const std::string file = _directory.path("dump");
    CoLocale::dumpRegistry(file.c_str());
    EXPECT_EQ(_router.messages.back().text(), "Locale registry successfully written to '" + file + "'");
    const std::string quit = _quit.text();
    _quit.setText("changed");
    CoLocale::populateRegistry(file.c_str(), CoLocale::dumpSection);
    EXPECT_EQ(_quit.text(), quit);

    for (const char* const bad : {"/no/such/directory/file", "/dev/full", static_cast<const char*>(nullptr)})
        EXPECT_THROW(CoLocale::dumpRegistry(bad), DM::CoException);
}

} // namespace
