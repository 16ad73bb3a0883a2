#include "tarnu/geometry/OrvaPointMarker.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr UINT lastMarkable = 0xFFFFFBFF;
constexpr std::uint64_t growth = 1024;

constexpr std::uint8_t BitOf(std::uint64_t index) noexcept {
    return static_cast<std::uint8_t>(1u << (index % 8));
}

} // namespace

OrvaPointMarker::~OrvaPointMarker() {
    std::free(m_bits);
}

BOOL OrvaPointMarker::Resize(std::uint64_t bits) noexcept {
    if (bits > std::uint64_t{0xFFFFFFFF} - m_base) return FALSE;
    const std::uint64_t oldBytes = (m_bitCount + 7) / 8;
    const std::uint64_t bytes = (bits + 7) / 8;
    if (bytes == 0) {
        std::free(m_bits);
        m_bits = nullptr;
        m_capacity = 0;
    } else if (bytes > m_capacity) {
        // Growth is geometric, so that a marker that grows number by number copies each byte a bounded number of times.
        // Into a new block, whose spare end takes no memory before it is used: growing the old one copies its spare end
        // too. A block that would not fit three times over may still fit once.
        std::uint64_t capacity = std::max(bytes, 3 * m_capacity);
        void* block = std::realloc(nullptr, capacity);
        if (block != nullptr) {
            if (oldBytes > 0) std::memcpy(block, m_bits, oldBytes);
            std::free(m_bits);
        } else {
            capacity = bytes;
            block = std::realloc(m_bits, capacity);
            if (block == nullptr) return FALSE;
        }
        m_bits = static_cast<std::uint8_t*>(block);
        m_capacity = capacity;
    } else if (bytes < oldBytes) {
        void* const block = std::realloc(m_bits, bytes);
        if (block == nullptr) return FALSE;
        m_bits = static_cast<std::uint8_t*>(block);
        m_capacity = bytes;
    }
    if (bytes > oldBytes) std::memset(m_bits + oldBytes, 0, bytes - oldBytes);
    m_bitCount = bits;
    return TRUE;
}

bool OrvaPointMarker::Reach(UINT number, std::uint64_t& index) noexcept {
    if (number > lastMarkable) return false;
    // A number below the base wraps to an offset that no size can reach.
    index = static_cast<UINT>(number - m_base);
    return index < m_bitCount || Resize(index + growth);
}

void OrvaPointMarker::Mark(UINT number) noexcept {
    std::uint64_t index = 0;
    if (Reach(number, index)) SetBit(index);
}

void OrvaPointMarker::Unmark(UINT number) noexcept {
    std::uint64_t index = 0;
    if (Reach(number, index)) ClearBit(index);
}

BOOL OrvaPointMarker::IsMarked(UINT number) const noexcept {
    const UINT index = number - m_base;
    return number <= lastMarkable && index < m_bitCount && TestBit(index);
}

void OrvaPointMarker::SetBit(std::uint64_t index) noexcept {
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): Reach has made room
    m_bits[index / 8] = static_cast<std::uint8_t>(m_bits[index / 8] | BitOf(index));
}

void OrvaPointMarker::ClearBit(std::uint64_t index) noexcept {
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): Reach has made room
    m_bits[index / 8] = static_cast<std::uint8_t>(m_bits[index / 8] & ~BitOf(index));
}

BOOL OrvaPointMarker::TestBit(std::uint64_t index) const noexcept {
    return (m_bits[index / 8] & BitOf(index)) != 0;
}
