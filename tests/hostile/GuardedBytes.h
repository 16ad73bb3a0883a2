/// @file
/// Memory between pages that nobody may touch.
#ifndef TARNU_TESTS_HOSTILE_GUARDEDBYTES_H
#define TARNU_TESTS_HOSTILE_GUARDEDBYTES_H

#include "tarnu/framework/framework.h"

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <string_view>

namespace tarnu::test::hostile {

/// Room for some bytes; reading or writing the byte before the first or behind the last one ends the program.
class GuardedBytes {
public:
    explicit GuardedBytes(std::size_t capacity) : m_capacity((capacity + pageSize - 1) / pageSize * pageSize) {
        m_pages = static_cast<char*>(::VirtualAlloc(nullptr, m_capacity + 2 * pageSize, MEM_RESERVE, PAGE_NOACCESS));
        EXPECT_NE(nullptr, ::VirtualAlloc(First(), m_capacity, MEM_COMMIT, PAGE_READWRITE));
    }
    ~GuardedBytes() { ::VirtualFree(m_pages, 0, MEM_RELEASE); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    std::size_t Capacity() const { return m_capacity; }
    /// Room that begins at the first byte.
    char* First() { return m_pages + pageSize; }
    /// Room for @p size bytes up to the last one.
    char* Last(std::size_t size) { return First() + (m_capacity - size); }
    /// Copies the bytes to one end or the other.
    const char* Put(std::string_view bytes, bool first) {
        EXPECT_LE(bytes.size(), m_capacity);
        char* const place = first ? First() : Last(bytes.size());
        std::memcpy(place, bytes.data(), bytes.size());
        return place;
    }

private:
    static constexpr std::size_t pageSize = 0x1000;

    std::size_t m_capacity;
    char* m_pages;
};

} // namespace tarnu::test::hostile

#endif // TARNU_TESTS_HOSTILE_GUARDEDBYTES_H
