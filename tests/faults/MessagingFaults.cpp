// Faults in queues, server threads, the window-message server and subclassing.

#include "faults/FaultDriver.h"
#include "messaging/TestWindow.h"
#include "support/Wait.h"

#include "tarnu/messaging/OrvaHEVENTCallback.h"
#include "tarnu/messaging/OrvaMessageQueue.h"
#include "tarnu/messaging/OrvaServerThread.h"
#include "tarnu/messaging/OrvaSubClassWnd.h"
#include "tarnu/messaging/OrvaWndMsgServer.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>

namespace tarnu::test::faults {
namespace {

struct Message : OrvaMessage {};

TEST(MessagingFaults, Queue) {
    Inject([](Trial& trial) {
        Message first;
        Message second;
        OrvaServerCode posted[2] = {OrvaServerFailure, OrvaServerFailure};
        OrvaServerCode closed = OrvaServerFailure;
        std::vector<OrvaMessage*> received;
        OrvaServerCode last = OrvaServerFailure;
        trial.Operate([&] {
            OrvaMessageQueue queue(nullptr, nullptr);
            posted[0] = queue.Post(&first);
            posted[1] = queue.Post(&second);
            closed = queue.PostClose();
            OrvaMessage* message = nullptr;
            while ((last = queue.Get(message)) == OrvaServerSuccess)
                received.push_back(message);
        });
        trial.ExpectSuccessUnlessFault(posted[0] == OrvaServerSuccess && posted[1] == OrvaServerSuccess);
        std::vector<OrvaMessage*> expected; // whatever was accepted arrives, in its order
        if (posted[0] == OrvaServerSuccess) expected.push_back(&first);
        if (posted[1] == OrvaServerSuccess) expected.push_back(&second);
        EXPECT_EQ(received, expected);
        EXPECT_EQ(last, closed == OrvaServerSuccess ? OrvaServerQueueClosed : OrvaServerQueueEmpty);
    });
}

TEST(MessagingFaults, QueueThatIsDestroyedFull) {
    Inject([](Trial& trial) {
        Message message;
        trial.Operate([&] {
            OrvaMessageQueue queue(nullptr, nullptr);
            queue.Post(&message);
            OrvaMessage* seen = nullptr;
            queue.Peek(seen); // arrived
            queue.Post(&message);
            queue.PostClose(); // on their way
        });
        ::SleepEx(0, TRUE);
    });
}

TEST(MessagingFaults, EventCallback) {
    Inject([](Trial& trial) {
        const HANDLE event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
        bool isSet = false;
        bool isPulsed = false;
        trial.Operate([&] {
            isPulsed = OrvaHEVENTCallback(event, /*pulse=*/true).Execute() != 0;
            isSet = OrvaHEVENTCallback(event, /*pulse=*/false).Execute() != 0;
        });
        trial.ExpectSuccessUnlessFault(isSet && isPulsed);
        EXPECT_EQ(::WaitForSingleObject(event, 0) == WAIT_OBJECT_0, isSet);
        ::CloseHandle(event);
    });
}

/// Counts its life on the server thread.
class Handler : public OrvaServerEventHandler {
public:
    struct Counts {
        std::atomic<int> alive{0};
        std::atomic<int> signaled{0};
        std::atomic<int> closed{0};
    };
    Handler(Counts& counts, HANDLE event) : m_counts(counts), m_event(event) { ++m_counts.alive; }
    ~Handler() override { --m_counts.alive; }

