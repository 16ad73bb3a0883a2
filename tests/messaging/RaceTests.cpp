// The points where one thread hands something over to another one, thousands of times with ever different timing.

#include "messaging/TestWindow.h"
#include "support/HandleCount.h"
#include "support/Wait.h"
#include "tarnu/messaging/OrvaMessageQueue.h"
#include "tarnu/messaging/OrvaServerThread.h"
#include "tarnu/messaging/OrvaSubClassWnd.h"
#include "tarnu/messaging/OrvaWndMsgServer.h"
#include "tarnu/support/Owners.h"

#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace tarnu::test {
namespace {

using support::UniqueHandle;

/// Wastes a moment whose length differs from call to call.
class Jitter {
public:
    explicit Jitter(unsigned seed) : m_random(seed) {}
    void operator()() {
        const unsigned choice = m_random() % 64;
        if (choice == 0) ::Sleep(0);
        for (unsigned count = m_random() % 4096 >> (choice % 12); count > 0; --count)
            ::YieldProcessor();
    }
    unsigned Below(unsigned limit) { return m_random() % limit; }

private:
    std::mt19937 m_random;
};

struct Message : OrvaMessage {
    Message() { ++alive; }
    ~Message() override { --alive; }
    static inline std::atomic<int> alive = 0;
};

UniqueHandle OpenThisThread() {
    HANDLE thread = nullptr;
    ::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(), &thread, 0, FALSE,
                      DUPLICATE_SAME_ACCESS);
    return UniqueHandle(thread);
}

/// Posts until that fails; what was refused is deleted here, as the contract has it. After some messages only the
/// owner's end is waited for: an owner that always has one more would never come to its end.
unsigned PostUntilRefused(OrvaMessageQueue& queue, HANDLE owner, Jitter& jitter) {
    for (unsigned posted = 0;; ++posted) {
        if (posted == 30) {
            EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(owner, mustHappen));
        }
        auto message = std::make_unique<Message>();
        const OrvaServerCode code = queue.Post(message.get());
        if (code != OrvaServerSuccess) {
            EXPECT_EQ(OrvaServerFailure, code);
            EXPECT_EQ(OrvaServerFailure, queue.PostClose()) << "it was refused once";
            return posted;
        }
        (void)message.release(); // taken out by the owner, or lost with the thread that it was on its way to
        jitter();
    }
}

TEST(Races, PostingWhileTheQueuesOwnerEnds) {
    constexpr unsigned rounds = 2000;
    const unsigned handles = CountHandles();
    unsigned taken = 0;
    unsigned sent = 0;
    Jitter jitter(1);
    for (unsigned round = 0; round < rounds && !::testing::Test::HasFailure(); ++round) {
        std::unique_ptr<OrvaMessageQueue> queue;
        UniqueHandle ownersHandle;
        std::atomic<bool> isReady = false;
        std::thread owner([&, seed = round] {
            Jitter ownersJitter(seed);
            ownersHandle = OpenThisThread();
            queue = std::make_unique<OrvaMessageQueue>(nullptr, ownersHandle.Get());
            isReady = true;
            for (unsigned count = ownersJitter.Below(8); count > 0; --count) {
                OrvaMessage* message = nullptr;
                while (queue->Get(message) == OrvaServerSuccess) {
                    delete message;
                    ++taken;
                }
                ownersJitter();
            }
        });
        while (!isReady)
            ::YieldProcessor();
        std::thread poster([&, seed = round + rounds] {
            Jitter postersJitter(seed);
            const unsigned count = PostUntilRefused(*queue, ownersHandle.Get(), postersJitter);
            owner.join();
            sent += count;
        });
        jitter();
        const unsigned own = PostUntilRefused(*queue, ownersHandle.Get(), jitter);
        poster.join();
        sent += own;
        // What arrived and was not taken out is given out still, to whoever owns the queue now.
        OrvaMessage* message = nullptr;
        while (queue->Get(message) == OrvaServerSuccess) {
            delete message;
            ++taken;
        }
        if (round % 2 == 0) queue->Close();
    }
    EXPECT_LE(taken, sent);
    EXPECT_EQ(static_cast<int>(sent - taken), Message::alive) << "a message that was refused belongs to the poster";
    EXPECT_LE(CountHandles(), handles + 4); // the threads' own leftovers
}

