#include "zrRunCommand.h"
#include "zrTempDir.h"

#include <gtest/gtest.h>

using zrTest::runDmtree;

namespace
{

const struct
{
    const char* file;
    const char* verdict;
    int checkCode;
} documents[] = {
    {"commercial-25.json", ": valid\n", 0},
    {"news-29.97df.json", ": valid\n", 0},
    {"feature-23.976.json", ": valid\n", 0},
    {"commercial-with-mistakes.json", ": 2 violations\n", 1},
};

} // namespace

TEST(ExampleDocuments, AreWhatTheirProgramMakes)
{
    const ZrTempDir made;
    const auto result = zrTest::runCommand({ZR_MAKE_DOCUMENTS, made.path()});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    for (const auto& document : documents)
        EXPECT_TRUE(ZrTempDir::read(made.path(document.file)) ==
                    ZrTempDir::read(std::string(ZR_EXAMPLES "/") + document.file))
            << document.file << " has changed: makeDocuments examples/documents";
}

TEST(ExampleDocuments, AreValidButTheOneWithMistakes)
{
    for (const auto& document : documents)
    {
        const auto result = runDmtree({"check", "--all", document.file}, {.directory = ZR_EXAMPLES});
        EXPECT_EQ(result.exitCode, document.checkCode) << result.out;
        EXPECT_TRUE(result.out.ends_with(document.file + std::string(document.verdict))) << result.out;
    }
}

TEST(ExampleDocuments, ComeBackFromALoadAndASaveAsTheyWere)
{
    for (const auto& document : documents)
    {
        const std::string path = std::string(ZR_EXAMPLES "/") + document.file;
        EXPECT_TRUE(runDmtree({"fmt", path}).out == ZrTempDir::read(path)) << document.file;
    }
}
