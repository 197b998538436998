#include "zrRunCommand.h"
#include "zrTempDir.h"

#include <gtest/gtest.h>

using zrTest::runDmtree;

namespace
{

const char* const documents[] = {"commercial-25.json", "news-29.97df.json", "feature-23.976.json",
                                 "commercial-with-mistakes.json"};

} // namespace

TEST(ExampleDocuments, AreWhatTheirProgramMakes)
{
    const ZrTempDir made;
    const auto result = zrTest::runCommand({ZR_MAKE_DOCUMENTS, made.path()});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    for (const char* const document : documents)
        EXPECT_TRUE(ZrTempDir::read(made.path(document)) == ZrTempDir::read(std::string(ZR_EXAMPLES "/") + document))
            << document << " has changed: makeDocuments examples/documents";
}

TEST(ExampleDocuments, ComeBackFromALoadAndASaveAsTheyWere)
{
    for (const char* const document : documents)
    {
        const std::string path = std::string(ZR_EXAMPLES "/") + document;
        EXPECT_TRUE(runDmtree({"fmt", path}).out == ZrTempDir::read(path)) << document;
    }
}
