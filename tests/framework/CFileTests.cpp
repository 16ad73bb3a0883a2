// CFile, CFileStatus and CFileException: flags, sharing, status, failures.

#include "tarnu/framework/framework.h"

#include "framework/Catch.h"
#include "support/HandleCount.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using tarnu::test::Catch;
using tarnu::test::CountHandles;
using tarnu::test::Exists;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;

/// A path in the folder that is exactly @p length characters long.
std::wstring PathOfLength(const TempFolder& folder, std::size_t length) {
    const std::size_t base = (folder / L"").size();
    EXPECT_LT(base + 10, length);
    return folder / std::wstring(length - base, L'n');
}

// Opening

TEST(CFileOpen, CreationFlags) {
    const TempFolder folder;
    const struct {
        const char* name;
        UINT flags;
        bool exists;
        bool opens;
        const char* contents;
    } cases[] = {
        {"read existing", CFile::modeRead, true, true, "old"},
        {"read missing", CFile::modeRead, false, false, nullptr},
        {"write existing", CFile::modeReadWrite, true, true, "old"},
        {"no-truncate alone creates nothing", CFile::modeWrite | CFile::modeNoTruncate, false, false, nullptr},
        {"create missing", CFile::modeCreate | CFile::modeWrite, false, true, ""},
        {"create existing", CFile::modeCreate | CFile::modeWrite, true, true, ""},
        {"keep existing", CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite, true, true, "old"},
        {"keep missing", CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite, false, true, ""},
        {"both accesses", CFile::modeWrite | CFile::modeReadWrite, true, false, "old"},
        {"unknown share mode", CFile::modeRead | 0x0050, true, false, "old"},
    };
    for (const auto& test : cases) {
        const std::wstring path = folder / L"file.txt";
        ::DeleteFileW(path.c_str());
        if (test.exists) folder.MakeFile(L"file.txt", "old");
        CFile file;
        CFileException error;
        EXPECT_EQ(test.opens, file.Open(path.c_str(), test.flags, &error) != FALSE) << test.name;
        EXPECT_EQ(test.opens, file.m_hFile != CFile::hFileNull) << test.name;
        EXPECT_EQ(test.opens, error.m_cause == CFileException::none) << test.name;
        file.Close();
        EXPECT_EQ(test.contents != nullptr, Exists(path)) << test.name;
        if (test.contents != nullptr) {
            EXPECT_EQ(test.contents, ReadFile(path)) << test.name;
        }
    }
}

TEST(CFileOpen, ShareModesKeepOthersOut) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"shared.txt", "text");
    const struct {
        UINT share;
        bool othersRead;
        bool othersWrite;
    } cases[] = {{CFile::shareCompat, false, false},
                 {CFile::shareExclusive, false, false},
                 {CFile::shareDenyWrite, true, false},
                 {CFile::shareDenyRead, false, true},
                 {CFile::shareDenyNone, true, true}};
    for (const auto& test : cases) {
        CFile first(path.c_str(), CFile::modeRead | test.share);
        CFile second;
        CFileException error;
        EXPECT_EQ(test.othersRead, second.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone, &error) != FALSE)
            << test.share;
        if (!test.othersRead) {
            EXPECT_EQ(CFileException::sharingViolation, error.m_cause);
            EXPECT_EQ(ERROR_SHARING_VIOLATION, error.m_lOsError);
            EXPECT_STREQ(path.c_str(), error.m_strFileName);
        }
        second.Abort();
        EXPECT_EQ(test.othersWrite, second.Open(path.c_str(), CFile::modeWrite | CFile::shareDenyNone) != FALSE)
            << test.share;
    }
}

