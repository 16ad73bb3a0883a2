#include "tarnu/archive/ZipOpenAheadInternal.h"

#include "tarnu/support/ExtendedPath.h"
#include "tarnu/support/SrwLock.h"
#include "tarnu/support/ThreadEnd.h"

#include <new>
#include <utility>

namespace tarnu::support {
namespace {

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
        return OpenToRead(AbsoluteSystemPath(path));
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
    if (!HasProcessRights()) return;
    for (UniqueHandle& thread : m_threads)
        thread.Reset(::CreateThread(/*lpThreadAttributes=*/nullptr, /*dwStackSize=*/0, &ThreadProcedure, this,
                                    /*dwCreationFlags=*/0, /*lpThreadId=*/nullptr));
}

OpenAhead::~OpenAhead() {
    {
        const SrwExclusiveLock lock(m_lock);
        m_position = nullptr;
    }
    ::WakeAllConditionVariable(&m_freed);
    for (const UniqueHandle& thread : m_threads)
        if (thread) WaitForThreadEnd(thread.Get(), INFINITE);
}

const UniqueFileHandle& OpenAhead::Next() noexcept {
    const SrwExclusiveLock lock(m_lock);
    const std::size_t index = m_asked++;
    ::WakeConditionVariable(&m_freed);
    if (m_begun == index) {
        ++m_begun;
        m_files.GetNext(m_position);
        return m_none;
    }
    const Slot& slot = m_slots[index % distance];
    while (!slot.isReady)
        ::SleepConditionVariableSRW(&m_opened, &m_lock, INFINITE, /*Flags=*/0);
    return slot.file;
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
        UniqueFileHandle file = std::move(slot.file);
        slot.isReady = false;
        ::ReleaseSRWLockExclusive(&m_lock);
        file.Reset();
        file = OpenPath(path);
        ::AcquireSRWLockExclusive(&m_lock);
        slot.file = std::move(file);
        slot.isReady = true;
        ::WakeConditionVariable(&m_opened);
    }
    ::ReleaseSRWLockExclusive(&m_lock);
}

} // namespace tarnu::support
