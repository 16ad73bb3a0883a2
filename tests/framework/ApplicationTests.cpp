// The application-wide functions: message box, main window, application name, thread state.

#include "tarnu/framework/framework.h"

#include "support/MessageBoxes.h"

#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace {

using tarnu::test::MessageBoxes;

/// A top-level window that ends with its scope.
class TestWindow {
public:
    explicit TestWindow(DWORD style, HWND owner = nullptr)
        : m_window(::CreateWindowExW(0, L"STATIC", L"window", style, 0, 0, 50, 50, owner, nullptr, nullptr, nullptr)) {
        EXPECT_NE(nullptr, m_window);
    }
    ~TestWindow() { ::DestroyWindow(m_window); }
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    HWND Get() const { return m_window; }

private:
    HWND m_window;
};

TEST(ApplicationMainWindow, IsTheFirstVisibleWindowWithoutOwner) {
    EXPECT_EQ(nullptr, AfxGetMainWnd());
    const TestWindow hidden(WS_OVERLAPPED);
    EXPECT_EQ(nullptr, AfxGetMainWnd()) << "hidden windows do not count";
    {
        const TestWindow visible(WS_OVERLAPPED | WS_VISIBLE);
        const TestWindow owned(WS_POPUP | WS_VISIBLE, visible.Get());
        ASSERT_NE(nullptr, AfxGetMainWnd());
        EXPECT_EQ(visible.Get(), AfxGetMainWnd()->GetSafeHwnd());
        HWND seenElsewhere = nullptr;
        const CWnd* here = AfxGetMainWnd();
        const CWnd* there = nullptr;
        std::thread([&] {
            there = AfxGetMainWnd();
            seenElsewhere = there == nullptr ? nullptr : there->GetSafeHwnd();
        }).join();
        EXPECT_EQ(visible.Get(), seenElsewhere) << "one main window for all threads";
        EXPECT_NE(here, there) << "but an object for each";
    }
    EXPECT_EQ(nullptr, AfxGetMainWnd());
}

TEST(ApplicationName, IsTheExecutablesTitle) {
    wchar_t path[MAX_PATH] = {};
    ASSERT_NE(0U, ::GetModuleFileNameW(nullptr, path, MAX_PATH));
    wchar_t title[MAX_PATH] = {};
    ::_wsplitpath(path, nullptr, nullptr, title, nullptr);
    EXPECT_STREQ(title, AfxGetAppName());
}

TEST(ApplicationMessageBox, SuppliesCaptionIconAndOwner) {
    const struct {
        UINT style;
        int answer;
        const wchar_t* icon;
        std::vector<int> buttons;
    } cases[] = {
        {MB_OK, IDOK, IDI_EXCLAMATION, {IDOK}},
        {MB_YESNOCANCEL, IDNO, IDI_EXCLAMATION, {IDCANCEL, IDYES, IDNO}},
        {MB_OKCANCEL | MB_ICONSTOP, IDCANCEL, IDI_HAND, {IDOK, IDCANCEL}},
        {MB_OK | MB_ICONINFORMATION, IDOK, IDI_ASTERISK, {IDOK}},
        {MB_YESNO | MB_ICONQUESTION, IDYES, IDI_QUESTION, {IDYES, IDNO}},
    };
    for (const bool withMainWindow : {false, true}) {
        const TestWindow window(withMainWindow ? WS_OVERLAPPED | WS_VISIBLE : WS_OVERLAPPED);
        for (const auto& test : cases) {
            MessageBoxes boxes({test.answer});
            EXPECT_EQ(test.answer, AfxMessageBox(L"the text", test.style));
            ASSERT_EQ(1U, boxes.Shown().size());
            const tarnu::test::ShownBox& box = boxes.Shown().front();
            EXPECT_EQ(L"the text", box.text);
            EXPECT_EQ(AfxGetAppName(), box.caption);
            EXPECT_EQ(withMainWindow ? window.Get() : nullptr, box.owner);
            EXPECT_EQ(test.buttons, box.buttons);
            EXPECT_EQ(::LoadIconW(nullptr, test.icon), box.icon) << test.style;
        }
    }
}

TEST(ApplicationMessageBox, StandsOverTheMainWindowsLastPopup) {
    const TestWindow main(WS_OVERLAPPED | WS_VISIBLE);
    const TestWindow popup(WS_POPUP | WS_VISIBLE, main.Get());
    ::SetActiveWindow(popup.Get());
    const HWND expected = ::GetLastActivePopup(main.Get());
    EXPECT_EQ(popup.Get(), expected);
    MessageBoxes boxes;
    EXPECT_EQ(IDOK, AfxMessageBox(L"text"));
    ASSERT_EQ(1U, boxes.Shown().size());
    EXPECT_EQ(expected, boxes.Shown().front().owner);
    EXPECT_EQ((std::vector<int>{IDOK}), boxes.Shown().front().buttons) << "one button without a style";
}

TEST(ApplicationThreadState, BelongsToTheThread) {
    AfxGetThreadState()->m_lastSentMsg.message = WM_USER;
    UINT message = WM_NULL + 1;
    std::thread([&] {
        message = AfxGetThreadState()->m_lastSentMsg.message;
        AfxGetThreadState()->m_lastSentMsg.message = WM_APP;
    }).join();
    EXPECT_EQ(static_cast<UINT>(WM_NULL), message) << "a new thread starts with an empty state";
    EXPECT_EQ(static_cast<UINT>(WM_USER), AfxGetThreadState()->m_lastSentMsg.message);
    AfxGetThreadState()->m_lastSentMsg = MSG{};
}

TEST(CWndHandle, IsHeldNotOwned) {
    const TestWindow window(WS_OVERLAPPED);
    {
        CWnd object;
        EXPECT_FALSE(object.Attach(nullptr));
        EXPECT_TRUE(object.Attach(window.Get()));
        EXPECT_EQ(window.Get(), object.Detach());
        EXPECT_EQ(nullptr, static_cast<HWND>(object));
        object.Attach(window.Get());
    }
    EXPECT_TRUE(::IsWindow(window.Get()));
}

} // namespace