TEST(CFileOpen, HandlesAreInheritedUnlessRefused) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"file.txt");
    DWORD flags = 0;
    CFile file(path.c_str(), CFile::modeRead);
    ASSERT_TRUE(::GetHandleInformation(file, &flags));
    EXPECT_NE(0U, flags & HANDLE_FLAG_INHERIT);
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeRead | CFile::modeNoInherit)) << "an open file is closed first";
    ASSERT_TRUE(::GetHandleInformation(file, &flags));
    EXPECT_EQ(0U, flags & HANDLE_FLAG_INHERIT);
}

TEST(CFileOpen, NamesUpToTheSystemsLimit) {
    const TempFolder folder;
    const std::wstring longest = PathOfLength(folder, MAX_PATH - 1);
    CFile file;
    EXPECT_TRUE(file.Open(longest.c_str(), CFile::modeCreate | CFile::modeWrite));
    file.Close();
    for (const std::wstring& path : {PathOfLength(folder, MAX_PATH), PathOfLength(folder, MAX_PATH + 1),
                                     PathOfLength(folder, 40000), folder / L"missing\\file", std::wstring()}) {
        CFileException error;
        EXPECT_FALSE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite, &error));
        EXPECT_EQ(CFileException::badPath, error.m_cause) << path.size();
    }
    CFileException error;
    EXPECT_FALSE(file.Open(nullptr, CFile::modeRead, &error));
    EXPECT_FALSE(file.Open(folder.Path().c_str(), CFile::modeRead, &error)) << "a folder";
    EXPECT_EQ(CFileException::accessDenied, error.m_cause);
}

TEST(CFileOpen, KeepsTheAbsolutePath) {
    const TempFolder folder;
    folder.MakeFile(L"sub\\name.tar.gz");
    folder.MakeFile(L"sub\\plain");
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    CFile file(L"sub\\.\\name.tar.gz", CFile::modeRead);
    EXPECT_STREQ((folder / L"sub\\name.tar.gz").c_str(), file.GetFilePath());
    EXPECT_STREQ(L"name.tar.gz", file.GetFileName());
    EXPECT_STREQ(L"name.tar", file.GetFileTitle());
    ASSERT_TRUE(file.Open(L"sub/plain", CFile::modeRead));
    EXPECT_STREQ(L"plain", file.GetFileTitle());
    file.Close();
    EXPECT_STREQ(L"", file.GetFilePath());
}

TEST(CFileOpen, ClosesWhatItOpenedAndLeavesWhatWasAttached) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"file.txt", "text");
    const unsigned before = CountHandles();
    {
        CFile opened(path.c_str(), CFile::modeRead);
        EXPECT_EQ(before + 1, CountHandles());
        {
            CFile attached(opened.m_hFile);
            char text[4] = {};
            EXPECT_EQ(4U, attached.Read(text, 4));
        }
        EXPECT_EQ(before + 1, CountHandles());
    }
    EXPECT_EQ(before, CountHandles());
    CFile twice(path.c_str(), CFile::modeRead);
    twice.Close();
    twice.Close();
    twice.Abort();
    EXPECT_EQ(before, CountHandles());
}

// Reading and writing

TEST(CFileContents, ReadsWritesSeeksAndCuts) {
    const TempFolder folder;
    const std::wstring path = folder / L"file.bin";
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeReadWrite);
    file.Write("0123456789", 10);
    file.Write(nullptr, 0);
    EXPECT_EQ(10U, file.GetPosition());
    EXPECT_EQ(3U, file.Seek(3, CFile::begin));
    EXPECT_EQ(5U, file.Seek(2, CFile::current));
    EXPECT_EQ(8U, file.Seek(-2, CFile::end));
    char text[10] = {};
    EXPECT_EQ(2U, file.Read(text, 10));
    EXPECT_STREQ("89", text);
    EXPECT_EQ(0U, file.Read(text, 10)) << "end of file";
    EXPECT_EQ(0U, file.Read(nullptr, 0));
    file.SetLength(4);
    EXPECT_EQ(4U, file.GetLength());
    EXPECT_EQ(4U, file.GetPosition());
    file.SetLength(6);
    EXPECT_EQ(6U, file.SeekToEnd());
    file.SeekToBegin();
    EXPECT_EQ(0U, file.GetPosition());
    EXPECT_EQ(0x100000000ULL, file.Seek(0x100000000LL, CFile::begin)) << "positions have 64 bits";
    file.Flush();
    file.Close();
    EXPECT_EQ((std::string{"0123\0\0", 6}), ReadFile(path));
}

