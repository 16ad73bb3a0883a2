#include "tarnu/messaging/OrvaMessageQueue.h"

#include "support/HandleCount.h"
#include "support/Wait.h"
#include "tarnu/support/Owners.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

namespace tarnu::test {
namespace {

using support::UniqueHandle;

struct Message : OrvaMessage {
    explicit Message(int sender = 0, int place = 0) : poster(sender), number(place) {}
    int poster;
    int number;
};

struct Counter : OrvaCallback {
    BOOL Execute() override {
        ++calls;
        threadId = ::GetCurrentThreadId();
        return TRUE;
    }
    std::atomic<int> calls = 0;
    std::atomic<DWORD> threadId = 0;
};

UniqueHandle OpenThisThread() {
    HANDLE thread = nullptr;
    ::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(), &thread, 0, FALSE,
                      DUPLICATE_SAME_ACCESS);
    return UniqueHandle(thread);
}

/// A thread that does nothing until it is told to become alertable, and then to end.
class IdleThread {
public:
    IdleThread() : m_thread([this] { Run(); }) { ::WaitForSingleObject(m_ready.Get(), INFINITE); }
    ~IdleThread() { End(); }
    HANDLE Handle() const { return m_handle.Get(); }
    /// Runs the calls that wait.
    void RunCalls() {
        ::SetEvent(m_run.Get());
        ::WaitForSingleObject(m_ready.Get(), INFINITE);
    }
    void End() {
        if (!m_thread.joinable()) return;
        ::SetEvent(m_end.Get());
        m_thread.join();
    }

private:
    void Run() {
        m_handle = OpenThisThread();
        ::SetEvent(m_ready.Get());
        const HANDLE events[] = {m_run.Get(), m_end.Get()};
        while (::WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0) {
            ::SleepEx(0, TRUE);
            ::SetEvent(m_ready.Get());
        }
    }

