#include "tarnu/archive/ZipOpenAheadInternal.h"

#include "tarnu/support/ExtendedPath.h"
#include "tarnu/support/SrwLock.h"
#include "tarnu/support/ThreadEnd.h"

#include <new>

namespace tarnu::support {
namespace {

/// For so long a reader looks whether its file is there, before it sleeps until it is told: a processor that falls idle
/// takes as long to come back as a small file takes to be opened.
constexpr LONGLONG spinMicroseconds = 100;
constexpr int pausesPerLook = 300; // some 10 µs

/// True when the calling thread acts for its process. The files of somebody else are not opened on other threads, which
/// would have the process's rights.
bool HasProcessRights() noexcept {
    UniqueHandle token;
    return !::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, /*OpenAsSelf=*/TRUE, token.Put()) &&
           ::GetLastError() == ERROR_NO_TOKEN;
}

UniqueFileHandle OpenPath(const CString& file) noexcept {
    try {
        CString path = file;
        path.Replace(L'/', L'\\');
        UniqueFileHandle opened = OpenToRead(AbsoluteSystemPath(path));
        LARGE_INTEGER position;
        // The first question about a file may be another trip to where it is: under Wine it is.
        if (opened) ::SetFilePointerEx(opened.Get(), LARGE_INTEGER{}, &position, FILE_CURRENT);
        return opened;
    } catch (const std::bad_alloc&) {
        return UniqueFileHandle();
    }
}

} // namespace

UniqueFileHandle OpenToRead(const std::wstring& path) noexcept {
    return UniqueFileHandle(
        ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

OpenAhead::OpenAhead(const CStringList& files) noexcept : m_files(files), m_position(files.GetHeadPosition()) {
    ::QueryPerformanceFrequency(&m_frequency);
    if (!HasProcessRights()) return;
    m_thread.Reset(::CreateThread(/*lpThreadAttributes=*/nullptr, /*dwStackSize=*/0, &ThreadProcedure, this,
                                  /*dwCreationFlags=*/0, /*lpThreadId=*/nullptr));
}

OpenAhead::~OpenAhead() {
    {
        const SrwExclusiveLock lock(m_lock);
        m_position = nullptr;
    }
    ::WakeConditionVariable(&m_freed);
    if (m_thread) WaitForThreadEnd(m_thread.Get(), INFINITE);
}

const UniqueFileHandle& OpenAhead::Next() noexcept {
    const Slot& slot = m_slots[m_asked % distance];
    {
        const SrwExclusiveLock lock(m_lock);
        const std::size_t index = m_asked++;
        // Not for every file: to wake a thread may cost as much as to open a file.
        if (m_begun == index + distance / 2) ::WakeConditionVariable(&m_freed);
        if (m_begun == index) {
            ++m_begun;
            m_files.GetNext(m_position);
            return m_none;
        }
    }
    if (!SpinUntilReady(slot)) {
        const SrwExclusiveLock lock(m_lock);
        while (!slot.isReady)
            ::SleepConditionVariableSRW(&m_opened, &m_lock, INFINITE, /*Flags=*/0);
    }
    return slot.file;
}

bool OpenAhead::SpinUntilReady(const Slot& slot) const noexcept {
    LARGE_INTEGER start;
    ::QueryPerformanceCounter(&start);
    const LONGLONG end = start.QuadPart + m_frequency.QuadPart * spinMicroseconds / 1'000'000;
    for (LARGE_INTEGER now = start; !slot.isReady; ::QueryPerformanceCounter(&now)) {
        if (now.QuadPart >= end) return false;
        for (int pause = 0; pause < pausesPerLook && !slot.isReady; ++pause)
            YieldProcessor();
        ::SwitchToThread(); // the one that opens the file may be waiting for this very processor
    }
    return true;
}

DWORD WINAPI OpenAhead::ThreadProcedure(void* openAhead) noexcept {
    static_cast<OpenAhead*>(openAhead)->Work();
    return 0;
}

void OpenAhead::Work() noexcept {
    ::AcquireSRWLockExclusive(&m_lock);
    for (;;) {
        while (m_position != nullptr && m_begun + 1 == m_asked + distance)
            ::SleepConditionVariableSRW(&m_freed, &m_lock, INFINITE, /*Flags=*/0);
        if (m_position == nullptr) break;
        Slot& slot = m_slots[m_begun++ % distance];
        const CString& path = m_files.GetNext(m_position);
        slot.isReady = false;
        ::ReleaseSRWLockExclusive(&m_lock);
        slot.file.Reset();
        slot.file = OpenPath(path);
        ::AcquireSRWLockExclusive(&m_lock);
        slot.isReady = true;
        ::WakeConditionVariable(&m_opened);
    }
    ::ReleaseSRWLockExclusive(&m_lock);
}

} // namespace tarnu::support
