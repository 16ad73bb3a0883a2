/// @file
/// The page pool behind OrvaFixedBlockAllocator: what happens once per page rather than once per block.
#ifndef TARNU_MEMORY_PAGEPOOLINTERNAL_H
#define TARNU_MEMORY_PAGEPOOLINTERNAL_H

#include "tarnu/memory/OrvaFixedBlockAllocator.h"

#include <cstdint>

namespace tarnu::support {

/// Bytes in front of a page's first block.
constexpr std::uint64_t pageHeaderSize = sizeof(OrvaFixedBlockAllocator::PageHeader);

inline std::uint64_t AddressOf(const void* pointer) noexcept {
    return reinterpret_cast<std::uintptr_t>(pointer);
}

/// A page of the pool, which reserves a group when it has none; null when the system has no memory left.
void* TakePage() noexcept;

/// Takes all blocks of a wholly free page out of the list and gives the page back to the pool. Not inlined into Free,
/// which then needs no stack frame.
void RetirePage(OrvaFixedBlockAllocator::FreeBlock*& head, OrvaFixedBlockAllocator::PageHeader* page) noexcept;

} // namespace tarnu::support

#endif // TARNU_MEMORY_PAGEPOOLINTERNAL_H
