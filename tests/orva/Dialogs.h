/// @file
/// The dialogs that the command-line program shows, and answers to them.
#ifndef TARNU_TESTS_ORVA_DIALOGS_H
#define TARNU_TESTS_ORVA_DIALOGS_H

#include "support/Program.h"
#include "support/Wait.h"

#include <gtest/gtest.h>
#include <string>

namespace tarnu::test {

/// The dialog that a process shows; null while it shows none.
inline HWND DialogOf(DWORD processId) {
    struct Search {
        DWORD processId;
        HWND found;
    } search{processId, nullptr};
    ::EnumWindows(
        [](HWND window, LPARAM parameter) -> BOOL {
            auto& wanted = *reinterpret_cast<Search*>(parameter);
            DWORD owner = 0;
            ::GetWindowThreadProcessId(window, &owner);
            wchar_t name[16] = {};
            ::GetClassNameW(window, name, 16);
            if (owner != wanted.processId || std::wstring(name) != L"#32770") return TRUE;
            wanted.found = window;
            return FALSE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

/// Waits for the dialog and answers it; fails the running test when there is none in time.
inline void Answer(OrvaProcess& orva, int button) {
    HWND dialog = nullptr;
    EXPECT_TRUE(WaitUntil([&] {
        dialog = DialogOf(orva.Id());
        return dialog != nullptr || !orva.IsRunning();
    }));
    ASSERT_NE(nullptr, dialog) << orva.Errors();
    EXPECT_TRUE(::PostMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(button), 0));
}

} // namespace tarnu::test

#endif // TARNU_TESTS_ORVA_DIALOGS_H
