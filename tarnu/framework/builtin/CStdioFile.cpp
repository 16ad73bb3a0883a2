/// @file
/// CStdioFile: buffered text files over C runtime streams.
#include "tarnu/framework/builtin/CStdioFile.h"

#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <iterator>
#include <limits>
#include <utility>

IMPLEMENT_DYNAMIC(CStdioFile, CFile)

namespace {

/// How the runtime opens a stream over an open handle.
struct StreamMode {
    int flags;           ///< of _open_osfhandle
    const wchar_t* text; ///< of _wfdopen
};

StreamMode ChooseMode(UINT openFlags) noexcept {
    const bool binary = (openFlags & CFile::typeBinary) != 0;
    const bool append = (openFlags & CFile::modeCreate) != 0 && (openFlags & CFile::modeNoTruncate) != 0;
    StreamMode mode{binary ? _O_BINARY : _O_TEXT, nullptr};
    if ((openFlags & CFile::modeNoInherit) != 0) mode.flags |= _O_NOINHERIT;
    if ((openFlags & (CFile::modeWrite | CFile::modeReadWrite)) == 0) {
        mode.flags |= _O_RDONLY;
        mode.text = binary ? L"rb" : L"rt";
    } else if (append) {
        // The stream's "a" alone writes at the handle's position; the descriptor's flag moves every write to the end.
        mode.flags |= _O_APPEND;
        if ((openFlags & CFile::modeReadWrite) != 0) {
            mode.text = binary ? L"a+b" : L"a+t";
        } else {
            mode.text = binary ? L"ab" : L"at";
        }
    } else if ((openFlags & CFile::modeReadWrite) != 0) {
        mode.text = binary ? L"r+b" : L"r+t"; // CreateFileW has truncated the file where that was asked for
    } else {
        mode.text = binary ? L"wb" : L"wt";
    }
    return mode;
}

/// The system error behind the runtime's last failure.
LONG RuntimeError() noexcept {
    return static_cast<LONG>(_doserrno);
}

} // namespace

CStdioFile::CStdioFile() noexcept = default;

CStdioFile::CStdioFile(FILE* stream) noexcept : m_pStream(stream) {
    if (stream != nullptr) m_hFile = reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(stream)));
}

CStdioFile::CStdioFile(const wchar_t* fileName, UINT openFlags) {
    CFileException error;
    if (!CStdioFile::Open(fileName, openFlags, &error)) {
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
    }
}

CStdioFile::~CStdioFile() {
    if (m_bCloseOnDelete) CStdioFile::Abort();
}

BOOL CStdioFile::Open(const wchar_t* fileName, UINT openFlags, CFileException* error) {
    CStdioFile::Abort();
    if (!CFile::Open(fileName, openFlags, error)) return FALSE;
    const StreamMode mode = ChooseMode(openFlags);
    const int descriptor = ::_open_osfhandle(reinterpret_cast<intptr_t>(m_hFile), mode.flags);
    if (descriptor != -1) m_pStream = ::_wfdopen(descriptor, mode.text);
    if (m_pStream != nullptr) return TRUE;

    const LONG runtimeError = RuntimeError();
    if (descriptor != -1) {
        m_hFile = INVALID_HANDLE_VALUE; // closed with the descriptor
        ::_close(descriptor);
    }
    CFile::Abort();
    if (error != nullptr) {
        error->m_lOsError = runtimeError;
        error->m_cause = CFileException::tooManyOpenFiles; // a stream or a descriptor is all that can be missing here
        error->m_strFileName = fileName;
    }
    return FALSE;
}

UINT CStdioFile::Read(void* buffer, UINT count) {
    if (count == 0) return 0;
    RequireStream();
    const std::size_t read = std::fread(buffer, 1, count, m_pStream);
    if (read == 0 && std::feof(m_pStream) == 0) Fail(CFileException::genericException);
    return static_cast<UINT>(read);
}

void CStdioFile::Write(const void* buffer, UINT count) {
    if (count == 0) return;
    RequireStream();
    if (std::fwrite(buffer, 1, count, m_pStream) != count) Fail(CFileException::diskFull);
}

