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
    /// Attaches an open stream, which stays its creator's to close.
    explicit CStdioFile(FILE* stream) noexcept;
    /// Opens a file; throws a CFileException* when that fails.
    CStdioFile(const wchar_t* fileName, UINT openFlags);
    ~CStdioFile() override;
    /// The run-time class of the object.
    CRuntimeClass* GetRuntimeClass() const override;

    BOOL Open(const wchar_t* fileName, UINT openFlags, CFileException* error = nullptr) override;
    /// @{
    /// As in CFile, through the stream's buffer.
    UINT Read(void* buffer, UINT count) override;
    void Write(const void* buffer, UINT count) override;
    ULONGLONG Seek(LONGLONG offset, UINT from) override;
    ULONGLONG GetPosition() const override;
    ULONGLONG GetLength() const override;
    void SetLength(ULONGLONG length) override;
    void Flush() override;
    void Close() override;
    void Abort() noexcept override;

    /// @}
    /// Writes a text without its terminator; throws a CFileException* when that fails.
    virtual void WriteString(const wchar_t* text);
    /// Reads up to @p maxLength - 1 characters with the line feed; null at the end of the file.
    virtual wchar_t* ReadString(wchar_t* text, UINT maxLength);
    /// Reads one line of any length without its line feed; false, with an empty @p line, at the end of the file.
    virtual BOOL ReadString(CString& line);

    FILE* m_pStream = nullptr; ///< null while no file is open

private:
    /// Throws when no stream is open.
    void RequireStream() const;
    /// Throws the runtime's last error with this cause, and clears the stream's error state.
    [[noreturn]] void Fail(int cause) const;
};

#endif // TARNU_FRAMEWORK_BUILTIN_CSTDIOFILE_H
