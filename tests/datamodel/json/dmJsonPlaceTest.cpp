/// Where in a document an import finds what it cannot read.
#include "jsonSets.h"

#include <gtest/gtest.h>

#include <string>

TEST(JsonPlace, IsThatOfTheFaultThatIsReported)
{
    const std::string manyBlanks(200'000, ' ');
    const struct
    {
        std::string json;
        std::uint64_t line;
        std::uint64_t column;
    } rows[] = {
        {"", 1, 1},
        {"\n\n[]", 3, 1},
        {"{\"JsonBox\":\n\t{ \"nothing\": 5 } }", 2, 15},
        {"{\"JsonBox\":\r\n\t{ \"name\": \"a\\n\\n\", \"nothing\": {} } }", 2,
         32}, // line feeds in a string end no line
        {"{\"NoSuchClass\": {\n\n} }", 1, 17},
        {"{\"JsonBox\":\n{ \"name\": \"cut off", 2, 11},
        {"{\"JsonBox\":\n{ \"name\": 12x } }", 2, 13},
        {"{\"JsonBox\": {\n" + manyBlanks + "\n" + manyBlanks + "\"nothing\": 1 } }", 3, 200'012},
        // Of two faults the one that is reported, though it stands second.
        {"{\"JsonBox\": {\n\"z\": 1,\n\"a\": 1 } }", 3, 6},
    };
    for (const auto& row : rows)
    {
        DmPropertySetPtr set;
        DmJsonPlace place;
        EXPECT_TRUE(DmJsonImporter::importSetFromStr(row.json, set, &place).failed());
        const std::string shown = row.json.size() < 100 ? row.json : "many blanks";
        EXPECT_EQ(place.line, row.line) << shown;
        EXPECT_EQ(place.column, row.column) << shown;
    }
}

TEST(JsonPlace, IsNowhereForAFileThatIsNotThere)
{
    DmPropertySetPtr set;
    DmJsonPlace place;
    EXPECT_TRUE(DmJsonImporter::importSetFromFile("/nowhere.json", set, &place).failed());
    EXPECT_EQ(place.line, 0U);
}