TEST(CFileContents, FailuresAreThrown) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"file.txt", "text");
    CFile file(path.c_str(), CFile::modeRead);
    char text[4] = {};
    const auto write = Catch([&] { file.Write("x", 1); });
    ASSERT_NE(nullptr, write);
    EXPECT_EQ(CFileException::accessDenied, write->m_cause);
    EXPECT_EQ(ERROR_ACCESS_DENIED, write->m_lOsError);
    EXPECT_STREQ(path.c_str(), write->m_strFileName);
    const auto seek = Catch([&] { file.Seek(-1, CFile::begin); });
    ASSERT_NE(nullptr, seek);
    // Wine reports an invalid parameter here, Windows a negative seek.
    EXPECT_TRUE(seek->m_cause == CFileException::badSeek || seek->m_cause == CFileException::badPath);
    EXPECT_NE(nullptr, Catch([&] { file.SetLength(~0ULL); }));
    EXPECT_NE(nullptr, Catch([&] { file.SetLength(1); }));
    file.Close();
    EXPECT_NE(nullptr, Catch([&] { file.Read(text, 4); }));
    EXPECT_NE(nullptr, Catch([&] { file.Write(text, 4); }));
    EXPECT_NE(nullptr, Catch([&] { file.GetLength(); }));
    EXPECT_NE(nullptr, Catch([&] { file.GetPosition(); }));
    EXPECT_EQ(nullptr, Catch([&] { file.Flush(); }));
    EXPECT_EQ("text", ReadFile(path));
}

TEST(CFileContents, RenameAndRemove) {
    const TempFolder folder;
    const std::wstring first = folder.MakeFile(L"first", "1");
    const std::wstring second = folder.MakeFile(L"second", "2");
    const auto taken = Catch([&] { CFile::Rename(first.c_str(), second.c_str()); });
    ASSERT_NE(nullptr, taken);
    EXPECT_EQ(CFileException::accessDenied, taken->m_cause);
    EXPECT_STREQ(first.c_str(), taken->m_strFileName);
    EXPECT_EQ("2", ReadFile(second));
    CFile::Remove(second.c_str());
    EXPECT_FALSE(Exists(second));
    CFile::Rename(first.c_str(), second.c_str());
    EXPECT_EQ("1", ReadFile(second));
    const auto missing = Catch([&] { CFile::Remove(first.c_str()); });
    ASSERT_NE(nullptr, missing);
    EXPECT_EQ(CFileException::fileNotFound, missing->m_cause);
}

// Status

TEST(CFileStatusByName, ReportsTimesSizeAttributesAndFullName) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"status.txt", "12345");
    {
        const FILETIME written{0xD53E8000, 0x019DB1DE + 0x10000}; // some whole and a part of a second after 1970
        CFile file(path.c_str(), CFile::modeWrite);
        ASSERT_TRUE(::SetFileTime(file, nullptr, nullptr, &written));
    }
    ASSERT_TRUE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
    WIN32_FILE_ATTRIBUTE_DATA data{};
    ASSERT_TRUE(::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data));
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    CFileStatus status;
    status.m_size = 99;
    ASSERT_TRUE(CFile::GetStatus(L"status.txt", status));
    EXPECT_EQ(5U, status.m_size);
    EXPECT_EQ(data.dwFileAttributes & 0xFF, status.m_attribute);
    EXPECT_NE(0, status.m_attribute & FILE_ATTRIBUTE_READONLY);
    EXPECT_STREQ(path.c_str(), status.m_szFullName);
    EXPECT_EQ(CTime(data.ftLastWriteTime), status.m_mtime);
    EXPECT_EQ(CTime(data.ftCreationTime), status.m_ctime);
    EXPECT_NE(0, status.m_atime.GetTime());
    ASSERT_TRUE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL));

    CFile file(path.c_str(), CFile::modeRead);
    CFileStatus open;
    ASSERT_TRUE(file.GetStatus(open));
    EXPECT_EQ(5U, open.m_size);
    EXPECT_EQ(status.m_mtime, open.m_mtime);
    EXPECT_STREQ(path.c_str(), open.m_szFullName);

    CFileStatus directory;
    ASSERT_TRUE(CFile::GetStatus(folder.Path().c_str(), directory));
    EXPECT_NE(0, directory.m_attribute & FILE_ATTRIBUTE_DIRECTORY);
}

