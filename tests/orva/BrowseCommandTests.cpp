#include "orva/OrvaProcess.h"
#include "support/TempFolder.h"
#include "support/Wait.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using tarnu::test::OrvaProcess;
using tarnu::test::TempFolder;

/// The dialog that a process shows; null while it shows none.
HWND DialogOf(DWORD processId) {
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
void Answer(OrvaProcess& orva, int button) {
    HWND dialog = nullptr;
    EXPECT_TRUE(tarnu::test::WaitUntil([&] {
        dialog = DialogOf(orva.Id());
        return dialog != nullptr || !orva.IsRunning();
    }));
    ASSERT_NE(nullptr, dialog) << orva.Errors();
    EXPECT_TRUE(::PostMessageW(dialog, WM_COMMAND, static_cast<WPARAM>(button), 0));
}

/// Narrow form of an ASCII text.
std::string Narrow(const std::wstring& text) {
    std::string narrow;
    for (const wchar_t character : text)
        narrow += static_cast<char>(character);
    return narrow;
}

} // namespace

TEST(BrowseCommand, PrintsTheFolderThatWasChosen) {
    const TempFolder temp;
    const std::string start = Narrow(temp.MakeFolder(L"start")) + "\\";
    ASSERT_TRUE(::SetCurrentDirectoryW(temp.Path().c_str()));
    OrvaProcess orva(L"browse --start ./start --title \"Pick one\"");
    Answer(orva, IDOK);
    EXPECT_EQ(0u, orva.Wait());
    EXPECT_EQ("", orva.Errors());
    std::string output = orva.Output();
    ASSERT_FALSE(output.empty());
    EXPECT_EQ('\n', output.back());
    output.pop_back();
    // Wine's tree sometimes selects only a parent of the wanted folder.
    EXPECT_EQ(0, ::_strnicmp(start.c_str(), output.c_str(), output.size())) << output << " against " << start;
    EXPECT_EQ('\\', output.back());
}

TEST(BrowseCommand, ACancelledDialogAndAMissingStartAreFailures) {
    OrvaProcess cancelled(L"browse");
    Answer(cancelled, IDCANCEL);
    EXPECT_EQ(1u, cancelled.Wait());
    EXPECT_EQ("", cancelled.Output());
    EXPECT_EQ("orva: no folder was chosen\n", cancelled.Errors());

    const TempFolder temp;
    for (const std::wstring& start : {temp / L"missing", temp.MakeFile(L"file")}) {
        OrvaProcess orva(L"browse --start \"" + start + L"\"");
        EXPECT_EQ(1u, orva.Wait());
        EXPECT_EQ("", orva.Output());
        EXPECT_EQ("orva: " + Narrow(start) + ": there is no such folder\n", orva.Errors());
    }
}
