#include "tarnu/files/PathFactsInternal.h"

#include "tarnu/support/Owners.h"

#include <string_view>

namespace tarnu::support {

namespace {

constexpr std::wstring_view devicePrefix = L"\\\\.\\";
constexpr std::wstring_view share = L"\\\\";

/// Where the last component of an absolute path begins, at its separator; npos when only a root is left.
std::size_t LastSeparator(const std::wstring& path) noexcept {
    const std::size_t separator = path.find_last_of(L'\\');
    return separator == std::wstring::npos || separator < 2 ? std::wstring::npos : separator;
}

void TrimTrailingSeparators(std::wstring& path) noexcept {
    while (!path.empty() && path.back() == L'\\')
        path.pop_back();
}

/// An absolute path with every link of its existing part resolved, in extended form, without a trailing separator.
/// Empty when the path can't be made absolute.
std::wstring ResolvedPath(const wchar_t* path) {
    std::wstring existing = FullPath(path);
    if (existing.empty()) return existing;
    existing = ExtendedPath(existing);
    TrimTrailingSeparators(existing);
    std::wstring missing;
    for (;;) {
        // A drive alone would mean the drive's current directory.
        const std::wstring asked = existing.ends_with(L':') ? existing + L'\\' : existing;
        const UniqueFileHandle directory(::CreateFileW(asked.c_str(), /*dwDesiredAccess=*/0,
                                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                       OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
        if (directory) {
            std::wstring resolved = FilledText([&directory](wchar_t* buffer, DWORD size) {
                return ::GetFinalPathNameByHandleW(directory.Get(), buffer, size, FILE_NAME_NORMALIZED);
            });
            if (resolved.empty()) resolved = existing;
            TrimTrailingSeparators(resolved);
            return resolved + missing;
        }
        const std::size_t separator = LastSeparator(existing);
        if (separator == std::wstring::npos) return existing + missing;
        missing.insert(0, existing, separator, std::wstring::npos);
        existing.resize(separator);
    }
}

/// True when @p inner is @p outer or lies within it; both without a trailing separator.
bool IsWithin(const std::wstring& inner, const std::wstring& outer) noexcept {
    if (inner.size() < outer.size()) return false;
    if (inner.size() > outer.size() && inner[outer.size()] != L'\\') return false;
    const int length = static_cast<int>(outer.size());
    return ::CompareStringOrdinal(inner.data(), length, outer.data(), length, /*bIgnoreCase=*/TRUE) == CSTR_EQUAL;
}

} // namespace

bool IsBlank(const wchar_t* path) noexcept {
    return path == nullptr || *path == L'\0';
}

bool IsTooLong(const wchar_t* path) noexcept {
    return ::wcsnlen(path, longestPath + 1) > longestPath;
}

bool IsDevice(const std::wstring& fullPath) {
    return fullPath.starts_with(devicePrefix);
}

bool HasWildcards(const std::wstring& fullPath) {
    const std::size_t prefix = fullPath.starts_with(extendedPrefix) ? extendedPrefix.size() : 0;
    return fullPath.find_first_of(L"*?<>\"", prefix) != std::wstring::npos;
}

std::wstring DisplayPath(const std::wstring& extendedPath) {
    const std::wstring_view path(extendedPath);
    if (path.starts_with(extendedSharePrefix))
        return std::wstring(share).append(path.substr(extendedSharePrefix.size()));
    if (path.starts_with(extendedPrefix)) return std::wstring(path.substr(extendedPrefix.size()));
    return extendedPath;
}

bool TreesOverlap(const wchar_t* first, const wchar_t* second) {
    const std::wstring left = ResolvedPath(first);
    const std::wstring right = ResolvedPath(second);
    if (left.empty() || right.empty()) return true; // who can't tell does not copy a tree into itself
    return IsWithin(left, right) || IsWithin(right, left);
}

} // namespace tarnu::support
