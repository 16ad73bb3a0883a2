#include "tarnu/messaging/OrvaWndMsgServer.h"

#include "support/Wait.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tarnu::test {
namespace {

using Record = OrvaWndMsgServer::MessageRecord;

constexpr UINT firstMessage = WM_APP + 0x100; // below the numbers that the file event service takes

constexpr wchar_t className[] = L"OrvaWnd59A9E57ED6664f9e943F19730E161AEE";

/// This process's windows of the server's class; other processes on the desktop have theirs. A message-only window
/// would not be among them.
std::vector<HWND> ServerWindows() {
    std::vector<HWND> windows;
    HWND window = nullptr;
    while ((window = ::FindWindowExW(nullptr, window, className, nullptr)) != nullptr) {
        DWORD process = 0;
        ::GetWindowThreadProcessId(window, &process);
        if (process == ::GetCurrentProcessId()) windows.push_back(window);
    }
    return windows;
}

class Subscriber : public OrvaWndMsgServer::Callback {
public:
    Subscriber(std::string& log, char name) : m_log(log), m_name(name) {}
    HRESULT OnMessage(Record& record) override {
        m_log += m_name;
        last = record;
        threadId = ::GetCurrentThreadId();
        if (onMessage) onMessage();
        return E_FAIL; // ignored
    }

    Record last{};
    DWORD threadId = 0;
    std::function<void()> onMessage;

private:
    std::string& m_log;
    char m_name;
};

/// Removes what a test registered.
class WndMsgServer : public ::testing::Test {
protected:
    ~WndMsgServer() override {
        for (const auto& [message, cookie] : m_registered)
            m_server->RemoveCallback(message, cookie);
    }
    UINT Register(UINT message, Subscriber& subscriber) {
        UINT cookie = 0;
        EXPECT_EQ(S_OK, m_server->RegisterCallback(message, cookie, &subscriber));
        m_registered.emplace_back(message, cookie);
        return cookie;
    }
    std::string Sent(UINT message = firstMessage) {
        m_log.clear();
        m_server->SendMessage(message, 0, 0);
        return m_log;
    }

    OrvaWndMsgServer* m_server = OrvaGetWndMsgServer();
    std::string m_log;
    Subscriber m_a{m_log, 'a'};
    Subscriber m_b{m_log, 'b'};
    Subscriber m_c{m_log, 'c'};
    std::vector<std::pair<UINT, UINT>> m_registered;
};

TEST_F(WndMsgServer, HasOneHiddenWindowOfItsOwnClass) {
    EXPECT_EQ(m_server, OrvaWndMsgServer_details::OrvaGetWndMsgServer());
    ASSERT_EQ(1u, ServerWindows().size());
    HWND window = ServerWindows()[0];
    EXPECT_EQ(::GetCurrentThreadId(), ::GetWindowThreadProcessId(window, nullptr));
    EXPECT_FALSE(::IsWindowVisible(window));
    EXPECT_EQ(nullptr, ::GetParent(window));
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    EXPECT_TRUE(::GetClassInfoExW(::GetModuleHandleW(nullptr), className, &windowClass));
    EXPECT_EQ(0u, windowClass.style);
}

TEST_F(WndMsgServer, CookiesCountUpAndANullCallbackTakesNone) {
    UINT cookie = 77;
    const UINT first = Register(firstMessage, m_a);
    EXPECT_EQ(E_POINTER, m_server->RegisterCallback(firstMessage, cookie, nullptr));
    EXPECT_EQ(77u, cookie);
    EXPECT_EQ(first + 1, Register(firstMessage + 1, m_b));
    EXPECT_EQ(first + 2, Register(firstMessage, m_a)); // a second registration of the same callback counts too
    EXPECT_EQ("aa", Sent());
}

TEST_F(WndMsgServer, UnregisterCallbackTakesItsValueAsMessageAndCookie) {
    const UINT cookie = Register(firstMessage, m_a);
    EXPECT_EQ(E_INVALIDARG, m_server->UnregisterCallback(0));
    EXPECT_EQ(E_FAIL, m_server->UnregisterCallback(cookie));
    EXPECT_EQ(E_FAIL, m_server->UnregisterCallback(firstMessage));
    EXPECT_EQ("a", Sent());
    const UINT matching = cookie + 1; // the next registration's cookie, taken as its message number
    EXPECT_EQ(matching, Register(matching, m_b));
    EXPECT_EQ(S_OK, m_server->UnregisterCallback(matching));
    EXPECT_EQ(E_FAIL, m_server->UnregisterCallback(matching));
    EXPECT_EQ("a", Sent());
}

TEST_F(WndMsgServer, RemoveCallbackRemovesOneRegistration) {
    const UINT first = Register(firstMessage, m_a);
    const UINT second = Register(firstMessage, m_b);
    const UINT third = Register(firstMessage, m_a);
    EXPECT_EQ(E_INVALIDARG, m_server->RemoveCallback(firstMessage, 0));
    EXPECT_EQ(E_FAIL, m_server->RemoveCallback(firstMessage + 1, first));
    EXPECT_EQ(E_FAIL, m_server->RemoveCallback(firstMessage, third + 1));
    EXPECT_EQ("aba", Sent());
    EXPECT_EQ(S_OK, m_server->RemoveCallback(firstMessage, first));
    EXPECT_EQ(E_FAIL, m_server->RemoveCallback(firstMessage, first));
    EXPECT_EQ("ba", Sent());
    EXPECT_EQ(S_OK, m_server->RemoveCallback(firstMessage, third));
    EXPECT_EQ(S_OK, m_server->RemoveCallback(firstMessage, second));
    EXPECT_EQ("", Sent());
}

TEST_F(WndMsgServer, AMessageOfAnotherThreadArrivesOnTheServersThread) {
    Register(firstMessage, m_a);
    m_a.last.reserved1 = m_a.last.reserved2 = 1;
    std::thread poster([this] { EXPECT_TRUE(m_server->PostMessage(firstMessage, 0x1122334455667788u, -5)); });
    poster.join();
    EXPECT_EQ("", m_log);
    ASSERT_TRUE(PumpUntil([this] { return m_log == "a"; }));
    EXPECT_EQ(::GetCurrentThreadId(), m_a.threadId);
    EXPECT_EQ(ServerWindows(), std::vector<HWND>{m_a.last.window});
    EXPECT_EQ(firstMessage, m_a.last.message);
    EXPECT_EQ(0x1122334455667788u, m_a.last.wParam);
    EXPECT_EQ(-5, m_a.last.lParam);
    EXPECT_EQ(0u, m_a.last.reserved1);
    EXPECT_EQ(0u, m_a.last.reserved2);

    std::thread sender([this] {
        m_server->SendMessage(firstMessage, 1, 2);
        m_log += '.'; // after the callback has run
        m_server->PostMessage(WM_NULL, 0, 0);
    });
    ASSERT_TRUE(PumpUntil([this] { return m_log == "aa."; }));
    sender.join();
}

TEST_F(WndMsgServer, ASubscribedMessageStillReachesTheDefaultProcedure) {
    Register(WM_SETTEXT, m_a);
    EXPECT_TRUE(m_server->SendMessage(WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"kept")));
    EXPECT_EQ("a", m_log);
    wchar_t text[8] = {};
    m_server->SendMessage(WM_GETTEXT, 8, reinterpret_cast<LPARAM>(text));
    EXPECT_STREQ(L"kept", text);
    m_server->SendMessage(WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L""));
}

