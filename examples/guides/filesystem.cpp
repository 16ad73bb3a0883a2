// The code of docs/guides/filesystem.md, compiled. The documentation check compares the two.

// snippet
#include <tarnu/TarnuWin32Utils.h>

unsigned long long SizeOfDrawings(const wchar_t* folder) {
    unsigned long long size = 0;
    OrvaBFSFileTree files;
    files.Open(folder, L"*.dwg", 0x20); // everything but directories
    for (const OrvaFileEntry& entry : OrvaWalk(files))
        size += (static_cast<unsigned long long>(entry.findData->nFileSizeHigh) << 32) | entry.findData->nFileSizeLow;
    return size;
}
// end of snippet

// snippet
#include <tarnu/TarnuWin32Utils.h>

void ReloadIfChanged(const wchar_t* fullPath, void (*reload)(const wchar_t*)) {
    if (OrvaFileModifiedManager::IsFileModified(fullPath)) reload(fullPath); // true the first time, too
}
// end of snippet

// snippet
#include <tarnu/TarnuWin32Utils.h>

class Reloader : public OrvaFileEventListener {
public:
    void OnLastWriteChanged(OrvaFileEventCookie) override { m_isStale = true; }
    void OnError(OrvaFileEventCookie, DWORD error) override { OrvaShowSystemError(error); }

private:
    bool m_isStale = false;
};

OrvaFileEventCookie WatchPlan(Reloader& reloader) {
    OrvaFileEventCookie cookie = nullptr;
    OrvaGetFileEventServer()->RegisterFile(
        L"C:\\Jobs\\plan.xml", FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_LAST_WRITE, &reloader, cookie);
    return cookie; // for UnregisterFile
}
// end of snippet

// snippet
#include <tarnu/TarnuWin32Utils.h>

class ProjectPicker : public OrvaBrowseForDirectory {
    BOOL ValidateFolder(const wchar_t* path, CString& statusText) override {
        if (OrvaFileExists(OrvaPath(path) / L"project.xml")) return TRUE;
        statusText = L"No project here";
        return FALSE;
    }
};

bool ChooseProject(HWND window, OrvaPath& folder) {
    return ProjectPicker().Browse(folder, L"C:\\Data", L"Open a project", window) != 0; // C:\Data\Bridge\ …
}
// end of snippet
