#include "files/Entries.h"
#include "support/ImportPatch.h"
#include "support/TempFolder.h"
#include "tarnu/files/OrvaFileOperations.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using tarnu::support::UniqueFileHandle;
using tarnu::test::Exists;
using tarnu::test::Hold;
using tarnu::test::Names;
using tarnu::test::NamesIn;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;
using tarnu::test::Tree;
using tarnu::test::TreeOf;

bool IsDirectory(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::vector<unsigned char> Bytes(const std::string& text) {
    return {text.begin(), text.end()};
}

TEST(CreateDirectoryPath, CreatesEveryComponentAsADirectory) {
    const TempFolder folder;
    const wchar_t* paths[] = {L"a",         L"b\\c.d\\report.txt",       L"b/e/f", L"g\\\\h\\",
                              L"i\\j\\k\\", L"with space\\\u00e4\u4e2d", L"b\\c.d"};
    for (const wchar_t* path : paths) {
        EXPECT_EQ(OrvaCreateDirectoryPath((folder / path).c_str()), 0);
        EXPECT_TRUE(IsDirectory(folder / path));
        EXPECT_EQ(OrvaCreateDirectoryPath((folder / path).c_str()), 0) << "what exists is passed over";
    }
    // Quotes vanish from paths.
    EXPECT_EQ(OrvaCreateDirectoryPath((folder.Path() + L"\\quoted\"").c_str()), 0);
    EXPECT_TRUE(IsDirectory(folder / L"quoted"));
    EXPECT_EQ(OrvaCreateDirectoryPath(L"C:\\"), 0);
    EXPECT_EQ(OrvaCreateDirectoryPath(L"\\"), 0);
}

TEST(CreateDirectoryPath, RelativePathsStartWhereTheyShould) {
    const TempFolder folder;
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    EXPECT_EQ(OrvaCreateDirectoryPath(L"x\\y"), 0);
    EXPECT_EQ(OrvaCreateDirectoryPath(L"x\\..\\z"), 0);
    // A leading separator is the root of the current drive, not the current directory.
    const std::wstring rooted = folder.Path().substr(2) + L"\\rooted";
    EXPECT_EQ(OrvaCreateDirectoryPath(rooted.c_str()), 0);
    // A drive without a separator behind it is that drive's current directory, not its root.
    const std::wstring drive = folder.Path().substr(0, 2);
    EXPECT_EQ(OrvaCreateDirectoryPath((drive + L"of the drive\\deeper").c_str()), 0);
    EXPECT_FALSE(Exists(drive + L"\\of the drive"));
    EXPECT_EQ(OrvaCreateDirectoryPath(drive.c_str()), 0);
    EXPECT_EQ(NamesIn(folder.Path()),
              (Names{L"x\\", L"x\\y\\", L"z\\", L"rooted\\", L"of the drive\\", L"of the drive\\deeper\\"}));
}

TEST(CreateDirectoryPath, FailsForWhatCannotBeADirectory) {
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"file", "contents");
    EXPECT_EQ(OrvaCreateDirectoryPath(nullptr), 1);
    EXPECT_EQ(OrvaCreateDirectoryPath(L""), 1);
    EXPECT_EQ(OrvaCreateDirectoryPath((file + L"\\below").c_str()), 1);
    EXPECT_EQ(OrvaCreateDirectoryPath(L"NUL"), 1);
    EXPECT_EQ(OrvaCreateDirectoryPath(L"NUL\\below"), 1);
    EXPECT_EQ(OrvaCreateDirectoryPath((folder / std::wstring(300, L'x')).c_str()), 1);
    EXPECT_EQ(OrvaCreateDirectoryPath(L"Q:\\no\\such\\drive"), 1);
    EXPECT_EQ(TreeOf(folder.Path()), (Tree{{L"file", "contents"}}));
}

