/// @file
/// OrvaDFSDirectoryTree: all directories of a tree, depth first, the root last.
#ifndef TARNU_FILESYSTEM_ORVADFSDIRECTORYTREE_H
#define TARNU_FILESYSTEM_ORVADFSDIRECTORYTREE_H

#include "tarnu/filesystem/OrvaBasicFileMatcher.h"

#include <memory>

/// Walks the directories of a tree so that every directory comes behind all of its subdirectories, the root last (as
/// the empty relative path, also when it does not exist). The pattern applies at every level. The attribute filter has
/// no effect: all directories are visited, hidden and system ones too. A directory link that leads back to one of its
/// own ancestors is reported but not entered. One search handle is open for each level of the current branch. Threads
/// and ownership as in OrvaFileMatch.
class TARNU_API OrvaDFSDirectoryTree : public OrvaFileMatch {
public:
    OrvaDFSDirectoryTree();
    ~OrvaDFSDirectoryTree() override;

    void Close() override;
    void Open(const wchar_t* root, const wchar_t* pattern, DWORD attributeFilter) override;
    void Next() override;
    BOOL IsFound() const override;
    OrvaPath& GetPath(OrvaPath& path) const override;
    OrvaPath& GetName(OrvaPath& name) const override;
    OrvaPath& GetDirectory(OrvaPath& directory) const override;

private:
    template <class Tree>
    friend class FileTreeWalk; // asks CanEnter, and has a listing kept
    friend class tarnu::support::WalkError;

    bool CanEnter() const { return m_canEnter; }
    void Descend();

    OrvaPath m_root;
    /// One per level of the current branch, root level first; owned.
    CList<OrvaBasicFileMatcher*, OrvaBasicFileMatcher*> m_stack{/*blockSize=*/10};
    DWORD m_attributeFilter = 0;
    DWORD m_error = 0; ///< the first that ended a listing before its end
    CString m_pattern;
    bool m_canEnter = true; ///< false while the walk stands on a link back to an ancestor
    std::unique_ptr<tarnu::support::FileListing> m_listing; ///< of the current directory, when a file tree wants it
};

#endif // TARNU_FILESYSTEM_ORVADFSDIRECTORYTREE_H
