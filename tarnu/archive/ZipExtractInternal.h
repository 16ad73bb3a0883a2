/// @file
/// From an entry to a file: targets are touched only by verified data, and are whole or not there.
#ifndef TARNU_ARCHIVE_ZIPEXTRACTINTERNAL_H
#define TARNU_ARCHIVE_ZIPEXTRACTINTERNAL_H

#include "tarnu/archive/OrvaZipReader.h"
#include "tarnu/archive/ZipCodecInternal.h"

#include <string>

namespace tarnu::support {

/// ExtractFile's answer when there is a file already; no result of the public classes.
inline constexpr auto leftAlone = static_cast<OrvaZipResult>(MAXUINT);

/// Extracts an entry to a file, with the folders on the way.
/// @param target     in the form that the system takes at any length
/// @param overwrite  told about an existing file, which is then replaced; when empty that is left alone
/// @param kept       room for the data
OrvaZipResult ExtractFile(OrvaZipReader& reader, ULONGLONG index, const OrvaZipEntry& entry, const std::wstring& target,
                          const OrvaZipOverwrite& overwrite, BlockBuffer& kept);
/// Creates the directory of an entry, and gives one that exists or was created the entry's times and attributes.
OrvaZipResult ExtractDirectory(const OrvaZipEntry& entry, const std::wstring& target);

} // namespace tarnu::support

#endif // TARNU_ARCHIVE_ZIPEXTRACTINTERNAL_H
