/// @file
/// Searches in bit arrays, a word at a time.
#ifndef TARNU_GEOMETRY_BITSCANINTERNAL_H
#define TARNU_GEOMETRY_BITSCANINTERNAL_H

#include <bit>
#include <cstdint>
#include <cstring>

namespace tarnu::support {

/// The first bit at or behind @p from that has the given value; @p bitCount when there is none. Bit k stands in byte
/// k / 8, least significant first; the array has (bitCount + 7) / 8 bytes.
inline std::uint64_t NextBit(const void* bits, std::uint64_t bitCount, std::uint64_t from, bool value) noexcept {
    const std::uint64_t byteCount = (bitCount + 7) / 8;
    const std::uint64_t flip = value ? 0 : ~std::uint64_t{0};
    std::uint64_t mask = ~std::uint64_t{0} << (from % 64);
    for (std::uint64_t byte = from / 64 * 8; byte < byteCount; byte += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, static_cast<const unsigned char*>(bits) + byte, byteCount - byte < 8 ? byteCount - byte : 8);
        word = (word ^ flip) & mask;
        if (word != 0) {
            const std::uint64_t found = byte * 8 + static_cast<std::uint64_t>(std::countr_zero(word));
            return found < bitCount ? found : bitCount;
        }
        mask = ~std::uint64_t{0};
    }
    return bitCount;
}

/// The last bit at or before @p from that has the given value; -1 when there is none. The array is one of whole words.
inline std::int64_t PreviousBit(const std::uint64_t* words, std::uint64_t from, bool value) noexcept {
    const std::uint64_t flip = value ? 0 : ~std::uint64_t{0};
    std::uint64_t mask = ~std::uint64_t{0} >> (63 - from % 64);
    for (std::int64_t index = static_cast<std::int64_t>(from / 64); index >= 0; --index) {
        const std::uint64_t word = (words[index] ^ flip) & mask;
        if (word != 0) return index * 64 + 63 - std::countl_zero(word);
        mask = ~std::uint64_t{0};
    }
    return -1;
}

} // namespace tarnu::support

#endif // TARNU_GEOMETRY_BITSCANINTERNAL_H
