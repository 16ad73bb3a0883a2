/// @file
/// tarnu::MessageSubscription: a lambda subscribed to the window-message server for a scope.
#ifndef TARNU_MESSAGING_MESSAGESUBSCRIPTION_H
#define TARNU_MESSAGING_MESSAGESUBSCRIPTION_H

#include "tarnu/messaging/OrvaWndMsgServer.h"

#include <concepts>
#include <utility>

namespace tarnu {

/// Subscribes a function to a message number of the process's window-message server, and removes it when it goes.
///
///     const tarnu::MessageSubscription subscription(WM_APP + 1, [&](const OrvaWndMsgServer::MessageRecord& record) {
///         percent = static_cast<int>(record.wParam);
///     });
///
/// Threads: the server's. Ownership: holds the function.
template <std::invocable<OrvaWndMsgServer::MessageRecord&> Function>
class MessageSubscription final : private OrvaWndMsgServer::Callback {
public:
    /// @param message   the message's number
    /// @param function  called on the server's thread; must not throw
    MessageSubscription(UINT message, Function function)
        : m_message(message)
        , m_function(std::move(function))
        , m_result(OrvaGetWndMsgServer()->RegisterCallback(message, m_cookie, this)) {}
    ~MessageSubscription() override {
        if (m_result == S_OK) OrvaGetWndMsgServer()->RemoveCallback(m_message, m_cookie);
    }
    MessageSubscription(const MessageSubscription&) = delete;
    MessageSubscription& operator=(const MessageSubscription&) = delete;

    /// What the server answered.
    /// @return S_OK while the function is subscribed; E_OUTOFMEMORY when it could not be
    HRESULT GetResult() const noexcept { return m_result; }

private:
    HRESULT OnMessage(OrvaWndMsgServer::MessageRecord& record) override {
        m_function(record);
        return S_OK;
    }

    UINT m_message;
    UINT m_cookie = 0; // before m_result, whose initialiser fills it
    Function m_function;
    HRESULT m_result;
};

} // namespace tarnu

#endif // TARNU_MESSAGING_MESSAGESUBSCRIPTION_H
