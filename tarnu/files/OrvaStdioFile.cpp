#include "tarnu/files/OrvaStdioFile.h"

#include "tarnu/files/OrvaFileOperations.h"

#include <ctime>

namespace {

/// Puts the time between name and extension. What stands before the name stays: "C:run.txt" is in the current directory
/// of the drive, "C:\\run.txt" is not.
OrvaPath WithTimeStamp(OrvaPath path, __time64_t time) {
    // One expects all 64 bits of the time; the low 32 go in as a signed number. Hosts rely on the short names.
    CString stamped;
    stamped.Format(L"%s - %d%s", path.GetName().GetText().GetString(), static_cast<int>(time),
                   path.GetExtension().GetText().GetString());
    const CString whole(path.GetText().GetString()); // without the terminator that a relative path's length counts
    path = whole.Left(whole.GetLength() - path.GetNameAndExtension().GetText().GetLength()) + stamped;
    path.Normalize();
    return path;
}

} // namespace

OrvaStdioFile::OrvaStdioFile(OrvaPath path, bool addTimeStamp, bool overwrite, int writeHeader) : m_opened(FALSE) {
    if (path.IsEmpty()) return;
    const __time64_t time = ::_time64(nullptr);
    if (addTimeStamp) path = WithTimeStamp(path, time);
    OrvaCreateDirectoryPath(path.GetDriveAndDirectory()); // a failure shows when the file is opened

    UINT flags = typeText | modeCreate | shareExclusive | modeReadWrite;
    if (!overwrite) flags |= modeNoTruncate;
    CFileException error;
    if (!Open(path, flags, &error)) AfxThrowFileException(error.m_cause, error.m_lOsError, path);
    if (writeHeader != 0) WriteHeader(time);
    m_opened = TRUE;
}

OrvaStdioFile::~OrvaStdioFile() = default;

void OrvaStdioFile::WriteHeader(__time64_t time) {
    // A header that can't be written leaves a file that is open all the same.
    try {
        CString header = L"File Report - " + GetFilePath();
        wchar_t text[260];
        if (::_wctime64_s(text, _countof(text), &time) == 0) {
            header += L"\nOpened:  ";
            header += text; // ends with a line break of its own
        }
        header += L"\n";
        WriteString(header);
    } catch (CException* error) {
        error->Delete();
    } catch (const std::bad_alloc&) {
        return;
    }
}
