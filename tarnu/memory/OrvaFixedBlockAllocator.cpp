#include "tarnu/memory/OrvaFixedBlockAllocator.h"

#include "tarnu/memory/PagePoolInternal.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

using tarnu::support::AddressOf;
using tarnu::support::pageHeaderSize;

namespace {

OrvaFixedBlockAllocator::PageHeader* PageOf(const void* block) noexcept {
    return reinterpret_cast<OrvaFixedBlockAllocator::PageHeader*>(AddressOf(block) & OrvaFixedBlockAllocator::PageMask);
}

} // namespace

constinit std::uint64_t OrvaFixedBlockAllocator::PageSize = 4096;
// Patterns of 32 bits until the start-up below replaces them.
constinit std::uint64_t OrvaFixedBlockAllocator::PageMask = 0xFFFFF000;
constinit std::uint64_t OrvaFixedBlockAllocator::GroupMask = 0xFFFF0000;
constinit int OrvaFixedBlockAllocator::GroupCount = 0;

namespace {

/// Asks the system for its page size and allocation granularity when the library is loaded.
const struct StartUp {
    StartUp() noexcept {
        SYSTEM_INFO system{};
        ::GetSystemInfo(&system);
        OrvaFixedBlockAllocator::PageSize = system.dwPageSize;
        OrvaFixedBlockAllocator::PageMask = 0 - std::uint64_t{system.dwPageSize};
        OrvaFixedBlockAllocator::GroupMask = 0 - std::uint64_t{system.dwAllocationGranularity};
    }
} startUp;

} // namespace

OrvaFixedBlockAllocator::FreeBlock* OrvaFixedBlockAllocator::AddPage(FreeBlock*& head,
                                                                     const std::uint64_t& blockSize) noexcept {
    const std::uint64_t size = std::max<std::uint64_t>(blockSize, sizeof(FreeBlock));
    const std::uint64_t count = (PageSize - pageHeaderSize) / size;
    void* const memory = tarnu::support::TakePage();
    if (memory == nullptr) return nullptr;
    *static_cast<PageHeader*>(memory) = {count, size, 0};

    std::byte* const start = static_cast<std::byte*>(memory) + pageHeaderSize;
    FreeBlock* const first = reinterpret_cast<FreeBlock*>(start);
    first->previous = nullptr;
    FreeBlock* last = first;
    for (std::uint64_t index = 1; index < count; ++index) {
        FreeBlock* const block = reinterpret_cast<FreeBlock*>(start + index * size);
        last->next = block;
        block->previous = last;
        last = block;
    }
    last->next = head;
    if (head != nullptr) head->previous = last;
    head = first;
    return first;
}

void* OrvaFixedBlockAllocator::Allocate(FreeBlock*& head) noexcept {
    FreeBlock* const block = head;
    FreeBlock* const next = block->next;
    head = next;
    if (next != nullptr) next->previous = nullptr;
    block->next = nullptr;
    ++PageOf(block)->used;
    return block;
}

void OrvaFixedBlockAllocator::Free(FreeBlock*& head, void* block) noexcept {
    FreeBlock* const freed = static_cast<FreeBlock*>(block);
    FreeBlock* const next = head;
    freed->next = next;
    freed->previous = nullptr;
    if (next != nullptr) next->previous = freed;
    head = freed;
    PageHeader* const page = PageOf(freed);
    if (--page->used == 0) [[unlikely]]
        tarnu::support::RetirePage(head, page);
}

void*& OrvaFixedBlockAllocator::Fill(void*& destination, const std::uint64_t& count,
                                     const unsigned char& value) noexcept {
    if (count != 0) std::memset(destination, value, count);
    return destination;
}
