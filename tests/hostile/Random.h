/// @file
/// Reproducible random choices.
#ifndef TARNU_TESTS_HOSTILE_RANDOM_H
#define TARNU_TESTS_HOSTILE_RANDOM_H

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>

namespace tarnu::test::hostile {

/// The same choices on every machine: the standard fixes the generator's numbers, and none of its distributions is
/// used.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_engine(seed) {}

    std::uint64_t Bits() { return m_engine(); }
    /// 0 to @p limit - 1; 0 for a limit of 0.
    std::size_t Below(std::size_t limit) { return limit == 0 ? 0 : static_cast<std::size_t>(Bits() % limit); }
    /// Once in @p times.
    bool OneIn(std::size_t times) { return Below(times) == 0; }
    template <class Range>
    const auto& Pick(const Range& range) {
        return *std::next(std::begin(range), static_cast<std::ptrdiff_t>(Below(std::size(range))));
    }

private:
    std::mt19937_64 m_engine;
};

} // namespace tarnu::test::hostile

#endif // TARNU_TESTS_HOSTILE_RANDOM_H
