/// @file
/// OrvaHeapGrowthProbe: measures how far one heap block can grow.
#ifndef TARNU_MEMORY_ORVAHEAPGROWTHPROBE_H
#define TARNU_MEMORY_ORVAHEAPGROWTHPROBE_H

#include "tarnu/framework/framework.h"

#include <cstdint>

/// A probe of the process's free address space: grows one block in a fresh private heap until the system refuses or a
/// limit is reached, and compares two such measurements. Nothing that a measurement allocates survives it but the
/// private heap itself, empty.
///
/// Threads: measurements may run on any threads; one object belongs to one thread at a time.
/// Ownership: the object owns nothing.
class TARNU_API OrvaHeapGrowthProbe {
public:
    OrvaHeapGrowthProbe() noexcept;
    ~OrvaHeapGrowthProbe(); // NOLINT(performance-trivially-destructible): exported, as it has always been
    /// Copies the latest result.
    OrvaHeapGrowthProbe(const OrvaHeapGrowthProbe&) noexcept = default;
    /// Copies the latest result.
    /// @return this probe
    OrvaHeapGrowthProbe& operator=(const OrvaHeapGrowthProbe&) noexcept = default;

    /// Allocates @p count steps, then grows the block step by step, at least once.
    /// @param count steps of the first block
    /// @param unitSize bytes of a step, rounded down to a power of two. Must be positive: a step of 0 never reaches a
    ///                 positive limit, and the call does not return.
    /// @param limit bytes at which growing stops
    /// @return the bytes reached; 0 when not even the first block could be had
    static std::uint64_t MeasureGrowth(std::uint64_t count, std::uint64_t unitSize, std::uint64_t limit) noexcept;

    /// Measures as MeasureGrowth does and keeps the result for the next call.
    /// @param count,unitSize,limit as for MeasureGrowth
    /// @return the previous result (0 at first) minus the new one; wraps below 0 when more was reached than before
    std::uint64_t MeasureChange(std::uint64_t count, std::uint64_t unitSize, std::uint64_t limit) noexcept;

    /// A hook of checking builds; does nothing.
    /// @param block,number not looked at
    void CheckingHook(void* block, int number) noexcept;
    /// A hook of checking builds; does nothing.
    void CheckingHook() noexcept;

private:
    [[maybe_unused]] std::uint8_t m_flag;          ///< reserved: read by no operation
    [[maybe_unused]] std::uint64_t m_reserved[13]; ///< reserved: read by no operation
    std::uint64_t m_lastCapacity;                  ///< bytes reached by the latest MeasureChange
};

#endif // TARNU_MEMORY_ORVAHEAPGROWTHPROBE_H
