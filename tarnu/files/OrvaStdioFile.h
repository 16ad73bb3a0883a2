/// @file
/// OrvaStdioFile: a text file for reports and logs that its constructor opens.
#ifndef TARNU_FILES_ORVASTDIOFILE_H
#define TARNU_FILES_ORVASTDIOFILE_H

#include "tarnu/framework/framework.h"
#include "tarnu/paths/OrvaPath.h"

/// A CStdioFile in text mode whose folder is created with it, whose name can carry the time of its creation, and which
/// can begin with a header.
///
/// Nobody else can open the file while the object lives. Text is stored in the ANSI code page with CR LF line ends.
/// @code
/// OrvaStdioFile report(L"C:\\logs\\run.txt", /*addTimeStamp=*/true, /*overwrite=*/true, /*writeHeader=*/1);
/// report.WriteString(L"3 files\n"); // into C:\logs\run - 1700000000.txt
/// @endcode
/// Thread rule: one thread at a time. Ownership: the object owns the file and closes it when destroyed.
class TARNU_API OrvaStdioFile : public CStdioFile {
public:
    /// Opens the file.
    /// @param path the file; an empty path makes an object that is not open. The directories above it are created
    /// @param addTimeStamp puts " - " and the current time, in seconds since 1970, between name and extension
    /// @param overwrite an existing file is emptied; otherwise what is in it stays and writing goes on at its end
    /// @param writeHeader nonzero: "File Report - " and the full file name, "Opened:  " and the local time, and an
    ///        empty line. A failure to write it is not reported
    /// @throw CFileException* when the file can't be opened, with cause, system error code and file name
    OrvaStdioFile(OrvaPath path, bool addTimeStamp, bool overwrite, int writeHeader);
    ~OrvaStdioFile() override;

    /// Whether the constructor has opened a file.
    /// @return false for an object that was made with an empty path; Close does not change it
    bool IsOpened() const noexcept { return m_opened != FALSE; }

private:
    void WriteHeader(__time64_t time);

    BOOL m_opened;
};

#endif // TARNU_FILES_ORVASTDIOFILE_H