void CStdioFile::WriteString(const wchar_t* text) {
    RequireStream();
    if (std::fputws(text, m_pStream) == WEOF) Fail(CFileException::diskFull);
}

wchar_t* CStdioFile::ReadString(wchar_t* text, UINT maxLength) {
    RequireStream();
    const int count = static_cast<int>(maxLength > INT_MAX ? INT_MAX : maxLength);
    wchar_t* line = std::fgetws(text, count, m_pStream);
    if (line == nullptr && std::feof(m_pStream) == 0) Fail(CFileException::genericException);
    return line;
}

BOOL CStdioFile::ReadString(CString& line) {
    RequireStream();
    CString text;
    wchar_t block[256];
    std::size_t used = 0;
    wint_t character = WEOF;
    bool any = false;
    while ((character = std::getwc(m_pStream)) != WEOF) {
        any = true;
        if (character == L'\n') break;
        block[used++] = static_cast<wchar_t>(character);
        if (used == std::size(block)) {
            text.Append(block, static_cast<int>(used));
            used = 0;
        }
    }
    if (character == WEOF && std::feof(m_pStream) == 0) Fail(CFileException::genericException);
    text.Append(block, static_cast<int>(used));
    line = std::move(text);
    return any;
}

ULONGLONG CStdioFile::Seek(LONGLONG offset, UINT from) {
    RequireStream();
    if (::_fseeki64(m_pStream, offset, static_cast<int>(from)) != 0) Fail(CFileException::badSeek);
    return CStdioFile::GetPosition();
}

ULONGLONG CStdioFile::GetPosition() const {
    RequireStream();
    const __int64 position = ::_ftelli64(m_pStream);
    if (position < 0) Fail(CFileException::invalidFile);
    return static_cast<ULONGLONG>(position);
}

ULONGLONG CStdioFile::GetLength() const {
    const ULONGLONG position = CStdioFile::GetPosition();
    if (::_fseeki64(m_pStream, 0, SEEK_END) != 0) Fail(CFileException::badSeek);
    const ULONGLONG length = CStdioFile::GetPosition();
    if (::_fseeki64(m_pStream, static_cast<LONGLONG>(position), SEEK_SET) != 0) Fail(CFileException::badSeek);
    return length;
}

void CStdioFile::SetLength(ULONGLONG length) {
    CStdioFile::Flush();
    if (length > static_cast<ULONGLONG>(std::numeric_limits<LONGLONG>::max())) {
        CFileException::ThrowOsError(ERROR_NEGATIVE_SEEK, m_strFileName);
    }
    RequireStream();
    if (::_chsize_s(::_fileno(m_pStream), static_cast<LONGLONG>(length)) != 0) Fail(CFileException::diskFull);
    CStdioFile::Seek(0, end);
}

void CStdioFile::Flush() {
    if (m_pStream != nullptr && std::fflush(m_pStream) != 0) Fail(CFileException::diskFull);
}

void CStdioFile::Close() {
    FILE* stream = std::exchange(m_pStream, nullptr);
    const CString name = std::exchange(m_strFileName, CString());
    m_hFile = INVALID_HANDLE_VALUE; // belongs to the stream
    m_bCloseOnDelete = FALSE;
    if (stream != nullptr && std::fclose(stream) != 0) {
        AfxThrowFileException(CFileException::diskFull, RuntimeError(), name);
    }
}

void CStdioFile::Abort() noexcept {
    FILE* stream = std::exchange(m_pStream, nullptr);
    if (stream != nullptr) {
        m_hFile = INVALID_HANDLE_VALUE; // belongs to the stream
        std::fclose(stream);
    }
    CFile::Abort();
}

void CStdioFile::RequireStream() const {
    if (m_pStream == nullptr) AfxThrowFileException(CFileException::invalidFile, ERROR_INVALID_HANDLE, m_strFileName);
}

void CStdioFile::Fail(int cause) const {
    const LONG error = RuntimeError();
    std::clearerr(m_pStream);
    AfxThrowFileException(cause, error, m_strFileName);
}