TEST(CFileStatusByName, FailsWithoutAFile) {
    const TempFolder folder;
    folder.MakeFile(L"a.txt");
    CFileStatus status;
    EXPECT_FALSE(CFile::GetStatus((folder / L"missing").c_str(), status));
    EXPECT_FALSE(CFile::GetStatus(L"", status));
    EXPECT_FALSE(CFile::GetStatus(nullptr, status));
    EXPECT_FALSE(CFile::GetStatus((folder / L"*.txt").c_str(), status)) << "a pattern is no name";
    const std::wstring longest = PathOfLength(folder, MAX_PATH - 1);
    tarnu::test::WriteFile(longest, "x");
    ASSERT_TRUE(CFile::GetStatus(longest.c_str(), status));
    EXPECT_STREQ(longest.c_str(), status.m_szFullName);
    for (const std::size_t length : {std::size_t{MAX_PATH}, std::size_t{40000}}) {
        EXPECT_FALSE(CFile::GetStatus(PathOfLength(folder, length).c_str(), status)) << length;
        EXPECT_STREQ(L"", status.m_szFullName);
    }
    CFile closed;
    ASSERT_TRUE(closed.GetStatus(status));
    EXPECT_STREQ(L"", status.m_szFullName);
    EXPECT_EQ(0U, status.m_size);
    CFile named;
    named.SetFilePath(std::wstring(259, L'n').c_str());
    EXPECT_TRUE(named.GetStatus(status));
    named.SetFilePath(std::wstring(260, L'n').c_str());
    EXPECT_FALSE(named.GetStatus(status)) << "no room for the name";
    EXPECT_STREQ(L"", status.m_szFullName);
    EXPECT_TRUE(CFile::GetStatus((L"\\\\?\\" + folder.Path()).c_str(), status)) << "the question mark is no wildcard";
}

// Exceptions

TEST(CFileExceptionThrown, CrossesTheLibraryBoundaryByPointer) {
    try {
        AfxThrowFileException(CFileException::diskFull, ERROR_DISK_FULL, L"name");
        FAIL() << "nothing thrown";
    } catch (CException* exception) {
        ASSERT_TRUE(exception->IsKindOf(RUNTIME_CLASS(CFileException)));
        const auto* file = dynamic_cast<CFileException*>(exception);
        ASSERT_NE(nullptr, file);
        EXPECT_EQ(CFileException::diskFull, file->m_cause);
        EXPECT_EQ(ERROR_DISK_FULL, file->m_lOsError);
        EXPECT_STREQ(L"name", file->m_strFileName);
        exception->Delete();
    }
    const auto missing = Catch([] { CFile(L"z:\\no such\\folder\\file", CFile::modeRead); });
    ASSERT_NE(nullptr, missing);
    EXPECT_EQ(CFileException::badPath, missing->m_cause);
    EXPECT_EQ(-1, Catch([] { AfxThrowFileException(CFileException::endOfFile); })->m_lOsError);
}

