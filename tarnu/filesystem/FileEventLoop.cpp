#include "tarnu/filesystem/FileEventLoopInternal.h"

#include "tarnu/filesystem/OrvaFileEventMessages.h"

#include <algorithm>
#include <new>

namespace tarnu {

namespace {

using support::UniqueChangeHandle;
using support::UniqueFileHandle;

/// Worker to itself: the directory of this handle is to be checked.
constexpr UINT checkDirectoryMessage = 0x8807;

constexpr DWORD writerPause = 500;              // ms; lets the writer of a file finish before size and times are read
constexpr DWORD pollInterval = 10;              // ms between looks at the handles while messages keep coming
constexpr DWORD turnMilliseconds = 100;         // a turn through all groups of handles, when nothing signals
constexpr DWORD backlogInterval = 50;           // ms between tries to post what the host's full queue refused
constexpr ULONGLONG directoriesInterval = 2000; // ms between looks at the directories themselves

/// How often in a row a file is looked at in vain, a pause between each: ten seconds.
constexpr unsigned mostFailedLooks = 20;

/// What one wait for handles and messages takes; one of the 64 places is the message queue's.
constexpr std::size_t messageGroupSize = MAXIMUM_WAIT_OBJECTS - 1;

unsigned long long Value(const FILETIME& time) noexcept {
    return static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

/// The directory's name as the key of its watch: without trailing separators, except behind a drive.
CString WatchKey(const CString& directory) {
    CString key(directory);
    key.TrimRight(L"\\/");
    if (!key.IsEmpty() && key[key.GetLength() - 1] == L':') key += L'\\';
    return key;
}

bool IsOnNetwork(const CString& directory) noexcept {
    if (directory.GetLength() < 3 || directory[1] != L':') return true;
    const wchar_t root[] = {directory[0], L':', L'\\', L'\0'};
    return ::GetDriveTypeW(root) == DRIVE_REMOTE;
}

/// @return 0, or the error
DWORD ReadIdentity(const CString& directory, DirectoryIdentity& identity) noexcept {
    const UniqueFileHandle handle(::CreateFileW(directory, FILE_READ_ATTRIBUTES,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION information{};
    if (!handle || !::GetFileInformationByHandle(handle.Get(), &information)) return ::GetLastError();
    identity = {information.dwVolumeSerialNumber, information.nFileIndexHigh, information.nFileIndexLow};
    return 0;
}

/// False for success and for failures that say nothing about the directory.
bool IsLoss(DWORD error) noexcept {
    switch (error) {
    case 0:
    case ERROR_TOO_MANY_OPEN_FILES:
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_SHARING_VIOLATION:
    case ERROR_NO_SYSTEM_RESOURCES:
        return false;
    default:
        return true;
    }
}

} // namespace

bool FileEventLoop::DirectoryLess::operator()(const CString& left, const CString& right) const noexcept {
    return ::CompareStringOrdinal(left, left.GetLength(), right, right.GetLength(), /*bIgnoreCase=*/TRUE) ==
           CSTR_LESS_THAN;
}

// --- The loop --------------------------------------------------------------------------------------------------------

void FileEventLoop::Run() noexcept {
    ::SetThreadErrorMode(SEM_FAILCRITICALERRORS, nullptr); // a drive without a medium is an error, not a dialog
    while (DispatchMessages()) {
        DoDueWork();
        Wait();
    }
}

// A wait does not wake for messages that an earlier look has seen: the queue is emptied before each.
bool FileEventLoop::DispatchMessages() noexcept {
    MSG message;
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT || m_isStopping) return false;
        Dispatch(message);
        if (::GetTickCount64() - m_polledAt >= pollInterval) {
            PollHandles();
            DoDueWork();
        }
    }
    return true;
}

void FileEventLoop::Dispatch(const MSG& message) noexcept {
    if (message.hwnd != nullptr || message.lParam == 0) return;
    if (message.message == checkDirectoryMessage) {
        const auto found = m_watches.find(reinterpret_cast<HANDLE>(message.lParam));
        if (found != m_watches.end()) SchedulePendingCheck(*found->second);
        return;
    }
    auto& record = *reinterpret_cast<FileRecord*>(message.lParam);
    if (message.message == WM_REGISTER_FILE) Register(record);
    if (message.message == WM_UNREGISTER_FILE) Unregister(record);
}

void FileEventLoop::DoDueWork() noexcept {
    PostBacklog();
    while (!m_pending.empty() && m_pending.front()->checkDue <= ::GetTickCount64())
        CheckWatch(*m_pending.front());
    if (m_looksDue != 0 && m_looksDue <= ::GetTickCount64()) LookAgain();
    if (!m_watches.empty() && m_directoriesDue <= ::GetTickCount64()) CheckDirectories();
}

DWORD FileEventLoop::MillisecondsToDueWork() const noexcept {
    ULONGLONG due = ~0ull;
    const ULONGLONG now = ::GetTickCount64();
    if (m_firstUnposted != nullptr) due = now + backlogInterval;
    if (!m_pending.empty()) due = std::min(due, m_pending.front()->checkDue);
    if (m_looksDue != 0) due = std::min(due, m_looksDue);
    if (!m_watches.empty()) due = std::min(due, m_directoriesDue);
    if (due == ~0ull) return INFINITE;
    return due <= now ? 0 : static_cast<DWORD>(std::min<ULONGLONG>(due - now, INFINITE - 1));
}

// --- Waiting ---------------------------------------------------------------------------------------------------------

void FileEventLoop::Wait() noexcept {
    const DWORD milliseconds = MillisecondsToDueWork();
    const std::size_t count = m_waiting.size();
    if (count <= messageGroupSize) {
        WaitFor(m_waiting.data(), count, milliseconds);
        return;
    }
    // Too many for one wait: one look at all of them, then a short wait on the group whose turn it is.
    if (PollHandles()) return;
    const std::size_t groups = (m_waiting.size() + messageGroupSize - 1) / messageGroupSize;
    m_nextGroup = (m_nextGroup + 1) % groups;
    const std::size_t first = m_nextGroup * messageGroupSize;
    const DWORD slice = std::max<DWORD>(1, turnMilliseconds / static_cast<DWORD>(groups));
    WaitFor(m_waiting.data() + first, std::min(messageGroupSize, m_waiting.size() - first),
            std::min(milliseconds, slice));
}

void FileEventLoop::WaitFor(const HANDLE* handles, std::size_t count, DWORD milliseconds) noexcept {
    const DWORD result =
        ::MsgWaitForMultipleObjectsEx(static_cast<DWORD>(count), handles, milliseconds, QS_ALLINPUT, /*dwFlags=*/0);
    if (result < count) {
        OnSignal(handles[result]);
    } else if (result == WAIT_FAILED && !TestHandles()) {
        // Each handle is good and together they are not: no reason to spin.
        ::MsgWaitForMultipleObjectsEx(/*nCount=*/0, nullptr, turnMilliseconds, QS_ALLINPUT, /*dwFlags=*/0);
    }
}

/// Handles all signals that are there now. Returns whether there was one.
bool FileEventLoop::PollHandles() noexcept {
    m_polledAt = ::GetTickCount64();
    bool isAnySignaled = false;
    for (std::size_t first = 0; first < m_waiting.size();) {
        const std::size_t count = std::min<std::size_t>(MAXIMUM_WAIT_OBJECTS, m_waiting.size() - first);
        const DWORD result =
            ::WaitForMultipleObjectsEx(static_cast<DWORD>(count), m_waiting.data() + first, /*bWaitAll=*/FALSE,
                                       /*dwMilliseconds=*/0, /*bAlertable=*/FALSE);
        if (result < count) {
            OnSignal(m_waiting[first + result]); // takes the handle out of the array
            isAnySignaled = true;
        } else if (result == WAIT_FAILED && TestHandles()) {
            isAnySignaled = true; // the array has changed
        } else {
            first += count;
        }
    }
    return isAnySignaled;
}

/// Finds the handles that let a wait fail. Returns whether anything was found.
bool FileEventLoop::TestHandles() noexcept {
    bool isAnyFound = false;
    for (std::size_t index = m_waiting.size(); index-- > 0;) { // backwards: what is found leaves the array
        const HANDLE handle = m_waiting[index];
        const DWORD result = ::WaitForSingleObject(handle, /*dwMilliseconds=*/0);
        if (result == WAIT_TIMEOUT) continue;
        isAnyFound = true;
        if (result == WAIT_OBJECT_0) {
            OnSignal(handle);
        } else {
            const DWORD error = ::GetLastError();
            DirectoryWatch& watch = *m_watches.find(handle)->second;
            FailWatch(watch, error);
        }
    }
    return isAnyFound;
}

// The handle is re-armed before the check, so that a change that comes in between signals again. It is waited on again
// after the check.
void FileEventLoop::OnSignal(HANDLE handle) noexcept {
    DirectoryWatch& watch = *m_watches.find(handle)->second;
    if (::FindNextChangeNotification(handle)) {
        SchedulePendingCheck(watch);
    } else {
        FailWatch(watch, ::GetLastError());
    }
}

// --- Registering -----------------------------------------------------------------------------------------------------

void FileEventLoop::Register(FileRecord& record) noexcept {
    DWORD error = ERROR_NOT_ENOUGH_MEMORY;
    try {
        OrvaPath directory(record.path);
        if (::GetFileAttributesExW(record.path, GetFileExInfoStandard, &record.snapshot) &&
            (record.snapshot.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            directory.RemoveFileSpec();
        }
        error = AddToWatch(record, directory.GetText());
    } catch (const std::bad_alloc&) {
    }
    if (error != 0) Post(record.unpostedError, error);
}

DWORD FileEventLoop::AddToWatch(FileRecord& record, const CString& directory) {
    // Everything that needs memory comes before the first change.
    const CString key = WatchKey(directory);
    m_waiting.reserve(m_directories.size() + 1);
    m_pending.reserve(m_directories.size() + 1);
    std::list<FileRecord*> element(1, &record);
    const auto found = m_directories.find(key);
    DirectoryWatch* watch = found != m_directories.end() ? found->second.get() : nullptr;
    if (watch == nullptr) {
        auto created = std::make_unique<DirectoryWatch>();
        created->key = key;
        created->directory = directory;
        created->filter = record.filter; // also for the files that follow, whatever they ask for: hosts rely on it
        watch = created.get();
        m_directories.emplace(key, std::move(created));
    }
    if (!watch->handle) {
        DWORD error = ERROR_NOT_ENOUGH_MEMORY;
        try {
            error = OpenWatch(*watch);
        } catch (const std::bad_alloc&) {
        }
        if (error != 0) {
            if (watch->records.empty()) m_directories.erase(key);
            return error;
        }
    }
    record.watch = watch;
    record.watchHandle = watch->handle.Get();
    record.skipsPendingCheck = watch->isCheckPending;
    record.position = element.begin();
    watch->records.splice(watch->records.end(), element);
    return 0;
}

/// Opens the watch's handle, also for the files that a failed watch left behind.
/// @return 0, or the error
DWORD FileEventLoop::OpenWatch(DirectoryWatch& watch) {
    UniqueChangeHandle handle(::FindFirstChangeNotificationW(watch.directory, /*bWatchSubtree=*/FALSE, watch.filter));
    if (!handle) return ::GetLastError();
    const auto stale = m_watches.find(handle.Get());
    if (stale != m_watches.end()) {
        // Somebody else has closed that one's handle, and the system has given its value out again.
        DirectoryWatch& lost = *stale->second;
        std::erase(m_waiting, lost.handle.Release());
        m_watches.erase(stale);
        FailWatch(lost, ERROR_INVALID_HANDLE);
    }
    m_watches.emplace(handle.Get(), &watch);
    m_waiting.push_back(handle.Get());
    watch.handle = std::move(handle);
    watch.hasIdentity = !IsOnNetwork(watch.directory) && ReadIdentity(watch.directory, watch.identity) == 0;
    if (m_watches.size() == 1) m_directoriesDue = ::GetTickCount64() + directoriesInterval;
    for (FileRecord* record : watch.records)
        record->watchHandle = watch.handle.Get();
    return 0;
}

void FileEventLoop::Unregister(FileRecord& record) noexcept {
    if (DirectoryWatch* const watch = record.watch) {
        watch->records.erase(record.position);
        if (watch->records.empty()) {
            CloseWatch(*watch);
            m_directories.erase(m_directories.find(watch->key));
        }
    }
    Post(record.unpostedReturn, /*wParam=*/0);
}

void FileEventLoop::CloseWatch(DirectoryWatch& watch) noexcept {
    std::erase(m_waiting, watch.handle.Get());
    std::erase(m_pending, &watch);
    m_watches.erase(watch.handle.Get());
    watch.isCheckPending = false;
    watch.handle.Reset();
}

/// Ends a watch that does not work any more and says so, once. A closed handle also lets the system finish the deletion
/// of the directory.
void FileEventLoop::FailWatch(DirectoryWatch& watch, DWORD error) noexcept {
    CloseWatch(watch);
    for (FileRecord* record : watch.records) {
        record->watchHandle = nullptr;
        record->skipsPendingCheck = false;
        Post(record->unpostedError, error);
    }
}

// --- Checking --------------------------------------------------------------------------------------------------------

/// The pauses of several directories overlap; a directory has one check pending at a time.
void FileEventLoop::SchedulePendingCheck(DirectoryWatch& watch) noexcept {
    if (watch.isCheckPending) return;
    std::erase(m_waiting, watch.handle.Get());
    watch.isCheckPending = true;
    watch.checkDue = ::GetTickCount64() + writerPause;
    m_pending.push_back(&watch);
}

void FileEventLoop::CheckWatch(DirectoryWatch& watch) noexcept {
    std::erase(m_pending, &watch);
    watch.isCheckPending = false;
    m_waiting.push_back(watch.handle.Get());
    for (FileRecord* record : watch.records) {
        if (!std::exchange(record->skipsPendingCheck, false)) CheckFile(*record);
    }
}

void FileEventLoop::CheckFile(FileRecord& record) noexcept {
    WIN32_FILE_ATTRIBUTE_DATA now{};
    if (!::GetFileAttributesExW(record.path, GetFileExInfoStandard, &now)) {
        // A file that is gone has nothing to report. Any other failure says nothing about the file, and no further
        // signal need come: it is looked at again, for some time.
        const DWORD error = ::GetLastError();
        const bool isGone = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
        record.failedLooks = isGone || record.failedLooks == mostFailedLooks ? 0 : record.failedLooks + 1;
        if (record.failedLooks != 0 && m_looksDue == 0) m_looksDue = ::GetTickCount64() + writerPause;
        return;
    }
    record.failedLooks = 0;
    WIN32_FILE_ATTRIBUTE_DATA& seen = record.snapshot;
    // One expects a comparison; these three are reported whenever the directory signalled, and hosts rely on it.
    DWORD mask =
        record.filter & (FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_DIR_NAME | FILE_NOTIFY_CHANGE_ATTRIBUTES);
    if ((record.filter & FILE_NOTIFY_CHANGE_SIZE) != 0 &&
        (now.nFileSizeHigh != seen.nFileSizeHigh || now.nFileSizeLow != seen.nFileSizeLow)) {
        seen.nFileSizeHigh = now.nFileSizeHigh;
        seen.nFileSizeLow = now.nFileSizeLow;
        mask |= FILE_NOTIFY_CHANGE_SIZE;
    }
    if ((record.filter & FILE_NOTIFY_CHANGE_LAST_WRITE) != 0 &&
        Value(now.ftLastWriteTime) > Value(seen.ftLastWriteTime)) {
        seen.ftLastWriteTime = now.ftLastWriteTime;
        mask |= FILE_NOTIFY_CHANGE_LAST_WRITE;
    }
    if ((record.filter & FILE_NOTIFY_CHANGE_LAST_ACCESS) != 0 &&
        Value(now.ftLastAccessTime) > Value(seen.ftLastAccessTime)) {
        seen.ftLastAccessTime = now.ftLastAccessTime;
        mask |= FILE_NOTIFY_CHANGE_LAST_ACCESS;
    }
    if (mask != 0) Post(record.unpostedChange, mask);
}

void FileEventLoop::LookAgain() noexcept {
    m_looksDue = 0;
    for (const auto& [key, watch] : m_directories) {
        for (FileRecord* record : watch->records) {
            if (record->failedLooks != 0) CheckFile(*record);
        }
    }
}

// Neither deleting nor renaming a watched directory signals its handle everywhere, and one that took its name is not
// watched by it.
void FileEventLoop::CheckDirectories() noexcept {
    const ULONGLONG started = ::GetTickCount64();
    for (auto next = m_watches.begin(); next != m_watches.end();) {
        DirectoryWatch& watch = *(next++)->second; // may leave the map
        if (!watch.hasIdentity) continue;
        DirectoryIdentity identity;
        DWORD error = ReadIdentity(watch.directory, identity);
        if (error == 0 && identity != watch.identity) error = ERROR_FILE_NOT_FOUND;
        if (IsLoss(error)) FailWatch(watch, error);
    }
    // However many there are, this takes a fiftieth of the time at most.
    const ULONGLONG now = ::GetTickCount64();
    m_directoriesDue = now + std::max(directoriesInterval, 50 * (now - started));
}

// --- Reporting -------------------------------------------------------------------------------------------------------

/// Posts in order. A queue that is full, because the host does not pump, delays and loses nothing. What is told again
/// while it waits is told once.
void FileEventLoop::Post(UnpostedMessage& message, WPARAM wParam) noexcept {
    const bool addsChanges = message.isWaiting && message.message == WM_FILE_NOTIFY;
    message.wParam = addsChanges ? message.wParam | wParam : wParam;
    if (message.isWaiting || (PostBacklog() && TryPost(message))) return;
    message.isWaiting = true;
    message.next = nullptr;
    (m_lastUnposted != nullptr ? m_lastUnposted->next : m_firstUnposted) = &message;
    m_lastUnposted = &message;
}

/// After a success the host may have freed the record, and the message with it.
/// @return false when the queue is full
bool FileEventLoop::TryPost(const UnpostedMessage& message) noexcept {
    if (message.message == WM_UNREGISTER_FILE) message.record->isReturned = true;
    return m_host.PostMessage(message.message, message.wParam, reinterpret_cast<LPARAM>(message.record)) ||
           ::GetLastError() == ERROR_INVALID_WINDOW_HANDLE; // nobody is there to hear it
}

/// Returns whether everything is posted.
bool FileEventLoop::PostBacklog() noexcept {
    while (m_firstUnposted != nullptr) {
        UnpostedMessage& first = *m_firstUnposted;
        UnpostedMessage* const next = first.next;
        first.isWaiting = false; // before it is posted, while it is sure to be there
        if (!TryPost(first)) {
            first.isWaiting = true;
            return false;
        }
        m_firstUnposted = next;
        if (next == nullptr) m_lastUnposted = nullptr;
    }
    return true;
}

} // namespace tarnu
