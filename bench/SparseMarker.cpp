// The point marker with few numbers far apart: 500 ascending ones up to a hundred million.

#include "bench/Harness.h"

#include "tarnu/geometry/OrvaPointMarker.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <set>

namespace {

using tarnu::bench::Subject;
using tarnu::bench::Work;

std::vector<UINT> MakeNumbers(std::uint64_t highest) {
    std::mt19937 engine(11);
    std::vector<UINT> numbers;
    for (int index = 0; index < 499; ++index)
        numbers.push_back(static_cast<UINT>(engine() % highest + 1));
    numbers.push_back(static_cast<UINT>(highest));
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

/// Looks up every number marked and its neighbour.
template <class IsMarked>
std::uint64_t CountFound(const std::vector<UINT>& numbers, IsMarked isMarked) {
    std::uint64_t found = 0;
    for (const UINT number : numbers)
        found += (isMarked(number) ? 1u : 0u) + (isMarked(number - 1) ? 1u : 0u);
    return found;
}

// Through a variable pointer: the compiler would make calloc of allocating and clearing.
void* (*volatile reallocate)(void*, std::size_t) = &std::realloc;

/// The limit: the block's final size is known, so it is allocated and cleared once. A fresh block that the heap clears
/// takes memory for the pages that are written to alone, which no block that has to grow can do.
std::uint64_t MarkInOneBlock(const std::vector<UINT>& numbers, bool clearedByHeap) {
    const std::size_t bytes = numbers.back() / 8 + 1;
    auto* const bits = static_cast<unsigned char*>(clearedByHeap ? std::calloc(bytes, 1) : reallocate(nullptr, bytes));
    if (bits == nullptr) std::abort();
    if (!clearedByHeap) std::memset(bits, 0, bytes);
    for (const UINT number : numbers)
        bits[number / 8] = static_cast<unsigned char>(bits[number / 8] | 1u << (number % 8));
    const std::uint64_t found =
        CountFound(numbers, [bits](UINT number) { return (bits[number / 8] >> (number % 8) & 1) != 0; });
    std::free(bits);
    return found;
}

std::uint64_t MarkInMarker(const std::vector<UINT>& numbers) {
    OrvaPointMarker marker(/*base=*/1);
    for (const UINT number : numbers)
        marker.Mark(number);
    return CountFound(numbers, [&marker](UINT number) { return marker.IsMarked(number) != FALSE; });
}

std::uint64_t MarkInVector(const std::vector<UINT>& numbers) {
    std::vector<UINT> marked;
    for (const UINT number : numbers) {
        const auto place = std::lower_bound(marked.begin(), marked.end(), number);
        if (place == marked.end() || *place != number) marked.insert(place, number);
    }
    return CountFound(numbers,
                      [&marked](UINT number) { return std::binary_search(marked.begin(), marked.end(), number); });
}

} // namespace

int main() {
    const std::vector<UINT> numbers = MakeNumbers(100'000'000);
    Subject subject("Sparse marker: 500 numbers up to 100 000 000, marked and looked up");
    subject.AddCase("mark ascending, look up", "number", numbers.size())
        .Limit("one block, cleared once", [&] { return MarkInOneBlock(numbers, /*clearedByHeap=*/false); })
        .Library("OrvaPointMarker", [&] { return MarkInMarker(numbers); })
        .Peer("one block from calloc", [&] { return MarkInOneBlock(numbers, /*clearedByHeap=*/true); })
        .Peer("sorted vector", [&] { return MarkInVector(numbers); })
        .Goal(2);
    subject.AddGrowth("marking up to a number", "number", 10'000'000, [](std::uint64_t highest) -> Work {
        const std::vector<UINT> some = MakeNumbers(highest);
        return [some] { return MarkInMarker(some); };
    });
    return subject.Run();
}
