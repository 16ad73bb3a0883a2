#include "tarnu/messaging/OrvaMessageQueue.h"

#include "tarnu/support/Owners.h"
#include "tarnu/support/SrwLock.h"

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

    /// Takes what a procedure call was given, and frees it: the queue, null when that is gone, and the message.
    static std::pair<OrvaMessageQueue*, OrvaMessage*> Open(ULONG_PTR parameter) noexcept {
        const std::unique_ptr<Packet> packet(reinterpret_cast<Packet*>(parameter));
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
        return {queue, packet->message};
    }

    static void CALLBACK OnMessage(ULONG_PTR parameter) noexcept {
        const auto [queue, message] = Open(parameter);
        if (queue != nullptr) queue->Deliver(message);
    }
    static void CALLBACK OnClose(ULONG_PTR parameter) noexcept {
        const auto [queue, message] = Open(parameter);
        if (queue == nullptr) return;
        queue->m_isClosed = true;
        if (queue->m_callback != nullptr) queue->m_callback->Execute();
    }
    static void CALLBACK OnProbe(ULONG_PTR) noexcept {}
};

OrvaMessageQueue::OrvaMessageQueue(OrvaCallback* callback, HANDLE threadHandle)
    : m_messages(/*blockSize=*/10), m_thread(threadHandle), m_callback(callback), m_link(new (std::nothrow) Link) {
    if (m_link != nullptr) m_link->queue = this;
    // The pseudo-handle names whichever thread uses it: the poster.
    if (threadHandle == nullptr || threadHandle == ::GetCurrentThread()) {
        m_thread = nullptr;
        m_isThreadOwned = ::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(),
                                            &m_thread, THREAD_SET_CONTEXT, /*bInheritHandle=*/FALSE,
                                            /*dwOptions=*/0) != FALSE;
    }
}

OrvaMessageQueue::~OrvaMessageQueue() {
    const UniqueHandle thread(m_isThreadOwned ? m_thread : nullptr);
    if (m_link == nullptr) return;
    Packet* packets = nullptr;
    {
        const SrwExclusiveLock lock(m_link->lock);
        m_link->queue = nullptr;
        packets = m_link->packets;
        // Those on their way to a thread that takes no more calls will never arrive.
        if (packets != nullptr && ::QueueUserAPC(&Packet::OnProbe, m_thread, /*dwData=*/0) != 0) return;
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

void OrvaMessageQueue::Deliver(OrvaMessage* message) noexcept {
    OrvaCallback* const callback = m_callback;
    m_messages.AddTail(message);
    if (callback != nullptr) callback->Execute();
}

OrvaServerCode OrvaMessageQueue::Peek(OrvaMessage*& message) {
    ::SleepEx(/*dwMilliseconds=*/0, /*bAlertable=*/TRUE);
    message = nullptr;
    if (m_messages.IsEmpty()) return m_isClosed ? OrvaServerQueueClosed : OrvaServerQueueEmpty;
    message = m_messages.GetHead();
    return OrvaServerSuccess;
}

OrvaServerCode OrvaMessageQueue::Get(OrvaMessage*& message) {
    const OrvaServerCode code = OrvaMessageQueue::Peek(message);
    if (code == OrvaServerSuccess) m_messages.RemoveHead();
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
