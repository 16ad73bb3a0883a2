/// @file
/// The attribute query.
#include "tarnu/paths/OrvaFileAttributes.h"

#include "tests/support/HandleCount.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstring>

using tarnu::test::TempFolder;

namespace {

/// A record whose every byte is 0x5A, to see what was written.
OrvaFileAttributeData Poisoned() {
    OrvaFileAttributeData data;
    std::memset(&data, 0x5A, sizeof data);
    return data;
}
constexpr DWORD poison = 0x5A5A5A5A;

TEST(OrvaFileAttributes, FillsTheWholeRecordOfAFile) {
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"x.txt", "some text");
    ASSERT_TRUE(::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
    ::SetLastError(ERROR_GEN_FAILURE); // left over from somebody else
    OrvaFileAttributeData data = Poisoned();
    ASSERT_TRUE(OrvaGetFileAttributeData(file.c_str(), 0, &data));

    WIN32_FILE_ATTRIBUTE_DATA expected;
    ASSERT_TRUE(::GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &expected));
    EXPECT_EQ(data.dwFileAttributes, expected.dwFileAttributes);
    EXPECT_EQ(::CompareFileTime(&data.ftCreationTime, &expected.ftCreationTime), 0);
    EXPECT_EQ(::CompareFileTime(&data.ftLastWriteTime, &expected.ftLastWriteTime), 0);
    EXPECT_NE(data.ftLastAccessTime.dwHighDateTime, poison);
    EXPECT_EQ(data.nFileSizeHigh, 0u);
    EXPECT_EQ(data.nFileSizeLow, 9u);
}

TEST(OrvaFileAttributes, ReportsSizesBeyond32Bits) {
    const TempFolder folder;
    const std::wstring path = folder / L"large";
    // Sparse where the file system can; the sizes straddle the low half that looks like an error.
    for (const LONGLONG size : {0xFFFFFFFELL, 0xFFFFFFFFLL, 0x100000000LL, 0x1FFFFFFFFLL}) {
        const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        ASSERT_NE(file, INVALID_HANDLE_VALUE);
        LARGE_INTEGER end;
        end.QuadPart = size;
        const bool isSized = ::SetFilePointerEx(file, end, nullptr, FILE_BEGIN) && ::SetEndOfFile(file);
        ::CloseHandle(file);
        if (!isSized) GTEST_SKIP() << "no room for a large file";
        OrvaFileAttributeData data = Poisoned();
        ::SetLastError(ERROR_GEN_FAILURE);
        EXPECT_TRUE(OrvaGetFileAttributeData(path.c_str(), 0, &data)) << size;
        EXPECT_EQ((static_cast<LONGLONG>(data.nFileSizeHigh) << 32) | data.nFileSizeLow, size);
    }
}

TEST(OrvaFileAttributes, FailsForWhatItCannotOpen) {
    const TempFolder folder;
    const unsigned handles = tarnu::test::CountHandles();

    OrvaFileAttributeData data = Poisoned();
    EXPECT_FALSE(OrvaGetFileAttributeData(folder.Path().c_str(), 0, &data)) << "a directory";
    EXPECT_NE(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0u);
    EXPECT_EQ(data.nFileSizeLow, poison);

    for (const std::wstring& path : {folder / L"missing", std::wstring(), std::wstring(1000, L'x')}) {
        data = Poisoned();
        EXPECT_FALSE(OrvaGetFileAttributeData(path.c_str(), 0, &data));
        EXPECT_EQ(data.dwFileAttributes, INVALID_FILE_ATTRIBUTES);
        EXPECT_EQ(data.nFileSizeLow, poison);
    }
    data = Poisoned();
    EXPECT_FALSE(OrvaGetFileAttributeData(nullptr, 0, &data));
    EXPECT_EQ(data.dwFileAttributes, INVALID_FILE_ATTRIBUTES);

    const std::wstring locked = folder.MakeFile(L"locked");
    const HANDLE lock = ::CreateFileW(locked.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(lock, INVALID_HANDLE_VALUE);
    data = Poisoned();
    EXPECT_FALSE(OrvaGetFileAttributeData(locked.c_str(), 0, &data));
    EXPECT_NE(data.dwFileAttributes, INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(data.nFileSizeLow, poison);
    ::CloseHandle(lock);
    EXPECT_TRUE(OrvaGetFileAttributeData(locked.c_str(), 0, &data));

    EXPECT_EQ(tarnu::test::CountHandles(), handles);
}

TEST(OrvaFileAttributes, RefusesOtherLevelsAndNoRecord) {
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"x");
    for (const int level : {1, -1, 2}) {
        OrvaFileAttributeData data = Poisoned();
        EXPECT_FALSE(OrvaGetFileAttributeData(file.c_str(), level, &data));
        EXPECT_EQ(data.dwFileAttributes, poison);
    }
    EXPECT_FALSE(OrvaGetFileAttributeData(file.c_str(), 0, nullptr));
}

} // namespace
