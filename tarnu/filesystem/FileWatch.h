/// @file
/// tarnu::FileWatch: tells once for each save that a file has another content, whatever way it was saved.
#ifndef TARNU_FILESYSTEM_FILEWATCH_H
#define TARNU_FILESYSTEM_FILEWATCH_H

#include "tarnu/filesystem/FileRegistration.h"
#include "tarnu/paths/OrvaPath.h"

#include <concepts>
#include <memory>
#include <utility>

namespace tarnu {

/// What happened to a watched file.
enum class FileChange {
    Saved,   ///< it has another content, size or time, or another file stands under its name
    Created, ///< it was missing and is there
    Deleted, ///< it was there and is missing
    Lost     ///< its directory can't be watched any longer; nothing else follows
};

/// Watches one file through its directory: saves in place, saves by renaming over it, deletion and re-creation are
/// seen, also for a file that does not exist yet. However many signals a save causes, it is told once: the file's
/// identity, size and time are compared with those that were told last. A save that takes longer than the half second
/// that the file event server waits may be told in two parts.
///
///     tarnu::FileWatch watch(L"C:\\Jobs\\plan.xml", [&](tarnu::FileChange change) {
///         if (change == tarnu::FileChange::Saved) Reload();
///     });
///
/// All files of a directory share one watch of the server's, whose filter is that of the first registration there: a
/// registration that was made before without FILE_NOTIFY_CHANGE_FILE_NAME hides saves by renaming from this watch. The
/// directory's path has fewer than 260 characters.
///
/// Threads: that of the window-message server, which must pump messages. Ownership: holds the function.
template <std::invocable<FileChange> Function>
class FileWatch final : private OrvaFileEventListener {
public:
    /// Begins to watch. What happens to the file from here on is told.
    /// @param path      the file, which need not exist; its directory must
    /// @param function  called for each change; must not throw
    FileWatch(const OrvaPath& path, Function function) : m_path(Absolute(path)), m_function(std::move(function)) {
        m_seen = Read();
        OrvaPath directory(m_path);
        directory.RemoveFileSpec();
        constexpr DWORD filter = FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_SIZE | FILE_NOTIFY_CHANGE_LAST_WRITE;
        m_registration = FileRegistration(directory, filter, *this);
        // The worker takes its messages in order, so the answer to this one, that there is no such directory, tells
        // that it watches the file's.
        m_begin = FileRegistration(directory / L"?" / L"?", filter, *this);
    }
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

    /// What the server answered.
    /// @return S_OK while the file is watched; E_FAIL once it is lost, or why it can't be watched
    HRESULT GetResult() const noexcept { return m_registration.GetResult(); }
    /// The file that is watched.
    /// @return its absolute path, as long as the watch lives
    const OrvaPath& GetPath() const noexcept { return m_path; }
    /// Looks at the file now, instead of at the next signal, and tells what changed.
    void Check() {
        const State now = Read();
        if (now == m_seen) return;
        const bool existed = std::exchange(m_seen, now).exists;
        m_function(!now.exists ? FileChange::Deleted : existed ? FileChange::Saved : FileChange::Created);
    }

private:
    struct State {
        bool exists = false;
        DWORD volume = 0;
        ULONGLONG index = 0;
        ULONGLONG size = 0;
        ULONGLONG lastWrite = 0;
        bool operator==(const State&) const = default;
    };
    struct Closer {
        using pointer = HANDLE;
        void operator()(HANDLE handle) const noexcept { ::CloseHandle(handle); }
    };

    static OrvaPath Absolute(OrvaPath path) {
        OrvaPath current;
        if (current.GetCurrentDirectory()) {
            path.MakeAbsolute(CString(current.GetText().GetString()), /*baseIsFile=*/false, /*tryNameOnly=*/false,
                              /*mustExist=*/false);
        }
        return path;
    }

    /// Asking for attributes alone is allowed whoever holds the file.
    State Read() const noexcept {
        State state;
        const HANDLE opened =
            ::CreateFileW(m_path, FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (opened == INVALID_HANDLE_VALUE) {
            // A file that can't be looked at is still the one that was seen; only one that is not there is gone.
            const DWORD error = ::GetLastError();
            return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? state : m_seen;
        }
        const std::unique_ptr<void, Closer> handle(opened);
        BY_HANDLE_FILE_INFORMATION information{};
        if (!::GetFileInformationByHandle(handle.get(), &information)) return m_seen;
        const auto whole = [](DWORD high, DWORD low) { return static_cast<ULONGLONG>(high) << 32 | low; };
        state.exists = true;
        state.volume = information.dwVolumeSerialNumber;
        state.index = whole(information.nFileIndexHigh, information.nFileIndexLow);
        state.size = whole(information.nFileSizeHigh, information.nFileSizeLow);
        state.lastWrite = whole(information.ftLastWriteTime.dwHighDateTime, information.ftLastWriteTime.dwLowDateTime);
        return state;
    }

    // Called whenever the directory signalled, whatever the reason.
    void OnFileNameChanged(OrvaFileEventCookie) override { Check(); }
    void OnError(OrvaFileEventCookie cookie, DWORD) override {
        if (cookie == m_begin.GetCookie()) {
            m_begin.Reset();
            Check(); // what happened before it was watched
            return;
        }
        m_begin.Reset();
        m_registration.Reset();
        m_function(FileChange::Lost);
    }

    OrvaPath m_path;
    Function m_function;
    State m_seen;
    FileRegistration m_registration; // these two last: they end before what their calls use
    FileRegistration m_begin;        ///< until the worker watches
};

} // namespace tarnu

#endif // TARNU_FILESYSTEM_FILEWATCH_H
