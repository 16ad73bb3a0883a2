/// @file
/// The framework's application-wide functions.
#include "tarnu/framework/builtin/Application.h"

#include <cstddef>
#include <iterator>
#include <memory>
#include <new>
#include <string_view>

namespace {

/// The executable's name without folder and extension.
class ApplicationName {
public:
    ApplicationName() noexcept {
        constexpr DWORD longestPath = 32768;
        const std::unique_ptr<wchar_t[]> path(new (std::nothrow) wchar_t[longestPath]);
        if (path == nullptr) return;
        const DWORD length = ::GetModuleFileNameW(nullptr, path.get(), longestPath);
        const std::wstring_view whole(path.get(), length);
        std::wstring_view name = whole.substr(whole.find_last_of(L"\\/") + 1); // npos + 1 is 0
        name = name.substr(0, name.find_last_of(L'.'));
        name.copy(m_text, std::size(m_text) - 1);
    }
    const wchar_t* Get() const noexcept { return m_text; }

private:
    wchar_t m_text[MAX_PATH] = {}; // file systems limit a component to 255 characters
};

BOOL CALLBACK TakeMainWindow(HWND window, LPARAM result) {
    DWORD process = 0;
    ::GetWindowThreadProcessId(window, &process);
    const bool isMain =
        process == ::GetCurrentProcessId() && ::IsWindowVisible(window) && ::GetWindow(window, GW_OWNER) == nullptr;
    if (!isMain) return TRUE;
    *reinterpret_cast<HWND*>(result) = window;
    return FALSE;
}

} // namespace

_AFX_THREAD_STATE* AfxGetThreadState() {
    thread_local _AFX_THREAD_STATE state;
    return &state;
}

CWnd* AfxGetMainWnd() {
    HWND window = nullptr;
    ::EnumWindows(TakeMainWindow, reinterpret_cast<LPARAM>(&window));
    if (window == nullptr) return nullptr;
    // Never destroyed: a destructor per thread would keep the library loaded until every such thread has ended.
    alignas(CWnd) thread_local std::byte storage[sizeof(CWnd)];
    auto* mainWindow = ::new (storage) CWnd;
    mainWindow->Attach(window);
    return mainWindow;
}

const wchar_t* AfxGetAppName() {
    static const ApplicationName name;
    return name.Get();
}

int AfxMessageBox(const wchar_t* text, UINT style, UINT /*helpContext*/) {
    const CWnd* mainWindow = AfxGetMainWnd();
    HWND owner = mainWindow == nullptr ? nullptr : ::GetLastActivePopup(mainWindow->GetSafeHwnd());
    if ((style & MB_ICONMASK) == 0) style |= MB_ICONEXCLAMATION;
    return ::MessageBoxW(owner, text, AfxGetAppName(), style);
}
