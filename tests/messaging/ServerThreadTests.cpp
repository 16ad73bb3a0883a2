#include "tarnu/messaging/OrvaServerThread.h"

#include "support/Wait.h"
#include "tarnu/messaging/OrvaSocket.h"
#include "tarnu/support/Owners.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tarnu::test {
namespace {

using support::UniqueHandle;

/// What became of a handler; outlives it.
struct Fate {
    std::atomic<int> signaled = 0;
    std::atomic<int> closed = 0;
    std::atomic<int> removed = 0;
    std::atomic<int> deleted = 0;
    std::atomic<DWORD> threadId = 0;
    std::atomic<int> signaledWhenRemoved = -1;
};

/// Serves an event of its own, or any handle that it is given.
class Handler : public OrvaServerEventHandler {
public:
    explicit Handler(Fate& fate, bool isManual = false)
        : m_fate(fate), m_event(::CreateEventW(nullptr, isManual, FALSE, nullptr)), m_handle(m_event.Get()) {}
    Handler(Fate& fate, HANDLE handle) : m_fate(fate), m_handle(handle) {}
    ~Handler() override { ++m_fate.deleted; }

    HANDLE GetHandle() override { return m_handle; }
    void OnSignaled() override {
        m_fate.threadId = ::GetCurrentThreadId();
        ++m_fate.signaled;
        if (onSignaled) onSignaled();
    }
    void OnClose() override { ++m_fate.closed; }
    void OnRemoved() override {
        m_fate.signaledWhenRemoved = m_fate.signaled.load();
        ++m_fate.removed;
        if (isDeletedWhenRemoved) delete this;
    }

    std::function<void()> onSignaled;
    bool isDeletedWhenRemoved = true;

private:
    Fate& m_fate;
    UniqueHandle m_event;
    HANDLE m_handle;
};

class ServerThread : public ::testing::Test {
protected:
    Handler* Add(Fate& fate, bool isManual = false) {
        auto* handler = new Handler(fate, isManual);
        EXPECT_EQ(OrvaServerSuccess, m_server.AddHandler(handler));
        return handler;
    }
    void Stop() {
        OrvaServerCode code = 99;
        EXPECT_EQ(OrvaServerFailure, m_server.Stop(&code));
        EXPECT_EQ(OrvaServerSuccess, code);
    }

