#include "tarnu/memory/OrvaHeapGrowthProbe.h"

#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();

TEST(HeapGrowthProbe, GrowsInPowerOfTwoStepsUpToTheLimit) {
    OrvaHeapGrowthProbe probe;
    struct Case {
        std::uint64_t count, unitSize, limit, expected;
    };
    for (const Case& c : {
             Case{1, 16, 0, 32},        // one reallocation whatever the limit
             Case{4, 16, 64, 80},       // the first block has reached the limit already
             Case{4, 16, 65, 80},       // the limit is met by the first step
             Case{4, 16, 81, 96},       // or passed by the second
             Case{1, 24, 48, 48},       // 24 probes in steps of 16
             Case{1, 31, 40, 48},       // as does 31
             Case{1, 32, 40, 64},       //
             Case{0, 4096, 8192, 8192}, // an empty first block
             Case{1, 4097, 10000, 12288},
             Case{5, 0, 0, 0}, // a step of 0 ends for a limit of 0 only
             Case{1, 0x100000, 0x400000, 0x400000},
         }) {
        EXPECT_EQ(c.expected, probe.MeasureGrowth(c.count, c.unitSize, c.limit))
            << c.count << " steps of " << c.unitSize << " to " << c.limit;
    }
}

TEST(HeapGrowthProbe, ImpossibleFirstBlocksMeasureNothing) {
    OrvaHeapGrowthProbe probe;
    EXPECT_EQ(0u, probe.MeasureGrowth(most, 1, 1));
    EXPECT_EQ(0u, probe.MeasureGrowth(1, most, 1));             // 2^63
    EXPECT_EQ(0u, probe.MeasureGrowth((most >> 4) + 2, 16, 1)); // the product would wrap to 16
    EXPECT_EQ(0u, probe.MeasureGrowth(std::uint64_t{1} << 32, std::uint64_t{1} << 32, 1)); // and to 0
}

TEST(HeapGrowthProbe, AnUnreachableLimitEndsWhenTheSystemRefuses) {
    OrvaHeapGrowthProbe probe;
    // The first block fits; the second step is beyond any address space.
    EXPECT_EQ(0u, probe.MeasureGrowth(0, std::uint64_t{1} << 60, most));
}

TEST(HeapGrowthProbe, ChangeIsPreviousMinusNew) {
    OrvaHeapGrowthProbe probe;
    EXPECT_EQ(0 - std::uint64_t{64}, probe.MeasureChange(1, 16, 64)); // wraps: 0 - 64
    EXPECT_EQ(0u, probe.MeasureChange(1, 16, 64));
    EXPECT_EQ(64u, OrvaHeapGrowthProbe::MeasureGrowth(1, 16, 64)); // leaves the object alone
    EXPECT_EQ(32u, probe.MeasureChange(1, 16, 32));
    EXPECT_EQ(0 - std::uint64_t{96}, probe.MeasureChange(1, 16, 128));
    EXPECT_EQ(128u, probe.MeasureChange(most, 16, 128)); // failed: 0 bytes reached
}

TEST(HeapGrowthProbe, LeavesOneEmptyHeapBehindPerMeasurement) {
    OrvaHeapGrowthProbe probe;
    const DWORD before = ::GetProcessHeaps(0, nullptr);
    for (int repeat = 0; repeat < 3; ++repeat)
        probe.MeasureGrowth(1, 0x1000, 0x10000);
    const DWORD after = ::GetProcessHeaps(0, nullptr);
    ASSERT_EQ(before + 3, after);
    std::vector<HANDLE> heaps(after);
    ASSERT_EQ(after, ::GetProcessHeaps(after, heaps.data()));
    int empty = 0;
    for (HANDLE heap : heaps) {
        PROCESS_HEAP_ENTRY entry{};
        bool busy = false;
        while (::HeapWalk(heap, &entry))
            busy = busy || (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
        empty += !busy;
    }
    EXPECT_GE(empty, 3);
    probe.CheckingHook(nullptr, 0);
    probe.CheckingHook();
}

} // namespace
