/// @file
/// OrvaMessageQueue: message objects from any thread to one thread, by asynchronous procedure calls.
#ifndef TARNU_MESSAGING_ORVAMESSAGEQUEUE_H
#define TARNU_MESSAGING_ORVAMESSAGEQUEUE_H

#include "tarnu/messaging/OrvaCallback.h"
#include "tarnu/messaging/OrvaMessage.h"
#include "tarnu/messaging/OrvaServerCode.h"

#include <atomic>

/// A queue that belongs to one thread. A posted message travels as an asynchronous procedure call: it is in the list
/// after the owning thread's next alertable wait (SleepEx, WaitForSingleObjectEx, …), or as soon as that thread asks.
/// ~~~
/// OrvaMessageQueue queue(&callback, nullptr);     // on the receiving thread
/// queue.Post(new Work);                           // on any thread
/// OrvaMessage* message = nullptr;                 // on the receiving thread again
/// while (queue.Get(message) == OrvaServerSuccess) delete message;
/// ~~~
///
/// Threads: Post, PostClose and Close may be called on any thread; Peek and Get on the owning thread only, or on any
/// one when that has ended. The queue is destroyed on the owning thread, or while that one runs no procedure calls;
/// calls may still be on their way to it. Ownership: callback and thread handle are borrowed. The queue never deletes a
/// message: take out what is left before it is destroyed.
class TARNU_API OrvaMessageQueue {
public:
    /// @param callback      executed on the owning thread for each message that arrives and when the queue is closed by
    ///                      PostClose; may be null
    /// @param threadHandle  the owning thread, with THREAD_SET_CONTEXT access, open as long as the queue is used; null
    ///                      for the calling thread
    OrvaMessageQueue(OrvaCallback* callback, HANDLE threadHandle);
    virtual ~OrvaMessageQueue();
    OrvaMessageQueue(const OrvaMessageQueue&) = delete;
    OrvaMessageQueue& operator=(const OrvaMessageQueue&) = delete;

    /// Gives the oldest message and leaves it in the queue. Runs the calling thread's waiting procedure calls first.
    /// @param message  receives it; null when there is none
    /// @return OrvaServerSuccess; OrvaServerQueueEmpty, or OrvaServerQueueClosed when the queue is closed too
    virtual OrvaServerCode Peek(OrvaMessage*& message);
    /// The same, and takes the message out.
    /// @param message  receives it, and it belongs to the caller; null when there is none
    /// @return as Peek
    virtual OrvaServerCode Get(OrvaMessage*& message);
    /// Sends a message to the owning thread. Messages of one poster arrive in their order.
    /// @param message what to send
    /// @return OrvaServerSuccess; OrvaServerNoMessage for null; OrvaServerOutOfMemory; OrvaServerFailure when the
    ///         owning thread has ended. After a failure the message still belongs to the caller.
    virtual OrvaServerCode Post(OrvaMessage* message);
    /// Marks the queue as closed, at once. Messages are still accepted and given out.
    /// @return OrvaServerFailure, always: a fixed value that means nothing
    virtual OrvaServerCode Close();

    /// Closes the queue behind the messages that were posted before: the owning thread marks it as closed and executes
    /// the callback.
    /// @return as Post
    OrvaServerCode PostClose();

private:
    struct Link;
    struct Packet;

    OrvaServerCode QueuePacket(OrvaMessage* message, PAPCFUNC procedure) noexcept;

    Packet* m_oldest = nullptr; ///< the messages that have arrived, in the packets that brought them: nothing is
                                ///< allocated on the owning thread
    Packet* m_newest = nullptr;
    HANDLE m_thread;
    std::atomic<DWORD> m_threadId = 0; ///< of the owning thread; 0 as long as nothing has told it
    std::atomic<bool> m_isClosed = false;
    OrvaCallback* m_callback;
    bool m_isThreadOwned = false;
    Link* m_link; ///< what the procedure calls on their way hold instead of the queue
};

#endif // TARNU_MESSAGING_ORVAMESSAGEQUEUE_H
