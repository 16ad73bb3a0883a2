// The main function of the long runs: as for the tests, with a watchdog that waits longer.

#include "support/Watchdog.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    tarnu::test::StartWatchdog(/*minutes=*/20);
    return RUN_ALL_TESTS();
}
