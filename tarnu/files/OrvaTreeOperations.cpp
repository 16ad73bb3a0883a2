#include "tarnu/files/OrvaTreeOperations.h"

#include "tarnu/files/LinkInternal.h"
#include "tarnu/files/PathFactsInternal.h"
#include "tarnu/files/ReplacementInternal.h"
#include "tarnu/frame/OrvaProgress.h"
#include "tarnu/support/Owners.h"

#include <algorithm>
#include <climits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using tarnu::support::CopyLink;
using tarnu::support::DisplayPath;
using tarnu::support::ExtendedPath;
using tarnu::support::FullPath;
using tarnu::support::HasWildcards;
using tarnu::support::IsBlank;
using tarnu::support::IsDevice;
using tarnu::support::IsExtendedRoot;
using tarnu::support::RemoveLink;
using tarnu::support::Replacement;
using tarnu::support::TreesOverlap;
using tarnu::support::UniqueFindHandle;

/// One entry of a listing.
struct Entry {
    std::wstring name;
    DWORD attributes = 0;
    DWORD tag = 0;
    FILETIME lastWrite{};

    bool IsDirectory() const noexcept { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
    bool IsReadOnly() const noexcept { return (attributes & FILE_ATTRIBUTE_READONLY) != 0; }
    bool IsLink() const noexcept { return tarnu::support::IsLink(attributes, tag); }
};

Entry EntryOf(const WIN32_FIND_DATAW& data) {
    return {data.cFileName, data.dwFileAttributes, data.dwReserved0, data.ftLastWriteTime};
}

/// The last error after a failure: never 0, so that a failure never reads as success.
DWORD LastFailure() noexcept {
    const DWORD error = ::GetLastError();
    return error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE;
}

/// Reads one entry as a listing of its directory would: a link as the link.
DWORD Look(const std::wstring& path, Entry& entry) {
    WIN32_FIND_DATAW data;
    if (UniqueFindHandle(::FindFirstFileW(path.c_str(), &data))) {
        entry = EntryOf(data);
        return ERROR_SUCCESS;
    }
    const DWORD error = LastFailure();
    // A root is in no listing. Anything else is not looked at in this way, which would take a link for its target.
    if (!IsExtendedRoot(path)) return error;
    entry.attributes = ::GetFileAttributesW((path + L'\\').c_str());
    return entry.attributes != INVALID_FILE_ATTRIBUTES ? ERROR_SUCCESS : error;
}

/// Reads a whole directory at once: its handle is closed before anything in it is touched.
DWORD List(const std::wstring& directory, std::vector<Entry>& entries) {
    entries.clear();
    WIN32_FIND_DATAW data;
    const UniqueFindHandle find(::FindFirstFileExW((directory + L"\\*").c_str(), FindExInfoBasic, &data,
                                                   FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH));
    if (!find) {
        const DWORD error = LastFailure();
        return error == ERROR_FILE_NOT_FOUND ? DWORD{ERROR_SUCCESS} : error; // an empty root has not even dots
    }
    do {
        const std::wstring_view name(data.cFileName);
        if (name != L"." && name != L"..") entries.push_back(EntryOf(data));
    } while (::FindNextFileW(find.Get(), &data));
    const DWORD error = LastFailure();
    return error == ERROR_NO_MORE_FILES ? DWORD{ERROR_SUCCESS} : error;
}

/// The root of a tree in the form the work is done in: of any length, without a trailing separator.
/// @return a Win32 error code, 0 for success; ERROR_INVALID_NAME for what can't be the name of a directory
DWORD MakeRootPath(const wchar_t* path, std::wstring& root) {
    const std::wstring full = FullPath(path);
    if (full.empty()) return LastFailure();
    root = ExtendedPath(full);
    if (IsDevice(root) || HasWildcards(root)) return ERROR_INVALID_NAME;
    while (!root.empty() && root.back() == L'\\')
        root.pop_back();
    return root.empty() ? DWORD{ERROR_INVALID_NAME} : DWORD{ERROR_SUCCESS};
}

/// What copying and removing have in common: counting, reporting, retrying, progress.
class TreeWork {
public:
    TreeWork(const OrvaTreeOptions& options, OrvaTreeCounts& counts) noexcept : m_options(options), m_counts(counts) {}
    ~TreeWork() {
        if (m_begun) OrvaEndProgress();
    }
    TreeWork(const TreeWork&) = delete;
    TreeWork& operator=(const TreeWork&) = delete;

