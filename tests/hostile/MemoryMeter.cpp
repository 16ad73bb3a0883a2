#include "hostile/MemoryMeter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <malloc.h>

namespace tarnu::test::hostile {
namespace {

DWORD meteredThread = 0; // 0: nothing is measured
std::ptrdiff_t taken = 0;
std::ptrdiff_t peak = 0;

bool IsMetered() {
    return meteredThread == ::GetCurrentThreadId();
}

void* Added(void* block) {
    if (block != nullptr && IsMetered()) {
        taken += static_cast<std::ptrdiff_t>(::_msize(block));
        peak = std::max(peak, taken);
    }
    return block;
}

void Removed(void* block) {
    if (block != nullptr && IsMetered()) taken -= static_cast<std::ptrdiff_t>(::_msize(block));
}

void* MeteredMalloc(std::size_t size) {
    return Added(std::malloc(size));
}

void* MeteredCalloc(std::size_t count, std::size_t size) {
    return Added(std::calloc(count, size));
}

void* MeteredRealloc(void* block, std::size_t size) {
    const std::size_t before = block != nullptr ? ::_msize(block) : 0;
    void* const moved = std::realloc(block, size);
    if (moved != nullptr && IsMetered()) taken -= static_cast<std::ptrdiff_t>(before);
    return Added(moved);
}

void MeteredFree(void* block) {
    Removed(block);
    std::free(block);
}

} // namespace

MemoryMeter::MemoryMeter() {
    const struct {
        const char* name;
        ULONGLONG replacement;
    } calls[] = {
        {"malloc", reinterpret_cast<ULONGLONG>(&MeteredMalloc)},
        {"calloc", reinterpret_cast<ULONGLONG>(&MeteredCalloc)},
        {"realloc", reinterpret_cast<ULONGLONG>(&MeteredRealloc)},
        {"free", reinterpret_cast<ULONGLONG>(&MeteredFree)},
    };
    bool isThere = false;
    // A library with a runtime of its own has the calls of that one among its own.
    for (const wchar_t* module : {L"TarnuWin32Utils.dll", L"libstdc++-6.dll"}) {
        for (const ModuleImport& import : ImportsOf(::GetModuleHandleW(module))) {
            for (const auto& call : calls) {
                if (std::strcmp(import.name, call.name) != 0) continue;
                m_exchanged.push_back({import.entry, ExchangeImport(import.entry, call.replacement)});
                isThere = true;
            }
        }
    }
    EXPECT_TRUE(isThere) << "the library takes no memory by malloc";
}

MemoryMeter::~MemoryMeter() {
    Stop();
    for (const Exchanged& exchanged : m_exchanged)
        ExchangeImport(exchanged.entry, exchanged.original);
}

void MemoryMeter::Start() {
    taken = peak = 0;
    meteredThread = ::GetCurrentThreadId();
}

void MemoryMeter::Stop() {
    meteredThread = 0;
}

std::size_t MemoryMeter::Peak() {
    return static_cast<std::size_t>(peak);
}

} // namespace tarnu::test::hostile
