// Random cuts and random operations, held against an array of what plays at each frame.
#include "zrEditCases.h"
#include "zrNaive.h"
#include "zrRandomEdits.h"

using namespace zrEditCases;

TEST(EditNaive, RandomOperationsPlayWhatTheyShould)
{
    for (unsigned seed = 0; seed < 200; ++seed)
    {
        SCOPED_TRACE(seed);
        zrRandomEdits::Source source(seed);
        EXPECT_EQ(zrRandomEdits::run(source, 25), "");
    }
}