TEST(CFileExceptionThrown, DeleteFreesOnlyWhatAsksForIt) {
    class Watched : public CException {
    public:
        Watched(BOOL autoDelete, bool& ended) : CException(autoDelete), m_ended(ended) {}
        ~Watched() override { m_ended = true; }

    private:
        bool& m_ended;
    };
    bool ended = false;
    (new Watched(TRUE, ended))->Delete();
    EXPECT_TRUE(ended);
    ended = false;
    {
        Watched onStack(FALSE, ended);
        onStack.Delete();
        EXPECT_FALSE(ended);
    }
    EXPECT_TRUE(ended);
}

TEST(CFileExceptionCause, StandsForTheSystemsError) {
    const struct {
        DWORD error;
        int cause;
    } cases[] = {{NO_ERROR, CFileException::none},
                 {ERROR_FILE_NOT_FOUND, CFileException::fileNotFound},
                 {ERROR_PATH_NOT_FOUND, CFileException::badPath},
                 {ERROR_TOO_MANY_OPEN_FILES, CFileException::tooManyOpenFiles},
                 {ERROR_ACCESS_DENIED, CFileException::accessDenied},
                 {ERROR_INVALID_HANDLE, CFileException::invalidFile},
                 {ERROR_CURRENT_DIRECTORY, CFileException::removeCurrentDir},
                 {ERROR_NEGATIVE_SEEK, CFileException::badSeek},
                 {ERROR_NOT_READY, CFileException::hardIO},
                 {ERROR_SHARING_VIOLATION, CFileException::sharingViolation},
                 {ERROR_LOCK_VIOLATION, CFileException::lockViolation},
                 {ERROR_DISK_FULL, CFileException::diskFull},
                 {ERROR_HANDLE_EOF, CFileException::endOfFile},
                 {0xFFFFFFFF, CFileException::genericException}};
    for (const auto& test : cases) {
        const auto error = static_cast<LONG>(test.error);
        EXPECT_EQ(test.cause, CFileException::OsErrorToException(error)) << test.error;
        const auto thrown = Catch([error] { CFileException::ThrowOsError(error, L"name"); });
        ASSERT_NE(nullptr, thrown);
        EXPECT_EQ(test.cause, thrown->m_cause);
        EXPECT_EQ(error, thrown->m_lOsError);
    }
}

TEST(CFileExceptionText, FitsTheBuffer) {
    const CFileException error(CFileException::diskFull, ERROR_DISK_FULL, L"c:\\report.txt");
    wchar_t text[200];
    UINT help = 7;
    ASSERT_TRUE(error.GetErrorMessage(text, 200, &help));
    EXPECT_EQ(0U, help);
    EXPECT_EQ(0U, std::wstring(text).find(L"c:\\report.txt"));
    EXPECT_GT(std::wcslen(text), std::wcslen(L"c:\\report.txt"));
    const std::wstring whole(text);
    for (const UINT size : {1U, 2U, 10U}) {
        wchar_t small[12];
        std::wmemset(small, L'#', 12);
        ASSERT_TRUE(error.GetErrorMessage(small, size));
        EXPECT_EQ(whole.substr(0, size - 1), small);
        EXPECT_EQ(L'#', small[size]) << "nothing behind the buffer is written";
    }
    EXPECT_FALSE(error.GetErrorMessage(text, 0));
    EXPECT_FALSE(error.GetErrorMessage(nullptr, 10));
    EXPECT_TRUE(CFileException(1000).GetErrorMessage(text, 200)) << "an unknown cause";
    EXPECT_TRUE(CFileException(-1).GetErrorMessage(text, 200));
    help = 7;
    EXPECT_FALSE(CException().GetErrorMessage(text, 200, &help));
    EXPECT_EQ(0U, help);
    EXPECT_STREQ(L"", text);
    text[0] = L'#';
    EXPECT_FALSE(CException().GetErrorMessage(text, 0));
    EXPECT_FALSE(CException().GetErrorMessage(nullptr, 200));
    EXPECT_EQ(L'#', text[0]);
}

} // namespace
