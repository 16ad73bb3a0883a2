#include "tarnu/messaging/OrvaServerThread.h"

#include "tarnu/support/Owners.h"
#include "tarnu/support/SrwLock.h"
#include "tarnu/support/ThreadEnd.h"

#include <cassert>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

using tarnu::support::CriticalSectionLock;
using tarnu::support::SrwExclusiveLock;
using tarnu::support::SrwSharedLock;
using tarnu::support::UniqueHandle;
using tarnu::support::WaitForThreadEnd;

namespace {

/// The server whose thread this is.
thread_local const OrvaServerThread* currentServer = nullptr;

struct StartRecord {
    HANDLE started;
    OrvaServerThread* server;
};

} // namespace

/// What travels to the server thread with AddHandler and RemoveHandler.
struct OrvaServerThread::Packet {
    OrvaServerThread* server;
    OrvaServerEventHandler* handler;
    HANDLE handle;

    static void CALLBACK OnAdd(ULONG_PTR parameter) {
        const std::unique_ptr<Packet> packet(reinterpret_cast<Packet*>(parameter));
        packet->server->DoAddHandler(packet->handler);
    }
    static void CALLBACK OnRemove(ULONG_PTR parameter) {
        const std::unique_ptr<Packet> packet(reinterpret_cast<Packet*>(parameter));
        packet->server->DoRemoveHandler(packet->handle);
    }
};

OrvaServerThread::OrvaServerThread() {
    ::InitializeCriticalSection(&m_startAndStop);
}

OrvaServerThread::~OrvaServerThread() {
    assert(currentServer != this && "destroyed on another thread than its own");
    if (m_thread != nullptr) OrvaServerThread::Stop(nullptr);
    ::DeleteCriticalSection(&m_startAndStop);
    CloseHandlers();
}

OrvaServerCode OrvaServerThread::Start() {
    // On the server thread itself the section may be held by a stop that waits for this very thread.
    if (currentServer == this) return m_isRunning ? OrvaServerSuccess : OrvaServerThreadNotCreated;
    const CriticalSectionLock lock(m_startAndStop);
    if (m_thread != nullptr) {
        const bool hasEnded = ::WaitForSingleObject(m_thread, /*dwMilliseconds=*/0) == WAIT_OBJECT_0;
        if (m_isRunning && !hasEnded) return OrvaServerSuccess;
        JoinThread(); // a handler has stopped it
    }
    return CreateServerThread() ? OrvaServerSuccess : OrvaServerThreadNotCreated;
}

bool OrvaServerThread::CreateServerThread() {
    UniqueHandle started(
        ::CreateEventW(/*lpEventAttributes=*/nullptr, /*bManualReset=*/FALSE, /*bInitialState=*/FALSE, nullptr));
    if (!started) return false;
    StartRecord record{started.Get(), this}; // read before the event is set
    DWORD id = 0;
    UniqueHandle thread(::CreateThread(/*lpThreadAttributes=*/nullptr, /*dwStackSize=*/0, &ThreadProcedure, &record,
                                       CREATE_SUSPENDED, &id));
    if (!thread) return false;
    {
        const SrwExclusiveLock lock(m_callLock);
        m_thread = thread.Get();
        m_threadId = id;
    }
    if (::ResumeThread(thread.Get()) == static_cast<DWORD>(-1)) {
        ::TerminateThread(thread.Get(), static_cast<DWORD>(-1)); // it has not run yet
        const SrwExclusiveLock lock(m_callLock);
        m_thread = nullptr;
        m_threadId = 0;
        return false;
    }
    // The thread's end counts too: an overridden Run may forget the event. The running flag stands in for an event that
    // could not be set, and the end is asked for where a wait fails: the record must stay until the thread has read it.
    const HANDLE either[] = {started.Get(), thread.Get()};
    for (;;) {
        constexpr DWORD lookMilliseconds = 50;
        const DWORD result = ::WaitForMultipleObjects(static_cast<DWORD>(std::size(either)), either,
                                                      /*bWaitAll=*/FALSE, lookMilliseconds);
        if (result < std::size(either) || m_isRunning) break;
        if (result == WAIT_FAILED && WaitForThreadEnd(thread.Get(), /*milliseconds=*/1)) break;
    }
    m_started = started.Release();
    (void)thread.Release(); // m_thread owns it
    return true;
}

OrvaServerCode OrvaServerThread::AddHandler(OrvaServerEventHandler* handler) {
    return QueuePacket(handler, &Packet::OnAdd);
}

OrvaServerCode OrvaServerThread::RemoveHandler(OrvaServerEventHandler* handler) {
    return QueuePacket(handler, &Packet::OnRemove);
}

OrvaServerCode OrvaServerThread::QueuePacket(OrvaServerEventHandler* handler, PAPCFUNC procedure) {
    if (handler == nullptr) return OrvaServerFailure;
    std::unique_ptr<Packet> packet(new (std::nothrow) Packet{this, handler, handler->GetHandle()});
    if (packet == nullptr) return OrvaServerOutOfMemory;
    const SrwSharedLock lock(m_callLock);
    if (m_isAccepting == 0 || ::QueueUserAPC(procedure, m_thread, reinterpret_cast<ULONG_PTR>(packet.get())) == 0) {
        return OrvaServerFailure;
    }
    (void)packet.release(); // the procedure call frees it
    return OrvaServerSuccess;
}

