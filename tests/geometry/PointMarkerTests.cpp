#include "tarnu/geometry/OrvaPointMarker.h"

#include <gtest/gtest.h>
#include <random>
#include <set>

namespace {

TEST(PointMarker, GrowsBeyondTheNumberMarked) {
    OrvaPointMarker marker(1);
    EXPECT_EQ(1u, marker.GetFirst());
    EXPECT_EQ(1u, marker.GetEnd());
    EXPECT_FALSE(marker.IsMarked(1));
    marker.Mark(1);
    EXPECT_EQ(1025u, marker.GetEnd()); // offset 0 + 1024 bits
    marker.Mark(1024);
    EXPECT_EQ(1025u, marker.GetEnd());
    marker.Mark(1025);
    EXPECT_EQ(1u + 1024 + 1024, marker.GetEnd());
    marker.Unmark(5000); // grows as well
    EXPECT_EQ(1u + 4999 + 1024, marker.GetEnd());
    for (UINT number : {1u, 1024u, 1025u})
        EXPECT_TRUE(marker.IsMarked(number)) << number;
    for (UINT number : {0u, 2u, 1023u, 1026u, 5000u, 6023u, 6024u, 4294967295u})
        EXPECT_FALSE(marker.IsMarked(number)) << number;
    marker.Unmark(1024);
    EXPECT_FALSE(marker.IsMarked(1024));
    EXPECT_TRUE(marker.IsMarked(1025));
    marker.Reset();
    EXPECT_EQ(1u, marker.GetEnd());
    EXPECT_FALSE(marker.IsMarked(1025));
}

TEST(PointMarker, KeepsItsLimits) {
    OrvaPointMarker marker(1);
    for (UINT number : {0u, 0xFFFFFC00u, 0xFFFFFFFFu}) {
        marker.Mark(number);
        marker.Unmark(number);
        EXPECT_FALSE(marker.IsMarked(number)) << number;
        EXPECT_EQ(1u, marker.GetEnd()) << number;
    }
    marker.Mark(0xFFFFFBFF);
    EXPECT_TRUE(marker.IsMarked(0xFFFFFBFF));
    EXPECT_EQ(0xFFFFFFFFu, marker.GetEnd());
    marker.SetBit(0xFFFFFBFF); // stands for a number above those that are looked up
    EXPECT_FALSE(marker.IsMarked(0xFFFFFC00));
    EXPECT_TRUE(marker.TestBit(0xFFFFFBFF));

    OrvaPointMarker high(1000);
    high.Mark(999);
    EXPECT_EQ(1000u, high.GetEnd());
    EXPECT_FALSE(high.Resize(0xFFFFFFFFull - 1000 + 1));
    EXPECT_FALSE(high.Resize(~0ull));
    EXPECT_EQ(1000u, high.GetEnd());
    OrvaPointMarker last(0xFFFFFFFF);
    EXPECT_TRUE(last.Resize(0));
    EXPECT_FALSE(last.Resize(1));
    OrvaPointMarker zero(0);
    zero.Mark(0);
    EXPECT_TRUE(zero.IsMarked(0));
}

TEST(PointMarker, ResizeClearsNewBytesOnly) {
    OrvaPointMarker marker(1);
    ASSERT_TRUE(marker.Resize(24));
    for (std::uint64_t bit = 0; bit < 24; ++bit)
        marker.SetBit(bit);
    ASSERT_TRUE(marker.Resize(11));
    EXPECT_EQ(12u, marker.GetEnd());
    EXPECT_TRUE(marker.IsMarked(11));
    EXPECT_FALSE(marker.IsMarked(12));
    ASSERT_TRUE(marker.Resize(24));
    EXPECT_TRUE(marker.IsMarked(12)); // in a byte that was held in part
    EXPECT_TRUE(marker.IsMarked(16));
    EXPECT_FALSE(marker.IsMarked(17)); // in a byte that was given up
    marker.ClearBit(3);
    EXPECT_FALSE(marker.TestBit(3));
    EXPECT_TRUE(marker.TestBit(2));
    EXPECT_TRUE(marker.TestBit(4));
    // New bytes are clear also where the block had room for them already.
    OrvaPointMarker roomy(1);
    ASSERT_TRUE(roomy.Resize(800));
    ASSERT_TRUE(roomy.Resize(808)); // a block of twice the size
    for (std::uint64_t bit = 0; bit < 808; ++bit)
        roomy.SetBit(bit);
    ASSERT_TRUE(roomy.Resize(804));
    ASSERT_TRUE(roomy.Resize(1600));
    for (UINT number = 809; number <= 1600; ++number)
        ASSERT_FALSE(roomy.IsMarked(number)) << number;
}

TEST(PointMarker, AgreesWithASetOnRandomUse) {
    std::mt19937 random(17);
    for (int round = 0; round < 20; ++round) {
        OrvaPointMarker marker(1);
        std::set<UINT> model;
        UINT end = 1;
        const UINT range = 1u << (4 + random() % 20);
        for (int step = 0; step < 3000; ++step) {
            const UINT number = random() % range;
            if (random() % 3 != 0) {
                marker.Mark(number);
                if (number != 0) model.insert(number);
            } else {
                marker.Unmark(number);
                model.erase(number);
            }
            if (number >= end) end = number + 1024;
            ASSERT_EQ(end, marker.GetEnd());
            const UINT asked = random() % range;
            ASSERT_EQ(model.contains(asked), marker.IsMarked(asked) != FALSE) << asked;
        }
        for (UINT number : model)
            ASSERT_TRUE(marker.IsMarked(number)) << number;
    }
}

} // namespace
