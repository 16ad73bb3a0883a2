/// @file
/// CFile: files over Win32 handles, and their status.
#include "tarnu/framework/builtin/CFile.h"

#include "tarnu/support/Owners.h"

#include <cwchar>
#include <limits>
#include <string_view>
#include <utility>

IMPLEMENT_DYNAMIC(CFile, CObject)

const HANDLE CFile::hFileNull = INVALID_HANDLE_VALUE;

namespace {

/// The absolute path of a name in a buffer of MAX_PATH characters; false, with the last error set, when there is none
/// or it is too long.
bool MakeFullPath(const wchar_t* name, wchar_t (&path)[MAX_PATH]) noexcept {
    path[0] = 0;
    if (name == nullptr || name[0] == 0) {
        ::SetLastError(ERROR_PATH_NOT_FOUND);
        return false;
    }
    const DWORD length = ::GetFullPathNameW(name, MAX_PATH, path, nullptr);
    if (length >= MAX_PATH) {
        path[0] = 0;
        ::SetLastError(ERROR_FILENAME_EXCED_RANGE);
    }
    return length != 0 && length < MAX_PATH;
}

ULONGLONG Join(DWORD high, DWORD low) noexcept {
    return static_cast<ULONGLONG>(high) << 32 | low;
}

/// Find data and handle information name their fields alike.
template <class Information>
void FillStatus(const Information& information, CFileStatus& status) noexcept {
    status.m_attribute = static_cast<BYTE>(information.dwFileAttributes & 0xFF);
    status.m_size = Join(information.nFileSizeHigh, information.nFileSizeLow);
    status.m_mtime = CTime(information.ftLastWriteTime);
    status.m_ctime = CTime(information.ftCreationTime);
    status.m_atime = CTime(information.ftLastAccessTime);
    // File systems that keep only the time of the last write report the others as 0.
    if (status.m_ctime.GetTime() == 0) status.m_ctime = status.m_mtime;
    if (status.m_atime.GetTime() == 0) status.m_atime = status.m_mtime;
}

/// The length of the "\\?\" in front of a path, whose question mark is no wildcard.
std::size_t PrefixLength(std::wstring_view path) noexcept {
    constexpr std::wstring_view prefix = L"\\\\?\\";
    return path.starts_with(prefix) ? prefix.size() : 0;
}

LONG LastError() noexcept {
    return static_cast<LONG>(::GetLastError());
}

std::wstring_view LastComponent(const CString& path) noexcept {
    const std::wstring_view whole(path.GetString(), static_cast<std::size_t>(path.GetLength()));
    return whole.substr(whole.find_last_of(L"\\/:") + 1); // npos + 1 is 0
}

CString ToString(std::wstring_view text) {
    return CString(text.data(), static_cast<int>(text.size()));
}

} // namespace

CFile::CFile() noexcept = default;

CFile::CFile(HANDLE handle) noexcept : m_hFile(handle) {}

CFile::CFile(const wchar_t* fileName, UINT openFlags) {
    CFileException error;
    if (!CFile::Open(fileName, openFlags, &error)) {
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
    }
}

CFile::~CFile() {
    if (m_bCloseOnDelete) CFile::Abort();
}

HANDLE CFile::OpenHandle(const wchar_t* fileName, UINT openFlags, CString& fullPath, CFileException* error) {
    constexpr UINT accessMask = modeRead | modeWrite | modeReadWrite;
    constexpr UINT shareMask = shareExclusive | shareDenyWrite | shareDenyRead | shareDenyNone;

    DWORD access = 0;
    switch (openFlags & accessMask) {
    case modeRead:
        access = GENERIC_READ;
        break;
    case modeWrite:
        access = GENERIC_WRITE;
        break;
    case modeReadWrite:
        access = GENERIC_READ | GENERIC_WRITE;
        break;
    default:
        break;
    }
    DWORD share = 0;
    bool shareKnown = true;
    switch (openFlags & shareMask) {
    case shareCompat:
    case shareExclusive:
        break;
    case shareDenyWrite:
        share = FILE_SHARE_READ;
        break;
    case shareDenyRead:
        share = FILE_SHARE_WRITE;
        break;
    case shareDenyNone:
        share = FILE_SHARE_READ | FILE_SHARE_WRITE;
        break;
    default:
        shareKnown = false;
        break;
    }
    DWORD disposition = OPEN_EXISTING;
    if ((openFlags & modeCreate) != 0) {
        disposition = (openFlags & modeNoTruncate) != 0 ? OPEN_ALWAYS : CREATE_ALWAYS;
    }
    SECURITY_ATTRIBUTES security{sizeof(SECURITY_ATTRIBUTES), nullptr, (openFlags & modeNoInherit) == 0};

    HANDLE handle = INVALID_HANDLE_VALUE;
    wchar_t path[MAX_PATH];
    CString name; // made before there is a handle that it could lose
    if (access == 0 || !shareKnown) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
    } else if (MakeFullPath(fileName, path)) {
        name = path;
        handle = ::CreateFileW(path, access, share, &security, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    }
    if (handle != INVALID_HANDLE_VALUE) {
        fullPath = std::move(name);
    } else if (error != nullptr) {
        error->m_lOsError = LastError();
        error->m_cause = CFileException::OsErrorToException(error->m_lOsError);
        error->m_strFileName = fileName;
    }
    return handle;
}

