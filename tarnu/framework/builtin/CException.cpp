/// @file
/// CException and CFileException: class information, error texts and the reading of Win32 error codes.
#include "tarnu/framework/builtin/CException.h"

#include <algorithm>
#include <iterator>

IMPLEMENT_DYNAMIC(CException, CObject)
IMPLEMENT_DYNAMIC(CFileException, CException)

namespace {

constexpr const wchar_t* CauseTexts[] = {
    L"No error occurred.",
    L"An unspecified error occurred.",
    L"The file was not found.",
    L"The path is not valid.",
    L"Too many files are open.",
    L"Access was denied.",
    L"The file handle is not valid.",
    L"The current directory cannot be removed.",
    L"The directory has no more room for entries.",
    L"Seeking failed.",
    L"A hardware error occurred.",
    L"The file is in use by another program.",
    L"A part of the file is locked by another program.",
    L"The disk is full.",
    L"The end of the file was reached.",
};

} // namespace

CException::~CException() = default;

BOOL CException::GetErrorMessage(wchar_t* text, UINT maxLength, UINT* helpContext) const {
    if (helpContext != nullptr) *helpContext = 0;
    if (text != nullptr && maxLength != 0) text[0] = 0;
    return FALSE;
}

CFileException::~CFileException() = default;

BOOL CFileException::GetErrorMessage(wchar_t* text, UINT maxLength, UINT* helpContext) const {
    if (helpContext != nullptr) *helpContext = 0;
    if (text == nullptr || maxLength == 0) return FALSE;
    const bool known = m_cause >= 0 && static_cast<std::size_t>(m_cause) < std::size(CauseTexts);
    CString message(CauseTexts[known ? m_cause : static_cast<int>(genericException)]);
    if (!m_strFileName.IsEmpty()) message = m_strFileName + L": " + message;
    const UINT length = std::min(static_cast<UINT>(message.GetLength()), maxLength - 1);
    std::copy_n(message.GetString(), length, text);
    text[length] = 0;
    return TRUE;
}

int CFileException::OsErrorToException(LONG osError) noexcept {
    switch (static_cast<DWORD>(osError)) {
    case NO_ERROR:
        return none;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_NO_MORE_FILES:
        return fileNotFound;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_NOT_SAME_DEVICE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_DEV_NOT_EXIST:
    case ERROR_INVALID_PARAMETER:
    case ERROR_OPEN_FAILED:
    case ERROR_BUFFER_OVERFLOW:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_DIRECTORY:
        return badPath;
    case ERROR_TOO_MANY_OPEN_FILES:
    case ERROR_NO_MORE_SEARCH_HANDLES:
        return tooManyOpenFiles;
    case ERROR_ACCESS_DENIED:
    case ERROR_INVALID_ACCESS:
    case ERROR_WRITE_PROTECT:
    case ERROR_NETWORK_ACCESS_DENIED:
    case ERROR_NETWORK_BUSY:
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
    case ERROR_CANNOT_MAKE:
    case ERROR_BUSY:
        return accessDenied;
    case ERROR_INVALID_HANDLE:
    case ERROR_BAD_FORMAT:
    case ERROR_NOT_DOS_DISK:
    case ERROR_INVALID_TARGET_HANDLE:
        return invalidFile;
    case ERROR_CURRENT_DIRECTORY:
    case ERROR_DIR_NOT_EMPTY:
        return removeCurrentDir;
    case ERROR_SEEK:
    case ERROR_SECTOR_NOT_FOUND:
    case ERROR_NEGATIVE_SEEK:
    case ERROR_SEEK_ON_DEVICE:
    case ERROR_DIRECT_ACCESS_HANDLE:
        return badSeek;
    case ERROR_BAD_UNIT:
    case ERROR_NOT_READY:
    case ERROR_BAD_COMMAND:
    case ERROR_CRC:
    case ERROR_BAD_LENGTH:
    case ERROR_WRITE_FAULT:
    case ERROR_READ_FAULT:
    case ERROR_GEN_FAILURE:
    case ERROR_WRONG_DISK:
    case ERROR_NET_WRITE_FAULT:
    case ERROR_ADAP_HDW_ERR:
    case ERROR_IO_DEVICE:
        return hardIO;
    case ERROR_SHARING_VIOLATION:
    case ERROR_SHARING_BUFFER_EXCEEDED:
    case ERROR_SHARING_PAUSED:
        return sharingViolation;
    case ERROR_LOCK_VIOLATION:
    case ERROR_LOCK_FAILED:
    case ERROR_NOT_LOCKED:
        return lockViolation;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return diskFull;
    case ERROR_HANDLE_EOF:
        return endOfFile;
    default:
        return genericException;
    }
}

void CFileException::ThrowOsError(LONG osError, const wchar_t* fileName) {
    AfxThrowFileException(OsErrorToException(osError), osError, fileName);
}

void AfxThrowFileException(int cause, LONG osError, const wchar_t* fileName) {
    throw new CFileException(cause, osError, fileName);
}
