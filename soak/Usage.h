/// @file
/// What the process holds of the system, before a long run and after it.
#ifndef TARNU_SOAK_USAGE_H
#define TARNU_SOAK_USAGE_H

#include "support/HandleCount.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <psapi.h>

namespace tarnu::soak {

/// Handles, window-manager objects and private memory of the process.
struct Usage {
    unsigned handles;
    DWORD gdiObjects;
    DWORD userObjects;
    SIZE_T privateBytes;

    static Usage Now() {
        PROCESS_MEMORY_COUNTERS memory{};
        memory.cb = sizeof memory;
        ::GetProcessMemoryInfo(::GetCurrentProcess(), &memory, sizeof memory);
        return {test::CountHandles(), ::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS),
                ::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS), memory.PagefileUsage};
    }
};

/// Compares the usage at its end with that at its beginning, and prints the figures. Begin it after a first round,
/// which brings what is created once.
class FlatUsage {
public:
    /// @param rounds    what the run does, for the line that is printed
    explicit FlatUsage(const char* rounds) : m_rounds(rounds), m_before(Usage::Now()), m_started(::GetTickCount64()) {}

    ~FlatUsage() {
        const Usage after = Usage::Now();
        std::printf(
            "%s: %.1f s; handles %u -> %u, USER objects %lu -> %lu, GDI objects %lu -> %lu, memory %.1f -> %.1f MiB\n",
            m_rounds, static_cast<double>(::GetTickCount64() - m_started) / 1000, m_before.handles, after.handles,
            m_before.userObjects, after.userObjects, m_before.gdiObjects, after.gdiObjects,
            Mebibytes(m_before.privateBytes), Mebibytes(after.privateBytes));
        EXPECT_LE(after.handles, m_before.handles + handleTolerance);
        EXPECT_LE(after.gdiObjects, m_before.gdiObjects);
        EXPECT_LE(after.userObjects, m_before.userObjects);
        EXPECT_LE(after.privateBytes, m_before.privateBytes + memoryTolerance);
    }
    FlatUsage(const FlatUsage&) = delete;
    FlatUsage& operator=(const FlatUsage&) = delete;

private:
    /// The system's own threads and caches come and go; a leak of one handle per hundred rounds is far more than this.
    static constexpr unsigned handleTolerance = 8;
    /// Heaps keep free blocks; a leak of 100 bytes per round of 100 000 is more.
    static constexpr SIZE_T memoryTolerance = 8u << 20;

    static double Mebibytes(SIZE_T bytes) { return static_cast<double>(bytes) / (1u << 20); }

    const char* m_rounds;
    Usage m_before;
    ULONGLONG m_started;
};

} // namespace tarnu::soak

#endif // TARNU_SOAK_USAGE_H