OrvaServerCode OrvaServerThread::Stop(OrvaServerCode* code) {
    if (currentServer == this) {
        // Never wait here: the thread would wait for itself. Whoever stops, starts or destroys the server next does.
        ClearRunningFlag(reinterpret_cast<ULONG_PTR>(this));
    } else {
        const CriticalSectionLock lock(m_startAndStop);
        if (m_thread != nullptr) JoinThread();
    }
    if (code != nullptr) *code = OrvaServerSuccess;
    return OrvaServerFailure; // hosts know this fixed value; one expects success
}

// The stop sequence; the first lock is held, and this is not the server thread.
void OrvaServerThread::JoinThread() noexcept {
    // 1. A procedure call ends the thread's wait and clears the running flag there. It can fail for want of memory
    //    while the thread lives: then again, and soon.
    // 2. The thread takes no more handlers, closes those it has, and ends.
    for (;;) {
        const bool isAsked = ::QueueUserAPC(&ClearRunningFlag, m_thread, reinterpret_cast<ULONG_PTR>(this)) != 0;
        if (WaitForThreadEnd(m_thread, isAsked ? 1000 : 10)) break;
    }
    // 3. Nobody queues to the handle any more once it is cleared.
    const SrwExclusiveLock lock(m_callLock);
    const UniqueHandle thread(std::exchange(m_thread, nullptr));
    const UniqueHandle started(std::exchange(m_started, nullptr));
    m_threadId = 0;
    m_isRunning = false; // also when the thread was ended from outside
    m_isAccepting = 0;
}

void CALLBACK OrvaServerThread::ClearRunningFlag(ULONG_PTR server) {
    auto* const self = reinterpret_cast<OrvaServerThread*>(server);
    self->m_isRunning = false;
    // The thread's wait lasts until no call is left: callers that never pause would keep it there for ever.
    const SrwExclusiveLock lock(self->m_callLock);
    self->m_isAccepting = 0;
}

DWORD CALLBACK OrvaServerThread::ThreadProcedure(void* parameter) {
    const StartRecord record = *static_cast<const StartRecord*>(parameter);
    OrvaServerThread* const server = record.server;
    currentServer = server;
    {
        const SrwExclusiveLock lock(server->m_callLock);
        server->m_isAccepting = 1;
    }
    const DWORD result = server->Run(record.started);
    server->EndAccepting();
    server->m_isRunning = false;
    return result;
}

DWORD OrvaServerThread::Run(HANDLE started) {
    m_isRunning = true;
    ::SetEvent(started);
    while (m_isRunning) {
        // A handle that stays signalled ends every wait before a procedure call can run: let them run here.
        ::SleepEx(/*dwMilliseconds=*/0, /*bAlertable=*/TRUE);
        if (!m_isRunning) break;
        if (m_selector.GetCount() == 0) {
            ::SleepEx(INFINITE, /*bAlertable=*/TRUE);
            continue;
        }
        HANDLE handle = nullptr;
        OrvaSynchronizedSelector::HandleRecord* record = nullptr;
        m_selector.Wait(/*waitAll=*/false, INFINITE, /*alertable=*/true, handle, &record);
        if (record != nullptr) record->handler->OnSignaled();
    }
    EndAccepting();
    CloseHandlers();
    OnStopped();
    return 0;
}

/// From here on handlers are refused; those on their way arrive.
void OrvaServerThread::EndAccepting() noexcept {
    {
        const SrwExclusiveLock lock(m_callLock);
        m_isAccepting = 0;
    }
    ::SleepEx(/*dwMilliseconds=*/0, /*bAlertable=*/TRUE);
}

void OrvaServerThread::CloseHandlers() noexcept {
    HANDLE handle = nullptr;
    OrvaServerEventHandler* removed = nullptr;
    while (m_selector.RemoveAny(handle, removed)) {
        const std::unique_ptr<OrvaServerEventHandler> handler(removed);
        const DWORD result = ::WaitForSingleObject(handle, /*dwMilliseconds=*/0);
        if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED_0) handler->OnSignaled();
        handler->OnClose();
    }
}

void OrvaServerThread::DoAddHandler(OrvaServerEventHandler* handler) {
    OrvaServerEventHandler* displaced = nullptr;
    try {
        displaced = m_selector.Add(handler->GetHandle(), handler);
        if (displaced == handler) return; // added twice
    } catch (const std::bad_alloc&) {
        displaced = handler; // nobody is there to be told
    }
    const std::unique_ptr<OrvaServerEventHandler> closed(displaced);
    if (closed != nullptr) closed->OnClose();
}

void OrvaServerThread::DoRemoveHandler(HANDLE handle) {
    if (OrvaServerEventHandler* const handler = m_selector.Remove(handle)) handler->OnRemoved();
}

void OrvaServerThread::OnStopped() {}