    int Flag() const noexcept { return m_counts.failures != 0 || m_counts.stopped ? 1 : 0; }

    void Fail(const std::wstring& path, DWORD error) {
        ++m_counts.failures;
        Report(path, error);
    }

protected:
    static bool IsMeterOn() noexcept { return OrvaProgressCallback != nullptr && OrvaIsProgressEnabled(); }

    /// Begins the progress of a tree, whose entries are counted for that. Costs nothing while the meter is off.
    void BeginProgress(const std::wstring& root) {
        if (!IsMeterOn()) return;
        const int total = CountEntries(root);
        OrvaBeginProgress(DisplayPath(root).c_str(), /*value=*/total, /*count=*/total);
        m_begun = true;
    }

    /// Announces the next entry; false when the work is to stop.
    bool Step(const std::wstring& path) {
        if (!IsMeterOn()) return !m_counts.stopped;
        OrvaProgressText(DisplayPath(path).c_str());
        if (m_position < INT_MAX) ++m_position;
        OrvaSetProgressPosition(m_position);
        return !Stops(path);
    }

    /// Polls, and takes note of the answer.
    bool Stops(const std::wstring& path) {
        if (!m_counts.stopped && IsMeterOn() && OrvaPollProgress()) {
            m_counts.stopped = true;
            Report(path, ERROR_CANCELLED);
        }
        return m_counts.stopped;
    }

    /// Tries an operation, and again while somebody else holds what it needs.
    /// @return its Win32 error code, 0 for success
    template <class Operation>
    DWORD Try(const std::wstring& path, Operation operation) {
        for (int retries = m_options.sharingRetries;; --retries) {
            if (operation()) return ERROR_SUCCESS;
            const DWORD error = LastFailure();
            const bool isBusy = error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION;
            if (!isBusy || retries <= 0 || Stops(path)) return error;
            ::Sleep(m_options.retryDelay);
        }
    }

    const OrvaTreeOptions& m_options;
    OrvaTreeCounts& m_counts;

private:
    void Report(const std::wstring& path, DWORD error) const {
        if (m_options.onFailure) m_options.onFailure(DisplayPath(path).c_str(), error);
    }

    /// Entries that the work will step over. What can't be listed is left out: the work itself reports it.
    static int CountEntries(const std::wstring& root) {
        std::vector<std::wstring> pending{root};
        std::vector<Entry> entries;
        std::size_t total = 0;
        while (!pending.empty()) {
            const std::wstring directory = std::move(pending.back());
            pending.pop_back();
            List(directory, entries);
            total += entries.size();
            for (const Entry& entry : entries) {
                if (entry.IsDirectory() && !entry.IsLink()) pending.push_back(directory + L'\\' + entry.name);
            }
        }
        return static_cast<int>(std::min<std::size_t>(total, INT_MAX));
    }

    int m_position = 0;
    bool m_begun = false;
};

/// Copies a tree, depth first, on a stack of its own: a tree may be deeper than the thread's stack.
class TreeCopy : public TreeWork {
public:
    using TreeWork::TreeWork;

    void Run(const std::wstring& source, const std::wstring& destination) {
        m_source = source;
        m_destination = destination;
        Entry root;
        if (const DWORD error = Look(source, root); error != ERROR_SUCCESS) return Fail(source, error);
        if (root.IsLink()) {
            if (const DWORD error = MakeParent(destination); error != ERROR_SUCCESS) return Fail(destination, error);
            return CopyOneLink(root);
        }
        if (!root.IsDirectory()) return Fail(source, ERROR_DIRECTORY);
        if (TreesOverlap(source.c_str(), destination.c_str())) return Fail(destination, ERROR_CANNOT_COPY);

        BeginProgress(source);
        Enter(root, /*isRoot=*/true);
        while (!m_levels.empty() && !m_counts.stopped) {
            if (m_levels.back().next == m_levels.back().entries.size()) {
                Leave();
                continue;
            }
            const Entry& entry = m_levels.back().entries[m_levels.back().next++];
            const std::size_t sourceLength = m_source.size();
            const std::size_t destinationLength = m_destination.size();
            m_source.append(L"\\").append(entry.name);
            m_destination.append(L"\\").append(entry.name);
            if (!Step(m_source)) break;
            if (entry.IsDirectory() && !entry.IsLink()) {
                if (Enter(entry, /*isRoot=*/false)) continue; // Leave takes the name off again
            } else if (entry.IsLink()) {
                CopyOneLink(entry);
            } else {
                CopyOneFile(entry);
            }
            m_source.resize(sourceLength);
            m_destination.resize(destinationLength);
        }
    }

private:
    struct Level {
        std::vector<Entry> entries;
        std::size_t next = 0;
        DWORD attributes = 0; ///< to be given to the new directory when it is complete; 0 for none
    };

