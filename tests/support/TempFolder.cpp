#include "support/TempFolder.h"

#include "tarnu/support/Owners.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>

namespace tarnu::test {
namespace {

using support::UniqueFileHandle;
using support::UniqueFindHandle;

/// Lifts the length limit of 260 characters. Behind the prefix only backslashes separate.
std::wstring Long(std::wstring path) {
    std::replace(path.begin(), path.end(), L'/', L'\\');
    return path.starts_with(L"\\\\") ? path : L"\\\\?\\" + path;
}

void MakeFolders(const std::wstring& path) {
    for (size_t end = path.find(L'\\', 3); end != std::wstring::npos; end = path.find(L'\\', end + 1)) {
        ::CreateDirectoryW(Long(path.substr(0, end)).c_str(), nullptr);
    }
    ::CreateDirectoryW(Long(path).c_str(), nullptr);
}

} // namespace

TempFolder::TempFolder() {
    static std::atomic<unsigned> counter{0};
    wchar_t temp[MAX_PATH + 1] = {};
    ::GetTempPathW(MAX_PATH + 1, temp);
    m_path = temp;
    if (!m_path.ends_with(L'\\')) m_path += L'\\';
    m_path += L"tarnu-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++counter);
    RemoveTree(m_path); // left by a process of the same id that was ended
    MakeFolders(m_path);
    EXPECT_TRUE(Exists(m_path)) << "the temporary folder could not be created";
}

TempFolder::~TempFolder() {
    ::SetCurrentDirectoryW(L"C:\\");
    RemoveTree(m_path);
}

std::wstring TempFolder::operator/(std::wstring_view relative) const {
    return m_path + L'\\' + std::wstring(relative);
}

std::wstring TempFolder::MakeFolder(std::wstring_view relative) const {
    const std::wstring path = *this / relative;
    MakeFolders(path);
    EXPECT_TRUE(Exists(path));
    return path;
}

std::wstring TempFolder::MakeFile(std::wstring_view relative, std::string_view contents) const {
    const std::wstring path = *this / relative;
    MakeFolders(path.substr(0, path.rfind(L'\\')));
    WriteFile(path, contents);
    return path;
}

std::string ReadFile(const std::wstring& path) {
    const UniqueFileHandle file(::CreateFileW(Long(path).c_str(), GENERIC_READ,
                                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_TRUE(file) << "cannot open, error " << ::GetLastError();
    std::string contents;
    char buffer[65536];
    DWORD count = 0;
    while (file && ::ReadFile(file.Get(), buffer, sizeof(buffer), &count, nullptr) && count > 0) {
        contents.append(buffer, count);
    }
    return contents;
}

void WriteFile(const std::wstring& path, std::string_view contents) {
    const UniqueFileHandle file(
        ::CreateFileW(Long(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(file) << "cannot create, error " << ::GetLastError();
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(file.Get(), contents.data(), static_cast<DWORD>(contents.size()), &written, nullptr));
    EXPECT_EQ(contents.size(), written);
}

bool Exists(const std::wstring& path) {
    return ::GetFileAttributesW(Long(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

void RemoveTree(const std::wstring& path) {
    const std::wstring target = Long(path);
    const DWORD attributes = ::GetFileAttributesW(target.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        // A link without readable attributes may still be there.
        if (!::RemoveDirectoryW(target.c_str())) ::DeleteFileW(target.c_str());
        return;
    }
    if (attributes & FILE_ATTRIBUTE_READONLY) {
        ::SetFileAttributesW(target.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    }
    if (!(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        ::DeleteFileW(target.c_str());
        return;
    }
    if (!(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) {
        WIN32_FIND_DATAW data;
        UniqueFindHandle find(::FindFirstFileW((target + L"\\*").c_str(), &data));
        for (BOOL found = static_cast<bool>(find); found; found = ::FindNextFileW(find.Get(), &data)) {
            const std::wstring name = data.cFileName;
            if (name != L"." && name != L"..") RemoveTree(path + L'\\' + name);
        }
    }
    ::RemoveDirectoryW(target.c_str());
}

} // namespace tarnu::test
