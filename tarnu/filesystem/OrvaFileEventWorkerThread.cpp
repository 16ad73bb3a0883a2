#include "tarnu/filesystem/OrvaFileEventWorkerThreadInternal.h"

#include <new>
#include <process.h>

using tarnu::support::UniqueHandle;

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
    m_loop.reset(new (std::nothrow) tarnu::FileEventLoop(m_host));
    std::unique_ptr<StartRecord> record(new (std::nothrow) StartRecord{ready.Get(), this});
    if (m_loop == nullptr || record == nullptr) return false;
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
    ::WaitForSingleObjectEx(ready.Get(), INFINITE, /*bAlertable=*/FALSE);
    return true;
}

unsigned __stdcall OrvaFileEventWorkerThread::ThreadProcedure(void* parameter) {
    const std::unique_ptr<StartRecord> record(static_cast<StartRecord*>(parameter));
    tarnu::FileEventLoop& loop = *record->worker->m_loop;
    MSG message;
    ::PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE); // from here on the thread has a queue
    ::SetEvent(record->ready);
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
           ::GetTickCount64() < end && ::WaitForSingleObject(m_thread.Get(), /*dwMilliseconds=*/10) == WAIT_TIMEOUT) {
    }
    // 2. Wait.
    const ULONGLONG now = ::GetTickCount64();
    const DWORD rest = now < end ? static_cast<DWORD>(end - now) : 0;
    if (::WaitForSingleObject(m_thread.Get(), rest) != WAIT_OBJECT_0) {
        // 3. End it by force. What it was in the middle of cannot be touched any more, and is left.
        ::TerminateThread(m_thread.Get(), /*dwExitCode=*/0);
        (void)m_loop.release();
    }
    m_thread.Reset();
    m_threadId = 0;
    return true;
}
