// The fixed-block allocator: a million blocks taken and returned in several orders, from no memory and back to none.

#include "bench/Harness.h"

#include "tarnu/memory/OrvaFixedBlockAllocator.h"
#include "tarnu/memory/OrvaFixedBlockPool.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory_resource>
#include <numeric>
#include <random>

namespace {

using tarnu::bench::Case;
using tarnu::bench::Subject;
using tarnu::bench::Work;

constexpr std::uint64_t blockCount = 1'000'000;
constexpr std::size_t sizeCount = 16;

constexpr std::size_t SizeOf(std::size_t sizeIndex) {
    return 16 * (sizeIndex + 1);
}

// --- the contestants: Take a block of a size, Give it back, EndTurn with no block out
// ---------------------------------

/// The limit: a list through the free blocks and nothing else, with its memory from the system in the library's
/// portions.
class FreeList {
public:
    void* Take(std::size_t sizeIndex) { return take(*this, sizeIndex); }
    void Give(void* block, std::size_t sizeIndex) { give(*this, block, sizeIndex); }
    void EndTurn() {
        m_heads = {};
        for (void* portion : m_portions)
            ::VirtualFree(portion, 0, MEM_RELEASE);
        m_portions.clear();
    }

private:
    struct Block {
        Block* next;
    };
    static constexpr std::size_t portionSize = 0x10000;