TEST(CreateDirectoryPath, AFileThatExistsIsPassedOver) {
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"file", "contents");
    EXPECT_EQ(OrvaCreateDirectoryPath(file.c_str()), 0);
    EXPECT_EQ(OrvaCreateDirectoryPath((file + L"\\").c_str()), 0);
    EXPECT_EQ(TreeOf(folder.Path()), (Tree{{L"file", "contents"}}));
}

TEST(FileCopy, CopiesAndKeepsWhatItIsToldToKeep) {
    const TempFolder folder;
    const std::wstring source = folder.MakeFile(L"source", "new");
    const std::wstring destination = folder / L"destination";
    EXPECT_EQ(OrvaCopyFile(source.c_str(), destination.c_str(), 1), 0);
    EXPECT_EQ(ReadFile(destination), "new");
    tarnu::test::WriteFile(source, "newer");
    EXPECT_EQ(OrvaCopyFile(source.c_str(), destination.c_str(), 1), 1);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_FILE_EXISTS));
    EXPECT_EQ(ReadFile(destination), "new");
    EXPECT_EQ(OrvaCopyFile(source.c_str(), destination.c_str(), 0), 0);
    EXPECT_EQ(ReadFile(destination), "newer");
}

TEST(FileCopy, Fails) {
    const TempFolder folder;
    const std::wstring source = folder.MakeFile(L"source", "new");
    const std::wstring destination = folder.MakeFile(L"destination", "old");
    EXPECT_EQ(OrvaCopyFile(nullptr, destination.c_str(), 0), 1);
    EXPECT_EQ(OrvaCopyFile(source.c_str(), nullptr, 0), 1);
    EXPECT_EQ(OrvaCopyFile(L"", destination.c_str(), 0), 1);
    EXPECT_EQ(OrvaCopyFile(source.c_str(), L"", 0), 1);
    EXPECT_EQ(OrvaCopyFile((folder / L"missing").c_str(), destination.c_str(), 0), 1);
    EXPECT_EQ(OrvaCopyFile(source.c_str(), source.c_str(), 0), 1);
    EXPECT_EQ(OrvaCopyFile(source.c_str(), folder.Path().c_str(), 0), 1);
    EXPECT_EQ(OrvaCopyFile(folder.Path().c_str(), (folder / L"copy").c_str(), 0), 1);
    EXPECT_EQ(OrvaCopyFile(source.c_str(), (folder / L"no folder\\copy").c_str(), 0), 1);
    {
        const UniqueFileHandle holder = Hold(source);
        ASSERT_TRUE(holder);
        EXPECT_EQ(OrvaCopyFile(source.c_str(), destination.c_str(), 0), 1);
    }
    EXPECT_EQ(ReadFile(source), "new");
    EXPECT_EQ(ReadFile(destination), "old");
}

TEST(FileDelete, DeletesReadOnlyAndHiddenFiles) {
    const TempFolder folder;
    for (const DWORD attributes :
         std::initializer_list<DWORD>{FILE_ATTRIBUTE_NORMAL, FILE_ATTRIBUTE_READONLY,
                                      FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM}) {
        const std::wstring file = folder.MakeFile(L"file");
        ASSERT_TRUE(::SetFileAttributesW(file.c_str(), static_cast<DWORD>(attributes)));
        EXPECT_EQ(OrvaDeleteFile(file.c_str()), 0);
        EXPECT_FALSE(Exists(file));
    }
}

TEST(FileDelete, AFailureLeavesFileAndAttributes) {
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"file", "contents");
    constexpr DWORD attributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE;
    ASSERT_TRUE(::SetFileAttributesW(file.c_str(), attributes));
    {
        const UniqueFileHandle holder = Hold(file, FILE_SHARE_READ);
        ASSERT_TRUE(holder);
        EXPECT_EQ(OrvaDeleteFile(file.c_str()), 1);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    }
    EXPECT_EQ(::GetFileAttributesW(file.c_str()), attributes);
    EXPECT_EQ(ReadFile(file), "contents");

    EXPECT_EQ(OrvaDeleteFile((folder / L"missing").c_str()), 1);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(OrvaDeleteFile(folder.Path().c_str()), 1);
    EXPECT_EQ(OrvaDeleteFile(nullptr), 1);
    EXPECT_EQ(OrvaDeleteFile(L""), 1);
    EXPECT_EQ(OrvaDeleteFile((folder / L"*").c_str()), 1);
    EXPECT_TRUE(Exists(file));
}

