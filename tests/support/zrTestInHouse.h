/// Test programs run as on a customer's installation: soft assertions are off. A test that is about one asks for the
/// other kind:
///
///     EXPECT_IN_HOUSE_DEATH(track->addLayer(nullptr), "entry != nullptr");
///
///     const ZrTestInHouse inHouse;   // for a scope
#pragma once

#include <gtest/gtest.h>

class ZrTestInHouse
{
public:
    ZrTestInHouse();
    ~ZrTestInHouse();
    ZrTestInHouse(const ZrTestInHouse&) = delete;
    ZrTestInHouse& operator=(const ZrTestInHouse&) = delete;

    /// Not where ZR_PROGRAM_TOLVANE_CHECK_DISABLED is set: soft assertions cannot be switched on there.
    static bool available();
};

/// The statement, run as in-house, stops the process with a report that matches. Not tried where nothing can stop it.
#define EXPECT_IN_HOUSE_DEATH(statement, matcher)                                                                      \
    if (!ZrTestInHouse::available())                                                                                   \
        static_cast<void>(0);                                                                                          \
    else                                                                                                               \
        EXPECT_DEATH(                                                                                                  \
            {                                                                                                          \
                const ZrTestInHouse inHouse;                                                                           \
                statement;                                                                                             \
            },                                                                                                         \
            matcher)
