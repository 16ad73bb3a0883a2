// The fixed-block allocator: a million blocks taken and returned in several orders, from no memory and back to none.

#include "bench/Harness.h"

#include "tarnu/memory/OrvaFixedBlockAllocator.h"
#include "tarnu/memory/OrvaFixedBlockPool.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <memory_resource>
#include <numeric>
#include <random>
#include <utility>

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

/// The limit: a list through the free blocks and nothing else. Like the library it begins without memory, takes it from
/// the system in portions of 64 KiB, and gives it back.
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

/// The same with its memory kept from turn to turn, so that the system has no part in it.
struct KeepingFreeList : FreeList {
    void EndTurn() {}
};

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

struct Orders {
    explicit Orders(std::uint64_t count) : ascending(count), shuffled(count), sizes(count), oneSize(count, 1) {
        std::iota(ascending.begin(), ascending.end(), 0u);
        shuffled = ascending;
        std::mt19937 engine(20);
        for (std::size_t index = shuffled.size(); index > 1; --index)
            std::swap(shuffled[index - 1], shuffled[engine() % index]);
        for (std::uint8_t& size : sizes)
            size = static_cast<std::uint8_t>(engine() % sizeCount);
    }
    std::uint64_t Count() const { return ascending.size(); }

    std::vector<std::uint32_t> ascending, shuffled; ///< in which blocks are returned
    std::vector<std::uint8_t> sizes, oneSize;       ///< of the blocks, as indices
};

/// One allocator and the blocks that its user has in hand.
template <class Allocator>
struct Contestant {
    Allocator allocator;
    std::vector<std::uint64_t*> blocks;

    /// Takes a block, and writes to it as its user would.
    void Take(const std::vector<std::uint8_t>& sizes, std::size_t index) {
        blocks[index] = static_cast<std::uint64_t*>(allocator.Take(sizes[index]));
        *blocks[index] = index;
    }
    std::uint64_t Give(const std::vector<std::uint8_t>& sizes, std::size_t index) {
        const std::uint64_t content = *blocks[index];
        allocator.Give(blocks[index], sizes[index]);
        return content;
    }
    void TakeAll(const std::vector<std::uint8_t>& sizes) {
        blocks.resize(sizes.size());
        for (std::size_t index = 0; index < sizes.size(); ++index)
            Take(sizes, index);
    }
    std::uint64_t TakeAndGiveAll(const std::vector<std::uint8_t>& sizes, const std::vector<std::uint32_t>& order,
                                 bool isReverse) {
        TakeAll(sizes);
        std::uint64_t sum = 0;
        for (std::size_t index = 0; index < order.size(); ++index)
            sum += Give(sizes, order[isReverse ? order.size() - 1 - index : index]);
        allocator.EndTurn();
        return sum;
    }
};

struct Contestants {
    Contestant<FreeList> freeList;
    Contestant<KeepingFreeList> keeping;
    Contestant<Library> library;
    Contestant<Malloc> malloc;
    Contestant<SystemHeap> heap;
    Contestant<PoolResource> pool;
};

/// A case in which every contestant takes its blocks of these sizes and returns them in this order.
Case& AddTurn(Subject& subject, Contestants& contestants, const char* name, double goal,
              const std::vector<std::uint8_t>& sizes, const std::vector<std::uint32_t>& order, bool isReverse) {
    const auto turn = [&sizes, &order, isReverse](auto& contestant) -> Work {
        return [&contestant, &sizes, &order, isReverse] { return contestant.TakeAndGiveAll(sizes, order, isReverse); };
    };
    return subject.AddCase(name, "block", order.size())
        .Limit("free list", turn(contestants.freeList))
        .Library("OrvaFixedBlockAllocator", turn(contestants.library))
        .Peer("free list that keeps its memory", turn(contestants.keeping))
        .Peer("std::pmr pool", turn(contestants.pool))
        .Peer("malloc", turn(contestants.malloc))
        .Peer("HeapAlloc", turn(contestants.heap))
        .Goal(goal)
        .Rounds(3);
}