TEST(FileExists, FindsEntriesAndNothingElse) {
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"dir.d\\file.txt");
    const UniqueFileHandle holder = Hold(file);
    ASSERT_TRUE(holder);
    const std::wstring there[] = {file,
                                  folder.Path(),
                                  folder / L"dir.d",
                                  folder / L"dir.d\\",
                                  folder / L"DIR.D/FILE.TXT",
                                  folder / L"dir.d\\..\\dir.d\\file.txt",
                                  L"\\\\?\\" + file,
                                  L"C:\\",
                                  L"\\"};
    for (const std::wstring& path : there)
        EXPECT_TRUE(OrvaFileExists(path.c_str())) << testing::PrintToString(path);
    const std::wstring notThere[] = {folder / L"missing",
                                     folder / L"missing\\file",
                                     folder / L"*",
                                     folder / L"dir.?",
                                     folder / L"dir.d\\file.tx<",
                                     folder / L"dir.d\\file.txt\"",
                                     folder / L"dir.*\\x",
                                     file + L"\\below",
                                     L"Q:\\",
                                     L"NUL",
                                     folder / std::wstring(300, L'x')};
    for (const std::wstring& path : notThere)
        EXPECT_FALSE(OrvaFileExists(path.c_str())) << testing::PrintToString(path);
    EXPECT_FALSE(OrvaFileExists(nullptr));
    EXPECT_FALSE(OrvaFileExists(L""));
}

TEST(EnsureDirectory, CreatesOrFindsIt) {
    const TempFolder folder;
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    const std::wstring file = folder.MakeFile(L"file", "contents");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(OrvaEnsureDirectory((folder / L"a\\b.c").c_str()), 0);
        EXPECT_EQ(OrvaEnsureDirectory(L"relative\\path\\"), 0);
    }
    EXPECT_TRUE(IsDirectory(folder / L"a\\b.c"));
    EXPECT_TRUE(IsDirectory(folder / L"relative\\path"));
    EXPECT_EQ(OrvaEnsureDirectory(nullptr), 1);
    EXPECT_EQ(OrvaEnsureDirectory(L""), 1);
    EXPECT_EQ(OrvaEnsureDirectory(L"NUL"), 1);
    EXPECT_EQ(OrvaEnsureDirectory(file.c_str()), 1);
    EXPECT_EQ(OrvaEnsureDirectory((file + L"\\below").c_str()), 1);
    EXPECT_EQ(OrvaEnsureDirectory((folder / std::wstring(300, L'x')).c_str()), 1);
    EXPECT_EQ(ReadFile(file), "contents");
}

TEST(FileContents, GoThereAndBack) {
    const TempFolder folder;
    const std::wstring path = folder / L"file";
    std::string large(3'000'000, '\0');
    for (std::size_t i = 0; i < large.size(); ++i)
        large[i] = static_cast<char>(i * i >> 7);
    for (const std::string& contents : {std::string(), std::string("a\0b\r\n\x1a", 6), large, std::string("short")}) {
        ASSERT_EQ(OrvaWriteFile(path.c_str(), contents.data(), contents.size()), 0) << contents.size();
        EXPECT_EQ(ReadFile(path), contents);
        std::vector<unsigned char> read{1, 2, 3};
        ASSERT_EQ(OrvaReadFile(path.c_str(), read), 0) << contents.size();
        EXPECT_EQ(read, Bytes(contents));
    }
    EXPECT_EQ(OrvaWriteFile(path.c_str(), nullptr, 0), 0);
    EXPECT_EQ(TreeOf(folder.Path()), (Tree{{L"file", ""}})) << "no temporary file is left";
}

