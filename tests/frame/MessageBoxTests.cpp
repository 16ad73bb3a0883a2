#include "tarnu/frame/OrvaMessageBox.h"

#include "support/MessageBoxes.h"
#include "support/TempFolder.h"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

using namespace tarnu::test;

namespace {

#if defined(_MSC_VER)
constexpr char NameOfFour[] = "?DllMessageBox@@YAHPEAUHWND__@@PEB_W1I@Z";
constexpr char NameOfTwo[] = "?DllMessageBox@@YAHPEB_WI@Z";
#else
constexpr char NameOfFour[] = "_Z13DllMessageBoxP6HWND__PKwS2_j";
constexpr char NameOfTwo[] = "_Z13DllMessageBoxPKwj";
#endif

constexpr wchar_t LibraryName[] = L"TarnuWin32Utils.dll";
constexpr wchar_t ModuleName[] = L"ORVA_MESSAGEBOX_PLX.plx";

std::wstring PathOf(HMODULE module) {
    std::wstring path(32768, L'\0');
    path.resize(::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

std::wstring Environment(const wchar_t* name) {
    wchar_t value[1024] = {};
    ::GetEnvironmentVariableW(name, value, 1024);
    return value;
}

/// A copy of the library in a folder of its own, loaded beside the one that the tests are linked with. The library adds
/// references to itself, so the destructor releases it until it is gone and the folder can be removed.
class LibraryCopy {
public:
    explicit LibraryCopy(const std::wstring& folder, const wchar_t* name = LibraryName)
        : m_path(folder + L'\\' + name) {
        EXPECT_TRUE(::CopyFileW(PathOf(::GetModuleHandleW(LibraryName)).c_str(), m_path.c_str(), TRUE));
        m_module = ::LoadLibraryW(m_path.c_str());
        if (m_module == nullptr) return;
        four = reinterpret_cast<decltype(four)>(reinterpret_cast<void*>(::GetProcAddress(m_module, NameOfFour)));
        two = reinterpret_cast<decltype(two)>(reinterpret_cast<void*>(::GetProcAddress(m_module, NameOfTwo)));
    }
    ~LibraryCopy() { Unload(); }
    LibraryCopy(const LibraryCopy&) = delete;
    LibraryCopy& operator=(const LibraryCopy&) = delete;

    bool IsLoaded() const { return m_module != nullptr && four != nullptr && two != nullptr; }
    HMODULE Module() const { return m_module; }
    const std::wstring& Path() const { return m_path; }
    /// Releases every reference; returns how many there were.
    int Unload() {
        int references = 0;
        while (m_module != nullptr && references < 1000 && ::GetModuleHandleW(m_path.c_str()) == m_module) {
            ::FreeLibrary(m_module);
            ++references;
        }
        m_module = nullptr;
        return references;
    }

    int (*four)(HWND, const wchar_t*, const wchar_t*, UINT) = nullptr;
    int (*two)(const wchar_t*, UINT) = nullptr;

private:
    std::wstring m_path;
    HMODULE m_module = nullptr;
};

std::atomic<int> invalidParameters = 0;

void CountInvalidParameter(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, uintptr_t) {
    ++invalidParameters;
}

/// Restores what these tests change in the process.
class DllMessageBoxTest : public testing::Test {
protected:
    DllMessageBoxTest() {
        wchar_t folder[MAX_PATH] = {};
        ::GetCurrentDirectoryW(MAX_PATH, folder);
        m_directory = folder;
        m_searchPath.resize(32767);
        m_searchPath.resize(::GetEnvironmentVariableW(L"PATH", m_searchPath.data(), 32767));
        m_handler = ::_set_invalid_parameter_handler(CountInvalidParameter);
        invalidParameters = 0;
        ::SetEnvironmentVariableW(L"TARNU_TEST_BOX", nullptr);
        Answer(0);
    }
    void SetUp() override { ASSERT_TRUE(m_library.IsLoaded()) << "both forms are exported by name"; }
    ~DllMessageBoxTest() override {
        ::SetDllDirectoryW(nullptr);
        ::SetCurrentDirectoryW(m_directory.c_str());
        ::SetEnvironmentVariableW(L"PATH", m_searchPath.c_str());
        ::SetEnvironmentVariableW(L"TARNU_TEST_BOX", nullptr);
        ::SetEnvironmentVariableW(L"TARNU_TEST_ANSWER", nullptr);
        ::_set_invalid_parameter_handler(m_handler);
    }

    static void Answer(int answer) { ::SetEnvironmentVariableW(L"TARNU_TEST_ANSWER", std::to_wstring(answer).c_str()); }
    /// Puts a host module beside a library, in place of one that is there.
    static void Install(const wchar_t* module, const std::wstring& folder) {
        EXPECT_TRUE(::CopyFileW(module, (folder + L'\\' + ModuleName).c_str(), /*bFailIfExists=*/FALSE))
            << ::GetLastError();
    }
    static std::wstring Call() {
        const std::wstring call = Environment(L"TARNU_TEST_BOX");
        ::SetEnvironmentVariableW(L"TARNU_TEST_BOX", nullptr);
        return call;
    }

    /// The four-argument form falls back to the plain box and returns its answer.
    static void ExpectFallback(const LibraryCopy& library, const std::wstring& what) {
        MessageBoxes boxes({IDCANCEL});
        EXPECT_EQ(IDCANCEL, library.four(nullptr, L"text", L"caption", MB_OKCANCEL)) << what;
        ASSERT_EQ(1U, boxes.Shown().size()) << what;
        EXPECT_EQ(L"caption", boxes.Shown()[0].caption) << what;
        EXPECT_EQ(L"", Call()) << what << ": the module was called";
    }

    const TempFolder m_folder;
    LibraryCopy m_library{m_folder.Path()};

private:
    std::wstring m_directory;
    std::wstring m_searchPath;
    _invalid_parameter_handler m_handler;
};

void ExpectEqualBoxes(const ShownBox& expected, const ShownBox& shown) {
    EXPECT_EQ(expected.caption, shown.caption);
    EXPECT_EQ(expected.text, shown.text);
    EXPECT_EQ(expected.owner, shown.owner);
    EXPECT_EQ(expected.buttons, shown.buttons);
}

} // namespace

TEST_F(DllMessageBoxTest, WithoutModuleFourArgumentsAreMessageBox) {
    const HWND owner = ::CreateWindowExW(0, L"STATIC", L"owner", WS_OVERLAPPEDWINDOW, 0, 0, 10, 10, nullptr, nullptr,
                                         nullptr, nullptr);
    const struct {
        HWND owner;
        const wchar_t* text;
        const wchar_t* caption;
        UINT flags;
        int answer;
    } cases[] = {
        {nullptr, L"text", L"caption", MB_OK, IDOK},
        {owner, L"line\nline", L"", MB_YESNOCANCEL | MB_ICONSTOP, IDNO},
        {nullptr, L"text", nullptr, MB_ABORTRETRYIGNORE, IDIGNORE},
        {nullptr, nullptr, L"no text", MB_RETRYCANCEL, IDRETRY},
    };
    for (const auto& test : cases) {
        MessageBoxes boxes({test.answer, test.answer});
        const int expected = ::MessageBoxW(test.owner, test.text, test.caption, test.flags);
        EXPECT_EQ(expected, DllMessageBox(test.owner, test.text, test.caption, test.flags));
        EXPECT_EQ(test.answer, expected);
        ASSERT_EQ(2U, boxes.Shown().size());
        ExpectEqualBoxes(boxes.Shown()[0], boxes.Shown()[1]);
    }
    ::DestroyWindow(owner);
}

TEST_F(DllMessageBoxTest, WithoutModuleTwoArgumentsAreTheApplicationBox) {
    for (const UINT flags : std::initializer_list<UINT>{MB_OK, MB_YESNO | MB_ICONQUESTION}) {
        MessageBoxes boxes({IDNO, IDNO});
        EXPECT_EQ(::AfxMessageBox(L"text", flags, 0), DllMessageBox(L"text", flags));
        ASSERT_EQ(2U, boxes.Shown().size());
        ExpectEqualBoxes(boxes.Shown()[0], boxes.Shown()[1]);
        EXPECT_NE(L"", boxes.Shown()[1].caption);
    }
}

TEST_F(DllMessageBoxTest, ModuleTakesOverBothForms) {
    Install(TARNU_TEST_MODULE_FIRST, m_folder.Path());
    const MessageBoxes boxes;

    Answer(IDRETRY);
    EXPECT_EQ(IDRETRY, m_library.four(reinterpret_cast<HWND>(4711), L"text", L"caption", MB_RETRYCANCEL));
    EXPECT_EQ(L"first|4711|text|caption|5", Call());
    EXPECT_EQ(IDRETRY, m_library.four(nullptr, nullptr, nullptr, 0xFFFFFFFF));
    EXPECT_EQ(L"first|0|<null>|<null>|4294967295", Call());
    EXPECT_EQ(IDRETRY, m_library.two(L"text", MB_YESNO | MB_ICONQUESTION));
    EXPECT_EQ(L"first|0|text|<null>|36", Call());

    Answer(-12345); // whatever the module says is handed on, with its last error
    EXPECT_EQ(-12345, m_library.two(L"", 0));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_MONITOR_HANDLE), ::GetLastError());
    EXPECT_EQ(L"first|0||<null>|0", Call());
    EXPECT_TRUE(boxes.Shown().empty());
}

