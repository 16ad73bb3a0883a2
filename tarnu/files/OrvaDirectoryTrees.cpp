#include "tarnu/files/DirectoryMakerInternal.h"
#include "tarnu/files/ErrorFlagInternal.h"
#include "tarnu/files/OrvaFileOperations.h"
#include "tarnu/files/PathFactsInternal.h"
#include "tarnu/filesystem/OrvaBFSDirectoryTree.h"
#include "tarnu/filesystem/OrvaBFSFileTree.h"
#include "tarnu/filesystem/OrvaDFSDirectoryTree.h"
#include "tarnu/filesystem/OrvaDFSFileTree.h"
#include "tarnu/filesystem/WalkErrorInternal.h"
#include "tarnu/paths/OrvaPath.h"

#include <cwchar>
#include <direct.h>

namespace {

using tarnu::support::DirectoryMaker;
using tarnu::support::Failed;
using tarnu::support::FlagOf;
using tarnu::support::IsBlank;
using tarnu::support::TreesOverlap;
using tarnu::support::WalkError;

constexpr DWORD directoriesOnly = 0x10; ///< attribute filter: the directory field is 1
constexpr DWORD filesOnly = 0x20;       ///< attribute filter: the directory field is 2
constexpr wchar_t everything[] = L"*";

bool IsDirectory(const wchar_t* path) noexcept {
    const DWORD attributes = ::GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsFile(const wchar_t* path) noexcept {
    const DWORD attributes = ::GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

/// The flag of a walk that stands at its end: 1 when a directory could not be listed, so that the walk was not whole.
int FlagOfWalk(const OrvaFileMatch& walk) {
    const DWORD error = WalkError::Of(walk);
    return error == ERROR_SUCCESS ? 0 : Failed(error);
}

/// A missing path, as opposed to one that can't be looked at.
bool IsMissing(const wchar_t* path) noexcept {
    if (::GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES) return false;
    switch (::GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_INVALID_DRIVE:
    case ERROR_FILENAME_EXCED_RANGE:
        return true;
    default:
        return false;
    }
}

/// A process whose current directory lies in a tree can't remove that directory: moves it to the tree's parent.
void LeaveTree(const wchar_t* tree) {
    wchar_t buffer[MAX_PATH] = {0};
    const DWORD length = ::GetCurrentDirectoryW(MAX_PATH, buffer);
    if (length == 0 || length >= MAX_PATH) return;
    constexpr unsigned form = OrvaPath::BackslashSeparator | OrvaPath::UpperCase | OrvaPath::Normalized;
    const OrvaPath current(buffer, form | OrvaPath::WithTrailingSeparator);
    OrvaPath parent(tree, form);

    // One expects only a current directory within the tree to count; the test is a plain prefix test, so a sibling
    // whose name begins with the tree's name counts too. Hosts rely on being in the parent after deleting the old one
    // of a pair of numbered folders.
    if (::_wcsnicmp(current, parent, std::wcslen(parent)) != 0) return;
    parent.RemoveFileSpec();
    ::SetCurrentDirectoryW(parent);
    ::_wchdir(parent); // the runtime keeps a current directory per drive of its own
}

/// Creates the directories that the walk yields.
int CreateFound(OrvaFileMatch& directories, const OrvaPath& destination) {
    DirectoryMaker maker;
    OrvaPath name;
    int failed = 0;
    for (; directories.IsFound(); directories.Next())
        failed |= maker.Make(destination / directories.GetName(name));
    return failed;
}

} // namespace

int OrvaCreateDirectories(OrvaFileMatch& directories, const wchar_t* destination) {
    if (IsBlank(destination)) return 1;
    return FlagOf([&directories, destination] {
        const int failed = CreateFound(directories, destination);
        return failed | FlagOfWalk(directories);
    });
}

int OrvaCopyFiles(OrvaFileMatch& files, const wchar_t* destination, int failIfExists) {
    if (IsBlank(destination)) return 1;
    return FlagOf([&files, destination, failIfExists] {
        const OrvaPath root(destination);
        OrvaPath source;
        OrvaPath name;
        for (; files.IsFound(); files.Next()) {
            if (OrvaCopyFile(files.GetPath(source), root / files.GetName(name), failIfExists) != 0) return 1;
        }
        return FlagOfWalk(files);
    });
}

int OrvaDeleteFiles(OrvaFileMatch& files) {
    return FlagOf([&files] {
        OrvaPath path;
        int failed = 0;
        for (; files.IsFound(); files.Next())
            failed |= OrvaDeleteFile(files.GetPath(path));
        return failed | FlagOfWalk(files);
    });
}

int OrvaCopyDirectoryTree(const wchar_t* source, const wchar_t* destination, int failIfExists) {
    if (IsBlank(source) || IsBlank(destination) || !IsDirectory(source) || IsFile(destination)) return 1;
    return FlagOf([source, destination, failIfExists] {
        if (TreesOverlap(source, destination)) return 1;
        OrvaBFSDirectoryTree directories;
        directories.Open(source, everything, directoriesOnly);
        if (CreateFound(directories, destination) != 0) return 1;
        // A directory that can't be listed keeps nothing else from being copied.
        const int failed = FlagOfWalk(directories);
        directories.Close();

        OrvaBFSFileTree files;
        files.Open(source, everything, filesOnly);
        return failed | OrvaCopyFiles(files, destination, failIfExists);
    });
}

int OrvaDeleteDirectoryTree(const wchar_t* path) {
    if (IsBlank(path)) return 1;
    return FlagOf([path] {
        LeaveTree(path);
        // One expects a missing tree to fail as a missing source of a copy does; it counts as deleted. Hosts rely on
        // deleting without asking first.
        if (IsMissing(path)) return 0;
        {
            OrvaDFSFileTree files;
            files.Open(path, everything, filesOnly);
            OrvaDeleteFiles(files); // a file that stays shows up as a directory that can't be removed
        }
        OrvaDFSDirectoryTree directories;
        directories.Open(path, everything, directoriesOnly);
        OrvaPath directory;
        int failed = 0;
        for (; directories.IsFound(); directories.Next()) {
            if (!::RemoveDirectoryW(directories.GetPath(directory))) failed = 1;
        }
        return failed;
    });
}

bool OrvaMoveDirectoryTree(const wchar_t* source, const wchar_t* destination, int failIfExists) {
    if (OrvaCopyDirectoryTree(source, destination, failIfExists) != 0) return true;
    return OrvaDeleteDirectoryTree(source) != 0;
}
