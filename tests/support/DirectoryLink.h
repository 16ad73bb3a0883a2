/// @file
/// A link to a directory, for tests, as far as the system can make one.
#ifndef TARNU_TESTS_SUPPORT_DIRECTORYLINK_H
#define TARNU_TESTS_SUPPORT_DIRECTORYLINK_H

#include "support/HostProgram.h"
#include "support/Wait.h"

#include <string>
#include <utility>

namespace tarnu::test {

/// Makes a link to a directory and takes it away again. On Windows that is a symbolic link, which may take a privilege.
/// Wine's own links can't be read back, so there the host's ln makes one; Wine shows it as a reparse point that it
/// can't read, and takes a removal for one of the target.
class DirectoryLink {
public:
    DirectoryLink(std::wstring path, std::wstring target) : m_path(std::move(path)), m_target(std::move(target)) {
        if (IsWine()) {
            RunOnHost(L"ln -s " + HostPath(m_target) + L" " + HostPath(m_path));
            WaitUntil([this] { return Exists(); });
        } else {
            ::CreateSymbolicLinkW(m_path.c_str(), m_target.c_str(), SYMBOLIC_LINK_FLAG_DIRECTORY);
        }
    }
    ~DirectoryLink() {
        ::CreateDirectoryW(m_target.c_str(), nullptr); // under Wine a link that leads nowhere can't be seen
        if (!Exists()) return;
        if (IsWine()) {
            RunOnHost(L"rm -f " + HostPath(m_path));
            WaitUntil([this] { return !Exists(); });
        } else {
            ::RemoveDirectoryW(m_path.c_str());
        }
    }
    DirectoryLink(const DirectoryLink&) = delete;
    DirectoryLink& operator=(const DirectoryLink&) = delete;

    /// The link is there.
    bool Exists() const {
        const DWORD attributes = ::GetFileAttributesW(m_path.c_str());
        return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    }

    static bool IsWine() { return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr; }

private:
    static std::wstring HostPath(const std::wstring& path) {
        using GetUnixName = char*(CDECL*)(const wchar_t*);
        const auto getUnixName = reinterpret_cast<GetUnixName>(
            reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
        char* name = getUnixName != nullptr ? getUnixName(path.c_str()) : nullptr;
        if (name == nullptr) return {};
        const std::string narrow(name);
        ::HeapFree(::GetProcessHeap(), 0, name);
        return std::wstring(narrow.begin(), narrow.end()); // test paths are ASCII
    }

    std::wstring m_path;
    std::wstring m_target;
};

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_DIRECTORYLINK_H
