// What can go wrong between a program and the DLL: virtual calls in both directions, type information, exported data,
// texts that one side allocates and the other frees, exceptions that cross the boundary.
#include <tarnu/TarnuWin32Utils.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

int SecondUnit();

namespace {

int failures = 0;

void Check(bool holds, const char* what) {
    std::printf("%s: %s\n", holds ? "ok" : "FAILED", what);
    if (!holds) ++failures;
}

/// The folder of this program, which holds the library too.
OrvaPath ProgramFolder() {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    return OrvaPath(path).GetDriveAndDirectory();
}

// The program calls virtual functions of the library.

int CountEntries(OrvaFileMatch& walk, const OrvaPath& folder, const wchar_t* pattern, CString& last) {
    int count = 0;
    OrvaPath name;
    for (walk.Open(folder, pattern, 0); walk.IsFound(); walk.Next()) {
        last = walk.GetName(name);
        ++count;
    }
    walk.Close();
    return count;
}

void CheckWalks() {
    OrvaBasicFileMatcher matcher;
    OrvaBFSFileTree tree;
    for (OrvaFileMatch* walk : {static_cast<OrvaFileMatch*>(&matcher), static_cast<OrvaFileMatch*>(&tree)}) {
        CString last;
        Check(CountEntries(*walk, ProgramFolder(), L"TarnuWin32Utils.dll", last) == 1 && last == L"TarnuWin32Utils.dll",
              "a walk finds the library beside the program");
        Check(CountEntries(*walk, ProgramFolder(), L"no such file", last) == 0, "a walk finds nothing");
    }
    OrvaFileMatch& walk = matcher;
    Check(dynamic_cast<OrvaBasicFileMatcher*>(&walk) == &matcher && dynamic_cast<OrvaBFSFileTree*>(&walk) == nullptr,
          "type information is shared");
}

// The library calls virtual functions of the program.

struct Counter : OrvaCallback {
    BOOL Execute() override {
        ++calls;
        return TRUE;
    }
    int calls = 0;
};

struct Parcel : OrvaMessage {
    explicit Parcel(bool& destroyed) : m_destroyed(destroyed) {}
    ~Parcel() override { m_destroyed = true; }

private:
    bool& m_destroyed;
};

void CheckCallback() {
    Counter counter;
    bool destroyed = false;
    OrvaMessageQueue queue(&counter, nullptr);
    Check(queue.Post(new Parcel(destroyed)) == OrvaServerSuccess, "a message is posted");
    OrvaMessage* message = nullptr;
    Check(queue.Get(message) == OrvaServerSuccess && message != nullptr && counter.calls == 1,
          "the queue executes a callback of the program");
    delete message;
    Check(destroyed, "a message is destroyed through its base");
}

class Doubler : public OrvaSubClassWnd {
    DECLARE_DYNAMIC(Doubler)

public:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_APP) return static_cast<LRESULT>(2 * wParam);
        return OrvaSubClassWnd::WindowProc(message, wParam, lParam);
    }
};
IMPLEMENT_DYNAMIC(Doubler, OrvaSubClassWnd)

void CheckSubclass() {
    const HWND window =
        ::CreateWindowExW(0, L"STATIC", L"title", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    {
        Doubler doubler;
        Check(doubler.IsKindOf(RUNTIME_CLASS(Doubler)) && doubler.IsKindOf(RUNTIME_CLASS(OrvaSubClassWnd)) &&
                  doubler.IsKindOf(RUNTIME_CLASS(CObject)) && !doubler.IsKindOf(RUNTIME_CLASS(CFile)),
              "run-time classes are derived across the boundary");
        Check(doubler.SubClass(window) && ::SendMessageW(window, WM_APP, 21, 0) == 42,
              "a window procedure of the program is called");
        wchar_t title[16] = {};
        ::GetWindowTextW(window, title, 16);
        Check(std::wstring(title) == L"title", "other messages reach the window");
    }
    Check(::SendMessageW(window, WM_APP, 21, 0) == 0, "the window has its own procedure back");
    ::DestroyWindow(window);
}

// Exported data.

int seen = 0;

int __cdecl Watch(int operation, int value, const wchar_t* text) {
    if (operation == OrvaProgressOperationText && text != nullptr) seen = value;
    return 0;
}

void CheckData() {
    SYSTEM_INFO system = {};
    ::GetSystemInfo(&system);
    Check(OrvaFixedBlockAllocator::PageSize == system.dwPageSize &&
              OrvaFixedBlockAllocator::PageMask == ~(OrvaFixedBlockAllocator::PageSize - 1),
          "the page size is read");
    Check(OrvaProgressCallback == nullptr && !OrvaProgressEnabled && OrvaProgressRange == 1, "the meter is at rest");
    OrvaSetProgressCallback(Watch);
    Check(OrvaProgressCallback == Watch && OrvaProgressEnabled, "the library's change is seen");
    OrvaProgressPosition = 7;
    OrvaProgressText(L"working");
    Check(seen == 7, "the program's change is seen, and its function is called");
    OrvaProgressEnabled = false;
    OrvaProgressPosition = 8;
    OrvaProgressText(L"working");
    Check(seen == 7, "the program's switch is obeyed");
}

// Exceptions that the library throws and the program catches.

void CheckExceptions() {
    const OrvaPath folder = ProgramFolder();
    try {
        const OrvaStdioFile report(folder, /*addTimeStamp=*/false, /*overwrite=*/false, /*writeHeader=*/0);
        Check(false, "a folder cannot be opened as a file");
    } catch (CFileException* error) {
        wchar_t text[512] = {};
        Check(error->m_cause == CFileException::accessDenied && error->GetErrorMessage(text, 512) && text[0] != 0,
              "a file exception crosses the boundary by pointer");
        error->Delete();
    }
    try {
        OrvaXmlLoadFile(L"missing.xml", nullptr);
        Check(false, "nothing is loaded without a document");
    } catch (const CString& text) {
        Check(text == L"pDoc is NULL!", "a text crosses the boundary by value");
    }
    try {
        CString(L"abc").SetAt(3, L'd');
        Check(false, "an index behind the text is refused");
    } catch (const std::exception& error) {
        Check(error.what()[0] != 0, "a standard exception crosses the boundary");
    }
}

// What the DLL says about itself.

void CheckVersion() {
    const OrvaPath library = ProgramFolder() / L"TarnuWin32Utils.dll";
    std::vector<BYTE> data(::GetFileVersionInfoSizeW(library, nullptr));
    Check(!data.empty() && ::GetFileVersionInfoW(library, 0, static_cast<DWORD>(data.size()), data.data()),
          "the library has a version resource");
    void* value = nullptr;
    UINT length = 0;
    wchar_t name[] = L"\\StringFileInfo\\040904B0\\ProductVersion";
    Check(!data.empty() && ::VerQueryValueW(data.data(), name, &value, &length) &&
              std::wstring(static_cast<const wchar_t*>(value)) == TARNU_EXPECTED_VERSION,
          "its version is that of the package");
}

} // namespace

int main() {
    Check(SecondUnit() == 6, "two translation units link");
    CheckWalks();
    CheckCallback();
    CheckSubclass();
    CheckData();
    CheckExceptions();
    CheckVersion();
    if (failures == 0) std::puts("consumer: all good");
    return failures == 0 ? 0 : 1;
}
