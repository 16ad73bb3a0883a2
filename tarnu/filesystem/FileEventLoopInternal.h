/// @file
/// What the file event worker does: watches directories and reports changes of the registered files.
#ifndef TARNU_FILESYSTEM_FILEEVENTLOOPINTERNAL_H
#define TARNU_FILESYSTEM_FILEEVENTLOOPINTERNAL_H

#include "tarnu/filesystem/FileRecordInternal.h"
#include "tarnu/messaging/OrvaWndMsgServer.h"
#include "tarnu/support/Owners.h"

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <vector>

namespace tarnu {

/// Tells a directory from another one that has taken its name.
struct DirectoryIdentity {
    DWORD volume = 0;
    DWORD indexHigh = 0;
    DWORD indexLow = 0;
    bool operator==(const DirectoryIdentity&) const = default;
};

/// One directory and its registered files. A watch that failed has no handle; it keeps its files until they are
/// unregistered or until a new registration revives it.
struct DirectoryWatch {
    CString key; ///< the directory as the map holds it
    CString directory;
    DWORD filter = 0; ///< the first file's
    support::UniqueChangeHandle handle;
    std::list<FileRecord*> records;
    bool isCheckPending = false; ///< then its handle is not waited on
    ULONGLONG checkDue = 0;
    bool hasIdentity = false; ///< false where asking could take long: on network drives
    DirectoryIdentity identity;
};

/// The worker's loop and all that belongs to it. Everything but construction and destruction happens on the worker.
class FileEventLoop {
public:
    explicit FileEventLoop(OrvaWndMsgServer& host) : m_host(host) {}

    /// Serves the thread's messages and the directories until WM_QUIT.
    void Run() noexcept;
    /// On any thread: lets the loop end before the messages that stand in front of WM_QUIT.
    void HurryToStop() noexcept { m_isStopping = true; }

private:
    /// Directories without regard to case.
    struct DirectoryLess {
        bool operator()(const CString& left, const CString& right) const noexcept;
    };

    bool DispatchMessages() noexcept;
    void Dispatch(const MSG& message) noexcept;
    void DoDueWork() noexcept;
    DWORD MillisecondsToDueWork() const noexcept;

    void Wait() noexcept;
    void WaitFor(const HANDLE* handles, std::size_t count, DWORD milliseconds) noexcept;
    bool PollHandles() noexcept;
    bool TestHandles() noexcept;
    void OnSignal(HANDLE handle) noexcept;

    void Register(FileRecord& record) noexcept;
    DWORD AddToWatch(FileRecord& record, const CString& directory);
    DWORD OpenWatch(DirectoryWatch& watch);
    void Unregister(FileRecord& record) noexcept;
    void CloseWatch(DirectoryWatch& watch) noexcept;
    void FailWatch(DirectoryWatch& watch, DWORD error) noexcept;
    void SchedulePendingCheck(DirectoryWatch& watch) noexcept;
    void CheckWatch(DirectoryWatch& watch) noexcept;
    void CheckFile(FileRecord& record) noexcept;
    void LookAgain() noexcept;
    void CheckDirectories() noexcept;

    void Post(UnpostedMessage& message, WPARAM wParam) noexcept;
    bool TryPost(const UnpostedMessage& message) noexcept;
    bool PostBacklog() noexcept;

    OrvaWndMsgServer& m_host;
    std::atomic<bool> m_isStopping = false;
    std::map<CString, std::unique_ptr<DirectoryWatch>, DirectoryLess> m_directories;
    std::map<HANDLE, DirectoryWatch*> m_watches; ///< those with a handle
    std::vector<HANDLE> m_waiting;               ///< of watches without a pending check; has room for all
    std::vector<DirectoryWatch*> m_pending;      ///< by the time when their check is due; has room for all
    UnpostedMessage* m_firstUnposted = nullptr;  ///< what the host's full queue refused, in order
    UnpostedMessage* m_lastUnposted = nullptr;
    std::size_t m_nextGroup = 0;
    ULONGLONG m_polledAt = 0;
    ULONGLONG m_directoriesDue = 0;
    ULONGLONG m_looksDue = 0; ///< when files are looked at again that could not be looked at; 0 for none
};

} // namespace tarnu

#endif // TARNU_FILESYSTEM_FILEEVENTLOOPINTERNAL_H
