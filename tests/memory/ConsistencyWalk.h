/// @file
/// Walks the page pool and callers' lists and checks every link and count that the allocator's layout promises.
#ifndef TARNU_TESTS_MEMORY_CONSISTENCYWALK_H
#define TARNU_TESTS_MEMORY_CONSISTENCYWALK_H

#include "tarnu/memory/OrvaFixedBlockAllocator.h"

#include <cstdint>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace tarnu::test {

/// One caller of the allocator: its list, its size and the blocks that it holds.
struct Caller {
    OrvaFixedBlockAllocator::FreeBlock* head = nullptr;
    std::uint64_t blockSize = 0;
    std::vector<void*> held;
};

/// The first inconsistency found, in words; empty when there is none.
/// - The pool is a doubly linked list of distinct pages whose groups are reserved; the head's own previous link is
/// free.
/// - Each caller's list is a doubly linked list of distinct, aligned blocks of pages in use, of that caller's size.
/// - For each page in use: used + blocks in the list == blockCount, and used == blocks held.
/// - For each group: groupUse + its pages in the pool == 16, and groupUse == its pages in use by the callers (given
///   that these are all callers there are).
inline std::string FindInconsistency(const std::vector<Caller>& callers) {
    using A = OrvaFixedBlockAllocator;
    const auto address = [](const void* pointer) { return reinterpret_cast<std::uint64_t>(pointer); };
    const auto text = [](const char* what, std::uint64_t where) {
        char number[32];
        std::snprintf(number, sizeof number, " at %#llx", where);
        return std::string(what) + number;
    };

    std::map<std::uint64_t, std::uint32_t> pooled; // free pages by group
    std::set<std::uint64_t> freePages;
    const A::FreePage* previousPage = nullptr;
    for (const A::FreePage* page = A::PagePool.head; page != nullptr; page = page->next) {
        if ((address(page) & ~A::PageMask) != 0) return text("unaligned pool page", address(page));
        if (previousPage != nullptr && page->previous != previousPage) return text("pool link back", address(page));
        if (!freePages.insert(address(page)).second) return text("pool cycle", address(page));
        ++pooled[address(page) & A::GroupMask];
        previousPage = page;
    }

    struct PageUse {
        std::uint64_t listed = 0;
        std::uint64_t held = 0;
    };
    std::map<std::uint64_t, PageUse> pages;
    for (const Caller& caller : callers) {
        const std::uint64_t blockSize = caller.blockSize < 16 ? 16 : caller.blockSize;
        std::map<std::uint64_t, PageUse> own;
        std::set<std::uint64_t> seen;
        const auto place = [&](const void* block) -> std::string {
            const std::uint64_t page = address(block) & A::PageMask;
            const auto* header = reinterpret_cast<const A::PageHeader*>(page);
            const std::uint64_t offset = address(block) - page;
            if (freePages.contains(page)) return text("block of a pooled page", address(block));
            if (header->blockSize != blockSize) return text("block of another size's page", address(block));
            if (header->blockCount != (A::PageSize - 24) / blockSize) return text("block count", page);
            if (offset < 24 || (offset - 24) % blockSize != 0 || (offset - 24) / blockSize >= header->blockCount)
                return text("block between blocks", address(block));
            if (!seen.insert(address(block)).second) return text("block twice", address(block));
            return {};
        };
        const A::FreeBlock* previous = nullptr;
        for (const A::FreeBlock* block = caller.head; block != nullptr; block = block->next) {
            if (std::string found = place(block); !found.empty()) return found;
            if (block->previous != previous) return text("list link back", address(block));
            ++own[address(block) & A::PageMask].listed;
            previous = block;
        }
        for (const void* block : caller.held) {
            if (std::string found = place(block); !found.empty()) return found;
            ++own[address(block) & A::PageMask].held;
        }
        for (const auto& [page, use] : own) {
            const auto* header = reinterpret_cast<const A::PageHeader*>(page);
            if (use.held != header->used) return text("use count", page);
            if (use.held + use.listed != header->blockCount) return text("lost blocks", page);
            if (use.held == 0) return text("idle page kept", page);
            if (!pages.emplace(page, use).second) return text("page in two lists", page);
        }
    }

    std::map<std::uint64_t, std::uint32_t> inUse;
    for (const auto& entry : pages)
        ++inUse[entry.first & A::GroupMask];
    int groups = 0;
    for (const auto& [group, use] : A::PagePool.groupUse) {
        if (use != inUse[group]) return text("group use", group);
        const std::uint32_t total = use + pooled[group];
        if (total != 0 && total != 16) return text("pages of a group", group);
        groups += total == 16;
        pooled.erase(group);
    }
    if (!pooled.empty()) return text("pool page of an unknown group", pooled.begin()->first);
    if (groups != A::GroupCount) return text("group count", static_cast<std::uint64_t>(A::GroupCount));
    return {};
}

} // namespace tarnu::test

#endif // TARNU_TESTS_MEMORY_CONSISTENCYWALK_H
