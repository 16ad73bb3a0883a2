/// @file
/// A fresh folder for one test, removed with everything in it at the end.
#ifndef TARNU_TESTS_SUPPORT_TEMPFOLDER_H
#define TARNU_TESTS_SUPPORT_TEMPFOLDER_H

#include <string>
#include <string_view>

namespace tarnu::test {

/// Creates a folder of a unique name under the system's temporary folder; the destructor removes the whole tree (links
/// as links, read-only entries too) and moves the current directory out of it first.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    /// Full path, backslashes, without a trailing one.
    const std::wstring& Path() const { return m_path; }
    /// Path of an entry below the folder.
    std::wstring operator/(std::wstring_view relative) const;

    /// Creates a folder and the folders above it; returns its full path.
    std::wstring MakeFolder(std::wstring_view relative) const;
    /// Creates a file with these bytes, and the folders above it; returns its full path.
    std::wstring MakeFile(std::wstring_view relative, std::string_view contents = {}) const;

private:
    std::wstring m_path;
};

/// Whole contents of a file; fails the running test and returns an empty text when it cannot be read.
std::string ReadFile(const std::wstring& path);
/// Creates or replaces a file; fails the running test when it cannot be written.
void WriteFile(const std::wstring& path, std::string_view contents);
/// Any entry of that path exists.
bool Exists(const std::wstring& path);
/// Removes a tree: links as links, read-only entries too.
void RemoveTree(const std::wstring& path);

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_TEMPFOLDER_H