    OrvaServerThread m_server;
};

TEST_F(ServerThread, RefusesHandlersWhileItDoesNotRun) {
    Fate fate;
    auto handler = std::make_unique<Handler>(fate);
    for (const bool isStopped : {false, true}) {
        if (isStopped) {
            EXPECT_EQ(OrvaServerSuccess, m_server.Start());
            Stop();
        }
        EXPECT_EQ(1000001u, m_server.AddHandler(handler.get()));
        EXPECT_EQ(1000001u, m_server.RemoveHandler(handler.get()));
        EXPECT_EQ(1000001u, m_server.Stop(nullptr));
    }
    EXPECT_EQ(OrvaServerSuccess, m_server.Start());
    EXPECT_EQ(1000001u, m_server.AddHandler(nullptr));
    Stop();
    EXPECT_EQ(0, fate.deleted + fate.closed + fate.removed);
}

TEST_F(ServerThread, ServesOnOneThreadUntilItIsStopped) {
    Fate fate;
    EXPECT_EQ(0u, m_server.Start());
    Handler* handler = Add(fate);
    ::SetEvent(handler->GetHandle());
    ASSERT_TRUE(WaitUntil([&] { return fate.signaled == 1; }));
    const DWORD thread = fate.threadId;
    EXPECT_NE(::GetCurrentThreadId(), thread);
    EXPECT_EQ(0u, m_server.Start());
    ::SetEvent(handler->GetHandle());
    ASSERT_TRUE(WaitUntil([&] { return fate.signaled == 2; }));
    EXPECT_EQ(thread, fate.threadId);
    Stop();
    EXPECT_EQ(2, fate.signaled);
    EXPECT_EQ(1, fate.closed);
    EXPECT_EQ(1, fate.deleted);
    EXPECT_EQ(0, fate.removed);
    Stop(); // twice
}

TEST_F(ServerThread, StartsAgainAfterEveryKindOfStop) {
    Fate fates[3];
    for (Fate& fate : fates) {
        EXPECT_EQ(OrvaServerSuccess, m_server.Start());
        Handler* handler = Add(fate);
        if (&fate != &fates[1]) {
            ::SetEvent(handler->GetHandle());
            ASSERT_TRUE(WaitUntil([&] { return fate.signaled == 1; }));
            Stop();
        } else { // from within a handler, where waiting would be waiting for itself
            handler->onSignaled = [this] {
                Stop();
                EXPECT_EQ(OrvaServerThreadNotCreated, m_server.Start()) << "the thread that ends cannot start itself";
            };
            ::SetEvent(handler->GetHandle());
            ASSERT_TRUE(WaitUntil([&] { return fate.deleted == 1; }));
        }
        EXPECT_EQ(1, fate.closed);
        EXPECT_EQ(1, fate.deleted);
    }
}

TEST_F(ServerThread, HandlersThatAreSignalledAtTheStopAreCalledOnceMore) {
    Fate stopping;
    Fate signalled;
    Fate silent;
    m_server.Start();
    Handler* second = Add(signalled);
    Add(silent);
    Handler* first = Add(stopping);
    first->onSignaled = [&] {
        Stop();
        ::SetEvent(second->GetHandle());
    };
    ::SetEvent(first->GetHandle());
    ASSERT_TRUE(WaitUntil([&] { return stopping.deleted + signalled.deleted + silent.deleted == 3; }));
    EXPECT_EQ(1, signalled.signaled);
    EXPECT_EQ(1, signalled.closed);
    EXPECT_EQ(0, silent.signaled);
    EXPECT_EQ(1, silent.closed);
}

TEST_F(ServerThread, TheDestructorStops) {
    Fate fate;
    {
        OrvaServerThread server;
        server.Start();
        auto* handler = new Handler(fate);
        server.AddHandler(handler);
    }
    EXPECT_EQ(1, fate.closed); // also when the addition was still on its way
    EXPECT_EQ(1, fate.deleted);
}

TEST_F(ServerThread, AHandlerIsRemovedWhileItStaysSignalled) {
    Fate fate;
    Fate other;
    m_server.Start();
    Handler* handler = Add(fate, /*isManual=*/true);
    ::SetEvent(handler->GetHandle());
    ASSERT_TRUE(WaitUntil([&] { return fate.signaled > 10; }));
    Handler* second = Add(other); // arrives and is served although the first one never rests
    ::SetEvent(second->GetHandle());
    ASSERT_TRUE(WaitUntil([&] { return other.signaled == 1; }));
    EXPECT_EQ(OrvaServerSuccess, m_server.RemoveHandler(handler));
    ASSERT_TRUE(WaitUntil([&] { return fate.removed == 1; }));
    ::SetEvent(second->GetHandle());
    ASSERT_TRUE(WaitUntil([&] { return other.signaled == 2; }));
    Stop();
    EXPECT_EQ(fate.signaledWhenRemoved, fate.signaled);
    EXPECT_EQ(0, fate.closed);
    EXPECT_EQ(1, fate.deleted);
}

TEST_F(ServerThread, AHandlerMayAddAndRemoveOnItsOwnThread) {
    Fate fate;
    Fate added;
    m_server.Start();
    Handler* handler = Add(fate);
    handler->onSignaled = [&, handler] {
        ::SetEvent(Add(added)->GetHandle());
        EXPECT_EQ(OrvaServerSuccess, m_server.Start());
        m_server.RemoveHandler(handler);
        m_server.RemoveHandler(handler); // finds nothing any more
    };
    ::SetEvent(handler->GetHandle());
    EXPECT_TRUE(WaitUntil([&] { return fate.deleted == 1 && added.signaled == 1; }));
    EXPECT_EQ(1, fate.removed);
    Stop();
}

TEST_F(ServerThread, ManyHandlersAllHaveTheirTurn) {
    constexpr std::size_t count = 200;
    std::vector<std::unique_ptr<Fate>> fates;
    std::vector<Handler*> handlers;
    std::vector<std::size_t> order; // the server thread's until it has stopped
    std::atomic<bool> isMeasuring = false;
    std::atomic<std::size_t> measured = 0;
    m_server.Start();
    for (std::size_t index = 0; index < count; ++index) {
        fates.push_back(std::make_unique<Fate>());
        auto* handler = new Handler(*fates.back(), /*isManual=*/true);
        handler->onSignaled = [&, index] {
            if (!isMeasuring) return;
            order.push_back(index);
            measured = order.size();
        };
        EXPECT_EQ(OrvaServerSuccess, m_server.AddHandler(handler));
        handlers.push_back(handler);
        ::SetEvent(handler->GetHandle()); // stays signalled
    }
    for (const auto& fate : fates)
        ASSERT_TRUE(WaitUntil([&] { return fate->signaled >= 1; }));
    isMeasuring = true;
    ASSERT_TRUE(WaitUntil([&] { return measured >= 5 * count; }));
    isMeasuring = false;

    for (std::size_t index = 0; index < count; index += 2)
        m_server.RemoveHandler(handlers[index]);
    for (std::size_t index = 0; index < count; index += 2)
        ASSERT_TRUE(WaitUntil([&] { return fates[index]->deleted == 1; }));
    const int before = fates[199]->signaled;
    ASSERT_TRUE(WaitUntil([&] { return fates[199]->signaled > before; }));
    Stop();
    for (std::size_t index = 0; index < count; ++index) {
        EXPECT_EQ(1, fates[index]->deleted);
        EXPECT_EQ(index % 2 == 0 ? 0 : 1, fates[index]->closed);
    }
    // Nobody was called twice before all others had their turn, give or take.
    std::vector<std::size_t> lastTurn(count, 0);
    for (std::size_t turn = 0; turn < order.size(); ++turn) {
        EXPECT_LE(turn - lastTurn[order[turn]], 2 * count);
        lastTurn[order[turn]] = turn;
    }
    EXPECT_GE(*std::min_element(lastTurn.begin(), lastTurn.end()) + 2 * count, order.size());
}

TEST_F(ServerThread, AQuietServerWithManyHandlersWakesForTheLastOne) {
    std::vector<std::unique_ptr<Fate>> fates;
    m_server.Start();
    Handler* last = nullptr;
    for (int index = 0; index < 130; ++index) {
        fates.push_back(std::make_unique<Fate>());
        last = Add(*fates.back());
    }
    for (int round = 1; round <= 3; ++round) {
        ::SetEvent(last->GetHandle());
        ASSERT_TRUE(WaitUntil([&] { return fates.back()->signaled == round; }));
    }
    for (std::size_t index = 0; index + 1 < fates.size(); ++index)
        EXPECT_EQ(0, fates[index]->signaled);
    Stop();
}

TEST_F(ServerThread, AHandleThatCannotBeWaitedOnHarmsNobody) {
    Fate bad[3];
    Fate good;
    m_server.Start();
    std::vector<Handler*> handlers;
    for (HANDLE handle : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE, reinterpret_cast<HANDLE>(0x7FF0)}) {
        handlers.push_back(new Handler(bad[handlers.size()], handle));
        EXPECT_EQ(OrvaServerSuccess, m_server.AddHandler(handlers.back()));
    }
    Handler* handler = Add(good);
    for (int round = 1; round <= 3; ++round) {
        ::SetEvent(handler->GetHandle());
        ASSERT_TRUE(WaitUntil([&] { return good.signaled == round; }));
    }
    m_server.RemoveHandler(handlers[2]);
    ASSERT_TRUE(WaitUntil([&] { return bad[2].removed == 1; }));
    Stop();
    EXPECT_EQ(1, bad[0].closed);
    EXPECT_EQ(0, bad[0].signaled + bad[2].signaled);
}

