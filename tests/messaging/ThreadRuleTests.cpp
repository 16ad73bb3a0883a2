// Calls on the wrong thread: builds with assertions end the process there, and say which rule was broken.

#ifndef NDEBUG

#include "messaging/TestWindow.h"
#include "tarnu/filesystem/OrvaFileEventServer.h"
#include "tarnu/messaging/OrvaMessageQueue.h"
#include "tarnu/messaging/OrvaServerThread.h"
#include "tarnu/messaging/OrvaSubClassWnd.h"
#include "tarnu/messaging/OrvaWndMsgServer.h"
#include "tarnu/xml/OrvaXml.h"

#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace tarnu::test {
namespace {

template <class Work>
void OnOtherThread(Work work) {
    std::thread(work).join();
}

struct Ignore : OrvaWndMsgServer::Callback {
    HRESULT OnMessage(OrvaWndMsgServer::MessageRecord&) override { return S_OK; }
};

// Asking on the right thread, and what the rules allow on others, is what all other tests do.
TEST(ThreadRulesDeathTest, AQueueGivesItsMessagesToItsOwner) {
    OrvaMessageQueue queue(nullptr, nullptr);
    OrvaMessage* message = nullptr;
    EXPECT_DEATH(OnOtherThread([&] { queue.Get(message); }), "called on the owning thread");
}

TEST(ThreadRulesDeathTest, AWindowIsHookedAndUnhookedOnItsThread) {
    std::string log;
    const TestWindow window(log);
    OrvaSubClassWnd hooked;
    ASSERT_TRUE(hooked.SubClass(window.Handle()));
    EXPECT_DEATH(OnOtherThread([&] { OrvaSubClassWnd().SubClass(window.Handle()); }), "called on the window's thread");
    EXPECT_DEATH(OnOtherThread([&] { hooked.UnSubClass(); }), "called on the window's thread");
}

TEST(ThreadRulesDeathTest, TheServersTakeRegistrationsOnTheirThread) {
    OrvaGetFileEventServer();
    const auto subscribe = [] {
        Ignore ignore;
        UINT cookie = 0;
        OrvaGetWndMsgServer()->RegisterCallback(WM_APP, cookie, &ignore);
    };
    const auto watch = [] {
        struct : OrvaFileEventListener {
        } listener;
        OrvaFileEventCookie cookie = nullptr;
        OrvaGetFileEventServer()->RegisterFile(L"C:\\none", FILE_NOTIFY_CHANGE_SIZE, &listener, cookie);
    };
    EXPECT_DEATH(OnOtherThread(subscribe), "called on its own thread");
    EXPECT_DEATH(OnOtherThread(watch), "called on its own thread");
}

TEST(ThreadRulesDeathTest, ADocumentDiesOnTheThreadThatInitialisedCom) {
    auto xml = std::make_unique<OrvaXml>(L"", false, false, false);
    EXPECT_DEATH(OnOtherThread([&] { xml.reset(); }), "called on its own thread");
}

} // namespace
} // namespace tarnu::test

#endif // NDEBUG