TEST_F(DllMessageBoxTest, ModuleIsReleasedAfterEveryBox) {
    const std::wstring module = m_folder / ModuleName;
    for (const wchar_t* source : {TARNU_TEST_MODULE_FIRST, TARNU_TEST_MODULE_SECOND, TARNU_TEST_MODULE_FIRST}) {
        Install(source, m_folder.Path());
        m_library.four(nullptr, L"text", L"caption", MB_OK);
        EXPECT_EQ(nullptr, ::GetModuleHandleW(module.c_str()));
        const bool first = source == std::wstring_view(TARNU_TEST_MODULE_FIRST);
        EXPECT_EQ(std::wstring(first ? L"first" : L"second") + L"|0|text|caption|0", Call());
    }
    ASSERT_TRUE(::DeleteFileW(module.c_str()));
    ExpectFallback(m_library, L"module deleted");
}

TEST_F(DllMessageBoxTest, UnusableModuleFallsBackAndIsReleased) {
    Install(TARNU_TEST_MODULE_NOENTRY, m_folder.Path());
    ExpectFallback(m_library, L"module without the entry");
    {
        MessageBoxes boxes({IDOK, IDOK});
        EXPECT_EQ(IDOK, m_library.two(L"text", MB_OK));
        ::AfxMessageBox(L"text", MB_OK, 0);
        ASSERT_EQ(2U, boxes.Shown().size());
        ExpectEqualBoxes(boxes.Shown()[1], boxes.Shown()[0]);
    }
    EXPECT_EQ(nullptr, ::GetModuleHandleW((m_folder / ModuleName).c_str()));

    WriteFile(m_folder / ModuleName, "not a module");
    ExpectFallback(m_library, L"not a module");
}

