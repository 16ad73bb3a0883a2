/// @file
/// OrvaFileEventWorkerThread: the thread of the file event service.
#ifndef TARNU_FILESYSTEM_ORVAFILEEVENTWORKERTHREADINTERNAL_H
#define TARNU_FILESYSTEM_ORVAFILEEVENTWORKERTHREADINTERNAL_H

#include "tarnu/filesystem/FileEventLoopInternal.h"

#include <atomic>

/// Starts, feeds and ends the worker. Used on the host's thread.
class OrvaFileEventWorkerThread {
public:
    explicit OrvaFileEventWorkerThread(OrvaWndMsgServer& host) noexcept : m_host(host) {}
    ~OrvaFileEventWorkerThread();
    OrvaFileEventWorkerThread(const OrvaFileEventWorkerThread&) = delete;
    OrvaFileEventWorkerThread& operator=(const OrvaFileEventWorkerThread&) = delete;

    bool Start() noexcept;
    bool IsRunning() const noexcept { return static_cast<bool>(m_thread); }
    /// Returns whether a running worker was stopped.
    bool Stop() noexcept;
    /// Posts to the worker; FALSE with ERROR_INVALID_THREAD_ID when there is none.
    BOOL Post(UINT message, WPARAM wParam, LPARAM lParam) noexcept;

private:
    struct StartRecord;
    static unsigned __stdcall ThreadProcedure(void* parameter);

    OrvaWndMsgServer& m_host;
    std::unique_ptr<tarnu::FileEventLoop> m_loop;
    tarnu::support::UniqueHandle m_thread; ///< empty, as the id, when not running
    unsigned m_threadId = 0;
    std::atomic<bool> m_isReady = false; ///< the thread takes messages
};

#endif // TARNU_FILESYSTEM_ORVAFILEEVENTWORKERTHREADINTERNAL_H