TEST(FileContents, AFailedWriteLeavesTheOldContents) {
    const TempFolder folder;
    const std::wstring held = folder.MakeFile(L"held", "old");
    const std::wstring readOnly = folder.MakeFile(L"read-only", "old");
    ASSERT_TRUE(::SetFileAttributesW(readOnly.c_str(), FILE_ATTRIBUTE_READONLY));
    {
        const UniqueFileHandle holder = Hold(held, FILE_SHARE_READ);
        ASSERT_TRUE(holder);
        EXPECT_EQ(OrvaWriteFile(held.c_str(), "new", 3), 1);
    }
    EXPECT_EQ(OrvaWriteFile(readOnly.c_str(), "new", 3), 1);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(OrvaWriteFile(folder.Path().c_str(), "new", 3), 1);
    EXPECT_EQ(OrvaWriteFile((folder.Path() + L"\\").c_str(), "new", 3), 1);
    EXPECT_EQ(OrvaWriteFile((folder / L"missing\\file").c_str(), "new", 3), 1);
    EXPECT_EQ(OrvaWriteFile(held.c_str(), nullptr, 3), 1);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(OrvaWriteFile(nullptr, "new", 3), 1);
    EXPECT_EQ(OrvaWriteFile(L"", "new", 3), 1);
    EXPECT_EQ(OrvaWriteFile(L"NUL", "new", 3), 1);
    EXPECT_EQ(TreeOf(folder.Path()), (Tree{{L"held", "old"}, {L"read-only", "old"}})) << "no temporary file is left";
}

TEST(FileContents, WritingKeepsHiddenAndSystem) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"file", "old");
    ASSERT_TRUE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));
    EXPECT_EQ(OrvaWriteFile(path.c_str(), "new", 3), 0);
    EXPECT_EQ(ReadFile(path), "new");
    EXPECT_EQ(::GetFileAttributesW(path.c_str()) & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM),
              static_cast<DWORD>(FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM));
}

TEST(FileContents, ReadingSharesAndFailsWithoutTouchingTheResult) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"file", "contents");
    std::vector<unsigned char> read{1, 2, 3};
    {
        const UniqueFileHandle writer = Hold(path, FILE_SHARE_READ | FILE_SHARE_WRITE, GENERIC_WRITE);
        ASSERT_TRUE(writer);
        EXPECT_EQ(OrvaReadFile(path.c_str(), read), 0);
        EXPECT_EQ(read, Bytes("contents"));
    }
    read = {1, 2, 3};
    {
        const UniqueFileHandle holder = Hold(path);
        EXPECT_EQ(OrvaReadFile(path.c_str(), read), 1);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    }
    EXPECT_EQ(OrvaReadFile((folder / L"missing").c_str(), read), 1);
    EXPECT_EQ(OrvaReadFile(folder.Path().c_str(), read), 1);
    EXPECT_EQ(OrvaReadFile(L"CON", read), 1);
    EXPECT_EQ(OrvaReadFile(nullptr, read), 1);
    EXPECT_EQ(OrvaReadFile(L"", read), 1);
    EXPECT_EQ(read, (std::vector<unsigned char>{1, 2, 3}));
}

template <LONGLONG size>
BOOL WINAPI SaySize(HANDLE, LARGE_INTEGER* answer) {
    answer->QuadPart = size;
    return TRUE;
}

