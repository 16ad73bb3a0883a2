// The seam itself: what it covers, that a planned call fails and no other, and that it goes without a trace.

#include "faults/FaultDriver.h"

#include "tarnu/files/OrvaFileOperations.h"

#include <cstring>
#include <gtest/gtest.h>
#include <map>

namespace tarnu::test::faults {
namespace {

std::map<std::string, ULONGLONG> Table() {
    std::map<std::string, ULONGLONG> table;
    for (const ModuleImport& import : ImportsOf(::GetModuleHandleW(L"TarnuWin32Utils.dll"))) {
        table[import.name] = *import.entry;
    }
    return table;
}

TEST(FaultSeam, EveryImportIsCoveredOrExcused) {
#ifdef TARNU_COVERAGE
    GTEST_SKIP() << "the counters have imports of their own";
#endif
    for (const ModuleImport& import : ImportsOf(::GetModuleHandleW(L"TarnuWin32Utils.dll"))) {
        const auto& calls = CoveredCalls();
        const bool isCovered = std::any_of(calls.begin(), calls.end(), [&import](const SystemCall* call) {
            return std::strcmp(call->name, import.name) == 0;
        });
        const char* const excuse = ReasonFor(import.name, Excuses());
        EXPECT_TRUE(isCovered || excuse != nullptr)
            << import.library << ": " << import.name << " neither fails in a scenario nor has a reason not to";
        EXPECT_FALSE(isCovered && excuse != nullptr) << import.name << " is covered and excused: " << excuse;
    }
}

TEST(FaultSeam, FailsTheCallsOfThePlanAloneAndRestoresTheTable) {
    const std::map<std::string, ULONGLONG> before = Table();
    const auto call = std::find_if(CoveredCalls().begin(), CoveredCalls().end(), [](const SystemCall* candidate) {
        return std::strcmp(candidate->name, "GetFullPathNameW") == 0;
    });
    ASSERT_NE(call, CoveredCalls().end());
    const auto exists = [] { return OrvaFileExists(L"C:\\windows"); };
    {
        const FaultSeam seam;
        EXPECT_NE(before, Table());

        FaultSeam::Prepare({*call, false, 2, 3, false});
        EXPECT_TRUE(exists());
        EXPECT_EQ((*call)->calls, 0u) << "counts only while armed";
        FaultSeam::Arm();
        const bool results[] = {exists(), exists(), exists(), exists()};
        FaultSeam::Disarm();
        EXPECT_TRUE(results[0]);
        EXPECT_FALSE(results[1]);
        EXPECT_FALSE(results[2]);
        EXPECT_TRUE(results[3]);
        EXPECT_EQ((*call)->calls, 4u);
        EXPECT_TRUE(FaultSeam::HasFailed());

        FaultSeam::Prepare({nullptr, /*allocations=*/true, 1, 1, false});
        FaultSeam::Arm();
        EXPECT_FALSE(exists()) << "the first allocation fails";
        EXPECT_TRUE(exists());
        FaultSeam::Disarm();
        EXPECT_GT(FaultSeam::Allocations(), 1u);
    }
    EXPECT_EQ(before, Table());
}

TEST(FaultSeam, PoisonsSuccessesAndKeepsBooks) {
    const FaultSeam seam;
    FaultSeam::Prepare({nullptr, false, 0, 0, /*poisons=*/true});
    ::SetLastError(noError);
    FaultSeam::Arm();
    EXPECT_TRUE(OrvaFileExists(L"C:\\windows"));
    EXPECT_EQ(::GetLastError(), bogusError);
    FaultSeam::Disarm();

    const Balance before = FaultSeam::Outstanding();
    const unsigned long long stamp = FaultSeam::Stamp();
    {
        const CString kept = CString(L"kept") + L" text";
        const Balance during = FaultSeam::Outstanding();
        EXPECT_GT(during[static_cast<std::size_t>(Resource::Memory)],
                  before[static_cast<std::size_t>(Resource::Memory)]);
        EXPECT_NE(FaultSeam::Describe(stamp), "");
    }
    EXPECT_EQ(before, FaultSeam::Outstanding());
    EXPECT_EQ(FaultSeam::Describe(stamp), "");
}

} // namespace
} // namespace tarnu::test::faults
