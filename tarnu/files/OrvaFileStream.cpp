#include "tarnu/files/OrvaFileStream.h"

#include "tarnu/support/Owners.h"

#include <utility>

OrvaFileStream::~OrvaFileStream() {
    // One expects a check for an open file; the handle is closed whatever it is, so releasing a stream that was never
    // opened leaves ERROR_INVALID_HANDLE as the thread's last error, and hosts rely on that to tell the two apart.
    ::CloseHandle(m_handle);
}

bool OrvaFileStream::Open(const wchar_t* name, bool readMode) noexcept {
    m_readMode = readMode;

    constexpr int bufferSize = 100;
    char ansiName[bufferSize];
    const int length = ::WideCharToMultiByte(CP_ACP, /*dwFlags=*/0, name, ::lstrlenW(name), ansiName, bufferSize - 1,
                                             /*lpDefaultChar=*/nullptr, /*lpUsedDefaultChar=*/nullptr);
    if (length == 0) return false;
    ansiName[length] = '\0';

    // The new file is opened first: reopening the file that this very stream holds for writing is a sharing violation.
    const tarnu::support::UniqueHandle previous(m_handle);
    m_handle = ::CreateFileA(ansiName, readMode ? GENERIC_READ : GENERIC_WRITE, FILE_SHARE_READ,
                             /*lpSecurityAttributes=*/nullptr, readMode ? OPEN_EXISTING : CREATE_ALWAYS,
                             FILE_ATTRIBUTE_NORMAL, /*hTemplateFile=*/nullptr);
    return m_handle != INVALID_HANDLE_VALUE;
}

HRESULT STDMETHODCALLTYPE OrvaFileStream::QueryInterface(REFIID interfaceId, void** object) noexcept {
    if (object == nullptr) return E_POINTER;
    if (::IsEqualIID(interfaceId, __uuidof(IUnknown)) || ::IsEqualIID(interfaceId, __uuidof(IStream))) {
        *object = static_cast<IStream*>(this);
    }
    // One expects E_NOINTERFACE for the rest; instead the interface that the caller left in the place is given the
    // reference and S_OK is the answer. Hosts rely on handing in a pointer that serves for every interface they ask
    // for.
    if (*object != nullptr) static_cast<IUnknown*>(*object)->AddRef();
    return S_OK;
}

ULONG STDMETHODCALLTYPE OrvaFileStream::AddRef() noexcept {
    return ::InterlockedIncrement(&m_referenceCount);
}

ULONG STDMETHODCALLTYPE OrvaFileStream::Release() noexcept {
    const ULONG count = ::InterlockedDecrement(&m_referenceCount);
    if (count == 0) delete this;
    return count;
}

HRESULT STDMETHODCALLTYPE OrvaFileStream::Read(void* buffer, ULONG size, ULONG* bytesRead) noexcept {
    if (!m_readMode) return E_FAIL;
    DWORD count = 0;
    const BOOL success = ::ReadFile(m_handle, buffer, size, &count, /*lpOverlapped=*/nullptr);
    if (bytesRead != nullptr) *bytesRead = count;
    if (success == FALSE) return E_FAIL;
    return count > 0 ? S_OK : S_FALSE;
}

HRESULT STDMETHODCALLTYPE OrvaFileStream::Write(const void* buffer, ULONG size, ULONG* bytesWritten) noexcept {
    if (m_readMode) return E_FAIL;
    return ::WriteFile(m_handle, buffer, size, bytesWritten, /*lpOverlapped=*/nullptr) != FALSE ? S_OK : E_FAIL;
}

HRESULT STDMETHODCALLTYPE OrvaFileStream::Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) noexcept {
    return E_FAIL;
}

HRESULT STDMETHODCALLTYPE OrvaFileStream::SetSize(ULARGE_INTEGER) noexcept {
    return E_FAIL;
}

HRESULT STDMETHODCALLTYPE OrvaFileStream::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) noexcept {
    return E_FAIL;
}

HRESULT STDMETHODCALLTYPE OrvaFileStream::Commit(DWORD) noexcept {
    return E_FAIL;
}

HRESULT STDMETHODCALLTYPE OrvaFileStream::Revert() noexcept {
    return E_FAIL;
}

HRESULT STDMETHODCALLTYPE OrvaFileStream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept {
    return E_FAIL;
}

HRESULT STDMETHODCALLTYPE OrvaFileStream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept {
    return E_FAIL;
}

HRESULT STDMETHODCALLTYPE OrvaFileStream::Stat(STATSTG*, DWORD) noexcept {
    return E_FAIL;
}

HRESULT STDMETHODCALLTYPE OrvaFileStream::Clone(IStream**) noexcept {
    return E_FAIL;
}
