#include "tarnu/messaging/OrvaMessageQueue.h"

#include "tarnu/support/Owners.h"
#include "tarnu/support/SrwLock.h"

#include <cassert>
#include <memory>
#include <new>
#include <utility>

using tarnu::support::SrwExclusiveLock;
using tarnu::support::UniqueHandle;

/// Stands between a queue and the procedure calls on their way to it, which may outlive it. It lives as long as the
/// queue or one of those packets does.
struct OrvaMessageQueue::Link {
    SRWLOCK lock = SRWLOCK_INIT;
    OrvaMessageQueue* queue = nullptr; ///< null once the queue was destroyed
    Packet* packets = nullptr;         ///< those on their way
};

/// One procedure call on its way.
struct OrvaMessageQueue::Packet {
    Link* link;
    OrvaMessage* message;
    Packet* previous;
    Packet* next;

    /// Both under the link's lock.
    void Enter() noexcept {
        next = std::exchange(link->packets, this);
        if (next != nullptr) next->previous = this;
    }
    void Leave() noexcept {
        (previous != nullptr ? previous->next : link->packets) = next;
        if (next != nullptr) next->previous = previous;
    }

    /// Takes what a procedure call was given: the queue, null when that is gone, and the packet.
    static std::pair<OrvaMessageQueue*, std::unique_ptr<Packet>> Open(ULONG_PTR parameter) noexcept {
        std::unique_ptr<Packet> packet(reinterpret_cast<Packet*>(parameter));
        Link* const link = packet->link;
        bool isLast = false;
        OrvaMessageQueue* queue = nullptr;
        {
            const SrwExclusiveLock lock(link->lock);
            packet->Leave();
            queue = link->queue;
            isLast = queue == nullptr && link->packets == nullptr;
        }
        if (isLast) delete link;
        return {queue, std::move(packet)};
    }

    static void CALLBACK OnMessage(ULONG_PTR parameter) noexcept {
        auto [queue, packet] = Open(parameter);
        if (queue == nullptr) return;
        queue->m_threadId = ::GetCurrentThreadId();
        OrvaCallback* const callback = queue->m_callback;
        packet->next = nullptr;
        (queue->m_newest != nullptr ? queue->m_newest->next : queue->m_oldest) = packet.get();
        queue->m_newest = packet.release();
        if (callback != nullptr) callback->Execute();
    }
    static void CALLBACK OnClose(ULONG_PTR parameter) noexcept {
        OrvaMessageQueue* const queue = Open(parameter).first;
        if (queue == nullptr) return;
        queue->m_isClosed = true;
        if (queue->m_callback != nullptr) queue->m_callback->Execute();
    }
    static void CALLBACK OnProbe(ULONG_PTR) noexcept {}

    /// The calling thread may take messages out.
    static bool MayTake(const OrvaMessageQueue& queue) noexcept {
        if (queue.m_threadId == 0 || queue.m_threadId == ::GetCurrentThreadId()) return true;
        return ::QueueUserAPC(&OnProbe, queue.m_thread, /*dwData=*/0) == 0; // the owner has ended
    }
};

OrvaMessageQueue::OrvaMessageQueue(OrvaCallback* callback, HANDLE threadHandle)
    : m_thread(threadHandle), m_callback(callback), m_link(new (std::nothrow) Link) {
    if (m_link != nullptr) m_link->queue = this;
    // The pseudo-handle names whichever thread uses it: the poster.
    if (threadHandle == nullptr || threadHandle == ::GetCurrentThread()) {
        m_thread = nullptr;
        m_threadId = ::GetCurrentThreadId();
        m_isThreadOwned = ::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(),
                                            &m_thread, THREAD_SET_CONTEXT, /*bInheritHandle=*/FALSE,
                                            /*dwOptions=*/0) != FALSE;
    }
}

OrvaMessageQueue::~OrvaMessageQueue() {
    const UniqueHandle thread(m_isThreadOwned ? m_thread : nullptr);
    while (m_oldest != nullptr)
        delete std::exchange(m_oldest, m_oldest->next);
    if (m_link == nullptr) return;
    Packet* packets = nullptr;
    {
        const SrwExclusiveLock lock(m_link->lock);
        m_link->queue = nullptr;
        packets = m_link->packets;
        // Those on their way to a thread that has ended, or to no thread, will never arrive. A call that is refused for
        // another reason, for want of memory, says nothing about those before it.
        if (packets != nullptr) {
            if (::QueueUserAPC(&Packet::OnProbe, m_thread, /*dwData=*/0) != 0) return;
            const DWORD error = ::GetLastError();
            if (error != ERROR_GEN_FAILURE && error != ERROR_INVALID_HANDLE) return;
        }
    }
    while (packets != nullptr)
        delete std::exchange(packets, packets->next);
    delete m_link;
}

OrvaServerCode OrvaMessageQueue::QueuePacket(OrvaMessage* message, PAPCFUNC procedure) noexcept {
    std::unique_ptr<Packet> packet(m_link == nullptr ? nullptr : new (std::nothrow) Packet{m_link, message, {}, {}});
    if (packet == nullptr) return OrvaServerOutOfMemory;
    const SrwExclusiveLock lock(m_link->lock);
    if (::QueueUserAPC(procedure, m_thread, reinterpret_cast<ULONG_PTR>(packet.get())) == 0) return OrvaServerFailure;
    packet.release()->Enter(); // the call waits for the lock
    return OrvaServerSuccess;
}

OrvaServerCode OrvaMessageQueue::Peek(OrvaMessage*& message) {
    assert(Packet::MayTake(*this) && "called on the owning thread");
    ::SleepEx(/*dwMilliseconds=*/0, /*bAlertable=*/TRUE);
    message = nullptr;
    if (m_oldest == nullptr) return m_isClosed ? OrvaServerQueueClosed : OrvaServerQueueEmpty;
    message = m_oldest->message;
    return OrvaServerSuccess;
}

OrvaServerCode OrvaMessageQueue::Get(OrvaMessage*& message) {
    const OrvaServerCode code = OrvaMessageQueue::Peek(message);
    if (code != OrvaServerSuccess) return code;
    const std::unique_ptr<Packet> packet(std::exchange(m_oldest, m_oldest->next));
    if (m_oldest == nullptr) m_newest = nullptr;
    return code;
}

OrvaServerCode OrvaMessageQueue::Post(OrvaMessage* message) {
    if (message == nullptr) return OrvaServerNoMessage;
    return QueuePacket(message, &Packet::OnMessage);
}

OrvaServerCode OrvaMessageQueue::Close() {
    m_isClosed = true;
    return OrvaServerFailure; // hosts know this fixed value; one expects success
}

OrvaServerCode OrvaMessageQueue::PostClose() {
    return QueuePacket(nullptr, &Packet::OnClose);
}
