/// @file
/// What the file operations have to know about a path beyond its text: devices, patterns, one path within another.
#ifndef TARNU_FILES_PATHFACTSINTERNAL_H
#define TARNU_FILES_PATHFACTSINTERNAL_H

#include "tarnu/support/ExtendedPath.h"

#include <string>

namespace tarnu::support {

/// True for null and for the empty text.
bool IsBlank(const wchar_t* path) noexcept;

/// True for a text that no path of the system is as long as. Not every system refuses it: some go on with what is left
/// of its length in 16 bits, which is another path.
bool IsTooLong(const wchar_t* path) noexcept;

/// True when the system takes the path for a device: "NUL", "C:\x\con.txt" (before Windows 11), "\\.\COM1".
bool IsDevice(const std::wstring& fullPath);

/// True when a listing would take the path for a pattern. The prefix "\\?\" does not count.
bool HasWildcards(const std::wstring& fullPath);

/// The form that people read: ExtendedPath undone.
std::wstring DisplayPath(const std::wstring& extendedPath);

/// True when the two are the same directory, or one lies within the other, with links on the way resolved. Either may
/// be missing.
bool TreesOverlap(const wchar_t* first, const wchar_t* second);

} // namespace tarnu::support

#endif // TARNU_FILES_PATHFACTSINTERNAL_H
