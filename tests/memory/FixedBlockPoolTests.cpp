#include "tarnu/memory/OrvaFixedBlockPool.h"
#include "tarnu/memory/OrvaFixedBlockStdAllocator.h"

#include <array>
#include <gtest/gtest.h>
#include <list>
#include <map>
#include <numeric>
#include <stdexcept>
#include <string>
#include <unordered_map>

namespace {

using A = OrvaFixedBlockAllocator;

std::uint32_t PagesInUse() {
    std::uint32_t pages = 0;
    for (const auto& entry : A::PagePool.groupUse)
        pages += entry.second;
    return pages;
}

/// While it lives, the system refuses every new group; pages that the pool holds are taken away first.
class NoMemory {
public:
    NoMemory() : m_pool(A::PagePool.head), m_pageSize(A::PageSize) {
        A::PagePool.head = nullptr;
        A::PageSize = std::uint64_t{1} << 50;
    }
    ~NoMemory() {
        A::PageSize = m_pageSize;
        A::PagePool.head = m_pool;
    }
    NoMemory(const NoMemory&) = delete;
    NoMemory& operator=(const NoMemory&) = delete;

private:
    A::FreePage* m_pool;
    std::uint64_t m_pageSize;
};

struct Counted {
    static inline int alive = 0;
    explicit Counted(int value) : number(value) {
        if (value < 0) throw std::invalid_argument("negative");
        ++alive;
    }
    ~Counted() { --alive; }
    int number;
    char rest[16] = {};
};

TEST(FixedBlockPool, ConstructsAlignedObjectsAndDestroysThem) {
    const std::uint32_t before = PagesInUse();
    {
        tarnu::OrvaFixedBlockPool<Counted> pool;
        EXPECT_EQ(before, PagesInUse()); // nothing is taken before it is needed
        std::vector<Counted*> objects;
        for (int number = 0; number < 1000; ++number) {
            objects.push_back(pool.New(number));
            EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(objects.back()) % 8);
        }
        EXPECT_EQ(1000, Counted::alive);
        for (int number = 0; number < 1000; ++number)
            EXPECT_EQ(number, objects[static_cast<std::size_t>(number)]->number);
        for (Counted* object : objects)
            pool.Delete(object);
        pool.Delete(nullptr);
        EXPECT_EQ(0, Counted::alive);
        EXPECT_EQ(before + 1, PagesInUse()); // the latest page stays
    }
    EXPECT_EQ(before, PagesInUse());
}

TEST(FixedBlockPool, AConstructorsExceptionFreesTheBlock) {
    tarnu::OrvaFixedBlockPool<Counted> pool;
    Counted* const first = pool.New(1);
    EXPECT_THROW((void)pool.TryNew(-1), std::invalid_argument);
    EXPECT_EQ(1, Counted::alive);
    Counted* const second = pool.New(2);
    EXPECT_EQ(reinterpret_cast<char*>(first) + 24, reinterpret_cast<char*>(second)); // the very block
    pool.Delete(first);
    pool.Delete(second);
}

TEST(FixedBlockPool, ABlockTakenAndReturnedKeepsItsPage) {
    using Block = std::array<char, 1000>; // four to a page
    tarnu::OrvaFixedBlockPool<Block> pool;
    std::vector<Block*> blocks;
    // At every fill level, also right at a page boundary, taking and returning a block moves no page.
    for (int level = 0; level < 12; ++level) {
        pool.Delete(pool.New());
        const std::uint32_t pages = PagesInUse();
        const A::FreePage* const head = A::PagePool.head;
        for (int repeat = 0; repeat < 3; ++repeat) {
            pool.Delete(pool.New());
            EXPECT_EQ(pages, PagesInUse());
            EXPECT_EQ(head, A::PagePool.head);
        }
        blocks.push_back(pool.New());
    }
    for (Block* block : blocks)
        pool.Delete(block);
}

TEST(FixedBlockPool, ExhaustionIsNullOrBadAlloc) {
    using Block = std::array<char, 1000>;
    tarnu::OrvaFixedBlockPool<Block> pool;
    std::vector<Block*> blocks{pool.New()};
    {
        const NoMemory noMemory;
        for (Block* block = pool.TryNew(); block != nullptr; block = pool.TryNew())
            blocks.push_back(block);
        EXPECT_EQ(4u, blocks.size()); // the kept block was handed out at last
        EXPECT_THROW((void)pool.New(), std::bad_alloc);
        EXPECT_EQ(nullptr, pool.TryNew());
    }
    blocks.push_back(pool.New());
    for (Block* block : blocks)
        pool.Delete(block);
}

template <class T>
using StdAllocator = tarnu::OrvaFixedBlockStdAllocator<T>;

TEST(FixedBlockStdAllocator, ServesStandardContainers) {
    const std::uint32_t before = PagesInUse();
    {
        tarnu::OrvaFixedBlockLists blocks;
        std::list<int, StdAllocator<int>> list(blocks);
        std::map<int, std::wstring, std::less<>, StdAllocator<std::pair<const int, std::wstring>>> map{
            StdAllocator<std::pair<const int, std::wstring>>(blocks)};
        std::unordered_map<int, int, std::hash<int>, std::equal_to<>, StdAllocator<std::pair<const int, int>>> hash{
            StdAllocator<std::pair<const int, int>>(blocks)};
        for (int number = 1; number <= 5000; ++number) {
            list.push_front(number);
            map[number] = std::to_wstring(number);
            hash[number] = -number;
        }
        EXPECT_GT(PagesInUse(), before + 50);
        EXPECT_EQ(5000 * 5001 / 2, std::accumulate(list.begin(), list.end(), 0));
        EXPECT_EQ(L"4711", map.at(4711));
        EXPECT_EQ(-4711, hash.at(4711));

        // Two containers of one set of lists splice and swap; a move takes the nodes along.
        std::list<int, StdAllocator<int>> other(blocks);
        other.push_back(7);
        other.splice(other.end(), list);
        EXPECT_EQ(5001u, other.size());
        const std::list<int, StdAllocator<int>> moved(std::move(other));
        EXPECT_EQ(7, moved.front());

        tarnu::OrvaFixedBlockLists foreign;
        EXPECT_FALSE(StdAllocator<int>(foreign) == list.get_allocator());
        EXPECT_TRUE(StdAllocator<long>(blocks) == list.get_allocator());
        std::list<int, StdAllocator<int>> assigned(foreign);
        assigned = moved; // copies into its own blocks
        EXPECT_EQ(moved.size(), assigned.size());
        EXPECT_TRUE(assigned.get_allocator() == StdAllocator<int>(foreign));
    }
    EXPECT_EQ(before, PagesInUse());
}

TEST(FixedBlockStdAllocator, ExhaustionAndOddSizes) {
    tarnu::OrvaFixedBlockLists blocks;
    struct Huge {
        char bytes[8000];
    };
    struct alignas(32) Aligned {
        char bytes[32];
    };
    StdAllocator<Huge> huge(blocks);
    StdAllocator<Aligned> aligned(blocks);
    const std::uint32_t before = PagesInUse();
    Huge* const large = huge.allocate(1);
    Aligned* const strict = aligned.allocate(1);
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(strict) % 32);
    EXPECT_EQ(before, PagesInUse());
    huge.deallocate(large, 1);
    aligned.deallocate(strict, 1);

    const NoMemory noMemory;
    StdAllocator<int> numbers(blocks);
    EXPECT_THROW((void)numbers.allocate(1), std::bad_alloc);
    int* const array = numbers.allocate(3); // not from blocks
    numbers.deallocate(array, 3);
}

} // namespace
