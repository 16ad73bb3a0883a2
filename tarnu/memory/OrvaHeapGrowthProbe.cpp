#include "tarnu/memory/OrvaHeapGrowthProbe.h"

#include <bit>
#include <limits>
#include <utility>

namespace {

constexpr std::uint64_t maxSize = std::numeric_limits<std::uint64_t>::max();

/// The block that grows; freed when it goes out of scope, its heap is not.
class ProbeBlock {
public:
    ProbeBlock(HANDLE heap, std::uint64_t size) noexcept
        : m_heap(heap), m_block(::HeapAlloc(heap, HEAP_ZERO_MEMORY, size)) {}
    ~ProbeBlock() {
        if (m_block != nullptr) ::HeapFree(m_heap, 0, m_block);
    }
    ProbeBlock(const ProbeBlock&) = delete;
    ProbeBlock& operator=(const ProbeBlock&) = delete;

    explicit operator bool() const noexcept { return m_block != nullptr; }
    std::uint64_t GetSize() const noexcept { return ::HeapSize(m_heap, 0, m_block); }
    /// Gives the block a new size, possibly elsewhere; on failure it stays as it is.
    bool Resize(std::uint64_t size) noexcept {
        void* const block = ::HeapReAlloc(m_heap, 0, m_block, size);
        if (block == nullptr) return false;
        m_block = block;
        return true;
    }

private:
    HANDLE m_heap;
    void* m_block;
};

} // namespace

OrvaHeapGrowthProbe::OrvaHeapGrowthProbe() noexcept : m_flag(0), m_reserved{}, m_lastCapacity(0) {
    static_assert(sizeof(OrvaHeapGrowthProbe) == 15 * sizeof(std::uint64_t));
}

OrvaHeapGrowthProbe::~OrvaHeapGrowthProbe() = default;

std::uint64_t OrvaHeapGrowthProbe::MeasureGrowth(std::uint64_t count, std::uint64_t unitSize,
                                                 std::uint64_t limit) noexcept {
    const std::uint64_t step = std::bit_floor(unitSize);
    // A heap of a measurement's own is expected to be destroyed with it; it is left behind, empty, once per call: hosts
    // rely on measurements that cost the same address space every time.
    const HANDLE heap = ::HeapCreate(0, 0, 0);
    if (heap == nullptr) return 0;
    if (step != 0 && count > maxSize / step) return 0; // more than any heap has
    ProbeBlock block(heap, step * count);
    if (!block) return 0;
    std::uint64_t capacity = block.GetSize();
    do {
        if (capacity > maxSize - step || !block.Resize(capacity + step)) break;
        capacity = block.GetSize();
    } while (capacity < limit);
    return capacity;
}

std::uint64_t OrvaHeapGrowthProbe::MeasureChange(std::uint64_t count, std::uint64_t unitSize,
                                                 std::uint64_t limit) noexcept {
    const std::uint64_t capacity = MeasureGrowth(count, unitSize, limit);
    return std::exchange(m_lastCapacity, capacity) - capacity;
}

void OrvaHeapGrowthProbe::CheckingHook(void*, int) noexcept {}

void OrvaHeapGrowthProbe::CheckingHook() noexcept {}
