/// @file
/// What stands below a folder, and files that others cannot use.
#ifndef TARNU_TESTS_FILES_ENTRIES_H
#define TARNU_TESTS_FILES_ENTRIES_H

#include "support/TempFolder.h"
#include "tarnu/support/Owners.h"

#include <map>
#include <set>
#include <string>

namespace tarnu::test {

using Tree = std::map<std::wstring, std::string>; ///< relative path to contents; "<dir>" for a directory
using Names = std::set<std::wstring>;             ///< relative paths; directories end in a backslash

/// Everything below a folder, at any depth; links are not entered.
inline Tree TreeOf(const std::wstring& root, const std::wstring& relative = L"") {
    Tree tree;
    WIN32_FIND_DATAW data;
    const support::UniqueFindHandle find(
        ::FindFirstFileW((L"\\\\?\\" + root + L"\\" + relative + L"*").c_str(), &data));
    for (BOOL found = static_cast<bool>(find); found; found = ::FindNextFileW(find.Get(), &data)) {
        const std::wstring path = relative + data.cFileName;
        if (std::wstring(data.cFileName).find_first_not_of(L'.') == std::wstring::npos) continue;
        const bool isDirectory = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        tree[path] = isDirectory ? "<dir>" : ReadFile(root + L"\\" + path);
        if (isDirectory && (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
            tree.merge(TreeOf(root, path + L"\\"));
        }
    }
    return tree;
}

inline Names NamesIn(const std::wstring& root) {
    Names names;
    for (const auto& [path, contents] : TreeOf(root))
        names.insert(contents == "<dir>" ? path + L"\\" : path);
    return names;
}

/// Opens a file; others may share it as far as told.
inline support::UniqueFileHandle Hold(const std::wstring& path, DWORD share = 0, DWORD access = GENERIC_READ) {
    return support::UniqueFileHandle(::CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr));
}

} // namespace tarnu::test

#endif // TARNU_TESTS_FILES_ENTRIES_H
