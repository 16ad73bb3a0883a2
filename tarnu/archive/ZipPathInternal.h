/// @file
/// Where the entries of an archive may go.
#ifndef TARNU_ARCHIVE_ZIPPATHINTERNAL_H
#define TARNU_ARCHIVE_ZIPPATHINTERNAL_H

#include <string>
#include <string_view>

namespace tarnu::support {

/// The path below the destination that an entry's name stands for, with backslashes and without a trailing one. Empty
/// for a name that must not be extracted: one that leaves the destination (a root, a drive, ".."), names a device or a
/// stream, or that the file system would change or refuse (control characters, wildcards, a trailing point or blank).
std::wstring SafeRelativePath(std::wstring_view name);

} // namespace tarnu::support

#endif // TARNU_ARCHIVE_ZIPPATHINTERNAL_H
