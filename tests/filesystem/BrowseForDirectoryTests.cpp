#include "support/ImportPatch.h"
#include "support/TempFolder.h"
#include "tarnu/filesystem/OrvaBrowseForDirectory.h"
#include "tarnu/support/Owners.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using tarnu::test::ImportPatch;
using tarnu::test::TempFolder;
using UniqueItem = tarnu::support::UniqueTaskMemory<std::remove_pointer_t<PIDLIST_ABSOLUTE>>;

constexpr wchar_t library[] = L"TarnuWin32Utils.dll";

std::wstring PathOf(PCIDLIST_ABSOLUTE item) {
    wchar_t path[MAX_PATH] = {};
    return ::SHGetPathFromIDListW(item, path) ? path : L"";
}

bool SamePath(const std::wstring& left, const std::wstring& right) {
    return ::CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, /*ignoreCase=*/TRUE) == CSTR_EQUAL;
}

/// Expects texts of paths to be equal without regard to case: the shell tells the case of the disk.
void ExpectPath(const std::wstring& expected, const std::wstring& actual) {
    EXPECT_TRUE(SamePath(expected, actual))
        << "expected " << CString(expected.c_str()).GetString() << ", got " << CString(actual.c_str()).GetString();
}

/// A picker whose judgement the test gives.
class Picker : public OrvaBrowseForDirectory {
public:
    using OrvaBrowseForDirectory::OrvaBrowseForDirectory;

    BOOL ValidateFolder(const wchar_t* path, CString& statusText) override {
        EXPECT_TRUE(statusText.IsEmpty());
        validated.emplace_back(path);
        return validate ? validate(path, statusText) : OrvaBrowseForDirectory::ValidateFolder(path, statusText);
    }

    std::function<BOOL(const wchar_t* path, CString& statusText)> validate;
    std::vector<std::wstring> validated;
};

/// Stands in for the shell's dialog: what the library asked for, the messages that it sent, and an answer.
class FakeShell {
public:
    FakeShell() : m_patch(library, "SHBrowseForFolderW", &Browse) {
        s_current = this;
        static const ATOM atom = Register();
        m_dialog = ::CreateWindowExW(0, reinterpret_cast<LPCWSTR>(static_cast<ULONG_PTR>(atom)), L"", 0, 0, 0, 10, 10,
                                     nullptr, nullptr, ::GetModuleHandleW(nullptr), nullptr);
        EXPECT_NE(m_dialog, nullptr);
    }
    ~FakeShell() {
        ::DestroyWindow(m_dialog);
        s_current = nullptr;
    }
    FakeShell(const FakeShell&) = delete;
    FakeShell& operator=(const FakeShell&) = delete;

    /// Calls the library's callback as the dialog does; returns what it sent to the dialog, one word a message.
    std::wstring Event(UINT event, LPARAM parameter = 0) { return EventFor(event, parameter, m_info->lParam); }
    std::wstring EventFor(UINT event, LPARAM parameter, LPARAM data) {
        m_sent.clear();
        EXPECT_EQ(0, m_info->lpfn(m_dialog, event, parameter, data));
        return m_sent;
    }
    std::wstring Select(const wchar_t* path) {
        const UniqueItem item(::ILCreateFromPathW(path));
        EXPECT_TRUE(item);
        return Event(BFFM_SELCHANGED, reinterpret_cast<LPARAM>(item.Get()));
    }

    /// What happens while the dialog is open; returns the chosen item, which the library is to free, or null.
    std::function<PIDLIST_ABSOLUTE(const BROWSEINFOW& info)> script;
    int shown = 0;

private:
    static PIDLIST_ABSOLUTE WINAPI Browse(BROWSEINFOW* info) {
        ++s_current->shown;
        s_current->m_info = info;
        // The dialog writes the display name of the choice.
        std::wmemset(info->pszDisplayName, L'z', 519);
        info->pszDisplayName[519] = L'\0';
        return s_current->script(*info);
    }
    static ATOM Register() {
        WNDCLASSEXW windowClass{};
        windowClass.cbSize = sizeof windowClass;
        windowClass.lpfnWndProc = &OnMessage;
        windowClass.hInstance = ::GetModuleHandleW(nullptr);
        windowClass.lpszClassName = L"TarnuTestFolderDialog";
        return ::RegisterClassExW(&windowClass);
    }
    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message < WM_USER || s_current == nullptr) return ::DefWindowProcW(window, message, wParam, lParam);
        std::wstring& sent = s_current->m_sent;
        EXPECT_EQ(0u, wParam);
        if (message == 0x467) {
            sent += L"select(" + PathOf(reinterpret_cast<PCIDLIST_ABSOLUTE>(lParam)) + L")";
        } else if (message == 0x465) {
            sent += L"enable(" + std::to_wstring(lParam) + L")";
        } else if (message == 0x468) {
            sent += L"status(" + std::wstring(reinterpret_cast<const wchar_t*>(lParam)) + L")";
        } else {
            sent += L"other(" + std::to_wstring(message) + L")";
        }
        return 0;
    }

    static FakeShell* s_current;

    ImportPatch m_patch;
    HWND m_dialog = nullptr;
    const BROWSEINFOW* m_info = nullptr;
    std::wstring m_sent;
};

