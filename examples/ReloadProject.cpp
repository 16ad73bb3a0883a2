/// @file
/// A host that reloads its project file whenever somebody else saves it. Given no file, it shows itself at work with
/// one of its own.
#include <cstdio>
#include <string>
#include <tarnu/TarnuWin32Utils.h>

namespace {

class Project : public OrvaFileEventListener {
public:
    explicit Project(std::wstring path) : m_path(std::move(path)) { Load(); }

    /// Editors that save by renaming signal a name; the size or the time then tells whether it was this file.
    static constexpr DWORD filter =
        FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_SIZE | FILE_NOTIFY_CHANGE_LAST_WRITE;

    void OnSizeChanged(OrvaFileEventCookie) override { m_isStale = true; }
    void OnLastWriteChanged(OrvaFileEventCookie) override { m_isStale = true; }
    void OnError(OrvaFileEventCookie, DWORD error) override {
        std::printf("cannot be watched: %ls", OrvaGetSystemErrorText(error).GetString());
        ::PostQuitMessage(1);
    }

    /// Several changes that were reported together are one reload.
    bool ReloadIfStale() {
        if (!m_isStale) return false;
        m_isStale = false;
        Load();
        return true;
    }

private:
    void Load() {
        char line[256] = {};
        if (FILE* file = ::_wfopen(m_path.c_str(), L"rb")) {
            if (std::fgets(line, sizeof line, file) == nullptr) line[0] = '\0';
            std::fclose(file);
        } else { // whoever saves may still hold it; the next change tries again
            ORVA_LOG_FIRST(5, L"%s cannot be opened", m_path.c_str());
            return;
        }
        std::printf("loaded: %s\n", line);
    }

    std::wstring m_path;
    bool m_isStale = false;
};

void Save(const std::wstring& path, const char* text) {
    if (FILE* file = ::_wfopen(path.c_str(), L"wb")) {
        std::fputs(text, file);
        std::fclose(file);
    }
}

} // namespace

int main() {
    int count = 0;
    wchar_t** arguments = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    const bool isShow = count < 2;
    const std::wstring path = isShow ? OrvaPath(OrvaPath::TempFile).GetText().GetString() : arguments[1];
    ::LocalFree(arguments);
    if (isShow) Save(path, "draft");

    Project project(path);
    tarnu::FileRegistration registration(path.c_str(), Project::filter, project);
    if (FAILED(registration.GetResult())) return 1;
    if (isShow) ::SetTimer(nullptr, 0, /*uElapse=*/200, nullptr); // another program saves

    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.message == WM_TIMER) {
            ::KillTimer(nullptr, message.wParam);
            Save(path, "final version");
        }
        ::DispatchMessageW(&message);
        if (project.ReloadIfStale() && isShow) ::PostQuitMessage(0);
    }
    registration.Reset();
    OrvaGetFileEventServer()->Stop();
    if (isShow) ::DeleteFileW(path.c_str());
    return static_cast<int>(message.wParam);
}
