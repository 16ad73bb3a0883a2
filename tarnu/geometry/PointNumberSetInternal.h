/// @file
/// A set of point numbers for rewriting point texts: takes, skips and lists whole ranges.
#ifndef TARNU_GEOMETRY_POINTNUMBERSETINTERNAL_H
#define TARNU_GEOMETRY_POINTNUMBERSETINTERNAL_H

#include "tarnu/geometry/BitScanInternal.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <memory>
#include <vector>

namespace tarnu::support {

/// Holds what a marker of base 1 holds, the numbers 1 to 0xFFFFFBFF, in chunks of 65536 numbers. A chunk exists once a
/// part of it is held; one that a range covers takes no memory of its own. Two summaries, a bit per chunk, let searches
/// skip chunks that are wholly held or wholly free, so a range costs about the same whatever its length.
///
/// Running out of memory throws std::bad_alloc.
class PointNumberSet {
public:
    static constexpr std::uint32_t first = 1;
    static constexpr std::uint32_t last = 0xFFFFFBFF;

    PointNumberSet() = default;
    PointNumberSet(const PointNumberSet&) = delete;
    PointNumberSet& operator=(const PointNumberSet&) = delete;
    ~PointNumberSet() {
        for (std::uint64_t* chunk : m_chunks) {
            if (IsOwn(chunk)) delete[] chunk;
        }
    }

    bool Contains(std::uint32_t number) const noexcept {
        const std::uint64_t index = IndexOf(number);
        const std::uint64_t chunk = index / chunkBits;
        return chunk < m_chunks.size() && (m_chunks[chunk][index % chunkBits / 64] >> (index % 64) & 1) != 0;
    }
    /// Puts a number of first to last into the set; false when it was there.
    bool Insert(std::uint32_t number) {
        const std::uint64_t index = IndexOf(number);
        const std::uint64_t chunk = index / chunkBits;
        if (chunk >= m_chunks.size()) Reach(chunk);
        const std::uint64_t bit = std::uint64_t{1} << (index % 64);
        std::uint64_t* words = m_chunks[chunk];
        if ((words[index % chunkBits / 64] & bit) != 0) return false;
        if (words == Nothing()) words = Own(chunk);
        words[index % chunkBits / 64] |= bit;
        return true;
    }
    /// Puts a range into the set, as far as it lies within first to last.
    void InsertRange(std::uint32_t low, std::uint32_t high) {
        low = std::max(low, first);
        high = std::min(high, last);
        if (low > high) return;
        const std::uint64_t begin = IndexOf(low);
        const std::uint64_t end = IndexOf(high);
        if (end / chunkBits >= m_chunks.size()) Reach(end / chunkBits);
        for (std::uint64_t chunk = begin / chunkBits; chunk <= end / chunkBits;
             chunk = NextBit(m_full.data(), m_full.size() * 64, chunk + 1, /*value=*/false)) {
            const std::uint64_t from = chunk == begin / chunkBits ? begin % chunkBits : 0;
            const std::uint64_t to = chunk == end / chunkBits ? end % chunkBits : chunkBits - 1;
            if (from == 0 && to == chunkBits - 1) {
                Complete(chunk);
            } else if (!IsFull(chunk)) {
                SetBits(Own(chunk), from, to);
            }
        }
    }

    /// The first number at or above @p from that is held, or that is not; a value above @p limit when there is none up
    /// to it. Both numbers lie within first to last.
    std::uint64_t NextHeld(std::uint64_t from, std::uint64_t limit) const noexcept {
        return from > limit ? from : NumberOf(Next(IndexOf(from), IndexOf(limit), /*held=*/true));
    }
    std::uint64_t NextFree(std::uint64_t from, std::uint64_t limit) const noexcept {
        return from > limit ? from : NumberOf(Next(IndexOf(from), IndexOf(limit), /*held=*/false));
    }
    /// The same downward; a value below @p limit (0 at the lowest) when there is none.
    std::uint64_t PreviousHeld(std::uint64_t from, std::uint64_t limit) const noexcept {
        return from < limit ? from : NumberOf(Previous(IndexOf(from), /*held=*/true));
    }
    std::uint64_t PreviousFree(std::uint64_t from, std::uint64_t limit) const noexcept {
        return from < limit ? from : NumberOf(Previous(IndexOf(from), /*held=*/false));
    }

    /// Gives the first and last number of every run of this set that remains without the numbers of another,
    /// ascending.
    template <class Take>
    void TakeRunsWithout(const PointNumberSet& removed, Take take) const {
        constexpr std::uint64_t none = ~std::uint64_t{0};
        std::uint64_t begin = none; // of the run that has not ended yet
        const auto endRun = [&](std::uint64_t index) {
            if (begin == none) return;
            take(static_cast<std::uint32_t>(NumberOf(begin)), static_cast<std::uint32_t>(NumberOf(index - 1)));
            begin = none;
        };
        for (std::uint64_t chunk = 0; chunk < m_chunks.size(); ++chunk) {
            const std::uint64_t* const held = m_chunks[chunk];
            const std::uint64_t* const without = chunk < removed.m_chunks.size() ? removed.m_chunks[chunk] : Nothing();
            const std::uint64_t chunkStart = chunk * chunkBits;
            if (held == Nothing() || without == Everything()) {
                endRun(chunkStart);
                continue;
            }
            if (held == Everything() && without == Nothing()) {
                if (begin == none) begin = chunkStart;
                continue;
            }
            for (std::uint64_t index = 0; index < chunkWords; ++index) {
                std::uint64_t word = held[index] & ~without[index];
                const std::uint64_t base = chunkStart + index * 64;
                if (begin != none) {
                    if (word == ~std::uint64_t{0}) continue;
                    endRun(base + static_cast<std::uint64_t>(std::countr_one(word)));
                    word &= word + 1; // without the end of that run
                }
                while (word != 0) {
                    begin = base + static_cast<std::uint64_t>(std::countr_zero(word));
                    const std::uint64_t filled = word | (word - 1); // up to the end of the word's first run
                    if (filled == ~std::uint64_t{0}) break;
                    endRun(base + static_cast<std::uint64_t>(std::countr_one(filled)));
                    word &= filled + 1;
                }
            }
        }
        endRun(m_chunks.size() * chunkBits);
    }

private:
    static constexpr std::uint64_t chunkBits = 65536;
    static constexpr std::uint64_t chunkWords = chunkBits / 64;
    using SharedChunk = std::array<std::uint64_t, chunkWords>;

