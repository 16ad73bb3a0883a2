/// @file
/// Copying and removing directory trees for careful callers: links stay links, every failure has a reason.
///
/// Beside the tree operations of OrvaFileOperations.h, these two
///  - copy and remove links (symbolic links, junctions) as links and never enter them, the root included;
///  - handle read-only files and folders, and paths of any length;
///  - retry, a bounded number of times, what somebody holds open;
///  - go on after a failure, and tell an error sink the path and the Win32 error code of every one;
///  - show progress on the progress meter, and stop when its poll asks for it, while the meter is enabled and has a
///    callback.
///
/// @code
/// OrvaTreeOptions options;
/// options.policy = OrvaTreePolicy::Newer;
/// options.onFailure = [](const wchar_t* path, DWORD error) { Log(path, error); };
/// if (OrvaCopyTree(L"C:\\job", L"D:\\backup\\job", options) != 0) …
/// @endcode
/// Thread rule: any thread; the error sink and the progress callback are called on the calling thread. Ownership:
/// everything is borrowed for the call.
#ifndef TARNU_FILES_ORVATREEOPERATIONS_H
#define TARNU_FILES_ORVATREEOPERATIONS_H

#include "tarnu/framework/framework.h"

#include <functional>

/// What happens to a file in the way of a file, or a link in the way of a link. Directories that are there are used as
/// they are; whatever else is in the way of another kind of entry is always a failure.
enum class OrvaTreePolicy : int {
    Fail,      ///< it stays, and counts as a failure (ERROR_FILE_EXISTS)
    Skip,      ///< it stays
    Overwrite, ///< it is replaced, also when it is read-only
    Newer      ///< it is replaced when the source was modified later, and stays otherwise
};

/// How to work on a tree.
struct OrvaTreeOptions {
    OrvaTreePolicy policy = OrvaTreePolicy::Fail; ///< copying only
    int sharingRetries = 3;                       ///< further tries on a sharing or lock violation; 0 and less: none
    DWORD retryDelay = 100;                       ///< milliseconds before each of them
    /// Called for every failure: the path concerned (for a copy the source; the destination when that is in the way)
    /// and the Win32 error code. A stop is reported once, with ERROR_CANCELLED. Must not throw.
    /// May be empty.
    std::function<void(const wchar_t* path, DWORD error)> onFailure;
};

/// What was done. A directory that had to stay because of a failure within it counts nowhere.
struct OrvaTreeCounts {
    ULONGLONG directories = 0; ///< created or removed
    ULONGLONG files = 0;       ///< copied or deleted
    ULONGLONG links = 0;       ///< copied or removed
    ULONGLONG skipped = 0;     ///< files and links that the policy left alone
    ULONGLONG failures = 0;    ///< the calls of the error sink, without the one for a stop
    bool stopped = false;      ///< the progress poll asked for it
};

/// Copies a directory tree. The destination and the directories above it are created; files keep their attributes and
/// times, new directories their attributes. A file is replaced by a complete copy or not at all.
/// @param source a directory, or a link, which is then copied as a link
/// @param destination the path of the copy
/// @param options policy, retries, error sink
/// @param counts receives what was done, also on failure; may be null
/// @return 1 on any failure and after a stop, otherwise 0. Nothing is done for a source that is missing
///         (ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND) or no directory (ERROR_DIRECTORY), and when one of the two lies
///         within the other, with links resolved (ERROR_CANNOT_COPY)
TARNU_API int OrvaCopyTree(const wchar_t* source, const wchar_t* destination, const OrvaTreeOptions& options = {},
                           OrvaTreeCounts* counts = nullptr);

/// Removes a directory tree. What can be removed is removed, also after a failure. A tree that contains the current
/// directory of any process can't be removed whole.
/// @param path a directory, or a link, of which only the link is removed
/// @param options retries and error sink; the policy has no effect here
/// @param counts receives what was done, also on failure; may be null
/// @return 1 on any failure and after a stop; 0 otherwise, also for a tree that does not exist
TARNU_API int OrvaRemoveTree(const wchar_t* path, const OrvaTreeOptions& options = {},
                             OrvaTreeCounts* counts = nullptr);

#endif // TARNU_FILES_ORVATREEOPERATIONS_H
