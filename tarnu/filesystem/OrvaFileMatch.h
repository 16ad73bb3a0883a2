/// @file
/// OrvaFileMatch: the interface of every walk over file-system entries, and the attribute filter.
#ifndef TARNU_FILESYSTEM_ORVAFILEMATCH_H
#define TARNU_FILESYSTEM_ORVAFILEMATCH_H

#include "tarnu/framework/framework.h"
#include "tarnu/paths/OrvaPath.h"

namespace tarnu::support {
class WalkError;
}

/// A walk over file-system entries: open it, then read the current entry and advance while one is found.
/// ~~~
/// OrvaBFSFileTree files;
/// for (files.Open(root, L"*.xml", 0x20); files.IsFound(); files.Next()) Load(files.GetPath(path));
/// ~~~
/// No operation reports an error: a directory that is missing or can't be read has no entries. (The operations of
/// OrvaFileOperations.h that take a walk know when that has happened.) Next does nothing once
/// no entry is found. Running out of memory throws std::bad_alloc; the walk is then best closed.
///
/// Threads: an object belongs to one thread at a time; distinct objects are independent.
/// Ownership: the search handles are the walk's own; Close and the destructor release them. Paths are copied out.
class TARNU_API OrvaFileMatch {
public:
    /// Ends the walk: releases all handles, empties all texts. The object can be opened again.
    virtual void Close() = 0;
    /// Closes, then starts a walk and stands on its first entry.
    /// @param directory where to start; null counts as the empty text
    /// @param pattern wildcard pattern by the system's own rules (short 8.3 names match too); null counts as empty
    /// @param attributeFilter see OrvaMatchFileAttributes
    virtual void Open(const wchar_t* directory, const wchar_t* pattern, DWORD attributeFilter) = 0;
    /// Moves on to the next entry.
    virtual void Next() = 0;
    /// Whether the walk stands on an entry.
    /// @return 0 behind the last one, and before Open
    virtual BOOL IsFound() const = 0;
    /// The full path of the current entry.
    /// @param path receives it
    /// @return @p path
    virtual OrvaPath& GetPath(OrvaPath& path) const = 0;
    /// The current entry's name; for a tree its path relative to the root.
    /// @param name receives it
    /// @return @p name
    virtual OrvaPath& GetName(OrvaPath& name) const = 0;
    /// The directory given to Open.
    /// @param directory receives it
    /// @return @p directory
    virtual OrvaPath& GetDirectory(OrvaPath& directory) const = 0;

    virtual ~OrvaFileMatch();

    OrvaFileMatch(const OrvaFileMatch&) = delete;
    OrvaFileMatch& operator=(const OrvaFileMatch&) = delete;

protected:
    OrvaFileMatch() = default;
};

/// Tests file attributes against an attribute filter.
///
/// The low 16 bits of a filter are eight fields of two bits: ARCHIVE (bits 0-1), COMPRESSED (2-3), DIRECTORY (4-5),
/// HIDDEN (6-7), NORMAL (8-9), READONLY (10-11), SYSTEM (12-13), TEMPORARY (14-15). A field is 0 for either way, 1 for
/// set, 2 for clear; 3 matches nothing. The upper bits are ignored. 0 accepts everything, 0x10 directories, 0x20
/// everything else, 0x2090 directories that are neither hidden nor system.
/// @param attributeFilter the filter
/// @param attributes FILE_ATTRIBUTE_ bits
/// @return 1 when every field accepts the attributes, otherwise 0
TARNU_API BOOL OrvaMatchFileAttributes(DWORD attributeFilter, DWORD attributes);

#endif // TARNU_FILESYSTEM_ORVAFILEMATCH_H