    static std::size_t LastSeparator(const std::wstring& path) noexcept { return path.find_last_of(L'\\'); }

    /// Creates the directories above a path.
    static DWORD MakeParent(const std::wstring& path) {
        // Upwards until one is there or can be created, then down again.
        std::vector<std::size_t> missing;
        for (std::size_t end = LastSeparator(path);;) {
            constexpr std::size_t prefix = 4; // of the extended form
            if (end == std::wstring::npos || end <= prefix) return ERROR_PATH_NOT_FOUND;
            const DWORD error = MakeDirectory(path.substr(0, end));
            if (error == ERROR_SUCCESS || error == ERROR_ALREADY_EXISTS) break;
            if (error != ERROR_PATH_NOT_FOUND) return IsRoot(path.substr(0, end)) ? DWORD{ERROR_SUCCESS} : error;
            missing.push_back(end);
            end = path.find_last_of(L'\\', end - 1);
        }
        for (auto end = missing.rbegin(); end != missing.rend(); ++end) {
            if (const DWORD error = MakeDirectory(path.substr(0, *end)); error != ERROR_SUCCESS) return error;
        }
        return ERROR_SUCCESS;
    }
    static DWORD MakeDirectory(const std::wstring& path) {
        return ::CreateDirectoryW(path.c_str(), nullptr) ? DWORD{ERROR_SUCCESS} : LastFailure();
    }
    /// Creating the root of a drive or share fails in several ways although it is there.
    static bool IsRoot(const std::wstring& path) {
        const DWORD attributes = ::GetFileAttributesW((path + L'\\').c_str());
        return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    }

    /// Makes the destination's directory and lists the source's; false when there is nothing to be done in it.
    bool Enter(const Entry& directory, bool isRoot) {
        DWORD error = MakeDirectory(m_destination);
        if (isRoot && error == ERROR_PATH_NOT_FOUND) {
            error = MakeParent(m_destination);
            if (error == ERROR_SUCCESS) error = MakeDirectory(m_destination);
        }
        const bool isNew = error == ERROR_SUCCESS;
        if (!isNew && !CanUse(m_destination, isRoot)) {
            Fail(m_destination, error == ERROR_ALREADY_EXISTS ? DWORD{ERROR_DIRECTORY} : error);
            return false;
        }
        if (isNew) ++m_counts.directories;

        Level level;
        error = List(m_source, level.entries);
        if (error != ERROR_SUCCESS) Fail(m_source, error); // what was listed is copied all the same
        constexpr DWORD kept = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                               FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
        if (isNew) level.attributes = directory.attributes & kept;
        m_levels.push_back(std::move(level));
        return true;
    }

    /// An existing directory can be filled. A link to one is not entered, unless the caller named it as the root.
    static bool CanUse(const std::wstring& path, bool isRoot) {
        Entry there;
        return Look(path, there) == ERROR_SUCCESS && there.IsDirectory() && (isRoot || !there.IsLink());
    }

    void Leave() {
        const DWORD attributes = m_levels.back().attributes;
        if (attributes != 0 && !::SetFileAttributesW(m_destination.c_str(), attributes)) {
            Fail(m_destination, LastFailure());
        }
        m_levels.pop_back();
        if (m_levels.empty()) return;
        m_source.resize(LastSeparator(m_source));
        m_destination.resize(LastSeparator(m_destination));
    }

