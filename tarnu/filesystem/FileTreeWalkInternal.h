/// @file
/// What the two file trees share: the walk over the files of a directory tree's directories.
#ifndef TARNU_FILESYSTEM_FILETREEWALKINTERNAL_H
#define TARNU_FILESYSTEM_FILETREEWALKINTERNAL_H

#include "tarnu/filesystem/OrvaBasicFileMatcher.h"
#include "tarnu/filesystem/WalkErrorInternal.h"

/// The operations of a file tree over its directory tree and its matcher. @c error keeps the first that ended a listing
/// of files before its end.
template <class Tree>
class FileTreeWalk {
public:
    static void Open(Tree& tree, OrvaBasicFileMatcher& files, const wchar_t* root, const wchar_t* pattern,
                     DWORD attributeFilter, DWORD& error) {
        constexpr DWORD directoriesOnly = 0x10;
        tree.Open(root, L"*", directoriesOnly);
        FindFirst(tree, files, pattern, attributeFilter, error);
    }

    static void Next(Tree& tree, OrvaBasicFileMatcher& files, const wchar_t* pattern, DWORD attributeFilter,
                     DWORD& error) {
        files.Next();
        if (files.IsFound()) return;
        tarnu::support::WalkError::Keep(error, files.m_error);
        tree.Next();
        FindFirst(tree, files, pattern, attributeFilter, error);
    }

    static OrvaPath& Join(OrvaPath& directory, const OrvaBasicFileMatcher& files) {
        OrvaPath name;
        directory.JoinInPlace(files.GetName(name));
        return directory;
    }

private:
    /// Goes on from the tree's current directory to the first one that has an entry.
    static void FindFirst(Tree& tree, OrvaBasicFileMatcher& files, const wchar_t* pattern, DWORD attributeFilter,
                          DWORD& error) {
        OrvaPath directory;
        for (; tree.IsFound(); tree.Next()) {
            if (!tree.CanEnter()) continue;
            files.Open(tree.GetPath(directory), pattern, attributeFilter);
            if (files.IsFound()) return;
            tarnu::support::WalkError::Keep(error, files.m_error);
        }
    }
};

#endif // TARNU_FILESYSTEM_FILETREEWALKINTERNAL_H
