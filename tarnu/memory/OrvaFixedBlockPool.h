/// @file
/// tarnu::OrvaFixedBlockPool: objects of one type in fixed-size blocks.
#ifndef TARNU_MEMORY_ORVAFIXEDBLOCKPOOL_H
#define TARNU_MEMORY_ORVAFIXEDBLOCKPOOL_H

#include "tarnu/memory/OrvaFixedBlockList.h"

#include <memory>
#include <new>
#include <utility>

namespace tarnu {

/// Creates and destroys objects of type T in blocks of the fixed-block allocator.
///
/// Threads: as OrvaFixedBlockAllocator, one thread for everything, or all calls serialised.
/// Ownership: whoever calls New owns the object until it is given to Delete of the same pool, which must happen before
/// the pool is destroyed; the destructors of objects that are left are not called.
///
///     tarnu::OrvaFixedBlockPool<Vertex> pool;
///     Vertex* vertex = pool.New(1.0, 2.0);
///     pool.Delete(vertex);
template <class T>
class OrvaFixedBlockPool {
public:
    OrvaFixedBlockPool() noexcept = default;

    /// A new object constructed from the arguments. An exception of the constructor comes through; its block is free
    /// again.
    /// @param arguments handed to the constructor
    /// @return the object, or null when the system has no memory left
    template <class... Arguments>
    [[nodiscard]] T* TryNew(Arguments&&... arguments) {
        void* const block = m_blocks.TryAllocate();
        if (block == nullptr) return nullptr;
        BlockGuard guard{m_blocks, block};
        T* const object = ::new (block) T(std::forward<Arguments>(arguments)...);
        guard.block = nullptr;
        return object;
    }
    /// As TryNew, but throws std::bad_alloc when the system has no memory left.
    /// @param arguments handed to the constructor
    /// @return the object, never null
    template <class... Arguments>
    [[nodiscard]] T* New(Arguments&&... arguments) {
        T* const object = TryNew(std::forward<Arguments>(arguments)...);
        if (object == nullptr) throw std::bad_alloc();
        return object;
    }
    /// Destroys an object.
    /// @param object one of this pool; null is ignored
    void Delete(T* object) noexcept {
        if (object == nullptr) return;
        std::destroy_at(object);
        m_blocks.Free(object);
    }

private:
    // Blocks start 24 bytes into a page and follow each other without gaps; on every system of this library a page has
    // at least 4096 bytes.
    static_assert(alignof(T) <= 8, "blocks are aligned to 8 bytes at most");
    static_assert(sizeof(T) <= 4096 - sizeof(OrvaFixedBlockAllocator::PageHeader), "a block must fit into a page");

    struct BlockGuard {
        OrvaFixedBlockList& blocks;
        void* block;
        ~BlockGuard() {
            if (block != nullptr) blocks.Free(block);
        }
    };

    /// A multiple of 8, so that every block of a page is as well aligned as the first.
    OrvaFixedBlockList m_blocks{(sizeof(T) + 7) / 8 * 8};
};

} // namespace tarnu

#endif // TARNU_MEMORY_ORVAFIXEDBLOCKPOOL_H