TEST(Races, DestroyingTheQueueWhileItsOwnerRunsCalls) {
    // Packets on their way hold what is left of the queue: the last one of them frees it, or the queue does.
    std::atomic<bool> isDone = false;
    UniqueHandle owner;
    std::atomic<bool> isReady = false;
    struct Owned : OrvaCallback {
        BOOL Execute() override { return TRUE; }
    };
    std::atomic<OrvaMessageQueue*> doomed = nullptr;
    std::thread thread([&] {
        owner = OpenThisThread();
        isReady = true;
        Jitter jitter(2);
        while (!isDone) {
            ::SleepEx(0, TRUE);
            jitter();
            delete doomed.exchange(nullptr); // on the owning thread, with packets still coming
        }
    });
    while (!isReady)
        ::YieldProcessor();
    Jitter jitter(3);
    Message message;
    Owned callback;
    for (unsigned round = 0; round < 20'000; ++round) {
        auto queue = std::make_unique<OrvaMessageQueue>(&callback, owner.Get());
        for (unsigned count = jitter.Below(6); count > 0; --count)
            ASSERT_EQ(OrvaServerSuccess, queue->Post(&message));
        ASSERT_EQ(OrvaServerSuccess, queue->PostClose());
        doomed = queue.release();
        while (doomed != nullptr)
            jitter();
    }
    isDone = true;
    thread.join();
}

class Handler : public OrvaServerEventHandler {
public:
    Handler(OrvaServerThread& server, std::atomic<int>& ended, std::atomic<int>& deleted)
        : m_server(server), m_ended(ended), m_deleted(deleted), m_event(::CreateEventW(nullptr, TRUE, TRUE, nullptr)) {}
    ~Handler() override { ++m_deleted; }

    HANDLE GetHandle() override { return m_event.Get(); }
    void OnSignaled() override {
        if (++m_signals < 3) return;
        if (m_signals == 3) m_server.RemoveHandler(this);
        if (m_signals == 4) m_server.Stop();
    }
    void OnClose() override { ++m_ended; }
    void OnRemoved() override {
        ++m_ended;
        delete this;
    }

private:
    OrvaServerThread& m_server;
    std::atomic<int>& m_ended;
    std::atomic<int>& m_deleted;
    UniqueHandle m_event;
    int m_signals = 0;
};

TEST(Races, StartingStoppingAndAddingFromThreeThreads) {
    constexpr int rounds = 1500;
    const unsigned handles = CountHandles();
    std::atomic<int> refused = 0;
    std::atomic<int> ended = 0; // closed or removed
    std::atomic<int> deleted = 0;
    {
        OrvaServerThread server;
        const auto work = [&](unsigned seed) {
            Jitter jitter(seed);
            for (int round = 0; round < rounds; ++round) {
                EXPECT_EQ(OrvaServerSuccess, server.Start());
                jitter();
                auto handler = std::make_unique<Handler>(server, ended, deleted);
                if (server.AddHandler(handler.get()) == OrvaServerSuccess) {
                    (void)handler.release();
                } else {
                    ++refused;
                }
                jitter();
                if (jitter.Below(2) == 0) server.Stop();
            }
        };
        std::thread first(work, 4);
        std::thread second(work, 5);
        work(6);
        first.join();
        second.join();
    }
    EXPECT_EQ(3 * rounds - refused, ended);
    EXPECT_EQ(3 * rounds, deleted) << "each handler is deleted once, by the server or by the one who was refused";
    EXPECT_LE(CountHandles(), handles + 4);
}

/// Waits for the ends of two threads that send to windows of the calling one, which therefore dispatches meanwhile.
void PumpUntilEnded(std::thread& first, std::thread& second) {
    std::atomic<bool> areEnded = false;
    std::thread joiner([&] {
        first.join();
        second.join();
        areEnded = true;
    });
    EXPECT_TRUE(PumpUntil([&] { return areEnded.load(); }));
    joiner.join();
}

class Hooked : public OrvaSubClassWnd {
public:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message != WM_APP) return OrvaSubClassWnd::WindowProc(message, wParam, lParam);
        ++calls;
        if (isUnhookedInside) UnSubClass();
        return OrvaSubClassWnd::WindowProc(message, wParam, lParam);
    }
    unsigned calls = 0;
    bool isUnhookedInside = false;
};

