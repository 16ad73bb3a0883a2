#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <charconv>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::vector<std::wstring> sizes;
    int count = 10000;
    int heapLimit = 0;
};

std::uint64_t SizeOf(const std::wstring& text) {
    const std::uint64_t most = OrvaFixedBlockAllocator::PageSize - sizeof(OrvaFixedBlockAllocator::PageHeader);
    const std::string digits = Utf8(text);
    std::uint64_t size = 0;
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, size);
    if (error != std::errc() || rest != end || size == 0 || size > most) {
        throw UsageError("\"" + digits + "\" is no block size from 1 to " + std::to_string(most));
    }
    return size;
}

std::uint64_t PagesInUse() {
    std::uint64_t pages = 0;
    for (const auto& [group, count] : OrvaFixedBlockAllocator::PagePool.groupUse)
        pages += count;
    return pages;
}

/// Takes blocks of a size, says where they went, and gives them back.
bool Try(std::uint64_t size, int count) {
    tarnu::OrvaFixedBlockList list(size);
    std::vector<void*> blocks;
    for (int index = 0; index < count; ++index) {
        void* const block = list.TryAllocate();
        if (block == nullptr) break;
        blocks.push_back(block);
    }
    if (!blocks.empty()) {
        const auto start = reinterpret_cast<std::uint64_t>(blocks.front()) & OrvaFixedBlockAllocator::PageMask;
        const auto& page = *reinterpret_cast<const OrvaFixedBlockAllocator::PageHeader*>(start);
        const std::uint64_t bytes = PagesInUse() * OrvaFixedBlockAllocator::PageSize;
        Print(Format(L"%10I64u  %10I64u  %10I64u  %10I64u  %10d  %9.1f %%\n", size, page.blockCount,
                     static_cast<std::uint64_t>(blocks.size()), PagesInUse(), OrvaFixedBlockAllocator::GroupCount,
                     100.0 * static_cast<double>(size * blocks.size()) / static_cast<double>(bytes)));
    }
    for (void* const block : blocks)
        list.Free(block);
    if (blocks.size() == static_cast<std::size_t>(count)) return true;
    PrintError(Format(L"orva: memory ended after %I64u blocks of %I64u bytes\n",
                      static_cast<std::uint64_t>(blocks.size()), size));
    return false;
}

int Run(const Options& options) {
    std::vector<std::uint64_t> sizes;
    for (const std::wstring& text : options.sizes)
        sizes.push_back(SizeOf(text));
    if (sizes.empty() && options.heapLimit == 0) throw UsageError("SIZE or --heap is required");
    bool hasSucceeded = true;
    if (!sizes.empty()) {
        Print(Format(L"%10s  %10s  %10s  %10s  %10s  %11s\n", L"block size", L"a page", L"blocks", L"pages", L"groups",
                     L"in use"));
    }
    for (const std::uint64_t size : sizes)
        hasSucceeded &= Try(size, options.count);
    if (options.heapLimit > 0) {
        constexpr std::uint64_t step = 1 << 20;
        const std::uint64_t limit = static_cast<std::uint64_t>(options.heapLimit) * step;
        const std::uint64_t reached = OrvaHeapGrowthProbe::MeasureGrowth(/*count=*/1, step, limit);
        Print(L"a heap block grows to " + FormatSize(reached) + L"\n");
        hasSucceeded &= reached >= limit;
    }
    return hasSucceeded ? exitSuccess : exitFailure;
}

} // namespace

void AddMemoryCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add(
        "memory", "Shows how blocks of some size lie in memory, and how far a heap block can grow.\n\nFor each size, "
                  "blocks are taken from the fixed-size block allocator: how many fit into a page, how many pages and "
                  "groups of 16 pages they take, and how much of the pages the blocks use.");
    command.Texts("SIZE", options->sizes, "block sizes, in bytes");
    command.Number("-c,--count", options->count, 1, 10000000, "COUNT", "blocks to take of each size");
    command.Number("-p,--heap", options->heapLimit, 1, 65536, "MIB", "grow one heap block up to so many MiB");
    command.Example("24 100 --count 100000", "compare two sizes of a node");
    command.Statuses("all of it could be had", "memory ended before");
    command.Run([options] { return Run(*options); });
}

} // namespace orva
