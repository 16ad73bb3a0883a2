#include "tarnu/filesystem/OrvaFileEventWorkerThreadInternal.h"

#include "tarnu/support/ThreadEnd.h"

#include <new>
#include <process.h>

using tarnu::support::UniqueHandle;
using tarnu::support::WaitForThreadEnd;

namespace {

constexpr DWORD stopMilliseconds = 10000;

} // namespace

/// Handed to the new thread, which frees it.
struct OrvaFileEventWorkerThread::StartRecord {
    HANDLE ready;
    OrvaFileEventWorkerThread* worker;
};

OrvaFileEventWorkerThread::~OrvaFileEventWorkerThread() {
    Stop();
}

bool OrvaFileEventWorkerThread::Start() noexcept {
    if (m_thread || m_threadId != 0) return true;
    const UniqueHandle ready(
        ::CreateEventW(/*lpEventAttributes=*/nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE, nullptr));
    if (!ready) return false;
    std::unique_ptr<StartRecord> record;
    try {
        m_loop = std::make_unique<tarnu::FileEventLoop>(m_host);
        record.reset(new StartRecord{ready.Get(), this});
    } catch (const std::bad_alloc&) {
        return false;
    }
    m_thread.Reset(reinterpret_cast<HANDLE>(::_beginthreadex(/*security=*/nullptr, /*stack_size=*/0, &ThreadProcedure,
                                                             record.get(), CREATE_SUSPENDED, &m_threadId)));
    if (!m_thread) {
        m_threadId = 0;
        return false;
    }
    if (::ResumeThread(m_thread.Get()) == static_cast<DWORD>(-1)) {
        ::TerminateThread(m_thread.Get(), static_cast<DWORD>(-1)); // it has not run yet
        m_thread.Reset();
        m_threadId = 0;
        return false;
    }
    (void)record.release();
    // The flag stands in for an event that could not be set or waited on; it is set behind the last use of the event.
    constexpr DWORD lookMilliseconds = 50;
    while (::WaitForSingleObjectEx(ready.Get(), lookMilliseconds, /*bAlertable=*/FALSE) != WAIT_OBJECT_0) {
        if (m_isReady) break;
        ::Sleep(1);
    }
    return true;
}

unsigned __stdcall OrvaFileEventWorkerThread::ThreadProcedure(void* parameter) {
    const std::unique_ptr<StartRecord> record(static_cast<StartRecord*>(parameter));
    tarnu::FileEventLoop& loop = *record->worker->m_loop;
    MSG message;
    ::PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE); // from here on the thread has a queue
    ::SetEvent(record->ready);
    record->worker->m_isReady = true;
    loop.Run();
    return 0;
}

BOOL OrvaFileEventWorkerThread::Post(UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (m_threadId == 0) {
        ::SetLastError(ERROR_INVALID_THREAD_ID);
        return FALSE;
    }
    return ::PostThreadMessageW(m_threadId, message, wParam, lParam);
}

// Must not run on the worker itself, nor under a lock that it needs: the loader's above all.
bool OrvaFileEventWorkerThread::Stop() noexcept {
    if (!m_thread) return false;
    // 1. Ask. A queue that is full has room again in a moment; a thread that has ended needs no asking.
    m_loop->HurryToStop();
    const ULONGLONG end = ::GetTickCount64() + stopMilliseconds;
    while (!Post(WM_QUIT, /*wParam=*/0, /*lParam=*/0) && ::GetLastError() == ERROR_NOT_ENOUGH_QUOTA &&
           ::GetTickCount64() < end && !WaitForThreadEnd(m_thread.Get(), /*milliseconds=*/10)) {
    }
    // 2. Wait.
    const ULONGLONG now = ::GetTickCount64();
    const DWORD rest = now < end ? static_cast<DWORD>(end - now) : 0;
    if (!WaitForThreadEnd(m_thread.Get(), rest)) {
        // 3. End it by force. What it was in the middle of cannot be touched any more, and is left.
        ::TerminateThread(m_thread.Get(), /*dwExitCode=*/0);
        (void)m_loop.release();
    }
    m_thread.Reset();
    m_threadId = 0;
    m_isReady = false;
    return true;
}
