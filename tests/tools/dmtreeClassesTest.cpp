#include "zrRunCommand.h"

#include <gtest/gtest.h>

using zrTest::runDmtree;

TEST(DmtreeClasses, ListsTheRegisteredClassesSorted)
{
    const auto result = runDmtree({"classes"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const std::size_t first = result.out.find("DmCompositionNode\n");
    const std::size_t second = result.out.find("DmCueMark\n");
    EXPECT_NE(first, std::string::npos);
    EXPECT_TRUE(first < second && second != std::string::npos) << result.out;
    const auto json = runDmtree({"classes", "--json"});
    EXPECT_NE(json.out.find("{\"class\":\"DmCueMark\",\"properties\":7}\n"), std::string::npos) << json.out;
}

TEST(DmtreeClasses, ShowsThePropertiesOfOne)
{
    const auto result = runDmtree({"classes", "DmCueMark"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(result.out.starts_with("INDEX  NAME               TYPE    DEFAULT     WRITTEN   HOLDS\n"
                                       "0      cueMarkName        String  \"\"          optional  -\n"))
        << result.out;
    EXPECT_NE(result.out.find("2      cueMarkTime        Double  2147483647  optional  -\n"), std::string::npos);
    const auto json = runDmtree({"classes", "DmCompositionNode", "--json"});
    EXPECT_NE(json.out.find("{\"index\":13,\"name\":\"cueMarks\",\"type\":\"Vector-Property-Set\",\"default\":\"\","
                            "\"written\":\"mandatory\",\"holds\":\"DmCueMark\"}\n"),
              std::string::npos)
        << json.out;
}

TEST(DmtreeClasses, NamesAClassThatIsNone)
{
    for (const char* const name : {"DmCuemark", "\xff"})
    {
        const auto result = runDmtree({"classes", name});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(name), std::string::npos) << result.err;
    }
}