FakeShell* FakeShell::s_current = nullptr;

/// Runs on a thread of its own, which has no COM yet.
void OnFreshThread(const std::function<void()>& work) {
    std::thread(work).join();
}

/// The calling thread's apartment: "none", "single", "multi".
std::string Apartment() {
    APTTYPE type{};
    APTTYPEQUALIFIER qualifier{};
    const HRESULT result = ::CoGetApartmentType(&type, &qualifier);
    // A thread without COM is told apart by the qualifier while another thread keeps the multithreaded apartment up.
    if (result == CO_E_NOTINITIALIZED || qualifier == APTTYPEQUALIFIER_IMPLICIT_MTA) return "none";
    return type == APTTYPE_MTA ? "multi" : "single";
}

/// What the library gave back to the task allocator.
std::vector<const void*> freedBlocks;

void WINAPI NoteFree(void* block) {
    freedBlocks.push_back(block);
    ::CoTaskMemFree(block);
}

} // namespace

TEST(BrowseForDirectory, HoldsComForItsLifeAndLeavesAForeignApartmentAlone) {
    OnFreshThread([] {
        EXPECT_EQ("none", Apartment());
        {
            const OrvaBrowseForDirectory first;
            EXPECT_EQ("single", Apartment());
            { const OrvaBrowseForDirectory second; }
            EXPECT_EQ("single", Apartment());
        }
        EXPECT_EQ("none", Apartment());

        ASSERT_HRESULT_SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED));
        { const OrvaBrowseForDirectory refused; }
        EXPECT_EQ("multi", Apartment());
        ::CoUninitialize();
    });
}

TEST(BrowseForDirectory, DescribesTheDialogAndReturnsTheChoiceWithABackslash) {
    const TempFolder temp;
    const std::wstring start = temp.MakeFolder(L"start");
    const std::wstring deep = temp.MakeFolder(L"start\\D\u00e4ta \u6587");
    const HWND owner = ::GetDesktopWindow();
    FakeShell shell;
    Picker picker;

    const struct {
        std::wstring chosen;
        std::wstring expected;
    } cases[] = {{deep, deep + L"\\"}, {start + L"\\", start + L"\\"}, {L"C:\\", L"C:\\"}};
    for (const auto& entry : cases) {
        CString path(L"before");
        shell.script = [&](const BROWSEINFOW& info) {
            EXPECT_EQ(0x4Du, info.ulFlags);
            EXPECT_EQ(owner, info.hwndOwner);
            EXPECT_STREQ(L"Choose", info.lpszTitle);
            EXPECT_EQ(reinterpret_cast<LPARAM>(&picker), info.lParam);
            EXPECT_EQ(nullptr, info.pidlRoot);
            EXPECT_STREQ(L"before", path);
            return ::ILCreateFromPathW(entry.chosen.c_str());
        };
        EXPECT_EQ(1, picker.Browse(path, start.c_str(), L"Choose", owner, nullptr));
        ExpectPath(entry.expected, path.GetString());
    }

    // Into a path object; its separator stays, and the text ends with a backslash all the same.
    OrvaPath chosen(L"before", OrvaPath::SlashSeparator);
    shell.script = [&](const BROWSEINFOW&) { return ::ILCreateFromPathW(deep.c_str()); };
    EXPECT_EQ(1, picker.Browse(chosen, start.c_str(), L"Choose", owner));
    ExpectPath(deep + L"\\", chosen.GetText().GetString());
    EXPECT_STREQ(L"/", chosen.GetSeparator());

    shell.script = [&](const BROWSEINFOW& info) {
        EXPECT_EQ(nullptr, info.hwndOwner);
        EXPECT_EQ(nullptr, info.lpszTitle);
        return nullptr;
    };
    CString path(L"before");
    EXPECT_EQ(0, picker.Browse(path, nullptr, nullptr, nullptr, nullptr));
    EXPECT_STREQ(L"before", path);
    EXPECT_EQ(0, picker.Browse(chosen, nullptr, nullptr, nullptr));
    ExpectPath(deep + L"\\", chosen.GetText().GetString());
    EXPECT_EQ(6, shell.shown);
}