    void CopyOneFile(const Entry& file) {
        const auto copyTo = [this](const wchar_t* destination) {
            return ::CopyFileExW(m_source.c_str(), destination, IsMeterOn() ? &OnCopied : nullptr, this,
                                 /*pbCancel=*/nullptr, COPY_FILE_FAIL_IF_EXISTS) != FALSE;
        };
        Finish(file, m_counts.files, copyTo);
    }

    void CopyOneLink(const Entry& link) {
        Finish(link, m_counts.links, [this, &link](const wchar_t* destination) {
            return CopyLink(m_source.c_str(), link.attributes, destination);
        });
    }

    /// Copies a file or a link by @p copyTo, which fails when its destination exists, and handles what is in the way.
    template <class Copy>
    void Finish(const Entry& entry, ULONGLONG& count, Copy copyTo) {
        DWORD error = Try(m_source, [&] { return copyTo(m_destination.c_str()); });
        if (error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS) {
            Entry there;
            if (const DWORD failure = Look(m_destination, there); failure != ERROR_SUCCESS) {
                return Fail(m_destination, failure);
            }
            // Like replaces like: a directory is never in the way of a file, nor a file in the way of a link.
            const bool isReplaceable = there.IsLink() == entry.IsLink() && there.IsDirectory() == entry.IsDirectory();
            if (m_options.policy == OrvaTreePolicy::Fail || !isReplaceable) {
                return Fail(m_destination, ERROR_FILE_EXISTS);
            }
            const bool isLater = ::CompareFileTime(&entry.lastWrite, &there.lastWrite) > 0;
            if (m_options.policy == OrvaTreePolicy::Skip || (m_options.policy == OrvaTreePolicy::Newer && !isLater)) {
                ++m_counts.skipped;
                return;
            }
            error = Replace(there, copyTo);
        }
        if (error == ERROR_SUCCESS) {
            ++count;
        } else if (!m_counts.stopped) { // a stop in the midst of it has been reported as such
            Fail(m_source, error);
        }
    }

    /// Copies under a temporary name first, so that a failure leaves what was there.
    template <class Copy>
    DWORD Replace(const Entry& there, Copy copyTo) {
        Replacement replacement(m_destination);
        DWORD error = Try(m_source, [&] { return replacement.Make(copyTo); });
        if (error != ERROR_SUCCESS) return error;
        if (there.IsLink() && there.IsDirectory() && !RemoveLink(m_destination.c_str(), there.attributes)) {
            return LastFailure(); // renaming replaces files only
        }
        if (there.IsReadOnly()) {
            ::SetFileAttributesW(m_destination.c_str(), there.attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
        }
        error = Try(m_source, [&] { return replacement.TakePlace(/*throughCache=*/true); });
        if (error != ERROR_SUCCESS && there.IsReadOnly()) {
            ::SetFileAttributesW(m_destination.c_str(), there.attributes);
        }
        return error;
    }

    /// Polls during a long copy, some ten times a second. Wine does not call it.
    static DWORD CALLBACK OnCopied(LARGE_INTEGER, LARGE_INTEGER, LARGE_INTEGER, LARGE_INTEGER, DWORD, DWORD, HANDLE,
                                   HANDLE, void* context) {
        constexpr DWORD interval = 100;
        if (::GetTickCount() - OrvaProgressPollTime < interval) return PROGRESS_CONTINUE;
        auto* copy = static_cast<TreeCopy*>(context);
        return copy->Stops(copy->m_source) ? PROGRESS_CANCEL : PROGRESS_CONTINUE;
    }

    std::wstring m_source;      ///< the entry at hand
    std::wstring m_destination; ///< its place in the copy
    std::vector<Level> m_levels;
};

/// Removes a tree, depth first, on a stack of its own.
class TreeRemoval : public TreeWork {
public:
    using TreeWork::TreeWork;

    void Run(const std::wstring& path) {
        m_path = path;
        Entry root;
        if (const DWORD error = Look(path, root); error != ERROR_SUCCESS) {
            if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) Fail(path, error);
            return;
        }
        if (root.IsLink()) {
            RemoveOne(root, m_counts.links);
            return;
        }
        if (!root.IsDirectory()) return Fail(path, ERROR_DIRECTORY);