TEST_F(DllMessageBoxTest, ModuleOnTheSearchPathIsNeverUsed) {
    const std::wstring elsewhere = m_folder.MakeFolder(L"elsewhere");
    Install(TARNU_TEST_MODULE_FIRST, elsewhere);
    ASSERT_TRUE(::SetCurrentDirectoryW(elsewhere.c_str()));
    ASSERT_TRUE(::SetEnvironmentVariableW(L"PATH", elsewhere.c_str()));
    ASSERT_TRUE(::SetDllDirectoryW(elsewhere.c_str()));
    if (const HMODULE found = ::LoadLibraryW(ModuleName))
        ::FreeLibrary(found);
    else
        ADD_FAILURE() << "the module is not on the search path";
    ExpectFallback(m_library, L"on the search path only");
}

TEST_F(DllMessageBoxTest, EveryCallAddsAReferenceToTheLibrary) {
    Install(TARNU_TEST_MODULE_FIRST, m_folder.Path());
    for (int call = 0; call < 3; ++call)
        m_library.two(L"text", MB_OK);
    EXPECT_NE(L"", Call());
    ASSERT_TRUE(::DeleteFileW((m_folder / ModuleName).c_str()));
    ExpectFallback(m_library, L"fourth call");
    EXPECT_EQ(1 + 4, m_library.Unload());
}

