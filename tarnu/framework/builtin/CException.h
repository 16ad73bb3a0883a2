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
    /// An exception whose end is told.
    /// @param autoDelete whether Delete frees the object, as without this constructor; FALSE for one on the stack
    explicit CException(BOOL autoDelete) noexcept : m_autoDelete(autoDelete) {}
    ~CException() override;
    /// @copydoc CObject::GetRuntimeClass
    CRuntimeClass* GetRuntimeClass() const override;

    /// Ends the life of a caught exception.
    void Delete() {
        if (m_autoDelete) delete this;
    }
    /// The error as a text for the user.
    /// @param text        receives the text, cut to fit and terminated; empty when there is none
    /// @param maxLength   characters that @p text holds, with the terminator
    /// @param helpContext receives 0, as this subset has no help system; may be null
    /// @return FALSE when there is no text, or no room for one
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

    /// An error with all that is known of it.
    /// @param cause    one of the causes above
    /// @param osError  a Win32 error code; -1 when there is none
    /// @param fileName the file concerned, copied; null when there is none
    explicit CFileException(int cause = none, LONG osError = -1, const wchar_t* fileName = nullptr)
        : m_cause(cause), m_lOsError(osError), m_strFileName(fileName) {}

    static const CRuntimeClass classCFileException; ///< the run-time class
    ~CFileException() override;
    /// @copydoc CObject::GetRuntimeClass
    CRuntimeClass* GetRuntimeClass() const override;
    BOOL GetErrorMessage(wchar_t* text, UINT maxLength, UINT* helpContext = nullptr) const override;

    /// The cause that stands for a Win32 error code.
    /// @param osError a Win32 error code
    /// @return one of the causes above; genericException for a code without one of its own
    static int OsErrorToException(LONG osError) noexcept;
    /// Throws a CFileException* with the cause that stands for a Win32 error code.
    /// @param osError  a Win32 error code
    /// @param fileName the file concerned, copied; null when there is none
    [[noreturn]] static void ThrowOsError(LONG osError, const wchar_t* fileName = nullptr);

    int m_cause;           ///< one of the causes above
    LONG m_lOsError;       ///< Win32 error code; -1 when there is none
    CString m_strFileName; ///< the file concerned; may be empty
};

/// Throws a CFileException*; the catcher ends its life with Delete.
/// @param cause    one of CFileException's causes
/// @param osError  a Win32 error code; -1 when there is none
/// @param fileName the file concerned, copied; null when there is none
[[noreturn]] TARNU_API void AfxThrowFileException(int cause, LONG osError = -1, const wchar_t* fileName = nullptr);

#endif // TARNU_FRAMEWORK_BUILTIN_CEXCEPTION_H
