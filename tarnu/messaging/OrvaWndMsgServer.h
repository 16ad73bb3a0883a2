/// @file
/// OrvaWndMsgServer: one hidden window whose messages any number of callbacks subscribe to.
#ifndef TARNU_MESSAGING_ORVAWNDMSGSERVER_H
#define TARNU_MESSAGING_ORVAWNDMSGSERVER_H

#include "tarnu/framework/framework.h"

/// Brings messages from any thread to callbacks on one thread: the one whose first call of OrvaGetWndMsgServer created
/// the server, and that pumps messages.
/// ~~~
/// UINT cookie = 0;
/// OrvaWndMsgServer* server = OrvaGetWndMsgServer();
/// server->RegisterCallback(WM_APP + 1, cookie, &callback);
/// // on any thread: server->PostMessage(WM_APP + 1, wParam, lParam);
/// // then: server->RemoveCallback(WM_APP + 1, cookie);
/// ~~~
///
/// Threads: PostMessage and SendMessage may be called on any thread, everything else on the server's thread only.
/// Ownership: callbacks are borrowed; they must live until they are removed.
class OrvaWndMsgServer {
public:
    /// One message as the server's window received it.
    struct MessageRecord {
        HWND window;      ///< the server's window
        UINT message;     ///< the message's number
        WPARAM wParam;    ///< as sent or posted
        LPARAM lParam;    ///< as sent or posted
        UINT64 reserved1; ///< 0
        UINT64 reserved2; ///< 0
    };

    /// Receives messages that it was registered for.
    class Callback {
    public:
        /// Called on the server's thread. Registering and removing callbacks, this one too, is allowed here: those
        /// added see the next message, those removed are not called any more.
        /// @param record the message; belongs to the server
        /// @return ignored; the message goes to DefWindowProcW in any case
        virtual HRESULT OnMessage(MessageRecord& record) = 0;
        virtual ~Callback() = default;
    };

    virtual ~OrvaWndMsgServer() = default;

    /// Subscribes @p callback to a message number. It is called after those that were registered for it before; a
    /// callback that is registered twice is called twice.
    /// @param message   the message's number
    /// @param cookie  receives the registration's number, counted from 1; left alone on failure
    /// @param callback  borrowed
    /// @return S_OK; E_POINTER for a null callback; E_OUTOFMEMORY
    virtual HRESULT RegisterCallback(UINT message, UINT& cookie, Callback* callback) = 0;

    /// Removes the registration whose message number and cookie are both @p cookie. Use RemoveCallback instead: a
    /// registration whose cookie differs from its message number is never found here, and stays.
    /// @param cookie both the message number and the cookie
    /// @return S_OK; E_INVALIDARG for 0; E_FAIL when nothing matches
    virtual HRESULT UnregisterCallback(const UINT& cookie) = 0;

    /// Removes the registration that RegisterCallback made for @p message under @p cookie.
    /// @param message  the message's number
    /// @param cookie   what RegisterCallback gave
    /// @return S_OK; E_INVALIDARG for the cookie 0; E_FAIL when nothing matches
    virtual HRESULT RemoveCallback(UINT message, UINT cookie) = 0;

    /// PostMessageW to the server's window.
    /// @param message,wParam,lParam the message
    /// @return its result; FALSE with ERROR_INVALID_WINDOW_HANDLE when there is no window
    virtual BOOL PostMessage(UINT message, WPARAM wParam, LPARAM lParam) = 0;

    /// SendMessageW to the server's window: returns after the callbacks have run on the server's thread.
    /// @param message,wParam,lParam the message
    /// @return the result of DefWindowProcW there
    virtual LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) = 0;

protected:
    OrvaWndMsgServer() = default;
    OrvaWndMsgServer(const OrvaWndMsgServer&) = delete;
    OrvaWndMsgServer& operator=(const OrvaWndMsgServer&) = delete;
};

/// The process's server. The first call creates it, and makes the calling thread the server's thread. It is
/// destroyed at process exit. A module that unloads the library earlier does so on the server's thread.
/// @return the server; never null
TARNU_API OrvaWndMsgServer* OrvaGetWndMsgServer();

namespace OrvaWndMsgServer_details {

/// The second entry point to the same server.
/// @return as the first
TARNU_API OrvaWndMsgServer* OrvaGetWndMsgServer();

} // namespace OrvaWndMsgServer_details

#endif // TARNU_MESSAGING_ORVAWNDMSGSERVER_H
