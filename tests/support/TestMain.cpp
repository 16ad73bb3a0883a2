// The main function of every test program, with a watchdog that ends a run that hangs.

#include "support/HostProgram.h"
#include "support/Watchdog.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    tarnu::test::ServeRunOnHost();
    ::testing::InitGoogleTest(&argc, argv);
    tarnu::test::StartWatchdog();
    return RUN_ALL_TESTS();
}
