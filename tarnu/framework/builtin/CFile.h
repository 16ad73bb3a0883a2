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
    /// Attaches an open handle.
    /// @param handle stays its creator's to close, but Close and Abort close it
    explicit CFile(HANDLE handle) noexcept;
    /// Opens a file; throws a CFileException* when that fails.
    /// @param fileName  as for Open
    /// @param openFlags OpenFlags, combined
    CFile(const wchar_t* fileName, UINT openFlags);
    ~CFile() override;
    /// @copydoc CObject::GetRuntimeClass
    CRuntimeClass* GetRuntimeClass() const override;

    /// Opens a file. A file that is open is closed first. Without a share flag nobody else can open the file.
    /// @param fileName  is made absolute and may have up to 259 characters then
    /// @param openFlags OpenFlags, combined
    /// @param error     receives cause, error code and name when it fails; may be null
    /// @return FALSE when it fails; no file is open then
    virtual BOOL Open(const wchar_t* fileName, UINT openFlags, CFileException* error = nullptr);
    /// Reads from the position on, which moves.
    /// @param buffer receives the bytes
    /// @param count  bytes that it holds
    /// @return the bytes read: fewer than @p count only where the file ends, 0 at its end
    virtual UINT Read(void* buffer, UINT count);
    /// Writes at the position, which moves. Not all written is an error too, of the cause diskFull.
    /// @param buffer the bytes
    /// @param count  number of them
    virtual void Write(const void* buffer, UINT count);
    /// Moves the position, also behind the end.
    /// @param offset bytes
    /// @param from   one of SeekPosition
    /// @return the new position, in bytes from the beginning
    virtual ULONGLONG Seek(LONGLONG offset, UINT from);
    /// @return the position, in bytes from the beginning
    virtual ULONGLONG GetPosition() const;
    /// @return the size in bytes
    virtual ULONGLONG GetLength() const;
    /// Cuts or extends the file; the position moves to its new end.
    /// @param length the new size in bytes
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
    /// Seek to the end. @return the size in bytes
    ULONGLONG SeekToEnd() { return Seek(0, end); }

    /// @return the absolute path; empty while no file is open, and for a handle that was attached
    virtual CString GetFilePath() const { return m_strFileName; }
    /// The last component of the path; GetFileTitle gives it without its extension.
    /// @return empty where GetFilePath is
    /// @{
    virtual CString GetFileName() const;
    virtual CString GetFileTitle() const;
    /// @}
    /// Changes what GetFilePath answers; no file is renamed.
    /// @param path copied
    virtual void SetFilePath(const wchar_t* path) { m_strFileName = path; }

    /// The status of this file. While none is open, of the name alone.
    /// @param status receives the status; emptied first
    /// @return FALSE when the system does not tell, or the name has more than 259 characters
    BOOL GetStatus(CFileStatus& status) const;
    /// The status of a file or directory by name. Throws nothing.
    /// @param fileName is made absolute; no wildcards
    /// @param status   receives the status; emptied first, then with the absolute name even where there is no such file
    /// @return FALSE when it does not exist, or the absolute name has more than 259 characters
    static BOOL GetStatus(const wchar_t* fileName, CFileStatus& status);
    /// Renames or moves a file; throws a CFileException* when that fails.
    /// @param oldName the file
    /// @param newName must not exist
    static void Rename(const wchar_t* oldName, const wchar_t* newName);
    /// Deletes a file; throws a CFileException* when that fails.
    /// @param fileName the file
    static void Remove(const wchar_t* fileName);

    /// The handle.
    operator HANDLE() const noexcept { return m_hFile; } // NOLINT: implicit as documented

    HANDLE m_hFile = INVALID_HANDLE_VALUE; ///< INVALID_HANDLE_VALUE while no file is open

protected:
    /// What Open does with its flags, without touching this object.
    /// @param fileName,openFlags as for Open
    /// @param fullPath  receives the absolute path; untouched when it fails
    /// @param error     receives cause, error code and name when it fails; may be null
    /// @return a handle that the caller closes; INVALID_HANDLE_VALUE when it fails
    static HANDLE OpenHandle(const wchar_t* fileName, UINT openFlags, CString& fullPath, CFileException* error);

    CString m_strFileName;         ///< absolute path
    BOOL m_bCloseOnDelete = FALSE; ///< the object has opened the file
};

#endif // TARNU_FRAMEWORK_BUILTIN_CFILE_H
