/// @file
/// OrvaBasicFileMatcher: the entries of one directory.
#ifndef TARNU_FILESYSTEM_ORVABASICFILEMATCHER_H
#define TARNU_FILESYSTEM_ORVABASICFILEMATCHER_H

#include "tarnu/filesystem/OrvaFileMatch.h"

namespace tarnu::support {
class FileListing;
}

/// Lists the entries of one directory that match a pattern and an attribute filter, in the order in which the system
/// returns them. A junction or a link to a directory counts as a directory. Threads and ownership as in OrvaFileMatch.
class TARNU_API OrvaBasicFileMatcher : public OrvaFileMatch {
public:
    OrvaBasicFileMatcher();
    ~OrvaBasicFileMatcher() override;

    void Close() override;
    void Open(const wchar_t* directory, const wchar_t* pattern, DWORD attributeFilter) override;
    void Next() override;
    BOOL IsFound() const override;
    /// The directory joined with the current entry's name.
    /// @param path receives it; the bare directory when none is found
    /// @return @p path
    OrvaPath& GetPath(OrvaPath& path) const override;
    /// The current entry's name.
    /// @param name receives it; empty when none is found
    /// @return @p name
    OrvaPath& GetName(OrvaPath& name) const override;
    OrvaPath& GetDirectory(OrvaPath& directory) const override;

    /// Whether "." and ".." are passed over (nonzero, as constructed) or reported when they pass the filter (0).
    /// The setting survives Close.
    /// @param skipDots nonzero or 0
    void SetSkipDots(DWORD skipDots);
    /// The setting of SetSkipDots.
    /// @return as it was given; 1 from the start
    DWORD GetSkipDots() const;

    /// The record of the current entry, with sizes and times; zero-filled before the first.
    /// @return a record that belongs to the matcher and is valid as long as that lives
    const WIN32_FIND_DATAW* GetFindData() const;
    /// The same, for functions that take the record without const. The next entry is read into it.
    /// @return a record that belongs to the matcher and is valid as long as that lives
    WIN32_FIND_DATAW* GetFindData() { return &m_findData; }

private:
    friend class OrvaBFSDirectoryTree; // keeps what it lists, and the error of each directory
    friend class OrvaDFSDirectoryTree; // so does this, which also stands on directories that it does not list
    template <class Tree>
    friend class FileTreeWalk; // reads what the tree has kept
    friend class tarnu::support::WalkError;

    void Examine(BOOL hasEntry);

    OrvaPath m_directory;
    OrvaPath m_pattern;
    DWORD m_attributeFilter = 0;
    BOOL m_isFound = FALSE;
    HANDLE m_find = INVALID_HANDLE_VALUE;
    WIN32_FIND_DATAW m_findData{};
    DWORD m_skipDots = 1;
    DWORD m_error = 0;                               ///< what ended the listing before its end
    tarnu::support::FileListing* m_kept = nullptr;   ///< receives all entries as they are listed; borrowed
    tarnu::support::FileListing* m_source = nullptr; ///< where entries come from instead of the system; borrowed
};

#endif // TARNU_FILESYSTEM_ORVABASICFILEMATCHER_H
