#include "tarnu/memory/PagePoolInternal.h"

#include <cstddef>
#include <new>

using tarnu::support::AddressOf;

namespace {

using Allocator = OrvaFixedBlockAllocator;
using FreeBlock = Allocator::FreeBlock;
using FreePage = Allocator::FreePage;
using PageHeader = Allocator::PageHeader;

constexpr std::uint64_t pagesPerGroup = 16;

static_assert(sizeof(PageHeader) == 24);
static_assert(sizeof(FreeBlock) == 16 && alignof(FreeBlock) == 1);

/// Memory for the nodes of the group map straight from the system: no operation of the allocator calls a heap.
class VirtualMemory : public std::pmr::memory_resource {
    void* do_allocate(std::size_t bytes, std::size_t) override {
        void* memory = ::VirtualAlloc(nullptr, bytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
        if (memory == nullptr) throw std::bad_alloc();
        return memory;
    }
    void do_deallocate(void* memory, std::size_t, std::size_t) override { ::VirtualFree(memory, 0, MEM_RELEASE); }
    bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override { return this == &other; }
};

// Entries of the map are never erased, so their memory only grows. Order: the map's memory must outlive the map.
VirtualMemory virtualMemory;
std::pmr::monotonic_buffer_resource nodeMemory(0x10000 - 0x100, &virtualMemory);

FreePage* PageAt(void* group, std::uint64_t index) noexcept {
    return reinterpret_cast<FreePage*>(static_cast<std::byte*>(group) + index * Allocator::PageSize);
}

/// Reserves a group for the pool, which is empty; without memory nothing changes.
void ReserveGroup() noexcept {
    // Data pages are expected to be writable only; these are executable too: hosts rely on running code that they
    // place in blocks.
    void* const group =
        ::VirtualAlloc(nullptr, Allocator::PageSize * pagesPerGroup, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE);
    if (group == nullptr) return;
    try {
        Allocator::PagePool.groupUse[AddressOf(group)] = 0;
    } catch (const std::bad_alloc&) {
        ::VirtualFree(group, 0, MEM_RELEASE);
        return;
    }
    FreePage* previous = nullptr;
    for (std::uint64_t index = 0; index < pagesPerGroup; ++index) {
        FreePage* const page = PageAt(group, index);
        page->previous = previous;
        if (previous != nullptr) previous->next = page;
        previous = page;
    }
    previous->next = nullptr;
    Allocator::PagePool.head = PageAt(group, 0);
    ++Allocator::GroupCount;
}

void ReleaseGroup(void* group) noexcept {
    FreePage*& head = Allocator::PagePool.head;
    for (std::uint64_t index = 0; index < pagesPerGroup; ++index) {
        const FreePage* const page = PageAt(group, index);
        if (page == head) {
            // The new head keeps its previous link, which now names released memory: nothing follows a head's previous
            // link, and the next page pushed or popped overwrites it.
            head = page->next;
            continue;
        }
        page->previous->next = page->next;
        if (page->next != nullptr) page->next->previous = page->previous;
    }
    ::VirtualFree(group, 0, MEM_RELEASE);
    --Allocator::GroupCount;
}

void GiveBackPage(void* memory) noexcept {
    FreePage*& head = Allocator::PagePool.head;
    FreePage* const page = static_cast<FreePage*>(memory);
    page->next = head;
    page->previous = nullptr;
    if (head != nullptr) head->previous = page;
    head = page;
    const std::uint64_t group = AddressOf(page) & Allocator::GroupMask;
    std::uint32_t& use = Allocator::PagePool.groupUse.find(group)->second;
    if (--use == 0 && Allocator::GroupCount > 1) ReleaseGroup(reinterpret_cast<void*>(group));
}

} // namespace

OrvaFixedBlockAllocator::PagePoolState OrvaFixedBlockAllocator::PagePool{
    nullptr, std::pmr::map<std::uint64_t, std::uint32_t>(&nodeMemory)};

void* tarnu::support::TakePage() noexcept {
    FreePage*& head = Allocator::PagePool.head;
    if (head == nullptr) ReserveGroup();
    FreePage* const page = head;
    if (page == nullptr) return nullptr;
    head = page->next;
    if (head != nullptr) head->previous = nullptr;
    page->next = nullptr;
    ++Allocator::PagePool.groupUse.find(AddressOf(page) & Allocator::GroupMask)->second;
    return page;
}

void tarnu::support::RetirePage(FreeBlock*& head, PageHeader* page) noexcept {
    std::byte* block = reinterpret_cast<std::byte*>(page) + tarnu::support::pageHeaderSize;
    const std::uint64_t size = page->blockSize;
    for (std::uint64_t count = page->blockCount; count > 0; --count, block += size) {
        FreeBlock* const free = reinterpret_cast<FreeBlock*>(block);
        FreeBlock* const previous = free->previous;
        FreeBlock* const next = free->next;
        if (free == head) {
            head = next;
        } else {
            previous->next = next;
        }
        if (next != nullptr) next->previous = previous;
        free->previous = nullptr;
        free->next = nullptr;
    }
    GiveBackPage(page);
}
