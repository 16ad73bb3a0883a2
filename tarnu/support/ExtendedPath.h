/// @file
/// Paths as the system's file functions take them beyond 260 characters.
#ifndef TARNU_SUPPORT_EXTENDEDPATH_H
#define TARNU_SUPPORT_EXTENDEDPATH_H

#include "tarnu/framework/framework.h"

#include <cwchar>
#include <string>
#include <string_view>

namespace tarnu::support {

/// The text of a function of the system that fills a buffer and answers the needed size when that is too small.
/// @param fill called with the buffer and its size in characters; returns the length, the needed size, or 0
/// @return empty, with the last error set, when the function fails
template <class Fill>
std::wstring FilledText(Fill fill) {
    std::wstring text(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = fill(text.data(), static_cast<DWORD>(text.size()));
        if (length < text.size()) {
            text.resize(length);
            return text;
        }
        text.resize(length + std::size_t{1}); // what is asked for may grow in between: ask until it fits
    }
}

/// The absolute form of a path, of any length; empty, with the last error set, when there is none.
inline std::wstring FullPath(const wchar_t* path) {
    return FilledText([path](wchar_t* buffer, DWORD size) { return ::GetFullPathNameW(path, size, buffer, nullptr); });
}

/// True for "\\?\" and "\\.\" in front: such a path is taken as it is.
inline bool IsExtendedPath(const wchar_t* path) noexcept {
    return path[0] == L'\\' && path[1] == L'\\' && (path[2] == L'?' || path[2] == L'.') && path[3] == L'\\';
}

inline constexpr std::wstring_view extendedPrefix = L"\\\\?\\";
inline constexpr std::wstring_view extendedSharePrefix = L"\\\\?\\UNC\\";

/// The form of an absolute path that is not limited to 260 characters: "\\?\C:\x", "\\?\UNC\server\share".
inline std::wstring ExtendedPath(const std::wstring& fullPath) {
    if (IsExtendedPath(fullPath.c_str())) return fullPath;
    const bool isShare = fullPath.starts_with(L"\\\\");
    std::wstring extended(isShare ? extendedSharePrefix : extendedPrefix);
    return extended.append(fullPath, isShare ? 2 : 0);
}

/// True for the root of a drive, volume or share, without a separator behind it.
/// @param path in extended form
inline bool IsExtendedRoot(std::wstring_view path) noexcept {
    if (path.starts_with(extendedSharePrefix)) {
        const std::size_t share = path.find(L'\\', extendedSharePrefix.size());
        return share != std::wstring_view::npos && path.find(L'\\', share + 1) == std::wstring_view::npos;
    }
    return path.find(L'\\', extendedPrefix.size()) == std::wstring_view::npos;
}

inline bool IsSeparator(wchar_t character) noexcept {
    return character == L'\\' || character == L'/';
}

/// True for a path with a drive and a root, or a server.
inline bool IsAbsolutePath(const wchar_t* path) noexcept {
    return path[0] != L'\0' &&
           ((path[1] == L':' && IsSeparator(path[2])) || (IsSeparator(path[0]) && IsSeparator(path[1])));
}

/// From this length on a path is given to the system in extended form. Directories are limited to 248 characters, so
/// that an 8.3 name still fits below them.
inline constexpr std::size_t longPathFrom = MAX_PATH - 12;

/// The longest path that the system has. Not every system refuses a longer one: some go on with what is left of its
/// length in 16 bits, which is another path.
inline constexpr std::size_t longestPath = 32766;

/// True when the system takes a path as it is, whatever the current directory.
inline bool IsSystemPath(const wchar_t* path) noexcept {
    if (IsExtendedPath(path)) return std::wcslen(path) <= longestPath;
    return IsAbsolutePath(path) && std::wcslen(path) < longPathFrom;
}

/// A path in the form that the system takes at any length, absolute, so that it stays the same when the current
/// directory changes. Empty, with the last error set, when there is none.
inline std::wstring AbsoluteSystemPath(const wchar_t* path) {
    std::wstring absolute = IsSystemPath(path) ? std::wstring(path) : FullPath(path);
    if (absolute.size() >= longPathFrom) absolute = ExtendedPath(absolute);
    if (absolute.size() <= longestPath) return absolute;
    ::SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return {};
}

/// A path in the form that the system takes at any length: a long one absolute and behind "\\?\", any other as it is;
/// one that is too long for the system as the empty path, which no file has.
/// Refers to the text that it was made from, which must outlive it.
class SystemPath {
public:
    /// @param patternLength of the search pattern at the end of the path, in characters: the pattern stays as it is,
    ///                      where the absolute form would lose the point of "*."
    explicit SystemPath(const wchar_t* path, std::size_t patternLength = 0) : m_path(path) {
        if (IsSystemPath(path)) return;
        // A short relative path may still be a long one, below a long current directory.
        std::wstring full;
        if (patternLength == 0) {
            full = FullPath(path);
        } else {
            const std::wstring directory(path, std::wcslen(path) - patternLength);
            full = FullPath(directory.empty() ? L"." : directory.c_str());
            if (full.empty()) return;
            if (full.back() != L'\\') full += L'\\';
            full.append(path + directory.size(), patternLength);
        }
        if (full.size() < longPathFrom) return;
        m_extended = ExtendedPath(full);
        if (m_extended.size() > longestPath) m_extended.clear();
        m_path = m_extended.c_str();
    }
    SystemPath(const SystemPath&) = delete;
    SystemPath& operator=(const SystemPath&) = delete;

    const wchar_t* Get() const noexcept { return m_path; }

private:
    const wchar_t* m_path;
    std::wstring m_extended;
};

} // namespace tarnu::support

#endif // TARNU_SUPPORT_EXTENDEDPATH_H
