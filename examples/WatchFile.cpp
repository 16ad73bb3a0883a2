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

    const tarnu::FileWatch watch(path, [isShow](tarnu::FileChange change) {
        static constexpr const char* names[] = {"saved", "created", "deleted", "cannot be watched any longer"};
        std::printf("%s\n", names[static_cast<int>(change)]);
        std::fflush(stdout);
        ORVA_LOG_LIMITED(5, /*milliseconds=*/1000, L"change %d", static_cast<int>(change)); // a busy file fills no log
        const bool isEnd = change == tarnu::FileChange::Lost || change == tarnu::FileChange::Deleted;
        if (isEnd) ::PostQuitMessage(isShow && change == tarnu::FileChange::Deleted ? 0 : 1);
    });
    if (isShow) ::SetTimer(nullptr, 0, /*uElapse=*/1500, nullptr); // another program saves twice, then deletes

    int round = 0;
    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.message == WM_TIMER) {
            if (++round <= 2) {
                SaveAtomically(path, std::string(static_cast<std::size_t>(round), '*'));
            } else {
                ::KillTimer(nullptr, message.wParam);
                OrvaDeleteFile(path);
            }
        }
        ::DispatchMessageW(&message);
    }
    OrvaGetFileEventServer()->Stop();
    return static_cast<int>(message.wParam);
}
