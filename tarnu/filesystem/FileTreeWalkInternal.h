/// @file
/// What the two file trees share: the walk over the files of a directory tree's directories.
#ifndef TARNU_FILESYSTEM_FILETREEWALKINTERNAL_H
#define TARNU_FILESYSTEM_FILETREEWALKINTERNAL_H

#include "tarnu/filesystem/OrvaBasicFileMatcher.h"

/// The operations of a file tree over its directory tree and its matcher.
template <class Tree>
class FileTreeWalk {
public:
    static void Open(Tree& tree, OrvaBasicFileMatcher& files, const wchar_t* root, const wchar_t* pattern,
                     DWORD attributeFilter) {
        constexpr DWORD directoriesOnly = 0x10;
        tree.Open(root, L"*", directoriesOnly);
        FindFirst(tree, files, pattern, attributeFilter);
    }

    static void Next(Tree& tree, OrvaBasicFileMatcher& files, const wchar_t* pattern, DWORD attributeFilter) {
        files.Next();
        if (files.IsFound()) return;
        tree.Next();
        FindFirst(tree, files, pattern, attributeFilter);
    }

    static OrvaPath& Join(OrvaPath& directory, const OrvaBasicFileMatcher& files) {
        OrvaPath name;
        directory.JoinInPlace(files.GetName(name));
        return directory;
    }

private:
    /// Goes on from the tree's current directory to the first one that has an entry.
    static void FindFirst(Tree& tree, OrvaBasicFileMatcher& files, const wchar_t* pattern, DWORD attributeFilter) {
        OrvaPath directory;
        for (; tree.IsFound(); tree.Next()) {
            if (!tree.CanEnter()) continue;
            files.Open(tree.GetPath(directory), pattern, attributeFilter);
            if (files.IsFound()) return;
        }
    }
};

#endif // TARNU_FILESYSTEM_FILETREEWALKINTERNAL_H
