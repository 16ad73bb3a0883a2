#include "support/MessageBoxes.h"

#include <gtest/gtest.h>
#include <utility>

namespace tarnu::test {
namespace {

thread_local MessageBoxes* current = nullptr;

std::wstring TextOf(HWND window) {
    wchar_t text[4096] = {};
    ::GetWindowTextW(window, text, 4096);
    return text;
}

/// The icon of the box's static icon control, whose identifier differs between Windows and Wine.
HICON IconOf(HWND box) {
    for (HWND child = ::GetWindow(box, GW_CHILD); child != nullptr; child = ::GetWindow(child, GW_HWNDNEXT)) {
        wchar_t className[32] = {};
        ::GetClassNameW(child, className, 32);
        const bool isIcon = ::_wcsicmp(className, L"static") == 0 &&
                            (::GetWindowLongW(child, GWL_STYLE) & WS_VISIBLE) != 0 &&
                            (::GetWindowLongW(child, GWL_STYLE) & SS_TYPEMASK) == SS_ICON;
        if (isIcon) return reinterpret_cast<HICON>(::SendMessageW(child, STM_GETICON, 0, 0));
    }
    return nullptr;
}

} // namespace

MessageBoxes::MessageBoxes(std::deque<int> answers) : m_answers(std::move(answers)) {
    current = this;
    m_hook = ::SetWindowsHookExW(WH_CBT, OnHook, nullptr, ::GetCurrentThreadId());
    EXPECT_NE(nullptr, m_hook);
}

MessageBoxes::~MessageBoxes() {
    ::UnhookWindowsHookEx(m_hook);
    current = nullptr;
}

LRESULT CALLBACK MessageBoxes::OnHook(int code, WPARAM wParam, LPARAM lParam) {
    if (code == HCBT_ACTIVATE && current != nullptr) {
        const auto window = reinterpret_cast<HWND>(wParam);
        wchar_t className[32] = {};
        ::GetClassNameW(window, className, 32);
        if (std::wstring(className) == L"#32770") current->Answer(window);
    }
    return ::CallNextHookEx(nullptr, code, wParam, lParam);
}

void MessageBoxes::Answer(HWND box) {
    if (::GetPropW(box, L"TarnuTestAnswered") != nullptr) return; // activated again
    ::SetPropW(box, L"TarnuTestAnswered", reinterpret_cast<HANDLE>(1));
    ShownBox shown;
    shown.caption = TextOf(box);
    // The text is the static control with the identifier 0xFFFF; the icon is a static control too.
    shown.text = TextOf(::GetDlgItem(box, 0xFFFF));
    shown.owner = ::GetWindow(box, GW_OWNER);
    shown.icon = IconOf(box);
    for (int id = IDOK; id <= IDCONTINUE; ++id) {
        const HWND button = ::GetDlgItem(box, id);
        if (button != nullptr && (::GetWindowLongW(button, GWL_STYLE) & WS_VISIBLE) != 0) shown.buttons.push_back(id);
    }
    m_shown.push_back(std::move(shown));
    int answer = IDOK;
    if (!m_answers.empty()) {
        answer = m_answers.front();
        m_answers.pop_front();
    }
    ::PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(answer), 0);
}

} // namespace tarnu::test
