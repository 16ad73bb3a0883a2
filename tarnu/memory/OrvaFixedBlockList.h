/// @file
/// tarnu::OrvaFixedBlockList: a caller's list and block size for the fixed-block allocator, in one object.
#ifndef TARNU_MEMORY_ORVAFIXEDBLOCKLIST_H
#define TARNU_MEMORY_ORVAFIXEDBLOCKLIST_H

#include "tarnu/memory/OrvaFixedBlockAllocator.h"

#include <cstdint>
#include <utility>

namespace tarnu {

/// Hands out untyped blocks of one size and adds pages as they are needed.
///
/// It keeps one block of its latest page for itself, so that a page is not taken from the pool and given back again
/// for every block at a page boundary; the block is the last one to be handed out when memory ends.
///
/// Threads: as OrvaFixedBlockAllocator, one thread for everything, or all calls serialised.
/// Ownership: blocks must be back before the list is destroyed; the page of one that is not stays in use for good.
class OrvaFixedBlockList {
public:
    /// @param blockSize bytes of a block, 1 to OrvaFixedBlockAllocator::PageSize - 24
    explicit OrvaFixedBlockList(std::uint64_t blockSize) noexcept : m_blockSize(blockSize) {}
    ~OrvaFixedBlockList() {
        if (m_kept != nullptr) OrvaFixedBlockAllocator::Free(m_head, m_kept);
    }
    OrvaFixedBlockList(const OrvaFixedBlockList&) = delete;
    OrvaFixedBlockList& operator=(const OrvaFixedBlockList&) = delete;

    /// @return the bytes of a block, as given
    std::uint64_t GetBlockSize() const noexcept { return m_blockSize; }

    /// Hands out a block.
    /// @return the block, its content undefined; null when the system has no memory left
    [[nodiscard]] void* TryAllocate() noexcept {
        if (m_head == nullptr && !AddPage()) return std::exchange(m_kept, nullptr);
        return OrvaFixedBlockAllocator::Allocate(m_head);
    }
    /// Takes back a block.
    /// @param block one of this list, not null
    void Free(void* block) noexcept { OrvaFixedBlockAllocator::Free(m_head, block); }

private:
    /// Moves the kept block to a fresh page.
    bool AddPage() noexcept {
        if (OrvaFixedBlockAllocator::AddPage(m_head, m_blockSize) == nullptr) return false;
        // A page of a single block has none to spare: keeping it would leave nothing to hand out.
        // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): the page's first block
        if (m_head->next == nullptr) return true;
        void* const kept = std::exchange(m_kept, OrvaFixedBlockAllocator::Allocate(m_head));
        if (kept != nullptr) OrvaFixedBlockAllocator::Free(m_head, kept);
        return true;
    }

    OrvaFixedBlockAllocator::FreeBlock* m_head = nullptr;
    std::uint64_t m_blockSize;
    void* m_kept = nullptr; ///< taken from the latest page, not handed out
};

} // namespace tarnu

#endif // TARNU_MEMORY_ORVAFIXEDBLOCKLIST_H
