// The code of docs/guides/conveniences.md, compiled. The documentation check compares the two.

// snippet
#include <cmath>
#include <map>
#include <tarnu/TarnuWin32Utils.h>

double HighestPoint(OrvaPointReader& reader) {
    double height = -HUGE_VAL;
    for (const OrvaPoint3d& point : tarnu::Points(reader))
        height = std::max(height, point.z);
    return height;
}

using SheetNumbers = std::map<CString, int, tarnu::natural_less>; // sheet 9 before sheet 10

int CountWords(const CString& text) {
    int count = 0;
    for ([[maybe_unused]] const CString& word : tarnu::Tokens(text, L" \t\n"))
        ++count;
    return count;
}
// end of snippet

// snippet
bool Convert(const CStringList& names, bool (*convert)(const CString& name)) {
    if (names.IsEmpty()) ORVA_LOG_ONCE(L"there is nothing to convert");
    tarnu::ProgressScope progress(L"Converting", static_cast<int>(names.GetCount()));
    for (POSITION position = names.GetHeadPosition(); position != nullptr;) {
        const CString& name = names.GetNext(position);
        bool isConverted = false;
        {
            const OrvaProgressDisabler silence; // one conversion's own steps are not shown
            isConverted = convert(name);
        }
        if (!isConverted) ORVA_LOG_LIMITED(10, /*milliseconds=*/60000, L"%s was not converted", name.GetString());
        if (!progress.Step()) return false; // the user has had enough
    }
    return true;
}
// end of snippet

// snippet
void KeepOpen(HWND window, OrvaServerThread& server, HANDLE finished, OrvaMessageQueue& queue) {
    const tarnu::SubClassScope guard(
        window, [](tarnu::NextWindowProc next, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
            return message == WM_CLOSE ? 0 : next(message, wParam, lParam);
        });
    tarnu::AddHandler(server, finished, [&queue] { // on the server thread …
        tarnu::Post(queue, [] { ::PostQuitMessage(0); });
    });
    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::DispatchMessageW(&message);
        tarnu::RunMessages(queue); // … and here
    }
}
// end of snippet

// snippet
int FollowWrites(const wchar_t* path, void (*onWrite)()) {
    tarnu::FunctionFileListener listener([onWrite](DWORD, DWORD error) {
        if (error != 0) return ::PostQuitMessage(static_cast<int>(error));
        onWrite();
    });
    const tarnu::FileRegistration registration(path, FILE_NOTIFY_CHANGE_LAST_WRITE, listener); // until the end
    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0)
        ::DispatchMessageW(&message);
    return static_cast<int>(message.wParam);
}
// end of snippet

// snippet
OrvaPath ExportPath(const OrvaPath& folder, const CString& title) {
    return folder / (tarnu::safe_name(title.GetString()).GetText() + L".xml"); // "Site A/B?" gives Site A_B_.xml
}

bool MayServe(const OrvaPath& root, std::string_view request) { // UTF-8 from outside
    const std::optional<OrvaPath> path = tarnu::from_utf8(request);
    return path && tarnu::is_within(root / *path, root); // not ..\..\secret.txt
}
// end of snippet
