// The main of every program of gtest cases.
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/kit/CrashReport.h"
#include "tests/kit/GuardHeap.h"

int main(int argc, char** argv) {
    // In blocks, which gtest flushes: else each character is a call of the system.
    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
    GuardHeap::InstallIfAsked();
    InstallCrashReport();
    // One case runs for seconds; a program that runs all of them may ask for more.
    const char* limit = std::getenv("FCOE_TEST_WATCHDOG");
    testing::InitGoogleTest(&argc, argv);
    const bool single = testing::UnitTest::GetInstance()->total_test_count() == 0 || GTEST_FLAG_GET(filter) != "*";
    StartWatchdog(limit ? static_cast<unsigned>(std::atoi(limit)) : single ? 80 : 600);
    const int result = RUN_ALL_TESTS();
    StartWatchdog(0);
    return result;
}