// a, b and c are registered in this order; what b's handler changes, and who sees this message and the next.
TEST_F(WndMsgServer, RegistrationsMayChangeWhileAMessageIsDelivered) {
    UINT a = 0;
    UINT b = 0;
    UINT c = 0;
    auto d = std::make_unique<Subscriber>(m_log, 'd');
    struct Case {
        const char* what;
        std::function<void()> change;
        const char* sees;
        const char* seesNext;
    };
    const Case cases[] = {
        {"removes itself", [&] { m_server->RemoveCallback(firstMessage, b); }, "abc", "ac"},
        {"removes the earlier", [&] { m_server->RemoveCallback(firstMessage, a); }, "abc", "bc"},
        {"removes the later", [&] { m_server->RemoveCallback(firstMessage, c); }, "ab", "ab"},
        {"removes all",
         [&] {
             for (UINT cookie : {a, b, c})
                 m_server->RemoveCallback(firstMessage, cookie);
         },
         "ab", ""},
        {"adds one", [&] { Register(firstMessage, *d); }, "abc", "abcd"},
        {"replaces the later",
         [&] {
             m_server->RemoveCallback(firstMessage, c);
             Register(firstMessage, m_c);
         },
         "ab", "abc"},
        {"adds many to other messages",
         [&] {
             for (UINT message = firstMessage - 1; message > firstMessage - 0x100; --message)
                 Register(message, *d);
             for (UINT message = firstMessage + 1; message < firstMessage + 0x100; ++message)
                 Register(message, *d);
         },
         "abc", "abc"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        a = Register(firstMessage, m_a);
        b = Register(firstMessage, m_b);
        c = Register(firstMessage, m_c);
        m_b.onMessage = [&] {
            m_b.onMessage = nullptr;
            test.change();
        };
        EXPECT_EQ(test.sees, Sent());
        EXPECT_EQ(test.seesNext, Sent());
        for (const auto& [message, cookie] : m_registered)
            m_server->RemoveCallback(message, cookie);
        m_registered.clear();
    }
}

TEST_F(WndMsgServer, ADeliveryWithinADeliverySeesTheChanges) {
    Register(firstMessage, m_a);
    const UINT b = Register(firstMessage, m_b);
    Register(firstMessage, m_c);
    m_a.onMessage = [&] {
        m_a.onMessage = nullptr;
        m_server->SendMessage(firstMessage, 0, 0);
        m_server->RemoveCallback(firstMessage, b);
        m_server->SendMessage(firstMessage, 0, 0);
    };
    EXPECT_EQ("aabcacc", Sent());
}

TEST_F(WndMsgServer, TensOfThousandsOfNumbersKeepTheirCallbacks) {
    for (UINT index = 0; index < 34824; ++index)
        Register(0x20000 + index, index % 2 == 0 ? m_a : m_b);
    EXPECT_EQ("a", Sent(0x20000));
    EXPECT_EQ("b", Sent(0x20000 + 34823));
    EXPECT_EQ("", Sent(0x20000 + 34824));
    EXPECT_EQ("", Sent(0x1FFFF));
}

} // namespace
} // namespace tarnu::test
