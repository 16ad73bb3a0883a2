#include "tarnu/memory/OrvaFixedBlockAllocator.h"

#include "ConsistencyWalk.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

using A = OrvaFixedBlockAllocator;
using tarnu::test::Caller;
using tarnu::test::FindInconsistency;

/// Adds a page when the list is empty, then allocates, and fills the block so that a stray link shows.
void* Take(Caller& caller) {
    if (caller.head == nullptr && A::AddPage(caller.head, caller.blockSize) == nullptr) return nullptr;
    void* const block = A::Allocate(caller.head);
    std::fill_n(static_cast<unsigned char*>(block), std::max<std::uint64_t>(caller.blockSize, 16), 0xA5);
    caller.held.push_back(block);
    return block;
}

void Give(Caller& caller, std::size_t index) {
    void* const block = caller.held[index];
    caller.held[index] = caller.held.back();
    caller.held.pop_back();
    A::Free(caller.head, block);
}

void GiveAll(Caller& caller) {
    while (!caller.held.empty())
        Give(caller, caller.held.size() - 1);
}

std::uint64_t Address(const void* pointer) {
    return reinterpret_cast<std::uint64_t>(pointer);
}

/// A caller of page-sized blocks: one block, one page.
Caller PageCaller() {
    Caller caller;
    caller.blockSize = A::PageSize - 24;
    return caller;
}

std::vector<std::uint64_t> PoolPages() {
    std::vector<std::uint64_t> pages;
    for (const A::FreePage* page = A::PagePool.head; page != nullptr; page = page->next)
        pages.push_back(Address(page));
    return pages;
}

TEST(FixedBlockAllocator, StartUpValues) {
    SYSTEM_INFO system{};
    ::GetSystemInfo(&system);
    EXPECT_EQ(system.dwPageSize, A::PageSize);
    EXPECT_EQ(~(std::uint64_t{system.dwPageSize} - 1), A::PageMask);
    EXPECT_EQ(~(std::uint64_t{system.dwAllocationGranularity} - 1), A::GroupMask);
}

TEST(FixedBlockAllocator, CarvesPagesByBlockSize) {
    struct Case {
        std::uint64_t requested, size, count;
    };
    ASSERT_EQ(4096u, A::PageSize);
    for (const Case& c : {Case{1, 16, 254}, Case{15, 16, 254}, Case{16, 16, 254}, Case{17, 17, 239}, Case{24, 24, 169},
                          Case{100, 100, 40}, Case{2036, 2036, 2}, Case{2037, 2037, 1}, Case{4072, 4072, 1}}) {
        SCOPED_TRACE(c.requested);
        Caller caller;
        caller.blockSize = c.requested;
        A::FreeBlock* const first = A::AddPage(caller.head, caller.blockSize);
        ASSERT_EQ(caller.head, first);
        EXPECT_EQ(c.requested, caller.blockSize);
        const auto* header = reinterpret_cast<const A::PageHeader*>(Address(first) & A::PageMask);
        EXPECT_EQ(Address(header) + 24, Address(first));
        EXPECT_EQ(c.count, header->blockCount);
        EXPECT_EQ(c.size, header->blockSize);
        EXPECT_EQ(0u, header->used);
        // Fresh blocks come in ascending address order, and the list ends after the last.
        for (std::uint64_t index = 0; index < c.count; ++index) {
            ASSERT_NE(nullptr, caller.head);
            EXPECT_EQ(Address(first) + index * c.size, Address(Take(caller)));
        }
        EXPECT_EQ(nullptr, caller.head);
        EXPECT_EQ(c.count, header->used);
        EXPECT_EQ("", FindInconsistency({caller}));
        GiveAll(caller);
        EXPECT_EQ(nullptr, caller.head);
        EXPECT_EQ("", FindInconsistency({caller}));
    }
}

TEST(FixedBlockAllocator, IsLastInFirstOutAndPutsFreshPagesInFront) {
    Caller caller;
    caller.blockSize = 64;
    void* const a = Take(caller);
    void* const b = Take(caller);
    void* const c = Take(caller);
    A::Free(caller.head, a);
    A::Free(caller.head, c);
    EXPECT_EQ(c, A::Allocate(caller.head));
    A::Free(caller.head, c);
    // A fresh page goes ahead of what was freed earlier.
    A::FreeBlock* const fresh = A::AddPage(caller.head, caller.blockSize);
    ASSERT_EQ(fresh, caller.head);
    EXPECT_EQ(fresh, A::Allocate(caller.head));
    for (std::uint64_t index = 1; index < (A::PageSize - 24) / 64; ++index)
        EXPECT_EQ(Address(fresh) + index * 64, Address(A::Allocate(caller.head)));
    EXPECT_EQ(c, A::Allocate(caller.head));
    EXPECT_EQ(a, A::Allocate(caller.head));
    caller.held = {a, b, c};
    for (std::uint64_t index = 0; index < (A::PageSize - 24) / 64; ++index)
        caller.held.push_back(reinterpret_cast<void*>(Address(fresh) + index * 64));
    EXPECT_EQ("", FindInconsistency({caller}));
    GiveAll(caller);
}

