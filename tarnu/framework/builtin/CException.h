/// @file
/// CException and CFileException: the framework's exceptions, thrown and caught by pointer.
#ifndef TARNU_FRAMEWORK_BUILTIN_CEXCEPTION_H
#define TARNU_FRAMEWORK_BUILTIN_CEXCEPTION_H

#include "tarnu/framework/builtin/CObject.h"
#include "tarnu/framework/builtin/CString.h"

/// Base of the framework's exceptions. They are thrown as pointers, and the catcher ends their life:
/// `catch (CException* error) { error->Delete(); }`. One thread at a time.
class TARNU_API CException : public CObject {
public:
    static const CRuntimeClass classCException; ///< the run-time class

    CException() noexcept = default;
    /// @p autoDelete: Delete frees the object (the default), or leaves it (objects on the stack).
    explicit CException(BOOL autoDelete) noexcept : m_autoDelete(autoDelete) {}
    ~CException() override;
    /// The run-time class of the object.
    CRuntimeClass* GetRuntimeClass() const override;

    /// Ends the life of a caught exception.
    void Delete() {
        if (m_autoDelete) delete this;
    }
    /// The error as a text of at most @p maxLength characters with the terminator; false when there is none.
    virtual BOOL GetErrorMessage(wchar_t* text, UINT maxLength, UINT* helpContext = nullptr) const;

private:
    BOOL m_autoDelete = TRUE;
};

/// A failed file operation: cause, system error code and file name.
class TARNU_API CFileException : public CException {
public:
    enum {
        none,
        genericException,
        fileNotFound,
        badPath,
        tooManyOpenFiles,
        accessDenied,
        invalidFile,
        removeCurrentDir,
        directoryFull,
        badSeek,
        hardIO,
        sharingViolation,
        lockViolation,
        diskFull,
        endOfFile
    };

    /// @p osError is a Win32 error code, -1 when there is none.
    explicit CFileException(int cause = none, LONG osError = -1, const wchar_t* fileName = nullptr)
        : m_cause(cause), m_lOsError(osError), m_strFileName(fileName) {}

    static const CRuntimeClass classCFileException; ///< the run-time class
    ~CFileException() override;
    /// The run-time class of the object.
    CRuntimeClass* GetRuntimeClass() const override;
    BOOL GetErrorMessage(wchar_t* text, UINT maxLength, UINT* helpContext = nullptr) const override;

    /// The cause that stands for a Win32 error code.
    static int OsErrorToException(LONG osError) noexcept;
    /// Throws a CFileException* for a Win32 error code.
    [[noreturn]] static void ThrowOsError(LONG osError, const wchar_t* fileName = nullptr);

    int m_cause;           ///< one of the causes above
    LONG m_lOsError;       ///< Win32 error code; -1 when there is none
    CString m_strFileName; ///< the file concerned; may be empty
};

/// Throws a CFileException*; the catcher ends its life with Delete.
[[noreturn]] TARNU_API void AfxThrowFileException(int cause, LONG osError = -1, const wchar_t* fileName = nullptr);

#endif // TARNU_FRAMEWORK_BUILTIN_CEXCEPTION_H
