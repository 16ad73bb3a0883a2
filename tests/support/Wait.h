/// @file
/// Waiting for conditions with a bound, with and without a message loop.
#ifndef TARNU_TESTS_SUPPORT_WAIT_H
#define TARNU_TESTS_SUPPORT_WAIT_H

#include "tarnu/framework/framework.h"

namespace tarnu::test {

/// Bound of a wait for something that must happen, in milliseconds: long, because a busy machine may be slow.
inline constexpr DWORD mustHappen = 30000;

/// Dispatches the messages that wait in the calling thread's queue; false when WM_QUIT was among them.
inline bool PumpMessages() {
    MSG message;
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) return false;
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    return true;
}

/// Waits until @p condition holds, dispatching messages meanwhile; false when it did not within @p milliseconds.
template <class Condition>
bool PumpUntil(Condition condition, DWORD milliseconds = mustHappen) {
    const ULONGLONG end = ::GetTickCount64() + milliseconds;
    while (!condition()) {
        if (::GetTickCount64() >= end) return false;
        PumpMessages();
        if (condition()) return true;
        ::MsgWaitForMultipleObjectsEx(0, nullptr, 5, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    }
    return true;
}

/// The same without dispatching messages.
template <class Condition>
bool WaitUntil(Condition condition, DWORD milliseconds = mustHappen) {
    const ULONGLONG end = ::GetTickCount64() + milliseconds;
    while (!condition()) {
        if (::GetTickCount64() >= end) return false;
        ::Sleep(1);
    }
    return true;
}

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_WAIT_H