BOOL CFile::Open(const wchar_t* fileName, UINT openFlags, CFileException* error) {
    CFile::Abort();
    m_hFile = OpenHandle(fileName, openFlags, m_strFileName, error);
    m_bCloseOnDelete = m_hFile != INVALID_HANDLE_VALUE;
    return m_bCloseOnDelete;
}

UINT CFile::Read(void* buffer, UINT count) {
    if (count == 0) return 0;
    DWORD read = 0;
    if (!::ReadFile(m_hFile, buffer, count, &read, nullptr)) CFileException::ThrowOsError(LastError(), m_strFileName);
    return read;
}

void CFile::Write(const void* buffer, UINT count) {
    if (count == 0) return;
    DWORD written = 0;
    if (!::WriteFile(m_hFile, buffer, count, &written, nullptr)) {
        CFileException::ThrowOsError(LastError(), m_strFileName);
    }
    if (written != count) AfxThrowFileException(CFileException::diskFull, /*osError=*/-1, m_strFileName);
}

ULONGLONG CFile::Seek(LONGLONG offset, UINT from) {
    LARGE_INTEGER distance;
    LARGE_INTEGER position;
    distance.QuadPart = offset;
    if (!::SetFilePointerEx(m_hFile, distance, &position, from)) {
        CFileException::ThrowOsError(LastError(), m_strFileName);
    }
    return static_cast<ULONGLONG>(position.QuadPart);
}

ULONGLONG CFile::GetPosition() const {
    LARGE_INTEGER position;
    if (!::SetFilePointerEx(m_hFile, LARGE_INTEGER{}, &position, FILE_CURRENT)) {
        CFileException::ThrowOsError(LastError(), m_strFileName);
    }
    return static_cast<ULONGLONG>(position.QuadPart);
}

ULONGLONG CFile::GetLength() const {
    LARGE_INTEGER length;
    if (!::GetFileSizeEx(m_hFile, &length)) CFileException::ThrowOsError(LastError(), m_strFileName);
    return static_cast<ULONGLONG>(length.QuadPart);
}

void CFile::SetLength(ULONGLONG length) {
    if (length > static_cast<ULONGLONG>(std::numeric_limits<LONGLONG>::max())) {
        CFileException::ThrowOsError(ERROR_NEGATIVE_SEEK, m_strFileName);
    }
    Seek(static_cast<LONGLONG>(length), begin);
    if (!::SetEndOfFile(m_hFile)) CFileException::ThrowOsError(LastError(), m_strFileName);
}

void CFile::Flush() {
    if (m_hFile == INVALID_HANDLE_VALUE) return;
    if (!::FlushFileBuffers(m_hFile)) CFileException::ThrowOsError(LastError(), m_strFileName);
}

void CFile::Close() {
    const HANDLE handle = std::exchange(m_hFile, INVALID_HANDLE_VALUE);
    const CString name = std::exchange(m_strFileName, CString());
    m_bCloseOnDelete = FALSE;
    if (handle == INVALID_HANDLE_VALUE) return;
    if (!::CloseHandle(handle)) CFileException::ThrowOsError(LastError(), name);
}

void CFile::Abort() noexcept {
    const HANDLE handle = std::exchange(m_hFile, INVALID_HANDLE_VALUE);
    m_strFileName.Empty();
    m_bCloseOnDelete = FALSE;
    if (handle != INVALID_HANDLE_VALUE) ::CloseHandle(handle);
}

CString CFile::GetFileName() const {
    return ToString(LastComponent(m_strFileName));
}

CString CFile::GetFileTitle() const {
    const std::wstring_view name = LastComponent(m_strFileName);
    return ToString(name.substr(0, name.find_last_of(L'.')));
}

BOOL CFile::GetStatus(CFileStatus& status) const {
    status = CFileStatus();
    if (m_strFileName.GetLength() >= MAX_PATH) return FALSE;
    std::wstring_view(m_strFileName.GetString()).copy(status.m_szFullName, MAX_PATH - 1);
    if (m_hFile == INVALID_HANDLE_VALUE) return TRUE;
    BY_HANDLE_FILE_INFORMATION information;
    if (!::GetFileInformationByHandle(m_hFile, &information)) return FALSE;
    FillStatus(information, status);
    return TRUE;
}

BOOL CFile::GetStatus(const wchar_t* fileName, CFileStatus& status) {
    status = CFileStatus();
    if (!MakeFullPath(fileName, status.m_szFullName)) return FALSE;
    if (std::wcspbrk(status.m_szFullName + PrefixLength(status.m_szFullName), L"*?") != nullptr) return FALSE;
    WIN32_FIND_DATAW data;
    const tarnu::support::UniqueFindHandle find(::FindFirstFileW(status.m_szFullName, &data));
    if (!find) return FALSE;
    FillStatus(data, status);
    return TRUE;
}

void CFile::Rename(const wchar_t* oldName, const wchar_t* newName) {
    if (!::MoveFileW(oldName, newName)) CFileException::ThrowOsError(LastError(), oldName);
}

void CFile::Remove(const wchar_t* fileName) {
    if (!::DeleteFileW(fileName)) CFileException::ThrowOsError(LastError(), fileName);
}
