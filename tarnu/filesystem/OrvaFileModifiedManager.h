/// @file
/// OrvaFileModifiedManager: answers whether a file has changed since it was last asked about.
#ifndef TARNU_FILESYSTEM_ORVAFILEMODIFIEDMANAGER_H
#define TARNU_FILESYSTEM_ORVAFILEMODIFIEDMANAGER_H

#include "tarnu/filesystem/OrvaFileModifiedStatus.h"

/// Remembers, for the whole process, the last seen status of every file that was asked about.
///
/// Thread rule: the list is not locked; ask from one thread. Ownership: instances hold nothing, the list is shared by
/// all of them, lives for the process and only grows.
class TARNU_API OrvaFileModifiedManager {
public:
    OrvaFileModifiedManager() noexcept;
    virtual ~OrvaFileModifiedManager();

    /// Tells whether a file's last-modification time differs from the one seen by the previous call for it.
    ///
    /// Only the last-modification time counts, in whole seconds; a change of size or attributes alone does not. Files
    /// are known by their full name, compared without regard to case with @p path as given: ask with absolute paths.
    /// A relative path never equals a full name, so that every question about it answers true and is remembered anew.
    /// @param path the file; not kept
    /// @return true for the first question about a file, after a change, and (each time) for a file that cannot be
    ///         read, which is not remembered; also true when memory for remembering it runs out
    static bool IsFileModified(const wchar_t* path);

private:
    static CList<OrvaFileModifiedStatus, const OrvaFileModifiedStatus&> m_statuses;
};

#endif // TARNU_FILESYSTEM_ORVAFILEMODIFIEDMANAGER_H
