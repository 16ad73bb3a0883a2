/// @file
/// CFile and CFileStatus: an unbuffered file over a Win32 handle, and the status of a file.
#ifndef TARNU_FRAMEWORK_BUILTIN_CFILE_H
#define TARNU_FRAMEWORK_BUILTIN_CFILE_H

#include "tarnu/framework/builtin/CException.h"
#include "tarnu/framework/builtin/CTime.h"

/// What CFile::GetStatus reports.
struct CFileStatus {
    CTime m_ctime;                        ///< creation
    CTime m_mtime;                        ///< last modification
    CTime m_atime;                        ///< last access
    ULONGLONG m_size = 0;                 ///< bytes
    BYTE m_attribute = 0;                 ///< the low byte of the file attributes
    wchar_t m_szFullName[MAX_PATH] = {0}; ///< absolute path
};

/// A file opened through a Win32 handle. The object owns what it has opened and closes it when destroyed; a handle that
/// was attached is closed by Close and Abort only. Failures of the operations other than Open throw a CFileException*.
/// One thread at a time.
class TARNU_API CFile : public CObject {
public:
    /// How to open: one mode, one share flag, and any of the others.
    enum OpenFlags {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareCompat = 0x0000,
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeNoInherit = 0x0080,
        modeCreate = 0x1000,
        modeNoTruncate = 0x2000,
        typeText = 0x4000,
        typeBinary = 0x8000
    };
    /// Where Seek counts from.
    enum SeekPosition { begin = 0, current = 1, end = 2 };

    static const CRuntimeClass classCFile; ///< the run-time class
    static const HANDLE hFileNull;         ///< INVALID_HANDLE_VALUE

    CFile() noexcept;
    /// Attaches an open handle, which stays its creator's to close.
    explicit CFile(HANDLE handle) noexcept;
    /// Opens a file; throws a CFileException* when that fails.
    CFile(const wchar_t* fileName, UINT openFlags);
    ~CFile() override;
    /// The run-time class of the object.
    CRuntimeClass* GetRuntimeClass() const override;

    /// Opens a file; false when that fails, with cause, error code and name in @p error when it is given. The name is
    /// made absolute and may have up to 259 characters then. A file that is open is closed first. Without a share flag
    /// nobody else can open the file.
    virtual BOOL Open(const wchar_t* fileName, UINT openFlags, CFileException* error = nullptr);
    /// Reads up to @p count bytes; returns how many, 0 at the end.
    virtual UINT Read(void* buffer, UINT count);
    /// Writes @p count bytes.
    virtual void Write(const void* buffer, UINT count);
    /// Moves the position to @p offset bytes from one of SeekPosition; returns the new one.
    virtual ULONGLONG Seek(LONGLONG offset, UINT from);
    /// The position in bytes from the beginning.
    virtual ULONGLONG GetPosition() const;
    /// The size in bytes.
    virtual ULONGLONG GetLength() const;
    /// Cuts or extends the file; the position moves to its new end.
    virtual void SetLength(ULONGLONG length);
    /// Writes what the system still keeps to the medium.
    virtual void Flush();
    /// Closes; failures throw. Abort closes and swallows failures.
    /// @{
    virtual void Close();
    virtual void Abort() noexcept;
    /// @}

    /// Seek to the beginning.
    void SeekToBegin() { Seek(0, begin); }
    /// Seek to the end; returns the size.
    ULONGLONG SeekToEnd() { return Seek(0, end); }

    /// The absolute path.
    virtual CString GetFilePath() const { return m_strFileName; }
    /// The last component of the path; GetFileTitle gives it without its extension.
    /// @{
    virtual CString GetFileName() const;
    virtual CString GetFileTitle() const;
    /// @}
    /// Changes what GetFilePath answers; no file is renamed.
    virtual void SetFilePath(const wchar_t* path) { m_strFileName = path; }

    /// The status of this open file; false when it cannot be read.
    BOOL GetStatus(CFileStatus& status) const;
    /// The status of a file by name; false when it does not exist or the name is too long. Throws nothing.
    static BOOL GetStatus(const wchar_t* fileName, CFileStatus& status);
    /// Both throw a CFileException* when they fail.
    /// @{
    static void Rename(const wchar_t* oldName, const wchar_t* newName);
    static void Remove(const wchar_t* fileName);
    /// @}

    /// The handle.
    operator HANDLE() const noexcept { return m_hFile; } // NOLINT: implicit as documented

    HANDLE m_hFile = INVALID_HANDLE_VALUE; ///< INVALID_HANDLE_VALUE while no file is open

protected:
    /// What Open does with its flags, without touching this object; null and the error filled in when it fails.
    static HANDLE OpenHandle(const wchar_t* fileName, UINT openFlags, CString& fullPath, CFileException* error);

    CString m_strFileName;         ///< absolute path
    BOOL m_bCloseOnDelete = FALSE; ///< the object has opened the file
};

#endif // TARNU_FRAMEWORK_BUILTIN_CFILE_H
