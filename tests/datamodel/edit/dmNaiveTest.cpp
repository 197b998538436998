// Random cuts and random operations, held against an array of what plays at each frame.
#include "zrEditCases.h"
#include "zrNaive.h"
#include "zrRandomEdits.h"
#include "zrTable.h"

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

TEST(EditNaive, RandomOperationsDoWhatIsWrittenDown)
{
    std::string told;
    for (unsigned seed = 1000; seed < 1040; ++seed)
    {
        told += std::to_string(seed) + ": ";
        zrRandomEdits::Source source(seed);
        EXPECT_EQ(zrRandomEdits::run(source, 20, &told), "");
    }
    zrExpectWritten(told, "steps.txt");
}
