/// @file
/// The window-message server's implementation.
#ifndef TARNU_MESSAGING_ORVAWNDMSGSERVERINTERNAL_H
#define TARNU_MESSAGING_ORVAWNDMSGSERVERINTERNAL_H

#include "tarnu/messaging/OrvaWndMsgServer.h"

#include <atomic>
#include <vector>

namespace OrvaWndMsgServer_details {

/// Owns the hidden window and the table of registrations.
class OrvaWndMsgServerImpl final : public OrvaWndMsgServer {
public:
    OrvaWndMsgServerImpl() noexcept;
    ~OrvaWndMsgServerImpl() override;

    HRESULT RegisterCallback(UINT message, UINT& cookie, Callback* callback) override;
    HRESULT UnregisterCallback(const UINT& cookie) override;
    HRESULT RemoveCallback(UINT message, UINT cookie) override;
    BOOL PostMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    /// One registration. The table is one block, ordered by (message, cookie): cookies only grow, so that this is the
    /// order of registration within a message. Tens of thousands of registrations in ascending order cost an append
    /// each, and a position in the table is found again by its key after any change.
    struct Entry {
        UINT message;
        UINT cookie;
        Callback* callback;
    };
    using Entries = std::vector<Entry>;

    friend OrvaWndMsgServer* OrvaGetWndMsgServer();

    void CreateServerWindow() noexcept;
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void Deliver(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    Entries::iterator LowerBound(UINT message, UINT cookie) noexcept;

    std::atomic<HWND> m_window = nullptr;
    const DWORD m_threadId = ::GetCurrentThreadId();
    ATOM m_classAtom = 0;
    HINSTANCE m_instance = nullptr;
    Entries m_entries;
    UINT m_lastCookie = 0;
};

} // namespace OrvaWndMsgServer_details

#endif // TARNU_MESSAGING_ORVAWNDMSGSERVERINTERNAL_H
