#include "commandCases.h"

TEST(DmtreeClasses, ListsTheRegisteredClassesSortedAndThePropertiesOfOne)
{
    const CommandCase cases[] = {
        {{"classes"}, 0, "...DmCompositionNode\n...DmCueMark\n..."},
        {{"classes", "--json"}, 0, "...{\"class\":\"DmCueMark\",\"properties\":7}\n..."},
        {{"classes", "DmCueMark"},
         0,
         "INDEX  NAME               TYPE    DEFAULT     WRITTEN   HOLDS  UNIT    VALUES  MEANING\n"
         "0      cueMarkName        String  \"\"          optional  -      -       -       The name of the mark.\n"
         "...2      cueMarkTime        Double  2147483647  optional  -      frames  -       Where the mark "
         "stands...\n..."},
        {{"classes", "DmTrackNode"},
         0,
         "...mediaType     Enum                 0         mandatory  -           -     "
         "0 undefined, 1 video, 2 audio..."},
        {{"classes", "DmCompositionNode", "--json"},
         0,
         R"(...{"index":13,"name":"cueMarks","type":"Vector-Property-Set","default":"","written":"mandatory",)"
         "\"holds\":\"DmCueMark\",\"unit\":\"\",\"meaning\":\"Marks on the composition.\"}\n..."},
        {{"classes", "DmSegmentNode", "--json"}, 2, "", "...DmSegmentNode..."},
        {{"classes", "DmMediaNode", "--json"},
         0,
         R"(...{"index":2,"name":"mediaType","type":"Enum","default":"0","written":"mandatory","holds":"","unit":"",)"
         R"("meaning":"Its medium.","values":[{"code":0,"name":"DM_MEDIA_UNDEFINED","text":"undefined"},...)"},
        {{"classes", "DmCuemark"}, 2, "", "...DmCuemark..."},
        {{"classes", "\xff"}, 2, "", "...\xff..."},
    };
    for (const CommandCase& row : cases)
        check(row);
}
