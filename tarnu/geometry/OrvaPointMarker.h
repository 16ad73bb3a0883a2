/// @file
/// OrvaPointMarker: a growing set of point numbers, one bit per number.
#ifndef TARNU_GEOMETRY_ORVAPOINTMARKER_H
#define TARNU_GEOMETRY_ORVAPOINTMARKER_H

#include "tarnu/framework/framework.h"

#include <cstdint>

/// A bit array over point numbers from a base number upwards.
///
/// Numbers above 0xFFFFFBFF are never held; neither are numbers below the base.
///
/// Threads: one object belongs to one thread at a time.
/// Ownership: owns its block of bits.
class TARNU_API OrvaPointMarker {
public:
    /// An empty set.
    /// @param base the number that bit 0 stands for
    explicit OrvaPointMarker(UINT base) noexcept : m_base(base) {}
    virtual ~OrvaPointMarker();
    OrvaPointMarker(const OrvaPointMarker&) = delete;
    OrvaPointMarker& operator=(const OrvaPointMarker&) = delete;

    /// Holds exactly @p bits numbers from the base on. Whole new bytes are cleared; a byte that was held before, even
    /// in part, keeps its content.
    /// @param bits size of the set
    /// @return false, and nothing changed, when base + bits exceeds 0xFFFFFFFF or memory runs out
    BOOL Resize(std::uint64_t bits) noexcept;
    /// Empties the set and frees its block.
    void Reset() noexcept { Resize(0); }

    /// Puts a number into the set, which grows to hold it and 1023 more. Ignored above 0xFFFFFBFF, below the base and
    /// when memory runs out.
    /// @param number the point number
    void Mark(UINT number) noexcept;
    /// Takes a number out of the set; grows and ignores as Mark does.
    /// @param number the point number
    void Unmark(UINT number) noexcept;
    /// Whether the set holds a number.
    /// @param number the point number
    /// @return nonzero when it does; 0 also for a number that can't be held
    BOOL IsMarked(UINT number) const noexcept;

    /// @return the base
    UINT GetFirst() const noexcept { return m_base; }
    /// @return one past the last number that there is a bit for; the base for an empty set
    UINT GetEnd() const noexcept { return static_cast<UINT>(m_base + m_bitCount); }

    /// @{
    /// Sets or clears a bit.
    /// @param index zero-based, less than the size; not checked
    void SetBit(std::uint64_t index) noexcept;
    void ClearBit(std::uint64_t index) noexcept;
    /// @}
    /// Reads a bit.
    /// @param index zero-based, less than the size; not checked
    /// @return nonzero when it is set
    BOOL TestBit(std::uint64_t index) const noexcept;

private:
    friend class OrvaSortedPointString; // reads whole words

    /// The zero-based bit of a number, after growth when it lies behind the end; false when it cannot be held.
    bool Reach(UINT number, std::uint64_t& index) noexcept;

    std::uint8_t* m_bits = nullptr; ///< bit k of byte k / 8, least significant first; from realloc
    std::uint64_t m_bitCount = 0;   ///< numbers held
    UINT m_base;                    ///< the number of bit 0
    std::uint64_t m_capacity = 0;   ///< bytes of the block, at least those that m_bitCount takes
};

#endif // TARNU_GEOMETRY_ORVAPOINTMARKER_H