        BeginProgress(path);
        Enter(root);
        while (!m_levels.empty() && !m_counts.stopped) {
            Level& level = m_levels.back();
            if (level.next == level.entries.size()) {
                Leave();
                continue;
            }
            const Entry& entry = level.entries[level.next++];
            const std::size_t length = m_path.size();
            m_path.append(L"\\").append(entry.name);
            if (!Step(m_path)) break;
            if (entry.IsDirectory() && !entry.IsLink()) {
                Enter(entry);
                continue; // Leave takes the name off again
            }
            if (!RemoveOne(entry, entry.IsLink() ? m_counts.links : m_counts.files)) level.isComplete = false;
            m_path.resize(length);
        }
    }

private:
    struct Level {
        Entry directory;
        std::vector<Entry> entries;
        std::size_t next = 0;
        bool isComplete = true; ///< everything in it so far is gone
    };

    void Enter(const Entry& directory) {
        Level level;
        level.directory = directory;
        const DWORD error = List(m_path, level.entries);
        if (error != ERROR_SUCCESS) {
            Fail(m_path, error);
            level.isComplete = false; // what was listed goes all the same
        }
        m_levels.push_back(std::move(level));
    }

    void Leave() {
        const Level level = std::move(m_levels.back());
        m_levels.pop_back();
        const bool isGone = level.isComplete && RemoveOne(level.directory, m_counts.directories);
        if (m_levels.empty()) return;
        if (!isGone) m_levels.back().isComplete = false;
        m_path.resize(m_path.find_last_of(L'\\'));
    }

    /// Removes the file, the link or the empty directory at m_path, read-only or not.
    bool RemoveOne(const Entry& entry, ULONGLONG& count) {
        if (entry.IsReadOnly()) {
            ::SetFileAttributesW(m_path.c_str(), entry.attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
        }
        const DWORD error = Try(m_path, [&] {
            if (entry.IsLink()) return RemoveLink(m_path.c_str(), entry.attributes);
            return (entry.IsDirectory() ? ::RemoveDirectoryW(m_path.c_str()) : ::DeleteFileW(m_path.c_str())) != FALSE;
        });
        if (error == ERROR_SUCCESS) {
            ++count;
            return true;
        }
        if (entry.IsReadOnly()) ::SetFileAttributesW(m_path.c_str(), entry.attributes);
        if (!m_counts.stopped) Fail(m_path, error); // a stop between two tries has been reported as such
        return false;
    }

    std::wstring m_path; ///< the entry at hand
    std::vector<Level> m_levels;
};

/// Runs work on a tree; running out of memory is a failure of the tree's root.
template <class Work, class Run>
int RunWork(const OrvaTreeOptions& options, OrvaTreeCounts* counts, const wchar_t* root, Run run) noexcept {
    OrvaTreeCounts own;
    OrvaTreeCounts& result = counts != nullptr ? *counts : own;
    result = {};
    try {
        Work work(options, result);
        run(work);
        return work.Flag();
    } catch (...) {
        ++result.failures;
        if (options.onFailure) {
            try {
                options.onFailure(root != nullptr ? root : L"", ERROR_NOT_ENOUGH_MEMORY);
            } catch (...) { // the flag says it all the same
            }
        }
        return 1;
    }
}

} // namespace

int OrvaCopyTree(const wchar_t* source, const wchar_t* destination, const OrvaTreeOptions& options,
                 OrvaTreeCounts* counts) {
    return RunWork<TreeCopy>(options, counts, source, [source, destination](TreeCopy& work) {
        if (IsBlank(source) || IsBlank(destination)) return work.Fail(L"", ERROR_INVALID_NAME);
        std::wstring from;
        std::wstring to;
        if (const DWORD error = MakeRootPath(source, from); error != ERROR_SUCCESS) return work.Fail(source, error);
        if (const DWORD error = MakeRootPath(destination, to); error != ERROR_SUCCESS) {
            return work.Fail(destination, error);
        }
        work.Run(from, to);
    });
}

int OrvaRemoveTree(const wchar_t* path, const OrvaTreeOptions& options, OrvaTreeCounts* counts) {
    return RunWork<TreeRemoval>(options, counts, path, [path](TreeRemoval& work) {
        if (IsBlank(path)) return work.Fail(L"", ERROR_INVALID_NAME);
        std::wstring root;
        if (const DWORD error = MakeRootPath(path, root); error != ERROR_SUCCESS) return work.Fail(path, error);
        work.Run(root);
    });
}
