/// @file
/// OrvaFixedBlockAllocator: blocks of one size out of pages that a process-wide pool takes from the system.
#ifndef TARNU_MEMORY_ORVAFIXEDBLOCKALLOCATOR_H
#define TARNU_MEMORY_ORVAFIXEDBLOCKALLOCATOR_H

#include "tarnu/framework/framework.h"

#include <cstdint>
#include <map>
#include <memory_resource>
#include <type_traits>
#include <utility>

/// Carves pages into blocks for any number of callers. Each caller keeps a free-block list head (null at first) and a
/// block size, and passes both to every call; everything else is process-wide.
///
/// Threads: nothing is locked. Pool, counts and lists belong to one thread, or the callers serialise all calls.
/// Ownership: a block belongs to whoever allocated it until it is given to Free with the list it came from. Pages go
/// back to the pool, and groups of 16 pages to the system, by themselves.
///
///     OrvaFixedBlockAllocator::FreeBlock* list = nullptr;
///     const std::uint64_t size = sizeof(Node);
///     if (list == nullptr && OrvaFixedBlockAllocator::AddPage(list, size) == nullptr) return E_OUTOFMEMORY;
///     void* node = OrvaFixedBlockAllocator::Allocate(list);
///     OrvaFixedBlockAllocator::Free(list, node);
class TARNU_API OrvaFixedBlockAllocator {
public:
    /// A page in the pool.
    struct FreePage {
        FreePage* previous; ///< null in the first
        FreePage* next;     ///< null in the last
    };
    /// The start of a page in use; its blocks follow back to back.
    struct PageHeader {
        std::uint64_t blockCount; ///< blocks in this page
        std::uint64_t blockSize;  ///< bytes of each
        std::uint32_t used;       ///< blocks handed out
    };
#pragma pack(push, 1) // a block starts wherever its size puts it: 100-byte blocks leave the links at 4-byte boundaries
    /// A block in a caller's list.
    struct FreeBlock {
        FreeBlock* previous; ///< null in the first
        FreeBlock* next;     ///< null in the last
    };
#pragma pack(pop)
    /// The free pages of all groups.
    struct PagePoolState {
        FreePage* head; ///< null when there is none
        /// Pages handed out, by their group's start address. A released group keeps its entry, with count 0.
        std::pmr::map<std::uint64_t, std::uint32_t> groupUse;
    };

    static std::uint64_t PageSize;  ///< the system's page size, in bytes
    static std::uint64_t PageMask;  ///< an address and this mask give its page's start
    static std::uint64_t GroupMask; ///< an address and this mask give its group's start
    static int GroupCount;          ///< groups reserved now
    static PagePoolState PagePool;  ///< pages of the process

    /// Carves one page into blocks and puts them, in ascending address order, in front of the list.
    /// @param head the caller's list
    /// @param blockSize bytes of a block, at most PageSize - 24; fewer than 16 count as 16
    /// @return the new head, or null (and nothing changed) when the system has no memory left
    static FreeBlock* AddPage(FreeBlock*& head, const std::uint64_t& blockSize) noexcept;

    /// Removes the first block from the list.
    /// @param head the caller's list, not empty
    /// @return the block, its content undefined; the caller's until Free
    static void* Allocate(FreeBlock*& head) noexcept;

    /// Puts a block at the head of the list it was allocated from. When it was the last one of its page that was in
    /// use, all blocks of that page leave the list and the page goes back to the pool.
    /// @param head  the caller's list
    /// @param block neither checked for its origin nor for being free already; both corrupt the lists
    static void Free(FreeBlock*& head, void* block) noexcept;

    /// Sets bytes to a value.
    /// @param destination where they begin; null only with a count of 0
    /// @param count       bytes
    /// @param value       of each
    /// @return @p destination
    static void*& Fill(void*& destination, const std::uint64_t& count, const unsigned char& value) noexcept;

    /// AddPage for a list head that the caller keeps as a pointer of another type.
    /// @param head,blockSize as there
    /// @return as there
    template <class Block>
    static Block* AddPage(Block*& head, const std::uint64_t& blockSize) noexcept {
        FreeBlock* list = reinterpret_cast<FreeBlock*>(head);
        const FreeBlock* const first = AddPage(list, blockSize);
        head = reinterpret_cast<Block*>(list);
        return first != nullptr ? head : nullptr;
    }
    /// Allocate for a list head that the caller keeps as a pointer of another type.
    /// @param head as there
    /// @return as there
    template <class Block>
    static void* Allocate(Block*& head) noexcept {
        FreeBlock* list = reinterpret_cast<FreeBlock*>(head);
        void* const block = Allocate(list);
        head = reinterpret_cast<Block*>(list);
        return block;
    }
    /// Free for a list head that the caller keeps as a pointer of another type.
    /// @param head,block as there
    template <class Block>
    static void Free(Block*& head, void* block) noexcept {
        FreeBlock* list = reinterpret_cast<FreeBlock*>(head);
        Free(list, block);
        head = reinterpret_cast<Block*>(list);
    }
    /// Fill for a destination that the caller keeps as a pointer of another type.
    /// @param destination,count,value as there
    /// @return @p destination
    template <class Pointer>
    requires std::is_convertible_v<Pointer, void*>
    static Pointer&& Fill(Pointer&& destination, const std::uint64_t& count, const unsigned char& value) noexcept {
        void* bytes = destination;
        Fill(bytes, count, value);
        return std::forward<Pointer>(destination);
    }
};

#endif // TARNU_MEMORY_ORVAFIXEDBLOCKALLOCATOR_H
