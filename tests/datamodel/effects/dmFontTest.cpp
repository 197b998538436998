/// Where the font of a paragraph is found.
#include "zrCapturingRouter.h"
#include "zrTempDir.h"
#include "zrTest.h"

// The leak checker's switches; null in a build without it.
extern "C"
{
    [[gnu::weak]] void __lsan_disable();
    [[gnu::weak]] void __lsan_enable();
}

namespace
{

DmString wide(const std::string& utf8)
{
    DmString text;
    EXPECT_TRUE(dmFromUtf8(utf8, text));
    return text;
}

CoSharedPtr<DmTextParagraph> paragraphIn(const DmString& name, const DmString& directory = {},
                                         const DmString& type = L"TRUE_TYPE")
{
    auto paragraph = DmTextParagraph::create();
    EXPECT_EQ(paragraph->setFontName(name), DM_NO_ERROR);
    EXPECT_EQ(paragraph->setFontDir(directory), DM_NO_ERROR);
    EXPECT_EQ(paragraph->setAttributText(L"fontType", type), DM_NO_ERROR);
    return paragraph;
}

/// The first look-up loads the system's configuration, in which fontconfig keeps offsets for pointers: to the leak
/// checker they point at nothing. Leaks of later look-ups are seen.
class ConfigurationLoaded : public testing::Environment
{
public:
    void SetUp() override
    {
        if (__lsan_disable)
            __lsan_disable();
        EXPECT_FALSE(paragraphIn(L"DejaVu Sans")->buildFontName().empty());
        if (__lsan_enable)
            __lsan_enable();
    }
};
const testing::Environment* const loaded = testing::AddGlobalTestEnvironment(new ConfigurationLoaded);

} // namespace

TEST(Font, ExtensionFollowsTheFontType)
{
    const struct
    {
        const wchar_t *type, *extension;
    } rows[] = {{L"TYPE1", L".font"}, {L"CID", L".cid"}, {L"TRUE_TYPE", L".ttf"}, {L"OPEN_TYPE", L".otf"},
                {L"true_type", L""},  {L"", L""},        {L"CID ", L""}};
    const auto paragraph = DmTextParagraph::create();
    EXPECT_EQ(paragraph->getFontExtension(), L"") << "no attribute";
    EXPECT_FALSE(paragraph->getAttributByName(L"fontType"));
    for (const auto& row : rows)
    {
        EXPECT_EQ(paragraph->setAttributText(L"fontType", row.type), DM_NO_ERROR);
        EXPECT_EQ(paragraph->getFontExtension(), row.extension) << dmUtf8(row.type);
    }
}

TEST(Font, AFileInItsDirectoryComesFirst)
{
    const zrTest::CapturingRouter router;
    const ZrTempDir fonts;
    for (const char* const file : {"Été.otf", "DejaVu Sans.ttf", "bare"})
        fonts.write(file, "font");
    std::filesystem::create_directory(fonts.path("folder.ttf"));
    const struct
    {
        const char* name;
        const wchar_t* type;
        const char* file; ///< null when there is none
    } rows[] = {{"Été", L"OPEN_TYPE", "Été.otf"},
                {"DejaVu Sans", L"TRUE_TYPE", "DejaVu Sans.ttf"},
                {"bare", L"", "bare"},
                {"bare", L"CID", nullptr},
                {"folder", L"TRUE_TYPE", nullptr}};
    for (const auto& row : rows)
        for (const char* const slash : {"", "/"})
        {
            const auto paragraph = paragraphIn(wide(row.name), wide(fonts.path() + slash), row.type);
            const std::string expected = row.file ? fonts.path(row.file) : dmUtf8(DmTextParagraph::defaultFont);
            EXPECT_EQ(dmUtf8(paragraph->buildFontName()), expected);
        }
    EXPECT_EQ(router.messages.size(), 4U) << "two for each that is missing";
}

TEST(Font, OneThatIsNowhereIsReportedAndReplaced)
{
    const std::wstring zero(L"DejaVu Sans\0", 12);
    const wchar_t noCharacter[] = {L'a', static_cast<wchar_t>(0xD800), 0};
    // clang-format off
    const struct
    {
        DmString name;
        const char* shown;
    } rows[] = {
        {L"No Such Typeface", "No Such Typeface"}, {L"Größe", "Größe"}, {L"", ""}, {L"*", "*"},
        {L"DejaVu Sans:bold", "DejaVu Sans:bold"}, {DmString(zero), "DejaVu Sans"}, {noCharacter, nullptr},
        {DmString(std::wstring(100000, L'x')), nullptr}
    };
    // clang-format on
    for (const auto& row : rows)
    {
        const zrTest::CapturingRouter router;
        EXPECT_EQ(paragraphIn(row.name, L"/nowhere")->buildFontName(), L"/opt/Norvex/fonts/DejaVuSans.ttf");
        ASSERT_EQ(router.messages.size(), 1U);
        EXPECT_EQ(router.messages[0].level(), DM::CoMsg::ErrorLevel);
        if (row.shown)
        {
            EXPECT_EQ(router.messages[0].text(),
                      std::string("Font \"") + row.shown + "\" not installed.  Using default font.");
        }
    }
}

TEST(Font, AnInstalledOneIsFoundInItsStyle)
{
    if (!ZR_TEST_FONTCONFIG)
        GTEST_SKIP() << "built without fontconfig";
    const struct
    {
        const wchar_t* name;
        int style;
        const char* file;
    } rows[] = {{L"DejaVu Sans", DmTextParagraph::Plain, "DejaVuSans.ttf"},
                {L"DejaVu Sans", DmTextParagraph::Normal, "DejaVuSans.ttf"},
                {L"dejavusans", DmTextParagraph::Plain, "DejaVuSans.ttf"},
                {L"DejaVu Sans", DmTextParagraph::BOLD, "DejaVuSans-Bold.ttf"},
                {L"DejaVu Sans Mono", DmTextParagraph::BOLD, "DejaVuSansMono-Bold.ttf"},
                {L"DejaVu Serif", 42, "DejaVuSerif.ttf"},
                {L"DejaVuSans-Bold", DmTextParagraph::Plain, "DejaVuSans-Bold.ttf"},
                {L"DejaVu Sans Bold", DmTextParagraph::Plain, "DejaVuSans-Bold.ttf"}};
    const zrTest::CapturingRouter router;
    for (const auto& row : rows)
    {
        const auto paragraph = paragraphIn(row.name, L"/nowhere");
        EXPECT_EQ(paragraph->setFontStyle(static_cast<DmTextParagraph::FontStyle>(row.style)), DM_NO_ERROR);
        const std::filesystem::path found = dmUtf8(paragraph->buildFontName());
        EXPECT_EQ(found.filename(), row.file) << dmUtf8(row.name) << ' ' << row.style;
        EXPECT_TRUE(std::filesystem::exists(found)) << found;
    }
    EXPECT_TRUE(router.messages.empty());
}

TEST(Font, IsLookedForFromManyThreads)
{
    const zrTest::CapturingRouter router;
    const auto expected = paragraphIn(L"DejaVu Sans")->buildFontName();
    std::jthread threads[4];
    for (std::jthread& thread : threads)
        thread = std::jthread([&] { EXPECT_EQ(paragraphIn(L"DejaVu Sans")->buildFontName(), expected); });
}