    static constexpr SharedChunk MakeChunk(std::uint64_t word) noexcept {
        SharedChunk chunk{};
        chunk.fill(word);
        return chunk;
    }
    // The chunks that hold nothing and everything are shared by all sets and never written to.
    static inline SharedChunk s_nothing = MakeChunk(0);
    static inline SharedChunk s_everything = MakeChunk(~std::uint64_t{0});
    static std::uint64_t* Nothing() noexcept { return s_nothing.data(); }
    static std::uint64_t* Everything() noexcept { return s_everything.data(); }
    static bool IsOwn(const std::uint64_t* chunk) noexcept { return chunk != Nothing() && chunk != Everything(); }

    static std::uint64_t IndexOf(std::uint64_t number) noexcept { return number - first; }
    static std::uint64_t NumberOf(std::uint64_t index) noexcept { return index + first; }

    bool IsFull(std::uint64_t chunk) const noexcept { return (m_full[chunk / 64] >> (chunk % 64) & 1) != 0; }

    void Reach(std::uint64_t chunk) {
        const std::uint64_t words = chunk / 64 + 1;
        if (words > m_full.size()) m_full.resize(words);
        if (words > m_used.size()) m_used.resize(words);
        m_chunks.resize(chunk + 1, Nothing());
    }
    /// A chunk's own words; not for one that holds everything.
    std::uint64_t* Own(std::uint64_t chunk) {
        if (m_chunks[chunk] == Nothing()) {
            m_chunks[chunk] = new std::uint64_t[chunkWords]();
            m_used[chunk / 64] |= std::uint64_t{1} << (chunk % 64);
        }
        return m_chunks[chunk];
    }
    void Complete(std::uint64_t chunk) noexcept {
        if (IsOwn(m_chunks[chunk])) delete[] m_chunks[chunk];
        m_chunks[chunk] = Everything();
        m_full[chunk / 64] |= std::uint64_t{1} << (chunk % 64);
        m_used[chunk / 64] |= std::uint64_t{1} << (chunk % 64);
    }
    static void SetBits(std::uint64_t* words, std::uint64_t from, std::uint64_t to) noexcept {
        const std::uint64_t head = ~std::uint64_t{0} << (from % 64);
        const std::uint64_t tail = ~std::uint64_t{0} >> (63 - to % 64);
        if (from / 64 == to / 64) {
            words[from / 64] |= head & tail;
            return;
        }
        words[from / 64] |= head;
        std::fill(words + from / 64 + 1, words + to / 64, ~std::uint64_t{0});
        words[to / 64] |= tail;
    }

    std::uint64_t Next(std::uint64_t index, std::uint64_t limit, bool held) const noexcept {
        std::uint64_t chunk = index / chunkBits;
        std::uint64_t bit = index % chunkBits;
        while (chunk <= limit / chunkBits) {
            if (chunk >= m_chunks.size()) return held ? limit + 1 : chunk * chunkBits + bit;
            bit = NextBit(m_chunks[chunk], chunkBits, bit, held);
            if (bit < chunkBits) return chunk * chunkBits + bit;
            const std::vector<std::uint64_t>& summary = held ? m_used : m_full;
            chunk = NextBit(summary.data(), summary.size() * 64, chunk + 1, held);
            bit = 0;
        }
        return limit + 1;
    }
    /// -1, which is the number 0, when there is none.
    std::uint64_t Previous(std::uint64_t index, bool held) const noexcept {
        std::int64_t chunk = static_cast<std::int64_t>(index / chunkBits);
        std::uint64_t bit = index % chunkBits;
        if (const auto size = static_cast<std::int64_t>(m_chunks.size()); chunk >= size) {
            if (!held) return index;
            chunk = size - 1;
            bit = chunkBits - 1;
        }
        while (chunk >= 0) {
            const std::int64_t found = PreviousBit(m_chunks[static_cast<std::size_t>(chunk)], bit, held);
            if (found >= 0) return static_cast<std::uint64_t>(chunk) * chunkBits + static_cast<std::uint64_t>(found);
            if (chunk == 0) break;
            chunk = PreviousBit(held ? m_used.data() : m_full.data(), static_cast<std::uint64_t>(chunk - 1), held);
            bit = chunkBits - 1;
        }
        return ~std::uint64_t{0};
    }

    std::vector<std::uint64_t*> m_chunks; ///< up to the highest that was ever needed
    std::vector<std::uint64_t> m_full;    ///< a bit per chunk that is Everything()
    std::vector<std::uint64_t> m_used;    ///< a bit per chunk that is not Nothing()
};

} // namespace tarnu::support

#endif // TARNU_GEOMETRY_POINTNUMBERSETINTERNAL_H
