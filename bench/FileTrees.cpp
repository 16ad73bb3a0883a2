// Directory trees: walked, copied and removed.

#include "bench/FileCorpus.h"
#include "bench/Harness.h"

#include "tarnu/files/OrvaFileOperations.h"
#include "tarnu/files/OrvaTreeOperations.h"
#include "tarnu/filesystem/OrvaBFSFileTree.h"
#include "tarnu/filesystem/OrvaDFSFileTree.h"

#include <cwchar>
#include <filesystem>
#include <string>
#include <utility>

namespace {

using namespace tarnu::bench;

constexpr DWORD filesOnly = 0x20;
constexpr int copyRounds = 2; ///< of copying, and of removing what has been copied

/// Folders on three levels, 20, 9 in each of these and 10 in each of those, and files in all of them. The first ones
/// are a smaller tree of the same kind.
Tree WalkedTree(std::size_t directories, std::size_t filesInEach) {
    Tree tree;
    for (int outer = 0; outer < 20; ++outer) {
        const std::wstring first = L"Project " + std::to_wstring(outer);
        tree.directories.push_back(first);
        for (int middle = 0; middle < 9; ++middle) {
            const std::wstring second = first + L"\\section-" + std::to_wstring(middle);
            tree.directories.push_back(second);
            for (int inner = 0; inner < 10; ++inner)
                tree.directories.push_back(second + L"\\sheet" + std::to_wstring(inner));
        }
    }
    tree.directories.resize(directories);
    for (const std::wstring& directory : tree.directories)
        for (std::size_t number = 0; number < filesInEach; ++number)
            tree.files.push_back({directory + L"\\drawing" + std::to_wstring(number) + L".txt", {}});
    return tree;
}

/// Small files, 50 in a folder.
Tree CopiedTree(std::size_t count) {
    Contents contents(5);
    Tree tree;
    for (std::size_t number = 0; number < count; ++number) {
        const std::wstring directory = L"folder" + std::to_wstring(number / 50);
        if (number % 50 == 0) tree.directories.push_back(directory);
        tree.files.push_back(
            {directory + L"\\file" + std::to_wstring(number) + L".dat", contents.Text(1 + contents.Below(4000))});
    }
    return tree;
}

/// The characters of the paths of all files below: what the system itself needs to tell them.
std::uint64_t BareWalk(const std::wstring& directory) {
    WIN32_FIND_DATAW data;
    std::uint64_t characters = 0;
    const HANDLE find = ::FindFirstFileExW((directory + L"\\*").c_str(), FindExInfoStandard, &data,
                                           FindExSearchNameMatch, nullptr, /*flags=*/0);
    for (BOOL found = find != INVALID_HANDLE_VALUE; found; found = ::FindNextFileW(find, &data)) {
        if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            characters += directory.size() + 1 + std::wcslen(data.cFileName);
        } else if (std::wcscmp(data.cFileName, L".") != 0 && std::wcscmp(data.cFileName, L"..") != 0) {
            characters += BareWalk(directory + L'\\' + data.cFileName);
        }
    }
    if (find != INVALID_HANDLE_VALUE) ::FindClose(find);
    return characters;
}

template <class FileTree>
std::uint64_t OrvaWalkOf(const std::wstring& root, const wchar_t* pattern) {
    FileTree files;
    OrvaPath path;
    std::uint64_t characters = 0;
    for (files.Open(root.c_str(), pattern, filesOnly); files.IsFound(); files.Next())
        characters += static_cast<std::uint64_t>(files.GetPath(path).GetText().GetLength());
    return characters;
}

std::uint64_t StandardWalk(const std::wstring& root) {
    std::uint64_t characters = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root))
        if (!entry.is_directory()) characters += entry.path().native().size();
    return characters;
}

/// The name of what the growth of copying leaves for that of removing.
std::wstring GrowthCopies(std::uint64_t files) {
    return L"copy-of-" + std::to_wstring(files) + L"-";
}

std::uint64_t CopyDirectoryTree(const std::wstring& source, const std::wstring& target) {
    return static_cast<std::uint64_t>(OrvaCopyDirectoryTree(source.c_str(), target.c_str(), /*failIfExists=*/1));
}

std::uint64_t DeleteDirectoryTree(const std::wstring& root) {
    return static_cast<std::uint64_t>(OrvaDeleteDirectoryTree(root.c_str()));
}

} // namespace