TEST(FixedBlockAllocator, FreeingThePagesLastBlockTakesTheWholePageOut) {
    Caller caller;
    caller.blockSize = 100;
    void* const early = Take(caller);
    A::AddPage(caller.head, caller.blockSize);
    void* const late = Take(caller); // of the second page
    const std::uint64_t page = Address(late) & A::PageMask;
    ASSERT_NE(page, Address(early) & A::PageMask);
    Give(caller, 1);
    // All 40 blocks of the second page have left the list, 39 of them never handed out; the first page's 39 remain.
    std::size_t listed = 0;
    for (const A::FreeBlock* block = caller.head; block != nullptr; block = block->next, ++listed)
        EXPECT_EQ(Address(early) & A::PageMask, Address(block) & A::PageMask);
    EXPECT_EQ(39u, listed);
    EXPECT_EQ(page, Address(A::PagePool.head));
    // Their links are cleared; the pool uses the page's first two words only.
    for (std::uint64_t index = 0; index < 40; ++index) {
        const auto* block = reinterpret_cast<const A::FreeBlock*>(page + 24 + index * 100);
        EXPECT_EQ(nullptr, block->previous);
        EXPECT_EQ(nullptr, block->next);
    }
    EXPECT_EQ("", FindInconsistency({caller}));
    GiveAll(caller);
}

TEST(FixedBlockAllocator, ReservesAGroupOf16PagesInAscendingOrder) {
    Caller drain = PageCaller();
    while (A::PagePool.head != nullptr)
        Take(drain);
    const int groups = A::GroupCount;
    const std::uint64_t first = Address(Take(drain)) & A::PageMask;
    EXPECT_EQ(groups + 1, A::GroupCount);
    EXPECT_EQ(first, first & A::GroupMask);
    EXPECT_EQ(1u, A::PagePool.groupUse.at(first));
    std::vector<std::uint64_t> expected;
    for (std::uint64_t index = 1; index < 16; ++index)
        expected.push_back(first + index * A::PageSize);
    EXPECT_EQ(expected, PoolPages());
    MEMORY_BASIC_INFORMATION region{};
    ASSERT_NE(0u, ::VirtualQuery(reinterpret_cast<void*>(first), &region, sizeof region));
    EXPECT_EQ(DWORD{PAGE_EXECUTE_READWRITE}, region.AllocationProtect);
    EXPECT_EQ(16 * A::PageSize, region.RegionSize);
    EXPECT_EQ("", FindInconsistency({drain}));
    GiveAll(drain);
}

TEST(FixedBlockAllocator, ReleasesTheGroupThatEmptiesFirstAndKeepsTheLast) {
    Caller caller = PageCaller();
    while (A::GroupCount < 3 || A::PagePool.head != nullptr)
        Take(caller);
    std::map<std::uint64_t, std::vector<void*>> groups;
    for (void* block : caller.held)
        groups[Address(block) & A::GroupMask].push_back(block);
    ASSERT_EQ(3u, groups.size());

    // The middle one goes first: its pages leave the pool, which holds a page of each neighbour around them.
    auto middle = std::next(groups.begin());
    const auto give = [&](void* block) {
        caller.held.erase(std::find(caller.held.begin(), caller.held.end(), block));
        A::Free(caller.head, block);
    };
    give(groups.begin()->second[3]);
    for (std::size_t index = 0; index < 8; ++index)
        give(middle->second[index]);
    give(groups.rbegin()->second[5]);
    for (std::size_t index = 15; index > 8; --index)
        give(middle->second[index]);
    EXPECT_EQ(3, A::GroupCount);
    EXPECT_EQ("", FindInconsistency({caller}));
    give(middle->second[8]);
    EXPECT_EQ(2, A::GroupCount);
    EXPECT_EQ(0u, A::PagePool.groupUse.at(middle->first)); // the entry stays
    const std::vector<std::uint64_t> rest{Address(groups.rbegin()->second[5]) & A::PageMask,
                                          Address(groups.begin()->second[3]) & A::PageMask};
    EXPECT_EQ(rest, PoolPages());
    MEMORY_BASIC_INFORMATION region{};
    ASSERT_NE(0u, ::VirtualQuery(reinterpret_cast<void*>(middle->first), &region, sizeof region));
    EXPECT_EQ(DWORD{MEM_FREE}, region.State);
    // The page freed last was the pool's head, so the new head's previous link was left as it was.
    EXPECT_NE(nullptr, A::PagePool.head->previous);
    EXPECT_EQ("", FindInconsistency({caller}));

    // Pushing in front of such a head mends it.
    give(groups.begin()->second[0]);
    EXPECT_EQ(nullptr, A::PagePool.head->previous);
    EXPECT_EQ(A::PagePool.head, A::PagePool.head->next->previous);

    GiveAll(caller);
    EXPECT_EQ(1, A::GroupCount);
    EXPECT_EQ(16u, PoolPages().size());
    EXPECT_EQ("", FindInconsistency({caller}));
}

