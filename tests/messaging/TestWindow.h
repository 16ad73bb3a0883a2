/// @file
/// A window with a procedure of its own that remembers what reached it.
#ifndef TARNU_TESTS_MESSAGING_TESTWINDOW_H
#define TARNU_TESTS_MESSAGING_TESTWINDOW_H

#include "tarnu/framework/framework.h"

#include <functional>
#include <string>
#include <utility>

namespace tarnu::test {

/// A hidden window. Messages from WM_APP on, and WM_NCDESTROY, append "window " to the log that is given; all others go
/// to the default procedure.
class TestWindow {
public:
    explicit TestWindow(std::string& log) : m_log(log) {
        static const ATOM atom = Register();
        m_window = ::CreateWindowExW(0, reinterpret_cast<LPCWSTR>(static_cast<ULONG_PTR>(atom)), L"test", 0, 0, 0, 10,
                                     10, nullptr, nullptr, ::GetModuleHandleW(nullptr), this);
    }
    ~TestWindow() { Destroy(); }
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    HWND Handle() const { return m_window; }
    void Destroy() {
        if (m_window != nullptr) ::DestroyWindow(std::exchange(m_window, nullptr));
    }
    LRESULT Send(UINT message = WM_APP, WPARAM wParam = 0, LPARAM lParam = 0) const {
        return ::SendMessageW(m_window, message, wParam, lParam);
    }
    WNDPROC Procedure() const { return reinterpret_cast<WNDPROC>(::GetWindowLongPtrW(m_window, GWLP_WNDPROC)); }
    static WNDPROC OwnProcedure() { return &OnMessage; }

    std::function<void(HWND window, UINT message)> onMessage; ///< called for the logged messages

private:
    static ATOM Register() {
        WNDCLASSEXW windowClass{};
        windowClass.cbSize = sizeof windowClass;
        windowClass.lpfnWndProc = &OnMessage;
        windowClass.hInstance = ::GetModuleHandleW(nullptr);
        windowClass.lpszClassName = L"TarnuTestWindow";
        return ::RegisterClassExW(&windowClass);
    }
    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_NCCREATE) {
            const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
            ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
        }
        auto* self = reinterpret_cast<TestWindow*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
        if (self != nullptr && (message >= WM_APP || message == WM_NCDESTROY)) {
            self->m_log += "window ";
            if (self->onMessage) self->onMessage(window, message);
            if (message >= WM_APP) return static_cast<LRESULT>(wParam) + lParam;
        }
        return ::DefWindowProcW(window, message, wParam, lParam);
    }

    std::string& m_log;
    HWND m_window;
};

} // namespace tarnu::test

#endif // TARNU_TESTS_MESSAGING_TESTWINDOW_H
