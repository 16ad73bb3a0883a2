#include "support/Watchdog.h"

#include "tarnu/framework/framework.h"

#include <atomic>
#include <cstdio>
#include <gtest/gtest.h>

namespace tarnu::test {
namespace {

std::atomic<ULONGLONG> testStarted{0}; // tick count, 0 between tests
std::atomic<const char*> suiteName{""};
std::atomic<const char*> testName{""};

class TestClock : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo& info) override {
        suiteName = info.test_suite_name();
        testName = info.name();
        testStarted = ::GetTickCount64();
    }
    void OnTestEnd(const ::testing::TestInfo&) override { testStarted = 0; }
};

/// @param limit minutes, as a pointer
DWORD WINAPI Watch(void* limit) {
    const ULONGLONG limitMilliseconds = reinterpret_cast<ULONG_PTR>(limit) * 60'000;
    for (;;) {
        ::Sleep(1000);
        const ULONGLONG started = testStarted;
        if (started != 0 && ::GetTickCount64() - started > limitMilliseconds) {
            std::fprintf(stderr, "watchdog: %s.%s hangs\n", suiteName.load(), testName.load());
            std::fflush(stderr);
            ::TerminateProcess(::GetCurrentProcess(), watchdogExitCode);
        }
    }
}

} // namespace

void StartWatchdog(unsigned minutes) {
    ::testing::UnitTest::GetInstance()->listeners().Append(new TestClock); // GoogleTest owns it
    // The thread lives as long as the process; its handle is not needed.
    if (HANDLE thread = ::CreateThread(nullptr, 0, Watch, reinterpret_cast<void*>(ULONG_PTR{minutes}), 0, nullptr))
        ::CloseHandle(thread);
}

} // namespace tarnu::test
