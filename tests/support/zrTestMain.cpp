#include "zrAssert.h"
#include "zrInHouse.h"
#include "zrTable.h"
#include "zrTestInHouse.h"

#include <gtest/gtest.h>

#include <optional>

namespace
{

const bool isInHouse = zrUseInHouseDirectory("/"); // any that exists
std::optional<ZrDisableTlvAssertGuard> customer(std::in_place);

} // namespace

ZrTestInHouse::ZrTestInHouse()
{
    customer.reset();
}

ZrTestInHouse::~ZrTestInHouse()
{
    customer.emplace();
}

bool ZrTestInHouse::available()
{
    return isInHouse;
}

const char* zrTestsDirectory()
{
    return ZR_TESTS;
}

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    return RUN_ALL_TESTS();
}