TEST_F(ServerThread, AnAbandonedMutexSignals) {
    const UniqueHandle mutex(::CreateMutexW(nullptr, FALSE, nullptr));
    std::thread owner([&] { ::WaitForSingleObject(mutex.Get(), INFINITE); });
    owner.join();
    Fate fate;
    m_server.Start();
    auto* handler = new Handler(fate, mutex.Get());
    handler->onSignaled = [&] { m_server.RemoveHandler(handler); }; // it is the server thread's now
    m_server.AddHandler(handler);
    EXPECT_TRUE(WaitUntil([&] { return fate.deleted == 1; }));
    EXPECT_GE(fate.signaled, 1);
    Stop();
}

TEST_F(ServerThread, StartsAgainWhenAHandlerHasEndedTheThread) {
    Fate fate;
    UniqueHandle thread;
    m_server.Start();
    Handler* handler = Add(fate);
    handler->onSignaled = [&] {
        thread = UniqueHandle(::OpenThread(SYNCHRONIZE, FALSE, ::GetCurrentThreadId()));
        handler->onSignaled = nullptr; // by the server's own next thread
        ++fate.removed;
        ::ExitThread(0);
    };
    ::SetEvent(handler->GetHandle());
    ASSERT_TRUE(WaitUntil([&] { return fate.removed == 1; }));
    ::WaitForSingleObject(thread.Get(), INFINITE);
    EXPECT_EQ(OrvaServerSuccess, m_server.Start());
    ::SetEvent(handler->GetHandle());
    EXPECT_TRUE(WaitUntil([&] { return fate.signaled == 2; })) << "it keeps its handlers";
    Stop();
    EXPECT_EQ(1, fate.deleted);
}

