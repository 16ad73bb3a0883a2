/// @file
/// CStdioFile: a buffered text file over a C runtime stream.
#ifndef TARNU_FRAMEWORK_BUILTIN_CSTDIOFILE_H
#define TARNU_FRAMEWORK_BUILTIN_CSTDIOFILE_H

#include "tarnu/framework/builtin/CFile.h"

#include <cstdio>

/// A file read and written line by line through a C runtime stream. In text mode line feeds are written as CR LF and
/// text is stored in the ANSI code page, as the runtime's fputws does. Opening with modeCreate and modeNoTruncate is
/// the runtime's append mode: existing contents stay and every write goes to the end.
class TARNU_API CStdioFile : public CFile {
public:
    static const CRuntimeClass classCStdioFile; ///< the run-time class

    CStdioFile() noexcept;
    /// Attaches an open stream.
    /// @param stream stays its creator's to close, but Close and Abort close it
    explicit CStdioFile(FILE* stream) noexcept;
    /// Opens a file; throws a CFileException* when that fails.
    /// @param fileName  as for CFile::Open
    /// @param openFlags OpenFlags, combined
    CStdioFile(const wchar_t* fileName, UINT openFlags);
    ~CStdioFile() override;
    /// @copydoc CObject::GetRuntimeClass
    CRuntimeClass* GetRuntimeClass() const override;

    // As in CFile, through the stream's buffer

    /// @copydoc CFile::Open
    BOOL Open(const wchar_t* fileName, UINT openFlags, CFileException* error = nullptr) override;
    /// @copydoc CFile::Read
    UINT Read(void* buffer, UINT count) override;
    /// @copydoc CFile::Write
    void Write(const void* buffer, UINT count) override;
    /// @copydoc CFile::Seek
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    /// @copydoc CFile::GetPosition
    ULONGLONG GetPosition() const override;
    /// @copydoc CFile::GetLength
    ULONGLONG GetLength() const override;
    /// @copydoc CFile::SetLength
    void SetLength(ULONGLONG length) override;
    /// Hands the stream's buffer to the system. Does nothing while no file is open.
    void Flush() override;
    /// @copydoc CFile::Close
    void Close() override;
    /// @copydoc CFile::Abort
    void Abort() noexcept override;

    // Lines; failures throw a CFileException*

    /// Writes a text without its terminator.
    /// @param text a terminated text
    virtual void WriteString(const wchar_t* text);
    /// Reads up to the end of a line, and the line feed with it.
    /// @param text      receives the line and a terminator; a longer line goes on with the next call
    /// @param maxLength characters that @p text holds, with the terminator
    /// @return @p text; null at the end of the file
    virtual wchar_t* ReadString(wchar_t* text, UINT maxLength);
    /// Reads one line of any length.
    /// @param line receives it without its line feed; empty at the end of the file
    /// @return FALSE at the end of the file
    virtual BOOL ReadString(CString& line);

    FILE* m_pStream = nullptr; ///< null while no file is open

private:
    /// Throws when no stream is open.
    void RequireStream() const;
    /// Throws the runtime's last error with this cause, and clears the stream's error state.
    [[noreturn]] void Fail(int cause) const;
};

#endif // TARNU_FRAMEWORK_BUILTIN_CSTDIOFILE_H