TEST(BrowseForDirectory, AChoiceWithoutAFileSystemPathIsNone) {
    FakeShell shell;
    OrvaBrowseForDirectory picker;
    shell.script = [](const BROWSEINFOW&) {
        PIDLIST_ABSOLUTE computer = nullptr;
        EXPECT_HRESULT_SUCCEEDED(::SHGetSpecialFolderLocation(nullptr, CSIDL_DRIVES, &computer));
        return computer;
    };
    CString path(L"before");
    EXPECT_EQ(0, picker.Browse(path, nullptr, L"", nullptr, nullptr));
    EXPECT_STREQ(L"before", path);
}

TEST(BrowseForDirectory, OpensOnAnInitialFolderThatExistsBelowTheRoot) {
    const TempFolder temp;
    const std::wstring start = temp.MakeFolder(L"root\\start");
    const std::wstring root = temp / L"root";
    const std::wstring missing = temp / L"missing";
    const struct {
        const wchar_t* initial;
        const wchar_t* root;
        std::wstring selected;
        std::wstring expectedRoot;
    } cases[] = {
        {start.c_str(), root.c_str(), start, root},
        {start.c_str(), nullptr, start, L""},
        {nullptr, root.c_str(), L"", root},
        {missing.c_str(), missing.c_str(), L"", L""},
        {L"", nullptr, L"", L""},
        {start.c_str(), missing.c_str(), start, L""},
    };
    FakeShell shell;
    Picker picker; // one for all: nothing of a call may show in the next
    for (const auto& entry : cases) {
        shell.script = [&](const BROWSEINFOW& info) {
            EXPECT_EQ(entry.expectedRoot.empty(), info.pidlRoot == nullptr);
            if (info.pidlRoot != nullptr) ExpectPath(entry.expectedRoot, PathOf(info.pidlRoot));
            ExpectPath(entry.selected.empty() ? L"" : L"select(" + entry.selected + L")",
                       shell.Event(BFFM_INITIALIZED));
            return nullptr;
        };
        CString path;
        EXPECT_EQ(0, picker.Browse(path, entry.initial, L"", nullptr, entry.root));
    }
    EXPECT_TRUE(picker.validated.empty());
}

TEST(BrowseForDirectory, FreesItsItemsOnceAndKeepsThemUntilTheDialogEnds) {
    const TempFolder temp;
    const std::wstring start = temp.MakeFolder(L"start");
    FakeShell shell;
    Picker picker;
    const ImportPatch notesFrees(library, "CoTaskMemFree", &NoteFree);
    for (const bool choose : {true, false}) {
        const void* root = nullptr;
        const void* chosen = nullptr;
        shell.script = [&](const BROWSEINFOW& info) {
            root = info.pidlRoot;
            freedBlocks.clear(); // of those before: the root lives, so none of them can be it
            ExpectPath(temp.Path(), PathOf(info.pidlRoot));
            const PIDLIST_ABSOLUTE item = choose ? ::ILCreateFromPathW(start.c_str()) : nullptr;
            chosen = item;
            return item;
        };
        CString path;
        EXPECT_EQ(choose ? 1 : 0, picker.Browse(path, start.c_str(), L"", nullptr, temp.Path().c_str()));
        ASSERT_NE(nullptr, root);
        EXPECT_EQ(1, std::count(freedBlocks.begin(), freedBlocks.end(), root));
        if (choose) {
            EXPECT_EQ(1, std::count(freedBlocks.begin(), freedBlocks.end(), chosen));
        }
    }
}

TEST(BrowseForDirectory, ACallFromWithinTheDialogLeavesTheOuterOneItsItems) {
    const TempFolder temp;
    const std::wstring outer = temp.MakeFolder(L"outer");
    const std::wstring inner = temp.MakeFolder(L"inner");
    FakeShell shell;
    OrvaBrowseForDirectory picker;
    shell.script = [&](const BROWSEINFOW& info) -> PIDLIST_ABSOLUTE {
        if (shell.shown == 2) {
            ExpectPath(inner, PathOf(info.pidlRoot));
            return nullptr;
        }
        CString path;
        EXPECT_EQ(0, picker.Browse(path, inner.c_str(), L"", nullptr, inner.c_str()));
        ExpectPath(outer, PathOf(info.pidlRoot));
        return ::ILCloneFull(info.pidlRoot);
    };
    CString path;
    EXPECT_EQ(1, picker.Browse(path, outer.c_str(), L"", nullptr, outer.c_str()));
    ExpectPath(outer + L"\\", path.GetString());
}

