#include "files/Entries.h"
#include "support/DirectoryLink.h"
#include "support/TempFolder.h"
#include "tarnu/files/OrvaFileOperations.h"
#include "tarnu/filesystem/OrvaBasicFileMatcher.h"
#include "tarnu/filesystem/OrvaBFSDirectoryTree.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using tarnu::support::UniqueFileHandle;
using tarnu::test::DirectoryLink;
using tarnu::test::Exists;
using tarnu::test::Hold;
using tarnu::test::Names;
using tarnu::test::NamesIn;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;
using tarnu::test::Tree;
using tarnu::test::TreeOf;

std::wstring CurrentDirectory() {
    wchar_t path[MAX_PATH] = {0};
    ::GetCurrentDirectoryW(MAX_PATH, path);
    return path;
}

/// A tree with something of everything: hidden and system directories, empty ones, read-only and hidden files.
std::wstring MakeTree(const TempFolder& folder, const std::wstring& name) {
    const std::wstring tree = folder.MakeFolder(name);
    folder.MakeFile(name + L"\\a", "a");
    folder.MakeFile(name + L"\\b.txt", "bb");
    folder.MakeFile(name + L"\\dir.d\\c", "ccc");
    folder.MakeFile(name + L"\\dir.d\\deeper\\d", "dddd");
    folder.MakeFile(name + L"\\hidden\\e", "eeeee");
    folder.MakeFolder(name + L"\\empty\\inner");
    ::SetFileAttributesW((tree + L"\\b.txt").c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    ::SetFileAttributesW((tree + L"\\hidden").c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    return tree;
}

TEST(CreateDirectories, RebuildsTheDirectoriesOfAWalkAndGoesOnAfterAFailure) {
    const TempFolder folder;
    const std::wstring tree = MakeTree(folder, L"tree");
    const std::wstring destination = folder / L"new\\copy";
    OrvaBFSDirectoryTree walk;
    walk.Open(tree.c_str(), L"*", 0);
    EXPECT_EQ(OrvaCreateDirectories(walk, destination.c_str()), 0);
    EXPECT_FALSE(walk.IsFound());
    EXPECT_EQ(NamesIn(destination),
              (Names{L"dir.d\\", L"dir.d\\deeper\\", L"hidden\\", L"empty\\", L"empty\\inner\\"}));
    EXPECT_EQ(OrvaCreateDirectories(walk, destination.c_str()), 0) << "nothing more to walk";
    EXPECT_EQ(OrvaCreateDirectories(walk, nullptr), 1);
    EXPECT_EQ(OrvaCreateDirectories(walk, L""), 1);
    folder.MakeFile(L"other\\dir.d", "in the way");
    walk.Open(tree.c_str(), L"*", 0);
    EXPECT_EQ(OrvaCreateDirectories(walk, (folder / L"other").c_str()), 1);
    EXPECT_EQ(TreeOf(folder / L"other"),
              (Tree{{L"dir.d", "in the way"}, {L"hidden", "<dir>"}, {L"empty", "<dir>"}, {L"empty\\inner", "<dir>"}}));
}

TEST(CopyFiles, EndsAtTheFirstFailure) {
    const TempFolder folder;
    for (const wchar_t* name : {L"source\\1", L"source\\2", L"source\\3"})
        folder.MakeFile(name, "new");
    folder.MakeFile(L"copy\\2", "old");
    OrvaBasicFileMatcher walk;
    walk.Open((folder / L"source").c_str(), L"*", 0x20);
    EXPECT_EQ(OrvaCopyFiles(walk, (folder / L"copy").c_str(), 1), 1);
    OrvaPath name;
    EXPECT_EQ(walk.GetName(name), L"2") << "the walk stands at what failed";
    EXPECT_EQ(NamesIn(folder / L"copy"), (Names{L"1", L"2"}));
    EXPECT_EQ(ReadFile(folder / L"copy\\2"), "old");
    EXPECT_EQ(OrvaCopyFiles(walk, (folder / L"copy").c_str(), 0), 0) << "the rest of the walk";
    EXPECT_EQ(ReadFile(folder / L"copy\\2"), "new");
    EXPECT_EQ(NamesIn(folder / L"copy"), (Names{L"1", L"2", L"3"}));
    EXPECT_EQ(OrvaCopyFiles(walk, nullptr, 0), 1);
}

TEST(DeleteFiles, GoesOnAfterAFailure) {
    const TempFolder folder;
    for (const wchar_t* name : {L"source\\1", L"source\\2", L"source\\3"})
        folder.MakeFile(name);
    const UniqueFileHandle holder = Hold(folder / L"source\\2", FILE_SHARE_READ);
    ASSERT_TRUE(holder);
    OrvaBasicFileMatcher walk;
    walk.Open((folder / L"source").c_str(), L"*", 0x20);
    EXPECT_EQ(OrvaDeleteFiles(walk), 1);
    EXPECT_FALSE(walk.IsFound());
    EXPECT_EQ(NamesIn(folder / L"source"), (Names{L"2"}));
}

/// A host's own walk, over one file.
class OneFile final : public OrvaFileMatch {
public:
    OneFile(const OrvaPath& directory, const wchar_t* name) : m_directory(directory), m_name(name) {}
    void Close() override { m_isFound = FALSE; }
    void Open(const wchar_t*, const wchar_t*, DWORD) override { m_isFound = TRUE; }
    void Next() override { m_isFound = FALSE; }
    BOOL IsFound() const override { return m_isFound; }
    OrvaPath& GetPath(OrvaPath& path) const override { return path = m_directory / m_name; }
    OrvaPath& GetName(OrvaPath& name) const override { return name = m_name; }
    OrvaPath& GetDirectory(OrvaPath& directory) const override { return directory = m_directory; }

private:
    OrvaPath m_directory;
    OrvaPath m_name;
    BOOL m_isFound = TRUE;
};

TEST(DeleteFiles, TakesWalksOfTheHostsOwn) {
    const TempFolder folder;
    folder.MakeFile(L"a");
    folder.MakeFile(L"b");
    OneFile walk(folder.Path(), L"a");
    EXPECT_EQ(OrvaDeleteFiles(walk), 0);
    EXPECT_EQ(NamesIn(folder.Path()), Names{L"b"});
    walk.Open(L"", L"", 0);
    EXPECT_EQ(OrvaDeleteFiles(walk), 1);
}

TEST(CopyDirectoryTree, CopiesEverything) {
    const TempFolder folder;
    const std::wstring tree = MakeTree(folder, L"tree");
    const std::wstring copy = folder / L"new\\place\\copy.d";
    EXPECT_EQ(OrvaCopyDirectoryTree(tree.c_str(), copy.c_str(), 1), 0);
    EXPECT_EQ(NamesIn(copy), NamesIn(tree));
    EXPECT_EQ(ReadFile(copy + L"\\dir.d\\deeper\\d"), "dddd");
    EXPECT_NE(::GetFileAttributesW((copy + L"\\b.txt").c_str()) & FILE_ATTRIBUTE_READONLY, 0u);

    // An empty tree is a tree too, and a trailing separator makes no difference.
    EXPECT_EQ(OrvaCopyDirectoryTree((tree + L"\\empty/").c_str(), (folder / L"empty\\").c_str(), 1), 0);
    EXPECT_EQ(NamesIn(folder / L"empty"), (Names{L"inner\\"}));
}

TEST(CopyDirectoryTree, ADirectoryThatCannotBeCreatedKeepsAllFilesBack) {
    const TempFolder folder;
    const std::wstring tree = MakeTree(folder, L"tree");
    folder.MakeFile(L"copy\\empty", "file");
    EXPECT_EQ(OrvaCopyDirectoryTree(tree.c_str(), (folder / L"copy").c_str(), 0), 1);
    EXPECT_EQ(NamesIn(folder / L"copy"), (Names{L"dir.d\\", L"dir.d\\deeper\\", L"empty", L"hidden\\"}));
    EXPECT_EQ(ReadFile(folder / L"copy\\empty"), "file");
}

TEST(CopyDirectoryTree, BadInputFailsAndLosesNothing) {
    const TempFolder folder;
    const std::wstring tree = MakeTree(folder, L"tree");
    const std::wstring empty = folder.MakeFolder(L"empty");
    const std::wstring file = folder.MakeFile(L"file", "file");
    const std::wstring fresh = folder / L"fresh";
    const Names before = NamesIn(folder.Path());
    struct Sample {
        std::wstring source, destination;
    };
    const Sample samples[] = {
        {L"", fresh},
        {tree, L""},
        {folder / L"missing", fresh},
        {file, fresh},
        {L"NUL", fresh},
        {tree + L"\\*", fresh},
        {tree, file},
        {empty, file},
        {tree, file + L"\\below"},
        {empty, L"NUL"},
        {tree, L"Q:\\no\\such\\drive"},
        {tree, tree},
        {tree, tree + L"\\"},
        {tree, folder / L"x\\..\\TREE"},
        {tree, tree + L"\\new\\deep"},
        {tree + L"\\dir.d", tree},
        {tree, folder.Path()},
    };
    for (const Sample& sample : samples) {
        SCOPED_TRACE(testing::PrintToString(sample.source + L" -> " + sample.destination));
        EXPECT_EQ(OrvaCopyDirectoryTree(sample.source.c_str(), sample.destination.c_str(), 0), 1);
        EXPECT_TRUE(OrvaMoveDirectoryTree(sample.source.c_str(), sample.destination.c_str(), 0));
    }
    EXPECT_EQ(OrvaCopyDirectoryTree(nullptr, fresh.c_str(), 0), 1);
    EXPECT_EQ(OrvaCopyDirectoryTree(tree.c_str(), nullptr, 0), 1);
    EXPECT_TRUE(OrvaMoveDirectoryTree(nullptr, nullptr, 0));
    EXPECT_EQ(NamesIn(folder.Path()), before);
    EXPECT_EQ(ReadFile(file), "file");
}

TEST(DeleteDirectoryTree, RemovesEverything) {
    const TempFolder folder;
    const std::wstring tree = MakeTree(folder, L"tree");
    EXPECT_EQ(OrvaDeleteDirectoryTree((tree + L"/").c_str()), 0);
    EXPECT_FALSE(Exists(tree));
    EXPECT_EQ(OrvaDeleteDirectoryTree(tree.c_str()), 0) << "a missing tree counts as deleted";
    EXPECT_EQ(OrvaDeleteDirectoryTree(nullptr), 1);
    EXPECT_EQ(OrvaDeleteDirectoryTree(L""), 1);
    const std::wstring file = folder.MakeFile(L"file", "file");
    EXPECT_EQ(OrvaDeleteDirectoryTree(file.c_str()), 1);
    EXPECT_EQ(OrvaDeleteDirectoryTree(L"NUL"), 1);
    EXPECT_EQ(ReadFile(file), "file");
}

TEST(DeleteDirectoryTree, AFileThatStaysKeepsItsDirectories) {
    const TempFolder folder;
    const std::wstring tree = MakeTree(folder, L"tree");
    {
        const UniqueFileHandle holder = Hold(tree + L"\\dir.d\\c", FILE_SHARE_READ);
        ASSERT_TRUE(holder);
        EXPECT_EQ(OrvaDeleteDirectoryTree(tree.c_str()), 1);
    }
    EXPECT_EQ(NamesIn(folder.Path()), (Names{L"tree\\", L"tree\\dir.d\\", L"tree\\dir.d\\c"}));
    EXPECT_EQ(ReadFile(tree + L"\\dir.d\\c"), "ccc");
    EXPECT_EQ(OrvaDeleteDirectoryTree(tree.c_str()), 0);
}

TEST(DeleteDirectoryTree, MovesTheCurrentDirectoryOutOfTheTree) {
    for (const wchar_t* inside : {L"tree", L"tree\\dir.d\\deeper"}) {
        const TempFolder folder;
        const std::wstring tree = MakeTree(folder, L"tree");
        ASSERT_TRUE(::SetCurrentDirectoryW((folder / inside).c_str()));
        EXPECT_EQ(OrvaDeleteDirectoryTree(tree.c_str()), 0);
        EXPECT_FALSE(Exists(tree));
        // The new current directory is the tree's parent, in capitals, with its separator.
        EXPECT_EQ(::_wcsicmp(CurrentDirectory().c_str(), folder.Path().c_str()), 0);
        wchar_t* runtime = ::_wgetcwd(nullptr, 0);
        EXPECT_EQ(::_wcsicmp(runtime, folder.Path().c_str()), 0);
        std::free(runtime);
    }
}

TEST(DeleteDirectoryTree, ASiblingWhoseNameBeginsAlikeIsLeftToo) {
    const TempFolder folder;
    const std::wstring sibling = folder.MakeFolder(L"tree2\\sub");
    const auto deleteFrom = [&folder](const std::wstring& current, const std::wstring& tree) {
        EXPECT_TRUE(::SetCurrentDirectoryW(current.c_str()));
        EXPECT_EQ(OrvaDeleteDirectoryTree((folder / tree).c_str()), 0);
        return ::_wcsicmp(CurrentDirectory().c_str(), folder.Path().c_str()) == 0;
    };
    EXPECT_TRUE(deleteFrom(sibling, L"TREE")) << "even though there is nothing to delete";
    EXPECT_TRUE(deleteFrom(folder / L"tree2", L"tree"));
    EXPECT_TRUE(Exists(sibling));
    EXPECT_FALSE(deleteFrom(sibling, L"tree\\")) << "with its separator the name is no prefix of the other";
    EXPECT_FALSE(deleteFrom(sibling, L"other"));
    EXPECT_FALSE(deleteFrom(sibling, L"tree2\\sub2"));
}

TEST(MoveDirectoryTree, DeletesTheSourceOnlyWhenTheCopyIsComplete) {
    const TempFolder folder;
    const std::wstring tree = MakeTree(folder, L"tree");
    const Names names = NamesIn(tree);
    folder.MakeFile(L"moved\\a", "old"); // the first one: nothing else is copied
    EXPECT_TRUE(OrvaMoveDirectoryTree(tree.c_str(), (folder / L"moved").c_str(), 1));
    EXPECT_EQ(NamesIn(tree), names);
    EXPECT_EQ(ReadFile(folder / L"moved\\a"), "old");
    EXPECT_FALSE(OrvaMoveDirectoryTree(tree.c_str(), (folder / L"moved").c_str(), 0));
    EXPECT_FALSE(Exists(tree));
    EXPECT_EQ(NamesIn(folder / L"moved"), names);
    EXPECT_EQ(ReadFile(folder / L"moved\\a"), "a");
}

TEST(MoveDirectoryTree, ASourceThatCannotBeDeletedIsAFailure) {
    const TempFolder folder;
    const std::wstring tree = MakeTree(folder, L"tree");
    const UniqueFileHandle holder = Hold(tree + L"\\a", FILE_SHARE_READ);
    ASSERT_TRUE(holder);
    EXPECT_TRUE(OrvaMoveDirectoryTree(tree.c_str(), (folder / L"moved").c_str(), 1));
    EXPECT_EQ(NamesIn(tree), (Names{L"a"}));
    EXPECT_EQ(ReadFile(folder / L"moved\\a"), "a");
}

TEST(DirectoryTrees, DeeperThanAPathMayBeLongEndWithTheFlag) {
    const TempFolder folder;
    std::wstring relative = L"tree";
    for (int i = 0; i < 6; ++i)
        relative += L"\\" + std::wstring(60, static_cast<wchar_t>(L'a' + i));
    folder.MakeFile(relative + L"\\file", "deep");
    const Names names = NamesIn(folder / L"tree");
    // Windows refuses such paths without their prefix, Wine takes them: the flag and what was done must agree.
    const int copied = OrvaCopyDirectoryTree((folder / L"tree").c_str(), (folder / L"copy").c_str(), 1);
    EXPECT_EQ(NamesIn(folder / L"tree"), names);
    EXPECT_EQ(NamesIn(folder / L"copy") == names, copied == 0);
    const int deleted = OrvaDeleteDirectoryTree((folder / L"tree").c_str());
    EXPECT_EQ(Exists(folder / L"tree"), deleted != 0);
}

TEST(DirectoryTrees, LinksAreEnteredUnlessTheyLeadBack) {
    const TempFolder folder;
    const std::wstring tree = folder.MakeFolder(L"tree");
    folder.MakeFile(L"tree\\file", "file");
    const std::wstring outside = folder.MakeFolder(L"outside");
    folder.MakeFile(L"outside\\inner", "inner");
    const DirectoryLink link(tree + L"\\link", outside);
    const DirectoryLink back(tree + L"\\back", tree);
    if (!link.Exists() || !back.Exists()) GTEST_SKIP() << "this system lets nobody make links here";

    EXPECT_EQ(OrvaCopyDirectoryTree(tree.c_str(), (folder / L"copy").c_str(), 1), 0);
    Names names = NamesIn(folder / L"copy");
    names.erase(L"back\\"); // whether the link itself counts as a directory is the walk's affair
    EXPECT_EQ(names, (Names{L"file", L"link\\", L"link\\inner"}));
    EXPECT_EQ(::GetFileAttributesW((folder / L"copy\\link").c_str()) & FILE_ATTRIBUTE_REPARSE_POINT, 0u);

    // Entering a link to delete takes away what is in its target. Wine then removes the target instead of the link.
    const int deleted = OrvaDeleteDirectoryTree(tree.c_str());
    EXPECT_EQ(Exists(tree), deleted != 0);
    EXPECT_EQ(NamesIn(outside), Names{});
}

} // namespace