TEST_F(ServerThread, ASecondHandlerTakesAHandleOver) {
    const UniqueHandle event(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
    Fate first;
    Fate second;
    m_server.Start();
    m_server.AddHandler(new Handler(first, event.Get()));
    auto* handler = new Handler(second, event.Get());
    m_server.AddHandler(handler);
    m_server.AddHandler(handler); // itself: nothing to take over
    ASSERT_TRUE(WaitUntil([&] { return first.deleted == 1; }));
    EXPECT_EQ(1, first.closed);
    ::SetEvent(event.Get());
    ASSERT_TRUE(WaitUntil([&] { return second.signaled == 1; }));
    EXPECT_EQ(0, first.signaled);
    Stop();
    EXPECT_EQ(1, second.deleted);
}

TEST_F(ServerThread, StopComesThroughWhileAHandlerStopsToo) {
    for (int round = 0; round < 50; ++round) {
        Fate fate;
        m_server.Start();
        Handler* handler = Add(fate, /*isManual=*/true);
        handler->onSignaled = [this] { m_server.Stop(nullptr); };
        ::SetEvent(handler->GetHandle());
        m_server.Stop(nullptr);
        EXPECT_EQ(1, fate.deleted);
    }
}

// The server thread runs all procedure calls that wait before it looks at anything else.
TEST_F(ServerThread, StopComesThroughWhileCallsKeepComing) {
    class Server : public OrvaServerThread {
    public:
        ~Server() override { OrvaServerThread::Stop(nullptr); }
        std::atomic<int> calls = 0;
        bool stopsItself = false;

    private:
        void DoRemoveHandler(HANDLE) override {
            if (++calls == 1000 && stopsItself) Stop(nullptr);
        }
    };
    for (const bool stopsItself : {false, true}) {
        SCOPED_TRACE(stopsItself ? "from within a call" : "from outside");
        Server server;
        server.stopsItself = stopsItself;
        server.Start();
        Fate fate;
        Handler handler(fate);
        const ULONGLONG end = ::GetTickCount64() + mustHappen;
        const auto callUntilRefused = [&] {
            while (server.RemoveHandler(&handler) == OrvaServerSuccess && ::GetTickCount64() < end) {
            }
        };
        std::thread first(callUntilRefused);
        std::thread second(callUntilRefused);
        if (!stopsItself) {
            EXPECT_TRUE(WaitUntil([&] { return server.calls > 1000; }));
            server.Stop(nullptr);
        }
        first.join();
        second.join();
        EXPECT_LT(::GetTickCount64(), end);
    }
}

TEST_F(ServerThread, ADerivedServerSeesTheSteps) {
    class Server : public OrvaServerThread {
    public:
        ~Server() override { Stop(nullptr); }
        std::string log;

    protected:
        DWORD Run(HANDLE started) override {
            log += "run ";
            return OrvaServerThread::Run(started);
        }
        void DoAddHandler(OrvaServerEventHandler* handler) override {
            log += "add ";
            OrvaServerThread::DoAddHandler(handler);
        }
        void DoRemoveHandler(HANDLE handle) override {
            log += "remove ";
            OrvaServerThread::DoRemoveHandler(handle);
        }
        void OnStopped() override { log += "stopped"; }
    };
    Fate fate;
    Server server;
    server.Start();
    auto* handler = new Handler(fate);
    server.AddHandler(handler);
    server.RemoveHandler(handler);
    ASSERT_TRUE(WaitUntil([&] { return fate.deleted == 1; }));
    server.Stop(nullptr);
    EXPECT_EQ("run add remove stopped", server.log);
}

// OrvaSocket adds a slot and nothing else.
TEST_F(ServerThread, ASocketIsServedLikeAnyHandler) {
    class Socket : public OrvaSocket {
    public:
        explicit Socket(std::atomic<int>& calls)
            : m_calls(calls), m_event(::CreateEventW(nullptr, FALSE, TRUE, nullptr)) {}
        UINT_PTR GetSocket() override { return 5; }
        HANDLE GetHandle() override { return m_event.Get(); }
        void OnSignaled() override { m_calls += static_cast<int>(GetSocket()); }

    private:
        std::atomic<int>& m_calls;
        UniqueHandle m_event;
    };
    std::atomic<int> calls = 0;
    m_server.Start();
    Socket socket(calls);
    m_server.AddHandler(&socket);
    EXPECT_TRUE(WaitUntil([&] { return calls == 5; }));
    m_server.RemoveHandler(&socket); // leaves it to its owner
    Stop();
}

// The selector alone.
TEST(SynchronizedSelector, ReportsInTurnAndMapsTheResults) {
    Fate fate;
    Handler first(fate, /*isManual=*/true);
    Handler second(fate, /*isManual=*/true);
    OrvaSynchronizedSelector selector;
    HANDLE handle = INVALID_HANDLE_VALUE;
    OrvaSynchronizedSelector::HandleRecord* record = nullptr;
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), selector.Wait(false, 0, false, handle, &record));
    EXPECT_EQ(nullptr, handle);
    EXPECT_EQ(WAIT_FAILED, selector.Wait(true, 0, false, handle, &record));

    selector.Add(first.GetHandle(), &first);
    selector.Add(second.GetHandle(), &second);
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), selector.Wait(false, 1, false, handle, &record));
    EXPECT_EQ(nullptr, record);
    ::SetEvent(first.GetHandle());
    ::SetEvent(second.GetHandle());
    std::string order;
    for (int round = 0; round < 4; ++round) {
        EXPECT_EQ(WAIT_OBJECT_0, selector.Wait(false, INFINITE, false, handle, &record));
        ASSERT_NE(nullptr, record);
        EXPECT_EQ(handle, record->handler->GetHandle());
        order += record->handler == &first ? '1' : '2';
    }
    EXPECT_TRUE(order == "1212" || order == "2121") << order;
    EXPECT_EQ(WAIT_OBJECT_0, selector.Wait(true, 0, false, handle, nullptr));

    ::QueueUserAPC([](ULONG_PTR) {}, ::GetCurrentThread(), 0);
    ::ResetEvent(first.GetHandle());
    ::ResetEvent(second.GetHandle());
    EXPECT_EQ(static_cast<DWORD>(WAIT_IO_COMPLETION), selector.Wait(false, INFINITE, true, handle, &record));
    EXPECT_EQ(&first, selector.Remove(first.GetHandle()));
    EXPECT_EQ(nullptr, selector.Remove(first.GetHandle()));
    EXPECT_EQ(1u, selector.GetCount());
}