// The module's path must fit 260 characters with its terminator. Every length around that limit, and around those at
// which the extension, the module's name or the library's own path stop fitting, ends in one of the two boxes. A path
// that was cut down to a bare name would find the traps on the search path. (The runtime's checked functions call the
// invalid-parameter handler under Windows; Wine's only empty the text.)
TEST_F(DllMessageBoxTest, LibraryFolderCloseToTheLimit) {
    const struct {
        const wchar_t* library;
        int folderLength;
    } cases[] = {
        {LibraryName, 234}, {LibraryName, 235}, {LibraryName, 236},  {LibraryName, 237}, {LibraryName, 239},
        {LibraryName, 240}, {LibraryName, 241}, {L"t.dll", 235},     {L"t.dll", 236},    {L"t.dll", 238},
        {L"t.dll", 239},    {L"t.dll", 240},    {L"t.dll", 241},     {L"t.dll", 253},    {L"t.dll", 254},
        {L"t.dll", 255},    {L"t.dll", 300},    {LibraryName, 1000},
    };
    const TempFolder traps;
    Install(TARNU_TEST_MODULE_SECOND, traps.Path());
    ASSERT_TRUE(::CopyFileW(TARNU_TEST_MODULE_SECOND, (traps / L".plx").c_str(), TRUE));
    ASSERT_TRUE(::SetDllDirectoryW(traps.Path().c_str()));
    if (const HMODULE trap = ::LoadLibraryW(L".plx"))
        ::FreeLibrary(trap);
    else
        ADD_FAILURE() << "the trap is not on the search path";

    Answer(77);
    int shownByModule = 0;
    int shownPlain = 0;
    for (const auto& test : cases) {
        const TempFolder root;
        std::wstring folder = root.Path();
        // Components of 100 at most, the last one fills up to the length; none may be empty.
        while (static_cast<int>(folder.size()) < test.folderLength) {
            const int missing = test.folderLength - static_cast<int>(folder.size()) - 1;
            const int part = missing > 102 ? 100 : missing;
            folder += L'\\' + std::wstring(static_cast<std::size_t>(part), L'd');
            ASSERT_TRUE(::CreateDirectoryW((L"\\\\?\\" + folder).c_str(), nullptr)) << ::GetLastError();
        }
        const std::wstring extended = L"\\\\?\\" + folder;
        const LibraryCopy library(extended, test.library);
        const std::wstring what = std::to_wstring(test.folderLength) + L" " + test.library;
        ASSERT_TRUE(library.IsLoaded()) << what;
        Install(TARNU_TEST_MODULE_FIRST, extended);

        // What counts is the path by which the system knows the library, with the prefix or without it.
        const std::wstring known = PathOf(library.Module());
        const std::size_t folderLength = known.rfind(L'\\');
        const bool fits = folderLength + 1 + std::wcslen(ModuleName) < MAX_PATH;
        ++(fits ? shownByModule : shownPlain);
        if (fits) {
            EXPECT_EQ(77, library.four(nullptr, L"text", L"caption", MB_OKCANCEL)) << what;
            EXPECT_EQ(L"first|0|text|caption|1", Call()) << what;
        } else {
            ExpectFallback(library, what);
        }
        EXPECT_EQ(0, invalidParameters) << what;
    }
    EXPECT_LT(0, shownByModule);
    EXPECT_LT(0, shownPlain);
}

#if defined(TARNU_TEST_MODULE_SAMPLE)
TEST_F(DllMessageBoxTest, SampleModuleLogsAndAnswersWithTheDefaultButton) {
    Install(TARNU_TEST_MODULE_SAMPLE, m_folder.Path());

    const std::wstring log = m_folder / L"boxes.log";
    ::SetEnvironmentVariableW(L"ORVA_MESSAGEBOX_LOG", log.c_str());
    {
        const MessageBoxes boxes;
        EXPECT_EQ(IDOK, m_library.two(L"Na\u00EFve\r\nquestion", MB_OKCANCEL));
        EXPECT_EQ(IDNO, m_library.four(nullptr, L"Sure?", L"Delete", MB_YESNO | MB_DEFBUTTON2));
        EXPECT_EQ(IDIGNORE, m_library.four(nullptr, nullptr, L"", MB_ABORTRETRYIGNORE | MB_DEFBUTTON3));
        EXPECT_EQ(IDRETRY, m_library.four(nullptr, L"x", L"y", MB_RETRYCANCEL | MB_DEFBUTTON3)) << "no third button";
        EXPECT_TRUE(boxes.Shown().empty());
    }
    EXPECT_EQ("Sample host: Na\xC3\xAFve  question\r\nDelete: Sure?\r\n: \r\ny: x\r\n", ReadFile(log));

    ::SetEnvironmentVariableW(L"ORVA_MESSAGEBOX_LOG", nullptr);
    MessageBoxes boxes({IDCANCEL});
    EXPECT_EQ(IDCANCEL, m_library.two(L"text", MB_OKCANCEL));
    ASSERT_EQ(1U, boxes.Shown().size());
    EXPECT_EQ(L"Sample host", boxes.Shown()[0].caption);
}
#endif
