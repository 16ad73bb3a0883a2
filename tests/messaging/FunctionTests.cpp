#include "messaging/TestWindow.h"
#include "support/Wait.h"
#include "tarnu/messaging/FunctionCallback.h"
#include "tarnu/messaging/FunctionHandler.h"
#include "tarnu/messaging/FunctionMessage.h"
#include "tarnu/messaging/MessageSubscription.h"
#include "tarnu/messaging/SubClassScope.h"
#include "tarnu/support/Owners.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tarnu::test {
namespace {

TEST(FunctionCallback, ResultOrNone) {
    int calls = 0;
    FunctionCallback plain([&] { ++calls; });
    FunctionCallback refusing([&] { return ++calls < 0; });
    FunctionCallback counting([&] { return ++calls; });
    EXPECT_TRUE(static_cast<OrvaCallback&>(plain).Execute());
    EXPECT_FALSE(static_cast<OrvaCallback&>(refusing).Execute());
    EXPECT_EQ(TRUE, static_cast<OrvaCallback&>(counting).Execute());
    EXPECT_EQ(3, calls);
}

TEST(FunctionHandler, ServesUntilRemovedOrStopped) {
    const support::UniqueHandle event(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
    const support::UniqueHandle other(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
    std::atomic<int> calls = 0;
    std::atomic<DWORD> thread = 0;
    const auto alive = std::make_shared<int>(0);
    OrvaServerThread server;
    OrvaServerEventHandler* handler = nullptr;
    EXPECT_EQ(OrvaServerFailure, AddHandler(
                                     server, event.Get(), [alive] {}, &handler))
        << "it does not run yet";
    EXPECT_EQ(nullptr, handler);
    EXPECT_EQ(1, alive.use_count()) << "the function is gone after a failure";

    ASSERT_EQ(OrvaServerSuccess, server.Start());
    const auto count = [&calls, &thread, alive] {
        thread = ::GetCurrentThreadId();
        ++calls;
    };
    ASSERT_EQ(OrvaServerSuccess, AddHandler(server, event.Get(), count, &handler));
    ASSERT_EQ(OrvaServerSuccess, AddHandler(server, other.Get(), [alive] {}));
    for (int round = 1; round <= 2; ++round) {
        ::SetEvent(event.Get());
        EXPECT_TRUE(WaitUntil([&] { return calls == round; }));
    }
    EXPECT_NE(::GetCurrentThreadId(), thread);
    EXPECT_EQ(4, alive.use_count()); // here, in count, and in two handlers
    EXPECT_EQ(OrvaServerSuccess, server.RemoveHandler(handler));
    EXPECT_TRUE(WaitUntil([&] { return alive.use_count() == 3; })) << "removing deletes the handler";
    server.Stop();
    EXPECT_EQ(2, alive.use_count()) << "stopping deletes the other one";
}

struct Foreign : OrvaMessage {};

TEST(FunctionMessage, RunsOnTheQueuesThreadInOrder) {
    OrvaMessageQueue queue(nullptr, nullptr);
    std::vector<int> ran;
    std::thread poster([&] {
        for (int number = 1; number <= 3; ++number)
            EXPECT_EQ(OrvaServerSuccess, Post(queue, [&ran, number] { ran.push_back(number); }));
    });
    poster.join();
    EXPECT_EQ(3U, RunMessages(queue));
    EXPECT_EQ((std::vector<int>{1, 2, 3}), ran);
    EXPECT_EQ(0U, RunMessages(queue));

    // A message of another kind stays, and so does what is behind it.
    auto foreign = std::make_unique<Foreign>();
    Post(queue, [&] { ran.push_back(4); });
    ASSERT_EQ(OrvaServerSuccess, queue.Post(foreign.get()));
    Post(queue, [&] { ran.push_back(5); });
    EXPECT_EQ(1U, RunMessages(queue));
    EXPECT_EQ(0U, RunMessages(queue));
    OrvaMessage* message = nullptr;
    ASSERT_EQ(OrvaServerSuccess, queue.Get(message));
    EXPECT_EQ(foreign.get(), message);
    EXPECT_EQ(1U, RunMessages(queue));
    EXPECT_EQ(5, ran.back());
}

TEST(FunctionMessage, LifeTimes) {
    const auto alive = std::make_shared<int>(0);
    {
        OrvaMessageQueue queue(nullptr, nullptr);
        Post(queue, [alive] { throw std::runtime_error("stop"); });
        Post(queue, [alive] {});
        EXPECT_EQ(3, alive.use_count());
        EXPECT_THROW(RunMessages(queue), std::runtime_error);
        EXPECT_EQ(2, alive.use_count()) << "the message that threw is gone";
        EXPECT_EQ(1U, RunMessages(queue));
    }
    EXPECT_EQ(1, alive.use_count());

    const support::UniqueHandle ended(::CreateThread(
        nullptr, 0, [](void*) -> DWORD { return 0; }, nullptr, 0, nullptr));
    ::WaitForSingleObject(ended.Get(), INFINITE);
    OrvaMessageQueue dead(nullptr, ended.Get());
    EXPECT_EQ(OrvaServerFailure, Post(dead, [alive] {}));
    EXPECT_EQ(1, alive.use_count()) << "what could not be sent is destroyed";
}

/// A function that cannot be kept.
struct NoMemory {
    NoMemory() = default;
    NoMemory(const NoMemory&) = default;
    NoMemory(NoMemory&&) { throw std::bad_alloc(); }
    void operator()() const {}
};

TEST(FunctionObjects, MemoryEndsWhileTheFunctionIsKept) {
    const NoMemory function;
    OrvaMessageQueue queue(nullptr, nullptr);
    EXPECT_EQ(OrvaServerOutOfMemory, Post(queue, function));
    EXPECT_EQ(0U, RunMessages(queue));
    const support::UniqueHandle event(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
    OrvaServerThread server;
    ASSERT_EQ(OrvaServerSuccess, server.Start());
    OrvaServerEventHandler* handler = reinterpret_cast<OrvaServerEventHandler*>(&server);
    EXPECT_EQ(OrvaServerOutOfMemory, AddHandler(server, event.Get(), function, &handler));
    EXPECT_EQ(nullptr, handler);
    server.Stop();
}

TEST(MessageSubscription, LastsForItsScope) {
    std::vector<WPARAM> seen;
    {
        const MessageSubscription subscription(
            WM_APP + 77, [&](const OrvaWndMsgServer::MessageRecord& record) { seen.push_back(record.wParam); });
        EXPECT_EQ(S_OK, subscription.GetResult());
        OrvaGetWndMsgServer()->SendMessage(WM_APP + 77, 5, 0);
        OrvaGetWndMsgServer()->SendMessage(WM_APP + 78, 6, 0);
    }
    OrvaGetWndMsgServer()->SendMessage(WM_APP + 77, 7, 0);
    EXPECT_EQ((std::vector<WPARAM>{5}), seen);
}

TEST(SubClassScope, HooksForItsScope) {
    std::string log;
    TestWindow window(log);
    {
        const SubClassScope outer(window.Handle(),
                                  [&](NextWindowProc next, UINT message, WPARAM w, LPARAM l) -> LRESULT {
                                      return message == WM_APP + 1 ? 99 : next(message, w, l + 1);
                                  });
        const SubClassScope inner(window.Handle(), [](NextWindowProc next, UINT message, WPARAM w, LPARAM l) {
            return 10 * next(message, w, l);
        });
        EXPECT_TRUE(outer.IsHooked() && inner.IsHooked());
        EXPECT_EQ(10 * (3 + 4 + 1), window.Send(WM_APP, 3, 4)) << "the newest comes first, the window last";
        EXPECT_EQ(990, window.Send(WM_APP + 1));
    }
    EXPECT_EQ(7, window.Send(WM_APP, 3, 4));
    EXPECT_EQ(TestWindow::OwnProcedure(), window.Procedure());

    const SubClassScope none(nullptr, [](NextWindowProc next, UINT m, WPARAM w, LPARAM l) { return next(m, w, l); });
    EXPECT_FALSE(none.IsHooked());
    {
        const SubClassScope survivor(window.Handle(),
                                     [](NextWindowProc next, UINT m, WPARAM w, LPARAM l) { return next(m, w, l); });
        window.Destroy(); // before the scope ends
    }
}

} // namespace
} // namespace tarnu::test