TEST(FileContents, ReadingGoesByTheDataNotByTheSize) {
    const TempFolder folder;
    const std::string contents(100000, 'x');
    const std::wstring path = folder.MakeFile(L"file", contents);
    std::vector<unsigned char> read{1, 2, 3};
    {
        const tarnu::test::ImportPatch vast(L"TarnuWin32Utils.dll", "GetFileSizeEx", &SaySize<MAXLONGLONG>);
        EXPECT_EQ(OrvaReadFile(path.c_str(), read), 1);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
        EXPECT_EQ(read, (std::vector<unsigned char>{1, 2, 3}));
    }
    const tarnu::test::ImportPatch grows(L"TarnuWin32Utils.dll", "GetFileSizeEx", &SaySize<3>);
    EXPECT_EQ(OrvaReadFile(path.c_str(), read), 0);
    EXPECT_TRUE(read == Bytes(contents));
}

TEST(RelativePath, LeadsFromADirectoryToAPath) {
    struct Sample {
        const wchar_t* directory;
        const wchar_t* path;
        const wchar_t* relative;
    };
    const Sample samples[] = {
        {L"C:\\a\\b", L"C:\\a\\b\\x.txt", L".\\x.txt"},
        {L"C:\\a\\b\\", L"C:\\a\\b\\x.txt", L".\\x.txt"},
        {L"C:/a/b", L"C:\\A\\B\\c/x.txt", L".\\c\\x.txt"},
        {L"C:\\a\\b", L"C:\\a\\c\\", L"..\\c"},
        {L"C:\\a\\b", L"C:\\a", L".."},
        {L"C:\\a\\b", L"C:\\a\\b", L"."},
        {L"C:\\a\\b\\", L"c:\\A\\B\\", L"."},
        {L"C:\\a\\b", L"C:\\a\\bc", L"..\\bc"},
        {L"C:\\a\\.\\b\\..\\b", L"C:\\a\\b\\.hidden", L".\\.hidden"},
        {L"C:\\", L"C:\\x.txt", L".\\x.txt"},
        {L"C:\\", L"C:\\", L"."},
        {L"C:\\a", L"C:\\", L".."},
    };
    for (const Sample& sample : samples) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(sample.directory) + L" -> " + sample.path));
        CString relative = L"before";
        EXPECT_TRUE(OrvaGetRelativePath(sample.directory, sample.path, relative));
        EXPECT_STREQ(relative, sample.relative);
    }
    const TempFolder folder;
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    CString relative;
    EXPECT_TRUE(OrvaGetRelativePath(L"one", L"two\\three", relative)) << "relative ones start at the current directory";
    EXPECT_STREQ(relative, L"..\\two\\three");
}

TEST(RelativePath, FailsCleanly) {
    std::wstring deep = L"C:";
    for (int i = 0; i < 120; ++i)
        deep += L"\\a";
    std::wstring wide = L"C:\\" + std::wstring(60, L'x');
    const std::wstring overlong = L"C:\\" + std::wstring(300, L'x');
    CString relative = L"before";
    EXPECT_FALSE(OrvaGetRelativePath(deep.c_str(), wide.c_str(), relative)) << "120 levels up need 360 characters";
    EXPECT_FALSE(OrvaGetRelativePath(overlong.c_str(), L"C:\\a", relative));
    EXPECT_FALSE(OrvaGetRelativePath(L"C:\\a", overlong.c_str(), relative));
    EXPECT_FALSE(OrvaGetRelativePath(L"C:\\a", L"D:\\a", relative));
    EXPECT_FALSE(OrvaGetRelativePath(nullptr, L"C:\\a", relative));
    EXPECT_FALSE(OrvaGetRelativePath(L"C:\\a", nullptr, relative));
    EXPECT_FALSE(OrvaGetRelativePath(L"", L"C:\\a", relative));
    EXPECT_FALSE(OrvaGetRelativePath(L"C:\\a", L"", relative));
    EXPECT_STREQ(relative, L"before");
    EXPECT_TRUE(OrvaGetRelativePath(deep.substr(0, 2 + 80 * 2).c_str(), L"C:\\b", relative));
    EXPECT_EQ(relative.GetLength(), 80 * 3 + 1);
}

} // namespace