TEST(FixedBlockAllocator, ExhaustionGivesNullAndChangesNothing) {
    Caller caller = PageCaller();
    while (A::PagePool.head != nullptr || A::GroupCount == 0)
        Take(caller);
    const int groups = A::GroupCount;
    const std::size_t entries = A::PagePool.groupUse.size();
    Caller other;
    other.blockSize = 32;
    const std::uint64_t pageSize = A::PageSize;
    A::PageSize = std::uint64_t{1} << 50; // the next group would be larger than the address space
    EXPECT_EQ(nullptr, A::AddPage(other.head, other.blockSize));
    A::PageSize = pageSize;
    EXPECT_EQ(nullptr, other.head);
    EXPECT_EQ(nullptr, A::PagePool.head);
    EXPECT_EQ(groups, A::GroupCount);
    EXPECT_EQ(entries, A::PagePool.groupUse.size());
    EXPECT_EQ("", FindInconsistency({caller, other}));
    ASSERT_NE(nullptr, Take(other));
    EXPECT_EQ("", FindInconsistency({caller, other}));
    GiveAll(other);
    GiveAll(caller);
}

TEST(FixedBlockAllocator, FillSetsBytesAndReturnsTheDestination) {
    unsigned char bytes[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    void* destination = bytes + 2;
    std::uint64_t count = 4;
    unsigned char value = 0xCD;
    EXPECT_EQ(&destination, &A::Fill(destination, count, value));
    const unsigned char expected[8] = {1, 1, 0xCD, 0xCD, 0xCD, 0xCD, 1, 1};
    EXPECT_TRUE(std::equal(std::begin(bytes), std::end(bytes), expected));
    void* nowhere = nullptr;
    count = 0;
    EXPECT_EQ(nullptr, A::Fill(nowhere, count, value));
    // Destinations of other types come back as what they are.
    unsigned char* first = bytes;
    EXPECT_EQ(&first, &A::Fill(first, 1, 7));
    EXPECT_EQ(&bytes, &A::Fill(bytes, 1, 8));
    EXPECT_EQ(bytes + 1, A::Fill(bytes + 1, 1, 9));
    EXPECT_EQ(8, bytes[0]);
    EXPECT_EQ(9, bytes[1]);
    EXPECT_EQ(0xCD, bytes[2]);
}

TEST(FixedBlockAllocator, ListHeadsMayBePointersOfAnyType) {
    struct Node {
        Node* previous;
        Node* next;
    };
    const auto use = [](auto* head, std::uint64_t size) {
        const auto added = A::AddPage(head, size);
        ASSERT_NE(nullptr, added);
        EXPECT_EQ(head, added);
        void* const first = A::Allocate(head);
        EXPECT_EQ(Address(added), Address(first));
        EXPECT_EQ(Address(first) + size, Address(head));
        void* const second = A::Allocate(head);
        A::Free(head, first);
        EXPECT_EQ(Address(first), Address(head));
        A::Free(head, second); // the page goes, and the list with it
        EXPECT_EQ(nullptr, head);
    };
    use(static_cast<void*>(nullptr), 16);
    use(static_cast<Node*>(nullptr), 48);
    use(static_cast<unsigned char*>(nullptr), 100);
    EXPECT_EQ("", FindInconsistency({}));
    // Without memory such a list stays what it is.
    Caller caller = PageCaller();
    while (A::PagePool.head != nullptr || A::GroupCount == 0)
        Take(caller);
    const std::uint64_t pageSize = A::PageSize;
    A::PageSize = std::uint64_t{1} << 50;
    Node last{};
    Node* list = &last;
    EXPECT_EQ(nullptr, A::AddPage(list, sizeof(Node)));
    EXPECT_EQ(&last, list);
    A::PageSize = pageSize;
    GiveAll(caller);
}

TEST(FixedBlockAllocator, StaysConsistentUnderRandomUseByManyCallers) {
    // Phases of growth and of decay, so that pages and groups come and go.
    std::mt19937 random(20240229);
    std::vector<Caller> callers(7);
    const std::uint64_t sizes[] = {1, 16, 24, 40, 100, 333, 1500};
    for (std::size_t index = 0; index < callers.size(); ++index)
        callers[index].blockSize = sizes[index];
    int mostGroups = 0;
    for (int step = 0; step < 60000; ++step) {
        Caller& caller = callers[random() % callers.size()];
        const bool growing = step / 6000 % 2 == 0;
        if (!caller.held.empty() && random() % 10 < (growing ? 4u : 6u)) {
            Give(caller, random() % caller.held.size());
        } else {
            ASSERT_NE(nullptr, Take(caller));
        }
        mostGroups = std::max(mostGroups, A::GroupCount);
        if (step % 500 == 0) {
            ASSERT_EQ("", FindInconsistency(callers)) << "step " << step;
        }
    }
    EXPECT_GT(mostGroups, 3);
    for (Caller& caller : callers) {
        std::shuffle(caller.held.begin(), caller.held.end(), random);
        GiveAll(caller);
        EXPECT_EQ("", FindInconsistency(callers));
    }
    EXPECT_EQ(1, A::GroupCount);
}

} // namespace
