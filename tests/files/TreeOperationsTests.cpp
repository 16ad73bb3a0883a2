#include "files/Entries.h"
#include "support/DirectoryLink.h"
#include "tarnu/files/OrvaTreeOperations.h"
#include "tarnu/frame/OrvaProgress.h"
#include "tarnu/frame/OrvaProgressDisabler.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using tarnu::support::UniqueFileHandle;
using tarnu::test::DirectoryLink;
using tarnu::test::Exists;
using tarnu::test::Hold;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;
using tarnu::test::Tree;
using tarnu::test::TreeOf;
using tarnu::test::WriteFile;

using Failures = std::vector<std::pair<std::wstring, DWORD>>;

FILETIME LastWrite(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    EXPECT_TRUE(::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data));
    return data.ftLastWriteTime;
}

/// Sets a file's last-modification time to whole minutes after 2020.
void SetAge(const std::wstring& path, ULONGLONG minutes) {
    const ULONGLONG ticks = 132223104000000000ull + minutes * 600000000ull;
    const FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    const UniqueFileHandle file(
        ::CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(file && ::SetFileTime(file.Get(), nullptr, nullptr, &time));
}

/// Runs the operations with a sink that remembers; puts the progress meter back to rest.
class TreeOperations : public testing::Test {
protected:
    TreeOperations() {
        options.retryDelay = 1;
        options.sharingRetries = 1;
        options.onFailure = [this](const wchar_t* path, DWORD error) { failures.emplace_back(path, error); };
    }
    ~TreeOperations() override {
        OrvaProgressCallback = nullptr;
        OrvaProgressEnabled = false;
        s_onProgress = nullptr;
    }

    int Copy(const std::wstring& source, const std::wstring& destination) {
        failures.clear();
        return OrvaCopyTree(source.c_str(), destination.c_str(), options, &counts);
    }
    int Remove(const std::wstring& path) {
        failures.clear();
        return OrvaRemoveTree(path.c_str(), options, &counts);
    }

    using Handler = std::function<int(int operation, int value, const wchar_t* text)>;
    static void InstallProgress(Handler handler) {
        s_onProgress = std::move(handler);
        OrvaSetProgressCallback(
            [](int operation, int value, const wchar_t* text) { return s_onProgress(operation, value, text); });
    }

    OrvaTreeOptions options;
    OrvaTreeCounts counts;
    Failures failures;
    static inline Handler s_onProgress;
};

TEST_F(TreeOperations, CopiesAWholeTree) {
    const TempFolder folder;
    const std::wstring source = folder.MakeFolder(L"source");
    folder.MakeFile(L"source\\a.txt", "a");
    folder.MakeFile(L"source\\empty.txt");
    folder.MakeFile(L"source\\sub.d\\b.txt", "bb");
    folder.MakeFile(L"source\\sub.d\\deep\\\u4e2d.bin", std::string("\0\r\n", 3));
    folder.MakeFolder(L"source\\nothing\\in it");
    SetAge(source + L"\\a.txt", 5);
    ASSERT_TRUE(::SetFileAttributesW((source + L"\\a.txt").c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
    ASSERT_TRUE(::SetFileAttributesW((source + L"\\sub.d").c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));

    const std::wstring destination = folder / L"new\\place\\copy";
    EXPECT_EQ(Copy(source + L"\\", destination + L"/"), 0);
    EXPECT_EQ(failures, Failures{});
    EXPECT_EQ(TreeOf(destination), TreeOf(source));
    EXPECT_EQ(counts.directories, 5u);
    EXPECT_EQ(counts.files, 4u);
    EXPECT_EQ(counts.links + counts.skipped + counts.failures, 0u);
    EXPECT_FALSE(counts.stopped);

    const FILETIME expected = LastWrite(source + L"\\a.txt");
    const FILETIME actual = LastWrite(destination + L"\\a.txt");
    EXPECT_EQ(::CompareFileTime(&expected, &actual), 0);
    for (const wchar_t* name : {L"\\a.txt", L"\\sub.d"}) {
        EXPECT_EQ(::GetFileAttributesW((destination + name).c_str()), ::GetFileAttributesW((source + name).c_str()));
    }
    // Options and counts are optional, and an existing destination is merged into.
    EXPECT_EQ(OrvaRemoveTree((destination + L"\\sub.d").c_str()), 0);
    ASSERT_TRUE(::SetFileAttributesW((source + L"\\a.txt").c_str(), FILE_ATTRIBUTE_NORMAL));
    ASSERT_TRUE(::DeleteFileW((source + L"\\a.txt").c_str()));
    ASSERT_TRUE(::DeleteFileW((source + L"\\empty.txt").c_str()));
    EXPECT_EQ(OrvaCopyTree(source.c_str(), destination.c_str()), 0);
    EXPECT_EQ(TreeOf(destination).size(), TreeOf(source).size() + 2);
}

TEST_F(TreeOperations, ThePolicyDecidesAboutWhatIsInTheWay) {
    struct Sample {
        OrvaTreePolicy policy;
        std::string older, same, newer, readOnly; ///< the four destinations afterwards
        ULONGLONG copied, skipped, failed;
    };
    const Sample samples[] = {
        {OrvaTreePolicy::Fail, "old", "old", "old", "old", 1, 0, 4},
        {OrvaTreePolicy::Skip, "old", "old", "old", "old", 1, 4, 0},
        {OrvaTreePolicy::Overwrite, "new", "new", "new", "new", 5, 0, 0},
        {OrvaTreePolicy::Newer, "new", "old", "old", "new", 3, 2, 0},
    };
    for (const Sample& sample : samples) {
        SCOPED_TRACE(static_cast<int>(sample.policy));
        const TempFolder folder;
        const std::wstring source = folder.MakeFolder(L"source");
        const std::wstring destination = folder.MakeFolder(L"destination");
        for (const wchar_t* name : {L"older", L"same", L"newer", L"readonly", L"fresh"}) {
            SetAge(folder.MakeFile(std::wstring(L"source\\") + name, "new"), 50);
        }
        SetAge(folder.MakeFile(L"destination\\older", "old"), 49);
        SetAge(folder.MakeFile(L"destination\\same", "old"), 50);
        SetAge(folder.MakeFile(L"destination\\newer", "old"), 51);
        SetAge(folder.MakeFile(L"destination\\readonly", "old"), 49);
        ASSERT_TRUE(::SetFileAttributesW((destination + L"\\readonly").c_str(),
                                         FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));

        options.policy = sample.policy;
        EXPECT_EQ(Copy(source, destination), sample.failed != 0 ? 1 : 0);
        EXPECT_EQ(TreeOf(destination), (Tree{{L"older", sample.older},
                                             {L"same", sample.same},
                                             {L"newer", sample.newer},
                                             {L"readonly", sample.readOnly},
                                             {L"fresh", "new"}}));
        EXPECT_EQ(counts.files, sample.copied);
        EXPECT_EQ(counts.skipped, sample.skipped);
        EXPECT_EQ(counts.failures, sample.failed);
        EXPECT_EQ(counts.directories, 0u);
        ASSERT_EQ(failures.size(), sample.failed);
        for (const auto& [path, error] : failures) {
            EXPECT_EQ(error, static_cast<DWORD>(ERROR_FILE_EXISTS));
            EXPECT_EQ(path.rfind(destination + L"\\", 0), 0u) << "the file in the way";
        }
    }
}

TEST_F(TreeOperations, EntriesOfAnotherKindAreAlwaysInTheWay) {
    for (const OrvaTreePolicy policy :
         {OrvaTreePolicy::Fail, OrvaTreePolicy::Skip, OrvaTreePolicy::Overwrite, OrvaTreePolicy::Newer}) {
        const TempFolder folder;
        const std::wstring source = folder.MakeFolder(L"source");
        const std::wstring destination = folder.MakeFolder(L"destination");
        folder.MakeFile(L"source\\one", "file");
        folder.MakeFile(L"source\\two\\inner", "inner");
        folder.MakeFile(L"source\\z", "z");
        folder.MakeFile(L"destination\\one\\kept", "kept");
        folder.MakeFile(L"destination\\two", "kept");

        options.policy = policy;
        EXPECT_EQ(Copy(source, destination), 1);
        std::sort(failures.begin(), failures.end());
        EXPECT_EQ(failures,
                  (Failures{{destination + L"\\one", ERROR_FILE_EXISTS}, {destination + L"\\two", ERROR_DIRECTORY}}));
        EXPECT_EQ(TreeOf(destination),
                  (Tree{{L"one", "<dir>"}, {L"one\\kept", "kept"}, {L"two", "kept"}, {L"z", "z"}}));
    }
}

TEST_F(TreeOperations, AFailureIsReportedAndTheRestIsCopied) {
    const TempFolder folder;
    const std::wstring source = folder.MakeFolder(L"source");
    folder.MakeFile(L"source\\a", "a");
    const std::wstring held = folder.MakeFile(L"source\\held", "new");
    folder.MakeFile(L"source\\z", "z");
    const std::wstring destination = folder / L"destination";
    folder.MakeFile(L"destination\\held", "old");
    options.policy = OrvaTreePolicy::Overwrite;
    {
        const UniqueFileHandle holder = Hold(held);
        ASSERT_TRUE(holder);
        EXPECT_EQ(Copy(source, destination), 1);
    }
    EXPECT_EQ(failures, (Failures{{held, ERROR_SHARING_VIOLATION}}));
    // What was to be replaced is whole, and nothing temporary is left.
    EXPECT_EQ(TreeOf(destination), (Tree{{L"a", "a"}, {L"held", "old"}, {L"z", "z"}}));

    {
        const UniqueFileHandle holder = Hold(destination + L"\\held");
        ASSERT_TRUE(holder);
        EXPECT_EQ(Copy(source, destination), 1);
    }
    EXPECT_EQ(failures.size(), 1u);
    EXPECT_EQ(TreeOf(destination), (Tree{{L"a", "a"}, {L"held", "old"}, {L"z", "z"}}));
}

TEST_F(TreeOperations, RetriesASharingViolationSoManyTimes) {
    const TempFolder folder;
    const std::wstring held = folder.MakeFile(L"source\\held", "held");
    UniqueFileHandle holder;
    int polls = 0;
    int releaseAt = 0;
    InstallProgress([&](int operation, int, const wchar_t*) {
        if (operation == OrvaProgressOperationPoll && ++polls == releaseAt) holder.Reset();
        return 0;
    });
    options.sharingRetries = 3;
    const auto run = [&](int release) {
        polls = 0;
        releaseAt = release;
        holder.Reset(); // before it is opened anew
        holder = Hold(held);
        ASSERT_TRUE(holder);
        EXPECT_EQ(OrvaRemoveTree((folder / L"destination").c_str()), 0);
        polls = 0;
        Copy(folder / L"source", folder / L"destination");
    };
    run(/*release=*/0);
    EXPECT_EQ(failures, (Failures{{held, ERROR_SHARING_VIOLATION}}));
    EXPECT_EQ(polls, 1 + 3) << "one for the entry, one before each retry";
    run(/*release=*/4); // before the last retry
    EXPECT_EQ(failures, Failures{});
    EXPECT_EQ(counts.files, 1u);

    options.sharingRetries = -1;
    run(/*release=*/0);
    EXPECT_EQ(polls, 1);
    EXPECT_EQ(failures.size(), 1u);
}

TEST_F(TreeOperations, NeitherTreeMayLieWithinTheOther) {
    const TempFolder folder;
    const std::wstring source = folder.MakeFolder(L"tree");
    folder.MakeFile(L"tree\\file", "file");
    folder.MakeFile(L"tree\\sub\\inner", "inner");
    const Tree before = TreeOf(folder.Path());
    ASSERT_TRUE(::SetCurrentDirectoryW(source.c_str()));
    const std::wstring destinations[] = {source,
                                         source + L"\\",
                                         folder / L"TREE",
                                         source + L"\\new",
                                         source + L"\\sub\\new\\deeper",
                                         folder / L"x\\..\\tree\\new",
                                         L".",
                                         L"new",
                                         folder.Path(),
                                         L"..",
                                         L"\\\\?\\" + source + L"\\new"};
    options.policy = OrvaTreePolicy::Overwrite;
    for (const std::wstring& destination : destinations) {
        EXPECT_EQ(Copy(source, destination), 1) << testing::PrintToString(destination);
        ASSERT_EQ(failures.size(), 1u);
        EXPECT_EQ(failures[0].second, static_cast<DWORD>(ERROR_CANNOT_COPY));
    }
    EXPECT_EQ(TreeOf(folder.Path()), before);
    // A sibling whose name begins with the tree's is no part of it.
    EXPECT_EQ(Copy(source, source + L"2"), 0);
    EXPECT_EQ(TreeOf(source + L"2"), TreeOf(source));
}

TEST_F(TreeOperations, BadPathsFailAndChangeNothing) {
    const TempFolder folder;
    const std::wstring tree = folder.MakeFolder(L"tree");
    const std::wstring file = folder.MakeFile(L"tree\\file", "file");
    const std::wstring other = folder.MakeFile(L"other", "other");
    const Tree before = TreeOf(folder.Path());
    struct Sample {
        std::wstring source, destination, reported;
        DWORD error;
    };
    const Sample samples[] = {
        {L"", folder / L"new", L"", ERROR_INVALID_NAME},
        {tree, L"", L"", ERROR_INVALID_NAME},
        {folder / L"missing", folder / L"new", folder / L"missing", ERROR_FILE_NOT_FOUND},
        {file, folder / L"new", file, ERROR_DIRECTORY},
        {folder / L"t*", folder / L"new", folder / L"t*", ERROR_INVALID_NAME},
        {tree, folder / L"n?w", folder / L"n?w", ERROR_INVALID_NAME},
        {L"NUL", folder / L"new", L"NUL", ERROR_INVALID_NAME},
        {tree, L"NUL", L"NUL", ERROR_INVALID_NAME},
        {tree, other, other, ERROR_DIRECTORY},
        {folder.Path().substr(0, 3), folder / L"new", folder / L"new", ERROR_CANNOT_COPY}, // a drive into itself
    };
    for (const Sample& sample : samples) {
        SCOPED_TRACE(testing::PrintToString(sample.source + L" -> " + sample.destination));
        EXPECT_EQ(Copy(sample.source, sample.destination), 1);
        EXPECT_EQ(failures, (Failures{{sample.reported, sample.error}}));
        EXPECT_EQ(counts.failures, 1u);
    }
    EXPECT_EQ(OrvaCopyTree(nullptr, tree.c_str(), options), 1);
    EXPECT_EQ(OrvaCopyTree(tree.c_str(), nullptr, options), 1);
    EXPECT_EQ(OrvaCopyTree(nullptr, nullptr), 1);

    for (const std::wstring& destination : {other + L"\\below\\it", std::wstring(L"Q:\\no\\such\\drive")}) {
        EXPECT_EQ(Copy(tree, destination), 1);
        EXPECT_EQ(failures.size(), 1u);
    }
    for (const std::wstring& nowhere : {std::wstring(LR"(\\localhost)"), std::wstring(LR"(\\localhost\no$such)"),
                                        std::wstring(LR"(\\localhost\no$such\tree)"), std::wstring(L"Q:")}) {
        EXPECT_EQ(Copy(nowhere + L'\\', folder / L"new"), 1);
        ASSERT_EQ(failures.size(), 1u);
        EXPECT_EQ(failures[0].first, nowhere);
        EXPECT_EQ(Copy(tree, nowhere + L'\\'), 1);
        EXPECT_EQ(failures.size(), 1u);
    }

    // A sink that throws.
    options.onFailure = [](const wchar_t*, DWORD) { throw std::runtime_error("no"); };
    EXPECT_EQ(Copy(folder / L"missing", folder / L"new"), 1);
    EXPECT_GE(counts.failures, 1u);
    EXPECT_EQ(OrvaCopyTree(nullptr, tree.c_str(), options), 1);
    options.onFailure = [this](const wchar_t* path, DWORD error) { failures.emplace_back(path, error); };

    EXPECT_EQ(OrvaRemoveTree(nullptr, options), 1);
    EXPECT_EQ(Remove(L""), 1);
    EXPECT_EQ(Remove(L"NUL"), 1);
    EXPECT_EQ(Remove(folder / L"t*"), 1);
    EXPECT_EQ(Remove(file), 1);
    EXPECT_EQ(failures, (Failures{{file, ERROR_DIRECTORY}}));
    EXPECT_EQ(Remove(folder / L"missing"), 0);
    EXPECT_EQ(Remove(folder / L"missing\\too"), 0);
    EXPECT_EQ(failures, Failures{});
    EXPECT_EQ(TreeOf(folder.Path()), before);
}

TEST_F(TreeOperations, TreesMayBeDeeperThanAPathMayBeLong) {
    const TempFolder folder;
    std::wstring relative = L"source";
    for (int i = 0; i < 12; ++i)
        relative += L"\\" + std::wstring(60, static_cast<wchar_t>(L'a' + i));
    folder.MakeFile(relative + L"\\file", "deep");
    EXPECT_EQ(Copy(folder / L"source", folder / L"copy"), 0);
    EXPECT_EQ(failures, Failures{});
    EXPECT_EQ(counts.directories, 13u);
    EXPECT_EQ(TreeOf(folder / L"copy"), TreeOf(folder / L"source"));
    EXPECT_EQ(Remove(folder / L"copy"), 0);
    EXPECT_FALSE(Exists(folder / L"copy"));
    EXPECT_EQ(counts.directories, 13u);
    EXPECT_EQ(counts.files, 1u);
}

TEST_F(TreeOperations, RemovesReadOnlyAndHiddenEntries) {
    const TempFolder folder;
    const std::wstring tree = folder.MakeFolder(L"tree");
    constexpr DWORD attributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    const std::wstring entries[] = {folder.MakeFile(L"tree\\sub\\file"), folder.MakeFile(L"tree\\file"),
                                    folder.MakeFolder(L"tree\\empty"), tree + L"\\sub", tree};
    for (const std::wstring& entry : entries)
        ASSERT_TRUE(::SetFileAttributesW(entry.c_str(), attributes));
    EXPECT_EQ(Remove(tree), 0);
    EXPECT_FALSE(Exists(tree));
    EXPECT_EQ(counts.files, 2u);
    EXPECT_EQ(counts.directories, 3u);
}

TEST_F(TreeOperations, WhatCannotBeRemovedIsReportedOnceAndTheRestGoes) {
    const TempFolder folder;
    const std::wstring tree = folder.MakeFolder(L"tree");
    const std::wstring held = folder.MakeFile(L"tree\\b\\c\\held", "held");
    folder.MakeFile(L"tree\\a\\file");
    folder.MakeFile(L"tree\\b\\file");
    folder.MakeFile(L"tree\\z");
    ASSERT_TRUE(::SetFileAttributesW(held.c_str(), FILE_ATTRIBUTE_READONLY));
    {
        const UniqueFileHandle holder = Hold(held);
        ASSERT_TRUE(holder);
        EXPECT_EQ(Remove(tree), 1);
    }
    EXPECT_EQ(failures, (Failures{{held, ERROR_SHARING_VIOLATION}}));
    EXPECT_EQ(counts.failures, 1u);
    EXPECT_EQ(counts.files, 3u);
    EXPECT_EQ(counts.directories, 1u);
    EXPECT_EQ(TreeOf(tree), (Tree{{L"b", "<dir>"}, {L"b\\c", "<dir>"}, {L"b\\c\\held", "held"}}));
    EXPECT_NE(::GetFileAttributesW(held.c_str()) & FILE_ATTRIBUTE_READONLY, 0u) << "put back after the failure";

    // The current directory can't be removed; a careful caller's is not moved.
    ASSERT_TRUE(::SetCurrentDirectoryW((tree + L"\\b").c_str()));
    EXPECT_EQ(Remove(tree), 1);
    EXPECT_EQ(failures, (Failures{{tree + L"\\b", ERROR_SHARING_VIOLATION}}));
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    EXPECT_EQ(Remove(tree), 0);
    EXPECT_FALSE(Exists(tree));
}

TEST_F(TreeOperations, LinksAreNeverEntered) {
    const TempFolder folder;
    const std::wstring target = folder.MakeFolder(L"target");
    folder.MakeFile(L"target\\kept", "kept");
    const std::wstring tree = folder.MakeFolder(L"tree");
    folder.MakeFile(L"tree\\file", "file");
    const DirectoryLink link(tree + L"\\link", target);
    const DirectoryLink loop(tree + L"\\loop", tree);
    if (!link.Exists() || !loop.Exists()) GTEST_SKIP() << "this system lets nobody make links here";

    InstallProgress([](int, int, const wchar_t*) { return 0; }); // the entries are counted without them, too
    const std::wstring copy = folder / L"copy";
    const int copyFlag = Copy(tree, copy);
    EXPECT_EQ(ReadFile(copy + L"\\file"), "file");
    const int removeFlag = [&] {
        if (DirectoryLink::IsWine()) {
            // Wine can neither read nor remove its links: both are failures, and nothing is done in their place.
            EXPECT_EQ(copyFlag, 1);
            std::sort(failures.begin(), failures.end());
            EXPECT_EQ(failures, (Failures{{tree + L"\\link", ERROR_NOT_A_REPARSE_POINT},
                                          {tree + L"\\loop", ERROR_NOT_A_REPARSE_POINT}}));
            EXPECT_EQ(TreeOf(copy), (Tree{{L"file", "file"}}));
            return 1;
        }
        EXPECT_EQ(copyFlag, 0);
        EXPECT_EQ(counts.links, 2u);
        EXPECT_NE(::GetFileAttributesW((copy + L"\\loop").c_str()) & FILE_ATTRIBUTE_REPARSE_POINT, 0u);
        return 0;
    }();

    // A destination reached through a link into the source is still within the source.
    EXPECT_EQ(Copy(target, tree + L"\\link\\new"), 1);
    EXPECT_EQ(failures, (Failures{{tree + L"\\link\\new", ERROR_CANNOT_COPY}}));
    EXPECT_FALSE(Exists(target + L"\\new"));

    // The destination's links aren't entered either.
    folder.MakeFile(L"source\\link\\inner", "inner");
    EXPECT_EQ(Copy(folder / L"source", tree), 1);
    EXPECT_EQ(failures, (Failures{{tree + L"\\link", ERROR_DIRECTORY}}));
    EXPECT_FALSE(Exists(target + L"\\inner"));

    EXPECT_EQ(Remove(tree), removeFlag);
    EXPECT_EQ(counts.files, 1u);
    EXPECT_EQ(Exists(tree), removeFlag != 0);
    EXPECT_EQ(TreeOf(target), (Tree{{L"kept", "kept"}}));
}

TEST_F(TreeOperations, ARootThatIsALinkIsTheLink) {
    const TempFolder folder;
    const std::wstring target = folder.MakeFolder(L"target");
    folder.MakeFile(L"target\\kept", "kept");
    const DirectoryLink link(folder / L"link", target);
    if (!link.Exists()) GTEST_SKIP() << "this system lets nobody make links here";
    const bool works = !DirectoryLink::IsWine();
    EXPECT_EQ(Copy(folder / L"link", folder / L"new\\copy"), works ? 0 : 1);
    EXPECT_FALSE(Exists(folder / L"new\\copy\\kept") && !works) << "never a copy of the target's contents";
    EXPECT_EQ(counts.directories + counts.files, 0u);
    EXPECT_EQ(Copy(folder / L"link", folder.MakeFile(L"file") + L"\\below\\it"), 1);
    EXPECT_EQ(Remove(folder / L"link"), works ? 0 : 1);
    EXPECT_EQ(link.Exists(), !works);
    EXPECT_EQ(TreeOf(target), (Tree{{L"kept", "kept"}}));
}

TEST_F(TreeOperations, AnEmptyTargetOfALinkStaysToo) {
    const TempFolder folder;
    const std::wstring target = folder.MakeFolder(L"target");
    folder.MakeFolder(L"tree");
    const DirectoryLink link(folder / L"tree\\link", target);
    if (!link.Exists()) GTEST_SKIP() << "this system lets nobody make links here";
    EXPECT_EQ(Remove(folder / L"tree"), DirectoryLink::IsWine() ? 1 : 0);
    if (DirectoryLink::IsWine()) {
        EXPECT_EQ(failures, (Failures{{folder / L"tree\\link", ERROR_NOT_A_REPARSE_POINT}}));
    }
    EXPECT_TRUE(Exists(target));
}

TEST_F(TreeOperations, ReportsProgressOfEveryEntry) {
    const TempFolder folder;
    const std::wstring source = folder.MakeFolder(L"source");
    folder.MakeFile(L"source\\a");
    folder.MakeFile(L"source\\b\\c");
    struct Call {
        int operation;
        int value;
        std::wstring text;
        bool operator==(const Call&) const = default;
    };
    std::vector<Call> calls;
    InstallProgress([&calls](int operation, int value, const wchar_t* text) {
        if (operation == OrvaProgressOperationBegin) {
            EXPECT_EQ(OrvaProgressRange, 3);
        }
        calls.push_back({operation, value, text != nullptr ? text : L""});
        return 0;
    });
    const auto expected = [](const std::wstring& root) {
        return std::vector<Call>{{3, 3, root},          {5, 0, root + L"\\a"}, {1, 1, L""}, {2, 0, L""},
                                 {5, 1, root + L"\\b"}, {1, 2, L""},           {2, 0, L""}, {5, 2, root + L"\\b\\c"},
                                 {1, 3, L""},           {2, 0, L""},           {4, 0, L""}};
    };
    EXPECT_EQ(Copy(source, folder / L"copy"), 0);
    EXPECT_TRUE(calls == expected(source));
    calls.clear();
    {
        const OrvaProgressDisabler disabler;
        EXPECT_EQ(Copy(source, folder / L"other"), 0);
        EXPECT_TRUE(calls.empty());
    }
    EXPECT_EQ(Remove(source), 0);
    EXPECT_TRUE(calls == expected(source));
}

TEST_F(TreeOperations, StopsWhenThePollAsksForIt) {
    const TempFolder folder;
    const std::wstring source = folder.MakeFolder(L"source");
    for (int i = 0; i < 5; ++i)
        folder.MakeFile(L"source\\" + std::to_wstring(i), "x");
    int polls = 0;
    bool ended = false;
    InstallProgress([&](int operation, int, const wchar_t*) {
        ended = ended || operation == OrvaProgressOperationEnd;
        return operation == OrvaProgressOperationPoll && ++polls == 3 ? 1 : 0;
    });
    const std::wstring copy = folder / L"copy";
    EXPECT_EQ(Copy(source, copy), 1);
    EXPECT_EQ(polls, 3) << "no more after the stop";
    EXPECT_TRUE(ended);
    EXPECT_TRUE(counts.stopped);
    EXPECT_EQ(counts.files, 2u);
    EXPECT_EQ(counts.failures, 0u);
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0].second, static_cast<DWORD>(ERROR_CANCELLED));
    EXPECT_EQ(TreeOf(copy).size(), 2u);

    polls = 0;
    EXPECT_EQ(Remove(source), 1);
    EXPECT_TRUE(counts.stopped);
    EXPECT_EQ(TreeOf(source).size(), 3u);

    // A retry asks too: a stop need not wait for the last one.
    const UniqueFileHandle holder = Hold(copy + L"\\0");
    options.sharingRetries = 1000;
    options.retryDelay = 100;
    polls = 0;
    EXPECT_EQ(Remove(copy), 1);
    EXPECT_EQ(polls, 3);
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0], (std::pair<std::wstring, DWORD>(copy + L"\\0", ERROR_CANCELLED)));
    polls = 0;
    EXPECT_EQ(Copy(copy, folder / L"third"), 1);
    EXPECT_EQ(polls, 3);
    EXPECT_EQ(counts.failures, 0u);
    EXPECT_EQ(failures, (Failures{{copy + L"\\0", ERROR_CANCELLED}}));
}

} // namespace
