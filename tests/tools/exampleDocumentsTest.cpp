#include "commandCases.h"
#include "zrTempDir.h"

namespace
{

const char* const documents[] = {"commercial-25.json", "news-29.97df.json", "feature-23.976.json",
                                 "commercial-with-mistakes.json"};

} // namespace

TEST(ExampleDocuments, AreWhatTheirProgramMakesAndComeBackFromALoadAndASave)
{
    const ZrTempDir made;
    const auto result = zrTest::runCommand({ZR_MAKE_DOCUMENTS, made.path()});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    for (const char* const document : documents)
    {
        const std::string path = std::string(ZR_EXAMPLES "/") + document;
        EXPECT_TRUE(ZrTempDir::read(made.path(document)) == ZrTempDir::read(path))
            << document << " has changed: makeDocuments examples/documents";
        EXPECT_TRUE(zrTest::runDmtree({"fmt", path}).out == ZrTempDir::read(path)) << document;
    }
}

TEST(ExampleDocuments, AreValidButTheOneWithMistakes)
{
    for (const std::string document : documents)
    {
        const bool isValid = document != "commercial-with-mistakes.json";
        check({{"check", "--all", document},
               isValid ? 0 : 1,
               "..." + document + (isValid ? ": valid\n" : ": 2 violations\n")},
              {.directory = ZR_EXAMPLES});
    }
}
