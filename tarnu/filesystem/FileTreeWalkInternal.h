/// @file
/// What the two file trees share: the walk over the files of a directory tree's directories.
#ifndef TARNU_FILESYSTEM_FILETREEWALKINTERNAL_H
#define TARNU_FILESYSTEM_FILETREEWALKINTERNAL_H

#include "tarnu/filesystem/FileListingInternal.h"
#include "tarnu/filesystem/OrvaBasicFileMatcher.h"
#include "tarnu/filesystem/WalkErrorInternal.h"

#include <cwchar>
#include <memory>

/// The operations of a file tree over its directory tree and its matcher.
///
/// With a pattern that every name matches, the listing in which the directory tree finds its subdirectories serves the
/// files, too, wherever nothing can be seen of it: when the directory is the current one at once. That is always so
/// breadth first; depth first, where files come behind the subdirectories' files, it is for directories without
/// subdirectories, and the others are listed anew when their turn comes.
///
/// @c error keeps the first that ended a listing of files before its end.
template <class Tree>
class FileTreeWalk {
public:
    static void Open(Tree& tree, OrvaBasicFileMatcher& files, const wchar_t* root, const wchar_t* pattern,
                     DWORD attributeFilter, DWORD& error) {
        constexpr DWORD directoriesOnly = 0x10;
        const bool matchesAll = std::wcscmp(pattern, L"*") == 0;
        tree.m_listing = matchesAll ? std::make_unique<tarnu::support::FileListing>(attributeFilter) : nullptr;
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
            if (tree.m_listing && tree.m_listing->IsCurrent()) {
                Show(*tree.m_listing, files, tree.GetPath(directory), pattern, attributeFilter);
            } else {
                files.Open(tree.GetPath(directory), pattern, attributeFilter);
            }
            if (files.IsFound()) return;
            tarnu::support::WalkError::Keep(error, files.m_error);
        }
    }

    /// Opens the matcher on a listing that is there already.
    static void Show(tarnu::support::FileListing& listing, OrvaBasicFileMatcher& files, const OrvaPath& directory,
                     const wchar_t* pattern, DWORD attributeFilter) {
        files.Close();
        files.m_directory = directory;
        files.m_pattern = pattern;
        files.m_attributeFilter = attributeFilter;
        files.m_source = &listing;
        files.Next();
    }
};

#endif // TARNU_FILESYSTEM_FILETREEWALKINTERNAL_H
