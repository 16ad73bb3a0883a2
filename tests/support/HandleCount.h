/// @file
/// Counts the handles that the process has open, to find leaks.
#ifndef TARNU_TESTS_SUPPORT_HANDLECOUNT_H
#define TARNU_TESTS_SUPPORT_HANDLECOUNT_H

#include "tarnu/framework/framework.h"

namespace tarnu::test {

/// Calls @p visit with the value of every handle of this process, from the lowest on. A new handle gets the lowest
/// value that is free, so that the search may end behind @p mostClosed values that stand for nothing.
///
/// NtQuerySystemInformation would tell all at once, but it ends Wine's server (8.0), and with it every program, when
/// any process that has no handle yet, or no more, is there at that moment.
template <class Visit>
void ForEachHandle(Visit visit, unsigned mostClosed = 4096) {
    unsigned closed = 0;
    for (ULONG_PTR value = 4; closed < mostClosed; value += 4) {
        DWORD flags = 0;
        const bool isOpen = ::GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != FALSE;
        if (isOpen) visit(value);
        closed = isOpen ? 0 : closed + 1;
    }
}

/// Handles of this process that are open now.
inline unsigned CountHandles(unsigned mostClosed = 4096) {
    DWORD told = 0;
    if (::GetProcessHandleCount(::GetCurrentProcess(), &told) && told != 0) return told; // Wine tells 0
    unsigned count = 0;
    ForEachHandle([&count](ULONG_PTR) { ++count; }, mostClosed);
    return count;
}

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_HANDLECOUNT_H