TEST(SynchronizedSelector, LeavesOutWhatIsClosed) {
    Fate fate;
    OrvaSynchronizedSelector selector;
    HANDLE handle = nullptr;
    ::QueueUserAPC([](ULONG_PTR) {}, ::GetCurrentThread(), 0);
    EXPECT_EQ(static_cast<DWORD>(WAIT_IO_COMPLETION), selector.Wait(false, INFINITE, true, handle, nullptr));

    std::vector<std::unique_ptr<Handler>> handlers; // too many for one wait
    for (int index = 0; index < 70; ++index)
        handlers.push_back(std::make_unique<Handler>(fate));
    const HANDLE value = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    Handler closed(fate, value);
    selector.Add(value, &closed);
    ::CloseHandle(value);
    for (const auto& handler : handlers)
        selector.Add(handler->GetHandle(), handler.get());
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), selector.Wait(false, 1, false, handle, nullptr));
    ::SetEvent(handlers.back()->GetHandle());
    EXPECT_EQ(WAIT_OBJECT_0, selector.Wait(false, INFINITE, false, handle, nullptr));
    EXPECT_EQ(handlers.back()->GetHandle(), handle);

    // A new object often gets the value of the one that was closed last: added again, it is waited on.
    const UniqueHandle reused(::CreateEventW(nullptr, TRUE, TRUE, nullptr));
    if (reused.Get() == value) {
        EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), selector.Wait(false, 1, false, handle, nullptr));
        EXPECT_EQ(&closed, selector.Add(value, &closed));
        EXPECT_EQ(WAIT_OBJECT_0, selector.Wait(false, INFINITE, false, handle, nullptr));
        EXPECT_EQ(value, handle);
    }
}

} // namespace
} // namespace tarnu::test
