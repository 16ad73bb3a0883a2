/// @file
/// tarnu::OrvaFixedBlockStdAllocator: the nodes of a standard container in fixed-size blocks.
#ifndef TARNU_MEMORY_ORVAFIXEDBLOCKSTDALLOCATOR_H
#define TARNU_MEMORY_ORVAFIXEDBLOCKSTDALLOCATOR_H

#include "tarnu/memory/OrvaFixedBlockLists.h"

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

namespace tarnu {

/// A standard allocator over OrvaFixedBlockLists for node-based containers. Single objects that fit into a block come
/// from there; arrays (hash tables), large and over-aligned objects come from std::allocator.
///
/// Threads: as OrvaFixedBlockAllocator, one thread for everything, or all calls serialised.
/// Ownership: refers to the lists, which must outlive every container that uses them.
///
///     tarnu::OrvaFixedBlockLists blocks;
///     std::list<int, tarnu::OrvaFixedBlockStdAllocator<int>> numbers(blocks);
template <class T>
class OrvaFixedBlockStdAllocator {
public:
    /// @{
    /// What the standard asks of an allocator.
    using value_type = T;
    using propagate_on_container_move_assignment = std::true_type;
    using propagate_on_container_swap = std::true_type;
    /// @}

    /// Allocates from lists.
    /// @param lists referenced
    OrvaFixedBlockStdAllocator(OrvaFixedBlockLists& lists) noexcept : m_lists(&lists) {} // NOLINT: implicit on purpose
    /// The same lists for another type.
    /// @param other its lists are referenced
    template <class U>
    OrvaFixedBlockStdAllocator(const OrvaFixedBlockStdAllocator<U>& other) noexcept // NOLINT: as the standard requires
        : m_lists(&other.GetLists()) {}

    /// Memory for objects; throws std::bad_alloc when there is none.
    /// @param count objects
    /// @return the memory, nothing constructed in it
    [[nodiscard]] T* allocate(std::size_t count) {
        if (!FromBlocks(count)) return std::allocator<T>().allocate(count);
        void* const block = m_lists->TryAllocate(sizeof(T));
        if (block == nullptr) throw std::bad_alloc();
        return static_cast<T*>(block);
    }
    /// Takes back memory.
    /// @param memory what allocate gave
    /// @param count  what it was asked for
    void deallocate(T* memory, std::size_t count) noexcept {
        if (FromBlocks(count)) {
            m_lists->Free(memory, sizeof(T));
        } else {
            std::allocator<T>().deallocate(memory, count);
        }
    }

    /// @return the lists that it allocates from
    OrvaFixedBlockLists& GetLists() const noexcept { return *m_lists; }

    /// Equal when they share their lists.
    template <class U>
    friend bool operator==(const OrvaFixedBlockStdAllocator& left,
                           const OrvaFixedBlockStdAllocator<U>& right) noexcept {
        return &left.GetLists() == &right.GetLists();
    }

private:
    static constexpr bool FromBlocks(std::size_t count) noexcept {
        return count == 1 && sizeof(T) <= OrvaFixedBlockLists::maxSize && alignof(T) <= 8;
    }

    OrvaFixedBlockLists* m_lists;
};

} // namespace tarnu

#endif // TARNU_MEMORY_ORVAFIXEDBLOCKSTDALLOCATOR_H
