/// @file
/// Paths as the system's file functions take them beyond 260 characters.
#ifndef TARNU_SUPPORT_EXTENDEDPATH_H
#define TARNU_SUPPORT_EXTENDEDPATH_H

#include "tarnu/framework/framework.h"

#include <cwchar>
#include <string>

namespace tarnu::support {

/// A path in the form that the system takes at any length: a long one absolute and behind "\\?\", any other as it is.
/// Refers to the text that it was made from, which must outlive it.
class SystemPath {
public:
    explicit SystemPath(const wchar_t* path) : m_path(path) {
        // Directories are limited to 248 characters, so that an 8.3 name still fits below them.
        constexpr std::size_t longFrom = MAX_PATH - 12;
        if (std::wcslen(path) < longFrom || IsExtended(path)) return;
        const DWORD size = ::GetFullPathNameW(path, 0, nullptr, nullptr);
        if (size == 0) return;
        std::wstring full(size, L'\0');
        const DWORD length = ::GetFullPathNameW(path, size, full.data(), nullptr);
        if (length == 0 || length >= size) return;
        full.resize(length);
        if (IsExtended(full.c_str())) {
            m_extended = std::move(full);
        } else if (full.starts_with(L"\\\\")) {
            m_extended = L"\\\\?\\UNC" + full.substr(1);
        } else {
            m_extended = L"\\\\?\\" + full;
        }
        m_path = m_extended.c_str();
    }
    SystemPath(const SystemPath&) = delete;
    SystemPath& operator=(const SystemPath&) = delete;

    const wchar_t* Get() const noexcept { return m_path; }

private:
    /// Such a path is taken as it is, device paths ("\\.\") too.
    static bool IsExtended(const wchar_t* path) noexcept {
        return path[0] == L'\\' && path[1] == L'\\' && (path[2] == L'?' || path[2] == L'.') && path[3] == L'\\';
    }

    const wchar_t* m_path;
    std::wstring m_extended;
};

} // namespace tarnu::support

#endif // TARNU_SUPPORT_EXTENDEDPATH_H
