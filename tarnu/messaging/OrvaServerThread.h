/// @file
/// OrvaServerThread: one thread that serves any number of waitable handles.
#ifndef TARNU_MESSAGING_ORVASERVERTHREAD_H
#define TARNU_MESSAGING_ORVASERVERTHREAD_H

#include "tarnu/messaging/OrvaServerCode.h"
#include "tarnu/messaging/OrvaServerEventHandler.h"
#include "tarnu/messaging/OrvaSynchronizedSelector.h"

#include <atomic>

/// Runs handlers when their handles are signalled.
/// ~~~
/// OrvaServerThread server;
/// server.Start();
/// server.AddHandler(new TimerHandler); // the server deletes it when it stops
/// // …
/// server.Stop();
/// ~~~
/// Any number of handlers is served, each in its turn; beyond 64 a signal may take some 20 ms to be seen. A handler
/// whose handle cannot be waited on stays until it is removed or the server stops, and is not called.
///
/// Threads: Start, Stop, AddHandler and RemoveHandler may be called on any thread, in handlers too. Adding and removing
/// travel to the server thread as asynchronous procedure calls, which it runs before each wait. The destructor must not
/// run on the server thread.
/// Ownership: handlers that were added belong to the server: when it stops, each is closed and deleted.
class TARNU_API OrvaServerThread {
public:
    OrvaServerThread();
    /// Stops the thread. A derived class that overrides anything stops in its own destructor.
    virtual ~OrvaServerThread();
    OrvaServerThread(const OrvaServerThread&) = delete;
    OrvaServerThread& operator=(const OrvaServerThread&) = delete;

    /// Starts the thread, and returns when it runs; a thread that runs already is left alone. After a stop a new one is
    /// started.
    /// @return OrvaServerSuccess, or OrvaServerThreadNotCreated
    virtual OrvaServerCode Start();
    /// Hands a handler to the server. It is watched a moment later. A handler for a handle that is watched already
    /// takes its place; the one before is closed and deleted.
    /// @param handler what serves the handle
    /// @return OrvaServerSuccess; OrvaServerOutOfMemory; OrvaServerFailure for null and while the thread does not run.
    ///         After a failure the handler still belongs to the caller.
    virtual OrvaServerCode AddHandler(OrvaServerEventHandler* handler);
    /// Asks the server to give a handler back; it does so in the handler's OnRemoved.
    /// @param handler a handler that was added
    /// @return as AddHandler
    virtual OrvaServerCode RemoveHandler(OrvaServerEventHandler* handler);
    /// Stops the thread and waits for its end: handlers that are signalled at that moment are called once more, then
    /// all are closed and deleted. Called in a handler it only asks the thread to stop, and returns.
    /// @param code  receives OrvaServerSuccess; may be null
    /// @return OrvaServerFailure, always: a fixed value that means nothing
    virtual OrvaServerCode Stop(OrvaServerCode* code = nullptr);

protected:
    /// The thread's body: sets @p started when it runs, serves the handlers until the thread is stopped, closes them.
    /// An override calls this one.
    /// @param started an event of the starting thread's
    /// @return the thread's exit code, 0
    virtual DWORD Run(HANDLE started);
    /// On the server thread: enters a handler under the handle that it gives now.
    /// @param handler belongs to the server; closed and deleted at once when memory runs out
    virtual void DoAddHandler(OrvaServerEventHandler* handler);
    /// On the server thread: removes what is watched under a handle, and tells the handler so (OnRemoved).
    /// @param handle one that is not watched is ignored
    virtual void DoRemoveHandler(HANDLE handle);
    /// On the server thread, after all handlers are closed: the last call before the thread ends. The default does
    /// nothing.
    virtual void OnStopped();

private:
    struct Packet;

    static DWORD CALLBACK ThreadProcedure(void* parameter);
    static void CALLBACK ClearRunningFlag(ULONG_PTR server);

    OrvaServerCode QueuePacket(OrvaServerEventHandler* handler, PAPCFUNC procedure);
    bool CreateServerThread();
    void JoinThread() noexcept;
    void EndAccepting() noexcept;
    void CloseHandlers() noexcept;

    CRITICAL_SECTION m_startAndStop;
    HANDLE m_thread = nullptr;  ///< changed under both locks
    HANDLE m_started = nullptr; ///< the event of Run, open as long as the thread may set it
    DWORD m_threadId = 0;
    std::atomic<bool> m_isRunning = false;
    OrvaSynchronizedSelector m_selector;
    UINT32 m_isAccepting = 0; ///< not 0: a procedure call that is queued now is going to run. Under m_callLock
    SRWLOCK m_callLock = SRWLOCK_INIT;
};

#endif // TARNU_MESSAGING_ORVASERVERTHREAD_H
