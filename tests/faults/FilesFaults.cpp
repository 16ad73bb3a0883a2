// Faults in the operations on files and directory trees.

#include "faults/FaultDriver.h"

#include "tarnu/files/OrvaFileOperations.h"
#include "tarnu/files/OrvaFileStream.h"
#include "tarnu/files/OrvaFileTimes.h"
#include "tarnu/files/OrvaStdioFile.h"
#include "tarnu/files/OrvaTreeOperations.h"
#include "tarnu/filesystem/OrvaBFSDirectoryTree.h"
#include "tarnu/filesystem/OrvaBFSFileTree.h"
#include "tarnu/filesystem/OrvaDFSFileTree.h"

#include <gtest/gtest.h>

namespace tarnu::test::faults {
namespace {

/// A small tree to work on.
void MakeTree(const Trial& trial, std::wstring_view root) {
    const std::wstring name(root);
    trial.MakeFile(name + L"\\top.txt", "top");
    trial.MakeFile(name + L"\\sub\\a.txt", "a");
    trial.MakeFile(name + L"\\sub\\b.txt", "b");
    trial.MakeFolder(name + L"\\empty");
}

/// All of MakeTree is below a path.
bool IsWhole(const std::wstring& root) {
    const auto holds = [&root](const wchar_t* name, const char* contents) {
        const std::wstring path = root + name;
        return Exists(path) && ReadFile(path) == contents;
    };
    return holds(L"\\top.txt", "top") && holds(L"\\sub\\a.txt", "a") && holds(L"\\sub\\b.txt", "b") &&
           Exists(root + L"\\empty");
}

TEST(FilesFaults, WritingAFile) {
    Inject([](Trial& trial) {
        const std::wstring path = trial.MakeFile(L"target.txt", "old");
        const int flag = trial.Operate([&] { return OrvaWriteFile(path.c_str(), "new", 3); });
        trial.ExpectSuccessUnlessFault(flag == 0);
        EXPECT_EQ(ReadFile(path), flag == 0 ? "new" : "old");
        if (flag != 0) trial.ExpectReason();
        EXPECT_EQ(OrvaWriteFile(path.c_str(), "again", 5), 0);
        EXPECT_EQ(ReadFile(path), "again");
    });
}

TEST(FilesFaults, ReadingAFile) {
    Inject([](Trial& trial) {
        const std::wstring path = trial.MakeFile(L"source.txt", "contents");
        std::vector<unsigned char> bytes{'x'};
        const int flag = trial.Operate([&] { return OrvaReadFile(path.c_str(), bytes); });
        trial.ExpectSuccessUnlessFault(flag == 0);
        EXPECT_EQ(std::string(bytes.begin(), bytes.end()), flag == 0 ? "contents" : "x");
        if (flag != 0) trial.ExpectReason();
        EXPECT_EQ(OrvaReadFile(path.c_str(), bytes), 0);
    });
}

TEST(FilesFaults, DeletingAFile) {
    Inject([](Trial& trial) {
        const std::wstring path = trial.MakeFile(L"target.txt", "old");
        ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
        const DWORD attributes = ::GetFileAttributesW(path.c_str());
        const int flag = trial.Operate([&] { return OrvaDeleteFile(path.c_str()); });
        trial.ExpectSuccessUnlessFault(flag == 0);
        EXPECT_EQ(Exists(path), flag != 0);
        if (flag != 0) {
            trial.ExpectReason();
            // What could not be read is put back as it is, and so is not what it was.
            const bool isKnown = !trial.IsFault("GetFileAttributesW") && !trial.IsFault("SetFileAttributesW");
            EXPECT_TRUE(!isKnown || ::GetFileAttributesW(path.c_str()) == attributes);
            EXPECT_EQ(OrvaDeleteFile(path.c_str()), 0);
        }
    });
}

TEST(FilesFaults, CopyingAFile) {
    Inject([](Trial& trial) {
        const std::wstring source = trial.MakeFile(L"source.txt", "new");
        const std::wstring target = trial.MakeFile(L"target.txt", "old");
        const int flag = trial.Operate([&] { return OrvaCopyFile(source.c_str(), target.c_str(), FALSE); });
        trial.ExpectSuccessUnlessFault(flag == 0);
        EXPECT_EQ(ReadFile(target), flag == 0 ? "new" : "old");
        if (flag != 0) trial.ExpectReason();
    });
}

TEST(FilesFaults, CreatingADirectoryPath) {
    Inject([](Trial& trial) {
        const std::wstring path = trial / L"one\\two\\three";
        const int flag = trial.Operate([&] { return OrvaCreateDirectoryPath(path.c_str()); });
        trial.ExpectSuccessUnlessFault(flag == 0);
        EXPECT_TRUE(flag != 0 || Exists(path));
        EXPECT_EQ(OrvaCreateDirectoryPath(path.c_str()), 0);
        EXPECT_TRUE(Exists(path));
    });
}

TEST(FilesFaults, EnsuringADirectory) {
    Inject([](Trial& trial) {
        const std::wstring path = trial / L"one\\two";
        const int flag = trial.Operate([&] { return OrvaEnsureDirectory(path.c_str()); });
        trial.ExpectSuccessUnlessFault(flag == 0);
        EXPECT_TRUE(flag != 0 || Exists(path));
        if (flag != 0) trial.ExpectReason();
        EXPECT_EQ(OrvaEnsureDirectory(path.c_str()), 0);
    });
}

TEST(FilesFaults, AskingForFilesAndRelativePaths) {
    Inject([](Trial& trial) {
        const std::wstring path = trial.MakeFile(L"there.txt");
        CString relative(L"untouched");
        bool exists = false;
        bool missing = true;
        bool related = false;
        trial.Operate([&] {
            exists = OrvaFileExists(path.c_str());
            missing = OrvaFileExists(L"C:\\windows\\no such file");
            related = OrvaGetRelativePath(trial.Folder().c_str(), path.c_str(), relative);
        });
        trial.ExpectSuccessUnlessFault(exists && related);
        EXPECT_FALSE(missing);
        EXPECT_EQ(relative, related ? L".\\there.txt" : L"untouched");
        EXPECT_TRUE(OrvaFileExists(path.c_str()));
    });
}

TEST(FilesFaults, CreatingTheDirectoriesOfAWalk) {
    Inject(
        [](Trial& trial) {
            MakeTree(trial, L"tree");
            const std::wstring source = trial / L"tree";
            const std::wstring target = trial / L"copy";
            const auto create = [&] {
                OrvaBFSDirectoryTree walk;
                walk.Open(source.c_str(), L"*", 0x10);
                return OrvaCreateDirectories(walk, target.c_str());
            };
            int flag = 1;
            if (trial.Throws([&] { flag = create(); })) flag = 1; // opening the walk may throw
            trial.ExpectSuccessUnlessFault(flag == 0);
            EXPECT_TRUE(flag != 0 || (Exists(target + L"\\sub") && Exists(target + L"\\empty")));
            EXPECT_EQ(create(), 0);
        },
        {.calls = 3, .allocations = 8});
}

TEST(FilesFaults, DeletingTheFilesOfAWalk) {
    Inject([](Trial& trial) {
        MakeTree(trial, L"tree");
        const std::wstring root = trial / L"tree";
        const auto remove = [&] {
            OrvaDFSFileTree walk;
            walk.Open(root.c_str(), L"*", 0x20);
            return OrvaDeleteFiles(walk);
        };
        int flag = 1;
        if (trial.Throws([&] { flag = remove(); })) flag = 1; // opening the walk may throw
        trial.ExpectSuccessUnlessFault(flag == 0);
        const bool isEmpty =
            !Exists(root + L"\\top.txt") && !Exists(root + L"\\sub\\a.txt") && !Exists(root + L"\\sub\\b.txt");
        EXPECT_TRUE(flag != 0 || isEmpty);
        EXPECT_EQ(remove(), 0);
    });
}

TEST(FilesFaults, CopyingADirectoryTree) {
    Inject(
        [](Trial& trial) {
            MakeTree(trial, L"tree");
            const std::wstring source = trial / L"tree";
            const std::wstring target = trial / L"copy";
            const auto copy = [&] { return OrvaCopyDirectoryTree(source.c_str(), target.c_str(), FALSE); };
            const int flag = trial.Operate(copy);
            trial.ExpectSuccessUnlessFault(flag == 0);
            EXPECT_TRUE(flag != 0 || IsWhole(target)) << "a part was taken for the whole";
            EXPECT_TRUE(IsWhole(source));
            EXPECT_EQ(copy(), 0);
            EXPECT_TRUE(IsWhole(target));
        },
        {.calls = 3, .allocations = 8});
}

TEST(FilesFaults, DeletingADirectoryTree) {
    Inject(
        [](Trial& trial) {
            MakeTree(trial, L"tree");
            const std::wstring path = trial / L"tree";
            ::SetCurrentDirectoryW((path + L"\\sub").c_str());
            const int flag = trial.Operate([&] { return OrvaDeleteDirectoryTree(path.c_str()); });
            trial.ExpectSuccessUnlessFault(flag == 0);
            EXPECT_TRUE(flag != 0 || !Exists(path)) << "deleted, and still there";
            ::SetCurrentDirectoryW(L"C:\\");
            EXPECT_EQ(OrvaDeleteDirectoryTree(path.c_str()), 0);
            EXPECT_FALSE(Exists(path));
        },
        {.calls = 3, .allocations = 8});
}

TEST(FilesFaults, MovingADirectoryTree) {
    Inject(
        [](Trial& trial) {
            MakeTree(trial, L"tree");
            const std::wstring source = trial / L"tree";
            const std::wstring target = trial / L"moved";
            const auto move = [&] { return OrvaMoveDirectoryTree(source.c_str(), target.c_str(), FALSE); };
            const bool failed = trial.Operate(move);
            trial.ExpectSuccessUnlessFault(!failed);
            EXPECT_TRUE(failed || !Exists(source));
            EXPECT_TRUE(IsWhole(source) || IsWhole(target)) << "something is lost";
        },
        {.calls = 3, .allocations = 4});
}

TEST(FilesFaults, CopyingATreeCarefully) {
    Inject(
        [](Trial& trial) {
            MakeTree(trial, L"tree");
            MakeTree(trial, L"copy");
            trial.MakeFile(L"copy\\sub\\a.txt", "old");
            const std::wstring source = trial / L"tree";
            const std::wstring target = trial / L"copy";
            ::SetFileAttributesW((target + L"\\sub\\b.txt").c_str(), FILE_ATTRIBUTE_READONLY);
            ::RemoveDirectoryW((target + L"\\empty").c_str());
            ::SetFileAttributesW((source + L"\\empty").c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
            unsigned reported = 0;
            OrvaTreeOptions options;
            options.policy = OrvaTreePolicy::Overwrite;
            options.retryDelay = 1;
            options.onFailure = [&reported](const wchar_t*, DWORD error) {
                ++reported;
                EXPECT_NE(error, DWORD{ERROR_SUCCESS});
                EXPECT_NE(error, bogusError);
            };
            OrvaTreeCounts counts;
            const auto copy = [&] { return OrvaCopyTree(source.c_str(), target.c_str(), options, &counts); };
            const int flag = trial.Operate(copy);
            trial.ExpectSuccessUnlessFault(flag == 0);
            EXPECT_EQ(flag != 0, reported > 0);
            EXPECT_EQ(counts.failures, reported);
            EXPECT_TRUE(flag != 0 || IsWhole(target));
            EXPECT_TRUE(flag != 0 ||
                        (::GetFileAttributesW((target + L"\\empty").c_str()) & FILE_ATTRIBUTE_HIDDEN) != 0);
            const std::string between = ReadFile(target + L"\\sub\\a.txt");
            EXPECT_TRUE(between == "old" || between == "a") << between;
            EXPECT_EQ(copy(), 0);
            EXPECT_TRUE(IsWhole(target));
        },
        {.calls = 3, .allocations = 8});
}

TEST(FilesFaults, RemovingATreeCarefully) {
    Inject([](Trial& trial) {
        MakeTree(trial, L"tree");
        const std::wstring root = trial / L"tree";
        const std::wstring readOnly = root + L"\\sub\\a.txt";
        ::SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_READONLY);
        unsigned reported = 0;
        OrvaTreeOptions options;
        options.retryDelay = 1;
        options.onFailure = [&reported](const wchar_t*, DWORD error) {
            ++reported;
            EXPECT_NE(error, DWORD{ERROR_SUCCESS});
            EXPECT_NE(error, bogusError);
        };
        OrvaTreeCounts counts;
        const auto remove = [&] { return OrvaRemoveTree(root.c_str(), options, &counts); };
        const int flag = trial.Operate(remove);
        trial.ExpectSuccessUnlessFault(flag == 0);
        EXPECT_EQ(flag != 0, reported > 0);
        EXPECT_EQ(flag != 0, Exists(root));
        EXPECT_EQ(remove(), 0);
        EXPECT_FALSE(Exists(root));
    });
}

TEST(FilesFaults, StreamingAFile) {
    Inject([](Trial& trial) {
        const std::wstring path = trial / L"stream.txt";
        bool opened = false;
        HRESULT written = E_FAIL;
        HRESULT read = E_FAIL;
        char contents[8] = {};
        const bool noMemory = trial.Throws([&] { // new is the caller's
            OrvaFileStream* const stream = new OrvaFileStream;
            opened = stream->Open(path.c_str(), /*readMode=*/false);
            ULONG count = 0;
            if (opened) written = stream->Write("text", 4, &count);
            stream->Release();
            if (written != S_OK) return;
            OrvaFileStream* const reader = new OrvaFileStream;
            if (reader->Open(path.c_str(), /*readMode=*/true)) read = reader->Read(contents, sizeof contents, &count);
            reader->Release();
        });
        trial.ExpectSuccessUnlessFault(!noMemory && opened && written == S_OK && read == S_OK);
        EXPECT_STREQ(contents, read == S_OK ? "text" : "");
        EXPECT_TRUE(written != S_OK || ReadFile(path) == "text");
    });
}

TEST(FilesFaults, ReportFile) {
    Inject([](Trial& trial) {
        const std::wstring path = trial / L"reports\\run.txt";
        bool hasThrown = false;
        trial.Operate([&] {
            try {
                OrvaStdioFile report(path.c_str(), /*addTimeStamp=*/true, /*overwrite=*/true, /*writeHeader=*/1);
                report.WriteString(L"line\n");
                report.Close();
            } catch (CException* error) {
                hasThrown = true;
                error->Delete();
            } catch (const std::bad_alloc&) {
                hasThrown = true;
            }
        });
        trial.ExpectSuccessUnlessFault(!hasThrown);
        OrvaStdioFile again((trial / L"again.txt").c_str(), false, true, 1);
        again.Close();
        EXPECT_TRUE(ReadFile(trial / L"again.txt").starts_with("File Report - "));
    });
}

TEST(FilesFaults, Times) {
    Inject([](Trial& trial) {
        const SYSTEMTIME untouched{1, 2, 3, 4, 5, 6, 7, 8};
        SYSTEMTIME local = untouched;
        SYSTEMTIME utc = untouched;
        SYSTEMTIME direct = untouched;
        FILETIME fileTime{1, 2};
        FILETIME back{1, 2};
        bool results[5] = {};
        trial.Operate([&] {
            results[0] = OrvaTimeToFileTime(1'700'000'000, fileTime);
            results[1] = OrvaFileTimeToUtc(fileTime, utc);
            results[2] = OrvaFileTimeToLocal(fileTime, local);
            results[3] = OrvaLocalToFileTime(local, back);
            results[4] = OrvaTimeToLocal(1'700'000'000, direct);
        });
        for (const bool result : results)
            trial.ExpectSuccessUnlessFault(result);
        EXPECT_EQ(results[1], utc.wYear == 2023);
        EXPECT_EQ(results[2], local.wYear == 2023);
        EXPECT_EQ(results[4], direct.wYear == 2023);
        EXPECT_EQ(results[2] && results[3], back.dwHighDateTime == fileTime.dwHighDateTime && results[0]);
    });
}

} // namespace
} // namespace tarnu::test::faults