    HANDLE GetHandle() override { return m_event; }
    void OnSignaled() override { ++m_counts.signaled; }
    void OnClose() override { ++m_counts.closed; }

private:
    Counts& m_counts;
    HANDLE m_event;
};

TEST(MessagingFaults, ServerThread) {
    Inject(
        [](Trial& trial) {
            Handler::Counts counts;
            const HANDLE event = ::CreateEventW(nullptr, /*bManualReset=*/FALSE, FALSE, nullptr);
            auto handler = std::make_unique<Handler>(counts, event);
            OrvaServerCode started = OrvaServerFailure;
            OrvaServerCode added = OrvaServerFailure;
            bool isServed = false;
            {
                OrvaServerThread server;
                trial.Operate([&] {
                    started = server.Start();
                    added = server.AddHandler(handler.get());
                    if (added != OrvaServerSuccess) return;
                    (void)handler.release();
                    ::SetEvent(event);
                    // A handle that a wait has failed on, or a handler that there was no memory for, is not called.
                    isServed = WaitUntil([&] { return counts.signaled > 0 || trial.HasFault(); });
                    server.Stop();
                });
                trial.ExpectSuccessUnlessFault(started == OrvaServerSuccess && added == OrvaServerSuccess && isServed);
                EXPECT_TRUE(started == OrvaServerSuccess || added == OrvaServerFailure);
                EXPECT_EQ(counts.alive, handler == nullptr ? 0 : 1);

                // Again, without the fault.
                EXPECT_TRUE(StartsThread([&] { return server.Start() == OrvaServerSuccess; }));
                ::SetEvent(event);
                counts.signaled = 0;
                if (handler == nullptr) handler = std::make_unique<Handler>(counts, event);
                EXPECT_EQ(server.AddHandler(handler.get()), OrvaServerSuccess);
                (void)handler.release();
                EXPECT_TRUE(WaitUntil([&] { return counts.signaled > 0; }));
            }
            EXPECT_EQ(counts.alive, 0);
            ::CloseHandle(event);
        },
        {.calls = 3, .inARow = 5, .allocations = 8});
}

/// Counts the messages it receives.
class Receiver : public OrvaWndMsgServer::Callback {
public:
    HRESULT OnMessage(OrvaWndMsgServer::MessageRecord&) override {
        ++count;
        return S_OK;
    }
    int count = 0;
};

TEST(MessagingFaults, WindowMessageServer) {
    Inject([](Trial& trial) {
        constexpr UINT message = WM_APP + 77;
        Receiver receiver;
        HRESULT registered = E_FAIL;
        BOOL posted = FALSE;
        UINT cookie = 0;
        OrvaWndMsgServer* server = nullptr;
        trial.Operate([&] {
            server = OrvaGetWndMsgServer();
            registered = server->RegisterCallback(message, cookie, &receiver);
            posted = server->PostMessage(message, 0, 0);
        });
        trial.ExpectSuccessUnlessFault(registered == S_OK && posted);
        EXPECT_TRUE(registered == S_OK || registered == E_OUTOFMEMORY);
        PumpMessages();
        EXPECT_EQ(receiver.count, registered == S_OK && posted ? 1 : 0);
        EXPECT_EQ(server->RemoveCallback(message, cookie), registered == S_OK ? S_OK : E_INVALIDARG);
    });
}

/// Notes that a message passed.
class Subclasser : public OrvaSubClassWnd {
public:
    explicit Subclasser(std::string& log) : m_log(log) {}
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message >= WM_APP) m_log += "subclasser ";
        return OrvaSubClassWnd::WindowProc(message, wParam, lParam);
    }

private:
    std::string& m_log;
};

TEST(MessagingFaults, Subclassing) {
    Inject([](Trial& trial) {
        std::string log;
        TestWindow window(log);
        Subclasser first(log);
        Subclasser second(log);
        bool isFirstHooked = false;
        bool isSecondHooked = false;
        trial.Operate([&] {
            isFirstHooked = first.SubClass(window.Handle()) != FALSE;
            isSecondHooked = second.SubClass(window.Handle()) != FALSE;
        });
        trial.ExpectSuccessUnlessFault(isFirstHooked && isSecondHooked);
        window.Send();
        std::string expected;
        for (const bool isHooked : {isFirstHooked, isSecondHooked})
            if (isHooked) expected += "subclasser ";
        EXPECT_EQ(log, expected + "window ") << "every message reaches the window's own procedure";
    });
}

TEST(MessagingFaults, EndOfSubclassing) {
    Inject([](Trial& trial) {
        std::string log;
        TestWindow window(log);
        Subclasser subclasser(log);
        EXPECT_TRUE(subclasser.SubClass(window.Handle()));
        trial.Operate([&] { subclasser.UnSubClass(); });
        window.Send();
        EXPECT_EQ(log, "window ") << "the window's own procedure is lost";
        EXPECT_TRUE(subclasser.SubClass(window.Handle()));
        log.clear();
        window.Send();
        EXPECT_EQ(log, "subclasser window ");
        trial.Operate([&] { window.Destroy(); });
    });
}

WNDPROC foreignPrevious = nullptr;
LRESULT CALLBACK ForeignProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return ::CallWindowProcW(foreignPrevious, window, message, wParam, lParam);
}
WNDPROC Exchange(HWND window, WNDPROC procedure) {
    return reinterpret_cast<WNDPROC>(::SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure)));
}

TEST(MessagingFaults, EndOfSubclassingUnderAForeignSubclasser) {
    Inject([](Trial& trial) {
        std::string log;
        TestWindow window(log);
        Subclasser subclasser(log);
        EXPECT_TRUE(subclasser.SubClass(window.Handle()));
        foreignPrevious = Exchange(window.Handle(), &ForeignProcedure);
        trial.Operate([&] { subclasser.UnSubClass(); });
        window.Send();
        Exchange(window.Handle(), foreignPrevious); // puts back what it found: the procedure that all chains share
        window.Send();
        EXPECT_EQ(log, "window window ") << "the window's own procedure is lost";
    });
}

} // namespace
} // namespace tarnu::test::faults