    UniqueHandle m_ready{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    UniqueHandle m_run{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    UniqueHandle m_end{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    UniqueHandle m_handle;
    std::thread m_thread;
};

TEST(MessageQueue, EmptyClosedAndNull) {
    OrvaMessageQueue queue(nullptr, nullptr);
    Message message;
    OrvaMessage* out = &message;
    EXPECT_EQ(2002001u, queue.Get(out));
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(1000002u, queue.Post(nullptr));
    EXPECT_EQ(2002001u, queue.Peek(out));
    EXPECT_EQ(1000001u, queue.Close());
    out = &message;
    EXPECT_EQ(2002002u, queue.Peek(out));
    EXPECT_EQ(nullptr, out);
    EXPECT_EQ(2002002u, queue.Get(out));
    EXPECT_EQ(0u, queue.Post(&message)); // closed queues still carry
    EXPECT_EQ(0u, queue.Get(out));
    EXPECT_EQ(&message, out);
    EXPECT_EQ(2002002u, queue.Get(out));
}

TEST(MessageQueue, PeekLeavesAndGetTakes) {
    Counter counter;
    OrvaMessageQueue queue(&counter, nullptr);
    Message messages[25];
    for (Message& message : messages)
        EXPECT_EQ(OrvaServerSuccess, queue.Post(&message));
    EXPECT_EQ(0, counter.calls); // nothing arrives before the thread waits alertably or asks
    OrvaMessage* out = nullptr;
    for (Message& message : messages) {
        EXPECT_EQ(OrvaServerSuccess, queue.Peek(out));
        EXPECT_EQ(&message, out);
        EXPECT_EQ(OrvaServerSuccess, queue.Get(out));
        EXPECT_EQ(&message, out);
    }
    EXPECT_EQ(25, counter.calls);
    EXPECT_EQ(OrvaServerQueueEmpty, queue.Get(out));

    queue.Post(&messages[0]);
    EXPECT_EQ(OrvaServerSuccess, queue.PostClose());
    EXPECT_EQ(OrvaServerSuccess, queue.Get(out)) << "the end comes behind the message";
    EXPECT_EQ(27, counter.calls);
    EXPECT_EQ(OrvaServerQueueClosed, queue.Get(out));
}

TEST(MessageQueue, DeliversOnTheThreadThatItWasGiven) {
    IdleThread owner;
    Counter counter;
    Message message;
    OrvaMessageQueue queue(&counter, owner.Handle());
    EXPECT_EQ(OrvaServerSuccess, queue.Post(&message));
    ::SleepEx(0, TRUE);
    EXPECT_EQ(0, counter.calls);
    owner.RunCalls();
    EXPECT_EQ(1, counter.calls);
    EXPECT_NE(::GetCurrentThreadId(), counter.threadId);
}

TEST(MessageQueue, ThePseudoHandleMeansTheConstructingThread) {
    Counter counter;
    OrvaMessageQueue queue(&counter, ::GetCurrentThread());
    Message message;
    std::thread poster([&] {
        queue.Post(&message);
        ::SleepEx(0, TRUE);
    });
    poster.join();
    EXPECT_EQ(0, counter.calls);
    OrvaMessage* out = nullptr;
    EXPECT_EQ(OrvaServerSuccess, queue.Get(out));
    EXPECT_EQ(::GetCurrentThreadId(), counter.threadId);
}

TEST(MessageQueue, SeveralPostersKeepTheirOrder) {
    constexpr int posters = 4;
    constexpr int perPoster = 500;
    OrvaMessageQueue queue(nullptr, nullptr);
    std::vector<std::thread> threads;
    std::atomic<int> failures = 0;
    for (int poster = 0; poster < posters; ++poster) {
        threads.emplace_back([&, poster] {
            for (int number = 0; number < perPoster; ++number) {
                if (queue.Post(new Message(poster, number)) != OrvaServerSuccess) ++failures;
            }
        });
    }
    int next[posters] = {};
    int received = 0;
    EXPECT_TRUE(WaitUntil([&] {
        OrvaMessage* out = nullptr;
        while (queue.Get(out) == OrvaServerSuccess) {
            const std::unique_ptr<Message> message(static_cast<Message*>(out));
            EXPECT_EQ(next[message->poster]++, message->number);
            ++received;
        }
        return received == posters * perPoster;
    }));
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, failures);
}

TEST(MessageQueue, PostsToAnEndedOwnerFail) {
    IdleThread owner;
    Message message;
    OrvaMessageQueue queue(nullptr, owner.Handle());
    EXPECT_EQ(OrvaServerSuccess, queue.Post(&message)); // never arrives; its call is freed with the queue
    owner.End();
    for (int round = 0; round < 1000; ++round)
        ASSERT_EQ(1000001u, queue.Post(&message));
    EXPECT_EQ(1000001u, queue.PostClose());
}

TEST(MessageQueue, CallsOnTheirWayOutliveTheQueue) {
    IdleThread owner;
    Counter counter;
    Message message;
    const unsigned handles = CountHandles();
    for (int round = 0; round < 100; ++round) {
        OrvaMessageQueue queue(&counter, owner.Handle());
        queue.Post(&message);
        queue.PostClose();
    }
    owner.RunCalls();
    EXPECT_EQ(0, counter.calls);
    {
        OrvaMessageQueue own(&counter, nullptr);
        own.Post(&message);
    }
    ::SleepEx(0, TRUE);
    EXPECT_EQ(0, counter.calls);
    EXPECT_EQ(handles, CountHandles());
}

TEST(MessageQueue, TheCallbackMayDestroyTheQueue) {
    struct Destroyer : OrvaCallback {
        BOOL Execute() override {
            queue.reset();
            return TRUE;
        }
        std::unique_ptr<OrvaMessageQueue> queue;
    };
    for (const bool isClose : {false, true}) {
        Destroyer destroyer;
        Message message;
        destroyer.queue = std::make_unique<OrvaMessageQueue>(&destroyer, nullptr);
        isClose ? destroyer.queue->PostClose() : destroyer.queue->Post(&message);
        destroyer.queue->Post(&message);
        ::SleepEx(0, TRUE);
        EXPECT_EQ(nullptr, destroyer.queue);
    }
}

} // namespace
} // namespace tarnu::test