TEST(BrowseForDirectory, JudgesSelectionsAndNeverEnablesOk) {
    const TempFolder temp;
    const std::wstring good = temp.MakeFolder(L"good");
    const std::wstring bad = temp.MakeFolder(L"bad");
    const std::wstring silent = temp.MakeFolder(L"silent");
    FakeShell shell;
    Picker picker;
    picker.validate = [&](const wchar_t* path, CString& statusText) -> BOOL {
        if (SamePath(path, silent)) return 0;
        statusText = SamePath(path, good) ? L"fine" : L"not here";
        return SamePath(path, good) ? -1 : 0;
    };
    shell.script = [&](const BROWSEINFOW& info) {
        EXPECT_EQ(L"status(fine)", shell.Select(good.c_str()));
        EXPECT_EQ(L"enable(0)status(not here)", shell.Select(bad.c_str()));
        EXPECT_EQ(L"status(fine)", shell.Select(good.c_str()));
        EXPECT_EQ(L"enable(0)status()", shell.Select(silent.c_str()));
        EXPECT_EQ(4u, picker.validated.size());
        ExpectPath(bad, picker.validated[1]);

        // Selections without a path are not judged; the status line is cleared all the same.
        UniqueItem computer;
        EXPECT_HRESULT_SUCCEEDED(::SHGetSpecialFolderLocation(nullptr, CSIDL_DRIVES, computer.Put()));
        EXPECT_EQ(L"status()", shell.Event(BFFM_SELCHANGED, reinterpret_cast<LPARAM>(computer.Get())));
        EXPECT_EQ(L"status()", shell.Event(BFFM_SELCHANGED, 0));
        EXPECT_EQ(4u, picker.validated.size());

        // Other events, and a dialog that lost the object.
        EXPECT_EQ(L"", shell.Event(BFFM_VALIDATEFAILEDW, reinterpret_cast<LPARAM>(L"x")));
        EXPECT_EQ(L"", shell.Event(BFFM_IUNKNOWN, 0));
        EXPECT_EQ(L"", shell.EventFor(BFFM_INITIALIZED, 0, 0));
        EXPECT_EQ(L"", shell.EventFor(BFFM_SELCHANGED, reinterpret_cast<LPARAM>(info.pidlRoot), 0));
        return nullptr;
    };
    CString path;
    EXPECT_EQ(0, picker.Browse(path, good.c_str(), L"", nullptr, good.c_str()));

    // The base accepts everything without a word.
    OrvaBrowseForDirectory plain;
    CString statusText;
    EXPECT_EQ(1, plain.ValidateFolder(bad.c_str(), statusText));
    EXPECT_TRUE(statusText.IsEmpty());
    shell.script = [&](const BROWSEINFOW&) {
        EXPECT_EQ(L"status()", shell.Select(bad.c_str()));
        return nullptr;
    };
    EXPECT_EQ(0, plain.Browse(path, nullptr, L"", nullptr, nullptr));
}

TEST(BrowseForDirectory, AGivenCallbackTakesThePlaceOfTheLibrarys) {
    const TempFolder temp;
    FakeShell shell;
    static LPARAM data;
    data = 0;
    Picker picker([](HWND, UINT, LPARAM, LPARAM object) -> int {
        data = object;
        return 0;
    });
    shell.script = [&](const BROWSEINFOW&) {
        EXPECT_EQ(L"", shell.Event(BFFM_INITIALIZED));
        EXPECT_EQ(L"", shell.Select(temp.Path().c_str()));
        return nullptr;
    };
    CString path;
    EXPECT_EQ(0, picker.Browse(path, temp.Path().c_str(), L"", nullptr, nullptr));
    EXPECT_EQ(reinterpret_cast<LPARAM>(&picker), data);
    EXPECT_TRUE(picker.validated.empty());
}

TEST(BrowseForDirectory, WithoutADesktopFolderTheDialogIsStillShown) {
    const TempFolder temp;
    FakeShell shell;
    const ImportPatch noDesktop(
        library, "SHGetDesktopFolder", +[](IShellFolder** desktop) WINAPI -> HRESULT {
            *desktop = nullptr;
            return E_OUTOFMEMORY;
        });
    OrvaBrowseForDirectory picker;
    shell.script = [&](const BROWSEINFOW& info) {
        EXPECT_EQ(nullptr, info.pidlRoot);
        EXPECT_EQ(L"", shell.Event(BFFM_INITIALIZED));
        return ::ILCreateFromPathW(temp.Path().c_str());
    };
    CString path;
    EXPECT_EQ(1, picker.Browse(path, temp.Path().c_str(), L"", nullptr, temp.Path().c_str()));
    ExpectPath(temp.Path() + L"\\", path.GetString());
}
