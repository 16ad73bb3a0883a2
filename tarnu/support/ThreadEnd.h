/// @file
/// Waiting for the end of a thread in a way that a failing wait can't cut short.
#ifndef TARNU_SUPPORT_THREADEND_H
#define TARNU_SUPPORT_THREADEND_H

#include "tarnu/framework/framework.h"

namespace tarnu::support {

/// Waits until a thread has ended. A wait that fails says nothing about the thread, whose owner is about to free what
/// it works on: its exit code is looked at instead.
/// @param thread        with SYNCHRONIZE and query access
/// @param milliseconds  how long; INFINITE for as long as it takes
/// @return false when the thread has not ended in that time
inline bool WaitForThreadEnd(HANDLE thread, DWORD milliseconds) noexcept {
    const ULONGLONG started = ::GetTickCount64();
    const DWORD result = ::WaitForSingleObject(thread, milliseconds);
    if (result != WAIT_FAILED) return result == WAIT_OBJECT_0;
    for (;;) {
        DWORD code = 0;
        if (!::GetExitCodeThread(thread, &code) || code != STILL_ACTIVE) return true;
        if (milliseconds != INFINITE && ::GetTickCount64() - started >= milliseconds) return false;
        ::Sleep(1);
    }
}

} // namespace tarnu::support

#endif // TARNU_SUPPORT_THREADEND_H
