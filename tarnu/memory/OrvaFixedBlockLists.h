/// @file
/// tarnu::OrvaFixedBlockLists: one fixed-block list per size, for containers whose node type is their own.
#ifndef TARNU_MEMORY_ORVAFIXEDBLOCKLISTS_H
#define TARNU_MEMORY_ORVAFIXEDBLOCKLISTS_H

#include "tarnu/memory/OrvaFixedBlockList.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace tarnu {

/// Fixed-block lists of all sizes that fit into a page, each created when it is first asked for. Sizes are rounded up
/// to multiples of 8 bytes.
///
/// Threads: as OrvaFixedBlockAllocator, one thread for everything, or all calls serialised.
/// Ownership: blocks must be back before the object is destroyed.
class OrvaFixedBlockLists {
public:
    /// The largest size that is served, in bytes.
    static constexpr std::size_t maxSize = 4096 - sizeof(OrvaFixedBlockAllocator::PageHeader);

    OrvaFixedBlockLists() noexcept = default;
    OrvaFixedBlockLists(const OrvaFixedBlockLists&) = delete;
    OrvaFixedBlockLists& operator=(const OrvaFixedBlockLists&) = delete;

    /// A block of at least @p size bytes (at most maxSize), aligned to 8, or null when the system has no memory left.
    /// Throws std::bad_alloc when the bookkeeping of a size that is new finds none.
    /// @param size bytes, at most maxSize
    /// @return the block
    [[nodiscard]] void* TryAllocate(std::size_t size) {
        const std::size_t index = IndexOf(size);
        if (index >= m_lists.size()) m_lists.resize(index + 1);
        if (m_lists[index] == nullptr) m_lists[index] = std::make_unique<OrvaFixedBlockList>((index + 1) * unit);
        return m_lists[index]->TryAllocate();
    }
    /// Takes back a block.
    /// @param block what TryAllocate returned, not null
    /// @param size  the size it was asked for
    void Free(void* block, std::size_t size) noexcept { m_lists[IndexOf(size)]->Free(block); }

private:
    static constexpr std::size_t unit = 8;
    static constexpr std::size_t IndexOf(std::size_t size) noexcept { return size == 0 ? 0 : (size - 1) / unit; }

    std::vector<std::unique_ptr<OrvaFixedBlockList>> m_lists; ///< element i serves blocks of 8 (i + 1) bytes
};

} // namespace tarnu

#endif // TARNU_MEMORY_ORVAFIXEDBLOCKLISTS_H
