/// @file
/// Links of the file system: symbolic links and mount points.
#ifndef TARNU_FILES_LINKINTERNAL_H
#define TARNU_FILES_LINKINTERNAL_H

#include "tarnu/framework/framework.h"

namespace tarnu::support {

/// True when a listed entry stands for another one (symbolic link, junction). Other reparse points, such as files that
/// a cloud provider or deduplication keeps elsewhere, are what they seem to be.
/// @param tag the entry's dwReserved0
bool IsLink(DWORD attributes, DWORD tag) noexcept;

/// Makes a link of the same kind and target.
/// @param attributes those of @p source
/// @param destination must not exist
/// @return false, with the last error set, when it failed; nothing is left behind then
bool CopyLink(const wchar_t* source, DWORD attributes, const wchar_t* destination);

/// Removes a link; what it leads to stays.
/// @return false, with the last error set, when it failed, or when the link can't be read as one
bool RemoveLink(const wchar_t* path, DWORD attributes);

} // namespace tarnu::support

#endif // TARNU_FILES_LINKINTERNAL_H
