#include "tarnu/messaging/OrvaWndMsgServer.h"

#include "tarnu/messaging/OrvaWndMsgServerInternal.h"
#include "tarnu/support/ThreadRule.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <limits>
#include <new>
#include <utility>

namespace OrvaWndMsgServer_details {

namespace {

constexpr wchar_t classNameFormat[] = L"OrvaWnd59A9E57ED6664f9e943F19730E161AEE";

} // namespace

OrvaWndMsgServerImpl::OrvaWndMsgServerImpl() noexcept : m_instance(::GetModuleHandleW(nullptr)) {
    CreateServerWindow();
}

void OrvaWndMsgServerImpl::CreateServerWindow() noexcept {
    wchar_t className[std::size(classNameFormat)] = {};
    std::swprintf(className, std::size(className), classNameFormat, m_instance);
    if (m_instance != nullptr && m_classAtom == 0) {
        WNDCLASSEXW windowClass{};
        windowClass.cbSize = sizeof windowClass;
        windowClass.lpfnWndProc = &WindowProc;
        windowClass.hInstance = m_instance;
        windowClass.lpszClassName = className;
        m_classAtom = ::RegisterClassExW(&windowClass);
    }
    // A class of this name that somebody else registered has another window procedure.
    if (m_classAtom == 0) return;
    HWND window = ::CreateWindowExW(/*dwExStyle=*/0, className, L"", /*dwStyle=*/0, /*X=*/0, /*Y=*/0, /*nWidth=*/1,
                                    /*nHeight=*/1, /*hWndParent=*/nullptr, /*hMenu=*/nullptr, m_instance,
                                    /*lpParam=*/nullptr);
    if (window == nullptr) return;
    ::SetLastError(ERROR_SUCCESS); // the old value is 0, as after a failure
    ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    if (::GetLastError() != ERROR_SUCCESS) {
        ::DestroyWindow(window); // it would take messages and deliver none
        return;
    }
    m_window = window;
}

OrvaWndMsgServerImpl::~OrvaWndMsgServerImpl() {
    m_entries.clear();
    if (m_window != nullptr) {
        HWND window = m_window.exchange(nullptr);
        ::SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        // Only its own thread can destroy a window. At process exit another thread may be the last one: the window must
        // then not call into the library any more.
        if (!::DestroyWindow(window)) {
            ::SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&::DefWindowProcW));
        }
    }
    if (m_classAtom != 0) {
        ::UnregisterClassW(reinterpret_cast<LPCWSTR>(static_cast<ULONG_PTR>(m_classAtom)), m_instance);
        m_classAtom = 0;
    }
}

HRESULT OrvaWndMsgServerImpl::RegisterCallback(UINT message, UINT& cookie, Callback* callback) {
    tarnu::support::RequireThread(m_threadId);
    if (callback == nullptr) return E_POINTER;
    if (m_lastCookie == std::numeric_limits<UINT>::max()) return E_OUTOFMEMORY; // a cookie is never issued twice
    const UINT next = m_lastCookie + 1;
    try {
        const bool isLast = m_entries.empty() || m_entries.back().message <= message;
        m_entries.insert(isLast ? m_entries.end() : LowerBound(message, next), Entry{message, next, callback});
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    cookie = m_lastCookie = next;
    return S_OK;
}

HRESULT OrvaWndMsgServerImpl::UnregisterCallback(const UINT& cookie) {
    // One expects the cookie to find its registration. It serves as the message number as well; the file event server
    // relies on its callbacks staying registered through this.
    return RemoveCallback(/*message=*/cookie, cookie);
}

HRESULT OrvaWndMsgServerImpl::RemoveCallback(UINT message, UINT cookie) {
    if (cookie == 0) return E_INVALIDARG;
    const auto found = LowerBound(message, cookie);
    if (found == m_entries.end() || found->message != message || found->cookie != cookie) return E_FAIL;
    m_entries.erase(found);
    return S_OK;
}

BOOL OrvaWndMsgServerImpl::PostMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (m_window == nullptr) { // the system would post to the calling thread
        ::SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return FALSE;
    }
    return ::PostMessageW(m_window, message, wParam, lParam);
}

LRESULT OrvaWndMsgServerImpl::SendMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    return ::SendMessageW(m_window, message, wParam, lParam);
}

OrvaWndMsgServerImpl::Entries::iterator OrvaWndMsgServerImpl::LowerBound(UINT message, UINT cookie) noexcept {
    return std::lower_bound(m_entries.begin(), m_entries.end(), std::pair(message, cookie),
                            [](const Entry& entry, const std::pair<UINT, UINT>& key) {
                                return std::pair(entry.message, entry.cookie) < key;
                            });
}

void OrvaWndMsgServerImpl::Deliver(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    const UINT lastCookie = m_lastCookie; // later registrations wait for the next message
    for (auto entry = LowerBound(message, /*cookie=*/0);
         entry != m_entries.end() && entry->message == message && entry->cookie <= lastCookie;) {
        const UINT cookie = entry->cookie;
        MessageRecord record{window, message, wParam, lParam, /*reserved1=*/0, /*reserved2=*/0};
        entry->callback->OnMessage(record);
        if (cookie == lastCookie) return;
        entry = LowerBound(message, cookie + 1); // the callback may have changed the table
    }
}

LRESULT CALLBACK OrvaWndMsgServerImpl::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* const server = reinterpret_cast<OrvaWndMsgServerImpl*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (server != nullptr) server->Deliver(window, message, wParam, lParam);
    return ::DefWindowProcW(window, message, wParam, lParam);
}

OrvaWndMsgServer* OrvaGetWndMsgServer() {
    static OrvaWndMsgServerImpl server;
    // A window that the system had no room for at first.
    if (server.m_window == nullptr && server.m_threadId == ::GetCurrentThreadId()) server.CreateServerWindow();
    return &server;
}

} // namespace OrvaWndMsgServer_details

OrvaWndMsgServer* OrvaGetWndMsgServer() {
    return OrvaWndMsgServer_details::OrvaGetWndMsgServer();
}