TEST(Races, UnhookingWhileOtherThreadsSend) {
    // Each message passes the chain as it stands at that moment, and always reaches the window.
    constexpr unsigned rounds = 5000;
    std::atomic<unsigned> sent = 0;
    std::atomic<bool> isDone = false;
    std::string log;
    unsigned received = 0;
    TestWindow window(log);
    window.onMessage = [&](HWND, UINT) {
        ++received;
        log.clear();
    };
    const auto send = [&, handle = window.Handle()] {
        while (!isDone) {
            ::SendMessageW(handle, WM_APP, 3, 4) == 7 ? ++sent : sent += 1'000'000;
        }
    };
    std::thread first(send);
    std::thread second(send);
    Jitter jitter(7);
    unsigned calls = 0;
    for (unsigned round = 0; round < rounds; ++round) {
        std::array<Hooked, 3> hooked;
        for (Hooked& object : hooked) {
            object.isUnhookedInside = jitter.Below(3) == 0;
            ASSERT_TRUE(object.SubClass(window.Handle()));
            PumpMessages();
        }
        ASSERT_TRUE(PumpUntil([&] { return hooked[2].calls > 0; }));
        hooked[jitter.Below(3)].UnSubClass();
        PumpMessages();
        for (const Hooked& object : hooked)
            calls += object.calls;
    }
    EXPECT_EQ(TestWindow::OwnProcedure(), window.Procedure());
    isDone = true;
    PumpUntilEnded(first, second);
    EXPECT_EQ(sent, received);
    EXPECT_GE(calls, rounds);
}

TEST(Races, WindowsOfSeveralThreadsHookAndUnhook) {
    std::atomic<unsigned> failures = 0;
    const auto work = [&](unsigned seed) {
        Jitter jitter(seed);
        std::string log;
        unsigned received = 0;
        for (unsigned round = 0; round < 1000; ++round) {
            TestWindow window(log);
            window.onMessage = [&](HWND, UINT message) { received += message == WM_APP ? 1 : 0; };
            std::array<Hooked, 2> hooked;
            for (Hooked& object : hooked) {
                if (!object.SubClass(window.Handle())) ++failures;
                jitter();
            }
            received = 0;
            hooked[0].isUnhookedInside = round % 2 == 0;
            window.Send();
            if (received != 1 || hooked[0].calls != 1 || hooked[1].calls != 1) ++failures;
            if (round % 3 == 0) window.Destroy();
            jitter();
        }
    };
    std::thread first(work, 8);
    std::thread second(work, 9);
    work(10);
    first.join();
    second.join();
    EXPECT_EQ(0u, failures);
}

TEST(Races, SubscribingWhileOtherThreadsSend) {
    constexpr UINT message = WM_APP + 0x180;
    struct Counter : OrvaWndMsgServer::Callback {
        HRESULT OnMessage(OrvaWndMsgServer::MessageRecord&) override {
            ++calls;
            return S_OK;
        }
        std::atomic<unsigned> calls = 0;
    };
    OrvaWndMsgServer* const server = OrvaGetWndMsgServer();
    Counter always;
    UINT cookie = 0;
    ASSERT_EQ(S_OK, server->RegisterCallback(message, cookie, &always));
    std::atomic<bool> isDone = false;
    std::atomic<unsigned> sent = 0;
    const auto send = [&] {
        for (unsigned number = 0; !isDone; ++number) {
            if (number % 2 == 0) {
                server->SendMessage(message, 0, 0);
            } else {
                // A queue that is filled faster than it is emptied would keep this test's pump for ever.
                while (!isDone && sent - always.calls > 50)
                    ::Sleep(0);
                while (!server->PostMessage(message, 0, 0))
                    ::Sleep(1);
            }
            ++sent;
        }
    };
    std::thread first(send);
    std::thread second(send);
    for (unsigned round = 0; round < 5000; ++round) {
        auto passing = std::make_unique<Counter>();
        UINT itsCookie = 0;
        ASSERT_EQ(S_OK, server->RegisterCallback(message, itsCookie, passing.get()));
        ASSERT_TRUE(PumpUntil([&] { return passing->calls > 0; }));
        ASSERT_EQ(S_OK, server->RemoveCallback(message, itsCookie));
        passing = nullptr; // not called any more, whatever is on its way
        PumpMessages();
    }
    isDone = true;
    PumpUntilEnded(first, second);
    EXPECT_TRUE(PumpUntil([&] { return always.calls == sent; })) << always.calls << " of " << sent;
    EXPECT_EQ(S_OK, server->RemoveCallback(message, cookie));
}

} // namespace
} // namespace tarnu::test
