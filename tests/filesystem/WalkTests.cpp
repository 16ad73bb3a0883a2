// Matchers, directory trees and file trees: what they report, in which order, and the state that they leave.
#include "support/DirectoryLink.h"
#include "support/HandleCount.h"
#include "support/ImportPatch.h"
#include "support/TempFolder.h"
#include "tarnu/filesystem/OrvaBasicFileMatcher.h"
#include "tarnu/filesystem/OrvaBFSDirectoryTree.h"
#include "tarnu/filesystem/OrvaBFSFileTree.h"
#include "tarnu/filesystem/OrvaDFSDirectoryTree.h"
#include "tarnu/filesystem/OrvaDFSFileTree.h"
#include "tarnu/filesystem/OrvaWalk.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using tarnu::test::CountHandles;
using tarnu::test::DirectoryLink;
using tarnu::test::ImportPatch;
using tarnu::test::TempFolder;

namespace {

using Names = std::vector<std::wstring>;

std::wstring NameOf(const OrvaFileMatch& matcher) {
    OrvaPath name(L"stale");
    return std::wstring(matcher.GetName(name));
}
std::wstring PathOf(const OrvaFileMatch& matcher) {
    OrvaPath path(L"stale");
    return std::wstring(matcher.GetPath(path));
}

/// The names of a whole walk; every path must be the root joined with the name.
Names Walked(OrvaFileMatch& matcher, const std::wstring& root, const wchar_t* pattern, DWORD filter) {
    Names names;
    for (matcher.Open(root.c_str(), pattern, filter); matcher.IsFound(); matcher.Next()) {
        names.push_back(NameOf(matcher));
        EXPECT_EQ(std::wstring(OrvaPath(root) / names.back().c_str()), PathOf(matcher));
        OrvaPath directory;
        EXPECT_EQ(root, std::wstring(matcher.GetDirectory(directory)));
        if (names.size() > 1000) break; // a walk that runs in a circle
    }
    return names;
}
Names Sorted(Names names) {
    std::sort(names.begin(), names.end());
    return names;
}

// OrvaMatchFileAttributes

TEST(MatchFileAttributes, EachFieldTestsItsAttribute) {
    constexpr DWORD attributes[] = {0x20, 0x800, 0x10, 0x2, 0x80, 0x1, 0x4, 0x100};
    for (unsigned field = 0; field < 8; ++field) {
        SCOPED_TRACE(field);
        const DWORD attribute = attributes[field];
        const DWORD mustBeSet = DWORD{1} << (2 * field);
        const DWORD mustBeClear = DWORD{2} << (2 * field);
        EXPECT_EQ(1, OrvaMatchFileAttributes(mustBeSet, attribute));
        EXPECT_EQ(1, OrvaMatchFileAttributes(mustBeSet, 0xFFFFFFFF));
        EXPECT_EQ(0, OrvaMatchFileAttributes(mustBeSet, ~attribute));
        EXPECT_EQ(0, OrvaMatchFileAttributes(mustBeClear, attribute));
        EXPECT_EQ(1, OrvaMatchFileAttributes(mustBeClear, ~attribute));
        EXPECT_EQ(0, OrvaMatchFileAttributes(mustBeSet | mustBeClear, attribute));
        EXPECT_EQ(0, OrvaMatchFileAttributes(mustBeSet | mustBeClear, ~attribute));
    }
}

TEST(MatchFileAttributes, FieldsCombineAndUpperBitsAreIgnored) {
    EXPECT_EQ(1, OrvaMatchFileAttributes(0, 0));
    EXPECT_EQ(1, OrvaMatchFileAttributes(0, 0xFFFFFFFF));
    EXPECT_EQ(1, OrvaMatchFileAttributes(0xFFFF0000, 0x37));
    EXPECT_EQ(1, OrvaMatchFileAttributes(0x2090, FILE_ATTRIBUTE_DIRECTORY));
    EXPECT_EQ(0, OrvaMatchFileAttributes(0x2090, FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN));
    EXPECT_EQ(0, OrvaMatchFileAttributes(0x2090, FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_SYSTEM));
    EXPECT_EQ(0, OrvaMatchFileAttributes(0x2090, FILE_ATTRIBUTE_ARCHIVE));
}

// OrvaBasicFileMatcher

TEST(BasicFileMatcher, ListsByPatternAndFilter) {
    const TempFolder folder;
    folder.MakeFile(L"a.txt", "12345");
    folder.MakeFile(L"b.xml");
    folder.MakeFile(L"hidden.txt");
    folder.MakeFolder(L"sub.txt");
    ::SetFileAttributesW((folder / L"hidden.txt").c_str(), FILE_ATTRIBUTE_HIDDEN);

    OrvaBasicFileMatcher matcher;
    EXPECT_EQ((Names{L"a.txt", L"b.xml", L"hidden.txt", L"sub.txt"}), Sorted(Walked(matcher, folder.Path(), L"*", 0)));
    EXPECT_EQ((Names{L"a.txt", L"hidden.txt"}), Sorted(Walked(matcher, folder.Path(), L"*.txt", 0x20)));
    EXPECT_EQ((Names{L"sub.txt"}), Walked(matcher, folder.Path(), L"*", 0x10));
    EXPECT_EQ((Names{L"sub.txt"}), Walked(matcher, folder.Path(), L"*.txt", 0x2090));
    EXPECT_EQ((Names{L"a.txt"}), Walked(matcher, folder.Path(), L"*.txt", 0xA0)); // no directory, not hidden
    EXPECT_EQ(Names{}, Walked(matcher, folder.Path(), L"*", 0x30));
    EXPECT_EQ(Names{}, Walked(matcher, folder.Path(), L"*.none", 0));
    EXPECT_EQ(Names{}, Walked(matcher, folder / L"missing", L"*", 0));

    matcher.Open(folder.Path().c_str(), L"a.*", 0);
    ASSERT_TRUE(matcher.IsFound());
    EXPECT_STREQ(L"a.txt", matcher.GetFindData()->cFileName);
    EXPECT_EQ(5u, matcher.GetFindData()->nFileSizeLow);
}

TEST(BasicFileMatcher, ReportsDotsOnlyWhenAsked) {
    const TempFolder folder;
    folder.MakeFile(L"..a");
    folder.MakeFile(L".b");
    OrvaBasicFileMatcher matcher;
    EXPECT_EQ(1u, matcher.GetSkipDots());
    EXPECT_EQ((Names{L"..a", L".b"}), Sorted(Walked(matcher, folder.Path(), L"*", 0)));
    matcher.SetSkipDots(0);
    EXPECT_EQ(0u, matcher.GetSkipDots());
    Names names;
    for (matcher.Open(folder.Path().c_str(), L"*", 0x10); matcher.IsFound(); matcher.Next())
        names.push_back(NameOf(matcher));
    EXPECT_EQ((Names{L".", L".."}), Sorted(names));
}

TEST(BasicFileMatcher, EndsOnTheBareDirectoryAndCanBeReopened) {
    const TempFolder folder;
    folder.MakeFile(L"only");
    OrvaBasicFileMatcher matcher;
    EXPECT_FALSE(matcher.IsFound());
    EXPECT_EQ(L"", PathOf(matcher));
    matcher.Next(); // nothing is open
    EXPECT_FALSE(matcher.IsFound());

    matcher.Open(folder.Path().c_str(), L"*", 0);
    matcher.Next();
    EXPECT_FALSE(matcher.IsFound());
    EXPECT_EQ(L"", NameOf(matcher));
    EXPECT_EQ(folder.Path(), PathOf(matcher));
    matcher.Next();
    EXPECT_FALSE(matcher.IsFound());

    // Its own directory as the argument: Open closes first, which empties it.
    OrvaPath directory;
    matcher.GetDirectory(directory);
    matcher.Open(directory, L"*", 0);
    EXPECT_TRUE(matcher.IsFound());
    matcher.Close();
    EXPECT_FALSE(matcher.IsFound());
    EXPECT_EQ(L"", PathOf(matcher));
}

TEST(BasicFileMatcher, NullTextsHaveNoEntries) {
    OrvaBasicFileMatcher matcher;
    matcher.Open(nullptr, nullptr, 0);
    EXPECT_FALSE(matcher.IsFound());
    matcher.Open(std::wstring(40000, L'x').c_str(), L"*", 0);
    EXPECT_FALSE(matcher.IsFound());
    // No directory is the current one.
    const TempFolder folder;
    folder.MakeFile(L"found");
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    matcher.Open(L"", L"f*", 0);
    EXPECT_TRUE(matcher.IsFound());
    EXPECT_EQ(L"found", NameOf(matcher));
    matcher.Close();
    ::SetCurrentDirectoryW(L"C:\\");
}

TEST(BasicFileMatcher, ListsFoldersBeyond260Characters) {
    const TempFolder folder;
    const std::wstring part(70, L'd');
    const std::wstring upper = part + L"\\" + part;
    const std::wstring lower = part + L"\\" + part;
    const std::wstring deep = upper + L"\\" + lower;
    ASSERT_GT((folder / deep).size(), size_t{280});
    for (const std::wstring& place : {std::wstring(L"near"), deep}) {
        folder.MakeFile(place + L"\\plain");
        folder.MakeFile(place + L"\\name.txt");
    }
    OrvaBasicFileMatcher matcher;
    for (const wchar_t* pattern : {L"*", L"*.*", L"*.", L"*.t?t", L"name.txt", L".\\*.txt", L"", L"none*"}) {
        SCOPED_TRACE(testing::Message() << "pattern " << pattern);
        const auto list = [&](const std::wstring& directory) {
            Names names;
            for (matcher.Open(directory.c_str(), pattern, 0x20); matcher.IsFound(); matcher.Next())
                names.push_back(NameOf(matcher));
            return Sorted(names);
        };
        const Names expected = list(folder / L"near");
        EXPECT_EQ(expected, list(folder / deep));
        // Neither the current directory nor the relative path is long; together they are.
        ASSERT_TRUE(::SetCurrentDirectoryW((folder / upper).c_str()));
        EXPECT_EQ(expected, list(lower));
    }
}

/// What the last search of the library asked the system for; nothing is ever found.
struct Search {
    std::wstring text;
    FINDEX_SEARCH_OPS operation = FindExSearchMaxSearchOp;
} lastSearch;

HANDLE WINAPI FindNothing(LPCWSTR text, FINDEX_INFO_LEVELS level, LPVOID data, FINDEX_SEARCH_OPS operation,
                          LPVOID filter, DWORD flags) {
    EXPECT_EQ(FindExInfoStandard, level);
    EXPECT_NE(nullptr, data);
    EXPECT_EQ(nullptr, filter);
    EXPECT_EQ(0u, flags);
    lastSearch = {text, operation};
    return INVALID_HANDLE_VALUE;
}

TEST(BasicFileMatcher, AsksTheSystemForThePatternAsItIsGiven) {
    const ImportPatch patch(L"TarnuWin32Utils.dll", "FindFirstFileExW", &FindNothing);
    const std::wstring deep = L"C:\\" + std::wstring(100, L'a') + L"\\" + std::wstring(150, L'b');
    const struct {
        std::wstring directory;
        const wchar_t* pattern;
        DWORD filter;
        std::wstring text;
        FINDEX_SEARCH_OPS operation;
    } cases[] = {
        {L"C:\\x", L"*.", 0x10, L"C:\\x\\*.", FindExSearchLimitToDirectories},
        {L"C:/x/", L"*.*", 0x2090, L"C:\\x\\*.*", FindExSearchLimitToDirectories},
        {L"x", L"*", 0x12, L"x\\*", FindExSearchNameMatch},
        {L"", L"*", 0, L"*", FindExSearchNameMatch},
        {L"C:\\x", L"", 0x10010, L"C:\\x", FindExSearchNameMatch},
        // Beyond the limit: the directory is written in the system's long form, the pattern stays.
        {deep, L"*.", 0x10, L"\\\\?\\" + deep + L"\\*.", FindExSearchLimitToDirectories},
        {deep, L"a*. ", 0, L"\\\\?\\" + deep + L"\\a*. ", FindExSearchNameMatch},
        {L"\\\\server\\share" + deep.substr(2), L"*", 0, L"\\\\?\\UNC\\server\\share" + deep.substr(2) + L"\\*",
         FindExSearchNameMatch},
    };
    OrvaBasicFileMatcher matcher;
    for (const auto& entry : cases) {
        matcher.Open(entry.directory.c_str(), entry.pattern, entry.filter);
        EXPECT_EQ(entry.text, lastSearch.text);
        EXPECT_EQ(entry.operation, lastSearch.operation);
        EXPECT_FALSE(matcher.IsFound());
        EXPECT_EQ(entry.directory, PathOf(matcher));
    }
}

// Directory trees

TEST(BFSDirectoryTree, GoesLevelByLevelRootFirst) {
    const TempFolder folder;
    folder.MakeFolder(L"a1\\x\\deep");
    folder.MakeFolder(L"b1\\y");
    folder.MakeFile(L"a1\\file");
    OrvaBFSDirectoryTree tree;
    EXPECT_EQ((Names{L"", L"a1", L"b1", L"a1\\x", L"b1\\y", L"a1\\x\\deep"}), Walked(tree, folder.Path(), L"*", 0));
    // The pattern chooses the top-level branches, which are then walked whole.
    EXPECT_EQ((Names{L"", L"a1", L"a1\\x", L"a1\\x\\deep"}), Walked(tree, folder.Path(), L"a*", 0));
    tree.Next();
    EXPECT_FALSE(tree.IsFound());
    EXPECT_EQ(L"", NameOf(tree));
    EXPECT_EQ(folder.Path(), PathOf(tree));
}

TEST(DFSDirectoryTree, GoesDepthFirstRootLast) {
    const TempFolder folder;
    folder.MakeFolder(L"a1\\x\\deep");
    folder.MakeFolder(L"a1\\z");
    folder.MakeFolder(L"b1");
    OrvaDFSDirectoryTree tree;
    EXPECT_EQ((Names{L"a1\\x\\deep", L"a1\\x", L"a1\\z", L"a1", L"b1", L""}), Walked(tree, folder.Path(), L"*", 0));
    // The pattern applies at every level: nothing below a1 begins with an a.
    EXPECT_EQ((Names{L"a1", L""}), Walked(tree, folder.Path(), L"a*", 0));
    tree.Next();
    EXPECT_FALSE(tree.IsFound());
    EXPECT_EQ(L"", PathOf(tree));
}

TEST(DirectoryTrees, VisitHiddenDirectoriesAndIgnoreTheFilter) {
    const TempFolder folder;
    folder.MakeFile(L"file");
    folder.MakeFolder(L"shown");
    ::SetFileAttributesW(folder.MakeFolder(L"secret").c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    OrvaBFSDirectoryTree breadthFirst;
    OrvaDFSDirectoryTree depthFirst;
    for (const DWORD filter : {0u, 0x20u, 0x2090u, 0x30u}) {
        SCOPED_TRACE(filter);
        EXPECT_EQ((Names{L"", L"secret", L"shown"}), Sorted(Walked(breadthFirst, folder.Path(), L"*", filter)));
        EXPECT_EQ((Names{L"", L"secret", L"shown"}), Sorted(Walked(depthFirst, folder.Path(), L"*", filter)));
    }
}

TEST(DirectoryTrees, ReportAMissingRootOnce) {
    const TempFolder folder;
    const std::wstring missing = folder / L"missing";
    OrvaBFSDirectoryTree breadthFirst;
    OrvaDFSDirectoryTree depthFirst;
    OrvaBFSFileTree breadthFirstFiles;
    OrvaDFSFileTree depthFirstFiles;
    EXPECT_EQ(Names{L""}, Walked(breadthFirst, missing, L"*", 0));
    EXPECT_EQ(Names{L""}, Walked(depthFirst, missing, L"*", 0));
    EXPECT_EQ(Names{}, Walked(breadthFirstFiles, missing, L"*", 0));
    EXPECT_EQ(Names{}, Walked(depthFirstFiles, missing, L"*", 0));
}

// File trees

TEST(FileTrees, ReportFilesInTheOrderOfTheirDirectories) {
    const TempFolder folder;
    for (const wchar_t* file : {L"root.txt", L"a\\1.txt", L"a\\x\\deep.txt", L"b\\y\\only.txt", L"b\\other.xml"})
        folder.MakeFile(file);
    folder.MakeFolder(L"empty\\more");
    OrvaBFSFileTree breadthFirst;
    OrvaDFSFileTree depthFirst;
    EXPECT_EQ((Names{L"root.txt", L"a\\1.txt", L"a\\x\\deep.txt", L"b\\y\\only.txt"}),
              Walked(breadthFirst, folder.Path(), L"*.txt", 0x20));
    EXPECT_EQ((Names{L"a\\x\\deep.txt", L"a\\1.txt", L"b\\y\\only.txt", L"root.txt"}),
              Walked(depthFirst, folder.Path(), L"*.txt", 0x20));
    EXPECT_EQ(Names{L"b\\other.xml"}, Walked(depthFirst, folder.Path(), L"*.xml", 0x20));
    EXPECT_EQ(Names{}, Walked(breadthFirst, folder.Path(), L"*.none", 0x20));
    // A filter that admits directories reports them, too.
    EXPECT_EQ((Names{L"a", L"a\\x", L"b", L"b\\y", L"empty", L"empty\\more"}),
              Sorted(Walked(breadthFirst, folder.Path(), L"*", 0x10)));
}

/// Everything that a walk tells about its entries.
std::vector<std::tuple<std::wstring, DWORD, DWORD, std::wstring>> Records(OrvaFileMatch& tree, const std::wstring& root,
                                                                          const wchar_t* pattern, DWORD filter) {
    std::vector<std::tuple<std::wstring, DWORD, DWORD, std::wstring>> records;
    for (tree.Open(root.c_str(), pattern, filter); tree.IsFound(); tree.Next()) {
        const WIN32_FIND_DATAW* data = tarnu::FindDataOf(tree);
        EXPECT_STREQ(data->cFileName, OrvaPath(NameOf(tree)).GetNameAndExtension());
        records.emplace_back(NameOf(tree), data->dwFileAttributes, data->nFileSizeLow, data->cAlternateFileName);
    }
    return records;
}

int listings = 0;

HANDLE WINAPI CountListing(LPCWSTR text, FINDEX_INFO_LEVELS level, LPVOID data, FINDEX_SEARCH_OPS operation,
                           LPVOID filter, DWORD flags) {
    ++listings;
    return ::FindFirstFileExW(text, level, data, operation, filter, flags);
}

TEST(FileTrees, TellTheSameFromOneListingAsFromTwo) {
    const TempFolder folder;
    folder.MakeFile(L"root.txt", "1");
    folder.MakeFile(L"no extension", "12");
    folder.MakeFile(L"a\\b\\leaf.a rather long extension", "123");
    folder.MakeFile(L"a\\beside b.txt", "1234");
    folder.MakeFile(L"hidden\\x", "12345");
    folder.MakeFile(L"hidden\\y");
    folder.MakeFolder(L"empty");
    folder.MakeFolder(L"only\\folders\\below");
    folder.MakeFile(L"z\\last");
    ::SetFileAttributesW((folder / L"hidden").c_str(), FILE_ATTRIBUTE_HIDDEN);
    ::SetFileAttributesW((folder / L"hidden\\x").c_str(), FILE_ATTRIBUTE_READONLY);
    const ImportPatch patch(L"TarnuWin32Utils.dll", "FindFirstFileExW", &CountListing);
    const auto compare = [&folder](OrvaFileMatch& tree, int fewer) {
        // No name can escape the second pattern either, but it is not seen at a glance.
        for (const DWORD filter : {0x0u, 0x20u, 0x10u, 0x2090u, 0x80u, 0x400u, 0x30u}) {
            listings = 0;
            const auto twice = Records(tree, folder.Path(), L"**", filter);
            const int both = std::exchange(listings, 0);
            EXPECT_EQ(twice, Records(tree, folder.Path(), L"*", filter)) << filter;
            EXPECT_EQ(fewer, both - listings) << filter;
            if (filter == 0) {
                EXPECT_EQ(15u, twice.size());
            }
        }
    };
    OrvaBFSFileTree breadthFirst;
    OrvaDFSFileTree depthFirst;
    compare(breadthFirst, 9); // one for each directory
    compare(depthFirst, 5);   // for those without subdirectories
    EXPECT_EQ(Names{}, Walked(breadthFirst, folder / L"missing", L"*", 0));
    EXPECT_EQ(Names{}, Walked(depthFirst, folder / L"missing", L"*", 0));
}

TEST(FileTrees, SeeWhatTheWalkItselfChanges) {
    const TempFolder folder;
    folder.MakeFile(L"first.txt");
    folder.MakeFile(L"sub\\inner.txt");
    // A folder that is made while its parent's files are walked is not walked: breadth first knows its folders by then.
    OrvaBFSFileTree breadthFirst;
    breadthFirst.Open(folder.Path().c_str(), L"*", 0x20);
    ASSERT_EQ(L"first.txt", NameOf(breadthFirst));
    folder.MakeFile(L"made\\late.txt");
    Names names;
    for (breadthFirst.Next(); breadthFirst.IsFound(); breadthFirst.Next())
        names.push_back(NameOf(breadthFirst));
    EXPECT_EQ((Names{L"sub\\inner.txt"}), names);
    // A file that is made while the subfolders' files are walked is reported: its folder is listed when it is reached.
    OrvaDFSFileTree depthFirst;
    depthFirst.Open(folder.Path().c_str(), L"*", 0x20);
    folder.MakeFile(L"second.txt");
    names.clear();
    for (; depthFirst.IsFound(); depthFirst.Next())
        names.push_back(NameOf(depthFirst));
    EXPECT_EQ((Names{L"first.txt", L"made\\late.txt", L"second.txt", L"sub\\inner.txt"}), Sorted(names));
}

TEST(FileTrees, WalkBelowTheLimitOf260Characters) {
    const TempFolder folder;
    const std::wstring part(60, L'd');
    const std::wstring deep = part + L"\\" + part + L"\\" + part + L"\\" + part + L"\\" + part;
    folder.MakeFile(deep + L"\\file");
    ASSERT_GT((folder / deep).size(), size_t{300});
    OrvaBFSFileTree breadthFirst;
    OrvaDFSFileTree depthFirst;
    EXPECT_EQ(Names{deep + L"\\file"}, Walked(breadthFirst, folder.Path(), L"*", 0x20));
    EXPECT_EQ(Names{deep + L"\\file"}, Walked(depthFirst, folder.Path(), L"*", 0x20));
}

TEST(FileTrees, DoNotEnterLinksToAncestors) {
    const TempFolder folder;
    folder.MakeFile(L"top\\inner\\file");
    folder.MakeFile(L"beside\\other");
    const DirectoryLink up(folder / L"top\\inner\\up", folder / L"top");
    const DirectoryLink across(folder / L"top\\across", folder / L"beside");
    if (!up.Exists() || !across.Exists()) GTEST_SKIP() << "no directory links can be made here";
    // Started below the link's target: the ancestors of a link do not end at the root of the walk.
    for (const wchar_t* root : {L"top", L"top\\inner"}) {
        SCOPED_TRACE(root);
        const bool isWhole = root == std::wstring(L"top");
        const Names directories = isWhole ? Names{L"", L"across", L"inner", L"inner\\up"} : Names{L"", L"up"};
        const Names files = isWhole ? Names{L"across\\other", L"inner\\file"} : Names{L"file"};
        OrvaBFSDirectoryTree breadthFirst;
        OrvaDFSDirectoryTree depthFirst;
        OrvaBFSFileTree breadthFirstFiles;
        OrvaDFSFileTree depthFirstFiles;
        EXPECT_EQ(directories, Sorted(Walked(breadthFirst, folder / root, L"*", 0)));
        EXPECT_EQ(directories, Sorted(Walked(depthFirst, folder / root, L"*", 0)));
        EXPECT_EQ(files, Sorted(Walked(breadthFirstFiles, folder / root, L"*", 0x20)));
        EXPECT_EQ(files, Sorted(Walked(depthFirstFiles, folder / root, L"*", 0x20)));
    }
}

TEST(FileTrees, ReleaseAllHandlesInTheMiddleOfAWalk) {
    const TempFolder folder;
    for (const wchar_t* file : {L"a\\b\\c\\d\\1", L"a\\b\\c\\d\\2", L"a\\b\\3", L"e\\4"})
        folder.MakeFile(file);
    const unsigned before = CountHandles();
    for (int entries = 0; entries < 4; ++entries) {
        OrvaBFSFileTree breadthFirst;
        auto depthFirst = std::make_unique<OrvaDFSFileTree>();
        breadthFirst.Open(folder.Path().c_str(), L"*", 0x20);
        depthFirst->Open(folder.Path().c_str(), L"*", 0x20);
        for (int entry = 0; entry < entries; ++entry) {
            breadthFirst.Next();
            depthFirst->Next();
        }
        breadthFirst.Open(folder.Path().c_str(), L"*", 0x20); // reopened in the middle
        std::unique_ptr<OrvaFileMatch> base(std::move(depthFirst));
    }
    EXPECT_EQ(before, CountHandles());
}

// OrvaWalk

TEST(Walk, IsARangeOverTheRestOfAWalk) {
    const TempFolder folder;
    folder.MakeFile(L"1", "x");
    folder.MakeFile(L"sub\\2", "yy");
    OrvaBFSFileTree files;
    files.Open(folder.Path().c_str(), L"*", 0x20);
    Names names;
    DWORD total = 0;
    for (const OrvaFileEntry& entry : OrvaWalk(files)) {
        names.push_back(std::wstring(entry.name));
        EXPECT_EQ(folder / names.back(), std::wstring(entry.path));
        ASSERT_NE(nullptr, entry.findData);
        total += entry.findData->nFileSizeLow;
    }
    EXPECT_EQ((Names{L"1", L"sub\\2"}), names);
    EXPECT_EQ(3u, total);
    for (const OrvaFileEntry& entry : OrvaWalk(files))
        ADD_FAILURE() << "the walk is at its end, yet there is " << entry.name.GetText().GetLength();

    // Through the interface, too, an entry has its record where the walk keeps one.
    OrvaBasicFileMatcher single;
    OrvaDFSFileTree depthFirst;
    for (OrvaFileMatch* walk : {static_cast<OrvaFileMatch*>(&single), static_cast<OrvaFileMatch*>(&files),
                                static_cast<OrvaFileMatch*>(&depthFirst)}) {
        walk->Open((folder / L"sub").c_str(), L"2", 0x20);
        for (const OrvaFileEntry& entry : OrvaWalk(*walk)) {
            ASSERT_NE(nullptr, entry.findData);
            EXPECT_STREQ(L"2", entry.findData->cFileName);
            EXPECT_EQ(2u, entry.findData->nFileSizeLow);
            total += entry.findData->nFileSizeLow;
        }
    }
    EXPECT_EQ(9u, total);

    OrvaBFSDirectoryTree directories;
    directories.Open(folder.Path().c_str(), L"*", 0);
    directories.Next();
    OrvaFileMatch& base = directories;
    names.clear();
    for (const OrvaFileEntry& entry : OrvaWalk(base)) {
        names.push_back(std::wstring(entry.name));
        EXPECT_EQ(nullptr, entry.findData);
    }
    EXPECT_EQ(Names{L"sub"}, names);
}

} // namespace