int main() {
    const Workplace workplace;
    Subject subject("File trees");

    const std::wstring walked = workplace / L"walked";
    const std::uint64_t walkedFiles = 50'000;
    Create(WalkedTree(2000, 25), walked);
    const auto bareWalk = [&] { return BareWalk(walked); };
    subject.AddCase("walk of 50 000 files in 2 000 folders", "file", walkedFiles)
        .Limit("FindFirstFileExW recursion", bareWalk)
        .Library("OrvaBFSFileTree", [&] { return OrvaWalkOf<OrvaBFSFileTree>(walked, L"*"); })
        .Library("OrvaDFSFileTree", [&] { return OrvaWalkOf<OrvaDFSFileTree>(walked, L"*"); })
        .Peer("std::filesystem", [&] { return StandardWalk(walked); })
        .Goal(1.2)
        .Rounds(3);
    subject.AddCase("the same walk with a pattern", "file", walkedFiles)
        .Limit("FindFirstFileExW recursion", bareWalk)
        .Library("OrvaBFSFileTree", [&] { return OrvaWalkOf<OrvaBFSFileTree>(walked, L"*.txt"); })
        .Library("OrvaDFSFileTree", [&] { return OrvaWalkOf<OrvaDFSFileTree>(walked, L"*.txt"); })
        .Goal(2.1)
        .Rounds(3, /*isWarm=*/false);
    subject.AddGrowth("OrvaBFSFileTree", "file", walkedFiles / 100, [&](std::uint64_t files) {
        std::wstring root = walked;
        if (files < walkedFiles) {
            root += std::to_wstring(files);
            Create(WalkedTree(static_cast<std::size_t>(files / 25), 25), root);
        }
        return [root] { return OrvaWalkOf<OrvaBFSFileTree>(root, L"*"); };
    });

    // What one case copies the next one removes. Trees made only to be removed would take longer than all that is
    // measured; and where a file system keeps the places of deleted files free for a while, making files after deleting
    // others would cost many times as much.
    const Tree tree = CopiedTree(5000);
    const std::wstring source = workplace / L"source";
    Create(tree, source);
    const std::wstring copies = workplace / L"copy-";
    Numbered made(copies);
    subject.AddCase("copy of 5 000 files in 100 folders", "file", tree.files.size())
        .Limit("CreateDirectoryW and CopyFileW loop",
               [&] {
                   const std::wstring target = made.Next();
                   CreateDirectories(tree, target);
                   std::uint64_t failures = 0;
                   for (const Tree::File& file : tree.files)
                       failures += !::CopyFileW((source + L'\\' + file.path).c_str(),
                                                (target + L'\\' + file.path).c_str(), /*bFailIfExists=*/TRUE);
                   return failures;
               })
        .Library("OrvaCopyDirectoryTree", [&] { return CopyDirectoryTree(source, made.Next()); })
        .Library("OrvaCopyTree",
                 [&] { return static_cast<std::uint64_t>(OrvaCopyTree(source.c_str(), made.Next().c_str())); })
        .Peer("std::filesystem::copy",
              [&] {
                  std::filesystem::copy(source, made.Next(), std::filesystem::copy_options::recursive);
                  return std::uint64_t{0};
              })
        .Goal(1.1)
        .Rounds(copyRounds, /*isWarm=*/false);
    subject.AddGrowth("OrvaCopyDirectoryTree", "file", 20, [&workplace](std::uint64_t files) {
        const std::wstring from = workplace / (L"from" + std::to_wstring(files));
        Create(CopiedTree(static_cast<std::size_t>(files)), from);
        return [from, to = Numbered(workplace / GrowthCopies(files))]() mutable {
            return CopyDirectoryTree(from, to.Next());
        };
    });

    Numbered left(copies);
    subject.AddCase("removal of the same tree", "file", tree.files.size())
        .Limit("DeleteFileW loop",
               [&] {
                   const std::wstring target = left.Next();
                   std::uint64_t failures = 0;
                   for (const Tree::File& file : tree.files)
                       failures += !::DeleteFileW((target + L'\\' + file.path).c_str());
                   return failures;
               })
        .Library("OrvaDeleteDirectoryTree", [&] { return DeleteDirectoryTree(left.Next()); })
        .Library("OrvaRemoveTree", [&] { return static_cast<std::uint64_t>(OrvaRemoveTree(left.Next().c_str())); })
        .Peer(
            "std::filesystem::remove_all",
            [&] { return std::filesystem::remove_all(left.Next()) - tree.files.size() - tree.directories.size() - 1; })
        .Goal(1.35)
        .Rounds(copyRounds, /*isWarm=*/false);
    subject.AddGrowth("OrvaDeleteDirectoryTree", "file", 20, [&workplace](std::uint64_t files) {
        return
            [root = Numbered(workplace / GrowthCopies(files))]() mutable { return DeleteDirectoryTree(root.Next()); };
    });
    return subject.Run();
}
