/// @file
/// OrvaBFSDirectoryTree: all directories of a tree, breadth first.
#ifndef TARNU_FILESYSTEM_ORVABFSDIRECTORYTREE_H
#define TARNU_FILESYSTEM_ORVABFSDIRECTORYTREE_H

#include "tarnu/filesystem/OrvaBasicFileMatcher.h"

#include <deque>
#include <memory>

/// Walks the directories of a tree level by level, the root first (as the empty relative path, also when it does not
/// exist). The pattern chooses among the root's immediate subdirectories alone; those branches are walked whole. The
/// attribute filter has no effect: all directories are visited, hidden and system ones too. A directory link that leads
/// back to one of its own ancestors is reported but not entered. Threads and ownership as in OrvaFileMatch.
class TARNU_API OrvaBFSDirectoryTree : public OrvaFileMatch {
public:
    OrvaBFSDirectoryTree();
    ~OrvaBFSDirectoryTree() override;

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

    struct Directory {
        OrvaPath relative;
        bool canEnter;
    };

    bool CanEnter() const { return !m_queue.empty() && m_queue.front().canEnter; }
    void PushSubdirectories(const OrvaPath& directory, const OrvaPath& relative, const wchar_t* pattern);

    OrvaPath m_root;
    std::deque<Directory> m_queue;
    OrvaBasicFileMatcher m_matcher;
    DWORD m_attributeFilter = 0;
    DWORD m_error = 0;                                      ///< the first that ended a listing before its end
    std::unique_ptr<tarnu::support::FileListing> m_listing; ///< of the current directory, when a file tree wants it
};

#endif // TARNU_FILESYSTEM_ORVABFSDIRECTORYTREE_H
