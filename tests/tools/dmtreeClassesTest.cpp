#include "commandCases.h"

TEST(DmtreeClasses, ListsTheRegisteredClassesSortedAndThePropertiesOfOne)
{
    const CommandCase cases[] = {
        {{"classes"}, 0, "...DmCompositionNode\n...DmCueMark\n..."},
        {{"classes", "--json"}, 0, "...{\"class\":\"DmCueMark\",\"properties\":7}\n..."},
        {{"classes", "DmCueMark"},
         0,
         "INDEX  NAME               TYPE    DEFAULT     WRITTEN   HOLDS\n"
         "0      cueMarkName        String  \"\"          optional  -\n"
         "...2      cueMarkTime        Double  2147483647  optional  -\n..."},
        {{"classes", "DmCompositionNode", "--json"},
         0,
         R"(...{"index":13,"name":"cueMarks","type":"Vector-Property-Set","default":"","written":"mandatory",)"
         "\"holds\":\"DmCueMark\"}\n..."},
        {{"classes", "DmCuemark"}, 2, "", "...DmCuemark..."},
        {{"classes", "\xff"}, 2, "", "...\xff..."},
    };
    for (const CommandCase& row : cases)
        check(row);
}
