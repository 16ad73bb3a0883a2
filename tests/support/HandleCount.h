/// @file
/// Counts the handles that the process has open, to find leaks.
#ifndef TARNU_TESTS_SUPPORT_HANDLECOUNT_H
#define TARNU_TESTS_SUPPORT_HANDLECOUNT_H

#include "tarnu/framework/framework.h"

namespace tarnu::test {

/// Handles of this process that are open now. GetProcessHandleCount answers 0 under Wine, so every value that a handle
/// can have is asked for.
inline unsigned CountHandles() {
    unsigned count = 0;
    for (ULONG_PTR value = 4; value < 0x8000; value += 4) {
        DWORD flags = 0;
        if (::GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags)) ++count;
    }
    return count;
}

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_HANDLECOUNT_H
