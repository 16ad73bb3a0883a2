#include "support/TempFolder.h"
#include "tarnu/filesystem/OrvaFileModifiedManager.h"
#include "tarnu/support/Owners.h"

#include <cstring>
#include <cwctype>
#include <gtest/gtest.h>

namespace {

using tarnu::support::UniqueFileHandle;
using tarnu::test::TempFolder;

/// A whole second, given in seconds since 2020-01-01 UTC.
FILETIME Second(ULONGLONG seconds) {
    const ULONGLONG ticks = 132223104000000000ull + seconds * 10000000ull;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

/// Sets the last-modification and, when given, the last-access time.
void Touch(const std::wstring& path, FILETIME modified, const FILETIME* accessed = nullptr) {
    const UniqueFileHandle file(::CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                              nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(file);
    ASSERT_TRUE(::SetFileTime(file.Get(), nullptr, accessed, &modified));
}

bool IsModified(const std::wstring& path) {
    return OrvaFileModifiedManager::IsFileModified(path.c_str());
}

CFileStatus SampleStatus() {
    CFileStatus status;
    status.m_ctime = CTime(100);
    status.m_mtime = CTime(200);
    status.m_atime = CTime(300);
    status.m_size = 0x123456789abull;
    status.m_attribute = 0x21;
    std::wcscpy(status.m_szFullName, L"C:\\a\\b.txt");
    return status;
}

TEST(FileModifiedStatus, IsZeroByDefault) {
    alignas(OrvaFileModifiedStatus) unsigned char storage[sizeof(OrvaFileModifiedStatus)];
    std::memset(storage, 0xcd, sizeof(storage));
    const auto* status = ::new (storage) OrvaFileModifiedStatus;
    EXPECT_EQ(status->m_ctime.GetTime(), 0);
    EXPECT_EQ(status->m_mtime.GetTime(), 0);
    EXPECT_EQ(status->m_atime.GetTime(), 0);
    EXPECT_EQ(status->m_size, 0u);
    EXPECT_EQ(status->m_attribute, 0);
    for (const wchar_t character : status->m_szFullName)
        ASSERT_EQ(character, L'\0');
    status->~OrvaFileModifiedStatus();
}

TEST(FileModifiedStatus, ConstructionTakesAllAssignmentLeavesAccessTimeAndAttribute) {
    const OrvaFileModifiedStatus status(SampleStatus());
    EXPECT_EQ(status.m_ctime.GetTime(), 100);
    EXPECT_EQ(status.m_mtime.GetTime(), 200);
    EXPECT_EQ(status.m_atime.GetTime(), 300);
    EXPECT_EQ(status.m_size, 0x123456789abull);
    EXPECT_EQ(status.m_attribute, 0x21);
    EXPECT_STREQ(status.m_szFullName, L"C:\\a\\b.txt");

    OrvaFileModifiedStatus assigned;
    assigned.m_atime = CTime(7);
    assigned.m_attribute = 4;
    std::wcscpy(assigned.m_szFullName, L"C:\\a much longer name than the other one");
    EXPECT_EQ(&(assigned = status), &assigned);
    EXPECT_EQ(assigned.m_ctime.GetTime(), 100);
    EXPECT_EQ(assigned.m_mtime.GetTime(), 200);
    EXPECT_EQ(assigned.m_size, 0x123456789abull);
    EXPECT_STREQ(assigned.m_szFullName, L"C:\\a\\b.txt");
    EXPECT_EQ(assigned.m_atime.GetTime(), 7);
    EXPECT_EQ(assigned.m_attribute, 4);
    const OrvaFileModifiedStatus& itself = assigned;
    EXPECT_EQ(&(assigned = itself), &assigned);
    EXPECT_STREQ(assigned.m_szFullName, L"C:\\a\\b.txt");
}

TEST(FileModifiedStatus, OnlyAnObjectEqualsItself) {
    const OrvaFileModifiedStatus first(SampleStatus());
    const OrvaFileModifiedStatus second(first);
    const OrvaFileModifiedStatus& alias = first;
    EXPECT_TRUE(first == alias);
    EXPECT_FALSE(first != alias);
    EXPECT_FALSE(first == second);
    EXPECT_TRUE(first != second);
}

TEST(FileModified, AnswersTrueOnceForEveryChangeOfTheModificationTime) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"file.txt", "one");
    const std::wstring other = folder.MakeFile(L"other.txt", "one");
    Touch(path, Second(0));
    Touch(other, Second(0));

    EXPECT_TRUE(IsModified(path)) << "the first question";
    {
        OrvaFileModifiedManager manager; // shares the list with all others, and leaves it behind
        EXPECT_TRUE(manager.IsFileModified(other.c_str()));
    }
    EXPECT_FALSE(IsModified(path));
    for (const ULONGLONG seconds : {10U, 5U, 0U}) { // back in time counts as well
        Touch(path, Second(seconds));
        EXPECT_TRUE(IsModified(path)) << seconds;
        EXPECT_FALSE(IsModified(path)) << seconds;
        EXPECT_FALSE(IsModified(other)) << "a change of one file is none of another";
    }
}

TEST(FileModified, NothingButTheModificationTimeCounts) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"file.txt", "one");
    Touch(path, Second(0));
    EXPECT_TRUE(IsModified(path));

    tarnu::test::WriteFile(path, "a longer text");
    const FILETIME accessed = Second(77);
    Touch(path, Second(0), &accessed);
    ASSERT_TRUE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN));
    EXPECT_FALSE(IsModified(path));
}

TEST(FileModified, WhatCannotBeReadIsModifiedAndNotRemembered) {
    const TempFolder folder;
    const std::wstring path = folder / L"late.txt";
    const std::wstring overlong = folder / std::wstring(300, L'x');
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(IsModified(path));
        EXPECT_TRUE(IsModified(overlong));
        EXPECT_TRUE(IsModified(L""));
        EXPECT_TRUE(OrvaFileModifiedManager::IsFileModified(nullptr));
    }
    folder.MakeFile(L"late.txt");
    Touch(path, Second(0));
    EXPECT_TRUE(IsModified(path)) << "the first question that could be answered";
    EXPECT_FALSE(IsModified(path));

    // While it is gone it counts as modified; what was remembered stays, so its return unchanged is no change.
    ASSERT_TRUE(::DeleteFileW(path.c_str()));
    EXPECT_TRUE(IsModified(path));
    folder.MakeFile(L"late.txt");
    Touch(path, Second(0));
    EXPECT_FALSE(IsModified(path));
}

TEST(FileModified, NamesAreComparedAsGivenWithoutCase) {
    const TempFolder folder;
    std::wstring path = folder.MakeFile(L"Name.txt");
    Touch(path, Second(0));
    EXPECT_TRUE(IsModified(path));
    for (wchar_t& character : path)
        character = static_cast<wchar_t>(std::towupper(character));
    EXPECT_FALSE(IsModified(path));

    // The list knows full names only, so a spelling that is not one is new each time.
    const std::wstring spelling = folder.Path() + L"\\.\\Name.txt";
    EXPECT_TRUE(IsModified(spelling));
    EXPECT_TRUE(IsModified(spelling));
    EXPECT_FALSE(IsModified(path));
}

} // namespace
