// Faults in the block allocator, the heap probe, point texts and readers.

#include "faults/FaultDriver.h"

#include "tarnu/geometry/OrvaMultiPolyFaceReader.h"
#include "tarnu/geometry/OrvaMultiTriFaceReader.h"
#include "tarnu/geometry/OrvaPointArray.h"
#include "tarnu/geometry/OrvaPointMarker.h"
#include "tarnu/geometry/OrvaPointString.h"
#include "tarnu/geometry/OrvaSortedPointString.h"
#include "tarnu/geometry/OrvaUnsortedPointString.h"
#include "tarnu/memory/OrvaFixedBlockAllocator.h"
#include "tarnu/memory/OrvaHeapGrowthProbe.h"

#include <gtest/gtest.h>
#include <vector>

namespace tarnu::test::faults {
namespace {

TEST(MemoryFaults, FixedBlocks) {
    Inject([](Trial& trial) {
        OrvaFixedBlockAllocator::FreeBlock* list = nullptr;
        std::vector<void*> blocks;
        blocks.reserve(2000);
        const int groups = OrvaFixedBlockAllocator::GroupCount;
        bool isComplete = true;
        trial.Operate([&] {
            for (int page = 0; page < 40 && isComplete; ++page) { // more than two groups
                isComplete = OrvaFixedBlockAllocator::AddPage(list, 400) != nullptr;
                while (list != nullptr && blocks.size() < blocks.capacity())
                    blocks.push_back(OrvaFixedBlockAllocator::Allocate(list));
            }
            for (void* block : blocks)
                OrvaFixedBlockAllocator::Free(list, block);
        });
        trial.ExpectSuccessUnlessFault(isComplete);
        EXPECT_EQ(list, nullptr) << "a page goes back with its last block";
        EXPECT_LE(OrvaFixedBlockAllocator::GroupCount, std::max(groups, 1));
    });
}

TEST(MemoryFaults, HeapProbe) {
    // Every measurement leaves its empty heap behind, on purpose; the blocks in it go.
    Inject(
        [](Trial& trial) {
            std::uint64_t reached = 0;
            trial.Operate([&] { reached = OrvaHeapGrowthProbe::MeasureGrowth(4, 4096, 65536); });
            trial.ExpectSuccessUnlessFault(reached >= 65536);
            EXPECT_TRUE(!trial.IsFault("HeapCreate") || reached == 0);
        },
        {.calls = 2});
}

TEST(GeometryFaults, PointMarker) {
    Inject([](Trial& trial) {
        OrvaPointMarker marker(1);
        OrvaPointMarker large(1); // has something to lose
        large.Resize(100'000);
        large.Mark(50);
        BOOL isResized = FALSE;
        BOOL isCut = FALSE;
        trial.Operate([&] {
            isCut = large.Resize(100);
            isResized = marker.Resize(100);
            marker.Mark(50);
            marker.Mark(100'000);
        });
        EXPECT_TRUE(large.IsMarked(50));
        trial.ExpectSuccessUnlessFault(isCut && isResized && marker.IsMarked(50) && marker.IsMarked(100'000));
        EXPECT_FALSE(marker.IsMarked(51));
    });
}

TEST(GeometryFaults, PointTexts) {
    Inject([](Trial& trial) {
        const CString text(L"1-5,9,20-30");
        OrvaPointString points(text);
        UINT count = 0;
        BOOL isValid = FALSE;
        std::vector<UINT> walked;
        walked.reserve(32);
        trial.Operate([&] {
            isValid = points.IsValid();
            count = points.GetCount();
            UINT number = 0;
            for (points.GetFirst(&number); !points.IsDone(); points.GetNext(&number))
                walked.push_back(number);
            points.Subtract(L"3", TRUE);
            points.Normalize(TRUE);
            points.SetLabel(L"label");
        });
        trial.ExpectSuccessUnlessFault(isValid && count == 17 && walked.size() == 17);
        EXPECT_TRUE(points.GetText() == L"1-2,4-5,9,20-30" || (trial.HasFault() && points.GetText() == text))
            << points.GetText().GetString();
    });
}

TEST(GeometryFaults, BuiltPointTexts) {
    Inject([](Trial& trial) {
        OrvaSortedPointString sorted;
        OrvaUnsortedPointString unsorted;
        trial.Operate([&] {
            for (const UINT number : {5u, 3u, 4u, 1000u}) {
                sorted.Add(number);
                unsorted.Add(number);
            }
            sorted.BuildText();
            unsorted.BuildText();
        });
        trial.ExpectSuccessUnlessFault(sorted.GetText() == L"3-5,1000" && unsorted.GetText() == L"5,3-4,1000");
        sorted.Clear();
        sorted.Add(7);
        sorted.BuildText();
        EXPECT_EQ(sorted.GetText(), CString(L"7"));
    });
}

TEST(GeometryFaults, Readers) {
    Inject([](Trial& trial) {
        const OrvaPoint3d corners[] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}};
        OrvaMultiPolyFaceReader polygons;
        OrvaMultiTriFaceReader triangles;
        UINT faces = 0;
        const bool noMemory = trial.Throws([&] {
            OrvaPointArray face;
            for (const OrvaPoint3d& corner : corners)
                face.Append(corner);
            polygons.AddFace(face);
            polygons.AddFace(face);
            OrvaPointArray read;
            while (polygons.ReadFace(read))
                ++faces;
        });
        trial.ExpectSuccessUnlessFault(!noMemory && faces == 2);
        EXPECT_LE(polygons.GetFaceCount(), 2u);
        EXPECT_LE(faces, polygons.GetFaceCount());
    });
}

} // namespace
} // namespace tarnu::test::faults
