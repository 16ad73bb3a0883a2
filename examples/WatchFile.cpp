/// @file
/// Watches a file and tells each save once, whatever way it is saved. Given no file, it shows itself at work with one
/// of its own, which it saves as a careful editor does.
#include <cstdio>
#include <string>
#include <tarnu/TarnuWin32Utils.h>

namespace {

/// Writes beside the file and renames over it.
void SaveAtomically(const OrvaPath& path, const std::string& text) {
    if (OrvaWriteFile(path, text.data(), text.size()) != 0) std::printf("cannot save\n");
}

} // namespace

int main() {
    int count = 0;
    wchar_t** arguments = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    const bool isShow = count < 2;
    const OrvaPath path = isShow ? OrvaPath(OrvaPath::TempFile) : OrvaPath(arguments[1]);
    ::LocalFree(arguments);

    // In a show, each change that is told is the sign for the next one: saved twice, then deleted.
    constexpr UINT nextStep = WM_APP;
    const DWORD thread = ::GetCurrentThreadId();
    const tarnu::FileWatch watch(path, [isShow, thread](tarnu::FileChange change) {
        static constexpr const char* names[] = {"saved", "created", "deleted", "cannot be watched any longer"};
        std::printf("%s\n", names[static_cast<int>(change)]);
        std::fflush(stdout);
        ORVA_LOG_LIMITED(5, /*milliseconds=*/1000, L"change %d", static_cast<int>(change)); // a busy file fills no log
        if (change == tarnu::FileChange::Lost) ::PostQuitMessage(1);
        if (isShow) ::PostThreadMessageW(thread, nextStep, 0, 0);
    });
    if (isShow) ::PostThreadMessageW(thread, nextStep, 0, 0);

    int step = 0;
    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.hwnd == nullptr && message.message == nextStep) {
            switch (++step) {
            case 1:
                SaveAtomically(path, "draft");
                break;
            case 2:
                SaveAtomically(path, "final version");
                break;
            case 3:
                OrvaDeleteFile(path);
                break;
            default:
                ::PostQuitMessage(0);
            }
        }
        ::DispatchMessageW(&message);
    }
    OrvaGetFileEventServer()->Stop();
    return static_cast<int>(message.wParam);
}
