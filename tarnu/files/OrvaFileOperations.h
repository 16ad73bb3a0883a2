/// @file
/// Operations on files and directory trees: create, copy, delete, move, test, read and write whole files.
///
/// Results of this family are error flags: 1 for failure, 0 for success, so that a caller can or them together
/// (OrvaMoveDirectoryTree: true for failure). The functions that answer a question return true for yes.
///
/// Nothing is thrown, nothing is shown. A null or empty path fails. The tree operations enter links to directories as
/// if they were directories; for links as links, policies and a reason for every failure see OrvaTreeOperations.h.
///
/// Thread rule: any thread, except that OrvaDeleteDirectoryTree may change the process's current directory. Ownership:
/// paths and buffers are borrowed for the call.
#ifndef TARNU_FILES_ORVAFILEOPERATIONS_H
#define TARNU_FILES_ORVAFILEOPERATIONS_H

#include "tarnu/framework/framework.h"

#include <cstddef>
#include <vector>

class OrvaFileMatch;

// Creating directories

/// Creates a directory and the directories above it. The last component is a directory even when it contains a point;
/// what exists is passed over, a file too. A failure does not end the work: the components below it are tried all the
/// same.
/// @param path the directory
/// @return 1 when a component could not be created, so also below a file, or is a device
TARNU_API int OrvaCreateDirectoryPath(const wchar_t* path);

/// Creates below @p destination every directory that a walk yields, by its path relative to the walk's root. A failure
/// does not end the walk. No directory is looked at twice.
/// @param directories an opened walk; stands at its end afterwards
/// @param destination the directory that stands for the walk's root; created
/// @return 1 when any directory could not be created, or could not be listed by the walk
TARNU_API int OrvaCreateDirectories(OrvaFileMatch& directories, const wchar_t* destination);

// Single files

/// Copies a file as CopyFileW does.
/// @param source the file
/// @param destination the path of the copy, not its directory
/// @param failIfExists nonzero: an existing destination is a failure; zero: it is overwritten
/// @return 1 on failure; the thread's last error tells why
TARNU_API int OrvaCopyFile(const wchar_t* source, const wchar_t* destination, int failIfExists);

/// Deletes a file, a read-only one too. When that fails, the attributes are put back.
/// @param path the file
/// @return 1 on failure, also for a file that does not exist; the thread's last error tells why
TARNU_API int OrvaDeleteFile(const wchar_t* path);

// Walks over files

/// Copies every file that a walk yields to its relative path below @p destination, whose directories must exist. The
/// first failure ends the walk.
/// @param files an opened walk; stands at its end, or at the file that failed
/// @param destination the directory that stands for the walk's root
/// @param failIfExists as for OrvaCopyFile
/// @return 1 when a file could not be copied, or a directory could not be listed by the walk
TARNU_API int OrvaCopyFiles(OrvaFileMatch& files, const wchar_t* destination, int failIfExists);

/// Deletes every file that a walk yields; failures do not end the walk.
/// @param files an opened walk; stands at its end afterwards
/// @return 1 when any file could not be deleted, or any directory could not be listed by the walk
TARNU_API int OrvaDeleteFiles(OrvaFileMatch& files);

// Directory trees

/// Copies a directory tree: first all directories, then the files, level by level. Nothing is copied unless every
/// directory could be created, and the first file that can't be copied ends the work. A directory that can't be listed
/// does not, but counts as a failure.
/// @param source a directory
/// @param destination the path of the copy; created
/// @param failIfExists as for OrvaCopyFile
/// @return 1 on failure; also, before anything is done, for a source that is missing or no directory, for a
///         destination that is a file or a device, and when one of the two lies within the other
TARNU_API int OrvaCopyDirectoryTree(const wchar_t* source, const wchar_t* destination, int failIfExists);

/// Deletes a directory tree. What can be deleted is deleted, also after a failure.
///
/// A current directory within the tree is first moved to the tree's parent. So is one beside it whose name merely
/// begins with the tree's name: deleting `C:\job` moves a process out of `C:\job2` too.
/// @param path the tree's root
/// @return 1 when any directory is left; 0 for a tree that does not exist (not for one that can't be looked at)
TARNU_API int OrvaDeleteDirectoryTree(const wchar_t* path);

/// Copies a tree and deletes the source. When the copy fails the source stays complete; what was copied stays too.
/// @param source a directory
/// @param destination where it goes; created
/// @param failIfExists as for OrvaCopyFile
/// @return true on failure
TARNU_API bool OrvaMoveDirectoryTree(const wchar_t* source, const wchar_t* destination, int failIfExists);

// Whole files

/// Tells whether a file or directory of this path exists. Files that somebody holds exclusively are found. Wildcards
/// are no part of a name: a path that contains them does not exist, and neither do devices ("NUL").
/// @param path absolute, or relative to the current directory
/// @return whether it exists
TARNU_API bool OrvaFileExists(const wchar_t* path);

/// Makes sure that a directory exists, with the directories above it, as the shell does. A relative path starts at the
/// current directory.
/// @param path the directory
/// @return 1 on failure, also when the path is a file or too long (248 characters)
TARNU_API int OrvaEnsureDirectory(const wchar_t* path);

/// Replaces the contents of a file, or creates it. The new contents go to a temporary file beside the target that then
/// takes the target's name, so a failure at any point leaves the old contents; hidden and system attributes stay. The
/// directory must exist.
/// @param path the file
/// @param data @p size bytes; may be null when that is 0
/// @param size bytes at @p data
/// @return 1 on failure, also for a read-only target, a directory and a device; the thread's last error tells why
TARNU_API int OrvaWriteFile(const wchar_t* path, const void* data, std::size_t size);

/// Reads the whole contents of a file, which may be open for writing elsewhere.
/// @param contents receives the bytes; unchanged on failure
/// @param path the file
/// @return 1 on failure, also for a directory, a device and a file that memory can't hold; the thread's last error
///         tells why
TARNU_API int OrvaReadFile(const wchar_t* path, std::vector<unsigned char>& contents);

/// The path from a directory to a file or directory. It is `.\x.txt` or `..\other`, for example, and `.` for the
/// directory itself. Both are made absolute first; case is ignored and no file is looked at.
/// @param directory where to start; a trailing separator makes no difference
/// @param path where to arrive
/// @param relative receives the path, without a trailing separator; unchanged on failure
/// @return false when there is no relative path (other drive), or when one of the three needs more than 260 characters
///         with the terminator
TARNU_API bool OrvaGetRelativePath(const wchar_t* directory, const wchar_t* path, CString& relative);

#endif // TARNU_FILES_ORVAFILEOPERATIONS_H
