// The code of docs/guides/paths.md, compiled. The documentation check compares the two.

// snippet
#include <tarnu/TarnuWin32Utils.h>

OrvaPath LogBeside(const OrvaPath& drawing) {
    OrvaPath log = drawing.GetDriveAndDirectory() / L"logs" / drawing.GetNameAndExtension();
    log.ChangeExtension(L"log"); // C:\Jobs\Bridge.dwg gives C:\Jobs\logs\Bridge.log
    return log;
}

OrvaPath AsLink(const OrvaPath& drawing) {
    return OrvaPath(drawing, OrvaPath::SlashSeparator | OrvaPath::Normalized); // C:/Jobs/Bridge.dwg
}
// end of snippet