    static void* DoTake(FreeList& list, std::size_t sizeIndex) {
        Block*& head = list.m_heads[sizeIndex];
        if (head == nullptr) list.AddPortion(head, SizeOf(sizeIndex));
        Block* const block = head;
        head = block->next;
        return block;
    }
    static void DoGive(FreeList& list, void* memory, std::size_t sizeIndex) {
        Block* const block = static_cast<Block*>(memory);
        block->next = list.m_heads[sizeIndex];
        list.m_heads[sizeIndex] = block;
    }
    void AddPortion(Block*& head, std::size_t size) {
        char* const portion =
            static_cast<char*>(::VirtualAlloc(nullptr, portionSize, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
        if (portion == nullptr) std::abort();
        m_portions.push_back(portion);
        for (std::size_t offset = portionSize / size * size; offset > 0; offset -= size) {
            Block* const block = reinterpret_cast<Block*>(portion + offset - size);
            block->next = head;
            head = block;
        }
    }

    // Through variable pointers: a library's function is called, not inlined.
    static void* (*volatile take)(FreeList&, std::size_t);
    static void (*volatile give)(FreeList&, void*, std::size_t);

    std::array<Block*, sizeCount> m_heads{};
    std::vector<void*> m_portions;
};
void* (*volatile FreeList::take)(FreeList&, std::size_t) = &FreeList::DoTake;
void (*volatile FreeList::give)(FreeList&, void*, std::size_t) = &FreeList::DoGive;

class Library {
public:
    void* Take(std::size_t sizeIndex) {
        OrvaFixedBlockAllocator::FreeBlock*& head = m_heads[sizeIndex];
        if (head == nullptr && OrvaFixedBlockAllocator::AddPage(head, SizeOf(sizeIndex)) == nullptr) std::abort();
        return OrvaFixedBlockAllocator::Allocate(head);
    }
    void Give(void* block, std::size_t sizeIndex) { OrvaFixedBlockAllocator::Free(m_heads[sizeIndex], block); }
    void EndTurn() {}

private:
    std::array<OrvaFixedBlockAllocator::FreeBlock*, sizeCount> m_heads{};
};

struct Malloc {
    void* Take(std::size_t sizeIndex) { return std::malloc(SizeOf(sizeIndex)); }
    void Give(void* block, std::size_t) { std::free(block); }
    void EndTurn() {}
};

struct SystemHeap {
    void* Take(std::size_t sizeIndex) { return ::HeapAlloc(m_heap, 0, SizeOf(sizeIndex)); }
    void Give(void* block, std::size_t) { ::HeapFree(m_heap, 0, block); }
    void EndTurn() {}

private:
    const HANDLE m_heap = ::GetProcessHeap();
};

class PoolResource {
public:
    void* Take(std::size_t sizeIndex) { return m_pool.allocate(SizeOf(sizeIndex), 8); }
    void Give(void* block, std::size_t sizeIndex) { m_pool.deallocate(block, SizeOf(sizeIndex), 8); }
    void EndTurn() { m_pool.release(); }

private:
    std::pmr::unsynchronized_pool_resource m_pool;
};

// --- the patterns ----------------------------------------------------------------------------------------------------

/// Blocks in hand, each with the index of its size.
struct Orders {
    explicit Orders(std::uint64_t count)
        : blocks(count), ascending(count), shuffled(count), sizes(count), oneSize(count, 1) {
        std::iota(ascending.begin(), ascending.end(), 0u);
        shuffled = ascending;
        std::mt19937 engine(20);
        for (std::size_t index = shuffled.size(); index > 1; --index)
            std::swap(shuffled[index - 1], shuffled[engine() % index]);
        for (std::uint8_t& size : sizes)
            size = static_cast<std::uint8_t>(engine() % sizeCount);
    }
    std::vector<std::uint64_t*> blocks;
    std::vector<std::uint32_t> ascending, shuffled;
    std::vector<std::uint8_t> sizes, oneSize;
};

/// Takes a block, and writes to it as its user would.
template <class Allocator>
void TakeAt(Allocator& allocator, Orders& orders, const std::vector<std::uint8_t>& sizes, std::size_t index) {
    orders.blocks[index] = static_cast<std::uint64_t*>(allocator.Take(sizes[index]));
    *orders.blocks[index] = index;
}

template <class Allocator>
std::uint64_t GiveAt(Allocator& allocator, Orders& orders, const std::vector<std::uint8_t>& sizes, std::size_t index) {
    const std::uint64_t content = *orders.blocks[index];
    allocator.Give(orders.blocks[index], sizes[index]);
    return content;
}

template <class Allocator>
std::uint64_t TakeAll(Allocator& allocator, Orders& orders, const std::vector<std::uint8_t>& sizes,
                      const std::vector<std::uint32_t>& giveOrder, bool reverse) {
    const std::size_t count = orders.blocks.size();
    for (std::size_t index = 0; index < count; ++index)
        TakeAt(allocator, orders, sizes, index);
    std::uint64_t sum = 0;
    for (std::size_t index = 0; index < count; ++index)
        sum += GiveAt(allocator, orders, sizes, giveOrder[reverse ? count - 1 - index : index]);
    allocator.EndTurn();
    return sum;
}

/// All blocks stay in hand, but each in random order is returned and taken anew, twice over.
template <class Allocator>
std::uint64_t Churn(Allocator& allocator, Orders& orders) {
    std::uint64_t sum = 0;
    for (int turn = 0; turn < 2; ++turn) {
        for (const std::uint32_t index : orders.shuffled) {
            sum += GiveAt(allocator, orders, orders.oneSize, index);
            TakeAt(allocator, orders, orders.oneSize, index);
        }
    }
    return sum;
}

struct Contestants {
    FreeList freeList;
    Library library;
    Malloc malloc;
    SystemHeap heap;
    PoolResource pool;
};

/// A case in which every contestant does what @p pattern says, after what @p prepare does.
template <class Pattern>
void AddCase(Subject& subject, Contestants& contestants, const char* name, std::uint64_t count, double goal,
             Pattern pattern) {
    subject.AddCase(name, "block", count)
        .Limit("intrusive free list", [&contestants, pattern] { return pattern(contestants.freeList); })
        .Library("OrvaFixedBlockAllocator", [&contestants, pattern] { return pattern(contestants.library); })
        .Peer("std::pmr pool", [&contestants, pattern] { return pattern(contestants.pool); })
        .Peer("malloc", [&contestants, pattern] { return pattern(contestants.malloc); })
        .Peer("HeapAlloc", [&contestants, pattern] { return pattern(contestants.heap); })
        .Goal(goal)
        .Rounds(9);
}

} // namespace

int main() {
    Contestants contestants;
    Orders orders(blockCount);
    Subject subject("Block allocator: 1M blocks of 32 bytes, from no memory and back to none");
    AddCase(subject, contestants, "LIFO: returned in reverse", blockCount, 1.3, [&](auto& allocator) {
        return TakeAll(allocator, orders, orders.oneSize, orders.ascending, /*reverse=*/true);
    });
    AddCase(subject, contestants, "FIFO: returned in order", blockCount, 1.3, [&](auto& allocator) {
        return TakeAll(allocator, orders, orders.oneSize, orders.ascending, /*reverse=*/false);
    });
    AddCase(subject, contestants, "random: returned in random order", blockCount, 1.7, [&](auto& allocator) {
        return TakeAll(allocator, orders, orders.oneSize, orders.shuffled, /*reverse=*/false);
    });
    AddCase(subject, contestants, "churn: 1M live, each returned and taken anew twice", 2 * blockCount, 1.7,
            [&](auto& allocator) {
                for (std::size_t index = 0; index < blockCount; ++index)
                    TakeAt(allocator, orders, orders.oneSize, index);
                const std::uint64_t sum = Churn(allocator, orders);
                for (std::size_t index = blockCount; index > 0; --index)
                    GiveAt(allocator, orders, orders.oneSize, index - 1);
                allocator.EndTurn();
                return sum;
            });
    AddCase(
        subject, contestants, "16 sizes: 16 to 256 bytes, returned in order", blockCount, 1.7,
        [&](auto& allocator) { return TakeAll(allocator, orders, orders.sizes, orders.ascending, /*reverse=*/false); });
    subject.AddGrowth("random order", "block", 20'000, [&](std::uint64_t count) -> Work {
        auto grown = std::make_shared<Orders>(count);
        return [grown, &contestants] {
            return TakeAll(contestants.library, *grown, grown->oneSize, grown->shuffled, /*reverse=*/false);
        };
    });
    return subject.Run();
}