/// All blocks stay in hand, but each in random order is returned and another one taken.
void AddChurn(Subject& subject, Contestants& contestants, const Orders& orders) {
    Case& churn = subject.AddCase("churn: 1M live, each returned and another taken", "block", orders.Count());
    const auto work = [&orders](auto& contestant) -> Work {
        return [&contestant, &orders] {
            std::uint64_t sum = 0;
            for (const std::uint32_t index : orders.shuffled) {
                sum += contestant.Give(orders.oneSize, index);
                contestant.Take(orders.oneSize, index);
            }
            return sum;
        };
    };
    const auto prepare = [&orders](auto& contestant) -> tarnu::bench::Preparation {
        return [&contestant, &orders, isFilled = false]() mutable {
            if (!std::exchange(isFilled, true)) contestant.TakeAll(orders.oneSize);
        };
    };
    churn.Limit("free list", work(contestants.freeList), prepare(contestants.freeList))
        .Library("OrvaFixedBlockAllocator", work(contestants.library), prepare(contestants.library))
        .Peer("std::pmr pool", work(contestants.pool), prepare(contestants.pool))
        .Peer("malloc", work(contestants.malloc), prepare(contestants.malloc))
        .Peer("HeapAlloc", work(contestants.heap), prepare(contestants.heap))
        .Goal(1.7)
        .Rounds(3);
}

struct Object {
    std::uint64_t content[4];
};

/// One block at a time is in hand: each return gives back the last one.
void AddSingle(Subject& subject, Contestants& contestants, tarnu::OrvaFixedBlockPool<Object>& pool) {
    constexpr std::uint64_t count = 2'000'000;
    const auto single = [](auto& contestant) -> Work {
        return [&contestant] {
            std::uint64_t sum = 0;
            for (std::uint64_t turn = 0; turn < count; ++turn) {
                auto* const block = static_cast<std::uint64_t*>(contestant.allocator.Take(1));
                *block = turn;
                sum += *static_cast<volatile std::uint64_t*>(block);
                contestant.allocator.Give(block, 1);
            }
            return sum;
        };
    };
    subject.AddCase("one block taken and returned for ever", "block", count)
        .Limit("free list", single(contestants.freeList))
        .Library("OrvaFixedBlockPool",
                 [&pool] {
                     std::uint64_t sum = 0;
                     for (std::uint64_t turn = 0; turn < count; ++turn) {
                         Object* const object = pool.New();
                         object->content[0] = turn;
                         sum += *static_cast<volatile std::uint64_t*>(object->content);
                         pool.Delete(object);
                     }
                     return sum;
                 })
        .Peer("std::pmr pool", single(contestants.pool))
        .Peer("malloc", single(contestants.malloc))
        .Peer("OrvaFixedBlockAllocator alone", single(contestants.library))
        .Goal(3)
        .Rounds(3);
}

} // namespace

int main() {
    Contestants contestants;
    tarnu::OrvaFixedBlockPool<Object> pool;
    const Orders orders(blockCount);
    Subject subject("Block allocator: 1M blocks of 32 bytes, from no memory and back to none");
    AddTurn(subject, contestants, "LIFO: returned in reverse", 1.3, orders.oneSize, orders.ascending, true);
    AddTurn(subject, contestants, "FIFO: returned in order", 1.3, orders.oneSize, orders.ascending, false);
    AddTurn(subject, contestants, "random: returned in random order", 1.7, orders.oneSize, orders.shuffled, false);
    AddTurn(subject, contestants, "16 sizes: 16 to 256 bytes, returned in order", 1.7, orders.sizes, orders.ascending,
            false);
    AddSingle(subject, contestants, pool);
    AddChurn(subject, contestants, orders); // the last one: its blocks stay in hand
    subject.AddGrowth("random order", "block", 20'000, [&contestants](std::uint64_t count) -> Work {
        const auto grown = std::make_shared<Orders>(count);
        return [grown, &library = contestants.library] {
            return library.TakeAndGiveAll(grown->oneSize, grown->shuffled, /*isReverse=*/false);
        };
    });
    return subject.Run();
}
