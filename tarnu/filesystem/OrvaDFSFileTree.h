/// @file
/// OrvaDFSFileTree: all files of a tree, depth first.
#ifndef TARNU_FILESYSTEM_ORVADFSFILETREE_H
#define TARNU_FILESYSTEM_ORVADFSFILETREE_H

#include "tarnu/filesystem/OrvaDFSDirectoryTree.h"

/// Walks the entries of a whole tree that match a pattern and an attribute filter: those of each directory behind the
/// files of all its subdirectories, the root's last. Within one directory they come in the order in which the system
/// lists them. Every directory is visited, whatever the pattern; a filter that admits directories reports them too,
/// never "." or "..". A directory link that leads back to one of its own ancestors is not entered. Threads and
/// ownership as in OrvaFileMatch.
class TARNU_API OrvaDFSFileTree : public OrvaFileMatch {
public:
    OrvaDFSFileTree();
    ~OrvaDFSFileTree() override;

    void Close() override;
    void Open(const wchar_t* root, const wchar_t* pattern, DWORD attributeFilter) override;
    void Next() override;
    BOOL IsFound() const override;
    OrvaPath& GetPath(OrvaPath& path) const override;
    OrvaPath& GetName(OrvaPath& name) const override;
    OrvaPath& GetDirectory(OrvaPath& directory) const override;

    /// @return the record of the current entry, with sizes and times. It belongs to the tree and is valid as long as
    ///         that lives.
    const WIN32_FIND_DATAW* GetFindData() const { return m_matcher.GetFindData(); }

private:
    friend class tarnu::support::WalkError;

    OrvaDFSDirectoryTree m_tree;
    OrvaBasicFileMatcher m_matcher; ///< the files of the tree's current directory
    OrvaPath m_pattern;
    DWORD m_attributeFilter = 0;
    DWORD m_error = 0; ///< the first that ended a listing of files before its end
};

#endif // TARNU_FILESYSTEM_ORVADFSFILETREE_H
